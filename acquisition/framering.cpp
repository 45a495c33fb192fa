#include "framering.h"

#include <algorithm>
#include <cstring>

FrameRing::FrameRing(uint32_t capacity)
    : frames(new TessFrameT[static_cast<size_t>(capacity) + 2]()), capacity(capacity)
{}

void FrameRing::append(const TessFrameT& frame)
{
    // A ring without room keeps nothing; the index arithmetic below needs capacity > 0.
    if (capacity == 0)
        return;
    ++appended;
    if (count < capacity) {
        ++count;
        ++tail;
    } else {
        head = static_cast<uint32_t>(head) + 1 >= capacity ? 0 : head + 1;
        tail = static_cast<uint32_t>(tail) + 1 >= capacity ? 0 : tail + 1;
    }
    frames[tail] = frame;
}

void FrameRing::appendBatch(const TessFrameT* src, unsigned n)
{
    if (capacity == 0 || n == 0)
        return;
    appended += n;

    // While the ring fills, head stays 0 and the free slots follow tail without a wrap.
    if (count < capacity) {
        const unsigned fill = std::min(n, capacity - count);
        std::memcpy(&frames[static_cast<size_t>(tail + 1)], src, fill * sizeof(TessFrameT));
        tail += static_cast<int32_t>(fill);
        count += fill;
        src += fill;
        n -= fill;
        if (n == 0)
            return;
    }

    // Full: frame j of the rest would land at (tail + 1 + j) % capacity. Frames
    // that a later one of this batch would overwrite are never written.
    const unsigned written = std::min(n, capacity);
    const unsigned skipped = n - written;
    const uint32_t first = static_cast<uint32_t>((static_cast<uint64_t>(tail) + 1 + skipped) % capacity);
    const unsigned firstPart = std::min(written, capacity - first);
    std::memcpy(&frames[first], src + skipped, firstPart * sizeof(TessFrameT));
    std::memcpy(&frames[0], src + skipped + firstPart, (written - firstPart) * sizeof(TessFrameT));

    tail = static_cast<int32_t>((static_cast<uint64_t>(tail) + n) % capacity);
    head = static_cast<uint32_t>(tail) + 1 >= capacity ? 0 : tail + 1;
}

unsigned FrameRing::snapshot(TessFrameT* out, unsigned wanted) const
{
    const unsigned n = std::min(wanted, count);
    if (n == 0)
        return 0;
    // The held frames run from head to tail, wrapping once at capacity at most.
    const unsigned firstPart = std::min(n, capacity - static_cast<uint32_t>(head));
    std::memcpy(out, &frames[static_cast<size_t>(head)], firstPart * sizeof(TessFrameT));
    if (n > firstPart)
        std::memcpy(out + firstPart, &frames[0], (n - firstPart) * sizeof(TessFrameT));
    return n;
}

unsigned FrameRing::snapshotNewest(TessFrameT* out, unsigned wanted) const
{
    const unsigned n = std::min(wanted, count);
    if (n == 0)
        return 0;
    // The newest n end at tail; they start n - 1 places before it.
    const uint32_t first = static_cast<uint32_t>((static_cast<uint64_t>(tail) + capacity + 1 - n) % capacity);
    const unsigned firstPart = std::min(n, capacity - first);
    std::memcpy(out, &frames[first], firstPart * sizeof(TessFrameT));
    if (n > firstPart)
        std::memcpy(out + firstPart, &frames[0], (n - firstPart) * sizeof(TessFrameT));
    return n;
}
