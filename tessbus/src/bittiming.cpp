#include "bittiming.h"

#include "tessbus.h"

namespace tessbus {

namespace {
constexpr uint32_t kBitrates[kBaudIndexCount] = {1000000, 666666, 500000, 333333, 250000, 166666, 125000,
                                                 100000,  66666,  50000,  33333,  20000,  12500,  10000};
}

bool baudIndexToBitrate(int index, uint32_t* bitrate)
{
    if (index < 0 || index >= kBaudIndexCount)
        return false;
    *bitrate = kBitrates[index];
    return true;
}

BtrTiming decodeBtr(uint16_t btr01)
{
    const uint32_t btr0 = btr01 >> 8;
    const uint32_t btr1 = btr01 & 0xFF;
    BtrTiming t;
    t.brp = (btr0 & 0x3F) + 1;
    t.sjw = (btr0 >> 6) + 1;
    t.tseg1 = (btr1 & 0x0F) + 1;
    t.tseg2 = ((btr1 >> 4) & 0x07) + 1;
    t.tripleSampling = (btr1 >> 7) != 0;
    // One quantum lasts 2 * brp oscillator periods; a bit is sync + tseg1 + tseg2 quanta.
    const uint32_t ticksPerBit = 2 * t.brp * (1 + t.tseg1 + t.tseg2);
    t.bitrate = (kBtrOscillatorHz + ticksPerBit / 2) / ticksPerBit;
    const uint32_t quanta = 1 + t.tseg1 + t.tseg2;
    t.samplePoint = (1000 * (1 + t.tseg1) + quanta / 2) / quanta;
    t.tqNs = static_cast<uint32_t>(2ull * t.brp * 1000000000ull / kBtrOscillatorHz);
    return t;
}

bool parseBaud(uint32_t baud, BaudSetting* setting)
{
    BaudSetting s;
    if (baud & TESS_BAUD_BTR) {
        if (baud & ~(TESS_BAUD_BTR | 0xFFFFu))
            return false;
        s.isBtr = true;
        s.timing = decodeBtr(static_cast<uint16_t>(baud & 0xFFFF));
        s.bitrate = s.timing.bitrate;
        if (s.bitrate > kMaxBitrate)
            return false;
    } else if (baud >= static_cast<uint32_t>(kBaudIndexCount) ||
               !baudIndexToBitrate(static_cast<int>(baud), &s.bitrate)) {
        return false;
    }
    *setting = s;
    return true;
}

} // namespace tessbus
