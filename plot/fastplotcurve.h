#ifndef FASTPLOTCURVE_H
#define FASTPLOTCURVE_H

#include "pixelcolumns.h"
#include "rowruns.h"

#include <qwt_plot_curve.h>

#include <QBrush>
#include <QLineF>
#include <QPen>
#include <QPointF>
#include <QRect>

#include <vector>

// The plot item of a curve: a QwtPlotCurve that draws what the plain one
// draws at a cost that follows the width of the canvas rather than the
// number of samples. The plain item maps every sample at every replot, also
// those outside the time window, and hands a vertex per sample to the
// painter, which then paints dense columns over and over; with hundreds of
// thousands of samples per curve that is most of a refresh tick.
//
// This item reads the arrays given by setRawSamples in place, skips the
// samples outside the window by binary search on the time array (when it is
// sorted, either way). Where fewer than two samples per pixel column are
// left, it hands just those to the plain drawing, which then costs little;
// otherwise it cuts them into pixel columns (PixelColumns).
// With the pens of a running capture (one pixel wide, opaque, not
// antialiased) it fills the pixels of the columns and of the lines between
// them as rectangles (RowRuns), each pixel once; with other pens it hands
// the painter a polyline through each column's first, extreme and last
// vertices. Whatever that doesn't describe exactly is left to the plain
// drawing: times or values that aren't finite, symbols, brushes, fitting,
// dashed pens, horizontal orientation, scale transformations, and painters
// that don't round to pixels, such as printers.
//
// Qwt strokes a polyline in pieces of seven points unless told not to, and
// Qt strokes the ends of each piece anew, which leaves gaps in curves of
// about a sample per pixel column: with a thin pen this item has its
// polylines drawn in one piece. Its pixels are then those of a plain item
// drawn so, but for a few where Qt rounds the ends of lines. With a wider
// pen the pieces stay, and their end caps lengthen or shorten some of the
// plain item's strokes by a pixel. Antialiased pixels also differ in shade
// where the plain item paints over the same pixel many times.
//
// Drawing keeps buffers in the item; items are drawn on one thread only.
class FastPlotCurve : public QwtPlotCurve
{
public:
    explicit FastPlotCurve(const QString& title = QString());

protected:
    void drawSeries(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                    const QRectF& canvasRect, int from, int to) const override;

private:
    // Where the samples are, when they are plain arrays of double.
    bool rawArrays(const double** x, const double** y) const;
    // Whether the geometry is one that the columns describe exactly.
    bool reducible(const QwtScaleMap& xMap, const QwtScaleMap& yMap) const;
    // Whether the painter would set exactly the pixels of the columns'
    // spans: a raster image, whole pixels, a one-pixel opaque pen.
    bool paintsWholePixels(const QPainter* painter) const;

    void drawSpans(QPainter* painter, const QRectF& canvasRect, double baseRow, bool sorted) const;
    void drawPolyline(QPainter* painter, const QRectF& canvasRect) const;
    void drawSticks(QPainter* painter, double baseRow) const;

    // Kept from one replot to the next, so that drawing allocates only when
    // it needs more room than before.
    mutable std::vector<ColumnRun> runs;
    mutable std::vector<ColumnSpan> columnSpans;
    mutable RowRuns rowRuns;
    mutable std::vector<QRect> spans;
    mutable std::vector<QLineF> lines;
    mutable std::vector<QPointF> vertices;
    mutable QPen pensOf{Qt::NoPen}; // the pen that flatPen and spanBrush were made of
    mutable QPen flatPen;
    mutable QBrush spanBrush;
};

#endif // FASTPLOTCURVE_H
