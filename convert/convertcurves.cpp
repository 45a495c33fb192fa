#include "convertcurves.h"

#include "dbcfile.h"
#include "scaling.h"
#include "signalcell.h"

#include <QFile>

#include <algorithm>
#include <cmath>

namespace {

// The Net entry's text is "<net>: <board>"; the number in front of it.
int netOfRow(const ProjectGraph& row)
{
    const QString entry = row.text(QLatin1String(projectNetTextAttribute));
    if (entry.isEmpty())
        return row.number(QStringLiteral("net"));
    const int colon = entry.indexOf(QLatin1Char(':'));
    return (colon < 0 ? entry : entry.left(colon)).trimmed().toInt(nullptr, 10);
}

// The raw range that a field's bits can hold; reals count as 0 to 1, as
// the window's rows have it.
RawRange bitRawRange(const BitLayout& bits)
{
    if (bits.valueType != SignalValueType::Integer)
        return {0.0, 1.0};
    const int length = bits.field.length;
    if (bits.isSigned)
        return {-std::ldexp(1.0, length - 1), std::ldexp(1.0, length - 1) - 1.0};
    return {0.0, std::ldexp(1.0, length) - 1.0};
}

int integerType(int size, bool isSigned)
{
    switch (size) {
    case 1:
        return isSigned ? DataType::Integer8 : DataType::Unsigned8;
    case 2:
        return isSigned ? DataType::Integer16 : DataType::Unsigned16;
    default:
        return isSigned ? DataType::Integer32 : DataType::Unsigned32;
    }
}

// Opens a file of signals; false with the reason in the load otherwise.
bool openSignals(QFile& file, CurveLoad& load)
{
    if (file.open(QIODevice::ReadOnly))
        return true;
    load.error = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
    return false;
}

} // namespace

ValueLayout seedLayoutOf(const BitLayout& bits, double scale, double offset)
{
    ValueLayout seed;
    seed.scale = scale;
    seed.offset = offset;
    const BitField& f = bits.field;
    seed.byteOrder = f.motorola ? 1 : 0;
    // Intel fields start at their lowest bit, Motorola fields at their
    // highest: either way the byte of the start bit comes first.
    const int firstByte = f.startBit / 8;
    const bool aligned = f.motorola ? f.startBit % 8 == 7 : f.startBit % 8 == 0;
    const int bytes =
        f.motorola ? (7 - f.startBit % 8 + f.length + 7) / 8 : (f.startBit % 8 + f.length + 7) / 8;
    const bool wholeType = f.length == 8 || f.length == 16 || f.length == 32 ||
                           (f.length == 64 && bits.valueType == SignalValueType::Float64);
    if (aligned && wholeType) {
        seed.bytePos = firstByte;
        if (bits.valueType == SignalValueType::Float32)
            seed.dataType = DataType::Real32;
        else if (bits.valueType == SignalValueType::Float64)
            seed.dataType = DataType::Real64;
        else
            seed.dataType = integerType(f.length / 8, bits.isSigned);
        return seed;
    }
    const int size = bytes <= 1 ? 1 : bytes <= 2 ? 2 : 4;
    seed.dataType = integerType(size, bits.isSigned);
    seed.bytePos = std::min(firstByte, 8 - size);
    if (size == 1) {
        const int lowBit = f.motorola ? f.startBit % 8 - f.length + 1 : f.startBit % 8;
        seed.mask = (((1 << f.length) - 1) << lowBit) & 0xFF;
    }
    return seed;
}

ConvertCurve projectRowCurve(const ProjectGraph& row)
{
    ConvertCurve curve;
    curve.name = row.text(QStringLiteral("name"));
    curve.unit = row.text(QStringLiteral("unit"));
    curve.net = netOfRow(row);
    curve.canId = uint32_t(row.text(QStringLiteral("id")).toInt(nullptr, 0));
    if (row.number(QStringLiteral("Id29Bit")) != 0)
        curve.canId |= TESS_ID_29BIT;
    curve.baud = row.number(QStringLiteral("baud"));
    ValueLayout& layout = curve.layout;
    layout.dataType = row.number(QStringLiteral("datatype"));
    layout.byteOrder = row.number(QStringLiteral("intmot"));
    layout.bytePos = row.number(QStringLiteral("pos")) - 1;
    layout.mask = row.text(QStringLiteral("mask")).toInt(nullptr, 0);
    layout.scale = row.text(QStringLiteral("scale")).toDouble();
    layout.offset = row.text(QStringLiteral("offset")).toDouble();
    // A row described bit by bit carries its layout as the Signal cell's text.
    const QString signal = row.text(QStringLiteral("signal"));
    if (!signal.isEmpty())
        layout.bitLayout = signalCellLayout(signal);
    curve.rawMin = row.text(QStringLiteral("raw_value_min")).toDouble();
    curve.rawMax = row.text(QStringLiteral("raw_value_max")).toDouble();
    curve.valueMin = row.text(QStringLiteral("value_min")).toDouble();
    curve.valueMax = row.text(QStringLiteral("value_max")).toDouble();
    return curve;
}

CurveLoad loadProjectCurves(const QString& path, const QRegularExpression& filter)
{
    CurveLoad load;
    QFile file(path);
    if (!openSignals(file, load))
        return load;
    const ProjectReadResult project = readProjectDocument(&file);
    if (project.status != ProjectReadResult::Ok) {
        load.error = QStringLiteral("%1: not a project file (the XML does not parse)").arg(path);
        return load;
    }
    for (const ProjectElement& element : project.elements) {
        if (element.kind != ProjectElement::Graph)
            continue;
        const ConvertCurve curve = projectRowCurve(element.graph);
        if (filter.match(curve.name).hasMatch())
            load.curves.append(curve);
    }
    return load;
}

CurveLoad loadDbcCurves(const QString& path, const QRegularExpression& filter)
{
    CurveLoad load;
    QFile file(path);
    if (!openSignals(file, load))
        return load;
    const DbcReadResult dbc = readDbc(&file);
    if (!dbc.errors.isEmpty()) {
        const DbcError& first = dbc.errors.first();
        load.error = QStringLiteral("%1, line %2: %3").arg(path).arg(first.line).arg(first.text);
        return load;
    }
    for (const DbcMessage& message : dbc.database.messages) {
        for (const DbcSignal& signal : message.signalList) {
            const QString name = message.name + QLatin1Char('.') + signal.name;
            if (!filter.match(name).hasMatch())
                continue;
            const std::optional<BitLayout> bits = dbcSignalLayout(message, signal);
            if (!bits) {
                ++load.undecodable;
                continue;
            }
            ConvertCurve curve;
            curve.name = name;
            curve.unit = signal.unit;
            curve.canId = message.id | (message.extended ? uint32_t(TESS_ID_29BIT) : 0u);
            curve.layout = seedLayoutOf(*bits, signal.factor, signal.offset);
            curve.layout.bitLayout = bits;
            const RawRange raw = bitRawRange(*bits);
            curve.rawMin = raw.min;
            curve.rawMax = raw.max;
            curve.valueMin = raw.min * signal.factor + signal.offset;
            curve.valueMax = raw.max * signal.factor + signal.offset;
            load.curves.append(curve);
        }
    }
    return load;
}
