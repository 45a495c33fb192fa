// The small vehicle that a demo net simulates: a drive cycle of two
// minutes (idle, accelerate, cruise, brake, manoeuvre) and the frames that
// carry its signals, in every data type and both byte orders.
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
    // The messages and their periods, in a fixed order.
    static const std::vector<DemoMessage>& messages();

    // Moves the simulation on by dt seconds.
    void advance(double dt);
    // Builds the frame of one message from the present state.
    TessFrame frame(uint32_t id);

    double time() const { return time_; }
    double speedKmh() const { return speed_; }
    int gear() const { return gear_; }
    double engineSpeedRpm() const { return rpm_; }

private:
    enum class Phase { Idle, Accelerate, Cruise, Brake, Manoeuvre };
    Phase phase() const;
    double targetSpeed() const;

    double time_ = 0;         // s since the start of the simulation
    double speed_ = 0;        // km/h
    double acceleration_ = 0; // m/s^2
    double rpm_ = 800;
    double throttle_ = 0; // %
    double torque_ = 20;  // Nm
    double steering_ = 0; // degrees at the wheel
    double distance_ = 0; // m
    double fuel_ = 0;     // ml
    int gear_ = 0;        // 0 neutral
    uint8_t aliveCounter_ = 0;
};

} // namespace tessbus
