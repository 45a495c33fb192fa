// The thread of a replay net: plays a recorded log onto the bus from its
// beginning whenever somebody starts listening, at the recorded pace times
// a speed factor, or with speed 0 as fast as the slowest listener reads.
// Each pass streams the log from its file, so memory stays bounded whatever
// the log's size.
#pragma once

#include "replaylog.h"
#include "virtualnet.h"

#include <string>
#include <thread>

namespace tessbus {

struct ReplayOptions
{
    double speed = 1; // 0: no pacing, and no frame is lost to a full queue
    bool loop = false;
    int channel = ReplayLog::kAllChannels;
    std::string origin; // "file:line" of the configuration, for the log's warning
};

class ReplayFeeder : public FrameSource
{
public:
    ReplayFeeder(VirtualBus& bus, const TimestampClock& clock, std::string path, ReplayOptions options);
    ~ReplayFeeder() override;

private:
    using TimePoint = VirtualBus::TimePoint;
    class Cursor;

    void run();
    // One pass through the log, starting at `*start`, which then moves on to
    // the start of the next pass; returns the bus's state when it ended
    // early, Active when it came to the end.
    VirtualBus::State playPaced(TimePoint* start, uint64_t session);
    VirtualBus::State playUnpaced(uint64_t session);
    TimePoint dueTime(TimePoint start, int64_t offsetNs) const;
    // The first time a pass reads the whole log: one warning about what
    // was skipped and where damage ended the log.
    void logEnded(const ReplayLog& log);

    VirtualBus& bus_;
    const TimestampClock& clock_;
    const std::string path_;
    const ReplayOptions options_;
    bool warned_ = false; // the thread's own
    std::thread thread_;
};

} // namespace tessbus
