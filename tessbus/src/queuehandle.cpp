#include "queuehandle.h"

#include "virtualbus.h"

#include <algorithm>
#include <chrono>

namespace tessbus {

QueueHandle::QueueHandle(std::shared_ptr<Net> net, VirtualBus& bus, const OpenParams& params)
    : Handle(std::move(net)), bus_(bus), rxTimeoutMs_(params.rxTimeoutMs),
      ring_(static_cast<size_t>(params.rxQueue))
{}

int QueueHandle::setBaudrate(uint32_t baud, const BaudSetting&)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_)
        return TESS_ERR_HANDLE;
    rememberBaud(baud); // a simulated bus runs at any valid rate
    return TESS_OK;
}

int QueueHandle::addId(uint32_t id)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_)
        return TESS_ERR_HANDLE;
    filter_.add(id);
    if (reading_)
        startListeningLocked();
    return TESS_OK;
}

void QueueHandle::startListeningLocked()
{
    if (listening_ || closed_ || filter_.empty())
        return;
    listening_ = true;
    bus_.listenerStarted();
}

int QueueHandle::read(const ReadTarget& target, int* count)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (closed_)
        return TESS_ERR_HANDLE;
    if (!reading_) {
        reading_ = true;
        startListeningLocked();
    }
    if (size_ == 0) {
        ++waiting_;
        ++countedWaiters_;
        net().readerBlocked();
        const uint64_t arrivalsBefore = arrivals_;
        const auto ready = [this] { return size_ > 0 || closed_; };
        bool got = true;
        if (rxTimeoutMs_ > 0)
            got = arrived_.wait_for(lock, std::chrono::milliseconds(rxTimeoutMs_), ready);
        else
            arrived_.wait(lock, ready);
        if (arrivals_ == arrivalsBefore) {
            // No frames came, so offer() has not uncounted this read.
            --countedWaiters_;
            net().readerUnblocked();
        }
        --waiting_;
        if (closed_)
            return TESS_ERR_HANDLE;
        if (!got)
            return TESS_ERR_TIMEOUT;
    }
    const size_t n = std::min(size_, static_cast<size_t>(*count));
    const size_t capacity = ring_.size();
    for (size_t i = 0; i < n; ++i) {
        TessFrameT& frame = ring_[(head_ + i) % capacity];
        if (i == 0) {
            frame.lost = static_cast<uint8_t>(std::min<uint32_t>(lost_, 255));
            lost_ = 0;
        }
        target.put(static_cast<int>(i), frame);
    }
    head_ = (head_ + n) % capacity;
    size_ -= n;
    *count = static_cast<int>(n);
    return TESS_OK;
}

void QueueHandle::close()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        if (listening_) {
            listening_ = false;
            bus_.listenerStopped();
        }
        arrived_.notify_all();
    }
    bus_.detach(this);
}

void QueueHandle::push(const TessFrameT& frame)
{
    const size_t capacity = ring_.size();
    if (size_ == capacity) {
        // Keep the newest frames: the oldest gives way, so every lost frame
        // lies before the one that will be delivered next.
        head_ = (head_ + 1) % capacity;
        --size_;
        if (lost_ < UINT32_MAX)
            ++lost_;
    }
    TessFrameT& slot = ring_[(head_ + size_) % capacity];
    slot = frame;
    slot.lost = 0;
    slot.reserved = 0;
    ++size_;
}

bool QueueHandle::offer(const TessFrameT* frames, int count)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_ || filter_.empty())
        return false;
    bool pushed = false;
    for (int i = 0; i < count; ++i) {
        if (filter_.admits(frames[i].id)) {
            push(frames[i]);
            pushed = true;
        }
    }
    if (pushed) {
        ++arrivals_;
        for (; countedWaiters_ > 0; --countedWaiters_)
            net().readerUnblocked();
        if (waiting_ > 0)
            arrived_.notify_all();
    }
    return pushed;
}

bool QueueHandle::hasRoomFor(const TessFrameT* frames, int count)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_ || filter_.empty())
        return true;
    size_t wanted = 0;
    for (int i = 0; i < count; ++i) {
        if (filter_.admits(frames[i].id))
            ++wanted;
    }
    return wanted == 0 || size_ + wanted <= ring_.size();
}

} // namespace tessbus
