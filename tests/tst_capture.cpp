// The capture thread of a curve on virtual nets of the driver: time sources,
// failures, and every way of stopping it.
#include "curvelock.h"
#include "dataplot.h"
#include "netinfo.h"
#include "plotcurve.h"
#include "tessbus_test.h"
#include "testsupport.h"
#include "timestampedread.h"
#include "vistrelmainwindow.h"
#include "wallclock.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int waitMs = 10000;
constexpr int canId = 0x123;

// Collects the thread's messages on the test's thread: a queued connection
// carries them over, as to the main window.
class MessageSink : public QObject
{
public:
    void connectTo(PlotCurve* curve)
    {
        connect(
            curve, &PlotCurve::signalThreadErrorMessage, this,
            [this](const QString& message) { messages << message; }, Qt::QueuedConnection);
    }
    QStringList messages;
};

struct CurveArgs
{
    int net = 0;
    int baud = 2;
    int id = canId;
    int dataType = 3; // Unsigned16 at Pos 1, Intel
    unsigned points = 1000;
};

QSharedPointer<PlotCurve> makeCurve(VistrelMainWindow* window, const CurveArgs& a = CurveArgs())
{
    return QSharedPointer<PlotCurve>::create(window, QColor(Qt::blue), QStringLiteral("c"), a.net, a.baud,
                                             a.id, 1, a.dataType, 0xFF, 0, 0, 1.0, 0.0, QString(), 0, true,
                                             a.points, true);
}

TessFrame frame(int id, uint16_t value, uint8_t len = 2)
{
    TessFrame f{};
    f.id = uint32_t(id);
    f.len = len;
    f.data[0] = uint8_t(value & 0xFF);
    f.data[1] = uint8_t(value >> 8);
    return f;
}

TessFrameT frameT(int id, uint16_t value, uint64_t stamp)
{
    TessFrameT f{};
    const TessFrame plain = frame(id, value);
    std::memcpy(&f, &plain, sizeof plain);
    f.timestamp = stamp;
    return f;
}

std::vector<TessFrameT> ringFrames(PlotCurve& curve)
{
    const CurveLock lock(curve.mutex);
    std::vector<TessFrameT> out(curve.ring.count);
    curve.ring.snapshot(out.data(), curve.ring.count);
    return out;
}

unsigned ringCount(PlotCurve& curve)
{
    const CurveLock lock(curve.mutex);
    return curve.ring.count;
}

struct TimeBase
{
    int64_t frequency;
    int64_t start;
};

TimeBase timeBase(PlotCurve& curve)
{
    const CurveLock lock(curve.mutex);
    return {curve.timestampFrequency, curve.timestampStart};
}

uint16_t value(const TessFrameT& f)
{
    return uint16_t(f.data[0] | (f.data[1] << 8));
}

// Restores the process-wide flag of the timestamped read after a test.
struct TimestampedReadStatusGuard
{
    const int saved = timestampedReadStatus;
    ~TimestampedReadStatusGuard() { timestampedReadStatus = saved; }
};

} // namespace

class TestCapture : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void hardwareTimestamps();
    void softwareTimestamps_data();
    void softwareTimestamps();
    void failures_data();
    void failures();
    void stop_data();
    void stop();
    void stopBeforeTheThreadGotGoing();
    void destroyRunningCurve();
    void snapshotsWhileCapturing();

private:
    VistrelMainWindow* makeWindow(const QString& config);
    std::unique_ptr<VistrelMainWindow> window;
};

void TestCapture::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestCapture::cleanup()
{
    window.reset();
    TestSupport::useDriverConfig(QString());
}

VistrelMainWindow* TestCapture::makeWindow(const QString& config)
{
    TestSupport::useDriverConfig(config);
    window = std::make_unique<VistrelMainWindow>();
    return window.get();
}

void TestCapture::hardwareTimestamps()
{
    VistrelMainWindow* w =
        makeWindow(QStringLiteral("net 0 virtual name=HW features=Fc,2b,Ts tsfreq=8000000\n"));
    QCOMPARE(timestampedReadStatus, 0);
    // The counter as Start reads it is the curve's run time 0.
    QCOMPARE(tessTestSetTimestamp(0, 5000000), 0);
    refreshNetStatus(w->nets[0], timestampedReadStatus);
    QCOMPARE(w->nets[0].timestampAtStart, quint64(5000000));

    const auto curve = makeCurve(w);
    curve->start();
    QCOMPARE(tessTestWaitForReaders(0, 1, waitMs), 0);

    // Stamped by the net's counter at injection; a remote frame, a short one
    // and another id don't reach the ring.
    QCOMPARE(tessTestSetTimestamp(0, 5250000), 0);
    TessFrame remote = frame(canId, 7);
    remote.len |= TESS_FRAME_RTR;
    const TessFrame frames[] = {frame(canId, 11), remote, frame(canId, 12, 1), frame(0x124, 13),
                                frame(canId, 14)};
    QCOMPARE(tessTestInject(0, frames, 5), 0);
    QTRY_COMPARE_WITH_TIMEOUT(ringCount(*curve), 2u, waitMs);

    // Stamps that the interface gives are kept as they are.
    const TessFrameT stamped[] = {frameT(canId, 21, 6000000), frameT(canId, 22, 6000100)};
    QCOMPARE(tessTestInjectT(0, stamped, 2), 0);
    QTRY_COMPARE_WITH_TIMEOUT(ringCount(*curve), 4u, waitMs);

    QStringList ring;
    for (const TessFrameT& f : ringFrames(*curve))
        ring << QStringLiteral("%1@%2").arg(value(f)).arg(f.timestamp);
    QCOMPARE(ring, (QStringList{"11@5250000", "14@5250000", "21@6000000", "22@6000100"}));
    const TimeBase base = timeBase(*curve);
    QCOMPARE(base.frequency, int64_t(8000000));
    QCOMPARE(base.start, int64_t(5000000));

    // The thread set the baud before it admitted the id.
    uint32_t baud = 0;
    QCOMPARE(tessTestHandleBaud(curve->driverHandle(), &baud), 0);
    QCOMPARE(baud, 2u);
    curve->stopCapture();
}

void TestCapture::softwareTimestamps_data()
{
    QTest::addColumn<QString>("config");
    QTest::addColumn<bool>("zeroFrequency");
    QTest::addColumn<bool>("withoutTimestampedRead");
    QTest::addColumn<double>("originBeforeNow"); // seconds

    const QString noTs = QStringLiteral("net 0 virtual features=Fc,2b\n");
    const QString ts = QStringLiteral("net 0 virtual features=Fc,2b,Ts tsfreq=1000000\n");
    QTest::newRow("interface without timestamps") << noTs << false << false << 100.0;
    QTest::newRow("timestamp frequency 0") << ts << true << false << 100.0;
    QTest::newRow("library without timestamped read") << ts << false << true << 250.0;
    QTest::newRow("clock before the origin") << noTs << false << false << -1000.0;
}

void TestCapture::softwareTimestamps()
{
    QFETCH(QString, config);
    QFETCH(bool, zeroFrequency);
    QFETCH(bool, withoutTimestampedRead);
    QFETCH(double, originBeforeNow);

    const TimestampedReadStatusGuard restore;
    VistrelMainWindow* w = makeWindow(config);
    if (zeroFrequency)
        w->nets[0].timestampFrequency = 0;
    if (withoutTimestampedRead)
        timestampedReadStatus = -1;
    // A counter far away from any software stamp.
    if (config.contains(QLatin1String("Ts")))
        QCOMPARE(tessTestSetTimestamp(0, 77777777777ull), 0);
    const double origin = wallClockSeconds() - originBeforeNow;
    w->setTimeOrigin(origin);

    const auto curve = makeCurve(w);
    curve->start();
    QCOMPARE(tessTestWaitForReaders(0, 1, waitMs), 0);
    const double before = wallClockSeconds() - origin;
    // One injection reaches the queue at once, so one read returns all three.
    const TessFrame frames[] = {frame(canId, 1), frame(canId, 2), frame(canId, 3)};
    QCOMPARE(tessTestInject(0, frames, 3), 0);
    QTRY_COMPARE_WITH_TIMEOUT(ringCount(*curve), 3u, waitMs);
    const double after = wallClockSeconds() - origin;

    const std::vector<TessFrameT> ring = ringFrames(*curve);
    const uint64_t s = ring[0].timestamp;
    QCOMPARE(ring[1].timestamp, s + 4);
    QCOMPARE(ring[2].timestamp, s + 8);
    QCOMPARE(value(ring[2]), uint16_t(3));
    if (originBeforeNow < 0) {
        QCOMPARE(s, quint64(0));
    } else {
        // The clock has milliseconds: 100 ticks.
        QVERIFY2(double(s) >= before * 100000.0 - 100 && double(s) <= after * 100000.0 + 100,
                 qPrintable(QStringLiteral("%1 not in [%2, %3]").arg(s).arg(before).arg(after)));
    }
    const TimeBase base = timeBase(*curve);
    QCOMPARE(base.frequency, int64_t(100000));
    QCOMPARE(base.start, int64_t(0));
    curve->stopCapture();
}

void TestCapture::failures_data()
{
    QTest::addColumn<QString>("config");
    QTest::addColumn<int>("failure"); // 0: none injected
    QTest::addColumn<int>("net");
    QTest::addColumn<int>("baud");
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("handleOpen");

    const QString plain = QStringLiteral("net 0 virtual\n");
    QTest::newRow("open fails") << plain << TESS_TEST_FAIL_OPEN << 0 << 2 << canId << "Cannot open Net 0."
                                << false;
    QTest::newRow("net does not exist") << plain << 0 << 7 << 2 << canId << "Cannot open Net 7." << false;
    QTest::newRow("baud fails") << plain << TESS_TEST_FAIL_SET_BAUDRATE << 0 << 13 << canId
                                << "Cannot set Baudrate (Net 0 Baud 13)." << true;
    QTest::newRow("BTR baud fails, signed")
        << plain << TESS_TEST_FAIL_SET_BAUDRATE << 0 << int(TESS_BAUD_BTR | 0x001C) << canId
        << "Cannot set Baudrate (Net 0 Baud -2147483620)." << true;
    QTest::newRow("29-bit id without 2b")
        << QStringLiteral("net 0 virtual features=Fc,Ts\n") << 0 << 0 << 2 << (0x1ABCDE | TESS_ID_29BIT)
        << "Interface does not support 29-bit identifier (Net 0 Id: 1752286)." << true;
}

void TestCapture::failures()
{
    QFETCH(QString, config);
    QFETCH(int, failure);
    QFETCH(int, net);
    QFETCH(int, baud);
    QFETCH(int, id);
    QFETCH(QString, message);
    QFETCH(bool, handleOpen);

    VistrelMainWindow* w = makeWindow(config);
    const int openBefore = tessTestOpenHandles(0);
    if (failure)
        QCOMPARE(tessTestSetFailure(0, failure, 1), 0);

    CurveArgs args;
    args.net = net;
    args.baud = baud;
    args.id = id;
    const auto curve = makeCurve(w, args);
    MessageSink sink;
    sink.connectTo(curve.data());
    curve->start();

    QTRY_COMPARE_WITH_TIMEOUT(sink.messages, QStringList{message}, waitMs);
    QTRY_VERIFY_WITH_TIMEOUT(curve->isFinished(), waitMs);
    // A thread that gave up after the open leaves its handle to Stop.
    QCOMPARE(curve->driverHandle() != -1, handleOpen);
    QCOMPARE(tessTestOpenHandles(0), openBefore + (handleOpen ? 1 : 0));
    curve->stopCapture();
    QCOMPARE(curve->driverHandle(), -1);
    QCOMPARE(tessTestOpenHandles(0), openBefore);
    QCOMPARE(ringCount(*curve), 0u);
    QCOMPARE(sink.messages.size(), 1);
}

void TestCapture::stop_data()
{
    QTest::addColumn<bool>("started");
    QTest::addColumn<bool>("idAddFails");
    QTest::newRow("never started") << false << false;
    QTest::newRow("read blocks") << true << false;
    QTest::newRow("id add retried") << true << true;
}

void TestCapture::stop()
{
    QFETCH(bool, started);
    QFETCH(bool, idAddFails);
    VistrelMainWindow* w = makeWindow(QStringLiteral("net 0 virtual features=Fc,2b\n"));
    const int openBefore = tessTestOpenHandles(0);
    if (idAddFails)
        QCOMPARE(tessTestSetFailure(0, TESS_TEST_FAIL_ID_ADD, -1), 0);
    const auto curve = makeCurve(w);
    MessageSink sink;
    sink.connectTo(curve.data());
    if (started) {
        curve->start();
        if (idAddFails) {
            // The baud is set: the thread is in its retries now.
            QTRY_VERIFY_WITH_TIMEOUT(
                [&curve] {
                    uint32_t baud = 0;
                    const int h = curve->driverHandle();
                    return h != -1 && tessTestHandleBaud(h, &baud) == 0 && baud == 2;
                }(),
                waitMs);
            QVERIFY(curve->isRunning());
        } else {
            QCOMPARE(tessTestWaitForReaders(0, 1, waitMs), 0);
            QCOMPARE(tessTestOpenHandles(0), openBefore + 1);
        }
    }

    QElapsedTimer timer;
    timer.start();
    curve->stopCapture();
    // The close releases a blocked read; a hang would show here.
    QVERIFY2(timer.elapsed() < waitMs, qPrintable(QString::number(timer.elapsed())));
    curve->stopCapture(); // a second Stop finds nothing to do
    QVERIFY(!curve->isRunning());
    QCOMPARE(curve->isFinished(), started);
    QCOMPARE(curve->driverHandle(), -1);
    QCOMPARE(tessTestOpenHandles(0), openBefore);
    QCOMPARE(tessTestSetFailure(0, TESS_TEST_FAIL_ID_ADD, 0), 0);
    QCoreApplication::processEvents();
    QVERIFY(sink.messages.isEmpty());
}

void TestCapture::stopBeforeTheThreadGotGoing()
{
    VistrelMainWindow* w = makeWindow(QStringLiteral("net 0 virtual\n"));
    const int openBefore = tessTestOpenHandles(0);
    // The stop meets the thread at different points of its start.
    for (int round = 0; round < 40; ++round) {
        const auto curve = makeCurve(w);
        curve->start();
        for (int i = 0; i < round % 8; ++i)
            QThread::yieldCurrentThread();
        curve->stopCapture();
        QVERIFY(curve->isFinished());
        QCOMPARE(curve->driverHandle(), -1);
        QCOMPARE(tessTestOpenHandles(0), openBefore);
    }
}

void TestCapture::destroyRunningCurve()
{
    VistrelMainWindow* w = makeWindow(QStringLiteral("net 0 virtual\n"));
    const int openBefore = tessTestOpenHandles(0);
    auto curve = makeCurve(w);
    w->curves.append(curve);
    curve->start();
    QCOMPARE(tessTestWaitForReaders(0, 1, waitMs), 0);
    const TessFrame frames[] = {frame(canId, 5)};
    QCOMPARE(tessTestInject(0, frames, 1), 0);
    QTRY_COMPARE_WITH_TIMEOUT(ringCount(*curve), 1u, waitMs);

    curve.reset();
    w->curves.clear(); // the last owner: stops, closes, detaches
    QCOMPARE(tessTestOpenHandles(0), openBefore);
    QVERIFY(w->plot->itemList(QwtPlotItem::Rtti_PlotCurve).isEmpty());
}

void TestCapture::snapshotsWhileCapturing()
{
    // The user interface thread copies the ring while the capture thread
    // appends, as the refresh cycle does: each copy holds whole frames in the
    // order of the bus, and grows.
    VistrelMainWindow* w = makeWindow(QStringLiteral("net 0 virtual features=Fc,2b,Ts\n"));
    constexpr unsigned total = 30000;
    constexpr unsigned chunk = 300;
    CurveArgs args;
    args.points = total;
    const auto curve = makeCurve(w, args);
    curve->start();
    QCOMPARE(tessTestWaitForReaders(0, 1, waitMs), 0);

    // Every tenth of the frames waits for a further copy, so that copies
    // and appends interleave however the threads are scheduled.
    std::atomic<int> snapshots{0};
    std::thread injector([&curve, &snapshots] {
        std::vector<TessFrameT> batch(chunk);
        uint64_t sequence = 0;
        int copiesSeen = 0;
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (sequence < total && std::chrono::steady_clock::now() < giveUp) {
            if (sequence % (total / 10) == 0 && snapshots.load() <= copiesSeen) {
                std::this_thread::yield();
                continue;
            }
            copiesSeen = snapshots.load();
            // The driver's queue holds 2047 frames: what isn't in the ring
            // yet stays below that, so nothing is lost.
            unsigned stored;
            {
                const CurveLock lock(curve->mutex);
                stored = curve->ring.count;
            }
            if (sequence - stored + chunk > 2047) {
                std::this_thread::yield();
                continue;
            }
            for (TessFrameT& f : batch) {
                f = frameT(canId, uint16_t(sequence), 1000 + sequence);
                ++sequence;
            }
            tessTestInjectT(0, batch.data(), int(chunk));
        }
    });

    std::vector<TessFrameT> copy(total);
    unsigned last = 0;
    bool consistent = true;
    QDeadlineTimer deadline(60000);
    while (last < total && consistent && !deadline.hasExpired()) {
        unsigned n;
        {
            const CurveLock lock(curve->mutex);
            n = curve->ring.snapshot(copy.data(), curve->ring.count);
        }
        consistent = n >= last;
        for (unsigned i = 0; i < n && consistent; ++i)
            consistent = copy[i].timestamp == 1000 + i && value(copy[i]) == uint16_t(i);
        last = n;
        ++snapshots;
    }
    injector.join();
    curve->stopCapture();
    QVERIFY(consistent);
    QCOMPARE(last, total);
    QVERIFY(snapshots.load() >= 10);
}

QTEST_MAIN(TestCapture)
#include "tst_capture.moc"
