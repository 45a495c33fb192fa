#include "idfilter.h"

#include "tessbus.h"

#include <algorithm>

namespace tessbus {

namespace {
constexpr uint32_t kStandardMask = 0x7FF;
constexpr uint32_t kExtendedMask = 0x1FFFFFFF;
} // namespace

bool isValidId(uint32_t id)
{
    if (id & TESS_ID_29BIT)
        return (id & ~(TESS_ID_29BIT | kExtendedMask)) == 0;
    return (id & ~kStandardMask) == 0;
}

bool IdFilter::add(uint32_t id)
{
    const bool wasEmpty = empty();
    if (id & TESS_ID_29BIT) {
        const uint32_t raw = id & kExtendedMask;
        auto it = std::lower_bound(extended_.begin(), extended_.end(), raw);
        if (it != extended_.end() && *it == raw)
            return false;
        extended_.insert(it, raw);
    } else {
        if (standard_.test(id))
            return false;
        standard_.set(id);
    }
    ++count_;
    return wasEmpty;
}

bool IdFilter::admits(uint32_t id) const
{
    if (id & TESS_ID_29BIT)
        return std::binary_search(extended_.begin(), extended_.end(), id & kExtendedMask);
    return id <= kStandardMask && standard_.test(id);
}

} // namespace tessbus
