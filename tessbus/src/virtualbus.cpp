#include "virtualbus.h"

#include "queuehandle.h"

#include <algorithm>

namespace tessbus {

void VirtualBus::attach(const std::shared_ptr<QueueHandle>& handle)
{
    std::lock_guard<std::mutex> lock(handlesMutex_);
    handles_.push_back(handle);
}

void VirtualBus::detach(const QueueHandle* handle)
{
    std::lock_guard<std::mutex> lock(handlesMutex_);
    handles_.erase(
        std::remove_if(handles_.begin(), handles_.end(),
                       [handle](const std::shared_ptr<QueueHandle>& h) { return h.get() == handle; }),
        handles_.end());
}

void VirtualBus::deliver(const TessFrameT* frames, int count)
{
    traffic_.count(frames, count);
    std::lock_guard<std::mutex> lock(handlesMutex_);
    for (const auto& handle : handles_)
        handle->offer(frames, count);
}

int VirtualBus::deliverWithoutLoss(const TessFrameT* frames, int count)
{
    std::lock_guard<std::mutex> lock(handlesMutex_);
    for (const auto& handle : handles_) {
        if (!handle->hasRoomFor(frames, count))
            return -1;
    }
    traffic_.count(frames, count);
    int takers = 0;
    for (const auto& handle : handles_) {
        if (handle->offer(frames, count))
            ++takers;
    }
    return takers;
}

void VirtualBus::listenerStarted()
{
    std::lock_guard<std::mutex> lock(activityMutex_);
    if (listeners_++ == 0)
        ++session_;
    activityChanged_.notify_all();
}

void VirtualBus::listenerStopped()
{
    std::lock_guard<std::mutex> lock(activityMutex_);
    --listeners_;
    activityChanged_.notify_all();
}

VirtualBus::State VirtualBus::stateLocked(uint64_t session) const
{
    if (stopping_)
        return State::Stopping;
    return listeners_ > 0 && session == session_ ? State::Active : State::Idle;
}

VirtualBus::State VirtualBus::waitForListener(uint64_t* session)
{
    std::unique_lock<std::mutex> lock(activityMutex_);
    activityChanged_.wait(lock, [this] { return stopping_ || listeners_ > 0; });
    *session = session_;
    return stateLocked(session_);
}

VirtualBus::State VirtualBus::sleepUntil(TimePoint deadline, uint64_t session)
{
    std::unique_lock<std::mutex> lock(activityMutex_);
    activityChanged_.wait_until(lock, deadline,
                                [this, session] { return stateLocked(session) != State::Active; });
    return stateLocked(session);
}

VirtualBus::State VirtualBus::state(uint64_t session)
{
    std::lock_guard<std::mutex> lock(activityMutex_);
    return stateLocked(session);
}

void VirtualBus::stop()
{
    std::lock_guard<std::mutex> lock(activityMutex_);
    stopping_ = true;
    activityChanged_.notify_all();
}

} // namespace tessbus
