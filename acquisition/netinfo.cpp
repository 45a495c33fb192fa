#include "netinfo.h"

bool hasFeature(const TessStatus& status, uint16_t feature)
{
    return (status.features & feature) != 0;
}

namespace {

// Reads the counter first, then its frequency; each field is 0 when its
// call fails.
void readTimestampCounter(NetInfo& info)
{
    if (tessIoctl(info.infoHandle, TESS_IOCTL_GET_TIMESTAMP, &info.timestampAtStart) != 0)
        info.timestampAtStart = 0;
    if (tessIoctl(info.infoHandle, TESS_IOCTL_GET_TIMESTAMP_FREQ, &info.timestampFrequency) != 0)
        info.timestampFrequency = 0;
}

} // namespace

void scanNet(NetInfo& info, int net, int timestampedReadStatus)
{
    info.timestampAtStart = 0;
    info.timestampFrequency = 0;
    if (tessOpen(net, 0, 1, 1, 2000, 2000, &info.infoHandle) != 0) {
        info.infoHandle = -1;
        return;
    }
    if (tessStatus(info.infoHandle, &info.status) != 0)
        return;
    if (hasFeature(info.status, TESS_FEATURE_TIMESTAMP) && timestampedReadStatus == 0)
        readTimestampCounter(info);
}

void refreshNetStatus(NetInfo& info, int timestampedReadStatus)
{
    if (tessStatus(info.infoHandle, &info.status) != 0)
        return;
    if (hasFeature(info.status, TESS_FEATURE_TIMESTAMP) && timestampedReadStatus == 0) {
        readTimestampCounter(info);
    } else {
        info.timestampAtStart = 0;
        info.timestampFrequency = 0;
    }
}
