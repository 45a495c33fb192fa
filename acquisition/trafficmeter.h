#ifndef TRAFFICMETER_H
#define TRAFFICMETER_H

#include "netinfo.h"
#include "netrate.h"

#include <QString>

#include <vector>

// The frame rate and bus load of the nets that a run uses, from the
// driver's traffic counters read on each net's info handle. The owner
// samples it, say once a second; each sample gives the rates since the one
// before. The driver counts, so the capture path does no work for it.
class TrafficMeter
{
public:
    struct Net
    {
        int net;
        double bitsPerSecond; // 0 when not known: no load then
    };

    // Begins anew on these nets, with a first sample taken at `seconds`.
    void start(const NetTable& nets, const std::vector<Net>& used, double seconds);
    void sample(const NetTable& nets, double seconds);

    // The rate of a net over the last interval, as "220 fr/s 6.1 %";
    // empty until the net has been sampled twice, or if it isn't metered.
    QString rateText(int net) const;
    // "Net 0: 220 fr/s 6.1 %" of every measured net, two blanks apart.
    QString summary() const;

private:
    struct Metered
    {
        Net net;
        TrafficSample last;
        bool sampled = false; // last holds a reading
        NetRate rate;
        bool measured = false;
    };
    std::vector<Metered> metered;
};

#endif // TRAFFICMETER_H
