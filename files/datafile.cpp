#include "datafile.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Field offsets. Each block ends where the next begins; the assertions
// below tie the last field to the record size.
namespace HeaderAt {
constexpr int headerType = 0;
constexpr int headerSize = 4;
constexpr int timeOrigin = 8;
constexpr int runTime = 16;
constexpr int plotSize = 24;
constexpr int curveCount = 28;
constexpr int axes = 32;
} // namespace HeaderAt
static_assert(HeaderAt::axes + 2 * DataAxisRecord::size == DataFileHeader::size, "header layout");
static_assert(HeaderAt::curveCount + 4 == DataFileHeader::middleSize, "middle header layout");

namespace AxisAt {
constexpr int min = 0;
constexpr int max = 8;
constexpr int step = 16;
constexpr int visible = 24;
constexpr int grid = 25;
constexpr int zero = 26;
} // namespace AxisAt
static_assert(AxisAt::zero + 6 == DataAxisRecord::size, "axis record layout");

namespace HeaderV1At {
constexpr int headerType = 0;
constexpr int headerSize = 4;
constexpr int timeOrigin = 8;
constexpr int runTime = 16;
} // namespace HeaderV1At
static_assert(HeaderV1At::runTime + 8 == DataFileHeaderV1::size, "oldest header layout");

namespace CurveAt {
constexpr int recordType = 0;
constexpr int recordSize = 4;
constexpr int color = 8;
constexpr int name = 264;
constexpr int net = 520;
constexpr int baud = 524;
constexpr int id = 528;
constexpr int pos = 532;
constexpr int dataType = 536;
constexpr int mask = 540;
constexpr int byteOrder = 544;
constexpr int scale = 552; // 548: 4 reserved bytes
constexpr int offset = 560;
constexpr int unit = 568;
constexpr int style = 824;
constexpr int enable = 828;
constexpr int pointCount = 832;
constexpr int flags = 836;
constexpr int valueMin = 840;
constexpr int valueMax = 848;
constexpr int rawValueMin = 856;
constexpr int rawValueMax = 864;
constexpr int axis = 872;
constexpr int reserved = 876; // 216 zero bytes, then 4 more reserved ones
} // namespace CurveAt

// A bit layout in the reserved bytes of a current record. Nothing of it is
// written for a row without one, so such records stay all zeros there.
namespace BitsAt {
constexpr int tag = CurveAt::reserved; // "DBCS"
constexpr int version = 880;           // 1
constexpr int startBit = 884;
constexpr int length = 888;
constexpr int byteOrder = 892; // 0 Intel, 1 Motorola, as the record's byteOrder
constexpr int isSigned = 893;
constexpr int valueType = 894; // 0 integer, 1 32-bit float, 2 64-bit float
constexpr int multiplexed = 895;
constexpr int switchStartBit = 896;
constexpr int switchLength = 900;
constexpr int switchByteOrder = 904; // then 3 zero bytes
constexpr int switchValue = 908;     // unsigned 64-bit
constexpr int valueTable = 916;      // UTF-8 text up to a NUL, or empty
constexpr int end = 1092;
constexpr char tagBytes[] = "DBCS";
constexpr int32_t currentVersion = 1;
} // namespace BitsAt
static_assert(BitsAt::end == CurveAt::reserved + 216, "bit layout within the reserved bytes");
static_assert(CurveAt::name == CurveAt::color + dataTextFieldSize, "curve record layout");
static_assert(CurveAt::net == CurveAt::name + dataTextFieldSize, "curve record layout");
static_assert(CurveAt::scale == CurveAt::byteOrder + 8, "curve record layout");
static_assert(CurveAt::style == CurveAt::unit + dataTextFieldSize, "curve record layout");
static_assert(CurveAt::reserved + 216 + 4 == DataCurveRecord::size, "curve record layout");

namespace CurveV1At {
constexpr int recordType = 0;
constexpr int recordSize = 4;
constexpr int color = 24; // 8 and 16: two reserved doubles
constexpr int name = 280;
constexpr int net = 536;
constexpr int baud = 540;
constexpr int id = 544;
constexpr int pos = 548;
constexpr int dataType = 552;
constexpr int byteOrder = 556;
constexpr int scale = 560;
constexpr int offset = 568;
constexpr int unit = 576;
constexpr int style = 832;
constexpr int pointCount = 836;
} // namespace CurveV1At
static_assert(CurveV1At::name == CurveV1At::color + dataTextFieldSize, "oldest record layout");
static_assert(CurveV1At::style == CurveV1At::unit + dataTextFieldSize, "oldest record layout");
static_assert(CurveV1At::pointCount + 4 == DataCurveRecordV1::size, "oldest record layout");

constexpr qint64 bytesPerDouble = 8;

// Little-endian fields at an offset of a byte image.
class ByteImage
{
public:
    explicit ByteImage(int size) : bytes(size, '\0') {}
    // The first `size` bytes of `source`; missing ones read as 0.
    ByteImage(const QByteArray& source, int size) : bytes(source.left(size))
    {
        if (bytes.size() < size)
            bytes.append(QByteArray(size - bytes.size(), '\0'));
    }

    void putInt(int at, int32_t value) { qToLittleEndian<qint32>(value, bytes.data() + at); }
    void putUInt(int at, uint32_t value) { qToLittleEndian<quint32>(value, bytes.data() + at); }
    void putByte(int at, uint8_t value) { bytes[at] = char(value); }
    void putDouble(int at, double value)
    {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        qToLittleEndian<quint64>(bits, bytes.data() + at);
    }
    void putUInt64(int at, uint64_t value) { qToLittleEndian<quint64>(value, bytes.data() + at); }
    void putBytes(int at, const QByteArray& data)
    {
        std::memcpy(bytes.data() + at, data.constData(), size_t(data.size()));
    }
    void putText(int at, const QString& text)
    {
        // The field is zero already, so the text ends in a NUL.
        const QByteArray encoded = dataFileText(text);
        std::memcpy(bytes.data() + at, encoded.constData(), size_t(encoded.size()));
    }

    int32_t intAt(int at) const { return qFromLittleEndian<qint32>(bytes.constData() + at); }
    uint32_t uintAt(int at) const { return qFromLittleEndian<quint32>(bytes.constData() + at); }
    uint8_t byteAt(int at) const { return uint8_t(bytes.at(at)); }
    uint64_t uint64At(int at) const { return qFromLittleEndian<quint64>(bytes.constData() + at); }
    QByteArray bytesAt(int at, int size) const { return bytes.mid(at, size); }
    double doubleAt(int at) const
    {
        const quint64 bits = qFromLittleEndian<quint64>(bytes.constData() + at);
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    // Each byte up to the first NUL is one Latin-1 character; a field
    // without NUL gives all its bytes.
    QString textAt(int at) const
    {
        const char* field = bytes.constData() + at;
        return QString::fromLatin1(field, int(qstrnlen(field, dataTextFieldSize)));
    }

    const QByteArray& data() const { return bytes; }

private:
    QByteArray bytes;
};

void putAxis(ByteImage& image, int at, const DataAxisRecord& axis)
{
    image.putDouble(at + AxisAt::min, axis.min);
    image.putDouble(at + AxisAt::max, axis.max);
    image.putDouble(at + AxisAt::step, axis.step);
    image.putByte(at + AxisAt::visible, axis.visible);
    image.putByte(at + AxisAt::grid, axis.grid);
}

DataAxisRecord axisAt(const ByteImage& image, int at)
{
    DataAxisRecord axis;
    axis.min = image.doubleAt(at + AxisAt::min);
    axis.max = image.doubleAt(at + AxisAt::max);
    axis.step = image.doubleAt(at + AxisAt::step);
    axis.visible = image.byteAt(at + AxisAt::visible);
    axis.grid = image.byteAt(at + AxisAt::grid);
    return axis;
}

void putBitLayout(ByteImage& image, const BitLayout& layout, const QString& valueTable)
{
    image.putBytes(BitsAt::tag, QByteArray(BitsAt::tagBytes, 4));
    image.putInt(BitsAt::version, BitsAt::currentVersion);
    image.putInt(BitsAt::startBit, layout.field.startBit);
    image.putInt(BitsAt::length, layout.field.length);
    image.putByte(BitsAt::byteOrder, layout.field.motorola ? 1 : 0);
    image.putByte(BitsAt::isSigned, layout.isSigned ? 1 : 0);
    image.putByte(BitsAt::valueType, uint8_t(layout.valueType));
    if (layout.multiplexed) {
        image.putByte(BitsAt::multiplexed, 1);
        image.putInt(BitsAt::switchStartBit, layout.muxField.startBit);
        image.putInt(BitsAt::switchLength, layout.muxField.length);
        image.putByte(BitsAt::switchByteOrder, layout.muxField.motorola ? 1 : 0);
        image.putUInt64(BitsAt::switchValue, layout.muxValue);
    }
    // Whole or not at all, with room for its NUL.
    const QByteArray table = valueTable.toUtf8();
    if (table.size() < BitsAt::end - BitsAt::valueTable)
        image.putBytes(BitsAt::valueTable, table);
}

// The bit layout of a record, if it has one that can be decoded; anything
// else in the reserved bytes is passed over.
std::optional<BitLayout> bitLayoutAt(const ByteImage& image)
{
    if (image.bytesAt(BitsAt::tag, 4) != QByteArray(BitsAt::tagBytes, 4) ||
        image.intAt(BitsAt::version) != BitsAt::currentVersion)
        return std::nullopt;
    BitLayout layout;
    layout.field = {image.intAt(BitsAt::startBit), image.intAt(BitsAt::length),
                    image.byteAt(BitsAt::byteOrder) != 0};
    layout.isSigned = image.byteAt(BitsAt::isSigned) != 0;
    const uint8_t type = image.byteAt(BitsAt::valueType);
    if (type > uint8_t(SignalValueType::Float64))
        return std::nullopt;
    layout.valueType = SignalValueType(type);
    layout.multiplexed = image.byteAt(BitsAt::multiplexed) != 0;
    if (layout.multiplexed) {
        layout.muxField = {image.intAt(BitsAt::switchStartBit), image.intAt(BitsAt::switchLength),
                           image.byteAt(BitsAt::switchByteOrder) != 0};
        layout.muxValue = image.uint64At(BitsAt::switchValue);
    }
    if (!isDecodable(layout))
        return std::nullopt;
    return layout;
}

QString valueTableAt(const ByteImage& image)
{
    const QByteArray field = image.bytesAt(BitsAt::valueTable, BitsAt::end - BitsAt::valueTable);
    return QString::fromUtf8(field.left(int(qstrnlen(field.constData(), size_t(field.size())))));
}

// The bytes of a header before anything has been read over them.
QByteArray unreadHeader(int size)
{
    ByteImage image(size);
    image.putInt(HeaderAt::headerType, -1);
    image.putInt(HeaderAt::headerSize, DataFileHeader::size);
    return image.data();
}

bool writeAll(QIODevice& device, const char* data, qint64 size)
{
    return device.write(data, size) == size;
}

} // namespace

QString withDataExtension(const QString& fileName)
{
    const QLatin1String extension(dataFileExtension);
    return fileName.endsWith(extension, Qt::CaseSensitive) ? fileName : fileName + extension;
}

QByteArray dataFileText(const QString& text)
{
    constexpr int maxBytes = dataTextFieldSize - 1;
    const QByteArray whole = text.toLocal8Bit();
    if (whole.size() <= maxBytes)
        return whole;

    // The longest prefix of whole characters that fits: a cut between the
    // two halves of a surrogate pair moves before the pair.
    const auto prefixLength = [&text](int length) {
        return length > 0 && length < text.size() && text.at(length - 1).isHighSurrogate() ? length - 1
                                                                                           : length;
    };
    const auto fits = [&text, &prefixLength](int length) {
        return text.left(prefixLength(length)).toLocal8Bit().size() <= maxBytes;
    };
    int low = 0; // fits
    int high = text.size();
    while (low < high) {
        const int middle = low + (high - low + 1) / 2;
        if (fits(middle))
            low = middle;
        else
            high = middle - 1;
    }
    return text.left(prefixLength(low)).toLocal8Bit();
}

DataAxisRecord DataAxisRecord::from(const ValueAxisSettings& axis)
{
    DataAxisRecord record;
    record.min = axis.min;
    record.max = axis.max;
    record.step = axis.step;
    record.visible = axis.visible ? 1 : 0;
    record.grid = axis.grid ? 1 : 0;
    return record;
}

ValueAxisSettings DataAxisRecord::toSettings() const
{
    return {min, max, step, visible != 0, grid != 0};
}

QByteArray encodeDataHeader(const DataFileHeader& header)
{
    ByteImage image(DataFileHeader::size);
    image.putInt(HeaderAt::headerType, header.headerType);
    image.putInt(HeaderAt::headerSize, header.headerSize);
    image.putDouble(HeaderAt::timeOrigin, header.timeOrigin);
    image.putDouble(HeaderAt::runTime, header.runTime);
    image.putUInt(HeaderAt::plotSize, header.plotSize);
    image.putInt(HeaderAt::curveCount, header.curveCount);
    putAxis(image, HeaderAt::axes, header.axes[0]);
    putAxis(image, HeaderAt::axes + DataAxisRecord::size, header.axes[1]);
    return image.data();
}

QByteArray encodeDataHeaderV1(const DataFileHeaderV1& header)
{
    ByteImage image(DataFileHeaderV1::size);
    image.putInt(HeaderV1At::headerType, header.headerType);
    image.putInt(HeaderV1At::headerSize, header.headerSize);
    image.putDouble(HeaderV1At::timeOrigin, header.timeOrigin);
    image.putDouble(HeaderV1At::runTime, header.runTime);
    return image.data();
}

QByteArray encodeDataCurveRecord(const DataCurveRecord& record)
{
    ByteImage image(DataCurveRecord::size);
    image.putInt(CurveAt::recordType, record.recordType);
    image.putInt(CurveAt::recordSize, record.recordSize);
    image.putText(CurveAt::color, record.color);
    image.putText(CurveAt::name, record.name);
    image.putInt(CurveAt::net, record.net);
    image.putInt(CurveAt::baud, record.baud);
    image.putInt(CurveAt::id, record.id);
    image.putInt(CurveAt::pos, record.pos);
    image.putInt(CurveAt::dataType, record.dataType);
    image.putInt(CurveAt::mask, record.mask);
    image.putInt(CurveAt::byteOrder, record.byteOrder);
    image.putDouble(CurveAt::scale, record.scale);
    image.putDouble(CurveAt::offset, record.offset);
    image.putText(CurveAt::unit, record.unit);
    image.putInt(CurveAt::style, record.style);
    image.putInt(CurveAt::enable, record.enable);
    image.putInt(CurveAt::pointCount, record.pointCount);
    image.putInt(CurveAt::flags, record.flags);
    image.putDouble(CurveAt::valueMin, record.valueMin);
    image.putDouble(CurveAt::valueMax, record.valueMax);
    image.putDouble(CurveAt::rawValueMin, record.rawValueMin);
    image.putDouble(CurveAt::rawValueMax, record.rawValueMax);
    image.putInt(CurveAt::axis, record.axis);
    if (record.bitLayout)
        putBitLayout(image, *record.bitLayout, record.valueTable);
    return image.data();
}

QByteArray encodeDataCurveRecordV1(const DataCurveRecordV1& record)
{
    ByteImage image(DataCurveRecordV1::size);
    image.putInt(CurveV1At::recordType, record.recordType);
    image.putInt(CurveV1At::recordSize, record.recordSize);
    image.putText(CurveV1At::color, record.color);
    image.putText(CurveV1At::name, record.name);
    image.putInt(CurveV1At::net, record.net);
    image.putInt(CurveV1At::baud, record.baud);
    image.putInt(CurveV1At::id, record.id);
    image.putInt(CurveV1At::pos, record.pos);
    image.putInt(CurveV1At::dataType, record.dataType);
    image.putInt(CurveV1At::byteOrder, record.byteOrder);
    image.putDouble(CurveV1At::scale, record.scale);
    image.putDouble(CurveV1At::offset, record.offset);
    image.putText(CurveV1At::unit, record.unit);
    image.putInt(CurveV1At::style, record.style);
    image.putUInt(CurveV1At::pointCount, record.pointCount);
    return image.data();
}

DataFileHeader decodeDataHeader(const QByteArray& bytes)
{
    const ByteImage image(bytes, DataFileHeader::size);
    DataFileHeader header;
    header.headerType = image.intAt(HeaderAt::headerType);
    header.headerSize = image.intAt(HeaderAt::headerSize);
    header.timeOrigin = image.doubleAt(HeaderAt::timeOrigin);
    header.runTime = image.doubleAt(HeaderAt::runTime);
    header.plotSize = image.uintAt(HeaderAt::plotSize);
    header.curveCount = image.intAt(HeaderAt::curveCount);
    header.axes[0] = axisAt(image, HeaderAt::axes);
    header.axes[1] = axisAt(image, HeaderAt::axes + DataAxisRecord::size);
    return header;
}

DataFileHeaderV1 decodeDataHeaderV1(const QByteArray& bytes)
{
    const ByteImage image(bytes, DataFileHeaderV1::size);
    DataFileHeaderV1 header;
    header.headerType = image.intAt(HeaderV1At::headerType);
    header.headerSize = image.intAt(HeaderV1At::headerSize);
    header.timeOrigin = image.doubleAt(HeaderV1At::timeOrigin);
    header.runTime = image.doubleAt(HeaderV1At::runTime);
    return header;
}

DataCurveRecord decodeDataCurveRecord(const QByteArray& bytes)
{
    const ByteImage image(bytes, DataCurveRecord::size);
    DataCurveRecord record;
    record.recordType = image.intAt(CurveAt::recordType);
    record.recordSize = image.intAt(CurveAt::recordSize);
    record.color = image.textAt(CurveAt::color);
    record.name = image.textAt(CurveAt::name);
    record.net = image.intAt(CurveAt::net);
    record.baud = image.intAt(CurveAt::baud);
    record.id = image.intAt(CurveAt::id);
    record.pos = image.intAt(CurveAt::pos);
    record.dataType = image.intAt(CurveAt::dataType);
    record.mask = image.intAt(CurveAt::mask);
    record.byteOrder = image.intAt(CurveAt::byteOrder);
    record.scale = image.doubleAt(CurveAt::scale);
    record.offset = image.doubleAt(CurveAt::offset);
    record.unit = image.textAt(CurveAt::unit);
    record.style = image.intAt(CurveAt::style);
    record.enable = image.intAt(CurveAt::enable);
    record.pointCount = image.intAt(CurveAt::pointCount);
    record.flags = image.intAt(CurveAt::flags);
    record.valueMin = image.doubleAt(CurveAt::valueMin);
    record.valueMax = image.doubleAt(CurveAt::valueMax);
    record.rawValueMin = image.doubleAt(CurveAt::rawValueMin);
    record.rawValueMax = image.doubleAt(CurveAt::rawValueMax);
    record.axis = image.intAt(CurveAt::axis);
    record.bitLayout = bitLayoutAt(image);
    if (record.bitLayout)
        record.valueTable = valueTableAt(image);
    return record;
}

DataCurveRecordV1 decodeDataCurveRecordV1(const QByteArray& bytes)
{
    const ByteImage image(bytes, DataCurveRecordV1::size);
    DataCurveRecordV1 record;
    record.recordType = image.intAt(CurveV1At::recordType);
    record.recordSize = image.intAt(CurveV1At::recordSize);
    record.color = image.textAt(CurveV1At::color);
    record.name = image.textAt(CurveV1At::name);
    record.net = image.intAt(CurveV1At::net);
    record.baud = image.intAt(CurveV1At::baud);
    record.id = image.intAt(CurveV1At::id);
    record.pos = image.intAt(CurveV1At::pos);
    record.dataType = image.intAt(CurveV1At::dataType);
    record.byteOrder = image.intAt(CurveV1At::byteOrder);
    record.scale = image.doubleAt(CurveV1At::scale);
    record.offset = image.doubleAt(CurveV1At::offset);
    record.unit = image.textAt(CurveV1At::unit);
    record.style = image.intAt(CurveV1At::style);
    record.pointCount = image.uintAt(CurveV1At::pointCount);
    return record;
}

bool writeDataHeader(QIODevice& device, const DataFileHeader& header)
{
    const QByteArray bytes = encodeDataHeader(header);
    return writeAll(device, bytes.constData(), bytes.size());
}

bool writeDataCurveRecord(QIODevice& device, const DataCurveRecord& record)
{
    const QByteArray bytes = encodeDataCurveRecord(record);
    return writeAll(device, bytes.constData(), bytes.size());
}

bool writeDataPoints(QIODevice& device, const double* x, const double* y, int count)
{
    if (count <= 0)
        return true;
    const qint64 size = qint64(count) * bytesPerDouble;
#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
    // The arrays are in file order already: one write each, no copy.
    const bool xWritten = writeAll(device, reinterpret_cast<const char*>(x), size);
    const bool yWritten = writeAll(device, reinterpret_cast<const char*>(y), size);
    return xWritten && yWritten;
#else
    QByteArray buffer(int(size), '\0');
    qToLittleEndian<quint64>(x, count, buffer.data());
    const bool xWritten = writeAll(device, buffer.constData(), size);
    qToLittleEndian<quint64>(y, count, buffer.data());
    const bool yWritten = writeAll(device, buffer.constData(), size);
    return xWritten && yWritten;
#endif
}

qint64 DataFileReader::bytesLeft() const
{
    return std::max<qint64>(0, device.size() - device.pos());
}

void DataFileReader::readOver(QByteArray& buffer, int size)
{
    const qint64 got = device.read(buffer.data(), size);
    if (got < size)
        wasDamaged = true;
}

void DataFileReader::advance(qint64 bytes)
{
    if (bytes <= 0)
        return;
    device.seek(device.pos() + std::min(bytes, bytesLeft()));
}

DataHeaderResult DataFileReader::readHeader()
{
    DataHeaderResult result;
    device.seek(0);
    QByteArray start = unreadHeader(8);
    readOver(start, 8);
    const int32_t size = decodeDataHeader(start).headerSize;
    if (size != DataFileHeaderV1::size && size != DataFileHeader::middleSize &&
        size != DataFileHeader::size) {
        result.status = DataHeaderResult::InvalidSize;
        result.found = size;
        return result;
    }

    // The whole header of that version, from the start.
    QByteArray bytes = unreadHeader(size);
    device.seek(0);
    readOver(bytes, size);

    if (size == DataFileHeaderV1::size) {
        const DataFileHeaderV1 old = decodeDataHeaderV1(bytes);
        result.version = DataFileVersion::Oldest;
        result.header.headerType = old.headerType;
        result.header.headerSize = old.headerSize;
        result.header.timeOrigin = old.timeOrigin;
        result.header.runTime = old.runTime;
        result.header.curveCount = 0;
    } else {
        result.version = size == DataFileHeader::size ? DataFileVersion::Current : DataFileVersion::Middle;
        result.header = decodeDataHeader(bytes);
        result.hasAxes = size == DataFileHeader::size && !wasDamaged;
    }
    if (result.header.headerType != 0) {
        result.status = DataHeaderResult::WrongType;
        result.found = result.header.headerType;
    }
    countedRecords = result.header.curveCount;
    if (wasDamaged)
        note(DataFileDamage::HeaderCut, std::min<qint64>(device.size(), size), size);
    return result;
}

bool DataFileReader::readCurveRecord(DataCurveRecord& record)
{
    skipPendingArrays();
    const qint64 left = bytesLeft();
    if (left < DataCurveRecord::size) {
        // A record cut short is no record: its values would be the rest of
        // another field.
        if (left > 0)
            wasDamaged = true;
        // Reported once, however often the caller asks again.
        if (records < countedRecords) {
            note(DataFileDamage::RecordsMissing, records, countedRecords);
            countedRecords = records;
        }
        return false;
    }
    QByteArray bytes(DataCurveRecord::size, '\0');
    readOver(bytes, DataCurveRecord::size);
    record = decodeDataCurveRecord(bytes);
    ++records;
    const qint64 count = std::max<qint64>(0, record.pointCount);
    if (record.pointCount < 0)
        note(DataFileDamage::NegativeCount, 0, record.pointCount);
    expectArrays(count, count);
    return true;
}

bool DataFileReader::readCurveRecordV1(DataCurveRecordV1& record)
{
    skipPendingArrays();
    const qint64 left = bytesLeft();
    if (left < DataCurveRecordV1::size) {
        if (left > 0)
            note(DataFileDamage::RecordCut, left, DataCurveRecordV1::size);
        return false;
    }
    QByteArray bytes(DataCurveRecordV1::size, '\0');
    readOver(bytes, DataCurveRecordV1::size);
    record = decodeDataCurveRecordV1(bytes);
    ++records;
    // Both arrays are counted in the record size, rounded down to whole
    // pairs of doubles.
    const qint64 arrayBytes = qint64(record.recordSize) - DataCurveRecordV1::size;
    if (arrayBytes < 0)
        wasDamaged = true;
    const qint64 arrayLength = std::max<qint64>(0, arrayBytes) / (2 * bytesPerDouble);
    expectArrays(arrayLength, qint64(record.pointCount));
    return true;
}

void DataFileReader::expectArrays(qint64 arrayLength, qint64 wanted)
{
    // What the rest of the device holds of each array: the x array comes
    // first, the y array only behind all of it.
    const qint64 left = bytesLeft();
    const qint64 xHeld = std::min(arrayLength, left / bytesPerDouble);
    const qint64 yHeld = left > arrayLength * bytesPerDouble
                             ? std::min(arrayLength, (left - arrayLength * bytesPerDouble) / bytesPerDouble)
                             : 0;
    const qint64 taken = std::min({wanted, xHeld, yHeld, qint64(INT_MAX)});
    // The end of the file is named first: it is the likelier cause of both.
    const bool fileShort = 2 * arrayLength * bytesPerDouble > left;
    if (taken < wanted || fileShort)
        note(fileShort ? DataFileDamage::PointsCut : DataFileDamage::PointsClaimed, taken, wanted);
    pendingPoints = int(std::max<qint64>(0, taken));
    pendingArrayLength = arrayLength;
    arraysPending = true;
}

void DataFileReader::readPoints(double* x, double* y, int count)
{
    if (!arraysPending)
        return;
    const qint64 n = std::clamp<qint64>(count, 0, pendingPoints);
    const qint64 size = n * bytesPerDouble;
    const qint64 rest = (pendingArrayLength - n) * bytesPerDouble;
    // Straight into the curve's arrays, one read each, then in place to the
    // host's byte order.
    if (n > 0 && device.read(reinterpret_cast<char*>(x), size) != size)
        wasDamaged = true;
    advance(rest);
    if (n > 0 && device.read(reinterpret_cast<char*>(y), size) != size)
        wasDamaged = true;
    advance(rest);
    if (n > 0) {
        qFromLittleEndian<quint64>(x, n, x);
        qFromLittleEndian<quint64>(y, n, y);
    }
    arraysPending = false;
    pendingPoints = 0;
    pendingArrayLength = 0;
}

void DataFileReader::skipPendingArrays()
{
    readPoints(nullptr, nullptr, 0);
}

void DataFileReader::note(DataFileDamage::Kind kind, qint64 held, qint64 wanted)
{
    wasDamaged = true;
    // Of a record: the one read last; of records: the first one missing.
    const bool ofRecord = kind != DataFileDamage::HeaderCut && kind != DataFileDamage::RecordCut &&
                          kind != DataFileDamage::RecordsMissing;
    found.append({kind, ofRecord ? records - 1 : records, held, wanted});
}
