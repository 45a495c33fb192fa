#include "pointarray.h"

#include <algorithm>
#include <cstring>

PointArray::PointArray(size_t length)
    : length(length), room(std::max<size_t>(length / 4, 1)), buffer(new double[length + room]), start(room)
{}

void PointArray::pushFront(size_t fresh)
{
    fresh = std::min(fresh, length > 0 ? length - 1 : 0);
    if (fresh == 0)
        return;
    if (start >= fresh) {
        start -= fresh;
        return;
    }
    // Back to the top: what stays moves there, behind the room for the new
    // samples.
    const size_t top = room;
    std::memmove(buffer.get() + top + 1 + fresh, buffer.get() + start + 1,
                 (length - 1 - fresh) * sizeof(double));
    start = top;
}
