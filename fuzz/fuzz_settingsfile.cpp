// The settings file, as the program reads it at start.
#include "fuzz_support.h"
#include "settingsfile.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fuzz::AllocationBound bound(size, 160, 512 * 1024);
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    const SettingsReadResult result = readSettingsDocument(&buffer);
    if (buffer.isOpen())
        std::abort();
    if (result.status != SettingsReadResult::Ok && result.settings != Settings())
        std::abort(); // a file that fails gives nothing but the failure
    return 0;
}
