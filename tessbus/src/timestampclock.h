// The timestamp counter of a virtual net: ticks of a configured frequency
// since the net was made, from the steady clock so that it never falls.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace tessbus {

class TimestampClock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    explicit TimestampClock(uint64_t frequency);

    uint64_t frequency() const { return frequency_; }
    uint64_t now() const { return at(std::chrono::steady_clock::now()); }
    // The counter at a moment (used for frames scheduled at that moment).
    uint64_t at(TimePoint t) const;
    // Freezes the counter at a value; UINT64_MAX lets it run on from there.
    void pin(uint64_t value);

private:
    uint64_t ticksSince(TimePoint from, TimePoint t) const;

    const uint64_t frequency_;
    mutable std::mutex mutex_;
    TimePoint epoch_;
    uint64_t base_ = 0;
    bool pinned_ = false;
};

} // namespace tessbus
