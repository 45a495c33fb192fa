// One refresh tick of the main window (snapshot, decode, live point, cells,
// replot with its painting) for 1 to 32 curves of 5000 and 100000 frames,
// with the time window showing 1 %, 10 % or all of the frames, in each
// curve style. Before each tick every curve gets new frames, as during a
// run, so that the tick decodes them and the ring drops its oldest ones.
// Each case runs twice in the same window: with the plot item
// of the program and with a plain QwtPlotCurve in its place, the baseline.
// Offscreen, with a plot of 1200x600 pixels. Prints median milliseconds.
//
//   bench_refresh                  all cases
//   bench_refresh --goal           the cases named by the performance goal, after
//                                  those of one curve, which warm the process up,
//                                  and whether each meets it
//   bench_refresh --case 16,100000,all,Steps [--no-baseline]
//                                  one case, for a profiler
//   bench_refresh --noise 4        noise of 4 % of the value range (default 0.5)
//   bench_refresh --width 2        curves drawn with a pen of 2 pixels (default 1)
//   bench_refresh --ticks 200      medians over 200 ticks per case instead of 5 to 100,
//                                  for steadier figures and for a profiler

#include "curvelock.h"
#include "dataplot.h"
#include "fastplotcurve.h"
#include "framedecode.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"
#include "vistrelmainwindow.h"
#include "wallclock.h"

#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSlider>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double recordSeconds = 100.0;
constexpr uint64_t ticksPerSecond = 1000000;

// Counts the paint events of the canvas, so that every measured tick is
// known to have painted.
class PaintCounter : public QObject
{
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return QObject::eventFilter(watched, event);
    }
};

// The raw value of a frame as the layout reads it, from a fraction of the
// type's range.
void encodeRaw(const ValueLayout& layout, double fraction, uint8_t* data)
{
    fraction = std::clamp(fraction, 0.0, 1.0);
    uint64_t bits = 0;
    int size = dataTypeSize(layout.dataType);
    switch (layout.dataType) {
    case DataType::Integer8:
        bits = uint8_t(int8_t(std::lround(-128 + 255 * fraction)));
        break;
    case DataType::Unsigned8:
        bits = uint8_t(std::lround(255 * fraction));
        break;
    case DataType::Integer16:
        bits = uint16_t(int16_t(std::lround(-32768 + 65535 * fraction)));
        break;
    case DataType::Unsigned16:
        bits = uint16_t(std::lround(65535 * fraction));
        break;
    case DataType::Integer32:
        bits = uint32_t(int32_t(std::llround(-2147483648.0 + 4294967295.0 * fraction)));
        break;
    case DataType::Unsigned32:
        bits = uint32_t(std::llround(4294967295.0 * fraction));
        break;
    case DataType::Real32: {
        const float f = float(-100.0 + 200.0 * fraction);
        uint32_t u;
        std::memcpy(&u, &f, sizeof u);
        bits = u;
        break;
    }
    default: {
        const double d = -100.0 + 200.0 * fraction;
        std::memcpy(&bits, &d, sizeof bits);
        size = 8;
        break;
    }
    }
    for (int i = 0; i < size; ++i) {
        const int shift = layout.byteOrder == 0 ? 8 * i : 8 * (size - 1 - i);
        data[layout.bytePos + i] = uint8_t(bits >> shift);
    }
}

// Frames for one curve's ring, spaced so that a ring's worth spans
// recordSeconds: a slow wave with noise (its standard deviation a fraction
// of the value range) and a spike now and then, as a sensor would send it.
// Each call goes on where the last one ended.
class FrameFeed
{
public:
    FrameFeed(unsigned plotSize, unsigned seed, double noiseFraction)
        : plotSize(plotSize), seed(seed), rng(seed), noise(0.0, noiseFraction)
    {}

    void append(PlotCurve& curve, unsigned frames)
    {
        const ValueLayout layout = curve.valueLayout();
        const CurveLock lock(curve.mutex);
        curve.timestampFrequency = int64_t(ticksPerSecond);
        curve.timestampStart = 0;
        for (unsigned k = 0; k < frames; ++k, ++next) {
            TessFrameT f{};
            f.id = 0x123;
            f.len = 8;
            const double t = seconds(next);
            f.timestamp = uint64_t(std::llround(t * ticksPerSecond));
            double fraction = 0.5 + 0.3 * std::sin(t * 0.3 + seed) + noise(rng);
            if (next % 997 == 0)
                fraction = (next / 997) % 2 ? 0.97 : 0.03;
            encodeRaw(layout, fraction, f.data);
            curve.appendFrames(&f, 1);
        }
    }

    // Time of the newest frame so far.
    double newestSeconds() const { return next > 0 ? seconds(next - 1) : 0.0; }

private:
    double seconds(uint64_t i) const { return recordSeconds * double(i + 1) / plotSize; }

    const unsigned plotSize;
    const unsigned seed;
    std::mt19937 rng;
    std::normal_distribution<double> noise;
    uint64_t next = 0;
};

// New frames per curve before each tick: a curve sent at 1 kHz, refreshed
// every 250 ms.
constexpr unsigned framesPerTick = 250;

// The attributes that the program gives a plot item, copied onto another.
void copyItemSettings(const QwtPlotCurve& from, QwtPlotCurve& to)
{
    to.setTitle(from.title());
    to.setPen(from.pen());
    to.setYAxis(from.yAxis());
    to.setBaseline(from.baseline());
    to.setStyle(from.style());
    to.setCurveAttribute(QwtPlotCurve::Inverted, from.testCurveAttribute(QwtPlotCurve::Inverted));
    for (const auto attribute : {QwtPlotCurve::ClipPolygons, QwtPlotCurve::FilterPoints})
        to.setPaintAttribute(attribute, from.testPaintAttribute(attribute));
    to.setRenderHint(QwtPlotItem::RenderAntialiased, from.testRenderHint(QwtPlotItem::RenderAntialiased));
    to.setZ(from.z());
}

// Each curve with its own item and a plain QwtPlotCurve set up alike; one
// of the two is attached and is the curve's plotItem at a time.
class ItemSwitch
{
public:
    explicit ItemSwitch(VistrelMainWindow& window) : window(window)
    {
        for (const QSharedPointer<PlotCurve>& curve : qAsConst(window.curves())) {
            own.push_back(curve->plotItem);
            plain.push_back(std::make_unique<QwtPlotCurve>());
        }
    }
    ~ItemSwitch() { use(false); }

    void use(bool usePlain)
    {
        for (int i = 0; i < window.curves().size(); ++i) {
            PlotCurve& curve = *window.curves()[i];
            QwtPlotCurve* wanted = usePlain ? plain[size_t(i)].get() : own[size_t(i)];
            if (curve.plotItem == wanted)
                continue;
            copyItemSettings(*curve.plotItem, *wanted);
            wanted->setRawSamples(curve.xValues.get(), curve.yValues.get(), int(curve.plotItem->dataSize()));
            curve.plotItem->detach();
            wanted->attach(window.plot());
            curve.plotItem = wanted;
        }
    }

private:
    VistrelMainWindow& window;
    std::vector<QwtPlotCurve*> own;
    std::vector<std::unique_ptr<QwtPlotCurve>> plain;
};

struct Window
{
    const char* name;
    int sliderIndex;
};

// CPU time of the process in ms: what a tick costs, also on a machine
// where other processes take turns with it. The ticks run on this thread;
// the others of the process sleep meanwhile.
double cpuMs()
{
    return double(std::clock()) * 1e3 / CLOCKS_PER_SEC;
}

struct Cost
{
    double cpu;      // median ms of CPU time
    double wall;     // median ms of wall time
    double worstCpu; // the longest tick, ms of CPU time
};

// A case with all frames in view, and what the goal asks of such a case.
struct Measured
{
    int curves;
    unsigned plotSize;
    std::string style;
    double baseline; // ms
    double item;
};

struct Goal
{
    int curves;
    unsigned plotSize;
    const char* style;
    double ms;     // at most, per tick
    double factor; // at least, over the baseline
};

const Goal goals[] = {
    {8, 5000, "Steps", 1.5, 0.0},     {8, 5000, "Lines", 1.5, 0.0},     {8, 5000, "Sticks", 1.5, 0.0},
    {16, 100000, "Steps", 6.0, 25.0}, {16, 100000, "Lines", 6.0, 15.0}, {16, 100000, "Sticks", 6.0, 25.0},
    {32, 100000, "Steps", 12.0, 0.0}, {32, 100000, "Lines", 12.0, 0.0}, {32, 100000, "Sticks", 12.0, 0.0}};

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Median ms of a replot alone, with its painting.

double measureReplots(VistrelMainWindow& window)
{
    std::vector<double> ms;
    for (int i = 0; i < 9; ++i) {
        QElapsedTimer timer;
        timer.start();
        window.plot()->replot();
        ms.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    return median(ms);
}

// Medians over the ticks; at least 5, more while under a second, at most
// 100, or exactly `ticks` if given. A cheap tick thus gets a hundred, so
// that a moment when the machine is busy elsewhere doesn't make the median.
Cost measureTicks(VistrelMainWindow& window, std::vector<FrameFeed>& feeds, PaintCounter& counter,
                  bool* paintedEveryTick, int ticks = 0)
{
    std::vector<double> ms;
    std::vector<double> cpu;
    QElapsedTimer total;
    total.start();
    *paintedEveryTick = true;
    for (int tick = 0; tick < (ticks > 0 ? ticks : 100) + 2; ++tick) {
        for (int i = 0; i < window.curves().size(); ++i)
            feeds[size_t(i)].append(*window.curves()[i], framesPerTick);
        // The record ends at the present, whenever the tick runs.
        window.setTimeOrigin(wallClockSeconds() - feeds.front().newestSeconds());
        const int paintsBefore = counter.paints;
        QElapsedTimer timer;
        const double cpuBefore = cpuMs();
        timer.start();
        window.slotTimeout();
        const double elapsed = double(timer.nsecsElapsed()) / 1e6;
        const double cpuElapsed = cpuMs() - cpuBefore;
        if (counter.paints != paintsBefore + 1)
            *paintedEveryTick = false;
        if (tick >= 2) { // warm-up
            ms.push_back(elapsed);
            cpu.push_back(cpuElapsed);
        }
        if (ticks == 0 && ms.size() >= 5 && total.elapsed() > 1000)
            break;
    }
    return {median(cpu), median(ms), *std::max_element(cpu.begin(), cpu.end())};
}

} // namespace

int main(int argc, char** argv)
{
    // The bench needs no bus and no settings of the user.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir configDir;
    const QString driverConfig = configDir.filePath("tessbus.conf");
    QFile(driverConfig).open(QIODevice::WriteOnly);
    qputenv("TESSBUS_CONFIG", driverConfig.toLocal8Bit());
    QStandardPaths::setTestModeEnabled(true);

    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int noiseAt = arguments.indexOf("--noise");
    const double noisePercent =
        noiseAt > 0 && noiseAt + 1 < arguments.size() ? arguments[noiseAt + 1].toDouble() : 0.5;
    const int widthAt = arguments.indexOf("--width");
    const int lineWidth = widthAt > 0 && widthAt + 1 < arguments.size() ? arguments[widthAt + 1].toInt() : 1;
    const int ticksAt = arguments.indexOf("--ticks");
    const int ticksPerCase =
        ticksAt > 0 && ticksAt + 1 < arguments.size() ? std::max(0, arguments[ticksAt + 1].toInt()) : 0;
    const bool goalOnly = arguments.contains("--goal");
    const bool withBaseline = !arguments.contains("--no-baseline");
    const int caseAt = arguments.indexOf("--case");
    const QStringList only =
        caseAt > 0 && caseAt + 1 < arguments.size() ? arguments[caseAt + 1].split(',') : QStringList();
    const auto selected = [&only](int curves, unsigned plotSize, const char* view, const char* style) {
        return only.size() != 4 || (only[0].toInt() == curves && only[1].toUInt() == plotSize &&
                                    only[2] == view && only[3] == style);
    };

    VistrelMainWindow window;
    ProgramOptions options = window.options();
    options.lineWidth = lineWidth;
    window.setOptions(options);
    window.show();
    window.plot()->setFixedSize(1200, 600);
    auto* canvas = qobject_cast<QwtPlotCanvas*>(window.plot()->canvas());
    // The tick's replot paints at once instead of at the next paint event,
    // so that the painting is part of the measured tick.
    canvas->setPaintAttribute(QwtPlotCanvas::ImmediatePaint, true);
    PaintCounter counter;
    canvas->installEventFilter(&counter);
    QApplication::processEvents();

    std::printf("Refresh tick: snapshot, decode, live point, cells, replot and paint; offscreen.\n");
    std::printf("Plot %dx%d, canvas %dx%d; %g s of frames: a slow wave with %g %% noise and spikes.\n",
                window.plot()->width(), window.plot()->height(), canvas->contentsRect().width(),
                canvas->contentsRect().height(), recordSeconds, noisePercent);
    std::printf("Curve pens %d pixel%s wide.\n", lineWidth, lineWidth == 1 ? "" : "s");
    std::printf("Before each tick every curve gets %u new frames, which push out as many old ones.\n",
                framesPerTick);
    std::printf("Medians of the ticks in ms of CPU time of the process (wall time for the\n"
                "item beside it); the windows show the last 1 s, 10 s and 100 s.\n");
    std::printf("baseline: a plain QwtPlotCurve as plot item; item: FastPlotCurve.\n\n");
    std::printf("A replot of the plot without curves: %.2f ms.\n\n", measureReplots(window));
    std::printf("%6s %9s %7s %7s %12s %8s %7s %13s %15s\n", "curves", "plotSize", "window", "style",
                "baseline ms", "item ms", "ratio", "item wall ms", "item replot ms");

    const Window windows[] = {{"1 %", 6}, {"10 %", 9}, {"all", 12}};
    const struct
    {
        const char* name;
        int index;
    } styles[] = {{"Steps", 0}, {"Lines", 1}, {"Sticks", 2}};
    const std::vector<int> curveCounts{1, 8, 16, 32};
    bool allPainted = true;
    bool layoutShown = false;
    std::vector<Measured> allInView;
    std::string longestTicks;

    for (const unsigned plotSize : {5000u, 100000u}) {
        for (const int curves : curveCounts) {
            if (goalOnly && (plotSize == 5000) != (curves <= 8))
                continue;
            if (only.size() == 4 && (only[0].toInt() != curves || only[1].toUInt() != plotSize))
                continue;
            while (!window.curves().isEmpty()) {
                window.tableConfig()->removeCurveRow(0);
                window.tableDescription()->removeRow(0);
                window.eraseCurve(0);
            }
            options.plotSize = plotSize;
            window.setOptions(options);
            for (int i = 0; i < curves; ++i)
                window.projectAddCurve();
            std::vector<FrameFeed> feeds;
            for (int i = 0; i < curves; ++i) {
                feeds.emplace_back(plotSize, unsigned(i + 1), noisePercent / 100.0);
                feeds.back().append(*window.curves()[i], plotSize);
            }
            if (!layoutShown) {
                const ValueLayout layout = window.curves()[0]->valueLayout();
                std::printf("(rows as projectAddCurve makes them: data type %d, scale %g, offset %g)\n",
                            layout.dataType, layout.scale, layout.offset);
                layoutShown = true;
            }

            ItemSwitch items(window);
            for (const Window& view : windows) {
                window.findChild<QSlider*>("sliderTimeBase")->setValue(view.sliderIndex);
                for (const auto& style : styles) {
                    if (!selected(curves, plotSize, view.name, style.name))
                        continue;
                    for (const QSharedPointer<PlotCurve>& curve : qAsConst(window.curves()))
                        window.plot()->setCurveStyle(curve.data(), true, style.index);
                    bool painted = false;
                    Cost baseline{0.0, 0.0, 0.0};
                    if (withBaseline) {
                        items.use(true);
                        baseline = measureTicks(window, feeds, counter, &painted, ticksPerCase);
                        allPainted = allPainted && painted;
                    }
                    items.use(false);
                    const Cost own = measureTicks(window, feeds, counter, &painted, ticksPerCase);
                    allPainted = allPainted && painted;
                    const double replot = measureReplots(window);

                    std::printf("%6d %9u %7s %7s %12.2f %8.2f %6.1fx %13.2f %15.2f\n", curves, plotSize,
                                view.name, style.name, baseline.cpu, own.cpu, baseline.cpu / own.cpu,
                                own.wall, replot);
                    if (std::strcmp(view.name, "all") == 0)
                        allInView.push_back({curves, plotSize, style.name, baseline.cpu, own.cpu});
                    std::fflush(stdout);
                }
            }

            // The point arrays go back to the top of their buffers after a
            // quarter of their length of new frames; such a tick moves all
            // points. Enough ticks in a row to hold one or more of those.
            if (only.isEmpty()) {
                window.findChild<QSlider*>("sliderTimeBase")->setValue(windows[2].sliderIndex);
                for (const QSharedPointer<PlotCurve>& curve : qAsConst(window.curves()))
                    window.plot()->setCurveStyle(curve.data(), true, styles[0].index);
                const int ticks = int(plotSize / 4 / framesPerTick) + 10;
                bool painted = false;
                const Cost run = measureTicks(window, feeds, counter, &painted, ticks);
                allPainted = allPainted && painted;
                char line[160];
                std::snprintf(line, sizeof line, "%6d %9u %7s %7s %6d %12.2f %12.2f\n", curves, plotSize,
                              windows[2].name, styles[0].name, ticks, run.cpu, run.worstCpu);
                longestTicks += line;
            }
        }
    }
    std::printf("\nTicks in a row, item only, with the arrays going back to the top at least once:\n");
    std::printf("%6s %9s %7s %7s %6s %12s %12s\n", "curves", "plotSize", "window", "style", "ticks",
                "median ms", "longest ms");
    std::printf("%s", longestTicks.c_str());
    if (goalOnly) {
        std::printf("\nGoal, all frames in view: the item's ms per tick and its factor over the baseline:\n");
        for (const Goal& goal : goals) {
            for (const Measured& m : allInView) {
                if (m.curves != goal.curves || m.plotSize != goal.plotSize || goal.style != m.style)
                    continue;
                const bool met = m.item <= goal.ms && m.baseline / m.item >= goal.factor;
                char factor[16] = "";
                if (goal.factor > 0.0)
                    std::snprintf(factor, sizeof factor, "(>= %.0fx)", goal.factor);
                std::printf("%6d %9u %7s %7.2f ms (<= %5.2f) %6.1fx %-9s  %s\n", m.curves, m.plotSize,
                            m.style.c_str(), m.item, goal.ms, m.baseline / m.item, factor,
                            met ? "met" : "MISSED");
            }
        }
    }
    if (!allPainted)
        std::printf("\nWARNING: some ticks did not paint the canvas exactly once.\n");
    return 0;
}
