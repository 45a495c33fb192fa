// The readers of the recorder's logs on their own, fed from buffers that the
// tests build field by field and byte by byte.
#include "canlog.h"

#include <QBuffer>
#include <QtTest>

#include <cstdlib>
#include <ctime>

namespace {

// Local time of the tests: five hours ahead of UTC, without summer time, so
// that midnight is neither UTC's nor the machine's.
constexpr int64_t zoneOffset = 5 * 3600;
// 2023-01-19 17:18:59 UTC, 22:18:59 local.
constexpr int32_t someSeconds = 1674148739;

int64_t localSecondsOfDay(int64_t seconds)
{
    return (seconds + zoneOffset) % 86400;
}

// One line of the text form: running number, a field not read, time of day,
// milliseconds, two fields not read, id, a field not read, letters, length
// and eight data bytes.
QByteArray textLine(const QByteArray& number, const QByteArray& time, const QByteArray& ms,
                    const QByteArray& id, const QByteArray& letters, const QByteArray& length,
                    const QList<QByteArray>& data)
{
    QList<QByteArray> fields{number, "Rx", time, ms, "", "1", id, "x", letters, length};
    for (int i = 0; i < 8; ++i)
        fields << (i < data.size() ? data[i] : QByteArray("00"));
    return fields.join('\t') + '\n';
}

const QByteArray heading = "Trace of the recorder\n"
                           "No\tDir\tTime\tms\ta\tb\tId\tc\tFlags\tLen\tD0\tD1\tD2\tD3\tD4\tD5\tD6\tD7\n";

void putLe(QByteArray& bytes, int offset, uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes[offset + i] = char((value >> (8 * i)) & 0xFF);
}

// A frame record of the binary form, 38 bytes.
QByteArray frameRecord(int32_t seconds, uint16_t ms, int16_t us, uint16_t flags, uint32_t id, uint8_t len,
                       const QByteArray& data)
{
    QByteArray record(38, '\0');
    putLe(record, 2, uint32_t(seconds), 4);
    putLe(record, 6, ms, 2);
    putLe(record, 8, uint16_t(us), 2);
    putLe(record, 10, flags, 2);
    // Bytes 12 to 21 aren't read; make them loud.
    for (int i = 12; i < 22; ++i)
        record[i] = char(0xA5);
    putLe(record, 22, id, 4);
    record[26] = char(len);
    for (int i = 0; i < data.size() && i < 8; ++i)
        record[30 + i] = data[i];
    return record;
}

// A record of another kind with the given total length; its content after
// the first 38 bytes is filler.
QByteArray otherRecord(uint16_t kind, uint32_t length, int bytesPresent = -1)
{
    QByteArray record(38, char(0x5A));
    putLe(record, 0, kind, 2);
    putLe(record, 2, length, 4);
    const int rest = bytesPresent >= 0 ? bytesPresent : int(length > 38 ? length - 38 : 0);
    // Filler that would read as a frame record if it were taken for one.
    record += QByteArray(rest, '\0');
    return record;
}

// The frames of a log as lines "id len data @time", in file order.
QStringList framesOf(const CanLog& log)
{
    QStringList lines;
    for (const ImportFrame& imported : log.frames) {
        const QByteArray data(reinterpret_cast<const char*>(imported.frame.data), 8);
        lines << QStringLiteral("%1 %2 %3 @%4")
                     .arg(imported.frame.id, 0, 16)
                     .arg(imported.frame.len, 0, 16)
                     .arg(QString::fromLatin1(data.toHex()))
                     .arg(imported.time, 0, 'f', 6);
    }
    return lines;
}

// Frame lists per id must name every frame once, in file order.
bool byIdConsistent(const CanLog& log)
{
    size_t total = 0;
    for (auto it = log.framesById.cbegin(); it != log.framesById.cend(); ++it) {
        uint32_t previous = 0;
        for (size_t i = 0; i < it->size(); ++i) {
            const uint32_t position = (*it)[i];
            if (position >= log.frames.size() || log.frames[position].frame.id != it.key() ||
                (i > 0 && position <= previous))
                return false;
            previous = position;
        }
        total += it->size();
    }
    return total == log.frames.size();
}

CanLog readFrom(CanLogForm form, const QByteArray& bytes, IFImportProgress* progress = nullptr)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    buffer.open(QIODevice::ReadOnly);
    return readCanLog(form, &buffer, progressScale(copy.size()), progress);
}

// Records the steps shown and stops on the call given.
class StepRecorder : public IFImportProgress
{
public:
    explicit StepRecorder(int stopOnCall = 0) : stopOnCall(stopOnCall) {}

    bool showStep(int step) override
    {
        steps << step;
        return steps.size() != stopOnCall;
    }

    QVector<int> steps;

private:
    int stopOnCall;
};

QVector<int> countingUpTo(int last)
{
    QVector<int> values;
    for (int i = 0; i <= last; ++i)
        values << i;
    return values;
}

} // namespace

class TestCanLog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void formOfName_data();
    void formOfName();
    void progressScaleRule_data();
    void progressScaleRule();
    void textLog_data();
    void textLog();
    void binaryLog_data();
    void binaryLog();
    void progress_data();
    void progress();
    void samples_data();
    void samples();
    void samplesAbort();
};

void TestCanLog::initTestCase()
{
    qputenv("TZ", "XST-5");
    tzset();
    // The zone must really be in force, or the midnight rows test nothing.
    const time_t when = someSeconds;
    struct tm local = {};
    QVERIFY(localtime_r(&when, &local));
    QCOMPARE(local.tm_hour, 22);
}

void TestCanLog::formOfName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("form");
    QTest::newRow("binary") << "/tmp/drive.vbrlog" << int(CanLogForm::Binary);
    QTest::newRow("text") << "drive.txt" << int(CanLogForm::Text);
    QTest::newRow("capitals") << "drive.TXT" << int(CanLogForm::Unknown);
    QTest::newRow("binary capitals") << "drive.VbrLog" << int(CanLogForm::Unknown);
    QTest::newRow("end without dot") << "drivetxt" << int(CanLogForm::Text);
    QTest::newRow("other") << "drive.log" << int(CanLogForm::Unknown);
    QTest::newRow("extension inside") << "drive.txt.bak" << int(CanLogForm::Unknown);
}

void TestCanLog::formOfName()
{
    QFETCH(QString, name);
    QFETCH(int, form);
    QCOMPARE(int(canLogFormOf(name)), form);
}

void TestCanLog::progressScaleRule_data()
{
    QTest::addColumn<qlonglong>("total");
    QTest::addColumn<qlonglong>("step");
    QTest::addColumn<int>("steps");
    QTest::newRow("empty") << 0LL << 1LL << 0;
    QTest::newRow("one") << 1LL << 1LL << 1;
    QTest::newRow("1000") << 1000LL << 1LL << 1000;
    QTest::newRow("1001") << 1001LL << 10LL << 100;
    QTest::newRow("10009") << 10009LL << 10LL << 1000;
    QTest::newRow("10010") << 10010LL << 100LL << 100;
    QTest::newRow("123456") << 123456LL << 1000LL << 123;
    QTest::newRow("5 GB") << 5000000000LL << 10000000LL << 500;
}

void TestCanLog::progressScaleRule()
{
    QFETCH(qlonglong, total);
    QFETCH(qlonglong, step);
    QFETCH(int, steps);
    const ProgressScale scale = progressScale(total);
    QCOMPARE(qlonglong(scale.step), step);
    QCOMPARE(scale.steps, steps);
}

void TestCanLog::textLog_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("frames");
    QTest::addColumn<bool>("hasOrigin");
    QTest::addColumn<double>("origin");
    QTest::addColumn<double>("lastTime");
    QTest::addColumn<int>("shortLines");

    const QList<QByteArray> bytes8{"11", "22", "33", "44", "55", "66", "77", "88"};

    QTest::newRow("heading, then frames")
        << heading + textLine("1", "10:00:00", "250", "256", "", "2", {"34", "12"}) +
               textLine("2", "10:00:01", "0.5", "1", "", "8", bytes8)
        << QStringList{"100 2 3412000000000000 @0.000000", "1 8 1122334455667788 @0.750500"} << true
        << 36000.25 << 0.7505 << 0;
    QTest::newRow("blank line in the heading")
        << "Trace\n\n" + heading.mid(6) + textLine("1", "10:00:00", "0", "256", "", "1", {"01"})
        << QStringList() << false << 0.0 << 0.0 << 0;
    QTest::newRow("blank line ends the log")
        << textLine("1", "10:00:00", "0", "5", "", "1", {"01"}) + "\n" +
               textLine("2", "10:00:01", "0", "5", "", "1", {"02"})
        << QStringList{"5 1 0100000000000000 @0.000000"} << true << 36000.0 << 0.0 << 0;
    QTest::newRow("windows line ends")
        << QByteArray("No\tx\r\n") +
               textLine("1", "00:00:02", "0", "7", "", "1", {"0A"}).replace("\n", "\r\n") +
               textLine("2", "00:00:03", "0", "7", "", "1", {"0B"}).replace("\n", "\r\n")
        << QStringList{"7 1 0a00000000000000 @0.000000", "7 1 0b00000000000000 @1.000000"} << true << 2.0
        << 1.0 << 0;
    QTest::newRow("midnight") << textLine("1", "23:59:59", "500", "1", "", "0", {}) +
                                     textLine("2", "00:00:00", "250", "1", "", "0", {}) +
                                     textLine("3", "00:00:01", "0", "1", "", "0", {}) +
                                     textLine("4", "00:00:00", "0", "1", "", "0", {})
                              << QStringList{"1 0 0000000000000000 @0.000000",
                                             "1 0 0000000000000000 @0.750000",
                                             "1 0 0000000000000000 @1.500000",
                                             "1 0 0000000000000000 @86400.500000"}
                              << true << 86399.5 << 86400.5 << 0;
    QTest::newRow("29-bit remote frame")
        << textLine("1", "01:00:00", "0", "1000", "RL", "8", bytes8) +
               textLine("2", "01:00:00", "1", "1000", "L", "3", bytes8)
        << QStringList{"200003e8 10 1122334455667788 @0.000000", "200003e8 3 1122334455667788 @0.001000"}
        << true << 3600.0 << 0.001 << 0;
    QTest::newRow("first line an error line")
        << textLine("1", "10:00:00", "0", "9", "E", "1", {"01"}) +
               textLine("2", "10:00:02", "0", "9", "", "1", {"02"}) +
               textLine("3", "10:00:03", "0", "9", "E", "1", {"03"})
        << QStringList{"9 1 0200000000000000 @2.000000"} << true << 36000.0 << 2.0 << 0;
    QTest::newRow("fields that are no numbers")
        << textLine("1", "10:00:00", "0", "abc", "", "x", {"zz", "", "7"})
        << QStringList{"0 0 0000070000000000 @0.000000"} << true << 36000.0 << 0.0 << 0;
    QTest::newRow("lengths out of range")
        << textLine("1", "10:00:00", "0", "3", "", "12", bytes8) +
               textLine("2", "10:00:00", "0", "3", "", "-1", bytes8)
        << QStringList{"3 8 1122334455667788 @0.000000", "3 0 1122334455667788 @0.000000"} << true << 36000.0
        << 0.0 << 0;
    QTest::newRow("no milliseconds, no number")
        << QByteArray("1\tRx\t10:00:00\tnone\n") + "x2\tRx\t10:00:00\t5\n" +
               textLine("3", "10:00:04", "0", "3", "", "1", {"01"})
        << QStringList{"3 1 0100000000000000 @0.000000"} << true << 36004.0 << 0.0 << 0;
    QTest::newRow("short line sets the origin")
        << QByteArray("1\tRx\t10:00:00\t0\t\t\t5\n") + textLine("2", "10:00:01", "0", "5", "", "1", {"01"})
        << QStringList{"5 1 0100000000000000 @1.000000"} << true << 36000.0 << 1.0 << 1;
    QTest::newRow("time that doesn't parse")
        << textLine("1", "1:02:03", "400", "5", "", "0", {}) << QStringList{"5 0 0000000000000000 @0.000000"}
        << true << 0.4 << 0.0 << 0;
    QTest::newRow("empty file") << QByteArray() << QStringList() << false << 0.0 << 0.0 << 0;
}

void TestCanLog::textLog()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, frames);
    QFETCH(bool, hasOrigin);
    QFETCH(double, origin);
    QFETCH(double, lastTime);
    QFETCH(int, shortLines);

    const CanLog log = readFrom(CanLogForm::Text, text);
    QCOMPARE(framesOf(log), frames);
    QVERIFY(byIdConsistent(log));
    QCOMPARE(log.hasOrigin, hasOrigin);
    QCOMPARE(log.timeOrigin, origin);
    QVERIFY2(qAbs(log.lastTime - lastTime) < 1e-9, qPrintable(QString::number(log.lastTime, 'f', 9)));
    QCOMPARE(log.shortLines, shortLines);
    QVERIFY(!log.canceled);
}

void TestCanLog::binaryLog_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("frames");
    QTest::addColumn<bool>("hasOrigin");
    QTest::addColumn<double>("origin");

    const int32_t s = someSeconds;
    const double daySeconds = double(localSecondsOfDay(s));
    const QByteArray data = QByteArray::fromHex("0102030405060708");

    QTest::newRow("two frames") << frameRecord(s, 250, 0, 0, 0x123, 8, data) +
                                       frameRecord(s + 2, 5, 0, 0, 0x20000456, 2, data)
                                << QStringList{"123 8 0102030405060708 @0.000000",
                                               "20000456 2 0102030405060708 @1.755000"}
                                << true << daySeconds + 0.25;
    QTest::newRow("leading record of another kind")
        << otherRecord(3, 50) + otherRecord(1, 20) + frameRecord(s, 0, 0, 0, 7, 1, data)
        << QStringList{"7 1 0102030405060708 @0.000000"} << true << daySeconds;
    QTest::newRow("length 10000 is skipped")
        << otherRecord(0xFFFF, 10000) + frameRecord(s, 0, 0, 0, 7, 1, data)
        << QStringList{"7 1 0102030405060708 @0.000000"} << true << daySeconds;
    QTest::newRow("length above 10000 ends")
        << frameRecord(s, 0, 0, 0, 7, 1, data) + otherRecord(2, 10001, 0) +
               frameRecord(s, 1, 0, 0, 7, 1, data)
        << QStringList{"7 1 0102030405060708 @0.000000"} << true << daySeconds;
    QTest::newRow("record longer than the file")
        << frameRecord(s, 0, 0, 0, 7, 1, data) + otherRecord(2, 500, 100)
        << QStringList{"7 1 0102030405060708 @0.000000"} << true << daySeconds;
    QTest::newRow("no bus frames with bit 30")
        << frameRecord(s - 100, 0, 0, 0, 0x40000001, 1, data) + frameRecord(s, 0, 0, 0, 1, 1, data) +
               frameRecord(s + 50, 0, 0, 0, 0x60000001, 1, data) + frameRecord(s + 1, 0, 0, 0, 1, 1, data)
        << QStringList{"1 1 0102030405060708 @0.000000", "1 1 0102030405060708 @1.000000"} << true
        << daySeconds;
    QTest::newRow("only bit 30") << frameRecord(s, 0, 0, 0, 0x40000001, 1, data) << QStringList() << false
                                 << 0.0;
    QTest::newRow("microseconds with flag bit 15")
        << frameRecord(s, 0, 0, 0, 1, 0, {}) + frameRecord(s, 1, 500, 0x7FFF, 1, 0, {}) +
               frameRecord(s, 1, 500, int16_t(0x8000), 1, 0, {}) +
               frameRecord(s, 2, -250, int16_t(0x8001), 1, 0, {})
        << QStringList{"1 0 0000000000000000 @0.000000", "1 0 0000000000000000 @0.001000",
                       "1 0 0000000000000000 @0.001500", "1 0 0000000000000000 @0.001750"}
        << true << daySeconds;
    QTest::newRow("short final record")
        << frameRecord(s, 0, 0, 0, 1, 1, data) + frameRecord(s, 7, 0, 0, 2, 1, data).left(37)
        << QStringList{"1 1 0102030405060708 @0.000000"} << true << daySeconds;
    QTest::newRow("clock set back a second")
        << frameRecord(s, 0, 0, 0, 1, 0, {}) + frameRecord(s - 1, 0, 0, 0, 1, 0, {})
        << QStringList{"1 0 0000000000000000 @0.000000", "1 0 0000000000000000 @86399.000000"} << true
        << daySeconds;
    QTest::newRow("across midnight") << frameRecord(s, 0, 0, 0, 1, 0, {}) +
                                            frameRecord(s + 7200, 0, 0, 0, 1, 0, {})
                                     << QStringList{"1 0 0000000000000000 @0.000000",
                                                    "1 0 0000000000000000 @7200.000000"}
                                     << true << daySeconds;
    QTest::newRow("empty") << QByteArray() << QStringList() << false << 0.0;
}

void TestCanLog::binaryLog()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, frames);
    QFETCH(bool, hasOrigin);
    QFETCH(double, origin);

    const CanLog log = readFrom(CanLogForm::Binary, bytes);
    QCOMPARE(framesOf(log), frames);
    QVERIFY(byIdConsistent(log));
    QCOMPARE(log.hasOrigin, hasOrigin);
    QVERIFY2(qAbs(log.timeOrigin - origin) < 1e-9, qPrintable(QString::number(log.timeOrigin, 'f', 9)));
    QVERIFY(!log.canceled);
}

void TestCanLog::progress_data()
{
    QTest::addColumn<int>("form");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("stopOnCall"); // 0: never
    QTest::addColumn<QVector<int>>("steps");
    QTest::addColumn<int>("frames");

    // 3000 frames of 38 bytes: 114000 bytes, step 1000, so the position
    // passes each step exactly once.
    QByteArray bytes;
    for (int i = 0; i < 3000; ++i)
        bytes += frameRecord(someSeconds, uint16_t(i % 1000), 0, 0, uint32_t(i % 3), 1, "\x01");
    const int binary = int(CanLogForm::Binary);
    QTest::newRow("binary") << binary << bytes << 0 << countingUpTo(114) << 3000;
    // The fifth look stops: step 4 is reached at 4000 bytes, in frame 106.
    QTest::newRow("binary stopped") << binary << bytes << 5 << countingUpTo(4) << 106;
    // Small logs show every frame's position.
    QTest::newRow("binary, small") << binary << bytes.left(38 * 3) + otherRecord(1, 40) << 0
                                   << QVector<int>{38, 76, 114} << 3;

    // Every line with a number in field 0 is looked at, frame or not; the
    // heading is not.
    const QByteArray first = textLine("1", "10:00:00", "0", "1", "E", "0", {});
    const QByteArray second = "2\tRx\t10:00:00\tbad\n";
    const QByteArray text = heading + first + second + textLine("3", "10:00:00", "0", "1", "", "0", {});
    const QVector<int> textSteps{heading.size() + first.size(), heading.size() + first.size() + second.size(),
                                 text.size()};
    QTest::newRow("text") << int(CanLogForm::Text) << text << 0 << textSteps << 1;
    QTest::newRow("text stopped") << int(CanLogForm::Text) << text << 2 << textSteps.mid(0, 2) << 0;
}

void TestCanLog::progress()
{
    QFETCH(int, form);
    QFETCH(QByteArray, bytes);
    QFETCH(int, stopOnCall);
    QFETCH(QVector<int>, steps);
    QFETCH(int, frames);

    StepRecorder recorder(stopOnCall);
    const CanLog log = readFrom(CanLogForm(form), bytes, &recorder);
    QCOMPARE(recorder.steps, steps);
    QCOMPARE(log.canceled, stopOnCall != 0);
    QCOMPARE(int(log.frames.size()), frames);
    QVERIFY(byIdConsistent(log));
}

void TestCanLog::samples_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("byteOrder");
    QTest::addColumn<int>("bytePos");
    QTest::addColumn<QVector<double>>("values"); // newest first

    // Frames in file order: 34 12 (2 bytes), a remote frame, FF FF FF FF,
    // one byte 80.
    QTest::newRow("Integer16 Intel") << 2 << 0 << 0
                                     << QVector<double>{0.0, -0.5 + 3.0, 0.0, 4660 * 0.5 + 3.0};
    QTest::newRow("Integer16 Motorola")
        << 2 << 1 << 0 << QVector<double>{0.0, -0.5 + 3.0, 0.0, 13330 * 0.5 + 3.0};
    QTest::newRow("Unsigned8 at 2") << 1 << 0 << 1
                                    << QVector<double>{0.0, 255 * 0.5 + 3.0, 0.0, 18 * 0.5 + 3.0};
    QTest::newRow("Integer8") << 0 << 0 << 0
                              << QVector<double>{-128 * 0.5 + 3.0, -0.5 + 3.0, 0.0, 52 * 0.5 + 3.0};
}

void TestCanLog::samples()
{
    QFETCH(int, dataType);
    QFETCH(int, byteOrder);
    QFETCH(int, bytePos);
    QFETCH(QVector<double>, values);

    const QByteArray text = textLine("1", "10:00:00", "0", "5", "", "2", {"34", "12"}) +
                            textLine("2", "10:00:00", "100", "6", "", "1", {"01"}) +
                            textLine("3", "10:00:00", "200", "5", "R", "8", {"34", "12"}) +
                            textLine("4", "10:00:00", "300", "5", "", "4", {"FF", "FF", "FF", "FF"}) +
                            textLine("5", "10:00:00", "400", "5", "", "1", {"80"});
    const CanLog log = readFrom(CanLogForm::Text, text);

    ValueLayout layout;
    layout.dataType = dataType;
    layout.byteOrder = byteOrder;
    layout.bytePos = bytePos;
    layout.scale = 0.5;
    layout.offset = 3.0;
    std::vector<double> x(7, -7.0);
    std::vector<double> y(7, -7.0);
    StepRecorder recorder;
    QVERIFY(decodeSamples(log, 5, layout, x.data(), y.data(), &recorder));
    QCOMPARE(recorder.steps, (QVector<int>{0, 1, 2, 3}));
    // Element 0 and those behind the samples are the caller's.
    QCOMPARE(x[0], -7.0);
    QCOMPARE(x[5], -7.0);
    const double times[] = {0.4, 0.3, 0.2, 0.0};
    for (int i = 0; i < 4; ++i)
        QVERIFY2(qAbs(x[size_t(i) + 1] - times[i]) < 1e-9, qPrintable(QString::number(x[size_t(i) + 1])));
    QCOMPARE(QVector<double>(y.begin() + 1, y.begin() + 5), values);

    // An id without frames writes nothing.
    QCOMPARE(log.frameCount(7), 0);
    std::vector<double> untouched(3, -7.0);
    QVERIFY(decodeSamples(log, 7, layout, untouched.data(), untouched.data(), &recorder));
    QCOMPARE(untouched, std::vector<double>(3, -7.0));
}

void TestCanLog::samplesAbort()
{
    QByteArray text;
    for (int i = 1; i <= 2500; ++i)
        text += textLine(QByteArray::number(i), "10:00:00", "0", "5", "", "1", {"01"});
    const CanLog log = readFrom(CanLogForm::Text, text);
    QCOMPARE(log.frameCount(5), 2500);

    // 2500 frames: step 10, shown at every tenth frame; the third look stops.
    std::vector<double> x(2502, -7.0);
    std::vector<double> y(2502, -7.0);
    StepRecorder recorder(3);
    QVERIFY(!decodeSamples(log, 5, ValueLayout(), x.data(), y.data(), &recorder));
    QCOMPARE(recorder.steps, (QVector<int>{0, 1, 2}));
    // Frames 0 to 19 were decoded into samples 2500 down to 2481.
    QCOMPARE(y[2481], 1.0);
    QCOMPARE(y[2480], -7.0);
}

QTEST_GUILESS_MAIN(TestCanLog)
#include "tst_canlog.moc"
