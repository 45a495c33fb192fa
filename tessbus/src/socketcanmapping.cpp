#include "socketcanmapping.h"

#include <cstring>

namespace tessbus {

bool canFrameToTess(const can_frame& in, TessFrame* out)
{
    if ((in.can_id & CAN_ERR_FLAG) || in.can_dlc > CAN_MAX_DLEN)
        return false;
    TessFrame f{};
    if (in.can_id & CAN_EFF_FLAG)
        f.id = (in.can_id & CAN_EFF_MASK) | TESS_ID_29BIT;
    else
        f.id = in.can_id & CAN_SFF_MASK;
    f.len = in.can_dlc & TESS_FRAME_LEN_MASK;
    if (in.can_id & CAN_RTR_FLAG)
        f.len |= TESS_FRAME_RTR;
    else
        std::memcpy(f.data, in.data, in.can_dlc);
    *out = f;
    return true;
}

bool tessToCanFrame(const TessFrame& in, can_frame* out)
{
    const uint32_t len = in.len & TESS_FRAME_LEN_MASK;
    if (len > CAN_MAX_DLEN)
        return false;
    can_frame f{};
    if (in.id & TESS_ID_29BIT) {
        if (in.id & ~(TESS_ID_29BIT | CAN_EFF_MASK))
            return false;
        f.can_id = (in.id & CAN_EFF_MASK) | CAN_EFF_FLAG;
    } else {
        if (in.id & ~CAN_SFF_MASK)
            return false;
        f.can_id = in.id;
    }
    f.can_dlc = static_cast<uint8_t>(len);
    if (in.len & TESS_FRAME_RTR)
        f.can_id |= CAN_RTR_FLAG;
    else
        std::memcpy(f.data, in.data, len);
    *out = f;
    return true;
}

can_filter filterForId(uint32_t id)
{
    can_filter filter{};
    // The EFF flag is part of the mask so that an 11-bit 0x123 and a 29-bit
    // 0x123 stay apart; the RTR flag is not, so remote frames pass too.
    if (id & TESS_ID_29BIT) {
        filter.can_id = (id & CAN_EFF_MASK) | CAN_EFF_FLAG;
        filter.can_mask = CAN_EFF_MASK | CAN_EFF_FLAG;
    } else {
        filter.can_id = id & CAN_SFF_MASK;
        filter.can_mask = CAN_SFF_MASK | CAN_EFF_FLAG;
    }
    return filter;
}

can_bittiming kernelBittiming(const BtrTiming& timing)
{
    can_bittiming bt{};
    bt.bitrate = timing.bitrate;
    bt.sample_point = timing.samplePoint;
    bt.tq = timing.tqNs;
    // The SJA1000 has no separate propagation segment; the kernel wants
    // prop_seg + phase_seg1 = tseg1 and accepts any split.
    bt.prop_seg = timing.tseg1 / 2;
    bt.phase_seg1 = timing.tseg1 - bt.prop_seg;
    bt.phase_seg2 = timing.tseg2;
    bt.sjw = timing.sjw;
    bt.brp = 0; // computed by the kernel from tq and the controller clock
    return bt;
}

bool bitratesMatch(uint32_t actual, uint32_t wanted)
{
    const uint32_t diff = actual > wanted ? actual - wanted : wanted - actual;
    return diff * 200 <= wanted; // within 0.5 %
}

} // namespace tessbus
