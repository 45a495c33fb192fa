#include "demovehicle.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tessbus {

namespace {

constexpr double kPi = 3.14159265358979323846;

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

// One point of the cycle: at `t` seconds the value is `v`.
struct Key
{
    double t, v;
};

// The drive: pull away at once, shift up to 100 km/h, cruise, brake, slow
// for a junction, turn, roll on and stop; then from the start again.
constexpr Key kSpeed[] = {{0, 0},   {3, 22},  {6, 48},  {10, 80},   {13, 100}, {16, 100}, {19, 60},
                          {21, 45}, {23, 27}, {25, 22}, {26.5, 28}, {28.8, 0}, {30, 0}};
// Steering out of the parking space and back, a lane change at 60 and one
// at 100 km/h, the left turn at the junction, a last swerve to the right.
constexpr Key kSteering[] = {{0, 0},     {0.6, 0},    {1.8, 45},   {3.0, 45},  {4.2, -20}, {5.2, 0},
                             {6.6, 0},   {7.4, 12},   {8.4, -12},  {9.2, 0},   {13.4, 0},  {14.2, 8},
                             {15.0, -8}, {15.8, 0},   {23.0, 0},   {24.0, 90}, {25.0, 90}, {26.0, 0},
                             {26.6, 0},  {27.4, -30}, {28.4, -30}, {29.2, 0},  {30, 0}};

// The key at or before `t`; the one after it follows in the array.
template <size_t N> const Key* keyBefore(const Key (&keys)[N], double t)
{
    size_t i = 0;
    while (i + 2 < N && t >= keys[i + 1].t)
        ++i;
    return &keys[i];
}

// Straight lines between the keys: constant acceleration.
template <size_t N> double linear(const Key (&keys)[N], double t)
{
    const Key* k = keyBefore(keys, t);
    return k[0].v + (k[1].v - k[0].v) * (t - k[0].t) / (k[1].t - k[0].t);
}

template <size_t N> double slope(const Key (&keys)[N], double t)
{
    const Key* k = keyBefore(keys, t);
    return (k[1].v - k[0].v) / (k[1].t - k[0].t);
}

// Eased between the keys, as hands turn a wheel.
template <size_t N> double smooth(const Key (&keys)[N], double t)
{
    const Key* k = keyBefore(keys, t);
    const double x = std::clamp((t - k[0].t) / (k[1].t - k[0].t), 0.0, 1.0);
    return k[0].v + (k[1].v - k[0].v) * x * x * (3 - 2 * x);
}

constexpr double kRatio[] = {0, 110, 62, 42, 32, 26, 22};   // rpm per km/h in each gear
constexpr double kUpshift[] = {0, 20, 36, 55, 72, 88};      // km/h above which gear g shifts up
constexpr double kDownshift[] = {0, 0, 12, 26, 42, 58, 74}; // km/h below which gear g shifts down
constexpr double kShiftSeconds = 0.3;

} // namespace

const std::vector<DemoMessage>& DemoVehicle::messages()
{
    static const std::vector<DemoMessage> list = {
        {kEngine, 10},      {kChassis, 20}, {kBatteryVoltage, 100}, {kBatteryCurrent, 100},
        {kConsumption, 50}, {kTrip, 100},   {kDynamics, 50},
    };
    return list;
}

void DemoVehicle::shift(double targetSpeed)
{
    int next = gear_;
    if (speed_ < 0.5 && targetSpeed < 0.5)
        next = 0;
    else if (gear_ == 0)
        next = 1;
    else if (gear_ < 6 && speed_ > kUpshift[gear_])
        next = gear_ + 1;
    else if (gear_ > 1 && speed_ < kDownshift[gear_])
        next = gear_ - 1;
    if (next > gear_ && gear_ > 0)
        shifting_ = kShiftSeconds;
    gear_ = next;
}

void DemoVehicle::advance(double dt)
{
    if (dt <= 0)
        return;
    time_ += dt;
    const double t = std::fmod(time_, kCycleSeconds);
    const double target = linear(kSpeed, t);
    const double demand = slope(kSpeed, t) / 3.6; // m/s^2 that the driver asks for
    shifting_ = std::max(0.0, shifting_ - dt);

    // Speed follows the cycle with a lag of 0.4 s, and hardly gains while
    // the clutch is open for a gear change.
    const double before = speed_;
    double gain = std::min(1.0, dt / 0.4);
    if (shifting_ > 0 && target > speed_)
        gain *= 0.25;
    speed_ = std::max(0.0, speed_ + (target - speed_) * gain);
    acceleration_ = (speed_ - before) / 3.6 / dt;
    distance_ += speed_ / 3.6 * dt;
    shift(target);

    // Gas to hold the speed against the wind and more to gain speed; none
    // while braking or standing.
    const bool driving = target > 0.5 && demand > -0.2;
    throttle_ = driving ? std::min(100.0, 6 + 0.0025 * speed_ * speed_ + 22 * std::max(0.0, demand)) : 0;
    if (shifting_ > 0)
        throttle_ *= 0.15;
    double targetRpm;
    if (gear_ == 0) // an idling engine never runs quite even
        targetRpm = 800 + 4 * throttle_ + 15 * wave(time_, 1.3);
    else if (gear_ == 1) // the clutch slips while pulling away
        targetRpm = std::max(speed_ * kRatio[1], 900 + 10 * throttle_);
    else
        targetRpm = std::max(850.0, speed_ * kRatio[gear_]);
    rpm_ += (targetRpm - rpm_) * std::min(1.0, dt / 0.2);
    torque_ = demand < -0.5 ? -40 + 10 * wave(t, 3) : 20 + 3.2 * throttle_;
    steering_ = smooth(kSteering, t);

    if (speed_ < 0.5)
        mode_ = 0;
    else if (acceleration_ > 1.2)
        mode_ = 3;
    else if (speed_ > 60 && std::abs(acceleration_) < 0.3)
        mode_ = 1;
    else
        mode_ = 2;
    fuel_ += (0.25 + 0.04 * throttle_) * dt;
}

TessFrame DemoVehicle::frame(uint32_t id)
{
    TessFrame f{};
    f.id = id;
    f.len = 8;
    uint8_t* d = f.data;
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
        if (speed_ < 40) // power steering draws from the battery when the wheel turns far
            current -= 0.33 * std::abs(steering_);
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
        d[4] = static_cast<uint8_t>((mode_ << 4) | gear_);
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
