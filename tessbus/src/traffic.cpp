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

// By the length byte's low five bits, TESS_FRAME_RTR and the length: a
// remote frame sends no data field, lengths 9 to 15 mean 8 bytes.
constexpr std::array<uint32_t, 32> kStandardBits = [] {
    std::array<uint32_t, 32> table{};
    for (uint32_t len = 0; len < 32; ++len)
        table[len] = bitsOnWire(false, (len & TESS_FRAME_RTR) ? 0 : std::min<uint32_t>(len & 0x0F, 8));
    return table;
}();
// A 29-bit id adds 20 stuffable bits, and so exactly 5 stuff bits more.
constexpr uint32_t kExtendedExtra = 25;
static_assert(bitsOnWire(true, 0) == bitsOnWire(false, 0) + kExtendedExtra &&
                  bitsOnWire(true, 8) == bitsOnWire(false, 8) + kExtendedExtra,
              "29-bit frames");
static_assert(TESS_ID_29BIT == 1u << 29, "the 29-bit flag is bit 29");
static_assert(kStandardBits[8] == 135 && kStandardBits[TESS_FRAME_RTR | 8] == 55, "worst-case frame lengths");

} // namespace

uint32_t frameBitsOnWire(uint32_t id, uint8_t len)
{
    // Without branches, so that counting a batch stays a tight loop.
    return kStandardBits[len & 0x1F] + kExtendedExtra * ((id >> 29) & 1);
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
