#include "demovehicle.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tessbus {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kCycleSeconds = 120;

constexpr uint32_t kEngine = 0x100;
constexpr uint32_t kChassis = 0x1A0;
constexpr uint32_t kBatteryVoltage = 0x2F0;
constexpr uint32_t kBatteryCurrent = 0x2F1;
constexpr uint32_t kConsumption = 0x3C0;
constexpr uint32_t kTrip = 0x18FEF100 | TESS_ID_29BIT;
constexpr uint32_t kDynamics = 0x0CF00400 | TESS_ID_29BIT;

void putLe(uint8_t* at, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        at[i] = static_cast<uint8_t>(value >> (8 * i));
}

void putBe(uint8_t* at, uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        at[bytes - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t floatBits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

uint64_t doubleBits(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

// Two's complement bits of a signed value, clamped to its width.
uint64_t signedBits(double value, int bytes)
{
    const double limit = std::ldexp(1.0, 8 * bytes - 1);
    const auto v = static_cast<int64_t>(std::clamp(std::round(value), -limit, limit - 1));
    return static_cast<uint64_t>(v);
}

uint64_t unsignedBits(double value, int bytes)
{
    const double limit = std::ldexp(1.0, 8 * bytes) - 1;
    return static_cast<uint64_t>(std::clamp(std::round(value), 0.0, limit));
}

double wave(double t, double period)
{
    return std::sin(2 * kPi * t / period);
}

} // namespace

const std::vector<DemoMessage>& DemoVehicle::messages()
{
    static const std::vector<DemoMessage> list = {
        {kEngine, 10},      {kChassis, 20}, {kBatteryVoltage, 100}, {kBatteryCurrent, 100},
        {kConsumption, 50}, {kTrip, 100},   {kDynamics, 50},
    };
    return list;
}

DemoVehicle::Phase DemoVehicle::phase() const
{
    const double t = std::fmod(time_, kCycleSeconds);
    if (t < 10)
        return Phase::Idle;
    if (t < 35)
        return Phase::Accelerate;
    if (t < 75)
        return Phase::Cruise;
    if (t < 95)
        return Phase::Brake;
    return Phase::Manoeuvre;
}

double DemoVehicle::targetSpeed() const
{
    const double t = std::fmod(time_, kCycleSeconds);
    switch (phase()) {
    case Phase::Idle:
        return 0;
    case Phase::Accelerate:
        return 100 * (t - 10) / 25;
    case Phase::Cruise:
        return 100 + 5 * wave(t - 35, 20);
    case Phase::Brake:
        return std::max(0.0, 100 * (1 - (t - 75) / 18));
    case Phase::Manoeuvre:
        return 6 * std::pow(std::sin(kPi * (t - 95) / 25), 2);
    }
    return 0;
}

void DemoVehicle::advance(double dt)
{
    if (dt <= 0)
        return;
    time_ += dt;
    const double t = std::fmod(time_, kCycleSeconds);
    const Phase p = phase();

    // Speed follows the cycle's target with a time constant of one second.
    const double before = speed_;
    speed_ += (targetSpeed() - speed_) * std::min(1.0, dt / 1.0);
    speed_ = std::max(0.0, speed_);
    acceleration_ = (speed_ - before) / 3.6 / dt;
    distance_ += speed_ / 3.6 * dt;

    static const double ratio[] = {0, 110, 62, 42, 32, 26, 22}; // rpm per km/h in each gear
    if (speed_ < 0.5)
        gear_ = 0;
    else if (speed_ < 18)
        gear_ = 1;
    else if (speed_ < 32)
        gear_ = 2;
    else if (speed_ < 50)
        gear_ = 3;
    else if (speed_ < 68)
        gear_ = 4;
    else if (speed_ < 85)
        gear_ = 5;
    else
        gear_ = 6;

    switch (p) {
    case Phase::Idle:
        throttle_ = 0;
        break;
    case Phase::Accelerate:
        throttle_ = 62 + 15 * wave(t, 4);
        break;
    case Phase::Cruise:
        throttle_ = 24 + 4 * wave(t - 35, 20);
        break;
    case Phase::Brake:
        throttle_ = 0;
        break;
    case Phase::Manoeuvre:
        throttle_ = speed_ > 0.5 ? 8 : 0;
        break;
    }
    // An idling engine never runs quite even.
    const double targetRpm =
        gear_ == 0 ? 800 + 4 * throttle_ + 15 * wave(time_, 1.3) : std::max(850.0, speed_ * ratio[gear_]);
    rpm_ += (targetRpm - rpm_) * std::min(1.0, dt / 0.2);
    torque_ = p == Phase::Brake ? -40 + 10 * wave(t, 3) : 20 + 3.2 * throttle_;

    if (p == Phase::Cruise)
        steering_ = 8 * wave(t, 9);
    else if (p == Phase::Manoeuvre)
        steering_ = 90 * wave(t - 95, 12.5);
    else
        steering_ = 2 * wave(t, 5);

    fuel_ += (0.25 + 0.04 * throttle_) * dt;
}

TessFrame DemoVehicle::frame(uint32_t id)
{
    TessFrame f{};
    f.id = id;
    f.len = 8;
    uint8_t* d = f.data;
    const double t = std::fmod(time_, kCycleSeconds);
    const Phase p = phase();
    switch (id) {
    case kEngine:
        putLe(d, unsignedBits(rpm_ * 4, 2), 2);
        d[2] = static_cast<uint8_t>(signedBits(90 - 70 * std::exp(-time_ / 90), 1));
        d[3] = static_cast<uint8_t>(unsignedBits(throttle_ / 0.4, 1));
        putBe(d + 4, signedBits(torque_ * 10, 2), 2);
        d[7] = aliveCounter_++;
        break;
    case kChassis:
        putLe(d, floatBits(static_cast<float>(speed_)), 4);
        putBe(d + 4, signedBits(steering_ * 1000, 4), 4);
        break;
    case kBatteryVoltage:
        putBe(d, doubleBits(14.1 - 0.4 * std::exp(-time_ / 20) + 0.05 * wave(time_, 3)), 8);
        break;
    case kBatteryCurrent: {
        double current = 5 + 30 * std::exp(-time_ / 40) + 2 * wave(time_, 9);
        if (p == Phase::Manoeuvre)
            current -= 30 * std::abs(wave(t - 95, 12.5)); // power steering draws from the battery
        putLe(d, doubleBits(current), 8);
        break;
    }
    case kConsumption:
        // The sensor also feels the engine's vibration.
        putLe(d, signedBits(acceleration_ * 1000 + 15 * wave(time_, 0.7), 4), 4);
        putBe(d + 4, unsignedBits(fuel_, 4), 4);
        break;
    case kTrip: {
        putLe(d, unsignedBits(distance_, 4), 4);
        int mode = 2;
        if (speed_ < 0.5)
            mode = 0;
        else if (p == Phase::Accelerate)
            mode = 3;
        else if (p == Phase::Cruise)
            mode = 1;
        d[4] = static_cast<uint8_t>((mode << 4) | gear_);
        d[5] = static_cast<uint8_t>(signedBits(21 + 0.5 * wave(time_, 240), 1));
        break;
    }
    case kDynamics: {
        const double wheelAngle = steering_ / 15 * kPi / 180;
        const double yawRate = speed_ / 3.6 * std::tan(wheelAngle) / 2.7 * 180 / kPi;
        putLe(d, signedBits(yawRate * 100, 2), 2);
        const double boost = rpm_ > 1500 ? 1000 + std::max(0.0, throttle_ - 10) * 12 : 1000;
        putBe(d + 2, unsignedBits(boost, 2), 2);
        const double oil = 20 + 85 * (1 - std::exp(-time_ / 150)) + 0.3 * wave(time_, 7);
        putBe(d + 4, floatBits(static_cast<float>(oil)), 4);
        break;
    }
    default:
        f.len = 0;
        break;
    }
    return f;
}

} // namespace tessbus
