#ifndef FASTPLOTCURVE_H
#define FASTPLOTCURVE_H

#include <qwt_plot_curve.h>

#include <QLineF>
#include <QPolygonF>

#include <vector>

// The plot item of a curve: draws the picture of a plain QwtPlotCurve at a
// cost that follows the width of the canvas rather than the number of
// samples. The plain item maps every sample at every replot, also those out
// of view, and hands a vertex per sample to the painter, which paints dense
// columns over and over; at hundreds of thousands of samples per curve that
// is most of a refresh tick.
//
// This item reads the arrays given by setRawSamples in place. On times that
// are sorted either way it finds the samples in view by binary search, one
// beyond each edge kept so that the line runs into the view. Lines through
// fewer than about two samples a pixel column Qwt draws itself, just those.
// Otherwise each pixel column is reduced to its first, lowest, highest and
// last sample, and the style is drawn from the columns: lines through those
// four points, steps as the column's extent and the run on to the next
// column, sticks as one line per column. With a thin opaque pen on a raster
// image the columns are written straight into the image.
//
// Whatever the columns can't describe goes to the plain drawing: symbols,
// brushes, fitted curves, dashed pens, unsorted or non-finite times, values
// that aren't numbers, scale transformations, and painters that don't round
// to pixels, such as printers.
//
// Drawing keeps buffers in the item; items are drawn on one thread only.
class FastPlotCurve : public QwtPlotCurve
{
public:
    explicit FastPlotCurve(const QString& title = QString());

    // The owner of the arrays knows that the times of the `size` samples set
    // last never rise, so a replot needn't scan them to find out. Forgotten
    // when samples are set anew; untold, the first replot finds the order
    // and keeps it, as Qwt keeps the bounding rectangle: samples changed in
    // place must be set again.
    void setTimesFall(int size);

protected:
    void dataChanged() override;
    void drawSeries(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                    const QRectF& canvasRect, int from, int to) const override;

private:
    enum class Order { Unknown, Falling, Rising, Unsorted };
    class RasterTarget;

    // One pixel column, in pixels: the rows where the line enters and
    // leaves it (of its first and last sample, for steps those of the step
    // before and after it), and the rows of its extreme samples.
    struct Column
    {
        double x;
        double enter;
        double top;
        double bottom;
        double leave;
    };

    bool reducible(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap) const;
    Order timeOrder(const double* x, int size) const;
    // Fills columns from the samples from..to; false where a value is not a
    // number.
    bool reduce(const double* x, const double* y, int from, int to, const QwtScaleMap& xMap,
                const QwtScaleMap& yMap) const;
    // Whether the painter would set exactly the pixels the columns describe.
    bool thinOpaquePen(const QPainter* painter) const;
    // Of lines and steps: the polyline through the columns, and the same
    // written into the image.
    QPolygonF polyline() const;
    void writePolyline(const RasterTarget& target) const;
    void drawColumns(QPainter* painter, const QRectF& canvasRect, double baseRow) const;

    mutable Order order = Order::Unknown;
    mutable std::vector<Column> columns;
    mutable std::vector<QLineF> lines; // what goes to the painter as lines
};

#endif // FASTPLOTCURVE_H
