// The thread of a demo net: puts the demo vehicle's frames onto the bus at
// their periods while somebody listens, and rests otherwise.
#pragma once

#include "demovehicle.h"
#include "virtualnet.h"

#include <thread>

namespace tessbus {

class DemoGenerator : public FrameSource
{
public:
    DemoGenerator(VirtualBus& bus, const TimestampClock& clock);
    ~DemoGenerator() override;

private:
    void run();

    VirtualBus& bus_;
    const TimestampClock& clock_;
    DemoVehicle vehicle_;
    std::thread thread_;
};

} // namespace tessbus
