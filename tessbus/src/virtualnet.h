// A simulated net inside the process: plain (frames come only from the test
// interface), or fed by a frame source (the demo vehicle, a replayed log).
#pragma once

#include "net.h"
#include "timestampclock.h"
#include "virtualbus.h"

#include <memory>

namespace tessbus {

// Something that puts frames onto a virtual bus from a thread of its own.
// The destructor ends that thread; the bus has been stopped before.
class FrameSource
{
public:
    virtual ~FrameSource() = default;
};

class VirtualNet : public Net
{
public:
    explicit VirtualNet(NetDescription description);
    ~VirtualNet() override;

    VirtualBus& bus() { return bus_; }
    const TimestampClock& clock() const { return clock_; }
    void setSource(std::unique_ptr<FrameSource> source) { source_ = std::move(source); }

    int open(const OpenParams& params, std::shared_ptr<Handle>* handle) override;
    uint64_t timestampNow() const override { return clock_.now(); }
    int traffic(TessTraffic* out) override
    {
        *out = bus_.traffic();
        return TESS_OK;
    }
    void shutdown() override;
    bool isVirtual() const override { return true; }

    int inject(const TessFrame* frames, int count);
    int injectT(const TessFrameT* frames, int count);
    void pinTimestamp(uint64_t value) { clock_.pin(value); }

private:
    TimestampClock clock_;
    VirtualBus bus_;
    std::unique_ptr<FrameSource> source_;
};

// Checks a frame that a test puts onto a net.
bool isValidInjectedFrame(const TessFrame& frame);

} // namespace tessbus
