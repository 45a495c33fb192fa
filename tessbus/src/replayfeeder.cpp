#include "replayfeeder.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace tessbus {

namespace {
constexpr int kBatch = 256;

TessFrameT withStamp(const TessFrame& frame, uint64_t stamp)
{
    TessFrameT out;
    std::memcpy(&out, &frame, sizeof(frame));
    out.timestamp = stamp;
    return out;
}
} // namespace

ReplayFeeder::ReplayFeeder(VirtualBus& bus, const TimestampClock& clock, std::vector<LogFrame> frames,
                           ReplayOptions options)
    : bus_(bus), clock_(clock), frames_(std::move(frames)), options_(options),
      thread_(&ReplayFeeder::run, this)
{}

ReplayFeeder::~ReplayFeeder()
{
    bus_.stop();
    thread_.join();
}

ReplayFeeder::TimePoint ReplayFeeder::dueTime(TimePoint start, size_t index) const
{
    int64_t offsetUs = 0;
    if (!frames_.empty())
        offsetUs = std::max<int64_t>(0, frames_[index].timeUs - frames_.front().timeUs);
    const double ns = static_cast<double>(offsetUs) * 1000.0 / options_.speed;
    return start + std::chrono::nanoseconds(static_cast<int64_t>(ns));
}

VirtualBus::State ReplayFeeder::playPaced(TimePoint start, uint64_t session)
{
    TessFrameT batch[kBatch];
    // Recording times that run backwards would give falling stamps; such a
    // frame counts as sent together with the frame before it.
    TimePoint lastDue = start;
    size_t i = 0;
    while (i < frames_.size()) {
        const VirtualBus::State state = bus_.sleepUntil(std::max(lastDue, dueTime(start, i)), session);
        if (state != VirtualBus::State::Active)
            return state;
        // Everything that is due by now goes out in one batch, each frame
        // stamped with the moment it was due.
        const TimePoint now = std::chrono::steady_clock::now();
        int n = 0;
        while (i < frames_.size() && n < kBatch) {
            const TimePoint due = std::max(lastDue, dueTime(start, i));
            if (due > now && n > 0)
                break;
            batch[n++] = withStamp(frames_[i].frame, clock_.at(due));
            lastDue = due;
            ++i;
        }
        bus_.deliver(batch, n);
    }
    return VirtualBus::State::Active;
}

VirtualBus::State ReplayFeeder::playUnpaced(uint64_t session)
{
    bool taken = false;
    for (size_t i = 0; i < frames_.size(); ++i) {
        if (i % kBatch == 0) {
            const VirtualBus::State state = bus_.state(session);
            if (state != VirtualBus::State::Active)
                return state;
        }
        const TessFrameT frame = withStamp(frames_[i].frame, clock_.now());
        int takers;
        while ((takers = bus_.deliverWithoutLoss(&frame, 1)) < 0) {
            // A listener's queue is full: wait for its reader.
            const VirtualBus::State state =
                bus_.sleepUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(1), session);
            if (state != VirtualBus::State::Active)
                return state;
        }
        taken = taken || takers > 0;
    }
    if (!taken && options_.loop) {
        // Nobody admits any id of the log: don't spin through it again and
        // again, look once in a while whether that changed.
        return bus_.sleepUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(100), session);
    }
    return bus_.state(session);
}

void ReplayFeeder::run()
{
    if (frames_.empty())
        return;
    uint64_t session = 0;
    while (bus_.waitForListener(&session) == VirtualBus::State::Active) {
        VirtualBus::State state = VirtualBus::State::Active;
        TimePoint start = std::chrono::steady_clock::now();
        do {
            if (options_.speed > 0) {
                state = playPaced(start, session);
                // The next pass follows after the log's mean frame interval.
                const TimePoint end = dueTime(start, frames_.size() - 1);
                const auto pass = end - start;
                start = end + (frames_.size() > 1 ? pass / static_cast<int64_t>(frames_.size() - 1)
                                                  : std::chrono::milliseconds(100));
            } else {
                state = playUnpaced(session);
            }
        } while (state == VirtualBus::State::Active && options_.loop);
        // Played to the end: rest until the listeners leave, so that the
        // next listener hears the log from its beginning.
        while (state == VirtualBus::State::Active)
            state = bus_.sleepUntil(std::chrono::steady_clock::now() + std::chrono::seconds(3600), session);
        if (state == VirtualBus::State::Stopping)
            return;
    }
}

} // namespace tessbus
