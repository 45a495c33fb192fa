// The wire of a virtual net: counts every frame, hands it to the handles
// that admit its id, and tells the net's frame source whether anybody
// listens.
#pragma once

#include "tessbus.h"
#include "traffic.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tessbus {

class QueueHandle;

class VirtualBus
{
public:
    enum class State { Active, Idle, Stopping };
    using TimePoint = std::chrono::steady_clock::time_point;

    void attach(const std::shared_ptr<QueueHandle>& handle);
    void detach(const QueueHandle* handle);

    void deliver(const TessFrameT* frames, int count);
    // Delivers only when every handle that admits a frame has room for it,
    // so that nothing is lost; returns -1 and delivers nothing otherwise,
    // else the number of handles that took a frame.
    int deliverWithoutLoss(const TessFrameT* frames, int count);
    // Frames are counted before any handle receives them, so a reader that
    // got a frame finds it counted.
    TessTraffic traffic() const { return traffic_.totals(); }

    // A listener is a handle that admits an id and has begun to read. Frame
    // sources run only while there is one, so an unwatched demo net rests.
    void listenerStarted();
    void listenerStopped();

    // Blocks until there is a listener or the bus stops. A listening
    // session lasts from the first listener to the last one leaving;
    // `session` tells which one is active.
    State waitForListener(uint64_t* session);
    // Sleeps until the deadline; returns early when the session ended (even
    // if a new one began meanwhile) or the bus stops.
    State sleepUntil(TimePoint deadline, uint64_t session);
    State state(uint64_t session);
    void stop();

private:
    State stateLocked(uint64_t session) const;

    TrafficCounter traffic_;
    std::mutex handlesMutex_; // held while frames are handed out
    std::vector<std::shared_ptr<QueueHandle>> handles_;

    std::mutex activityMutex_;
    std::condition_variable activityChanged_;
    int listeners_ = 0;
    uint64_t session_ = 0;
    bool stopping_ = false;
};

} // namespace tessbus
