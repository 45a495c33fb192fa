#ifndef FASTPLOTCURVE_H
#define FASTPLOTCURVE_H

#include "linetips.h"
#include "pixelcolumns.h"
#include "pixelfill.h"
#include "rowruns.h"

#include <qwt_plot_curve.h>

#include <QBrush>
#include <QLineF>
#include <QPen>
#include <QPoint>
#include <QPointF>
#include <QPolygonF>
#include <QRect>

#include <optional>
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
// left, it draws the lines through just those: with the pens of a running
// capture it sets the pixels that Qt's stroker sets for Qwt's polyline
// (CosmeticStroke) straight into the image, otherwise the plain drawing
// draws them. Otherwise, and always for steps and sticks, it cuts them into
// pixel columns (PixelColumns), and finds out which of the columns' tips Qt
// would set (LineTips). The owner of the arrays may tell it that the times
// are sorted and the values finite (setKnownShape), so that a replot
// needn't look at every sample to find out.
// With the pens of a running capture (one pixel wide, opaque, not
// antialiased) it fills the pixels of the columns and of the lines between
// them, each pixel once: straight into the painter's image where it can
// (PixelFill), as rectangles (RowRuns) otherwise; with other pens it hands
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
// drawn so, but for a pixel or two of steps where rounding differs. With a
// wider pen the pieces stay, and their end caps lengthen or shorten some of
// the plain item's strokes by a pixel. Antialiased pixels also differ in shade
// where the plain item paints over the same pixel many times.
//
// Drawing keeps buffers in the item; items are drawn on one thread only.
class FastPlotCurve : public QwtPlotCurve
{
public:
    explicit FastPlotCurve(const QString& title = QString());

    // What the owner of the arrays knows of the samples set last, so that a
    // replot needn't scan all of them to find out: whether the times never
    // rise from the first sample to the last, and whether every value is
    // finite. size is the number of samples it speaks of. Forgotten when
    // the samples are set anew; otherwise the first replot finds it out and
    // keeps it, as Qwt keeps the bounding rectangle: samples changed in
    // place must be set again.
    void setKnownShape(int size, bool timesFall, bool valuesFinite);

protected:
    void dataChanged() override;
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

    // Lines through the samples from..to with a thin pen: the pixels Qt's
    // stroker sets for Qwt's polyline, set straight in the painter's image.
    // False, with nothing drawn, where they can't be.
    bool strokeLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                     const QRectF& canvasRect, const double* x, const double* y, int from, int to) const;
    void drawSpans(QPainter* painter, const QRectF& canvasRect, double baseRow, bool sorted) const;
    void drawPolyline(QPainter* painter, const QRectF& canvasRect) const;
    void drawSticks(QPainter* painter, double baseRow) const;

    // Of all samples, as told or as a replot found out; empty where neither.
    struct KnownShape
    {
        int size = -1;
        std::optional<TimeOrder> order;
        std::optional<bool> valuesFinite;
    };
    mutable KnownShape known;

    // Kept from one replot to the next, so that drawing allocates only when
    // it needs more room than before.
    mutable std::vector<ColumnRun> runs;
    mutable std::vector<int> sampleRows; // for PixelColumns
    mutable std::vector<ColumnSpan> columnSpans;
    mutable RowRuns rowRuns;
    mutable std::vector<QRect> spans;
    mutable PixelFill pixelFill;
    mutable std::vector<QRect> rest; // what pixelFill leaves to the painter
    mutable std::vector<QLineF> lines;
    mutable std::vector<QPointF> vertices;
    mutable std::vector<QPoint> tipPixels;
    mutable LineTips::Buffers tipBuffers;
    mutable bool leavingTraced = false; // lines between columns that tipPixels holds
    mutable QPolygonF polyline;
    mutable std::vector<QPoint> strokePixels;
    mutable QPen pensOf{Qt::NoPen}; // the pen that flatPen and spanBrush were made of
    mutable QPen flatPen;
    mutable QBrush spanBrush;
};

#endif // FASTPLOTCURVE_H
