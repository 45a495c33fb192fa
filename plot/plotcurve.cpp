#include "plotcurve.h"

#include "dataplot.h"
#include "fastplotcurve.h"
#include "timestampedread.h"
#include "wallclock.h"

#include <qwt_plot.h>
#include <qwt_plot_curve.h>

#include <QDebug>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Software timestamps tick every 10 us.
constexpr int64_t softwareFrequency = 100000;
// Frames of one batch lie 40 us apart.
constexpr uint64_t softwareBatchStep = 4;

// The software timestamp of a moment in seconds of run time. A clock that
// stands before the origin (set back, or the turn of a year, where the day of
// the year starts again) gives 0, so that such frames sit at the start of
// the record instead of wrapping to the far future; far too large values are
// capped so that the conversion stays defined and the signed difference of
// the refresh cycle stays meaningful.
uint64_t softwareTimestamp(double runSeconds)
{
    const double ticks = runSeconds * static_cast<double>(softwareFrequency);
    if (!(ticks > 0.0))
        return 0;
    constexpr double cap = 9.0e18; // below 2^63
    return ticks >= cap ? static_cast<uint64_t>(cap) : static_cast<uint64_t>(ticks);
}

} // namespace

PlotCurve::PlotCurve(DataPlot* plot, int lineWidth, const QColor& color, const QString& name, int net,
                     int baud, int canId, int pos, int dataType, int mask, int byteOrder, int axis,
                     double scale, double offset, const QString& unit, int style, bool visible,
                     unsigned points, bool clearArrays, const std::optional<BitLayout>& bitLayout,
                     const DbcValueTable& valueTable)
    : frameCopy(new TessFrameT[points]), xValues(size_t(points) + 1), yValues(size_t(points) + 1),
      ring(points), scale(scale), offset(offset), maxPoints(points), lineWidth(lineWidth), color(color),
      name(name), unit(unit), net(net), baud(baud), canId(canId), bytePos(pos - 1), mask(mask),
      dataType(dataType), byteOrder(byteOrder), axis(axis), style(style), bitLayout(bitLayout),
      valueTable(valueTable)
{
    plotItem = new FastPlotCurve(name);
    // By name, so that an alpha channel is dropped.
    plotItem->setPen(QPen(QColor(color.name()), lineWidth));
    plotItem->setYAxis(axis != 0 ? QwtPlot::yRight : QwtPlot::yLeft);
    // Sticks rise from the value that a raw 0 has.
    plotItem->setBaseline(offset);
    // The arrays run newest first. A curve is oriented vertically by
    // default, and Qwt's steps then hold each value from its own time until
    // the next sample; the Inverted attribute would turn that round.
    plot->setCurveStyle(this, visible, style);

    if (clearArrays) {
        std::fill_n(xValues.get(), size_t(points) + 1, 0.0);
        std::fill_n(yValues.get(), size_t(points) + 1, 0.0);
    }
    plotItem->setRawSamples(xValues.get(), yValues.get(), 1);
    plotItem->attach(plot);
}

PlotCurve::~PlotCurve()
{
    stopCapture();
    if (plotItem) {
        plotItem->detach();
        delete plotItem;
        plotItem = nullptr;
    }
    // Released after the arrays and the ring are gone.
    lockForDestruction.lock();
}

ValueLayout PlotCurve::valueLayout() const
{
    ValueLayout layout;
    layout.dataType = dataType;
    layout.byteOrder = byteOrder;
    layout.bytePos = bytePos;
    layout.mask = mask;
    layout.scale = scale;
    layout.offset = offset;
    layout.bitLayout = bitLayout;
    return layout;
}

QString PlotCurve::valueText(double value, double raw) const
{
    QString text = QString::asprintf("%0.3f", value);
    const QString valueName = dbcValueName(raw, valueTable);
    if (!valueName.isEmpty())
        text += QStringLiteral(" (%1)").arg(valueName);
    return text;
}

bool PlotCurve::decodeFrame(const TessFrame& frame, bool checkOnly, double* value, double* raw) const
{
    return decodeValue(valueLayout(), frame, checkOnly, value, raw);
}

bool PlotCurve::decodeFrame(const TessFrameT& frame, bool checkOnly, double* value, double* raw) const
{
    return decodeValue(valueLayout(), frame, checkOnly, value, raw);
}

void PlotCurve::appendFrames(const TessFrameT* frames, int n)
{
    // The same test as decodeFrame(frame, true, ...), made once per batch; it
    // turns away the frames of other multiplexer values too, so that they
    // never become samples.
    const FrameFit fits(valueLayout());
    ring.appendIf(frames, n, [&fits](const TessFrameT& frame) {
        if (frame.lost != 0)
            qDebug("LOST: %d\n", static_cast<int>(frame.lost));
        return fits(frame);
    });
}

void PlotCurve::startCapture(const NetInfo& netInfo, double timeOrigin, QThread::Priority priority)
{
    captureNet = netInfo;
    captureOrigin = timeOrigin;
    start(priority);
}

void PlotCurve::closeHandle()
{
    const int32_t open = handle.exchange(-1);
    if (open != -1)
        tessClose(open);
}

void PlotCurve::stopCapture()
{
    // Before keepRunning, so that run() can't raise it again unseen.
    stopRequested.store(1);
    if (isRunning()) {
        keepRunning.store(0);
        closeHandle();
        wait();
    }
    // A thread that ended on its own, or that opened its handle after the
    // close above, leaves it open.
    closeHandle();
    // Pairs with the store at the end of run(): everything the thread did
    // happens before what follows.
    runReturned.load(std::memory_order_acquire);
}

int PlotCurve::pointCount() const
{
    return plotItem ? static_cast<int>(plotItem->dataSize()) : 0;
}

uint64_t PlotCurve::framesAppended()
{
    const CurveLock lock(mutex);
    return ring.appended;
}

void PlotCurve::setColor(const QColor& newColor)
{
    if (plotItem)
        plotItem->setPen(QPen(newColor, lineWidth));
}

void PlotCurve::setCurveAxis(int newAxis)
{
    if (plotItem && plotItem->yAxis() != newAxis)
        plotItem->setYAxis(newAxis != 0 ? QwtPlot::yRight : QwtPlot::yLeft);
}

void PlotCurve::setCurveTitle(const QString& title)
{
    if (plotItem)
        plotItem->setTitle(title);
}

void PlotCurve::setAntialiased(bool on)
{
    if (!plotItem)
        return;
    plotItem->setPaintAttribute(QwtPlotCurve::ClipPolygons, on);
    plotItem->setRenderHint(QwtPlotItem::RenderAntialiased, on);
}

void PlotCurve::run()
{
    // However run() ends, the flag goes up last.
    struct MarkReturn
    {
        std::atomic<int32_t>& flag;
        ~MarkReturn() { flag.store(1, std::memory_order_release); }
    } const markReturn{runReturned};

    // stopCapture() raises stopRequested before it lowers keepRunning. Either
    // this test sees the request, or its lowering comes after the raise here.
    keepRunning.store(1);
    if (stopRequested.load())
        keepRunning.store(0);

    const bool knownNet = net >= 0 && net < TESS_MAX_NETS;
    const NetInfo netInfo = knownNet ? captureNet : NetInfo();
    const TessStatus status = netInfo.status;

    int opened = -1;
    if (!knownNet || tessOpen(net, 0, 1, readBatch, 0, 0, &opened) != 0) {
        handle.store(-1);
        emit signalThreadErrorMessage(tr("Cannot open Net %1.").arg(net));
        return;
    }
    // A stop that came while the handle was being opened didn't see it:
    // stopCapture() closes it after the wait.
    handle.store(opened);

    const bool hardwareTime = hasFeature(status, TESS_FEATURE_TIMESTAMP) && timestampedReadStatus == 0 &&
                              netInfo.timestampFrequency != 0;

    if (tessSetBaudrate(opened, static_cast<uint32_t>(baud)) != 0) {
        emit signalThreadErrorMessage(tr("Cannot set Baudrate (Net %1 Baud %2).").arg(net).arg(baud));
    } else if ((canId & TESS_ID_29BIT) && !hasFeature(status, TESS_FEATURE_29BIT)) {
        emit signalThreadErrorMessage(tr("Interface does not support 29-bit identifier (Net %1 Id: %2).")
                                          .arg(net)
                                          .arg(canId & ~TESS_ID_29BIT));
    } else {
        // The call may fail for a while; a stop ends the retries.
        bool admitted = tessIdAdd(opened, canId) == 0;
        while (!admitted && keepRunning.load() != 0) {
            QThread::msleep(10);
            admitted = tessIdAdd(opened, canId) == 0;
        }
        if (admitted) {
            if (hardwareTime)
                readWithHardwareTime(static_cast<int64_t>(netInfo.timestampFrequency),
                                     static_cast<int64_t>(netInfo.timestampAtStart));
            else
                readWithSoftwareTime();
        }
    }
}

void PlotCurve::readWithHardwareTime(int64_t frequency, int64_t start)
{
    {
        const CurveLock lock(mutex);
        timestampFrequency = frequency;
        timestampStart = start;
    }
    while (keepRunning.load() != 0) {
        int count = readBatch;
        if (timestampedRead(handle.load(), rxFramesT, &count, nullptr) != 0) {
            QThread::msleep(5);
            continue;
        }
        count = std::clamp(count, 0, readBatch);
        const CurveLock lock(mutex);
        appendFrames(rxFramesT, count);
    }
}

void PlotCurve::readWithSoftwareTime()
{
    const double origin = captureOrigin;
    {
        const CurveLock lock(mutex);
        timestampFrequency = softwareFrequency;
        timestampStart = 0;
    }
    while (keepRunning.load() != 0) {
        int count = readBatch;
        if (tessRead(handle.load(), rxFrames, &count, nullptr) != 0) {
            QThread::msleep(5);
            continue;
        }
        count = std::clamp(count, 0, readBatch);
        // The first frame at the return of the read, the others 40 us apart.
        const uint64_t stamp = softwareTimestamp(wallClockSeconds() - origin);
        for (int i = 0; i < count; ++i) {
            std::memcpy(&rxFramesT[i], &rxFrames[i], sizeof(TessFrame));
            rxFramesT[i].timestamp = stamp + softwareBatchStep * static_cast<uint64_t>(i);
        }
        const CurveLock lock(mutex);
        appendFrames(rxFramesT, count);
    }
}

PlotCurve::Points PlotCurve::updatePoints()
{
    unsigned n;
    unsigned fresh;
    int64_t start;
    int64_t frequency;
    {
        CurveLock lock(mutex);
        n = ring.count;
        const uint64_t added = ring.appended - pointsUpTo;
        fresh = added >= n ? n : unsigned(added);
        ring.snapshotNewest(frameCopy.get(), fresh);
        pointsUpTo = ring.appended;
        start = timestampStart;
        frequency = timestampFrequency;
    }

    // Of the points held, the newest `kept` stay and move down behind the
    // fresh ones; the oldest leave the curve with the frames the ring lost.
    const unsigned kept = n - fresh;
    double lowest = points.lowest;
    double highest = points.highest;
    bool rescan = kept == 0;
    {
        const double* const y = yValues.get() + 1;
        for (unsigned i = kept; i < points.count && !rescan; ++i)
            rescan = y[i] <= lowest || y[i] >= highest; // an extreme leaves
    }
    xValues.pushFront(fresh);
    yValues.pushFront(fresh);
    double* const x = xValues.get() + 1;
    double* const y = yValues.get() + 1;

    const DecodeSummary summary = decodeFramesNewestFirst(valueLayout(), frameCopy.get(), fresh,
                                                          uint64_t(start), uint64_t(frequency), x, y);
    if (rescan) {
        lowest = summary.lowest;
        highest = summary.highest;
        for (unsigned i = fresh; i < n; ++i) {
            if (y[i] < lowest)
                lowest = y[i];
            if (y[i] > highest)
                highest = y[i];
        }
    } else {
        lowest = std::min(lowest, summary.lowest);
        highest = std::max(highest, summary.highest);
    }
    points = {n, lowest, highest, fresh > 0 ? summary.rawNewest : (n > 0 ? points.rawNewest : 0.0)};

    // The break moves down with the sample it points at; a break that left
    // the curve, or whose older sample did, is gone. Then the fresh samples,
    // and the pair that joins them to the kept ones.
    const bool breakKept = newestTimeBreak != 0 && kept != 0 && newestTimeBreak + fresh + 1 <= n;
    newestTimeBreak = breakKept ? newestTimeBreak + fresh : 0;
    for (unsigned i = fresh; i > 0; --i) {
        if (i < n && !(x[i - 1] >= x[i]))
            newestTimeBreak = i;
    }
    return points;
}

bool PlotCurve::timesFall() const
{
    const double* const x = xValues.get();
    return newestTimeBreak == 0 && x[0] == x[0] && (points.count == 0 || x[0] >= x[1]);
}

void PlotCurve::describePointsToItem() const
{
    auto* const item = dynamic_cast<FastPlotCurve*>(plotItem);
    if (item && timesFall())
        item->setTimesFall(int(points.count) + 1);
}
