// Baud values of the driver interface: the index list and SJA1000 BTR0/BTR1
// register pairs. Pure code, shared by all backends and unit-tested alone.
#pragma once

#include <cstdint>

namespace tessbus {

constexpr int kBaudIndexCount = 14;
// Oscillator of the SJA1000 that BTR0/BTR1 values are written for.
constexpr uint32_t kBtrOscillatorHz = 16000000;
// Classical CAN stops at 1 Mbit/s; register pairs that give more are refused.
constexpr uint32_t kMaxBitrate = 1000000;

// Bit rate of a baud index 0..13; false for any other index.
bool baudIndexToBitrate(int index, uint32_t* bitrate);

// Bit timing decoded from BTR0 (high byte) and BTR1 (low byte).
struct BtrTiming
{
    uint32_t brp = 0;   // prescaler, 1..64
    uint32_t sjw = 0;   // synchronisation jump width in time quanta, 1..4
    uint32_t tseg1 = 0; // time quanta before the sample point (without sync), 1..16
    uint32_t tseg2 = 0; // time quanta after it, 1..8
    bool tripleSampling = false;
    uint32_t bitrate = 0;     // bit/s, rounded
    uint32_t samplePoint = 0; // tenths of a percent, as the kernel counts
    uint32_t tqNs = 0;        // length of one time quantum in ns
};

BtrTiming decodeBtr(uint16_t btr01);

// A baud value as tessSetBaudrate takes it, decoded.
struct BaudSetting
{
    bool isBtr = false;
    uint32_t bitrate = 0;
    BtrTiming timing; // only with isBtr
};

// Checks a baud value: an index 0..13, or TESS_BAUD_BTR plus a 16-bit
// register pair whose bit rate doesn't exceed kMaxBitrate. No other bits.
bool parseBaud(uint32_t baud, BaudSetting* setting);

} // namespace tessbus
