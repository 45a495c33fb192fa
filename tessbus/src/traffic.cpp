#include "traffic.h"

#include <algorithm>
#include <array>

namespace tessbus {

namespace {

// Stuff bits can follow any run of five equal bits from start of frame to
// the end of the CRC; at worst one after the first five and then one every
// four: (s - 1) / 4 of them.
constexpr uint32_t bitsOnWire(bool extended, uint32_t dataBytes)
{
    // SOF, id, RTR, IDE, r0, DLC, data, CRC; extended frames add SRR, the
    // 18 id bits and r1.
    const uint32_t stuffable = (extended ? 54 : 34) + 8 * dataBytes;
    // CRC delimiter, ACK slot and delimiter, end of frame, interframe space.
    constexpr uint32_t fixed = 1 + 2 + 7 + 3;
    return stuffable + fixed + (stuffable - 1) / 4;
}

constexpr std::array<std::array<uint32_t, 9>, 2> kBits = [] {
    std::array<std::array<uint32_t, 9>, 2> table{};
    for (uint32_t n = 0; n <= 8; ++n) {
        table[0][n] = bitsOnWire(false, n);
        table[1][n] = bitsOnWire(true, n);
    }
    return table;
}();
static_assert(kBits[0][8] == 135 && kBits[1][8] == 160 && kBits[0][0] == 55, "worst-case frame lengths");

} // namespace

uint32_t frameBitsOnWire(uint32_t id, uint8_t len)
{
    // A remote frame sends no data field; lengths 9 to 15 mean 8 bytes.
    const uint32_t bytes = (len & TESS_FRAME_RTR) ? 0 : std::min<uint32_t>(len & TESS_FRAME_LEN_MASK, 8);
    return kBits[(id & TESS_ID_29BIT) ? 1 : 0][bytes];
}

void TrafficCounter::count(const TessFrameT* frames, int n)
{
    uint64_t bits = 0;
    for (int i = 0; i < n; ++i)
        bits += frameBitsOnWire(frames[i].id, frames[i].len);
    add(static_cast<uint64_t>(n), bits);
}

void TrafficCounter::add(uint64_t frames, uint64_t bits)
{
    frames_.fetch_add(frames, std::memory_order_relaxed);
    bits_.fetch_add(bits, std::memory_order_relaxed);
}

TessTraffic TrafficCounter::totals() const
{
    return {frames_.load(std::memory_order_relaxed), bits_.load(std::memory_order_relaxed)};
}

} // namespace tessbus
