#include "fastplotcurve.h"

#include "cosmeticstroke.h"

#include <qwt_clipper.h>
#include <qwt_painter.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <QPaintEngine>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Qwt strokes a polyline in pieces of seven points unless told otherwise,
// and Qt strokes the ends of each piece anew: it leaves out the corner of a
// step at the end of a piece, and where a piece spans a pixel or two it may
// leave out the whole piece, so that a curve of about one sample per pixel
// column comes out dashed. While an item with a thin pen draws, its
// polylines go to the painter in one piece; Qt strokes those in one pass.
// A wider pen is stroked as an outline, which costs more than linear time
// on a long polyline: there the pieces stay.
class WholePolylines
{
public:
    explicit WholePolylines(bool on) : on(on), before(QwtPainter::polylineSplitting())
    {
        if (on)
            QwtPainter::setPolylineSplitting(false);
    }
    ~WholePolylines()
    {
        if (on)
            QwtPainter::setPolylineSplitting(before);
    }
    WholePolylines(const WholePolylines&) = delete;
    WholePolylines& operator=(const WholePolylines&) = delete;

private:
    const bool on;
    const bool before;
};

// Where Qt's raster engine cuts the lines it strokes: at the edges of the
// image it paints on, which for a widget is the window's backing store,
// wherever in it the painter's own device lies.
QRect strokeBounds(const QPainter* painter)
{
    const QPaintDevice* target = painter->paintEngine()->paintDevice();
    return QRect(0, 0, target->width(), target->height());
}

} // namespace

FastPlotCurve::FastPlotCurve(const QString& title) : QwtPlotCurve(title) {}

void FastPlotCurve::setKnownShape(int size, bool timesFall, bool valuesFinite)
{
    // Times that don't fall may still rise: that is left to find out.
    known = {size, timesFall ? std::optional<TimeOrder>(TimeOrder::Falling) : std::nullopt, valuesFinite};
}

void FastPlotCurve::dataChanged()
{
    known = KnownShape();
    QwtPlotCurve::dataChanged();
}

bool FastPlotCurve::rawArrays(const double** x, const double** y) const
{
    if (const auto* raw = dynamic_cast<const QwtCPointerData*>(data())) {
        *x = raw->xData();
        *y = raw->yData();
        return true;
    }
    if (const auto* arrays = dynamic_cast<const QwtPointArrayData*>(data())) {
        *x = arrays->xData().constData();
        *y = arrays->yData().constData();
        return true;
    }
    return false;
}

bool FastPlotCurve::reducible(const QwtScaleMap& xMap, const QwtScaleMap& yMap) const
{
    const CurveStyle curveStyle = style();
    if (curveStyle != Lines && curveStyle != Steps && curveStyle != Sticks)
        return false;
    if (curveStyle == Lines && testCurveAttribute(Fitted) && curveFitter())
        return false;
    // A dash pattern runs along the whole path, a brush fills below all of
    // it, and symbols sit on every sample.
    if (pen().style() != Qt::SolidLine || brush().style() != Qt::NoBrush)
        return false;
    if (symbol() && symbol()->style() != QwtSymbol::NoSymbol)
        return false;
    return orientation() == Qt::Vertical && !xMap.transformation() && !yMap.transformation();
}

bool FastPlotCurve::paintsWholePixels(const QPainter* painter) const
{
    // Sticks are never antialiased, whatever the painter says.
    if (style() != Sticks && painter->testRenderHint(QPainter::Antialiasing))
        return false;
    // A wider pen covers more than the line's own pixels; a translucent one,
    // and a thinner one, which Qt paints faintly, would show how often a
    // pixel is painted.
    const QPen& linePen = pen();
    if ((linePen.widthF() != 1.0 && linePen.widthF() != 0.0) || linePen.brush().style() != Qt::SolidPattern ||
        linePen.color().alpha() != 255)
        return false;
    if (painter->opacity() != 1.0 || painter->compositionMode() != QPainter::CompositionMode_SourceOver)
        return false;
    const QPaintEngine* engine = painter->paintEngine();
    if (!engine || engine->type() != QPaintEngine::Raster)
        return false;
    const QTransform transform = painter->deviceTransform();
    return transform.type() <= QTransform::TxTranslate && transform.dx() == std::floor(transform.dx()) &&
           transform.dy() == std::floor(transform.dy());
}

void FastPlotCurve::drawSeries(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                               const QRectF& canvasRect, int from, int to) const
{
    const WholePolylines wholePolylines(pen().widthF() <= 1.0);
    const int size = static_cast<int>(dataSize());
    const double* x = nullptr;
    const double* y = nullptr;
    if (!painter || size <= 0 || !rawArrays(&x, &y) || !reducible(xMap, yMap)) {
        QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to);
        return;
    }
    if (to < 0)
        to = size - 1;
    from = qBound(0, from, size - 1);
    to = qBound(0, to, size - 1);
    if (from > to)
        std::swap(from, to);
    // The plain drawing's polyline runs through all of these.
    const int polylineFrom = from;
    const int polylineTo = to;

    // Values that aren't finite have no defined pixels. Unless the polygon
    // is clipped first, Qt strokes them into lines that may cross the
    // canvas, also from samples outside the window; only the plain drawing
    // of all samples draws those the same.
    const double width = pen().widthF();
    // What holds for all samples holds for every part of them. A replot
    // asks for all; what it finds out is kept until the samples change.
    const bool whole = from == 0 && to == size - 1;
    if (known.size != size)
        known = KnownShape{size, std::nullopt, std::nullopt};
    const auto ofAll = [whole](auto& slot, auto find) {
        if (!whole)
            return find();
        if (!slot)
            slot = find();
        return *slot;
    };
    const auto valuesFinite = [&]() {
        return ofAll(known.valuesFinite, [&]() { return finiteValues(y, from, to); });
    };
    const auto order = [&]() { return ofAll(known.order, [&]() { return timeOrder(x, from, to); }); };
    if (!testPaintAttribute(ClipPolygons) && !valuesFinite()) {
        QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to);
        return;
    }

    // Times that aren't finite have no pixel column either. On sorted
    // times they can only stand at the ends.
    const bool sorted = (known.order == TimeOrder::Falling) || order() != TimeOrder::Unsorted;
    if (sorted ? !std::isfinite(x[from]) || !std::isfinite(x[to]) : !finiteValues(x, from, to)) {
        QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to);
        return;
    }

    // A line can touch the canvas from up to a pen's width outside it.
    const double margin = std::max(1.0, width) + 2.0;
    if (sorted) {
        const IndexRange visible =
            visibleRange(x, from, to, xMap, canvasRect.left() - margin, canvasRect.right() + margin);
        from = visible.from;
        to = visible.to;
    }

    // The samples in view alone make the picture of all of them: the first
    // and the last lie beyond the canvas, or end the curve.
    const auto drawPlain = [&]() { QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to); };

    // Where the pixel columns hold a sample or two each, the line through
    // the samples in view is the picture itself and costs about what the
    // columns would. Qt's stroker sets its pixels one by one through its
    // clip and blending; where the painter would set each pixel plainly,
    // the same pixels are set straight in the image, and otherwise Qwt draws
    // the line. Steps and sticks are rows and columns of pixels, which the
    // columns fill at a third of the cost of Qt's stroking.
    if (sorted && style() == Lines && to - from < 2 * canvasRect.width()) {
        const bool finite = known.valuesFinite.value_or(false) || finiteValues(y, from, to);
        if (!finite || !QwtPainter::roundingAlignment(painter) || !paintsWholePixels(painter) ||
            !strokeLines(painter, xMap, yMap, canvasRect, x, y, from, to))
            drawPlain();
        return;
    }

    if (QwtPainter::roundingAlignment(painter)) {
        const bool wholePixels = paintsWholePixels(painter);
        const PixelColumns columns(xMap, yMap, !wholePixels, &sampleRows);
        bool reduced = false;
        switch (style()) {
        case Lines:
            reduced = columns.lines(x, y, from, to, sorted, runs);
            break;
        case Steps:
            // On a vertically oriented curve, Qwt's steps go vertically
            // first unless the curve is Inverted.
            reduced = columns.steps(x, y, from, to, sorted, !testCurveAttribute(Inverted), runs);
            break;
        default:
            reduced = std::isfinite(baseline()) && columns.sticks(x, y, from, to, sorted, runs);
            break;
        }
        tipPixels.clear();
        if (reduced && wholePixels && style() == Lines) {
            const QTransform transform = painter->deviceTransform();
            const QRectF clipRect = canvasRect.adjusted(-1.0, -1.0, 1.0, 1.0);
            LineTips tips(columns, strokeBounds(painter), QPoint(int(transform.dx()), int(transform.dy())),
                          testPaintAttribute(ClipPolygons) ? &clipRect : nullptr,
                          pen().capStyle() != Qt::FlatCap, polylineFrom, polylineTo, tipBuffers);
            tips.apply(x, y, runs, canvasRect.toAlignedRect(), &tipPixels);
            // A line that leaves for a column further off or out of the
            // canvas starts where the joins before it put its first pixel.
            const QRectF lineClip = canvasRect.adjusted(-1.0, -1.0, 1.0, 1.0);
            for (size_t k = 0; k + 1 < runs.size(); ++k) {
                const QPointF a(runs[k].x, runs[k].last);
                const QPointF b(runs[k + 1].x, runs[k + 1].first);
                if (!(std::abs(a.x() - b.x()) == 1.0 && lineClip.contains(a) && lineClip.contains(b)))
                    tips.traceLeaving(x, y, runs[k].end, &tipPixels);
            }
        }
        leavingTraced = reduced && wholePixels && style() == Lines;
        if (reduced) {
            const double baseRow = style() == Sticks ? columns.stickRow(baseline()) : 0.0;
            if (wholePixels)
                drawSpans(painter, canvasRect, baseRow, sorted);
            else if (style() == Sticks)
                drawSticks(painter, baseRow);
            else
                drawPolyline(painter, canvasRect);
            return;
        }
    }
    drawPlain();
}

bool FastPlotCurve::strokeLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                                const QRectF& canvasRect, const double* x, const double* y, int from,
                                int to) const
{
    if (!pixelFill.begin(painter, pen().color().rgba()))
        return false;

    // The polyline as Qwt's point mapper makes it: rounded vertices, and
    // with FilterPoints none the same as the one before.
    const PixelColumns columns(xMap, yMap, false);
    const bool weed = testPaintAttribute(FilterPoints);
    polyline.resize(0);
    for (int i = from; i <= to; ++i) {
        const QPointF p = columns.lineVertex(x[i], y[i]);
        if (!weed || polyline.isEmpty() || polyline.last() != p)
            polyline.append(p);
    }
    if (testPaintAttribute(ClipPolygons) && polyline.size() >= 2) {
        const qreal width = std::max(qreal(1.0), pen().widthF());
        const QRectF clipRect = canvasRect.adjusted(-width, -width, width, width);
        // Mostly only the samples just beyond the window's edges lie
        // outside: Qwt's clipper then cuts just the first and the last
        // line, as clipAsQwt does, and the polyline keeps its memory.
        const auto inside = [&clipRect](const QPointF& p) {
            return p.x() >= clipRect.left() && p.x() <= clipRect.right() && p.y() >= clipRect.top() &&
                   p.y() <= clipRect.bottom();
        };
        const int last = polyline.size() - 1;
        bool endsOnly = last >= 2;
        for (int k = 1; k < last && endsOnly; ++k)
            endsOnly = inside(polyline.at(k));
        if (endsOnly) {
            QPointF second = polyline.at(1);
            QPointF beforeLast = polyline.at(last - 1);
            clipAsQwt(polyline[0], second, clipRect);
            clipAsQwt(beforeLast, polyline[last], clipRect);
        } else {
            polyline = QwtClipper::clipPolygonF(clipRect, polyline, false);
        }
    }
    // Qt draws nothing of a single point, and closes a polyline that ends
    // where it starts, which the stroke below doesn't.
    if (polyline.size() < 2)
        return true;
    if (polyline.first() == polyline.last())
        return false;

    const QTransform transform = painter->deviceTransform();
    const QPointF shift(transform.dx(), transform.dy());
    CosmeticStroke stroke(strokeBounds(painter), pen().capStyle() != Qt::FlatCap);
    strokePixels.clear();
    stroke.moveTo(polyline.first() + shift, true);
    const int last = polyline.size() - 1;
    for (int k = 1; k <= last; ++k)
        stroke.lineTo(polyline.at(k) + shift, k == last, INT_MIN, INT_MAX, &strokePixels);

    rest.clear();
    pixelFill.setPixels(strokePixels.data(), static_cast<int>(strokePixels.size()), &rest);
    if (!rest.empty()) {
        // Beyond the clips: the painter clips them away as it would have.
        painter->save();
        painter->setPen(Qt::NoPen);
        painter->setBrush(pen().color());
        painter->drawRects(rest.data(), static_cast<int>(rest.size()));
        painter->restore();
    }
    return true;
}

void FastPlotCurve::drawSpans(QPainter* painter, const QRectF& canvasRect, double baseRow, bool sorted) const
{
    // Nothing beyond a few pixels around the canvas can be seen; holding
    // the spans there keeps their sizes within int.
    const double left = std::floor(canvasRect.left()) - 4.0;
    const double right = std::ceil(canvasRect.right()) + 4.0;
    const double top = std::floor(canvasRect.top()) - 4.0;
    const double bottom = std::ceil(canvasRect.bottom()) + 4.0;
    const bool isSticks = style() == Sticks;

    spans.clear();
    lines.clear();
    // A polyline whose vertices all coincide has no line to draw.
    if (!isSticks && runs.size() == 1 && runs.front().low == runs.front().high)
        return;

    // The lines on from each column to the next. Their ends lie in the
    // columns' spans; in between, a step is a row of pixels.
    const double width = std::max(1.0, pen().widthF());
    const QRectF clipRect = canvasRect.adjusted(-width, -width, width, width);
    const auto inside = [&clipRect](const QPointF& p) {
        return p.x() >= clipRect.left() && p.x() <= clipRect.right() && p.y() >= clipRect.top() &&
               p.y() <= clipRect.bottom();
    };
    for (size_t i = 0; !isSticks && i + 1 < runs.size(); ++i) {
        ColumnRun& run = runs[i];
        ColumnRun& next = runs[i + 1];
        if (style() == Steps) {
            const double x0 = std::max(std::min(run.x, next.x) + 1.0, left);
            const double x1 = std::min(std::max(run.x, next.x) - 1.0, right);
            if (x0 <= x1 && run.last >= top && run.last <= bottom)
                spans.emplace_back(int(x0), int(run.last), int(x1 - x0) + 1, 1);
            continue;
        }
        QPointF a(run.x, run.last);
        QPointF b(next.x, next.first);
        if (std::abs(run.x - next.x) == 1.0 && inside(a) && inside(b)) {
            // Between neighbouring columns Qt draws the line as pixels of the
            // left column, from its end there to the row before the end in
            // the right column, whose pixel the right column has.
            ColumnRun& leftRun = run.x < next.x ? run : next;
            const double from = run.x < next.x ? run.last : next.first;
            const double to = run.x < next.x ? next.first : run.last;
            // The rows between the two ends; which way the line goes changes
            // from one column to the next, so chosen without a branch.
            const double low = to < from ? to + 1.0 : from + 1.0;
            const double high = to < from ? from - 1.0 : to - 1.0;
            if (leftRun.low <= from && from <= leftRun.high) {
                // The column holds the line's end there: it grows by them.
                leftRun.low = std::min(leftRun.low, low <= high ? low : leftRun.low);
                leftRun.high = std::max(leftRun.high, low <= high ? high : leftRun.high);
            } else if (std::max(low, top) <= std::min(high, bottom) && leftRun.x >= left &&
                       leftRun.x <= right) {
                // Qt leaves the end out where it is a tip of the column, and
                // then they stand apart from the column's own pixels.
                spans.emplace_back(QPoint(int(leftRun.x), int(std::max(low, top))),
                                   QPoint(int(leftRun.x), int(std::min(high, bottom))));
            }
            continue;
        }
        // Traced with the joins before it, unless it comes from outside.
        if (leavingTraced && inside(a))
            continue;
        if (testPaintAttribute(ClipPolygons) && !clipAsQwt(a, b, clipRect))
            continue;
        lines.emplace_back(a, b);
    }

    // What each column covers: a stick runs from the baseline to its sample,
    // both ends included; a line runs between its extremes.
    const auto band = [&](const ColumnRun& run, int* lo, int* hi) {
        const double low = isSticks ? std::min(baseRow, run.low) : run.low;
        const double high = isSticks ? std::max(baseRow, run.high) : run.high;
        if (run.x < left || run.x > right)
            return false;
        *lo = int(std::max(low, top));
        *hi = int(std::min(high, bottom));
        return *lo <= *hi;
    };
    // Made again only when the pen changes, so that a replot allocates
    // nothing here.
    if (pen() != pensOf) {
        pensOf = pen();
        // Without caps a line leaves out its far end, which the next
        // column's span covers.
        flatPen = pensOf;
        flatPen.setCapStyle(Qt::FlatCap);
        spanBrush = QBrush(pensOf.color());
    }
    // Written straight into the image, a column costs what its pixels cost,
    // and needn't be cut into runs along the rows.
    const bool direct = pixelFill.begin(painter, pensOf.color().rgba());

    int lo = 0;
    int hi = 0;
    if (sorted && !direct) {
        // Columns come one after the other; rows they share become runs.
        columnSpans.clear();
        const bool ascending = runs.front().x <= runs.back().x;
        for (size_t k = 0; k < runs.size(); ++k) {
            const ColumnRun& run = runs[ascending ? k : runs.size() - 1 - k];
            if (band(run, &lo, &hi))
                columnSpans.push_back({int(run.x), lo, hi});
        }
        rowRuns.toRects(columnSpans, int(top), int(bottom), &spans);
    } else {
        for (const ColumnRun& run : runs) {
            if (band(run, &lo, &hi))
                spans.emplace_back(int(run.x), lo, 1, hi - lo + 1);
        }
    }

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);
    if (!lines.empty()) {
        painter->setPen(flatPen);
        painter->drawLines(lines.data(), static_cast<int>(lines.size()));
    }
    for (const QPoint& pixel : tipPixels)
        spans.emplace_back(pixel, QSize(1, 1));
    const std::vector<QRect>* painted = &spans;
    if (direct) {
        rest.clear();
        pixelFill.fill(spans.data(), static_cast<int>(spans.size()), &rest);
        painted = &rest;
    }
    painter->setPen(Qt::NoPen);
    painter->setBrush(spanBrush);
    painter->drawRects(painted->data(), static_cast<int>(painted->size()));
    painter->restore();
}

void FastPlotCurve::drawPolyline(QPainter* painter, const QRectF& canvasRect) const
{
    vertices.clear();
    const auto append = [this](double x, double y) {
        if (vertices.empty() || vertices.back().x() != x || vertices.back().y() != y)
            vertices.emplace_back(x, y);
    };
    for (const ColumnRun& run : runs) {
        append(run.x, run.first);
        append(run.x, run.lowFirst ? run.low : run.high);
        append(run.x, run.lowFirst ? run.high : run.low);
        append(run.x, run.last);
    }

    painter->save();
    painter->setPen(pen());
    if (testPaintAttribute(ClipPolygons)) {
        // The same clip as the plain drawing, so that cut lines end alike.
        const qreal width = std::max(qreal(1.0), painter->pen().widthF());
        const QRectF clipRect = canvasRect.adjusted(-width, -width, width, width);
        QPolygonF polygon(static_cast<int>(vertices.size()));
        std::copy(vertices.cbegin(), vertices.cend(), polygon.begin());
        QwtPainter::drawPolyline(painter, QwtClipper::clipPolygonF(clipRect, polygon, false));
    } else {
        QwtPainter::drawPolyline(painter, vertices.data(), static_cast<int>(vertices.size()));
    }
    painter->restore();
}

void FastPlotCurve::drawSticks(QPainter* painter, double baseRow) const
{
    // Every stick of a column starts at the baseline, so the two that reach
    // farthest cover all the others.
    lines.clear();
    for (const ColumnRun& run : runs) {
        lines.emplace_back(run.x, baseRow, run.x, run.low);
        if (run.high != run.low)
            lines.emplace_back(run.x, baseRow, run.x, run.high);
    }
    painter->save();
    painter->setPen(pen());
    // As in the plain drawing: sticks are never antialiased.
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->drawLines(lines.data(), static_cast<int>(lines.size()));
    painter->restore();
}
