// Replay nets of the driver: a small log of our own with known frames, the
// pace of a replay, and real recordings read against an independent parse.
#include "tessbus.h"
#include "tessbus_test.h"
#include "testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <set>
#include <vector>

namespace {

constexpr uint32_t k29 = TESS_ID_29BIT;
const QString kSmallLog = QStringLiteral(VISTREL_TEST_DATA_DIR "/replay-small.log");

struct Expected
{
    uint32_t id;
    uint8_t len; // with TESS_FRAME_RTR
    QByteArray data;
    qint64 offsetUs; // from the first frame of the log
};

// The frames of tests/data/replay-small.log, written down by hand.
const std::vector<Expected>& smallLogFrames()
{
    static const std::vector<Expected> frames = {
        {0x123, 4, QByteArray::fromHex("DEADBEEF"), 0},
        {0x18FEF100 | k29, 8, QByteArray::fromHex("0102030405060708"), 100000},
        {0x7FF, 0, QByteArray(), 200000},
        {0x123, TESS_FRAME_RTR, QByteArray(), 300000},
        {0x0CF00400 | k29, TESS_FRAME_RTR | 4, QByteArray(), 400000},
        // The CAN FD line at 500000 is skipped.
        {0x123, 8, QByteArray::fromHex("0011223344556677"), 600000},
        {0x123 | k29, 2, QByteArray::fromHex("AABB"), 800000},
        {0x456, 1, QByteArray::fromHex("01"), 1000000},
        {0x123, 1, QByteArray::fromHex("FF"), 2000000},
    };
    return frames;
}

// Reads until `wanted` frames came or `deadlineMs` passed.
std::vector<TessFrameT> readFrames(int handle, size_t wanted, int deadlineMs, int batch = 2047)
{
    std::vector<TessFrameT> all;
    std::vector<TessFrameT> buffer(static_cast<size_t>(batch));
    QElapsedTimer timer;
    timer.start();
    while (all.size() < wanted && timer.elapsed() < deadlineMs) {
        int count = std::min<int>(batch, static_cast<int>(wanted - all.size()));
        if (tessReadT(handle, buffer.data(), &count, nullptr) == 0)
            all.insert(all.end(), buffer.begin(), buffer.begin() + count);
    }
    return all;
}

int openListening(int net, const std::vector<uint32_t>& ids, int rxQueue = 2047)
{
    int handle = -1;
    if (tessOpen(net, 0, 1, rxQueue, 0, 100, &handle) != 0)
        return -1;
    for (uint32_t id : ids)
        tessIdAdd(handle, static_cast<int32_t>(id));
    return handle;
}

std::vector<uint32_t> smallLogIds()
{
    std::set<uint32_t> ids;
    for (const Expected& e : smallLogFrames())
        ids.insert(e.id);
    return {ids.begin(), ids.end()};
}

QByteArray dataOf(const TessFrameT& f)
{
    if (f.len & TESS_FRAME_RTR)
        return QByteArray();
    return QByteArray(reinterpret_cast<const char*>(f.data), f.len & TESS_FRAME_LEN_MASK);
}

// A candump line read with a regular expression, apart from the driver's parser.
bool parseLine(const QString& line, Expected* out, qint64* timeUs)
{
    static const QRegularExpression re(
        QStringLiteral("^\\((\\d+)\\.(\\d{6})\\)\\s+\\S+\\s+([0-9A-Fa-f]{3}|[0-9A-Fa-f]{8})#(R[0-8]?|(?:[0-"
                       "9A-Fa-f]{2}){0,8})\\s*$"));
    const QRegularExpressionMatch m = re.match(line);
    if (!m.hasMatch())
        return false;
    const QString idText = m.captured(3);
    Expected e;
    e.id = idText.toUInt(nullptr, 16) | (idText.size() == 8 ? k29 : 0);
    const QString payload = m.captured(4);
    if (payload.startsWith('R')) {
        e.len = TESS_FRAME_RTR | (payload.size() > 1 ? payload.mid(1).toUInt() : 0);
    } else {
        e.data = QByteArray::fromHex(payload.toLatin1());
        e.len = static_cast<uint8_t>(e.data.size());
    }
    *timeUs = m.captured(1).toLongLong() * 1000000 + m.captured(2).toLongLong();
    e.offsetUs = 0;
    *out = e;
    return true;
}

} // namespace

class TestTessbusReplay : public QObject
{
    Q_OBJECT

private:
    QByteArray configure(const QByteArray& text)
    {
        return TestSupport::writeDriverConfig(configDir_->filePath("tessbus.conf"), text);
    }

    std::unique_ptr<QTemporaryDir> configDir_;

private slots:
    void init()
    {
        configDir_ = std::make_unique<QTemporaryDir>();
        QVERIFY(configDir_->isValid());
    }

    void cleanupTestCase() { configure(""); }

    void smallLog_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("rxQueue");
        QTest::newRow("absolute path, as fast as read")
            << QByteArray("net 0 replay " + kSmallLog.toUtf8() + " speed=0") << 2047;
        QTest::newRow("relative to the configuration")
            << QByteArray("net 0 replay logs/small.log speed=0") << 2047;
        QTest::newRow("queue of one loses nothing at speed 0")
            << QByteArray("net 0 replay logs/small.log speed=0") << 1;
        QTest::newRow("fast pace") << QByteArray("net 0 replay " + kSmallLog.toUtf8() + " speed=200") << 2047;
    }

    void smallLog()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, rxQueue);
        QVERIFY(QDir(configDir_->path()).mkpath("logs"));
        QVERIFY(QFile::copy(kSmallLog, configDir_->filePath("logs/small.log")));
        QCOMPARE(configure(line + "\n"), QByteArray());
        const int h = openListening(0, smallLogIds(), rxQueue);
        QVERIFY(h > 0);
        const auto got = readFrames(h, smallLogFrames().size(), 10000, 1);
        QCOMPARE(got.size(), smallLogFrames().size());
        for (size_t i = 0; i < got.size(); ++i) {
            const Expected& e = smallLogFrames()[i];
            QCOMPARE(got[i].id, e.id);
            QCOMPARE(int(got[i].len), int(e.len));
            QCOMPARE(dataOf(got[i]), e.data);
            QCOMPARE(int(got[i].lost), 0);
            if (i > 0)
                QVERIFY(got[i].timestamp >= got[i - 1].timestamp);
        }
        QCOMPARE(tessClose(h), 0);
    }

    void paceFollowsTheRecordingTimesSpeed()
    {
        configure("net 0 replay " + kSmallLog.toUtf8() + " speed=20\n");
        const int h = openListening(0, smallLogIds());
        QElapsedTimer timer;
        timer.start();
        const auto got = readFrames(h, smallLogFrames().size(), 10000);
        const qint64 elapsedMs = timer.elapsed();
        QCOMPARE(got.size(), smallLogFrames().size());
        // 2 s of recording at 20 times the pace: 100 ms, on the 1 MHz counter.
        for (size_t i = 0; i < got.size(); ++i) {
            const qint64 offsetTicks = qint64(got[i].timestamp - got[0].timestamp);
            QVERIFY2(qAbs(offsetTicks - smallLogFrames()[i].offsetUs / 20) <= 1,
                     qPrintable(QString("frame %1 at %2 ticks").arg(i).arg(offsetTicks)));
        }
        QVERIFY2(elapsedMs >= 95, qPrintable(QString::number(elapsedMs)));
    }

    void filterAppliesToReplayedFrames()
    {
        configure("net 0 replay " + kSmallLog.toUtf8() + " speed=0\n");
        const int h = openListening(0, {0x123});
        const auto got = readFrames(h, 4, 5000);
        QCOMPARE(got.size(), size_t(4));
        const std::vector<uint8_t> lengths = {4, TESS_FRAME_RTR, 8, 1};
        for (size_t i = 0; i < got.size(); ++i) {
            QCOMPARE(got[i].id, 0x123u);
            QCOMPARE(got[i].len, lengths[i]);
        }
        // Nothing else follows.
        TessFrameT more[4];
        int count = 4;
        QCOMPARE(tessReadT(h, more, &count, nullptr), TESS_ERR_TIMEOUT);
    }

    void nextListenerHearsTheLogFromTheStart()
    {
        configure("net 0 replay " + kSmallLog.toUtf8() + " speed=0\n");
        for (int round = 0; round < 3; ++round) {
            const int h = openListening(0, smallLogIds());
            const auto got = readFrames(h, 2, 5000);
            QCOMPARE(got.size(), size_t(2));
            QCOMPARE(got[0].id, smallLogFrames()[0].id);
            QCOMPARE(dataOf(got[0]), smallLogFrames()[0].data);
            QCOMPARE(got[1].id, smallLogFrames()[1].id);
            QCOMPARE(tessClose(h), 0);
        }
    }

    void loopRepeatsTheLog()
    {
        configure("net 0 replay " + kSmallLog.toUtf8() + " speed=0 loop=1\n");
        const int h = openListening(0, smallLogIds());
        const size_t n = smallLogFrames().size();
        const auto got = readFrames(h, 3 * n, 10000);
        QCOMPARE(got.size(), 3 * n);
        for (size_t i = 0; i < got.size(); ++i) {
            QCOMPARE(got[i].id, smallLogFrames()[i % n].id);
            QCOMPARE(dataOf(got[i]), smallLogFrames()[i % n].data);
        }
    }

    void unreadableLinesAreReportedOnce()
    {
        QFile log(configDir_->filePath("odd.log"));
        QVERIFY(log.open(QIODevice::WriteOnly));
        log.write("(1.000000) can0 123#01\n"
                  "garbage line\n"
                  "(2.000000) can0 1234#01\n"                   // neither 3 nor 8 digits
                  "(3.000000) can0 800#01\n"                    // above 11 bits
                  "(4.000000) can0 124#010203040506070809\n"    // nine bytes
                  "(5.000000) can0 20000080#0000000000000000\n" // an error frame: skipped quietly
                  "(6.000000) can0 125#0A\n");
        log.close();
        const QByteArray errors = configure("net 0 replay odd.log speed=0\n");
        QCOMPARE(errors.count('\n'), 1);
        QVERIFY2(errors.contains(":1: warning") && errors.contains("4 unreadable lines") &&
                     errors.contains("line 2"),
                 errors.constData());
        const int h = openListening(0, {0x123, 0x124, 0x125});
        const auto got = readFrames(h, 2, 5000);
        QCOMPARE(got.size(), size_t(2));
        QCOMPARE(got[0].id, 0x123u);
        QCOMPARE(got[1].id, 0x125u);
    }

    void logWithoutFramesMakesNoNet()
    {
        QFile log(configDir_->filePath("empty.log"));
        QVERIFY(log.open(QIODevice::WriteOnly));
        log.write("# nothing but a comment\n");
        log.close();
        const QByteArray errors = configure("net 0 replay empty.log\n");
        QVERIFY(errors.contains(":1: "));
        QCOMPARE(tessTestOpenHandles(0), -1);
    }

    void recordedLogs_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("civic, 11-bit") << QString("civic-turnonanddrive.log");
        QTest::newRow("forte, 29-bit among 11-bit") << QString("forte-turnonwithgauge.log");
        QTest::newRow("evox, remote frames") << QString("evox-moteccan.log");
        QTest::newRow("canboat, comments and 29-bit") << QString("canboat-n2k-candump.log");
    }

    void recordedLogs()
    {
        QFETCH(QString, file);
        const QString dir = QStringLiteral(VISTREL_SHARED_LOGS_DIR);
        if (!QDir(dir).exists())
            QSKIP("the shared CAN logs are not beside this checkout");
        QFile log(dir + "/" + file);
        QVERIFY(log.open(QIODevice::ReadOnly | QIODevice::Text));
        std::vector<Expected> expected;
        std::set<uint32_t> ids;
        while (!log.atEnd()) {
            Expected e;
            qint64 time;
            if (parseLine(QString::fromLatin1(log.readLine()), &e, &time)) {
                expected.push_back(e);
                ids.insert(e.id);
            }
        }
        QVERIFY(!expected.empty());

        QCOMPARE(configure("net 0 replay " + QFile::encodeName(log.fileName()) + " speed=0\n"), QByteArray());
        const int h = openListening(0, {ids.begin(), ids.end()});
        const auto got = readFrames(h, expected.size(), 60000);
        QCOMPARE(got.size(), expected.size());
        for (size_t i = 0; i < got.size(); ++i) {
            if (got[i].id != expected[i].id || got[i].len != expected[i].len ||
                dataOf(got[i]) != expected[i].data)
                QFAIL(qPrintable(
                    QString("frame %1 differs: id %2 len %3").arg(i).arg(got[i].id, 0, 16).arg(got[i].len)));
        }
    }
};

QTEST_GUILESS_MAIN(TestTessbusReplay)
#include "tst_tessbus_replay.moc"
