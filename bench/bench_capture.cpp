// Frames per second from a virtual net into a curve's ring through the
// capture thread, with software and with hardware timestamps, beside two
// baselines measured in the same run: a plain memcpy of as many TessFrameT
// records, and a bare reader thread that only drains the driver's queue.
//
// An injecting thread puts the frames onto the net in chunks and waits
// whenever the frames not yet taken could overflow the handle's queue, so
// that nothing is lost. No assertion on speed: the figures are for reading;
// the run fails only if a frame was lost.

#include "curvelock.h"
#include "dataplot.h"
#include "netinfo.h"
#include "plotcurve.h"
#include "tessbus_test.h"
#include "timestampedread.h"
#include "wallclock.h"

#include <QApplication>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

namespace {

constexpr unsigned frameCount = 3000000;
constexpr unsigned chunk = 1000;
constexpr int queueSize = PlotCurve::readBatch; // the capture handle's queue
constexpr int repetitions = 3;
constexpr int canId = 0x123;

using Clock = std::chrono::steady_clock;

std::atomic<unsigned> lostReports{0};
QtMessageHandler previousHandler = nullptr;

void countLost(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.startsWith(QLatin1String("LOST:"))) {
        ++lostReports;
        return;
    }
    previousHandler(type, context, message);
}

std::vector<TessFrame> makeChunk()
{
    std::vector<TessFrame> frames(chunk);
    for (unsigned i = 0; i < chunk; ++i) {
        TessFrame& f = frames[i];
        f.id = canId;
        f.len = 8;
        const uint64_t bits = 0x0123456789ABCDEFull * (i + 1);
        std::memcpy(f.data, &bits, sizeof bits);
    }
    return frames;
}

// Injects frameCount frames on net, never more than the queue can hold
// beyond what taken() reports; returns when taken() reaches frameCount.
void inject(int net, const std::function<unsigned()>& taken)
{
    const std::vector<TessFrame> frames = makeChunk();
    unsigned injected = 0;
    while (injected < frameCount) {
        if (injected - taken() + chunk > unsigned(queueSize)) {
            std::this_thread::yield();
            continue;
        }
        tessTestInject(net, frames.data(), int(chunk));
        injected += chunk;
    }
    while (taken() < frameCount)
        std::this_thread::yield();
}

struct Figure
{
    double framesPerSecond = 0.0;
    unsigned stored = 0;
    unsigned lost = 0;
    unsigned reads = 0; // successful reads, where counted
};

Figure median(std::vector<Figure> runs)
{
    std::sort(runs.begin(), runs.end(),
              [](const Figure& a, const Figure& b) { return a.framesPerSecond < b.framesPerSecond; });
    return runs[runs.size() / 2];
}

// One capture thread of a curve on net, with a ring that holds every frame.
Figure captureRun(DataPlot& plot, NetTable& nets, int net)
{
    refreshNetStatus(nets[size_t(net)], timestampedReadStatus);
    const auto curve =
        QSharedPointer<PlotCurve>::create(&plot, 1, QColor(Qt::blue), QStringLiteral("bench"), net, 2, canId,
                                          1, 2, 0xFF, 0, 0, 1.0, 0.0, QString(), 0, true, frameCount, false);
    curve->startCapture(nets[size_t(net)], wallClockSeconds());
    if (tessTestWaitForReaders(net, 1, 10000) != 0) {
        std::fprintf(stderr, "the capture thread did not start reading\n");
        return {};
    }
    const unsigned lostBefore = lostReports;
    const auto taken = [&curve] {
        const CurveLock lock(curve->mutex);
        return curve->ring.count;
    };
    const Clock::time_point start = Clock::now();
    std::thread injector(inject, net, std::cref(taken));
    injector.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    curve->stopCapture();
    return {frameCount / seconds, taken(), lostReports - lostBefore};
}

// A thread of its own on its own handle that reads and drops: what the
// driver and the injection cost without the curve.
Figure driverOnlyRun(int net)
{
    int handle = -1;
    if (tessOpen(net, 0, 1, queueSize, 0, 0, &handle) != 0 || tessSetBaudrate(handle, 2) != 0 ||
        tessIdAdd(handle, canId) != 0) {
        std::fprintf(stderr, "cannot open net %d\n", net);
        return {};
    }
    std::atomic<unsigned> read{0};
    std::atomic<unsigned> lost{0};
    std::atomic<unsigned> reads{0};
    std::thread reader([handle, &read, &lost, &reads] {
        std::vector<TessFrame> buffer(queueSize);
        while (read < frameCount) {
            int count = queueSize;
            if (tessRead(handle, buffer.data(), &count, nullptr) != 0)
                break;
            for (int i = 0; i < count; ++i)
                lost += buffer[size_t(i)].lost;
            read += unsigned(count);
            ++reads;
        }
    });
    tessTestWaitForReaders(net, 1, 10000);
    const Clock::time_point start = Clock::now();
    inject(net, [&read] { return read.load(); });
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    reader.join();
    tessClose(handle);
    return {frameCount / seconds, read, lost, reads};
}

Figure memcpyRun()
{
    std::vector<TessFrameT> source(frameCount);
    std::vector<TessFrameT> target(frameCount);
    for (unsigned i = 0; i < frameCount; ++i)
        source[i].timestamp = i;
    std::memcpy(target.data(), source.data(), frameCount * sizeof(TessFrameT)); // touch the pages
    const Clock::time_point start = Clock::now();
    std::memcpy(target.data(), source.data(), frameCount * sizeof(TessFrameT));
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return {frameCount / seconds, unsigned(target[frameCount - 1].timestamp + 1), 0};
}

// The software time source reads the clock once per batch.
double clockCallMicroseconds()
{
    constexpr int calls = 20000;
    volatile double sink = 0.0;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < calls; ++i)
        sink = sink + wallClockSeconds();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / calls;
}

void printRow(const char* name, const Figure& figure, double baseline)
{
    std::printf("%-34s %12.2f %12u %8u %10.3f\n", name, figure.framesPerSecond / 1e6, figure.stored,
                figure.lost, figure.framesPerSecond / baseline);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir directory;
    const QString config = directory.filePath(QStringLiteral("tessbus.conf"));
    {
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return 2;
        file.write("net 0 virtual name=BENCH_SW features=Fc,2b\n"
                   "net 1 virtual name=BENCH_HW features=Fc,2b,Ts tsfreq=1000000\n"
                   "net 2 virtual name=BENCH_DRV features=Fc,2b\n");
    }
    qputenv("TESSBUS_CONFIG", QFile::encodeName(config));
    tessTestReload();

    QApplication application(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    previousHandler = qInstallMessageHandler(countLost);
    // What the program does at start: the timestamped read, then the nets.
    timestampedReadStatus = lookUpTimestampedRead();
    NetTable nets;
    for (int net = 0; net < 3; ++net)
        scanNet(nets[size_t(net)], net, timestampedReadStatus);
    DataPlot plot(10.0);

    std::vector<Figure> copies, drivers, software, hardware;
    for (int round = 0; round < repetitions; ++round) {
        copies.push_back(memcpyRun());
        drivers.push_back(driverOnlyRun(2));
        software.push_back(captureRun(plot, nets, 0));
        hardware.push_back(captureRun(plot, nets, 1));
    }

    const Figure copy = median(copies);
    std::printf("%u frames of %zu bytes, injected in chunks of %u; median of %d runs\n", frameCount,
                sizeof(TessFrameT), chunk, repetitions);
    std::printf("%-34s %12s %12s %8s %10s\n", "", "Mframes/s", "frames", "lost", "vs memcpy");
    printRow("memcpy of TessFrameT (baseline)", copy, copy.framesPerSecond);
    printRow("driver only: inject + tessRead", median(drivers), copy.framesPerSecond);
    printRow("capture thread, software time", median(software), copy.framesPerSecond);
    printRow("capture thread, hardware time", median(hardware), copy.framesPerSecond);
    const Figure driver = median(drivers);
    std::printf("frames per read in the driver-only run: %.0f; wallClockSeconds(): %.2f us a call\n",
                driver.reads ? double(driver.stored) / driver.reads : 0.0, clockCallMicroseconds());

    bool complete = true;
    for (const auto* runs : {&drivers, &software, &hardware})
        for (const Figure& f : *runs)
            complete = complete && f.lost == 0 && f.stored == frameCount;
    if (!complete) {
        std::printf("FRAMES LOST OR MISSING\n");
        return 1;
    }
    return 0;
}
