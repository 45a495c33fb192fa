#include "trafficmeter.h"

#include <QStringList>

namespace {

bool readTraffic(const NetTable& nets, int net, double seconds, TrafficSample* sample)
{
    TessTraffic traffic{};
    if (net < 0 || net >= int(nets.size()) ||
        tessIoctl(nets[size_t(net)].infoHandle, TESS_IOCTL_GET_TRAFFIC, &traffic) != 0)
        return false;
    *sample = {traffic.frames, traffic.bits, seconds};
    return true;
}

} // namespace

void TrafficMeter::start(const NetTable& nets, const std::vector<Net>& used, double seconds)
{
    metered.clear();
    for (const Net& net : used) {
        Metered entry{net, {}, false, {}, false};
        entry.sampled = readTraffic(nets, net.net, seconds, &entry.last);
        metered.push_back(entry);
    }
}

void TrafficMeter::sample(const NetTable& nets, double seconds)
{
    for (Metered& entry : metered) {
        TrafficSample now;
        if (!readTraffic(nets, entry.net.net, seconds, &now))
            continue;
        if (entry.sampled) {
            entry.rate = netRate(entry.last, now, entry.net.bitsPerSecond);
            entry.measured = true;
        }
        entry.last = now;
        entry.sampled = true;
    }
}

QString TrafficMeter::rateText(int net) const
{
    for (const Metered& entry : metered) {
        if (entry.net.net != net || !entry.measured)
            continue;
        QString text = QString::asprintf("%.0f fr/s", entry.rate.framesPerSecond);
        if (entry.net.bitsPerSecond > 0)
            text += QString::asprintf(" %.1f %%", entry.rate.loadPercent);
        return text;
    }
    return QString();
}

QString TrafficMeter::summary() const
{
    QStringList parts;
    for (const Metered& entry : metered) {
        if (entry.measured)
            parts << QStringLiteral("Net %1: ").arg(entry.net.net) + rateText(entry.net.net);
    }
    return parts.join(QStringLiteral("  "));
}
