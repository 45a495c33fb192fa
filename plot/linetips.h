#ifndef LINETIPS_H
#define LINETIPS_H

#include "cosmeticstroke.h"
#include "pixelcolumns.h"

#include <QPoint>
#include <QRect>
#include <QRectF>

#include <vector>

// Cuts a line from a to b to a rectangle as Qwt's polygon clipper cuts each
// edge of a polyline: edge by edge, left, right, top, bottom, with its
// formulas, so that a cut line ends where Qwt's does. False when nothing is
// left.
bool clipAsQwt(QPointF& a, QPointF& b, const QRectF& rect);

// The tips of the pixel columns of a line drawn with a thin pen. In a
// column, the polyline covers every row between its extremes; whether the
// extreme rows themselves are drawn, and whether a pixel beside them is,
// Qt decides at each vertex there from the lines on either side of it
// (CosmeticStroke). This finds the vertices on each column's extreme rows
// and traces the lines around them: a column whose tip no line sets loses
// that row, and pixels the lines set beyond it are handed back.
class LineTips
{
public:
    struct OpenTips
    {
        int run;
        unsigned char tips; // LowDrawn, HighDrawn: the tips left to look at
    };
    struct TipPixel
    {
        QPoint pixel;
        int run; // the column whose tip set it
    };
    // What the work needs room for, kept by the caller from one drawing to
    // the next, so that drawing allocates only when it needs more room.
    struct Buffers
    {
        std::vector<QPoint> traced;           // what the lines of one tip set
        std::vector<unsigned char> tipsDrawn; // per run
        std::vector<OpenTips> openTips;
        std::vector<TipPixel> outside; // pixels set outside the columns' spans
    };

    // device: the paint device's pixels, and toDevice the painter's
    // translation to them, in whole pixels. clipRect: where Qwt cuts the
    // polyline, or null when it doesn't. squareCaps: the pen's caps aren't
    // flat. first and last: the samples the polyline starts and ends with.
    LineTips(const PixelColumns& columns, const QRect& device, const QPoint& toDevice, const QRectF* clipRect,
             bool squareCaps, int first, int last, Buffers& buffers);

    // Runs as PixelColumns::lines made them from x and y; rows top to
    // bottom and columns left to right can be seen. Raises low or lowers
    // high of every run whose tip isn't drawn, and appends pixels drawn
    // outside the runs to extra.
    void apply(const double* x, const double* y, std::vector<ColumnRun>& runs, const QRect& visible,
               std::vector<QPoint>* extra);

    // Appends to out the pixels Qt sets on the line from the vertex of
    // sample i, the last of its column, to the next column, where the
    // polyline's joins before it decide where that line starts. Nothing if
    // that vertex lies outside the cut, where the join can't be seen.
    void traceLeaving(const double* x, const double* y, int i, std::vector<QPoint>* out);

private:
    // The pixels in rows around row that Qt sets on the lines to and from
    // the vertex of sample i, into traced.
    void trace(const double* x, const double* y, int i, int row);
    // The same, in rows intoTop..intoBottom of the line to the vertex and
    // outTop..outBottom of the line from it, in the device's rows.
    void traceAround(const double* x, const double* y, int i, int intoTop, int intoBottom, int outTop,
                     int outBottom);
    // The joins at a tip that the stroker's rules settle without tracing:
    // the tip's group of samples from..to starts or ends its column, one
    // line stays in the column and a steep one leaves it. Puts what Qt
    // sets around the tip into traced; false for any other case.
    bool settle(const double* y, const std::vector<ColumnRun>& runs, int r, int from, int to, bool top,
                bool atStart);
    // The samples before and after i whose vertex isn't at.
    int previousVertex(const double* x, const double* y, int i, const QPointF& at) const;
    int nextVertex(const double* x, const double* y, int i, const QPointF& at) const;
    bool inside(const QPointF& p) const;

    const PixelColumns& columns;
    const QRect device; // in the painter's coordinates
    const QPoint toDevice;
    const QRectF* const clipRect;
    const int first;
    const int last;
    CosmeticStroke stroke;
    enum { LowDrawn = 1, HighDrawn = 2 };
    std::vector<QPoint>& traced;
    std::vector<unsigned char>& tipsDrawn;
    std::vector<OpenTips>& openTips;
    std::vector<TipPixel>& outside;
};

#endif // LINETIPS_H
