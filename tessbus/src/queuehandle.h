// A handle on a virtual net: a bounded ring of received frames. When the
// ring is full the oldest frame gives way, and the next frame delivered
// carries how many were lost before it.
#pragma once

#include "idfilter.h"
#include "net.h"

#include <condition_variable>
#include <mutex>
#include <vector>

namespace tessbus {

class VirtualBus;

class QueueHandle : public Handle
{
public:
    QueueHandle(std::shared_ptr<Net> net, VirtualBus& bus, const OpenParams& params);

    int setBaudrate(uint32_t baud, const BaudSetting& setting) override;
    int addId(uint32_t id) override;
    int read(const ReadTarget& target, int* count) override;
    void close() override;

    // Called by the bus, with its handle list locked. True when the handle
    // took a frame.
    bool offer(const TessFrameT* frames, int count);
    bool hasRoomFor(const TessFrameT* frames, int count);

private:
    void startListeningLocked();
    void push(const TessFrameT& frame);

    VirtualBus& bus_;
    const int rxTimeoutMs_;

    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<TessFrameT> ring_;
    size_t head_ = 0;
    size_t size_ = 0;
    uint32_t lost_ = 0; // dropped since the last delivered frame
    IdFilter filter_;
    bool reading_ = false;
    bool listening_ = false;
    bool closed_ = false;
    int waiting_ = 0;
    // Waiting reads that the net counts as blocked on an empty queue. Frames
    // end that for all of them at once, before the readers even wake, so a
    // test that waits for blocked readers knows the queues are empty.
    int countedWaiters_ = 0;
    uint64_t arrivals_ = 0; // batches of frames taken so far
};

} // namespace tessbus
