#ifndef NETRATE_H
#define NETRATE_H

#include <cstdint>

// Frame rate and bus load of a net, from two samples of the driver's
// cumulative traffic counters (TESS_IOCTL_GET_TRAFFIC) taken, say, a second
// apart. Plain code without widgets, for the status bar and the tooltips.

struct TrafficSample
{
    uint64_t frames = 0;
    uint64_t bits = 0;
    double seconds = 0; // when it was taken; both samples on the same clock
};

struct NetRate
{
    double framesPerSecond = 0;
    // Bits on the wire against the bit rate. The driver counts bit stuffing
    // at its worst, so a saturated bus may read somewhat above 100.
    double loadPercent = 0;
};

// Zeros when no time lies between the samples or the counters went back
// (the driver made its nets anew); no load without a bit rate.
NetRate netRate(const TrafficSample& earlier, const TrafficSample& later, double bitsPerSecond);

// The bit rate of a baud code as the curve table and tessSetBaudrate take
// it: an index 0 ("1000.0") to 13 ("10.0"), or TESS_BAUD_BTR plus BTR0/BTR1
// of an SJA1000 at 16 MHz; 0 for anything else.
double bitRateOfBaud(int32_t baudCode);

#endif // NETRATE_H
