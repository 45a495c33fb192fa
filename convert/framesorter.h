#ifndef FRAMESORTER_H
#define FRAMESORTER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A frame on its way through the converter: its time on the conversion's
// time line, the group of signals that listen to its net and id, and its
// length byte and data as a TessFrame carries them.
struct ConvertFrame
{
    int64_t timeNs = 0;
    uint32_t group = 0;
    uint8_t len = 0; // data length, with TESS_FRAME_RTR for a remote frame
    uint8_t data[8] = {};
    uint8_t unused[3] = {}; // fills the padding, so that runs write no stray bytes
};
static_assert(sizeof(ConvertFrame) == 24, "runs hold frames of 24 bytes");

// Where frames go once they are in time order.
class FrameReceiver
{
public:
    virtual ~FrameReceiver() = default;
    virtual void take(const ConvertFrame& frame) = 0;
};

// Puts frames that come nearly in time order into order in bounded memory.
// It holds up to `capacity` frames; when full, it passes on the earlier half
// in time order. Frames of equal time keep the order in which they came.
// A frame that comes earlier than one already passed on can't be put in
// place: push() refuses it. That happens only when a frame comes after more
// than capacity / 2 frames that are later than it.
class ReorderWindow
{
public:
    ReorderWindow(size_t capacity, FrameReceiver& receiver);

    // False, with nothing done, for a frame too late to be put in place.
    bool push(const ConvertFrame& frame);
    // Passes on every frame held.
    void finish();

private:
    void sortHeld();
    void release(size_t count);

    const size_t capacity;
    FrameReceiver& receiver;
    std::vector<ConvertFrame> frames;
    bool sorted = true;
    bool released = false;
    int64_t lastReleased = 0;
};

// Sorts any number of frames by time in bounded memory: runs of up to
// `runLength` frames are sorted and written to a temporary file, which is
// deleted at once and vanishes with the sorter; finish() merges the runs.
// Frames of equal time keep the order in which they came.
class RunSorter
{
public:
    // `directory` holds the temporary file.
    RunSorter(size_t runLength, std::string directory);
    ~RunSorter();
    RunSorter(const RunSorter&) = delete;
    RunSorter& operator=(const RunSorter&) = delete;

    // False when a run couldn't be written; error() tells why.
    bool push(const ConvertFrame& frame);
    // Passes on every frame in time order. False on a read or write error.
    bool finish(FrameReceiver& receiver);
    const std::string& error() const { return failure; }

private:
    struct Run
    {
        uint64_t first; // index of its first frame in the file
        uint64_t count;
    };
    bool writeRun();
    bool fail(const std::string& what);

    const size_t runLength;
    const std::string directory;
    std::vector<ConvertFrame> frames;
    bool sorted = true;
    std::vector<Run> runs;
    uint64_t written = 0;
    int fd = -1;
    std::string failure;
};

#endif // FRAMESORTER_H
