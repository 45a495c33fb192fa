#ifndef TIMEBASE_H
#define TIMEBASE_H

#include <QString>

#include <array>

// Spans of the time axis in seconds, 1-2-5 steps, indexed by the time base slider.
inline constexpr int timeBaseCount = 24;
inline constexpr std::array<double, timeBaseCount> timeBaseTable = {
    0.01, 0.02, 0.05, 0.1,  0.2,  0.5,  1,     2,     5,     10,     20,     50,
    100,  200,  500,  1000, 2000, 5000, 10000, 20000, 50000, 100000, 200000, 500000,
};

// "10 ms" below one second, "10 s" from one second on, the number cut to a whole one.
QString timeBaseLabel(double span);

// The first index whose span is strictly greater than distance, else the last index.
int timeBaseIndexAbove(double distance);

// The index whose span lies nearest to span, by ratio: what the slider
// shows for a view of any width.
int timeBaseIndexNearest(double span);

// Whether the view follows every refresh rather than moving by pages: always in
// continuous scrolling, and when the span is at most two refresh intervals.
bool followsEveryRefresh(bool continuousScroll, double span, unsigned refreshTimeMs);

#endif // TIMEBASE_H
