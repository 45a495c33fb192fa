#include "timestampclock.h"

namespace tessbus {

TimestampClock::TimestampClock(uint64_t frequency)
    : frequency_(frequency), epoch_(std::chrono::steady_clock::now())
{}

uint64_t TimestampClock::ticksSince(TimePoint from, TimePoint t) const
{
    if (t <= from)
        return 0;
    const auto ns = static_cast<unsigned __int128>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(t - from).count());
    return static_cast<uint64_t>(ns * frequency_ / 1000000000u);
}

uint64_t TimestampClock::at(TimePoint t) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (pinned_)
        return base_;
    return base_ + ticksSince(epoch_, t);
}

void TimestampClock::pin(uint64_t value)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const TimePoint now = std::chrono::steady_clock::now();
    if (value == UINT64_MAX) {
        if (pinned_) {
            pinned_ = false;
            epoch_ = now; // runs on from the pinned value
        }
        return;
    }
    pinned_ = true;
    base_ = value;
    epoch_ = now;
}

} // namespace tessbus
