// The small vehicle that a demo net simulates: a lively drive cycle of 30 s
// that starts moving at once (pull away while steering out, shift up to
// 100 km/h, change lanes, brake, turn at a junction, stop), and the frames
// that carry its signals, in every data type and both byte orders.
#pragma once

#include "tessbus.h"

#include <cstdint>
#include <vector>

namespace tessbus {

struct DemoMessage
{
    uint32_t id; // with TESS_ID_29BIT where it applies
    int periodMs;
};

class DemoVehicle
{
public:
    static constexpr double kCycleSeconds = 30;

    // The messages and their periods, in a fixed order.
    static const std::vector<DemoMessage>& messages();

    // Moves the simulation on by dt seconds.
    void advance(double dt);
    // Builds the frame of one message from the present state.
    TessFrame frame(uint32_t id);

private:
    void shift(double targetSpeed);

    double time_ = 0;         // s since the start of the simulation
    double speed_ = 0;        // km/h
    double acceleration_ = 0; // m/s^2
    double rpm_ = 800;
    double throttle_ = 0; // %
    double torque_ = 20;  // Nm
    double steering_ = 0; // degrees at the wheel, left positive
    double distance_ = 0; // m
    double fuel_ = 0;     // ml
    int gear_ = 0;        // 0 neutral
    double shifting_ = 0; // s left of a gear change, while the clutch is open
    int mode_ = 0;        // 0 stand, 1 eco, 2 normal, 3 sport
    uint8_t aliveCounter_ = 0;
};

} // namespace tessbus
