#ifndef FRAMERING_H
#define FRAMERING_H

#include "tessbus.h"

#include <cstdint>
#include <memory>

// A fixed ring of raw frames. When full, a new frame overwrites the oldest one
// without notice, so the ring always holds the newest `capacity` frames.
// Not thread-safe: the owner guards it with its own mutex.
class FrameRing
{
public:
    explicit FrameRing(uint32_t capacity);
    FrameRing(const FrameRing&) = delete;
    FrameRing& operator=(const FrameRing&) = delete;

    void append(const TessFrameT& frame);

    // Same result as n calls of append(), with at most three block copies.
    void appendBatch(const TessFrameT* src, unsigned n);

    // Appends, in order, the frames for which keep(frame) is true; keep is
    // called once per frame, in order. Runs of kept frames go in as blocks.
    template <typename Keep> void appendIf(const TessFrameT* src, int n, Keep&& keep);

    // Copies min(wanted, count) frames into out, oldest first. Returns their
    // number; an empty ring returns 0 and leaves out alone.
    unsigned snapshot(TessFrameT* out, unsigned wanted) const;

    // The same for the newest min(wanted, count) frames, still oldest first.
    unsigned snapshotNewest(TessFrameT* out, unsigned wanted) const;

    // capacity + 2 records, of which capacity are used.
    const std::unique_ptr<TessFrameT[]> frames;
    const uint32_t capacity;
    uint32_t count = 0;
    int32_t head = 0;  // oldest frame
    int32_t tail = -1; // newest frame
    // Frames appended over the ring's life, overwritten ones included: tells
    // a reader which frames are new since it last looked.
    uint64_t appended = 0;
};

template <typename Keep> void FrameRing::appendIf(const TessFrameT* src, int n, Keep&& keep)
{
    if (n <= 0)
        return;
    int runStart = 0;
    for (int i = 0; i < n; ++i) {
        if (!keep(src[i])) {
            appendBatch(src + runStart, static_cast<unsigned>(i - runStart));
            runStart = i + 1;
        }
    }
    appendBatch(src + runStart, static_cast<unsigned>(n - runStart));
}

#endif // FRAMERING_H
