// Project files as the document controller reads them: the document, then
// each Graph and axis element with the attributes a row takes.
#include "fuzz_support.h"
#include "projectfile.h"

#include <QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The DOM spends some hundred bytes on a node that takes a few in the file.
    const fuzz::AllocationBound bound(size, 160, 512 * 1024);
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    const ProjectReadResult result = readProjectDocument(&buffer);
    if (buffer.isOpen())
        std::abort(); // the reader closes what it opened
    if (result.status != ProjectReadResult::Ok && !result.elements.isEmpty())
        std::abort();
    int previous = -1;
    for (const ProjectElement& element : result.elements) {
        if (element.position <= previous)
            std::abort();
        previous = element.position;
        if (element.kind == ProjectElement::Graph) {
            for (const char* key : {"color", "name", "id", "Id29Bit", "pos", "net", "baud", "intmot", "axis",
                                    "datatype", "mask", "enable", "style"})
                (void)element.graph.number(QLatin1String(key));
        } else if (element.axisIndex != 0 && element.axisIndex != 1) {
            std::abort();
        }
    }
    return 0;
}
