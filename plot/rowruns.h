#ifndef ROWRUNS_H
#define ROWRUNS_H

#include <QRect>

#include <vector>

// The pixels (x, lo) to (x, hi) of one column.
struct ColumnSpan
{
    int x;
    int lo;
    int hi;
};

// Turns spans of pixel columns into few rectangles for a raster painter,
// which fills a rectangle row by row: a row of many pixels costs little
// more than one pixel, while every row and every rectangle has a price of
// its own. Either each column is one rectangle, or, where that costs more,
// rows that neighbouring columns share become runs along the row and what a
// column has alone stays a piece of that column.
class RowRuns
{
public:
    // columns in ascending x, each x once, lo <= hi, all rows within
    // [top, bottom]. Appends to out.
    void toRects(const std::vector<ColumnSpan>& columns, int top, int bottom, std::vector<QRect>* out);

private:
    std::vector<int> runStart; // per row: x where its open run began
};

#endif // ROWRUNS_H
