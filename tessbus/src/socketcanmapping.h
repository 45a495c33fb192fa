// How driver records map to SocketCAN's: frames, receive filters and the
// kernel's bit timing. Pure code without sockets, unit-tested alone.
#pragma once

#include "bittiming.h"
#include "tessbus.h"

#include <linux/can.h>
#include <linux/can/netlink.h>

namespace tessbus {

// Converts a received frame; false for error frames and CAN FD lengths,
// which the driver does not deliver.
bool canFrameToTess(const can_frame& in, TessFrame* out);
// Converts a driver frame for sending; false for invalid ids or lengths.
bool tessToCanFrame(const TessFrame& in, can_frame* out);

// A CAN_RAW filter that admits exactly one id (data and remote frames),
// 11-bit unless the id carries TESS_ID_29BIT.
can_filter filterForId(uint32_t id);

// The kernel's bit timing for a BTR0/BTR1 pair: the same quantum and
// segments, so a controller clocked at a multiple of 8 MHz runs exactly the
// SJA1000's timing.
can_bittiming kernelBittiming(const BtrTiming& timing);

// True when the rate that an interface reports is the one asked for; the
// kernel's rounding of odd rates such as 666666 is tolerated.
bool bitratesMatch(uint32_t actual, uint32_t wanted);

} // namespace tessbus
