// The thread of a replay net: plays a recorded log onto the bus from its
// beginning whenever somebody starts listening, at the recorded pace times
// a speed factor, or with speed 0 as fast as the slowest listener reads.
#pragma once

#include "candumplog.h"
#include "virtualnet.h"

#include <thread>
#include <vector>

namespace tessbus {

struct ReplayOptions
{
    double speed = 1; // 0: no pacing, and no frame is lost to a full queue
    bool loop = false;
};

class ReplayFeeder : public FrameSource
{
public:
    ReplayFeeder(VirtualBus& bus, const TimestampClock& clock, std::vector<LogFrame> frames,
                 ReplayOptions options);
    ~ReplayFeeder() override;

private:
    using TimePoint = VirtualBus::TimePoint;

    void run();
    // One pass through the log, starting at `start`; returns the bus's state
    // when it ended early, Active when it came to the end.
    VirtualBus::State playPaced(TimePoint start, uint64_t session);
    VirtualBus::State playUnpaced(uint64_t session);
    TimePoint dueTime(TimePoint start, size_t index) const;

    VirtualBus& bus_;
    const TimestampClock& clock_;
    const std::vector<LogFrame> frames_;
    const ReplayOptions options_;
    std::thread thread_;
};

} // namespace tessbus
