// The ids that one handle admits: a bit per 11-bit id, a sorted list of
// 29-bit ids. Empty at first, so a new handle receives nothing.
#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

namespace tessbus {

// True for an 11-bit id (0..0x7FF) or a 29-bit id flagged with TESS_ID_29BIT.
bool isValidId(uint32_t id);

class IdFilter
{
public:
    // `id` must be valid. Returns true if the filter was empty before.
    bool add(uint32_t id);
    bool admits(uint32_t id) const;
    bool empty() const { return count_ == 0; }

private:
    std::bitset<2048> standard_;
    std::vector<uint32_t> extended_;
    int count_ = 0;
};

} // namespace tessbus
