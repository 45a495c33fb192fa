#include "replayfeeder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

namespace tessbus {

namespace {
constexpr int kBatch = 256;

// Due times beyond this (some 73 years) mean never within the process's
// life; the start of a pass plus this can't overflow the steady clock.
constexpr int64_t kNeverNs = std::numeric_limits<int64_t>::max() / 4;

TessFrameT withStamp(const TessFrame& frame, uint64_t stamp)
{
    TessFrameT out;
    std::memcpy(&out, &frame, sizeof(frame));
    out.timestamp = stamp;
    return out;
}

// Nanoseconds from `from` to `to`: 0 when `to` lies before, saturated
// however far apart a damaged log's times are.
int64_t nsBetween(int64_t from, int64_t to)
{
    if (to <= from)
        return 0;
    const uint64_t gap = static_cast<uint64_t>(to) - static_cast<uint64_t>(from);
    return static_cast<int64_t>(std::min<uint64_t>(gap, std::numeric_limits<int64_t>::max()));
}
} // namespace

// The frames of one pass, read from the log a batch at a time.
class ReplayFeeder::Cursor
{
public:
    explicit Cursor(ReplayFeeder& feeder)
        : feeder_(feeder), log_(feeder.path_, feeder.options_.channel), frames_(kBatch)
    {}

    // The next frame; nullptr at the end of the log.
    const LogFrame* peek()
    {
        while (next_ == count_) {
            if (log_.atEnd())
                return nullptr;
            count_ = log_.read(frames_.data(), frames_.size());
            next_ = 0;
            if (log_.atEnd())
                feeder_.logEnded(log_);
        }
        return &frames_[next_];
    }
    void pop() { ++next_; }

private:
    ReplayFeeder& feeder_;
    ReplayLog log_;
    std::vector<LogFrame> frames_;
    size_t count_ = 0;
    size_t next_ = 0;
};

ReplayFeeder::ReplayFeeder(VirtualBus& bus, const TimestampClock& clock, std::string path,
                           ReplayOptions options)
    : bus_(bus), clock_(clock), path_(std::move(path)), options_(std::move(options)),
      thread_(&ReplayFeeder::run, this)
{}

ReplayFeeder::~ReplayFeeder()
{
    bus_.stop();
    thread_.join();
}

ReplayFeeder::TimePoint ReplayFeeder::dueTime(TimePoint start, int64_t offsetNs) const
{
    // A tiny speed or a huge gap gives infinity here, which no integer holds.
    const double ns = static_cast<double>(offsetNs) / options_.speed;
    return start +
           std::chrono::nanoseconds(ns < static_cast<double>(kNeverNs) ? static_cast<int64_t>(ns) : kNeverNs);
}

void ReplayFeeder::logEnded(const ReplayLog& log)
{
    if (warned_)
        return;
    warned_ = true;
    std::string what;
    if (log.skippedLongFrames() > 0)
        what = std::to_string(log.skippedLongFrames()) + " CAN FD frames with more than 8 data bytes skipped";
    const std::string error = log.error();
    if (!error.empty())
        what += (what.empty() ? "" : "; ") + error + "; the replay stops there";
    if (!what.empty())
        std::fprintf(stderr, "%s: warning: replay log '%s': %s\n", options_.origin.c_str(), path_.c_str(),
                     what.c_str());
}

VirtualBus::State ReplayFeeder::playPaced(TimePoint* start, uint64_t session)
{
    Cursor cursor(*this);
    TessFrameT batch[kBatch];
    // Recording times that run backwards would give falling stamps; such a
    // frame counts as sent together with the frame before it.
    TimePoint lastDue = *start;
    int64_t firstNs = 0;
    uint64_t played = 0;
    const auto due = [&](const LogFrame& f) {
        return std::max(lastDue, dueTime(*start, nsBetween(firstNs, f.timeNs)));
    };
    for (const LogFrame* f; (f = cursor.peek()) != nullptr;) {
        if (played == 0)
            firstNs = f->timeNs;
        const VirtualBus::State state = bus_.sleepUntil(due(*f), session);
        if (state != VirtualBus::State::Active)
            return state;
        // Everything that is due by now goes out in one batch, each frame
        // stamped with the moment it was due.
        const TimePoint now = std::chrono::steady_clock::now();
        int n = 0;
        while (n < kBatch && (f = cursor.peek()) != nullptr) {
            const TimePoint d = due(*f);
            if (d > now && n > 0)
                break;
            batch[n++] = withStamp(f->frame, clock_.at(d));
            lastDue = d;
            cursor.pop();
            ++played;
        }
        bus_.deliver(batch, n);
    }
    // The next pass follows after the log's mean frame interval.
    const auto pass = lastDue - *start;
    *start =
        lastDue + (played > 1 ? pass / static_cast<int64_t>(played - 1) : std::chrono::milliseconds(100));
    if (played == 0) // the log went away: don't spin through it again and again
        return bus_.sleepUntil(*start, session);
    return VirtualBus::State::Active;
}

VirtualBus::State ReplayFeeder::playUnpaced(uint64_t session)
{
    Cursor cursor(*this);
    bool taken = false;
    uint64_t i = 0;
    // The end of the log is seen before the bus's state, so that a pass that
    // delivered the last frame has also given its warning.
    for (const LogFrame* f; (f = cursor.peek()) != nullptr; cursor.pop(), ++i) {
        if (i % kBatch == 0) {
            const VirtualBus::State state = bus_.state(session);
            if (state != VirtualBus::State::Active)
                return state;
        }
        const TessFrameT frame = withStamp(f->frame, clock_.now());
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
    uint64_t session = 0;
    while (bus_.waitForListener(&session) == VirtualBus::State::Active) {
        VirtualBus::State state = VirtualBus::State::Active;
        TimePoint start = std::chrono::steady_clock::now();
        do {
            state = options_.speed > 0 ? playPaced(&start, session) : playUnpaced(session);
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
