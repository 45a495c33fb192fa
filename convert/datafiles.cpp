#include "datafiles.h"

#include "scaling.h"

#include <QFile>

#include <algorithm>
#include <numeric>

namespace {

// Colours of the rows a conversion makes, in turn: the window draws its own
// at random, but a converted file should look the same each time.
const char* const rowColors[] = {"#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd",
                                 "#8c564b", "#e377c2", "#7f7f7f", "#bcbd22", "#17becf"};

DataCurveRecord currentOf(const DataCurveRecordV1& old)
{
    DataCurveRecord record;
    record.color = old.color;
    record.name = old.name;
    record.net = old.net;
    record.baud = old.baud;
    record.id = old.id;
    record.pos = old.pos;
    record.dataType = old.dataType;
    record.mask = 0xFF;
    record.byteOrder = old.byteOrder;
    record.scale = old.scale;
    record.offset = old.offset;
    record.unit = old.unit;
    record.style = old.style;
    record.enable = 1;
    // No ranges: the window reads scale and offset as they stand.
    record.flags = 0;
    return record;
}

} // namespace

void DataCurve::scaling(double& scale, double& offset) const
{
    scale = record.scale;
    offset = record.offset;
    if (record.flags & DataCurveRecord::rangesValid)
        scalingFromRangesIfFinite(record.rawValueMin, record.rawValueMax, record.valueMin, record.valueMax,
                                  scale, offset);
}

DataInput readDataInput(const QString& path, const QRegularExpression& filter)
{
    DataInput input;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        input.error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return input;
    }
    DataFileReader reader(file);
    const DataHeaderResult head = reader.readHeader();
    if (head.status != DataHeaderResult::Ok) {
        input.error = QStringLiteral("%1: not a data file (header %2 %3)")
                          .arg(path, head.status == DataHeaderResult::InvalidSize ? "size" : "type")
                          .arg(head.found);
        return input;
    }
    input.header = head.header;
    input.hasAxes = head.hasAxes;
    const auto take = [&](const DataCurveRecord& record) {
        if (!filter.match(record.name).hasMatch())
            return; // the reader skips its points
        DataCurve curve{record, {}, {}};
        const int points = reader.points();
        curve.x.resize(size_t(points));
        curve.y.resize(size_t(points));
        reader.readPoints(curve.x.data(), curve.y.data(), points);
        curve.record.pointCount = points;
        input.curves.append(std::move(curve));
    };
    if (head.version == DataFileVersion::Oldest) {
        DataCurveRecordV1 old;
        while (reader.readCurveRecordV1(old))
            take(currentOf(old));
    } else {
        DataCurveRecord record;
        for (int row = 0; row < head.header.curveCount && reader.readCurveRecord(record); ++row)
            take(record);
    }
    if (reader.damaged())
        input.error = QStringLiteral("%1: the data file is cut short or damaged").arg(path);
    return input;
}

QString writeDataOutput(const QString& path, DataFileHeader header, const QVector<DataCurve>& curves)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    header.headerType = 0;
    header.headerSize = DataFileHeader::size;
    header.curveCount = curves.size();
    bool ok = writeDataHeader(file, header);
    for (const DataCurve& curve : curves) {
        DataCurveRecord record = curve.record;
        record.pointCount = int32_t(curve.x.size());
        ok = ok && writeDataCurveRecord(file, record) &&
             writeDataPoints(file, curve.x.data(), curve.y.data(), record.pointCount);
    }
    file.close();
    if (!ok || file.error() != QFileDevice::NoError)
        return QStringLiteral("%1: %2").arg(path, file.errorString());
    return QString();
}

DataCurveRecord dataRecordOf(const ConvertCurve& curve, int row)
{
    DataCurveRecord record;
    record.color = QString::fromLatin1(rowColors[size_t(row) % std::size(rowColors)]);
    record.name = curve.name;
    record.net = curve.net;
    record.baud = curve.baud;
    record.id = int32_t(curve.canId);
    record.pos = curve.layout.bytePos + 1;
    record.dataType = curve.layout.dataType;
    record.mask = curve.layout.mask;
    record.byteOrder = curve.layout.byteOrder;
    record.scale = curve.layout.scale;
    record.offset = curve.layout.offset;
    record.unit = curve.unit;
    record.style = 0;
    record.enable = 1;
    record.flags = DataCurveRecord::rangesValid;
    record.valueMin = curve.valueMin;
    record.valueMax = curve.valueMax;
    record.rawValueMin = curve.rawMin;
    record.rawValueMax = curve.rawMax;
    record.axis = 0;
    return record;
}

SampleCollector::SampleCollector(const QVector<ConvertCurve>& signalCurves)
{
    for (int row = 0; row < signalCurves.size(); ++row)
        curves.append(DataCurve{dataRecordOf(signalCurves[row], row), {0.0}, {0.0}});
}

QVector<DataCurve> SampleCollector::finish(double runTime)
{
    for (DataCurve& c : curves) {
        if (!std::is_sorted(c.x.begin() + 1, c.x.end())) {
            std::vector<size_t> order(c.x.size() - 1);
            std::iota(order.begin(), order.end(), size_t(1));
            std::stable_sort(order.begin(), order.end(),
                             [&c](size_t a, size_t b) { return c.x[a] < c.x[b]; });
            std::vector<double> x{0.0}, y{0.0};
            for (const size_t i : order) {
                x.push_back(c.x[i]);
                y.push_back(c.y[i]);
            }
            c.x.swap(x);
            c.y.swap(y);
        }
        std::reverse(c.x.begin() + 1, c.x.end());
        std::reverse(c.y.begin() + 1, c.y.end());
        // The live point carries the curve on to the end of the record.
        c.x[0] = runTime;
        c.y[0] = c.y.size() > 1 ? c.y[1] : 0.0;
        c.record.pointCount = int32_t(c.x.size());
    }
    return std::move(curves);
}
