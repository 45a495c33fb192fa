// DBC files: the reader, then what the picker does with each signal (its
// decoding layout, the text of its values).
#include "dbcfile.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fuzz::AllocationBound bound(size, 64, 512 * 1024);
    const DbcReadResult result =
        readDbc(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size)));
    for (const DbcError& error : result.errors) {
        if (error.line < 1)
            std::abort();
    }
    for (const DbcMessage& message : result.database.messages) {
        if (message.id > 0x1FFFFFFF || (!message.extended && message.id > 0x7FF))
            std::abort();
        for (const DbcSignal& signal : message.signalList) {
            if (signal.field.length < 1 || signal.field.length > 64)
                std::abort();
            (void)dbcSignalLayout(message, signal);
            for (const double raw : {signal.minimum, signal.maximum, signal.offset})
                (void)dbcValueName(raw, signal.values);
        }
    }
    return 0;
}
