// The file formats on their own, against bytes laid out here apart from
// the codecs: data files (written and read, all three versions, damaged
// ones), the recorder's logs (read) and project documents (written ones
// read back by QXmlStreamReader, hand-written ones read).
#include "canlog.h"
#include "datafile.h"
#include "projectfile.h"
#include "settingsfile.h"
#include "testsupport.h"

#include <QBuffer>
#include <QtTest>
#include <QXmlStreamReader>

#include <climits>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

const auto lines = TestSupport::recorderLines;

// Little-endian fields appended in file order; text fields of 256 bytes.
struct Bytes
{
    Bytes& n(quint64 value, int size = 4)
    {
        for (int i = 0; i < size; ++i)
            data += char(i < 8 ? value >> (8 * i) : 0);
        return *this;
    }
    Bytes& f(const QVector<double>& values)
    {
        for (const double value : values) {
            quint64 bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            n(bits, 8);
        }
        return *this;
    }
    Bytes& t(const QString& text)
    {
        data += text.toLatin1().left(255).leftJustified(256, '\0');
        return *this;
    }
    QByteArray data;
};

QByteArray header(qint32 size, qint32 type = 0)
{
    Bytes b;
    b.n(type).n(size).f({12345678.125, 2.75});
    if (size != 24)
        b.n(4000000000u).n(2); // plot size, two curves
    if (size == 96)            // min, max, step, visible, then grid and six zeros
        b.f({-50, 250, 25}).n(1, 1).n(0, 7).f({-1.5, 3.25, 0.25}).n(0, 1).n(1, 7);
    return b.data;
}

// A record and the points behind it, x then y; `reserved` fills the 216
// bytes behind the axis.
QByteArray curve(const DataCurveRecord& r, const QVector<double>& xy = {}, const QByteArray& reserved = {})
{
    Bytes b;
    b.n(0).n(1096).t(r.color).t(r.name).n(r.net).n(r.baud).n(r.id).n(r.pos).n(r.dataType).n(r.mask);
    b.n(r.byteOrder).n(0).f({r.scale, r.offset}).t(r.unit).n(r.style).n(r.enable).n(r.pointCount).n(r.flags);
    b.f({r.valueMin, r.valueMax, r.rawValueMin, r.rawValueMax}).n(r.axis);
    b.data += reserved.leftJustified(216, '\0');
    return b.n(0).f(xy).data;
}

// A bit layout in the reserved bytes: tag and version, start bit, length,
// then a byte each for Motorola, signed, value type and multiplexed, the
// switch's start bit, length and Motorola byte, three zeros, its value, and
// the value names as UTF-8 up to a NUL.
QByteArray bits(const char* tag, int version, int start, int length, int motorola, int isSigned, int type,
                int mux, int muxStart, int muxLength, int muxMotorola, quint64 muxValue,
                const QByteArray& names)
{
    Bytes b;
    b.data = tag;
    b.n(version).n(start).n(length).n(motorola, 1).n(isSigned, 1).n(type, 1).n(mux, 1);
    return b.n(muxStart).n(muxLength).n(muxMotorola, 1).n(0, 3).n(muxValue, 8).data + names;
}

QByteArray curveV1(const DataCurveRecordV1& r, const QVector<double>& xy = {})
{
    Bytes b;
    b.n(r.recordType).n(r.recordSize).n(0, 16).t(r.color).t(r.name).n(r.net).n(r.baud).n(r.id).n(r.pos);
    b.n(r.dataType).n(r.byteOrder).f({r.scale, r.offset}).t(r.unit).n(r.style).n(r.pointCount);
    return b.f(xy).data;
}

// Neighbouring int fields differ, so that a field read from its
// neighbour's offset shows. A name of 256 bytes is cut to 255.
// clang-format off
DataCurveRecord speed(int flags = 1, int pointCount = 4)
{
    return {0, 1096, "#ff8000", "Speed", 3, 4, 0x123, 5, 6, 255, 1, 0.00305, -0.75, "km/h", 2, 0, pointCount,
            flags, -100, 100.5, -32768.0, 32767.0, 1};
}
DataCurveRecord btr(int flags = 1)
{
    return {0, 1096, "#010203", QString(256, 'N'), 255, qint32(0x8000001Cu), 0x38FEF100, 8, 7, 15, 0, 1e-300,
            -1e300, "", 1, 1, 1, flags, -1.5, 3.25, 0.0, 1.0, 0};
}
// A 9-bit signed Motorola signal, present when the Intel byte 0 holds 3;
// its value names must be escaped.
DataCurveRecord trim(const QString& names = "0:Park;2:Drive\\;fast;3:a\\:b \u00e9")
{
    DataCurveRecord r = speed();
    r.bitLayout = BitLayout{{24, 9, true}, true, SignalValueType::Integer, true, {0, 8, false}, 3};
    r.valueTable = names;
    return r;
}
const QByteArray trimBits = bits("DBCS", 1, 24, 9, 1, 1, 0, 1, 0, 8, 0, 3, "0:Park;2:Drive\\;fast;3:a\\:b \xc3\xa9");
DataCurveRecordV1 rpm(qint32 recordSize = 840 + 48, quint32 pointCount = 3)
{
    return {7, recordSize, "#00ff00", "Rpm", 1, qint32(0x8000FFFFu), 0x20000100, 3, 4, 1, 0.5, 10, "1/min", 2,
            pointCount};
}
const QVector<double> speedPoints{2.5, 2.5, 2.0, 1.0, -0.917, -0.917, 0.61, 0.3};
const QVector<double> rpmPoints{3, 2, 1, 30, 20, 10};
// clang-format on

// A record of the binary form, 38 bytes; kind 0 is a frame, any other kind
// has its total length where a frame has its seconds.
QByteArray rec(uint32_t seconds, uint16_t ms, uint32_t id, const QByteArray& data = {}, uint16_t us = 0,
               uint16_t flags = 0, uint16_t kind = 0)
{
    Bytes b;
    b.n(kind, 2).n(seconds).n(ms, 2).n(us, 2).n(flags, 2).n(0, 10).n(id).n(quint64(data.size()), 4);
    return (b.data + data).leftJustified(38, '\0');
}

// 2023-01-19 17:18:59 UTC: 22:18:59 in the zone of the test, five hours
// ahead of UTC without summer time, so that midnight is neither UTC's nor
// the machine's.
constexpr uint32_t sec = 1674148739;
constexpr double daySeconds = 22 * 3600 + 18 * 60 + 59;

// Every element as "name{key=value,...}", attributes sorted.
QStringList elements(const QByteArray& bytes)
{
    QStringList found;
    for (QXmlStreamReader reader(bytes); !reader.atEnd();) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            QStringList pairs;
            for (const QXmlStreamAttribute& a : reader.attributes())
                pairs << a.name().toString() + '=' + a.value().toString();
            pairs.sort();
            found << reader.name().toString() + '{' + pairs.join(',') + '}';
        }
    }
    return found;
}

// "G<position>{key=value,...}" for a curve, "A<entry>@<position>:min,max,
// step,show,grid" for an axis.
QStringList summary(const ProjectReadResult& result)
{
    QStringList lines{QStringLiteral("status %1").arg(result.status)};
    for (const ProjectElement& e : result.elements) {
        QStringList pairs;
        for (auto it = e.graph.attributes.cbegin(); it != e.graph.attributes.cend(); ++it)
            pairs << it.key() + '=' + it.value();
        const ValueAxisSettings& a = e.axis;
        lines << (e.kind == ProjectElement::Graph
                      ? QString("G%1{%2}").arg(e.position).arg(pairs.join(','))
                      : QString::asprintf("A%d@%d:%g,%g,%g,%d,%d", e.axisIndex, e.position, a.min, a.max,
                                          a.step, a.visible, a.grid));
    }
    return lines;
}

} // namespace

class TestFileFormats : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void dataWriter();
    void dataReader_data();
    void dataReader();
    void logs_data();
    void logs();
    void projectWriter();
    void documentReaders_data();
    void documentReaders();
};

void TestFileFormats::initTestCase()
{
    qputenv("TZ", "XST-5");
    tzset();
}

void TestFileFormats::dataWriter()
{
    QBuffer out;
    QVERIFY(out.open(QIODevice::WriteOnly));
    DataFileHeader head{0, 96, 12345678.125, 2.75, 4000000000u, 2, {}};
    head.axes = {DataAxisRecord::from({-50, 250, 25, true, false}),
                 DataAxisRecord::from({-1.5, 3.25, 0.25, false, true})};
    QVERIFY(writeDataHeader(out, head));
    QVERIFY(writeDataCurveRecord(out, speed()));
    QVERIFY(writeDataPoints(out, speedPoints.constData(), speedPoints.constData() + 4, 4));
    QVERIFY(writeDataCurveRecord(out, btr()));
    QVERIFY(writeDataPoints(out, &speedPoints[3], &speedPoints[7], 1));
    // Names that don't fit whole with their NUL are not kept.
    QVERIFY(writeDataCurveRecord(out, trim()) && writeDataCurveRecord(out, trim(QString(176, 'x'))));
    const QByteArray expected = header(96) + curve(speed(), speedPoints) + curve(btr(), {1.0, 0.3}) +
                                curve(trim(), {}, trimBits) + curve(trim(), {}, trimBits.left(40));
    QCOMPARE(expected.size(), 96 + 4 * 1096 + 16 * 5);
    QCOMPARE(out.data().toHex(), expected.toHex());
}

// Whole files of the three versions, damaged ones, and refused headers. A
// record read is compared as the writer encodes it (writer() shows that
// these are the bytes laid out here), followed by the points read.
void TestFileFormats::dataReader_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("header");
    QTest::addColumn<QList<QByteArray>>("curves");
    QTest::addColumn<bool>("damaged");

    using Curves = QList<QByteArray>;
    const QByteArray whole = header(96) + curve(speed(), speedPoints) + curve(btr(), {0, 0});
    const QByteArray middle = header(32) + curve(speed(0), speedPoints) + curve(btr(0), {0, 0});
    // Arrays longer than the point count, of which the first points count;
    // a size that rounds down to three doubles per array under a point
    // count of nine. Three bytes behind them are no record.
    const Curves rpms{curveV1(rpm(840 + 80, 2), {9, 8, 7, 6, 5, 90, 80, 70, 60, 50}),
                      curveV1(rpm(840 + 63, 9), rpmPoints)};
    const auto add = [](const char* name, const QByteArray& file, const Curves& curves, bool damaged,
                        const char* header = "ok") {
        QTest::newRow(name) << file << header << curves << damaged;
    };
    add("current", whole, {curve(speed(), speedPoints), curve(btr(), {0, 0})}, false);
    // A layout behind another tag or version, or one that can't be decoded,
    // is passed over: the record reads as one without.
    add("current, bit layouts",
        header(96) + curve(trim(), speedPoints, trimBits) +
            curve(speed(1, 0), {}, bits("DBCS", 2, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, "0:a")),
        {curve(trim(), speedPoints, trimBits), curve(speed(1, 0))}, false);
    add("layouts that can't be decoded",
        header(96) + curve(speed(1, 0), {}, bits("DBCS", 1, 60, 8, 0, 0, 0, 0, 0, 0, 0, 0, "0:a")) +
            curve(speed(1, 0), {}, bits("DBCS", 1, 0, 16, 0, 0, 1, 0, 0, 0, 0, 0, "")),
        {curve(speed(1, 0)), curve(speed(1, 0))}, false);
    add("middle, ranges not valid", middle, {middle.mid(32, 1160), middle.mid(1192)}, false);
    add("oldest", header(24) + rpms[0] + rpms[1] + "pad",
        {curveV1(rpm(840 + 80, 2), {9, 8, 90, 80}), rpms[1]}, true);
    // The count in the header isn't trusted: records end where the file does.
    add("y lacks its last byte", whole.left(96 + 1096 + 63),
        {curve(speed(), {2.5, 2.5, 2, -0.917, -0.917, 0.61})}, true);
    add("pointCount INT_MAX", header(96) + curve(speed(1, INT_MAX), speedPoints), {curve(speed(1, INT_MAX))},
        true);
    add("negative pointCount, then a record", header(96) + curve(speed(1, -5)) + curve(btr(), {0, 0}),
        {curve(speed(1, -5)), curve(btr(), {0, 0})}, true);
    add("oldest: record size INT_MAX", header(24) + curveV1(rpm(INT_MAX), rpmPoints), {curveV1(rpm(INT_MAX))},
        true);
    // A size that points back into the record: no arrays, the next record follows at once.
    add("oldest: record size pointing backwards", header(24) + curveV1(rpm(100)) + rpms[1],
        {curveV1(rpm(100)), rpms[1]}, true);
    add("size 95", header(95), {}, false, "size 95");
    add("type 3", header(96, 3), {}, false, "type 3");
}

void TestFileFormats::dataReader()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, header);
    QFETCH(QList<QByteArray>, curves);
    QFETCH(bool, damaged);

    QBuffer in(&file);
    QVERIFY(in.open(QIODevice::ReadOnly));
    DataFileReader reader(in);
    const DataHeaderResult head = reader.readHeader();
    const bool ok = head.status == DataHeaderResult::Ok;
    QCOMPARE(ok ? "ok"
                : QString("%1 %2")
                      .arg(head.status == DataHeaderResult::WrongType ? "type" : "size")
                      .arg(head.found),
             header);
    const bool oldest = head.version == DataFileVersion::Oldest;
    const int size = oldest ? 24 : qMin(file.size(), int(head.header.headerSize));
    if (ok) {
        QCOMPARE(encodeDataHeader(head.header).left(size).toHex(), file.left(size).toHex());
        QCOMPARE(head.hasAxes, size == 96);
    }

    QList<QByteArray> got;
    DataCurveRecord current;
    DataCurveRecordV1 old;
    while (ok && got.size() < 5 &&
           (oldest ? reader.readCurveRecordV1(old) : reader.readCurveRecord(current))) {
        // Buffers of the promised size, and one element that stays as it is.
        const int n = reader.points();
        std::vector<double> x(size_t(n) + 1, -7.0), y(size_t(n) + 1, -7.0);
        reader.readPoints(x.data(), y.data(), n);
        QCOMPARE(x[size_t(n)] + y[size_t(n)], -14.0);
        const QVector<double> points =
            QVector<double>(x.begin(), x.begin() + n) + QVector<double>(y.begin(), y.begin() + n);
        got << (oldest ? encodeDataCurveRecordV1(old) : encodeDataCurveRecord(current)) +
                   Bytes().f(points).data;
    }
    QCOMPARE(got.size(), curves.size());
    for (int i = 0; i < got.size(); ++i)
        QCOMPARE(got[i].toHex(), curves[i].toHex());
    QCOMPARE(reader.damaged(), damaged);
}

// Both forms: the frames in file order, the origin (-1: none) and the time
// of the last frame.
void TestFileFormats::logs_data()
{
    QTest::addColumn<bool>("binary");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("frames"); // "id/len/data@time", data without its trailing zeros
    QTest::addColumn<double>("origin");

    const QString d8 = "11,22,33,44,55,66,77,88";
    const QByteArray data = QByteArray::fromHex("0102030405060708");
    const auto add = [](const char* name, const QByteArray& bytes, const QString& frames, double origin) {
        QTest::newRow(name) << QByteArray(name).startsWith("binary") << bytes << frames << origin;
    };
    add("text: heading, then frames",
        "Trace\nNo\tTime\n" + lines("1 10:00:00 250 256 _ 2 34,12 / 2 10:00:01 0.5 1 _ 8 " + d8),
        "100/2/3412@0 1/8/1122334455667788@0.7505", 36000.25);
    add("text: blank line in the heading", "Trace\n\n" + lines("1 10:00:00 0 5 _ 0"), "", -1.0);
    add("text: CRLF, a blank line ends the log",
        QByteArray(lines("1 00:00:02 0 7 _ 1 0A") + '\n' + lines("2 00:00:03 0 7 _ 1 0B"))
            .replace("\n", "\r\n"),
        "7/1/0a@0", 2.0);
    add("text: midnight", lines("1 23:59:59 500 1 _ 0 / 2 00:00:00 250 1 _ 0 / 3 00:00:00 0 1 _ 0"),
        "1/0/@0 1/0/@0.75 1/0/@86400.5", 86399.5);
    add("text: 29-bit, remote", lines("1 01:00:00 0 1000 RL 8 " + d8 + " / 2 01:00:00 1 1000 L 3 " + d8),
        "200003e8/10/1122334455667788@0 200003e8/3/1122334455667788@0.001", 3600.0);
    // A line without milliseconds is passed over; an error line is no
    // frame, but the first one sets the origin.
    add("text: error lines",
        lines("1 09:00:00 x / 2 10:00:00 0 9 E 1 01 / 3 10:00:02 0 9 _ 1 02 / 4 10:00:03 0 9 E 1 03"),
        "9/1/02@2", 36000.0);
    // "nan" and "inf" are no milliseconds: they would poison every later time.
    add("text: nan and inf milliseconds",
        lines("1 10:00:00 nan 5 _ 0 / 2 10:00:00 inf 5 _ 0 / 3 10:00:00 -inf 5 _ 0 / "
              "4 10:00:02 0 5 _ 1 0A / 5 10:00:03 NaN 5 _ 0"),
        "5/1/0a@0", 36002.0);
    add("text: no numbers, lengths beyond 0 to 8",
        lines("1 10:00:00 0 abc _ x zz,,7 / 2 10:00:00 0 3 _ 12 " + d8 + " / 3 10:00:00 0 3 _ -1 " + d8),
        "0/0/000007@0 3/8/1122334455667788@0 3/0/1122334455667788@0", 36000.0);
    add("text: a line of 10 MB", QByteArray(10 << 20, '7') + '\n' + lines("1 00:00:01 0 2 _ 0"), "2/0/@0",
        1.0);
    add("binary: two frames", rec(sec, 250, 0x123, data) + rec(sec + 2, 5, 0x20000456, data.left(2)),
        "123/8/0102030405060708@0 20000456/2/0102@1.755", daySeconds + 0.25);
    // Lengths of 38 and less end with the 38 bytes; 10000 is skipped, 10001
    // ends the log, as does a record cut short.
    add("binary: records of other kinds",
        rec(50, 0, 0, {}, 0, 0, 3) + QByteArray(12, 0) + rec(20, 0, 0, {}, 0, 0, 1) +
            rec(10000, 0, 0, {}, 0, 0, 0xFFFF) + QByteArray(9962, 0) + rec(sec, 0, 7, data) +
            rec(10001, 0, 0, {}, 0, 0, 2) + QByteArray(9963, 0) + rec(sec, 1, 7, data),
        "7/8/0102030405060708@0", daySeconds);
    add("binary: cut short", rec(sec, 0, 1) + rec(sec, 7, 2).left(37), "1/0/@0", daySeconds);
    // Bit 30 marks no bus frame: it neither counts nor sets the origin.
    add("binary: bit 30", rec(sec - 100, 0, 0x40000001) + rec(sec, 0, 1) + rec(sec + 1, 0, 0x60000001),
        "1/0/@0", daySeconds);
    add("binary: microseconds with flag bit 15",
        rec(sec, 0, 1) + rec(sec, 1, 1, {}, 500, 0x7FFF) + rec(sec, 2, 1, {}, uint16_t(-250), 0x8001),
        "1/0/@0 1/0/@0.001 1/0/@0.00175", daySeconds);
    // Two hours on is past the local midnight; a second back is the next day.
    add("binary: past midnight, clock set back",
        rec(sec, 0, 1) + rec(sec + 7200, 0, 1) + rec(sec + 7199, 0, 1), "1/0/@0 1/0/@7200 1/0/@93599",
        daySeconds);
}

void TestFileFormats::logs()
{
    QFETCH(bool, binary);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, frames);
    QFETCH(double, origin);

    // A device as big as a sparse file of a petabyte: the frames' room must
    // grow with what is read, not with what the device claims.
    struct HugeBuffer : QBuffer
    {
        qint64 size() const override { return qint64(1) << 50; }
    } buffer;
    buffer.setData(bytes);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    const CanLog log = readCanLog(binary ? CanLogForm::Binary : CanLogForm::Text, &buffer,
                                  progressScale(buffer.size()), nullptr);
    QStringList got;
    for (const ImportFrame& f : log.frames) {
        QByteArray data(reinterpret_cast<const char*>(f.frame.data), 8);
        while (data.endsWith('\0'))
            data.chop(1);
        got << QString::asprintf("%x/%x/%s@%.9g", f.frame.id, f.frame.len, data.toHex().constData(), f.time);
    }
    QCOMPARE(got.join(' '), frames);
    QCOMPARE(log.hasOrigin ? log.timeOrigin : -1.0, origin);
    QCOMPARE(QString::number(log.lastTime, 'g', 9), frames.isEmpty() ? "0" : frames.section('@', -1));
}

void TestFileFormats::projectWriter()
{
    ProjectGraph graph;
    graph.attributes = {
        {"name", "Rpm \"1\" <&>"}, {"baud", "-2147483620"}, {"netstr", "3: BETA"}, {"calc", ""}};
    QBuffer buffer;
    QVERIFY(writeProjectDocument(
        buildProjectDocument("/p/demo.vtlprj", "Wed May 20 03:40:13 1998", {graph, {}},
                             {{-100, 100, 10, true, true}, {0.1, 1e21, 0.5, false, false}}),
        &buffer));
    QCOMPARE(elements(buffer.data()),
             (QStringList{"Vistrel{datetime=Wed May 20 03:40:13 1998,file=/p/demo.vtlprj}",
                          "Graph0{baud=-2147483620,calc=,name=Rpm \"1\" <&>,netstr=3: BETA}", "Graph1{}",
                          "CustomAxis{Grid=1,Max=100,Min=-100,Show=1,Step=10}",
                          "CustomAxis1{Grid=0,Max=1e+21,Min=0.10000000000000001,Show=0,Step=0.5}"}));
    // No declaration; one space of indent a level.
    QVERIFY2(buffer.data().startsWith("<Vistrel ") && buffer.data().contains("\n <Graph0 "), buffer.data());
}

// Projects, and settings ("settings" rows: the status, then the plot size).
void TestFileFormats::documentReaders_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("expected");

    const auto add = [](const char* name, const QByteArray& xml, const QStringList& expected) {
        QTest::newRow(name) << xml << expected;
    };
    const QStringList failed{QStringLiteral("status %1").arg(ProjectReadResult::ParseFailed)};
    // Only the position counts, not the number in the name or the root's
    // name; elements without attributes, others and comments are skipped
    // but counted; names are compared case-sensitively.
    add("positions",
        "<Other v=\"9\"><Info a=\"1\"/><!-- x --><Graph7 name=\"a\"/><Graph/><graph1 name=\"c\"/>"
        "<GraphXY name=\"b\"><Graph0 name=\"x\"/></GraphXY></Other>",
        {"status 0", "G2{name=a}", "G5{name=b}"});
    // Booleans above 0 are true; numbers in the C locale's form, else 0.
    add("axes",
        "<V><CustomAxis7 Min=\"-1e3\" Max=\"2.5E2\" Step=\"1,5\" Show=\"7\" Grid=\"-1\"/>"
        "<CustomAxis Show=\"yes\" Grid=\"1\"/><customaxis Min=\"1\"/></V>",
        {"status 0", "A1@0:-1000,250,0,1,0", "A0@1:0,0,0,0,1"});
    add("UTF-8 without declaration", "<V><Graph0 name=\"\xc3\xa9t\xc3\xa9\"/></V>",
        {"status 0", QString::fromUtf8("G0{name=\xc3\xa9t\xc3\xa9}")});
    // The parser recurses once per level: a deep document is refused before.
    const auto nested = [](int levels, const QByteArray& inner) {
        return QByteArray("<a>").repeated(levels) + inner + QByteArray("</a>").repeated(levels);
    };
    add("256 levels", "<V>" + nested(254, "<Graph0 name=\"a\"/>") + "</V>", {"status 0"});
    add("257 levels", "<V>" + nested(256, "") + "</V>", failed);
    // A byte that isn't UTF-8 is no error of the document.
    add("Latin-1 without declaration", "<V><Graph0 name=\"\xe9t\xe9\"/></V>",
        {"status 0", QString("G0{name=%1t%1}").arg(QChar(QChar::ReplacementCharacter))});
    // The plot size is taken as it stands, however large.
    add("settings: plot size unchecked", "<X PlotSize=\"4000000000\"/>", {"status 0", "4000000000"});
    add("settings: 25000 levels", "<X PlotSize=\"9\">" + QByteArray("<a>").repeated(25000) + "</X>",
        {QStringLiteral("status %1").arg(SettingsReadResult::ParseFailed), "0"});
}

void TestFileFormats::documentReaders()
{
    QFETCH(QByteArray, xml);
    QFETCH(QStringList, expected);
    QBuffer buffer(&xml);
    if (QByteArray(QTest::currentDataTag()).startsWith("settings")) {
        const SettingsReadResult result = readSettingsDocument(&buffer);
        QCOMPARE((QStringList{QStringLiteral("status %1").arg(result.status),
                              QString::number(result.settings.plotSize)}),
                 expected);
    } else {
        QCOMPARE(summary(readProjectDocument(&buffer)), expected);
    }
}

QTEST_GUILESS_MAIN(TestFileFormats)
#include "tst_fileformats.moc"
