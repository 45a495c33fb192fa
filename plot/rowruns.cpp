#include "rowruns.h"

#include <algorithm>

namespace {

struct Interval
{
    int lo;
    int hi; // empty when hi < lo
};

constexpr Interval none{0, -1};

Interval intersect(Interval a, Interval b)
{
    return {std::max(a.lo, b.lo), std::min(a.hi, b.hi)};
}

// a without b: the part above b and the part below it.
void subtract(Interval a, Interval b, Interval* above, Interval* below)
{
    if (b.hi < b.lo) {
        *above = a;
        *below = none;
        return;
    }
    *above = {a.lo, std::min(a.hi, b.lo - 1)};
    *below = {std::max(a.lo, b.hi + 1), a.hi};
}

} // namespace

namespace {

// What Qt's raster engine takes to fill a rectangle of one colour, roughly,
// in units of one row: a rectangle costs about four rows of one pixel.
constexpr double rectCost = 4.0;

int length(Interval rows)
{
    return std::max(0, rows.hi - rows.lo + 1);
}

} // namespace

void RowRuns::toRects(const std::vector<ColumnSpan>& columns, int top, int bottom, std::vector<QRect>* out)
{
    // Runs along the rows pay off where neighbouring columns share many
    // rows, as sticks on one baseline do, and cost more than they save
    // where columns are short and only touch, as on a noisy line. Both ways
    // are priced on the spans alone, before anything is built.
    double asColumns = 0.0;
    double asRuns = 0.0;
    for (size_t k = 0; k < columns.size(); ++k) {
        const ColumnSpan& c = columns[k];
        const Interval here{c.lo, c.hi};
        asColumns += rectCost + length(here);
        const bool prevAdjacent = k > 0 && columns[k - 1].x == c.x - 1;
        const bool nextAdjacent = k + 1 < columns.size() && columns[k + 1].x == c.x + 1;
        const Interval prev = prevAdjacent ? Interval{columns[k - 1].lo, columns[k - 1].hi} : none;
        const Interval next = nextAdjacent ? Interval{columns[k + 1].lo, columns[k + 1].hi} : none;
        // A row run ends where the next column doesn't reach, one rectangle
        // each; rows that neither neighbour shares stay pieces of this
        // column, at most two.
        Interval above;
        Interval below;
        subtract(intersect(here, prev), next, &above, &below);
        asRuns += (rectCost + 1.0) * (length(above) + length(below));
        Interval fresh[2];
        subtract(here, prev, &fresh[0], &fresh[1]);
        for (const Interval& rows : fresh) {
            subtract(rows, next, &above, &below);
            for (const Interval& piece : {above, below}) {
                if (length(piece) > 0)
                    asRuns += rectCost + length(piece);
            }
        }
    }
    if (asColumns <= asRuns) {
        for (const ColumnSpan& c : columns)
            out->emplace_back(c.x, c.lo, 1, c.hi - c.lo + 1);
        return;
    }

    runStart.resize(size_t(std::max(0, bottom - top + 1)));
    const auto columnPiece = [out](int x, Interval rows) {
        if (rows.lo <= rows.hi)
            out->emplace_back(x, rows.lo, 1, rows.hi - rows.lo + 1);
    };
    const auto open = [this, top](int x, Interval rows) {
        for (int row = rows.lo; row <= rows.hi; ++row)
            runStart[size_t(row - top)] = x;
    };
    const auto close = [this, top, out](int x, Interval rows) {
        for (int row = rows.lo; row <= rows.hi; ++row) {
            const int start = runStart[size_t(row - top)];
            out->emplace_back(start, row, x - start + 1, 1);
        }
    };

    for (size_t k = 0; k < columns.size(); ++k) {
        const ColumnSpan& c = columns[k];
        const Interval here{c.lo, c.hi};
        const bool prevAdjacent = k > 0 && columns[k - 1].x == c.x - 1;
        const bool nextAdjacent = k + 1 < columns.size() && columns[k + 1].x == c.x + 1;
        const Interval prev = prevAdjacent ? Interval{columns[k - 1].lo, columns[k - 1].hi} : none;
        const Interval next = nextAdjacent ? Interval{columns[k + 1].lo, columns[k + 1].hi} : none;

        // Rows the previous column reached run on; those the next one
        // doesn't reach end here.
        const Interval continuing = intersect(here, prev);
        Interval above;
        Interval below;
        if (continuing.lo <= continuing.hi) {
            subtract(continuing, next, &above, &below);
            close(c.x, above);
            close(c.x, below);
        }
        // Rows that begin here run on if the next column reaches them, and
        // are this column's alone otherwise.
        Interval fresh[2];
        subtract(here, continuing.lo <= continuing.hi ? continuing : none, &fresh[0], &fresh[1]);
        for (const Interval& rows : fresh) {
            if (rows.lo > rows.hi)
                continue;
            const Interval shared = intersect(rows, next);
            if (shared.lo <= shared.hi) {
                open(c.x, shared);
                subtract(rows, shared, &above, &below);
                columnPiece(c.x, above);
                columnPiece(c.x, below);
            } else {
                columnPiece(c.x, rows);
            }
        }
    }
}
