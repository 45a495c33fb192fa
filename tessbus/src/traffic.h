// The traffic counters of a net: frames and their estimated bits on the
// wire, counted where frames come onto the net and read by
// TESS_IOCTL_GET_TRAFFIC. Counting takes two relaxed atomic additions per
// batch, so the delivery path gains no lock.
#pragma once

#include "tessbus.h"

#include <atomic>
#include <cstdint>

namespace tessbus {

// Bits of a classic frame from start of frame to the end of the interframe
// space, with worst-case bit stuffing (see TessTraffic in tessbus.h).
uint32_t frameBitsOnWire(uint32_t id, uint8_t len);

class TrafficCounter
{
public:
    void count(const TessFrameT* frames, int n);
    void add(uint64_t frames, uint64_t bits);
    TessTraffic totals() const;

private:
    std::atomic<uint64_t> frames_{0};
    std::atomic<uint64_t> bits_{0};
};

} // namespace tessbus
