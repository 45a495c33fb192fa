#include "timebase.h"

#include <cmath>
#include <limits>

namespace {

// Cuts to a whole number; out-of-range values are clamped, as converting them would be undefined.
unsigned cutToWhole(double v)
{
    if (!(v > 0.0))
        return 0;
    if (v >= static_cast<double>(std::numeric_limits<unsigned>::max()))
        return std::numeric_limits<unsigned>::max();
    return static_cast<unsigned>(v);
}

} // namespace

QString timeBaseLabel(double span)
{
    // For each entry below 1 s, entry * 1000 gives back its whole milliseconds exactly.
    if (span < 1.0)
        return QString::asprintf("%u ms", cutToWhole(span * 1000.0));
    return QString::asprintf("%u s", cutToWhole(span));
}

int timeBaseIndexAbove(double distance)
{
    for (int i = 0; i < timeBaseCount; ++i) {
        if (timeBaseTable[static_cast<size_t>(i)] > distance)
            return i;
    }
    return timeBaseCount - 1;
}

int timeBaseIndexNearest(double span)
{
    if (!(span > 0.0))
        return 0;
    if (!std::isfinite(span))
        return timeBaseCount - 1;
    int nearest = 0;
    for (int i = 1; i < timeBaseCount; ++i) {
        if (std::fabs(std::log(span / timeBaseTable[size_t(i)])) <
            std::fabs(std::log(span / timeBaseTable[size_t(nearest)])))
            nearest = i;
    }
    return nearest;
}

bool followsEveryRefresh(bool continuousScroll, double span, unsigned refreshTimeMs)
{
    // In real numbers: 2 * 250 / 1000 must be 0.5, not the integer 0.
    return continuousScroll || span <= 2.0 * refreshTimeMs / 1000.0;
}
