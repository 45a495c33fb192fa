#ifndef CANLOG_H
#define CANLOG_H

#include "framedecode.h"
#include "tessbus.h"

#include <QMap>
#include <QString>

#include <cstdint>
#include <vector>

class QIODevice;

// The logs of a CAN recorder, read for import: the binary form (records of
// 38 bytes and more) and the tab-separated text form. The readers know no
// widget; they report progress to an IFImportProgress and stop when it says
// so.

// One frame of a log: the bus frame and its time in seconds since the first
// frame of the log.
struct ImportFrame
{
    TessFrame frame;
    double time;
};

enum class CanLogForm { Unknown, Binary, Text };

// The form is told by the end of the name alone, case-sensitively: "vbrlog"
// is binary, else "txt" is text.
CanLogForm canLogFormOf(const QString& fileName);

// A total brought to at most 1000 steps: step is a power of ten, steps the
// total divided by it, rounded down.
struct ProgressScale
{
    int64_t step = 1;
    int steps = 0;
};
ProgressScale progressScale(int64_t total);

// Where the readers and the conversion show how far they are.
class IFImportProgress
{
public:
    virtual ~IFImportProgress() = default;
    // Shows the step reached on the progress scale; returns false when the
    // user asked to stop.
    virtual bool showStep(int step) = 0;
};

// What a log held.
struct CanLog
{
    // Every frame in file order. Reserved for the most frames the file can
    // hold, so that a big log is stored without moving it around.
    std::vector<ImportFrame> frames;
    // For each id (with TESS_ID_29BIT where it applies) the positions of its
    // frames in `frames`, in file order.
    QMap<uint32_t, std::vector<uint32_t>> framesById;
    // The time of day of the first frame in seconds since midnight (of the
    // first line that got as far as its time, in the text form).
    bool hasOrigin = false;
    double timeOrigin = 0.0;
    // The time of the last frame read, over all ids.
    double lastTime = 0.0;
    // The user stopped the reading; what was read so far is kept.
    bool canceled = false;
    // Text lines with a valid number and time but fewer than 18 fields.
    int shortLines = 0;

    int frameCount(uint32_t id) const;
    // The i-th frame of an id, in file order; i below frameCount(id).
    const ImportFrame& frameOf(uint32_t id, int i) const;
};

// Reads a log of the given form from a device that is open for reading.
// Progress is looked at after each frame record and each text line with a
// number in its first field: when the device position divided by the
// scale's step has reached a counter that starts at 0, that quotient is
// shown and the counter grows by one, so progress is shown at most
// scale.steps + 1 times.
CanLog readBinaryCanLog(QIODevice* device, const ProgressScale& scale, IFImportProgress* progress);
CanLog readTextCanLog(QIODevice* device, const ProgressScale& scale, IFImportProgress* progress);
CanLog readCanLog(CanLogForm form, QIODevice* device, const ProgressScale& scale, IFImportProgress* progress);

// Decodes the n frames of id into the samples 1 to n of x and y, newest
// first: sample n - i comes from the i-th frame in file order, at its time.
// A frame that doesn't hold the value gives 0, a remote frame too. With a bit
// layout such frames (and those of another multiplexer value) give no sample:
// the m frames that hold the value fill samples 1 to m, newest first. The
// number of samples goes to *samples when given. Progress is shown whenever i
// is a multiple of the scale's step (the scale of n). Returns false when the
// user asked to stop; the samples are then partly written.
bool decodeSamples(const CanLog& log, uint32_t id, const ValueLayout& layout, double* x, double* y,
                   IFImportProgress* progress, int* samples = nullptr);

#endif // CANLOG_H
