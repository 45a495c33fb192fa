#include "pixelcolumns.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Beyond this, qRound has no defined result. Coordinates that far out lie
// far outside any canvas; holding them here keeps steps and sticks, whose
// edges are axis-parallel, exactly as they show. The callers give no NaN;
// one would end at the lower limit.
constexpr double coordinateLimit = 1073741824.0; // 2^30

inline double roundQ(double v)
{
    if (v > coordinateLimit)
        v = coordinateLimit;
    else if (!(v >= -coordinateLimit))
        v = -coordinateLimit;
    return static_cast<double>(qRound(v));
}

// The smallest index in [lo, hi) where holds() is false, or hi; holds() is
// true on a prefix of the range and false on the rest.
template <typename Holds> int endOfPrefix(int lo, int hi, Holds holds)
{
    while (lo < hi) {
        const int mid = lo + (hi - lo) / 2;
        if (holds(mid))
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

// Whether x never rises (Falls) or never falls over [from, to]. Counted
// without an early exit so that the loop stays branch-free; the caller asks
// in blocks. NaN breaks either order.
template <bool Falls> bool monotonic(const double* x, int from, int to)
{
    int i = from;
#if defined(__SSE2__)
    __m128d broken = _mm_setzero_pd();
    for (; i + 2 <= to; i += 2) {
        const __m128d a = _mm_loadu_pd(x + i);
        const __m128d b = _mm_loadu_pd(x + i + 1);
        broken = _mm_or_pd(broken, Falls ? _mm_cmpnge_pd(a, b) : _mm_cmpnle_pd(a, b));
    }
    if (_mm_movemask_pd(broken) != 0)
        return false;
#endif
    int breaks = 0;
    for (; i < to; ++i)
        breaks += Falls ? !(x[i] >= x[i + 1]) : !(x[i] <= x[i + 1]);
    return breaks == 0;
}

// The smallest and largest of v[from..to]; false when a value there isn't
// finite.
bool extremes(const double* v, int from, int to, double* low, double* high)
{
    int k = from;
    double lo = v[from];
    double hi = v[from];
    bool finite = true;
#if defined(__SSE2__)
    if (to - from >= 8) {
        __m128d lo0 = _mm_set1_pd(lo);
        __m128d hi0 = lo0;
        __m128d lo1 = lo0;
        __m128d hi1 = lo0;
        __m128d bad = _mm_setzero_pd();
        for (; k + 3 <= to; k += 4) {
            const __m128d a = _mm_loadu_pd(v + k);
            const __m128d b = _mm_loadu_pd(v + k + 2);
            bad = _mm_or_pd(bad, _mm_or_pd(_mm_cmpunord_pd(a, a), _mm_cmpunord_pd(b, b)));
            lo0 = _mm_min_pd(lo0, a);
            hi0 = _mm_max_pd(hi0, a);
            lo1 = _mm_min_pd(lo1, b);
            hi1 = _mm_max_pd(hi1, b);
        }
        lo0 = _mm_min_pd(lo0, lo1);
        hi0 = _mm_max_pd(hi0, hi1);
        double l[2];
        double h[2];
        _mm_storeu_pd(l, lo0);
        _mm_storeu_pd(h, hi0);
        lo = std::min(l[0], l[1]);
        hi = std::max(h[0], h[1]);
        finite = _mm_movemask_pd(bad) == 0;
    }
#endif
    for (; k <= to; ++k) {
        const double x = v[k];
        finite = finite && x == x;
        lo = x < lo ? x : lo;
        hi = x > hi ? x : hi;
    }
    *low = lo;
    *high = hi;
    // Infinities end up among the extremes.
    return finite && std::isfinite(lo) && std::isfinite(hi);
}

// The same, with the index of the first smallest and first largest value.
bool extremesAt(const double* v, int from, int to, int* lowAt, int* highAt)
{
    double lo = v[from];
    double hi = v[from];
    *lowAt = from;
    *highAt = from;
    bool finite = true;
    for (int k = from; k <= to; ++k) {
        const double x = v[k];
        finite = finite && std::isfinite(x);
        if (x < lo) {
            lo = x;
            *lowAt = k;
        }
        if (x > hi) {
            hi = x;
            *highAt = k;
        }
    }
    return finite;
}

template <typename Test> bool holdsInBlocks(const double* x, int from, int to, Test test)
{
    constexpr int block = 1024;
    for (int start = from; start < to; start += block) {
        if (!test(x, start, std::min(start + block, to)))
            return false;
    }
    return true;
}

// Finds where the pixel column of sample i ends: the last index j in
// [i, to] whose sample lies in it. On sorted times a column can't come
// back; columns of a curve tend to hold alike many samples, so the search
// first looks where a column as long as the last one would end, and from
// there gallops and bisects. Otherwise it goes sample by sample. The
// column of sample j + 1, which the search has seen, goes to *nextColumn.
template <typename PixelX>
int lastInColumn(int i, int to, double column, bool sortedTimes, int guess, PixelX pixelX, double* nextColumn)
{
    int j = i; // known to lie in the column
    if (!sortedTimes) {
        while (j < to) {
            const double next = pixelX(j + 1);
            if (next != column) {
                *nextColumn = next;
                break;
            }
            ++j;
        }
        return j;
    }
    int outside = to + 1; // known to lie beyond it, or the end
    double outsideColumn = column;
    const auto probe = [&](int k) {
        const double at = pixelX(k);
        if (at == column) {
            j = k;
            return true;
        }
        outside = k;
        outsideColumn = at;
        return false;
    };
    const int expectedLast = std::min(to, i + std::max(1, guess) - 1);
    if (expectedLast > j && !probe(expectedLast)) {
        // Shorter than the last one: back from there.
        while (outside - j > 1 && !probe(outside - 1)) {
        }
    } else {
        // At least as long: one more, then in growing steps.
        int step = 1;
        while (j + step <= to && probe(j + step))
            step *= 2;
    }
    while (outside - j > 1) {
        const int mid = j + (outside - j) / 2;
        probe(mid);
    }
    if (j < to)
        *nextColumn = outsideColumn;
    return j;
}

// The factor by which a map without transformation turns scale into
// paint distances, worked out as the map works it out; zero where the
// map's own transform doesn't give the same pixels with it.
double mapFactor(const QwtScaleMap& map, const double* probes, int count)
{
    const double factor = map.s1() != map.s2() ? (map.p2() - map.p1()) / (map.s2() - map.s1()) : 1.0;
    for (int k = 0; k < count; ++k) {
        if (map.p1() + (probes[k] - map.s1()) * factor != map.transform(probes[k]))
            return 0.0;
    }
    return factor;
}

// Rounds the pixels of v[0..count) into out, two at a time, as the scalar
// round does: half away from zero (halfAway), or as qRound, which cuts
// d + 0.5 from 0 on and below 0 works from int(d - 1). False when a pixel
// lies beyond +-2^30 or isn't a number.
template <bool HalfAway, typename Round>
bool mapToPixels(const QwtScaleMap& map, double factor, const double* v, int count, int* out, Round round)
{
    const double p1 = map.p1();
    const double s1 = map.s1();
    int k = 0;
    int bad = 0; // pixels beyond the limit, or not numbers
#if defined(__SSE2__)
    const __m128d p1s = _mm_set1_pd(p1);
    const __m128d s1s = _mm_set1_pd(s1);
    const __m128d factors = _mm_set1_pd(factor);
    const __m128d half = _mm_set1_pd(0.5);
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d signBit = _mm_set1_pd(-0.0);
    const __m128d zero = _mm_setzero_pd();
    const __m128d limit = _mm_set1_pd(coordinateLimit);
    const __m128d lowLimit = _mm_set1_pd(-coordinateLimit);
    for (; k + 2 <= count; k += 2) {
        const __m128d p = _mm_add_pd(p1s, _mm_mul_pd(_mm_sub_pd(_mm_loadu_pd(v + k), s1s), factors));
        __m128i rounded;
        if constexpr (HalfAway) {
            // p + 0.5 or p - 0.5, cut towards zero.
            rounded = _mm_cvttpd_epi32(_mm_add_pd(p, _mm_or_pd(half, _mm_and_pd(p, signBit))));
        } else {
            const __m128i above = _mm_cvttpd_epi32(_mm_add_pd(p, half));
            const __m128i base = _mm_cvttpd_epi32(_mm_sub_pd(p, one));
            const __m128i below =
                _mm_add_epi32(_mm_cvttpd_epi32(_mm_add_pd(_mm_sub_pd(p, _mm_cvtepi32_pd(base)), half)), base);
            // The two 64-bit lanes of the comparison give the two ints.
            const __m128i negative =
                _mm_shuffle_epi32(_mm_castpd_si128(_mm_cmplt_pd(p, zero)), _MM_SHUFFLE(3, 3, 2, 0));
            rounded = _mm_or_si128(_mm_and_si128(negative, below), _mm_andnot_si128(negative, above));
        }
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), rounded);
        bad |= _mm_movemask_pd(_mm_or_pd(_mm_cmpnlt_pd(p, limit), _mm_cmpngt_pd(p, lowLimit)));
    }
#endif
    for (; k < count; ++k) {
        const double p = p1 + (v[k] - s1) * factor;
        bad |= !(p < coordinateLimit && p > -coordinateLimit);
        out[k] = bad ? 0 : static_cast<int>(round(p));
    }
    return !bad;
}

} // namespace

bool finiteValues(const double* v, int from, int to)
{
    double low;
    double high;
    return extremes(v, from, to, &low, &high);
}

TimeOrder timeOrder(const double* x, int from, int to)
{
    if (holdsInBlocks(x, from, to, monotonic<true>))
        return TimeOrder::Falling;
    if (holdsInBlocks(x, from, to, monotonic<false>))
        return TimeOrder::Rising;
    return TimeOrder::Unsorted;
}

IndexRange visibleRange(const double* x, int from, int to, const QwtScaleMap& xMap, double left, double right)
{
    // The pixels run the way the times do, or the other way round when the
    // map turns them; the ends tell which.
    const bool pixelsFall = xMap.transform(x[from]) > xMap.transform(x[to]);
    const auto beyondLeft = [&](int i) { return xMap.transform(x[i]) < left; };
    const auto beyondRight = [&](int i) { return xMap.transform(x[i]) > right; };
    const auto notBeyondLeft = [&](int i) { return !beyondLeft(i); };
    const auto notBeyondRight = [&](int i) { return !beyondRight(i); };

    // [from, first) lies beyond the edge that comes first, [last, to] beyond
    // the other one.
    int first;
    int last;
    if (pixelsFall) {
        first = endOfPrefix(from, to + 1, beyondRight);
        last = endOfPrefix(first, to + 1, notBeyondLeft);
    } else {
        first = endOfPrefix(from, to + 1, beyondLeft);
        last = endOfPrefix(first, to + 1, notBeyondRight);
    }
    return {std::max(from, first - 1), std::min(to, last)};
}

template <PixelColumns::Rounding R>
const int* PixelColumns::mappedRows(const double* y, int from, int to, bool* lowFirst) const
{
    const int count = to - from + 1;
    const double probes[] = {y[from], y[to], y[from + count / 2]};
    const double factor = mapFactor(yMap, probes, 3);
    if (factor == 0.0)
        return nullptr;
    rows->resize(size_t(count));
    const auto round = [](double p) {
        if constexpr (R == Rounding::QRound)
            return roundQ(p);
        else
            return roundHalfAway(p);
    };
    if (!mapToPixels<R == Rounding::HalfAway>(yMap, factor, y + from, count, rows->data(), round))
        return nullptr;
    // Where the value map turns values upside down, the smallest value has
    // the largest row.
    *lowFirst = factor >= 0.0;
    return rows->data();
}

template <PixelColumns::Rounding R>
bool PixelColumns::columnRuns(const double* x, const double* y, int from, int to, bool sortedTimes,
                              int before, int after, std::vector<ColumnRun>& out) const
{
    const auto round = [](double v) {
        if constexpr (R == Rounding::QRound)
            return roundQ(v);
        else
            return roundHalfAway(v);
    };
    const auto pixelX = [&](int i) { return round(xMap.transform(x[i])); };
    const auto pixelY = [&](double value) { return round(yMap.transform(value)); };

    // Up to a dozen samples a column, mapping every value costs less than
    // finding each column's extremes and mapping those.
    bool rowsLowFirst = true;
    const int* const rowOf = rows && sortedTimes && !ordered && to > from &&
                                     to - from < 12 * (std::abs(pixelX(from) - pixelX(to)) + 1.0)
                                 ? mappedRows<R>(y, from, to, &rowsLowFirst)
                                 : nullptr;

    out.clear();
    int i = from;
    double column = pixelX(i);
    int guess = 1;
    while (i <= to) {
        double nextColumn = column;
        const int j = lastInColumn(i, to, column, sortedTimes, guess, pixelX, &nextColumn);

        // The vertices in this column: samples i..j, and with steps the
        // corner that carries the value of the neighbouring sample.
        const int s = i > from ? i - before : i;
        const int e = j < to ? j + after : j;
        ColumnRun run;
        run.x = column;
        run.begin = i;
        run.end = j;
        if (rowOf) {
            // The rows are counted from sample `from`.
            const auto row = [&](int k) { return rowOf[k - from]; };
            int low = row(s);
            int high = row(s);
            int lowAt = s;
            int highAt = s;
            for (int k = s + 1; k <= e; ++k) {
                const int r = row(k);
                lowAt = r < low ? k : lowAt;
                highAt = r > high ? k : highAt;
                low = std::min(low, r);
                high = std::max(high, r);
            }
            run.first = row(s);
            run.last = row(e);
            run.low = low;
            run.high = high;
            run.lowFirst = rowsLowFirst || low == high;
            run.lowValue = y[lowAt];
            run.highValue = y[highAt];
        } else {
            double valueA;
            double valueB;
            if (ordered) {
                int lowAt;
                int highAt;
                if (!extremesAt(y, s, e, &lowAt, &highAt))
                    return false;
                // In the order in which the line reaches them.
                valueA = y[std::min(lowAt, highAt)];
                valueB = y[std::max(lowAt, highAt)];
            } else if (!extremes(y, s, e, &valueA, &valueB)) {
                return false;
            }
            const double rowA = pixelY(valueA);
            const double rowB = pixelY(valueB);
            run.first = pixelY(y[s]);
            run.last = pixelY(y[e]);
            // The value map may turn values upside down.
            run.low = std::min(rowA, rowB);
            run.high = std::max(rowA, rowB);
            run.lowFirst = rowA <= rowB;
            run.lowValue = rowA <= rowB ? valueA : valueB;
            run.highValue = rowA <= rowB ? valueB : valueA;
        }
        out.push_back(run);
        guess = j - i + 1;
        i = j + 1;
        column = nextColumn;
    }
    return true;
}

bool PixelColumns::lines(const double* x, const double* y, int from, int to, bool sortedTimes,
                         std::vector<ColumnRun>& out) const
{
    return columnRuns<Rounding::HalfAway>(x, y, from, to, sortedTimes, 0, 0, out);
}

bool PixelColumns::steps(const double* x, const double* y, int from, int to, bool sortedTimes,
                         bool verticalFirst, std::vector<ColumnRun>& out) const
{
    // Vertical first: the corner after sample k sits in k's column at the
    // value of k + 1. Across first: the corner before sample k sits in k's
    // column at the value of k - 1.
    return columnRuns<Rounding::QRound>(x, y, from, to, sortedTimes, verticalFirst ? 0 : 1,
                                        verticalFirst ? 1 : 0, out);
}

bool PixelColumns::sticks(const double* x, const double* y, int from, int to, bool sortedTimes,
                          std::vector<ColumnRun>& out) const
{
    return columnRuns<Rounding::QRound>(x, y, from, to, sortedTimes, 0, 0, out);
}

double PixelColumns::stickRow(double value) const
{
    return roundQ(yMap.transform(value));
}
