// Link-level control of a SocketCAN interface: what kind of link it is and
// its bit timing. Needs CAP_NET_ADMIN only when a rate is really changed.
#pragma once

#include "bittiming.h"

#include <string>

namespace tessbus {

struct LinkInfo
{
    bool found = false;
    std::string kind; // "can", "vcan", "vxcan", ... as the kernel names it
    bool up = false;
};

LinkInfo queryLink(const std::string& ifname);

// Makes the interface run at the rate of `setting`: succeeds at once on
// virtual links and where the rate is already set, else sets it (taking the
// interface down and up again if the kernel insists). TESS_OK or an error.
int applyBaud(const std::string& ifname, const BaudSetting& setting);

} // namespace tessbus
