#include "netrate.h"

#include "tessbus.h"

NetRate netRate(const TrafficSample& earlier, const TrafficSample& later, double bitsPerSecond)
{
    const double elapsed = later.seconds - earlier.seconds;
    if (!(elapsed > 0) || later.frames < earlier.frames || later.bits < earlier.bits)
        return {};
    NetRate rate;
    rate.framesPerSecond = double(later.frames - earlier.frames) / elapsed;
    if (bitsPerSecond > 0)
        rate.loadPercent = double(later.bits - earlier.bits) / elapsed / bitsPerSecond * 100.0;
    return rate;
}

double bitRateOfBaud(int32_t baudCode)
{
    static const double indexRates[] = {1000000, 666666, 500000, 333333, 250000, 166666, 125000,
                                        100000,  66666,  50000,  33333,  20000,  12500,  10000};
    const auto code = uint32_t(baudCode);
    if (code < sizeof(indexRates) / sizeof(indexRates[0]))
        return indexRates[code];
    if ((code & ~0xFFFFu) != TESS_BAUD_BTR)
        return 0;
    // Prescaler from BTR0, the segments from BTR1; a bit is the sync
    // quantum and both segments, a quantum two oscillator periods times the
    // prescaler.
    const uint32_t prescaler = ((code >> 8) & 0x3F) + 1;
    const uint32_t quanta = 1 + ((code & 0x0F) + 1) + (((code >> 4) & 0x07) + 1);
    const double rate = 16e6 / (2.0 * prescaler * quanta);
    return rate <= 1e6 ? rate : 0; // the driver refuses faster register pairs
}
