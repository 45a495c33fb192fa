// The log reader of canlogs/: generated logs of every format and version
// against python-can's reading of them (tests/data/canlogs/make_canlogs.py),
// the shared real recordings, header details written by hand, and damaged
// files that must give a message and the frames before the damage.
#include "canlogs/canlog_reader.h"
#include "driver_support.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <cstring>

using canlogs::Frame;
using canlogs::LogContents;
using canlogs::LogFormat;

namespace {

const QString kDataDir = QStringLiteral(VISTREL_TEST_DATA_DIR "/canlogs/");
using TestSupport::readAll;

// One frame as make_canlogs.py writes the expected frames:
// <µs since the log's start> <channel> <id hex> <flags> <length> <data hex>
QString canonical(const Frame& f, int64_t start)
{
    const int64_t t = f.timeNs - start;
    QString flags;
    for (int bit = 0; bit < 5; ++bit)
        if (f.flags & (1 << bit))
            flags += QLatin1Char("xrfbe"[bit]);
    const bool noData = (f.flags & canlogs::FrameRemote) || f.length == 0;
    const QByteArray data = QByteArray(reinterpret_cast<const char*>(f.data), f.length).toHex();
    // Bytes that are no data must be 0; a line that says otherwise matches no expected line.
    const bool junk =
        std::any_of(f.data + (noData ? 0 : f.length), f.data + sizeof f.data, [](uint8_t b) { return b; });
    return QStringLiteral("%1 %2 %3 %4 %5 %6%7")
        .arg(t >= 0 ? (t + 500) / 1000 : -((-t + 500) / 1000))
        .arg(f.channel)
        .arg(f.id, 0, 16)
        .arg(flags.isEmpty() ? QStringLiteral("-") : flags)
        .arg(f.length)
        .arg(noData ? QStringLiteral("-") : QString::fromLatin1(data))
        .arg(junk ? " and bytes beyond its length" : "");
}

QStringList canonicalLines(const LogContents& log)
{
    QStringList lines;
    for (const Frame& f : log.frames)
        lines << canonical(f, log.startTimeNs);
    return lines;
}

QStringList expectedLines(const QString& log)
{
    return QString::fromLatin1(readAll(kDataDir + "expected/" + log + ".frames"))
        .split('\n', Qt::SkipEmptyParts);
}

// Compares frame by frame, so that a failure names the first frame that differs.
void compareLines(const QStringList& actual, const QStringList& expected)
{
    for (int i = 0; i < std::min(actual.size(), expected.size()); ++i)
        if (actual[i] != expected[i])
            QFAIL(qPrintable(QStringLiteral("frame %1: %2, expected %3").arg(i).arg(actual[i], expected[i])));
    QCOMPARE(actual.size(), expected.size());
}

quint64 fnv1a(const QByteArray& bytes)
{
    quint64 h = 0xcbf29ce484222325ULL;
    for (const char c : bytes)
        h = (h ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
    return h;
}

// Offsets of the top-level objects of a BLF file behind its 144-byte header.
QVector<int> blfObjects(const QByteArray& blf, int from = 144)
{
    QVector<int> offsets;
    for (int at = from; at + 16 <= blf.size();) {
        quint32 size;
        std::memcpy(&size, blf.constData() + at + 8, 4);
        offsets << at;
        at += int(size + size % 4);
    }
    return offsets;
}

void putU32(QByteArray& bytes, int at, quint32 value)
{
    std::memcpy(bytes.data() + at, &value, 4);
}

// A log file (its frames in expected/), or a log's content and its frames.
// clang-format off
const qint64 trcStart = 1577880000000000000; // ;$STARTTIME=43831.5: 2020-01-01 12:00 UTC
const struct { const char* name; QByteArray source; QString frames, format; bool absolute; qint64 start; QString channels; }
readRows[] = {
    {"candump -l",     "candump.log",        {}, "candump", true,  0, "vcan1 can0 can2"},
    {"candump screen", "candump-screen.log", {}, "candump", true,  0, "can0 can1"},
    // date Sat Sep 30 10:06:13.191 pm 2017
    {"ASC hex",        "vector.asc",         {}, "ASC",     true,  1506809173191000000, "1 2 3 4"},
    // date Mon Feb 21 01:54:10 PM 2022
    {"ASC dec",        "vector-dec.asc",     {}, "ASC",     true,  1645451650000000000, "1 2"},
    {"TRC 1.0",        "peak-1.0.trc",       {}, "TRC 1.0", false, 0,         "1"},
    {"TRC 1.1",        "peak-1.1.trc",       {}, "TRC 1.1", true,  trcStart,  "1"},
    {"TRC 1.3",        "peak-1.3.trc",       {}, "TRC 1.3", true,  trcStart,  "1 2"},
    {"TRC 2.0",        "peak-2.0.trc",       {}, "TRC 2.0", true,  trcStart,  "1"},
    {"TRC 2.1",        "peak-2.1.trc",       {}, "TRC 2.1", true,  trcStart,  "1 2"},
    // The header's SYSTEMTIME: python-can's start, the first frame's time to the millisecond.
    {"BLF",            "vector.blf",         {}, "BLF",     true,  1600000000011000000, "1 2 3"},
    // SYSTEMTIME 2021-03-14 15:16:17.456
    {"BLF kinds",      "vector-kinds.blf",   {}, "BLF",     true,  1615734977456000000, "1 2"},
    {"ASC relative timestamps, 12 am",
     "date Thu Jan 12 12:30:00.5 am 2017\nbase hex  timestamps relative\ninternal events logged\nBegin Triggerblock\n"
     "   1.000000 1  123             Rx   d 2 01 02  Length = 0 BitCount = 0\n"
     "   0.250000 1  Statistic: D 0 R 0 XD 0 XR 0 E 0 O 0 B 0.00%\n"
     "   0.000100 2  1FFx            Tx   r 3\n"
     "   0.100000 CANFD   1 Rx        7A  Name  0 1 9 12 00 01 02 03 04 05 06 07 08 09 0A 0B  0 0 5000\n"
     "   0.000001 CANFD   1 Rx  7B  0 0 9 12 01 02 03 04 05 06 07 08 09 0A 0B 0C  0 0 0\nEnd TriggerBlock\n",
     "1000000 0 123 - 2 0102\n1250100 1 1ff xr 3 -\n1350100 0 7a fe 12 000102030405060708090a0b\n"
     "1350101 0 7b - 8 0102030405060708", "ASC", true, 1484181000500000000, "1 2"},
    {"TRC 2.1 FD, remote, bus",
     ";$FILEVERSION=2.1\r\n;$STARTTIME=25569.25\r\n;$COLUMNS=N,O,T,B,I,d,R,L,D\r\n"
     "      1         1.5 FB  2 18FF0001 Rx -  9    00 01 02 03 04 05 06 07 08 09 0A 0B\r\n"
     "      2         2.0 RR  1     0123 Tx -  4\r\n      3         3.0 ER  1          Rx -  0\r\n",
     "1500 1 18ff0001 xfb 12 000102030405060708090a0b\n2000 0 123 r 4 -", "TRC 2.1", true, 21600000000000, "1 2"},
    {"candump FD, dots, error and XL frames",
     "(0.500000) can0 123##3DEADBEEF00112233AABBCCDD\n(0.600000) can0 12345678#R5\n"
     "(0.700000) vcan9 7FF#01.02.03\n(0.800000) can0 20000080#0000000000000000\n(0.900000) can0 123###00112233\n",
     "500000 0 123 fbe 12 deadbeef00112233aabbccdd\n600000 0 12345678 xr 5 -\n700000 1 7ff - 3 010203",
     "candump", false, 0, "can0 vcan9"},
    {"TRC 1.0 without header",
     "     1)      1841  0001    8  00 00 00 00 00 00 00 01\n"
     "     2)      1842  FFFFFFFF  4  00 00 00 08\n     3)      1843  0300    4  RTR\n",
     "1841000 0 1 - 8 0000000000000001\n1843000 0 300 r 4 -", "TRC 1.0", false, 0, "1"}};
// clang-format on

} // namespace

class TestCanLogs : public QObject
{
    Q_OBJECT

    QString write(const QByteArray& content)
    {
        return TestSupport::writeFile(QString::number(++files_) + ".log", content);
    }

    int files_ = 0;

private slots:
    // Logs of every format and version, and header details written by hand.
    void reads_data() { TestSupport::addRows(readRows); }
    void reads()
    {
        const auto& row = TestSupport::tableRow(readRows);
        const bool file = row.frames.isEmpty();
        const QString path = file ? kDataDir + row.source : write(row.source);
        const LogContents contents = canlogs::readLog(path.toStdString());
        QCOMPARE(QString::fromStdString(contents.error), QString());
        QCOMPARE(QString::fromStdString(contents.formatName), row.format);
        QCOMPARE(contents.hasAbsoluteTime, row.absolute);
        QCOMPARE(contents.startTimeNs, row.start);
        QStringList names;
        for (const std::string& name : contents.channelNames)
            names << QString::fromStdString(name);
        QCOMPARE(names.join(' '), row.channels);
        compareLines(canonicalLines(contents), file ? expectedLines(row.source) : row.frames.split('\n'));
    }

    void realLogs_data()
    {
        QTest::addColumn<QString>("log");
        QTest::addColumn<int>("count");
        QTest::addColumn<quint64>("digest");
        // Count and FNV-1a of python-can's frames, written by make_canlogs.py.
        for (const QByteArray& line : readAll(kDataDir + "real-logs.digest").split('\n')) {
            const QList<QByteArray> fields = line.split(' ');
            if (fields.size() == 3)
                QTest::newRow(fields[0].constData())
                    << QString(fields[0]) << fields[1].toInt() << fields[2].toULongLong(nullptr, 16);
        }
    }
    void realLogs()
    {
        QFETCH(QString, log);
        QFETCH(int, count);
        QFETCH(quint64, digest);
        const QString path = QStringLiteral(VISTREL_SHARED_LOGS_DIR "/") + log;
        if (!QFile::exists(path))
            QSKIP("the shared CAN logs are not beside this checkout");
        const LogContents contents = canlogs::readLog(path.toStdString());
        QCOMPARE(QString::fromStdString(contents.error), QString());
        QCOMPARE(int(contents.frames.size()), count);
        QCOMPARE(fnv1a(canonicalLines(contents).join('\n').append('\n').toLatin1()), digest);
    }

    void damaged_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("log"); // whose expected frames begin the frames read
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("frames"); // -1: some, not all

        const QByteArray candump = readAll(kDataDir + "candump.log");
        // Where a line (from 1) starts, and how many lines before it hold a frame.
        const auto lineStart = [](const QByteArray& text, int line) {
            int at = 0;
            while (--line > 0)
                at = text.indexOf('\n', at) + 1;
            return at;
        };
        const auto framesBefore = [](const QByteArray& text, int line, bool (*isFrame)(const QByteArray&)) {
            const QList<QByteArray> lines = text.split('\n');
            return int(std::count_if(lines.begin(), lines.begin() + line - 1, isFrame));
        };
        const auto candumpRow = [&](const char* name, const QByteArray& content, int line,
                                    const char* message) {
            QTest::newRow(name) << content << "candump.log"
                                << QStringLiteral(", line %1: %2").arg(line).arg(message)
                                << framesBefore(candump, line, [](const QByteArray& l) {
                                       return l.startsWith('(') && !l.contains("20000080#");
                                   });
        };
        candumpRow("candump cut inside a time", candump.left(lineStart(candump, 100) + 5), 100,
                   "unreadable time");
        // Seconds whose nanoseconds a 64-bit time can't hold; 9223372035.999999 still fits.
        candumpRow("candump time beyond 64 bits",
                   candump.left(lineStart(candump, 100)) + "(9223372036.000000) can0 123#01\n", 100,
                   "unreadable time");
        candumpRow("candump line of 10 MB",
                   QByteArray(candump).insert(lineStart(candump, 50), QByteArray(10 << 20, 'A') + '\n'), 50,
                   "line longer than");

        const QByteArray trc = readAll(kDataDir + "peak-2.1.trc");
        const QList<QByteArray> trcLines = trc.split('\n');
        int line = 40;
        while (trcLines[line - 1].trimmed().endsWith('-') || trcLines[line - 1].endsWith(" \r"))
            ++line; // a line that ends in data bytes
        QTest::newRow("TRC cut inside a data byte")
            << trc.left(lineStart(trc, line + 1) - 3) << "peak-2.1.trc"
            << QStringLiteral(", line %1: fewer or other data bytes").arg(line)
            << framesBefore(trc, line, [](const QByteArray& l) { return !l.startsWith(';'); });

        // 2.0 gives the data length in an "l" column, which must suit the type.
        const QByteArray trc20 = readAll(kDataDir + "peak-2.0.trc");
        const int data20 = trc20.indexOf("\n      2 ") + 1;
        QTest::newRow("TRC 2.0 classic frame of 9 bytes")
            << trc20.left(data20) + "      2        38.000 DT     05F8 Rx 9  01 02 03 04 05 06 07 08 09\n"
            << "peak-2.0.trc"
            << QStringLiteral(", line %1: a classic frame holds at most 8 data bytes")
                   .arg(trc20.left(data20).count('\n') + 1)
            << 1;

        const QByteArray blf = readAll(kDataDir + "vector.blf");
        const QVector<int> containers = blfObjects(blf);
        QTest::newRow("BLF cut inside a container")
            << blf.left(containers[3] + 100) << "vector.blf"
            << QStringLiteral(", byte %1: the log ends inside this object").arg(containers[3]) << -1;
        QByteArray broken = blf;
        broken[containers[2] + 32] = char(0xFF); // the zlib header
        QTest::newRow("BLF container that does not inflate")
            << broken << "vector.blf"
            << QStringLiteral(", byte %1: log container does not inflate").arg(containers[2]) << -1;
        QByteArray outside = blf;
        putU32(outside, containers[2] + 8, 0x7FFFFFF0);
        QTest::newRow("BLF container length beyond the file")
            << outside << "vector.blf"
            << QStringLiteral(", byte %1: the log ends inside this object of 2147483632 bytes")
                   .arg(containers[2])
            << -1;
        QByteArray header = blf;
        putU32(header, 4, 0xFFFFFFFF);
        QTest::newRow("BLF header size") << header << "vector.blf"
                                         << ", byte 4: bad BLF file header size" << 0;

        // The third object in the stored container is no frame; an absurd size makes it swallow the rest.
        QByteArray kinds = readAll(kDataDir + "vector-kinds.blf");
        putU32(kinds, blfObjects(kinds, 144 + 32)[2] + 8, 0xFFFFFF00);
        QTest::newRow("BLF object of 4 GB")
            << kinds << "vector-kinds.blf"
            << ", byte 144: in the log container at this offset: an object of 4294967040 bytes runs past"
            << 2;
        QTest::newRow("not a log") << QByteArray("hello\nworld\n") << QString()
                                   << ", line 1: not a candump, ASC, TRC or BLF log" << 0;
    }

    void damaged()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, log);
        QFETCH(QString, message);
        QFETCH(int, frames);

        const QString path = write(content);
        const LogContents contents = canlogs::readLog(path.toStdString());
        const QString error = QString::fromStdString(contents.error);
        QVERIFY2(error.startsWith(path + message), qPrintable(error));
        const QStringList read = canonicalLines(contents);
        const QStringList expected = log.isEmpty() ? QStringList() : expectedLines(log);
        if (frames >= 0)
            QCOMPARE(read.size(), frames);
        else
            QVERIFY2(read.size() > 0 && read.size() < expected.size(),
                     qPrintable(QString::number(read.size())));
        compareLines(read, expected.mid(0, read.size()));
    }

    void streaming_data()
    {
        QTest::addColumn<QString>("log");
        for (const char* log : {"candump.log", "vector.blf"})
            QTest::newRow(log) << QString(log);
    }

    void streaming()
    {
        QFETCH(QString, log);
        const std::string path = (kDataDir + log).toStdString();

        // Odd batches end inside lines' and containers' worth of frames; progress only grows.
        canlogs::LogReader reader(path);
        QStringList read;
        Frame batch[7];
        uint64_t consumed = 0;
        while (const size_t n = reader.read(batch, 7)) {
            for (size_t i = 0; i < n; ++i)
                read << canonical(batch[i], reader.startTimeNs());
            QVERIFY(reader.bytesConsumed() >= consumed && reader.bytesConsumed() <= reader.fileSize());
            consumed = reader.bytesConsumed();
        }
        QVERIFY(reader.atEnd());
        QCOMPARE(reader.bytesConsumed(), reader.fileSize());
        compareLines(read, expectedLines(log));

        canlogs::LogReader stopped(path);
        Frame frame;
        QVERIFY(stopped.next(frame));
        stopped.stop();
        QVERIFY(!stopped.next(frame));
        QVERIFY(stopped.stopped() && stopped.atEnd() && stopped.error().empty());
    }
};

QTEST_GUILESS_MAIN(TestCanLogs)
#include "tst_canlogs.moc"
