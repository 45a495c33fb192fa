#include "net.h"

#include <cstring>

namespace tessbus {

void ReadTarget::put(int index, const TessFrameT& frame) const
{
    std::memcpy(base + static_cast<size_t>(index) * stride, &frame, stride);
}

bool FailureInjection::set(int op, int times)
{
    if (op < 1 || op >= kOps || times < -1)
        return false;
    std::lock_guard<std::mutex> lock(mutex_);
    remaining_[op] = times;
    bool any = false;
    for (int r : remaining_)
        any = any || r != 0;
    any_.store(any);
    return true;
}

bool FailureInjection::shouldFail(int op)
{
    if (!any_.load())
        return false;
    std::lock_guard<std::mutex> lock(mutex_);
    int& r = remaining_[op];
    if (r == 0)
        return false;
    if (r > 0)
        --r;
    return true;
}

} // namespace tessbus
