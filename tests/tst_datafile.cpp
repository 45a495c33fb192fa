// The data file codec on buffers: the bytes it writes against bytes built
// here field by field with QDataStream, the three versions read from
// hand-built bytes, and damaged files.
#include "datafile.h"

#include <QBuffer>
#include <QDataStream>
#include <QTextCodec>
#include <QtTest>

#include <climits>
#include <cstring>

namespace {

// File bytes in the order of the fields, little-endian, apart from the codec.
class Bytes
{
public:
    Bytes() : stream(&data, QIODevice::WriteOnly)
    {
        stream.setByteOrder(QDataStream::LittleEndian);
        stream.setFloatingPointPrecision(QDataStream::DoublePrecision);
    }

    Bytes& i32(qint32 value) { return put(value); }
    Bytes& u32(quint32 value) { return put(value); }
    Bytes& u8(quint8 value) { return put(value); }
    Bytes& f64(double value) { return put(value); }
    Bytes& zeros(int count)
    {
        const QByteArray zero(count, '\0');
        stream.writeRawData(zero.constData(), count);
        return *this;
    }
    // A 256-byte text field: the bytes, a NUL, zeros.
    Bytes& text(const QByteArray& bytes)
    {
        QByteArray field(256, '\0');
        field.replace(0, bytes.size(), bytes);
        stream.writeRawData(field.constData(), 256);
        return *this;
    }
    Bytes& doubles(const QVector<double>& values)
    {
        for (const double value : values)
            f64(value);
        return *this;
    }

    QByteArray data;

private:
    template <typename T> Bytes& put(T value)
    {
        stream << value;
        return *this;
    }

    QDataStream stream;
};

struct Axis
{
    double min, max, step;
    quint8 visible, grid;
};

struct Header
{
    double timeOrigin = 0.0;
    double runTime = 0.0;
    quint32 plotSize = 0;
    Axis axes[2] = {{-100, 100, 10, 1, 1}, {0, 100, 10, 0, 0}};
};

// One curve of the current version, as the test describes it.
struct Curve
{
    QByteArray color, name, unit;
    qint32 net = 0, baud = 0, id = 0, pos = 1, dataType = 0, mask = 255, byteOrder = 0;
    double scale = 1.0, offset = 0.0;
    qint32 style = 0, enable = 1, flags = 1;
    double valueMin = 0.0, valueMax = 0.0, rawValueMin = 0.0, rawValueMax = 0.0;
    qint32 axis = 0;
    QVector<double> x, y;
};

// One curve of the oldest version; the arrays may be longer than pointCount.
struct CurveV1
{
    QByteArray color, name, unit;
    qint32 net = 0, baud = 0, id = 0, pos = 1, dataType = 0, byteOrder = 0;
    double scale = 1.0, offset = 0.0;
    qint32 style = 0;
    quint32 pointCount = 0;
    QVector<double> x, y;
};

QByteArray handHeader(const Header& header, qint32 curveCount, qint32 type = 0, qint32 size = 96)
{
    Bytes bytes;
    bytes.i32(type).i32(size).f64(header.timeOrigin).f64(header.runTime).u32(header.plotSize).i32(curveCount);
    if (size == 96) {
        for (const Axis& axis : header.axes)
            bytes.f64(axis.min).f64(axis.max).f64(axis.step).u8(axis.visible).u8(axis.grid).zeros(6);
    }
    return bytes.data;
}

QByteArray handRecord(const Curve& curve, qint32 pointCount)
{
    Bytes bytes;
    bytes.i32(0).i32(1096).text(curve.color).text(curve.name);
    bytes.i32(curve.net).i32(curve.baud).i32(curve.id).i32(curve.pos).i32(curve.dataType).i32(curve.mask);
    bytes.i32(curve.byteOrder).zeros(4).f64(curve.scale).f64(curve.offset).text(curve.unit);
    bytes.i32(curve.style).i32(curve.enable).i32(pointCount).i32(curve.flags);
    bytes.f64(curve.valueMin).f64(curve.valueMax).f64(curve.rawValueMin).f64(curve.rawValueMax);
    bytes.i32(curve.axis).zeros(216 + 4);
    return bytes.data;
}

QByteArray handCurve(const Curve& curve)
{
    Bytes arrays;
    arrays.doubles(curve.x).doubles(curve.y);
    return handRecord(curve, curve.x.size()) + arrays.data;
}

QByteArray handFile(const Header& header, const QList<Curve>& curves)
{
    QByteArray bytes = handHeader(header, curves.size());
    for (const Curve& curve : curves)
        bytes += handCurve(curve);
    return bytes;
}

QByteArray handHeaderV1(double timeOrigin, double runTime, qint32 type = 0)
{
    Bytes bytes;
    bytes.i32(type).i32(24).f64(timeOrigin).f64(runTime);
    return bytes.data;
}

QByteArray handCurveV1(const CurveV1& curve, qint32 recordSize = -1)
{
    Bytes bytes;
    const qint32 size = recordSize >= 0 ? recordSize : 840 + 8 * (curve.x.size() + curve.y.size());
    bytes.i32(7).i32(size).f64(1.5).f64(2.5).text(curve.color).text(curve.name);
    bytes.i32(curve.net)
        .i32(curve.baud)
        .i32(curve.id)
        .i32(curve.pos)
        .i32(curve.dataType)
        .i32(curve.byteOrder);
    bytes.f64(curve.scale).f64(curve.offset).text(curve.unit).i32(curve.style).u32(curve.pointCount);
    bytes.doubles(curve.x).doubles(curve.y);
    return bytes.data;
}

DataCurveRecord recordOf(const Curve& curve)
{
    DataCurveRecord record;
    record.color = QString::fromLatin1(curve.color);
    record.name = QString::fromLatin1(curve.name);
    record.unit = QString::fromLatin1(curve.unit);
    record.net = curve.net;
    record.baud = curve.baud;
    record.id = curve.id;
    record.pos = curve.pos;
    record.dataType = curve.dataType;
    record.mask = curve.mask;
    record.byteOrder = curve.byteOrder;
    record.scale = curve.scale;
    record.offset = curve.offset;
    record.style = curve.style;
    record.enable = curve.enable;
    record.pointCount = curve.x.size();
    record.flags = curve.flags;
    record.valueMin = curve.valueMin;
    record.valueMax = curve.valueMax;
    record.rawValueMin = curve.rawValueMin;
    record.rawValueMax = curve.rawValueMax;
    record.axis = curve.axis;
    return record;
}

// Every field of a record on one line, so that a failure names it.
QString describe(const DataCurveRecord& r)
{
    return QStringLiteral("%1|%2|%3 net=%4 baud=%5 id=%6 pos=%7 type=%8 mask=%9 order=%10 scale=%11 "
                          "offset=%12 style=%13 en=%14 n=%15 flags=%16 ranges=%17,%18,%19,%20 axis=%21")
        .arg(r.color, r.name, r.unit)
        .arg(r.net)
        .arg(r.baud)
        .arg(r.id)
        .arg(r.pos)
        .arg(r.dataType)
        .arg(r.mask)
        .arg(r.byteOrder)
        .arg(r.scale, 0, 'g', 17)
        .arg(r.offset, 0, 'g', 17)
        .arg(r.style)
        .arg(r.enable)
        .arg(r.pointCount)
        .arg(r.flags)
        .arg(r.valueMin, 0, 'g', 17)
        .arg(r.valueMax, 0, 'g', 17)
        .arg(r.rawValueMin, 0, 'g', 17)
        .arg(r.rawValueMax, 0, 'g', 17)
        .arg(r.axis);
}

QString describe(const DataCurveRecordV1& r)
{
    return QStringLiteral("%1|%2|%3 net=%4 baud=%5 id=%6 pos=%7 type=%8 order=%9 scale=%10 offset=%11 "
                          "style=%12 n=%13 size=%14")
        .arg(r.color, r.name, r.unit)
        .arg(r.net)
        .arg(r.baud)
        .arg(r.id)
        .arg(r.pos)
        .arg(r.dataType)
        .arg(r.byteOrder)
        .arg(r.scale, 0, 'g', 17)
        .arg(r.offset, 0, 'g', 17)
        .arg(r.style)
        .arg(r.pointCount)
        .arg(r.recordSize);
}

QString describe(const CurveV1& c, qint32 recordSize)
{
    DataCurveRecordV1 r;
    r.color = QString::fromLatin1(c.color);
    r.name = QString::fromLatin1(c.name);
    r.unit = QString::fromLatin1(c.unit);
    r.net = c.net;
    r.baud = c.baud;
    r.id = c.id;
    r.pos = c.pos;
    r.dataType = c.dataType;
    r.byteOrder = c.byteOrder;
    r.scale = c.scale;
    r.offset = c.offset;
    r.style = c.style;
    r.pointCount = c.pointCount;
    r.recordSize = recordSize;
    return describe(r);
}

// The offset of the first byte that differs, or -1 when the two are equal.
int firstDifference(const QByteArray& a, const QByteArray& b)
{
    const int common = qMin(a.size(), b.size());
    for (int i = 0; i < common; ++i) {
        if (a.at(i) != b.at(i))
            return i;
    }
    return a.size() == b.size() ? -1 : common;
}

// What a reader gives for the points of the record read last.
QString readArrays(DataFileReader& reader)
{
    const int n = reader.points();
    QVector<double> x(n + 1, -7.0);
    QVector<double> y(n + 1, -7.0);
    reader.readPoints(x.data(), y.data(), n);
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts << QStringLiteral("(%1,%2)").arg(x[i], 0, 'g', 17).arg(y[i], 0, 'g', 17);
    // The element behind the points stays untouched.
    if (x[n] != -7.0 || y[n] != -7.0)
        parts << QStringLiteral("written behind the points");
    return parts.join(QLatin1Char(' '));
}

QString arraysOf(const QVector<double>& x, const QVector<double>& y, int n)
{
    QStringList parts;
    for (int i = 0; i < n; ++i)
        parts << QStringLiteral("(%1,%2)").arg(x[i], 0, 'g', 17).arg(y[i], 0, 'g', 17);
    return parts.join(QLatin1Char(' '));
}

// Sample curves with every kind of field: negative baud codes (BTR), ids
// with the 29-bit flag, negative values, text of 255 bytes.
Curve speedCurve()
{
    Curve c;
    c.color = "#ff8000";
    c.name = "Speed";
    c.unit = "km/h";
    c.net = 3;
    c.baud = 2;
    c.id = 0x123;
    c.pos = 2;
    c.dataType = 2;
    c.mask = 255;
    c.byteOrder = 1;
    c.scale = 0.003051804379339284;
    c.offset = -0.0015259021896696;
    c.style = 1;
    c.enable = 1;
    c.valueMin = -100;
    c.valueMax = 100;
    c.rawValueMin = -32768;
    c.rawValueMax = 32767;
    c.axis = 1;
    c.x = {2.5, 2.5, 2.0, 1.0};
    c.y = {-0.9170, -0.9170, 0.61, 0.3};
    return c;
}

Curve btrCurve()
{
    Curve c;
    c.color = "#010203";
    c.name = QByteArray(255, 'N');
    c.unit = "";
    c.net = 255;
    c.baud = qint32(0x8000001Cu);
    c.id = 0x20000000 + 0x18FEF100;
    c.pos = 8;
    c.dataType = 7;
    c.mask = 15;
    c.byteOrder = 0;
    c.scale = 1e-300;
    c.offset = -1e300;
    c.style = 2;
    c.enable = 0;
    c.flags = 1;
    c.valueMin = -1.5;
    c.valueMax = 3.25;
    c.rawValueMin = 0;
    c.rawValueMax = 1;
    c.axis = 0;
    c.x = {0.0};
    c.y = {-0.0};
    return c;
}

Curve emptyCurve()
{
    Curve c;
    c.color = "#000000";
    c.name = "Never";
    c.unit = "V";
    return c;
}

} // namespace

Q_DECLARE_METATYPE(Header)
Q_DECLARE_METATYPE(Curve)
Q_DECLARE_METATYPE(CurveV1)

class TestDataFile : public QObject
{
    Q_OBJECT

private slots:
    void currentAndMiddle_data();
    void currentAndMiddle();
    void readsOldest_data();
    void readsOldest();
    void headerChecks_data();
    void headerChecks();
    void damagedFiles_data();
    void damagedFiles();
    void textFields_data();
    void textFields();
    void textWithoutNul();
    void extension_data();
    void extension();
};

void TestDataFile::currentAndMiddle_data()
{
    QTest::addColumn<Header>("header");
    QTest::addColumn<QList<Curve>>("curves");
    QTest::addColumn<bool>("middle"); // read only: the writer makes the current version

    Header header;
    header.timeOrigin = 12345678.125;
    header.runTime = 2.75;
    header.plotSize = 5000;
    header.axes[0] = {-50, 250, 25, 1, 0};
    header.axes[1] = {-1.5, 3.25, 0.25, 1, 1};
    QTest::newRow("no curves") << header << QList<Curve>{} << false;
    QTest::newRow("one curve") << header << QList<Curve>{speedCurve()} << false;
    Header large = header;
    large.plotSize = 4000000000u;
    QTest::newRow("three curves, one without points")
        << large << QList<Curve>{speedCurve(), emptyCurve(), btrCurve()} << false;
    // The middle version: the header ends behind the curve count.
    Curve noRanges = speedCurve();
    noRanges.flags = 0;
    noRanges.axis = 1;
    QTest::newRow("middle") << header << QList<Curve>{noRanges, emptyCurve()} << true;
}

void TestDataFile::currentAndMiddle()
{
    QFETCH(Header, header);
    QFETCH(QList<Curve>, curves);
    QFETCH(bool, middle);

    QByteArray file = handHeader(header, curves.size(), 0, middle ? 32 : 96);
    int total = middle ? 32 : 96;
    for (const Curve& curve : curves) {
        file += handCurve(curve);
        total += 1096 + 16 * curve.x.size();
    }
    QCOMPARE(file.size(), total);
    if (!middle) {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        DataFileHeader fileHeader;
        fileHeader.timeOrigin = header.timeOrigin;
        fileHeader.runTime = header.runTime;
        fileHeader.plotSize = header.plotSize;
        fileHeader.curveCount = curves.size();
        for (int i = 0; i < 2; ++i) {
            const Axis& axis = header.axes[i];
            fileHeader.axes[size_t(i)] =
                DataAxisRecord::from({axis.min, axis.max, axis.step, axis.visible != 0, axis.grid != 0});
        }
        QVERIFY(writeDataHeader(buffer, fileHeader));
        for (const Curve& curve : curves) {
            QVERIFY(writeDataCurveRecord(buffer, recordOf(curve)));
            QVERIFY(writeDataPoints(buffer, curve.x.constData(), curve.y.constData(), curve.x.size()));
        }
        QCOMPARE(firstDifference(buffer.data(), file), -1);
    }

    // Read back: every field and every point.
    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DataFileReader reader(buffer);
    const DataHeaderResult head = reader.readHeader();
    QCOMPARE(int(head.status), int(DataHeaderResult::Ok));
    QCOMPARE(int(head.version), int(middle ? DataFileVersion::Middle : DataFileVersion::Current));
    QCOMPARE(head.hasAxes, !middle);
    QCOMPARE(head.header.headerSize, middle ? 32 : 96);
    QCOMPARE(head.header.timeOrigin, header.timeOrigin);
    QCOMPARE(head.header.runTime, header.runTime);
    QCOMPARE(head.header.plotSize, header.plotSize);
    QCOMPARE(head.header.curveCount, curves.size());
    for (int i = 0; i < 2 && !middle; ++i) {
        const ValueAxisSettings axis = head.header.axes[size_t(i)].toSettings();
        const Axis& expected = header.axes[i];
        QVERIFY(axis.min == expected.min && axis.max == expected.max && axis.step == expected.step);
        QCOMPARE(axis.visible, expected.visible != 0);
        QCOMPARE(axis.grid, expected.grid != 0);
    }
    for (const Curve& curve : curves) {
        DataCurveRecord record;
        QVERIFY(reader.readCurveRecord(record));
        QCOMPARE(describe(record), describe(recordOf(curve)));
        QCOMPARE(reader.points(), curve.x.size());
        QCOMPARE(readArrays(reader), arraysOf(curve.x, curve.y, curve.x.size()));
    }
    DataCurveRecord none;
    QVERIFY(!reader.readCurveRecord(none));
    QVERIFY(!reader.damaged());
}

void TestDataFile::readsOldest_data()
{
    QTest::addColumn<QList<CurveV1>>("curves");
    QTest::addColumn<QList<int>>("recordSizes"); // -1: both arrays whole
    QTest::addColumn<QList<int>>("points");

    CurveV1 a;
    a.color = "#00ff00";
    a.name = "Rpm";
    a.unit = "1/min";
    a.net = 1;
    a.baud = qint32(0x8000FFFFu);
    a.id = 0x20000100;
    a.pos = 3;
    a.dataType = 3;
    a.byteOrder = 1;
    a.scale = 0.5;
    a.offset = 10;
    a.style = 2;
    a.pointCount = 3;
    a.x = {3.0, 2.0, 1.0};
    a.y = {30.0, 20.0, 10.0};
    CurveV1 longer = a;
    longer.name = "Longer arrays";
    longer.pointCount = 2;
    longer.x = {9.0, 8.0, 7.0, 6.0, 5.0};
    longer.y = {90.0, 80.0, 70.0, 60.0, 50.0};
    CurveV1 none = a;
    none.name = "None";
    none.pointCount = 0;
    none.x = {};
    none.y = {};

    QTest::newRow("point count as the arrays") << QList<CurveV1>{a} << QList<int>{-1} << QList<int>{3};
    QTest::newRow("arrays longer than the point count")
        << QList<CurveV1>{longer, a} << QList<int>{-1, -1} << QList<int>{2, 3};
    QTest::newRow("empty record between two")
        << QList<CurveV1>{a, none, longer} << QList<int>{-1, -1, -1} << QList<int>{3, 0, 2};
    // (recordSize - 840) / 16 rounds down; a point count above it takes
    // what the arrays hold.
    CurveV1 odd = a;
    odd.pointCount = 9;
    QTest::newRow("record size rounded down, point count too big")
        << QList<CurveV1>{odd} << QList<int>{840 + 48 + 15} << QList<int>{3};
}

void TestDataFile::readsOldest()
{
    QFETCH(QList<CurveV1>, curves);
    QFETCH(QList<int>, recordSizes);
    QFETCH(QList<int>, points);

    QByteArray file = handHeaderV1(3600.25, 42.5);
    for (int i = 0; i < curves.size(); ++i)
        file += handCurveV1(curves[i], recordSizes[i]);

    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DataFileReader reader(buffer);
    const DataHeaderResult head = reader.readHeader();
    QCOMPARE(int(head.status), int(DataHeaderResult::Ok));
    QCOMPARE(int(head.version), int(DataFileVersion::Oldest));
    QCOMPARE(head.header.headerSize, 24);
    QCOMPARE(head.header.timeOrigin, 3600.25);
    QCOMPARE(head.header.runTime, 42.5);
    QVERIFY(!head.hasAxes);

    for (int i = 0; i < curves.size(); ++i) {
        const CurveV1& curve = curves[i];
        DataCurveRecordV1 record;
        QVERIFY(reader.readCurveRecordV1(record));
        const qint32 size =
            recordSizes[i] >= 0 ? recordSizes[i] : 840 + 8 * (curve.x.size() + curve.y.size());
        QCOMPARE(describe(record), describe(curve, size));
        QCOMPARE(reader.points(), points[i]);
        // The first points of each array, wherever the y array begins.
        QCOMPARE(readArrays(reader), arraysOf(curve.x, curve.y, points[i]));
    }
    DataCurveRecordV1 end;
    QVERIFY(!reader.readCurveRecordV1(end));
}

void TestDataFile::headerChecks_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("found");

    Header header;
    QTest::newRow("empty file: type -1") << QByteArray() << int(DataHeaderResult::WrongType) << -1;
    QTest::newRow("size 7") << handHeader(header, 0, 0, 7) << int(DataHeaderResult::InvalidSize) << 7;
    QTest::newRow("size 0") << handHeader(header, 0, 0, 0) << int(DataHeaderResult::InvalidSize) << 0;
    QTest::newRow("size 1096") << handHeader(header, 0, 0, 1096) << int(DataHeaderResult::InvalidSize)
                               << 1096;
    QTest::newRow("type 3") << handHeader(header, 0, 3, 96) << int(DataHeaderResult::WrongType) << 3;
    QTest::newRow("type 3, middle") << handHeader(header, 0, 3, 32) << int(DataHeaderResult::WrongType) << 3;
    QTest::newRow("type -2, oldest") << handHeaderV1(1, 2, -2) << int(DataHeaderResult::WrongType) << -2;
    // Four bytes: the size keeps its value before reading, the type is read.
    QTest::newRow("four bytes of type 0") << QByteArray(4, '\0') << int(DataHeaderResult::Ok) << 0;
}

void TestDataFile::headerChecks()
{
    QFETCH(QByteArray, file);
    QFETCH(int, status);
    QFETCH(int, found);

    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DataFileReader reader(buffer);
    const DataHeaderResult head = reader.readHeader();
    QCOMPARE(int(head.status), status);
    if (status != int(DataHeaderResult::Ok))
        QCOMPARE(head.found, found);
}

void TestDataFile::damagedFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QList<int>>("points");  // one entry per record read
    QTest::addColumn<QStringList>("arrays"); // the points read; empty: not checked
    QTest::addColumn<int>("damaged");        // -1: not checked

    // Cut: 96 header, 1096 + 4 * 16 first curve (ends at 1256), 1096 + 16
    // the second (ends at 2368). The count in the header is not trusted:
    // records end where the file does.
    const QList<Curve> two{speedCurve(), btrCurve()};
    const QByteArray whole = handFile(Header(), two);
    const auto cut = [&](const char* name, int length, const QList<int>& points, bool damaged) {
        QStringList arrays;
        for (int i = 0; i < points.size(); ++i)
            arrays << arraysOf(two[i].x, two[i].y, points[i]);
        QTest::newRow(name) << whole.left(length) << points << arrays << int(damaged);
    };
    cut("whole", 2368, {4, 1}, false);
    cut("inside the axes", 50, {}, true);
    cut("header only", 96, {}, false);
    cut("inside the first record", 96 + 600, {}, true);
    cut("record without arrays", 96 + 1096, {0}, true);
    cut("inside the x array", 96 + 1096 + 20, {0}, true);
    cut("x whole, y has one and a half", 96 + 1096 + 32 + 12, {1}, true);
    cut("y lacks its last byte", 1256 - 1, {3}, true);
    cut("first curve whole", 1256, {4}, false);
    cut("second record without y", 1256 + 1096 + 8, {4, 0}, true);

    // A point count far beyond the file: no points, and no further record.
    Curve huge = speedCurve();
    Bytes arrays;
    arrays.doubles(huge.x).doubles(huge.y);
    QTest::newRow("pointCount INT_MAX")
        << handHeader(Header(), 2) + handRecord(huge, INT_MAX) + arrays.data + handCurve(btrCurve())
        << QList<int>{0} << QStringList() << -1;
    // A negative count reads as 0, and the next record follows directly.
    QTest::newRow("negative pointCount")
        << handHeader(Header(), 2) + handRecord(huge, -5) + handCurve(btrCurve()) << QList<int>{0, 1}
        << QStringList() << -1;
    // A count a little too big: the y array would start behind the file. By
    // the count the x array takes a y value too, and the y array lacks two:
    // the pairs that the declared layout holds.
    QTest::newRow("pointCount one too big")
        << handHeader(Header(), 1) + handRecord(huge, huge.x.size() + 1) + arrays.data << QList<int>{3}
        << QStringList() << -1;

    CurveV1 old;
    old.name = "old";
    old.x = {1.0, 2.0};
    old.y = {3.0, 4.0};
    old.pointCount = 0xFFFFFFFFu;
    QTest::newRow("oldest: pointCount 0xFFFFFFFF") << handHeaderV1(0, 0) + handCurveV1(old) + handCurveV1(old)
                                                   << QList<int>{2, 2} << QStringList() << -1;
    old.pointCount = 2;
    QTest::newRow("oldest: record size INT_MAX")
        << handHeaderV1(0, 0) + handCurveV1(old, INT_MAX) << QList<int>{0} << QStringList() << -1;
    // A record size below 840 has arrays of no doubles; the records go on
    // right behind its 840 bytes.
    CurveV1 bare = old;
    bare.x = {};
    bare.y = {};
    QTest::newRow("oldest: record size 0") << handHeaderV1(0, 0) + handCurveV1(bare, 0) + handCurveV1(old)
                                           << QList<int>{0, 2} << QStringList() << -1;
}

void TestDataFile::damagedFiles()
{
    QFETCH(QByteArray, file);
    QFETCH(QList<int>, points);
    QFETCH(QStringList, arrays);
    QFETCH(int, damaged);

    QBuffer buffer(&file);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    DataFileReader reader(buffer);
    const DataHeaderResult head = reader.readHeader();
    QCOMPARE(int(head.status), int(DataHeaderResult::Ok));
    // Axes only from a current header read whole.
    QCOMPARE(head.hasAxes, head.version == DataFileVersion::Current && file.size() >= 96);
    QList<int> got;
    QStringList gotArrays;
    for (int i = 0; i < 10; ++i) {
        bool more = false;
        if (head.version == DataFileVersion::Oldest) {
            DataCurveRecordV1 record;
            more = reader.readCurveRecordV1(record);
        } else {
            DataCurveRecord record;
            more = reader.readCurveRecord(record);
        }
        if (!more)
            break;
        got << reader.points();
        // Buffers of the size the reader promises are enough.
        gotArrays << readArrays(reader);
    }
    QCOMPARE(got, points);
    if (!arrays.isEmpty())
        QCOMPARE(gotArrays, arrays);
    if (damaged >= 0)
        QCOMPARE(reader.damaged(), damaged != 0);
}

void TestDataFile::textFields_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("codec"); // local encoding for the test
    QTest::addColumn<int>("bytes");
    QTest::addColumn<QString>("readBack");

    const QString ascii255(255, QLatin1Char('a'));
    QTest::newRow("short") << "km/h" << QByteArray("UTF-8") << 4 << "km/h";
    QTest::newRow("255 bytes") << ascii255 << QByteArray("UTF-8") << 255 << ascii255;
    QTest::newRow("256 bytes cut to 255") << ascii255 + "b" << QByteArray("UTF-8") << 255 << ascii255;
    QTest::newRow("300 bytes cut to 255")
        << QString(300, 'x') << QByteArray("ISO-8859-1") << 255 << QString(255, 'x');
    // Two bytes each in UTF-8: a cut at 255 would split the 128th.
    const QString umlauts(200, QChar(0xE4));
    QTest::newRow("UTF-8 cut at a character")
        << umlauts << QByteArray("UTF-8") << 254 << QString::fromLatin1(QString(127, QChar(0xE4)).toUtf8());
    // Four bytes and two QChars each: 63 whole characters fit.
    QString faces;
    for (int i = 0; i < 70; ++i)
        faces += QString::fromUcs4(U"\U0001F600");
    QTest::newRow("UTF-8 surrogate pairs")
        << faces << QByteArray("UTF-8") << 252 << QString::fromLatin1(faces.left(126).toUtf8());
    // 256 bytes: the last character would be split by a cut at 255.
    QTest::newRow("UTF-8 of 256 bytes") << QString(128, QChar(0xE4)) << QByteArray("UTF-8") << 254
                                        << QString::fromLatin1(QString(127, QChar(0xE4)).toUtf8());
    // A character that the encoding lacks becomes "?" for each half of the
    // pair; the cut doesn't leave half a pair behind.
    QTest::newRow("Latin-1 surrogate pairs")
        << faces + faces + faces << QByteArray("ISO-8859-1") << 254 << QString(254, QLatin1Char('?'));
    QTest::newRow("Latin-1 byte reads as its character")
        << QString(QChar(0xB0)) + "C" << QByteArray("ISO-8859-1") << 2 << QString(QChar(0xB0)) + "C";
}

void TestDataFile::textFields()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, codec);
    QFETCH(int, bytes);
    QFETCH(QString, readBack);

    QTextCodec* const before = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName(codec));
    const QByteArray encoded = dataFileText(text);
    DataCurveRecord record;
    record.unit = text;
    const QByteArray image = encodeDataCurveRecord(record);
    QTextCodec::setCodecForLocale(before);

    QCOMPARE(encoded.size(), bytes);
    // The field holds the bytes and a NUL.
    QCOMPARE(image.mid(568, bytes), encoded);
    QCOMPARE(image.at(568 + bytes), '\0');
    QCOMPARE(decodeDataCurveRecord(image).unit, readBack);
}

void TestDataFile::textWithoutNul()
{
    // A field that fills all 256 bytes gives all of them, each byte one
    // Latin-1 character.
    QByteArray image = encodeDataCurveRecordV1(DataCurveRecordV1());
    image.replace(280, 256, QByteArray(255, 'n') + char(0xE9));
    QCOMPARE(decodeDataCurveRecordV1(image).name, QString(255, 'n') + QChar(0xE9));
    // The field behind it starts at its own offset.
    QCOMPARE(decodeDataCurveRecordV1(image).net, 0);
}

void TestDataFile::extension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("without") << "run"
                             << "run.vtldat";
    QTest::newRow("with") << "run.vtldat"
                          << "run.vtldat";
    QTest::newRow("capitals") << "run.VTLDAT"
                              << "run.VTLDAT.vtldat";
    QTest::newRow("no dot") << "runvtldat"
                            << "runvtldat.vtldat";
}

void TestDataFile::extension()
{
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(withDataExtension(name), expected);
}

QTEST_GUILESS_MAIN(TestDataFile)
#include "tst_datafile.moc"
