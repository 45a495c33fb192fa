#ifndef PLOTCURVE_H
#define PLOTCURVE_H

#include "curvelock.h"
#include "dbcfile.h"
#include "framedecode.h"
#include "framering.h"
#include "netinfo.h"
#include "pointarray.h"
#include "tessbus.h"

#include <QColor>
#include <QMutex>
#include <QString>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

class DataPlot;
class QwtPlotCurve;

// One curve: the capture thread of its row, the store of its samples, and
// the owner of the plot item that draws it on the plot it is given.
//
// The capture thread only stores raw frames in `ring` (under `mutex`, taken
// with CurveLock); the refresh cycle on the user interface thread copies the
// ring to `frameCopy` and decodes it into `xValues`/`yValues`, which the plot
// item reads in place. Element 0 of the arrays is the live point, then the
// samples follow newest first. All memory is allocated in the constructor.
//
// A curve captures once: after stopCapture() its thread doesn't start again.
class PlotCurve : public QThread
{
    Q_OBJECT

public:
    // Size of a read batch.
    static constexpr int readBatch = 2047;

    // pos counts from 1. points gives maxPoints and the ring's capacity;
    // clearArrays says whether the arrays start as zeros. The item is drawn
    // with a pen of lineWidth pixels. A bit layout, when given, takes the
    // place of position, data type, mask and byte order; the value table
    // names raw values.
    PlotCurve(DataPlot* plot, int lineWidth, const QColor& color, const QString& name, int net, int baud,
              int canId, int pos, int dataType, int mask, int byteOrder, int axis, double scale,
              double offset, const QString& unit, int style, bool visible, unsigned points, bool clearArrays,
              const std::optional<BitLayout>& bitLayout = std::nullopt,
              const DbcValueTable& valueTable = DbcValueTable());
    ~PlotCurve() override;

    // A value as the cells show it, "%0.3f", with the name of its raw value
    // behind it when the value table has one: "2.000 (Drive)".
    QString valueText(double value, double raw) const;

    // Decodes one frame by this curve's bit layout, or else its data type,
    // position, mask and byte order, and its scaling. Looks only at the
    // length byte and the data.
    bool decodeFrame(const TessFrame& frame, bool checkOnly, double* value, double* raw) const;
    bool decodeFrame(const TessFrameT& frame, bool checkOnly, double* value, double* raw) const;

    // The same rule as decodeFrame, for the batch decoder of framedecode.h.
    ValueLayout valueLayout() const;

    // Stores the frames that can be decoded; the caller holds `mutex`.
    void appendFrames(const TessFrameT* frames, int n);

    // Starts the thread on the record of the curve's net, with software
    // timestamps counted from timeOrigin (on the scale of wallClockSeconds).
    // Both are copied: the thread reads nothing of its caller.
    void startCapture(const NetInfo& netInfo, double timeOrigin,
                      QThread::Priority priority = QThread::InheritPriority);

    // Ends the thread: flag, close of the handle (which releases a blocked
    // read), then an unlimited wait. Harmless when called twice.
    void stopCapture();

    // Samples the plot item holds now, the live point included.
    int pointCount() const;

    // Brings elements 1..n of the arrays up to the ring (n = the ring's
    // count), newest first: the refresh cycle's decoding. Frames decoded at
    // an earlier call are not decoded again; their points move down the
    // arrays instead, with the same result as decoding the whole ring.
    // Takes the mutex for the copy of the new frames only. Returns n, the
    // lowest and highest value held (NaN skipped) and the newest frame's raw
    // value. The live point, element 0, is the caller's.
    struct Points
    {
        unsigned count;
        double lowest;
        double highest;
        double rawNewest;
    };
    Points updatePoints();

    // Whether the times of elements 0..n of the arrays, the live point
    // included (set it first), never rise from one element to the next, as
    // far as the updates have seen them.
    bool timesFall() const;

    // Tells the plot item, after setRawSamples, that the times fall, so
    // that it needn't scan them at each replot. Items other than
    // FastPlotCurve don't ask.
    void describePointsToItem() const;

    // Frames the ring has taken since the curve was made, overwritten ones
    // included. Takes the mutex for the reading.
    uint64_t framesAppended();

    // The capture thread's driver handle, -1 while none is open.
    int driverHandle() const { return handle.load(); }

    void setColor(const QColor& color);
    // Takes effect with the next setColor.
    void setLineWidth(int width) { lineWidth = width; }
    void setCurveAxis(int axis);
    void setCurveTitle(const QString& title);
    void setAntialiased(bool on);

    // Shared with the capture thread: guarded by mutex.
    QMutex mutex;

private:
    // Declared right behind the mutex: the destructor takes it, and the
    // arrays and the ring below are freed before it lets go.
    DeferredCurveLock lockForDestruction{mutex};

public:
    // User interface thread only (the refresh cycle, markers, files).
    const std::unique_ptr<TessFrameT[]> frameCopy;
    // maxPoints + 1 elements each. An update moves where they lie: take
    // their addresses anew after it.
    PointArray xValues;
    PointArray yValues;
    FrameRing ring;
    const double scale;
    const double offset;
    // Written by the capture thread under `mutex` before its first frame;
    // read them under `mutex` too (with the snapshot), as they change when
    // the thread starts.
    int64_t timestampFrequency = 0;
    int64_t timestampStart = 0;
    const uint32_t maxPoints;
    QwtPlotCurve* plotItem = nullptr;

signals:
    void signalThreadErrorMessage(QString message);

protected:
    void run() override;

private:
    // The two read loops; each ends when keepRunning falls to 0.
    void readWithHardwareTime(int64_t frequency, int64_t start);
    void readWithSoftwareTime();
    // Closes the handle if one is open, and marks it closed.
    void closeHandle();

    // What updatePoints() made of the ring at its last call.
    uint64_t pointsUpTo = 0; // ring.appended then
    Points points{0, 0.0, 0.0, 0.0};
    // The newest sample, counted from 1 behind the live point, whose time
    // is older than that of the sample behind it, or that isn't a number.
    // 0 for none.
    unsigned newestTimeBreak = 0;

    std::atomic<int32_t> keepRunning{0};
    int lineWidth;
    // Set by startCapture before the thread starts.
    NetInfo captureNet;
    double captureOrigin = 0.0;
    std::atomic<int32_t> handle{-1};
    // Raised by stopCapture; run() looks at it after it has raised
    // keepRunning itself, so that a stop that overtakes the start holds.
    std::atomic<int32_t> stopRequested{0};
    // Raised when run() returns. QThread::wait() synchronises inside Qt,
    // where ThreadSanitizer can't see it; this flag lets it see the end.
    std::atomic<int32_t> runReturned{0};
    TessFrame rxFrames[readBatch];
    TessFrameT rxFramesT[readBatch];

public:
    const QColor color;
    const QString name;
    const QString unit;
    const int net;
    const int baud;
    const int canId;
    const int bytePos;
    const int mask;
    const int dataType;
    const int byteOrder;
    const int axis;
    const int style;
    const std::optional<BitLayout> bitLayout;
    const DbcValueTable valueTable;
};

#endif // PLOTCURVE_H
