#ifndef PIXELCOLUMNS_H
#define PIXELCOLUMNS_H

#include <qwt_scale_map.h>

#include <QPointF>

#include <cmath>
#include <cstdint>
#include <vector>

// floor(v + 0.5) for v >= 0, ceil(v - 0.5) below, as Qwt's point mapper
// rounds; truncation is the one and the other, without a call.
inline double roundHalfAway(double v)
{
    constexpr double whole = 4503599627370496.0; // 2^52: from here on every double is whole
    if (v >= 0.0) {
        const double t = v + 0.5;
        return t < whole ? static_cast<double>(static_cast<int64_t>(t)) : std::floor(t);
    }
    const double t = v - 0.5;
    return t > -whole ? static_cast<double>(static_cast<int64_t>(t)) : std::ceil(t);
}

// Order of a time array over an index range.
enum class TimeOrder { Falling, Rising, Unsorted };

// Whether x[from..to] never rises, never falls, or neither. NaN counts as
// unsorted. A range whose times are all equal counts as falling.
TimeOrder timeOrder(const double* x, int from, int to);

// Whether every value of v[from..to] is finite.
bool finiteValues(const double* v, int from, int to);

// Inclusive index range.
struct IndexRange
{
    int from;
    int to;
};

// The part of x[from..to], which must be sorted either way, that can be
// seen between the pixel columns left and right: every sample that maps
// into them, plus one sample beyond each edge, which carries the line into
// the view. Never empty.
IndexRange visibleRange(const double* x, int from, int to, const QwtScaleMap& xMap, double left,
                        double right);

// The part of a curve's polyline that lies in one pixel column, in pixels.
struct ColumnRun
{
    double x;
    double first;  // row where the line enters the column
    double last;   // row where it leaves
    double low;    // smallest row the line reaches in the column
    double high;   // largest row
    bool lowFirst; // whether it reaches low before high; only if asked for
    int begin;     // the samples in the column
    int end;
    double lowValue;  // a value that lies on row low
    double highValue; // and one on row high
};

// Cuts the polyline that Qwt draws through a curve's samples into pixel
// columns. Qwt maps each sample to a rounded pixel and draws a polyline
// through all of them; where many vertices share one column, the polyline
// only runs up and down that column between its extremes, so first, last,
// low and high tell everything that is drawn there. The extremes are found
// on the raw values: the value map is monotonic, so the extreme values give
// the extreme pixels.
//
// Each function fills out (cleared first) with the columns in the order of
// the samples and returns false, with out unusable, when a value in the
// range is not finite: Qwt's rounding has no defined result there, so the
// caller draws those samples the plain way.
class PixelColumns
{
public:
    // The maps must have no transformation (linear scales). ordered: whether
    // lowFirst is wanted; finding the extremes without their order is faster.
    // rows, if given, holds the rows of samples where columns are narrow,
    // and keeps its memory from one call to the next.
    PixelColumns(const QwtScaleMap& xMap, const QwtScaleMap& yMap, bool ordered,
                 std::vector<int>* rows = nullptr)
        : xMap(xMap), yMap(yMap), ordered(ordered), rows(rows)
    {}

    // Lines through the samples. sortedTimes allows the columns to be
    // found by search instead of sample by sample.
    bool lines(const double* x, const double* y, int from, int to, bool sortedTimes,
               std::vector<ColumnRun>& out) const;

    // Steps. verticalFirst: from each sample the line goes vertically to
    // the value of the next one in the array, then across to it (Qwt's
    // steps on a vertically oriented curve without the Inverted attribute);
    // otherwise across first, then vertically.
    bool steps(const double* x, const double* y, int from, int to, bool sortedTimes, bool verticalFirst,
               std::vector<ColumnRun>& out) const;

    // The samples themselves, for sticks: low and high are their extremes
    // in each column, first and last the rows of its first and last sample.
    bool sticks(const double* x, const double* y, int from, int to, bool sortedTimes,
                std::vector<ColumnRun>& out) const;

    // The row of a value as Qwt rounds the ends of a stick.
    double stickRow(double value) const;

    // The vertex of a sample as Qwt rounds those of lines, and its row.
    QPointF lineVertex(double x, double y) const
    {
        return QPointF(roundHalfAway(xMap.transform(x)), roundHalfAway(yMap.transform(y)));
    }
    double lineRow(double value) const { return roundHalfAway(yMap.transform(value)); }

private:
    enum class Rounding {
        QRound,  // qRound, as Qwt rounds steps and sticks
        HalfAway // half away from zero in double, as Qwt's point mapper rounds lines
    };

    // The rows of y[from..to], mapped in one pass two at a time, indexed
    // like y; lowFirst tells whether the smallest value has the smallest
    // row. Null where a row lies beyond what an int holds, or isn't a
    // number.
    template <Rounding R> const int* mappedRows(const double* y, int from, int to, bool* lowFirst) const;

    template <Rounding R>
    bool columnRuns(const double* x, const double* y, int from, int to, bool sortedTimes, int before,
                    int after, std::vector<ColumnRun>& out) const;

    const QwtScaleMap& xMap;
    const QwtScaleMap& yMap;
    const bool ordered;
    std::vector<int>* const rows;
};

#endif // PIXELCOLUMNS_H
