#ifndef NETINFO_H
#define NETINFO_H

#include "tessbus.h"

#include <array>
#include <cstdint>

// What the program knows of one CAN net. infoHandle -1 means that the net
// doesn't exist.
struct NetInfo
{
    int infoHandle = -1;
    TessStatus status{};
    uint64_t timestampAtStart = 0;
    uint64_t timestampFrequency = 0;
};

using NetTable = std::array<NetInfo, TESS_MAX_NETS>;

// Opens the net's info handle and reads its status and timestamp counter.
// A net that can't be opened keeps infoHandle -1; one whose status can't be
// read exists with an empty status.
void scanNet(NetInfo& info, int net, int timestampedReadStatus);

// Reads the interface's status and timestamp counter again, as Start needs
// them: a failed status read leaves the record alone; without usable
// timestamps both counter fields become 0.
void refreshNetStatus(NetInfo& info, int timestampedReadStatus);

bool hasFeature(const TessStatus& status, uint16_t feature);

#endif // NETINFO_H
