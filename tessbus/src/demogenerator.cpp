#include "demogenerator.h"

#include <chrono>
#include <cstddef>
#include <cstring>

namespace tessbus {

namespace {
constexpr int kTickMs = 10; // every period is a multiple of it
}

DemoGenerator::DemoGenerator(VirtualBus& bus, const TimestampClock& clock)
    : bus_(bus), clock_(clock), thread_(&DemoGenerator::run, this)
{}

DemoGenerator::~DemoGenerator()
{
    bus_.stop();
    thread_.join();
}

void DemoGenerator::run()
{
    using Clock = std::chrono::steady_clock;
    const auto& messages = DemoVehicle::messages();
    const auto tick = std::chrono::milliseconds(kTickMs);
    uint64_t tickCount = 0;
    TessFrameT batch[16];
    uint64_t session = 0;
    while (bus_.waitForListener(&session) == VirtualBus::State::Active) {
        auto next = Clock::now();
        VirtualBus::State state;
        while ((state = bus_.sleepUntil(next, session)) == VirtualBus::State::Active) {
            vehicle_.advance(kTickMs / 1000.0);
            const uint64_t stamp = clock_.at(next);
            int n = 0;
            for (size_t i = 0; i < messages.size() && n < 16; ++i) {
                const uint64_t periodTicks = static_cast<uint64_t>(messages[i].periodMs / kTickMs);
                // Messages of one period are spread over its ticks, as real nodes drift apart.
                if ((tickCount + i) % periodTicks != 0)
                    continue;
                const TessFrame f = vehicle_.frame(messages[i].id);
                TessFrameT& out = batch[n++];
                static_assert(sizeof(TessFrame) == offsetof(TessFrameT, timestamp), "prefix");
                std::memcpy(&out, &f, sizeof(f));
                out.timestamp = stamp;
            }
            if (n > 0)
                bus_.deliver(batch, n);
            ++tickCount;
            next += tick;
            // After a stall (a stopped debugger, an overloaded machine) carry
            // on from now instead of sending the missed frames in a burst.
            if (Clock::now() - next > std::chrono::milliseconds(200))
                next = Clock::now();
        }
        if (state == VirtualBus::State::Stopping)
            return;
    }
}

} // namespace tessbus
