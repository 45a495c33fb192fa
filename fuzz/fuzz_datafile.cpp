// Data files, read step by step as the document controller reads them: the
// header, then each record with its arrays, into arrays of the size that the
// reader vouches for.
#include "datafile.h"
#include "fuzz_support.h"

#include <QBuffer>

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fuzz::AllocationBound bound(size, 8, 256 * 1024);
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);

    DataFileReader reader(buffer);
    const DataHeaderResult head = reader.readHeader();
    if (head.status != DataHeaderResult::Ok)
        return 0;

    qint64 pointsTaken = 0;
    const auto readArrays = [&reader, &pointsTaken] {
        const int points = reader.points();
        if (points < 0)
            std::abort();
        // The curve's arrays hold its points and the live point.
        std::vector<double> x(size_t(points) + 1), y(size_t(points) + 1);
        reader.readPoints(x.data(), y.data(), points);
        pointsTaken += points;
    };
    if (head.version == DataFileVersion::Oldest) {
        DataCurveRecordV1 record;
        while (reader.readCurveRecordV1(record))
            readArrays();
    } else {
        DataCurveRecord record;
        for (int row = 0; row < head.header.curveCount && reader.readCurveRecord(record); ++row)
            readArrays();
    }
    // Every point came out of the file: two doubles of it.
    if (pointsTaken * 16 > qint64(size))
        std::abort();
    return 0;
}
