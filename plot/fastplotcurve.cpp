#include "fastplotcurve.h"

#include <qwt_clipper.h>
#include <qwt_painter.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>
#include <qwt_symbol.h>

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Far beyond any canvas and well within int: coordinates are held here.
constexpr double coordinateLimit = 1073741824.0; // 2^30

// A coordinate rounded to its pixel, half up, as qRound rounds the vertices
// Qwt draws: shifted to where truncation is floor, without a branch. Not a
// number ends at the upper limit.
inline double toPixel(double v)
{
    constexpr double shift = 2.0 * coordinateLimit;
    const double held = v < coordinateLimit ? (v > -coordinateLimit ? v : -coordinateLimit) : coordinateLimit;
    return double(int64_t(held + (shift + 0.5))) - shift;
}

// The first index in [lo, hi) where holds() is false, or hi; holds() must
// be true on a prefix of the range and false on the rest.
template <typename Holds> int partitionPoint(int lo, int hi, Holds holds)
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

// The lowest and highest of v[from..to]; false where a value is not a
// number. Most of the work on a dense curve is this loop, hence two lanes
// of two values.
bool extremes(const double* v, int from, int to, double* low, double* high)
{
    double lo = v[from];
    double hi = v[from];
    bool numbers = true;
    int k = from;
#if defined(__SSE2__)
    if (to - from >= 7) {
        __m128d lo0 = _mm_set1_pd(lo);
        __m128d hi0 = lo0;
        __m128d lo1 = lo0;
        __m128d hi1 = lo0;
        __m128d nan = _mm_setzero_pd();
        for (; k + 3 <= to; k += 4) {
            const __m128d a = _mm_loadu_pd(v + k);
            const __m128d b = _mm_loadu_pd(v + k + 2);
            nan = _mm_or_pd(nan, _mm_cmpunord_pd(a, b));
            lo0 = _mm_min_pd(lo0, a);
            hi0 = _mm_max_pd(hi0, a);
            lo1 = _mm_min_pd(lo1, b);
            hi1 = _mm_max_pd(hi1, b);
        }
        double l[2];
        double h[2];
        _mm_storeu_pd(l, _mm_min_pd(lo0, lo1));
        _mm_storeu_pd(h, _mm_max_pd(hi0, hi1));
        lo = std::min(l[0], l[1]);
        hi = std::max(h[0], h[1]);
        numbers = _mm_movemask_pd(nan) == 0;
    }
#endif
    for (; k <= to; ++k) {
        const double x = v[k];
        numbers = numbers && x == x;
        lo = x < lo ? x : lo;
        hi = x > hi ? x : hi;
    }
    *low = lo;
    *high = hi;
    return numbers;
}

// Rows from `from` towards `to`, without `to`, widen [top, bottom].
void stretch(double from, double to, double* top, double* bottom)
{
    if (from == to)
        return;
    const double end = to > from ? to - 1.0 : to + 1.0;
    *top = std::min({*top, from, end});
    *bottom = std::max({*bottom, from, end});
}

} // namespace

// Sets pixels of one opaque colour straight in the image behind a raster
// painter. Qt fills a one pixel wide rectangle row by row, with a call and
// a clip per row, which for the tall columns of a dense curve is most of
// the cost of drawing it. Only where the painter would set just those
// pixels: a 32-bit image, opaque source-over painting, a translation by
// whole pixels, clips that are single rectangles.
class FastPlotCurve::RasterTarget
{
public:
    bool begin(QPainter* painter, QRgb color);

    // In the painter's coordinates, both ends included.
    void column(double x, double top, double bottom) const { fill(x, x, top, bottom); }
    void row(double y, double left, double right) const { fill(left, right, y, y); }

private:
    void fill(double left, double right, double top, double bottom) const;

    uchar* bits = nullptr;
    qsizetype stride = 0;
    QRect safe;    // what may be written, in the image's pixels
    QPoint offset; // from the painter's coordinates to the image's
    quint32 pixel = 0;
};

bool FastPlotCurve::RasterTarget::begin(QPainter* painter, QRgb color)
{
    QPaintEngine* engine = painter->paintEngine();
    if (!engine || engine->type() != QPaintEngine::Raster || qAlpha(color) != 255)
        return false;
    QPaintDevice* device = engine->paintDevice();
    if (!device || device->devType() != QInternal::Image)
        return false;
    auto* image = static_cast<QImage*>(device);
    const QImage::Format format = image->format();
    if (format != QImage::Format_RGB32 && format != QImage::Format_ARGB32 &&
        format != QImage::Format_ARGB32_Premultiplied)
        return false;
    if (painter->opacity() != 1.0 || painter->compositionMode() != QPainter::CompositionMode_SourceOver)
        return false;
    const QTransform transform = painter->deviceTransform();
    if (transform.type() > QTransform::TxTranslate || transform.dx() != std::floor(transform.dx()) ||
        transform.dy() != std::floor(transform.dy()))
        return false;
    offset = QPoint(int(transform.dx()), int(transform.dy()));

    safe = image->rect();
    // The device's clip (for a widget, the region being repainted) is in its
    // pixels, the painter's in the painter's coordinates.
    const QRegion systemClip = engine->systemClip();
    if (!systemClip.isEmpty()) {
        if (systemClip.rectCount() != 1)
            return false;
        safe &= systemClip.boundingRect();
    }
    if (painter->hasClipping()) {
        const QRegion clip = painter->clipRegion();
        if (clip.rectCount() != 1)
            return false;
        safe &= clip.boundingRect().translated(offset);
    }
    // The engine paints into this very memory; bits() would detach a copy
    // that someone took while painting.
    bits = const_cast<uchar*>(image->constBits());
    stride = image->bytesPerLine();
    pixel = color;
    return true;
}

void FastPlotCurve::RasterTarget::fill(double left, double right, double top, double bottom) const
{
    const int x0 = std::max(int(left) + offset.x(), safe.left());
    const int x1 = std::min(int(right) + offset.x(), safe.right());
    const int y0 = std::max(int(top) + offset.y(), safe.top());
    const int y1 = std::min(int(bottom) + offset.y(), safe.bottom());
    if (x0 > x1 || y0 > y1)
        return;
    uchar* line = bits + y0 * stride;
    if (x0 == x1) {
        for (int y = y0; y <= y1; ++y, line += stride)
            reinterpret_cast<quint32*>(line)[x0] = pixel;
        return;
    }
    for (int y = y0; y <= y1; ++y, line += stride)
        std::fill(reinterpret_cast<quint32*>(line) + x0, reinterpret_cast<quint32*>(line) + x1 + 1, pixel);
}

FastPlotCurve::FastPlotCurve(const QString& title) : QwtPlotCurve(title) {}

void FastPlotCurve::setTimesFall(int size)
{
    if (size == int(dataSize()))
        order = Order::Falling;
}

void FastPlotCurve::dataChanged()
{
    order = Order::Unknown;
    QwtPlotCurve::dataChanged();
}

bool FastPlotCurve::reducible(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap) const
{
    const CurveStyle curveStyle = style();
    if (curveStyle != Lines && curveStyle != Steps && curveStyle != Sticks)
        return false;
    if (curveStyle == Lines && testCurveAttribute(Fitted) && curveFitter())
        return false;
    if (curveStyle == Sticks && !std::isfinite(baseline()))
        return false;
    // A dash pattern runs along the whole path, a brush fills below all of
    // it, and symbols sit on every sample.
    if (pen().style() != Qt::SolidLine || brush().style() != Qt::NoBrush)
        return false;
    if (symbol() && symbol()->style() != QwtSymbol::NoSymbol)
        return false;
    return orientation() == Qt::Vertical && !xMap.transformation() && !yMap.transformation() &&
           QwtPainter::roundingAlignment(painter);
}

FastPlotCurve::Order FastPlotCurve::timeOrder(const double* x, int size) const
{
    if (order == Order::Unknown) {
        bool falls = true;
        bool rises = true;
        for (int i = 0; i + 1 < size && (falls || rises); ++i) {
            falls = falls && x[i] >= x[i + 1];
            rises = rises && x[i] <= x[i + 1];
        }
        order = falls ? Order::Falling : rises ? Order::Rising : Order::Unsorted;
    }
    return order;
}

bool FastPlotCurve::thinOpaquePen(const QPainter* painter) const
{
    const QPen& linePen = pen();
    return !painter->testRenderHint(QPainter::Antialiasing) &&
           (linePen.widthF() == 0.0 || linePen.widthF() == 1.0) &&
           linePen.brush().style() == Qt::SolidPattern && linePen.color().alpha() == 255;
}

void FastPlotCurve::drawSeries(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                               const QRectF& canvasRect, int from, int to) const
{
    const int size = int(dataSize());
    const double* x = nullptr;
    const double* y = nullptr;
    if (const auto* raw = dynamic_cast<const QwtCPointerData*>(data())) {
        x = raw->xData();
        y = raw->yData();
    } else if (const auto* arrays = dynamic_cast<const QwtPointArrayData*>(data())) {
        x = arrays->xData().constData();
        y = arrays->yData().constData();
    }
    const auto drawPlain = [&]() { QwtPlotCurve::drawSeries(painter, xMap, yMap, canvasRect, from, to); };
    if (!painter || size <= 0 || !x || !reducible(painter, xMap, yMap)) {
        drawPlain();
        return;
    }
    if (to < 0)
        to = size - 1;
    from = qBound(0, from, size - 1);
    to = qBound(0, to, size - 1);
    if (from > to)
        std::swap(from, to);
    // On sorted times, infinite ones can only stand at the ends.
    const Order sorted = timeOrder(x, size);
    if (sorted == Order::Unsorted || !std::isfinite(x[from]) || !std::isfinite(x[to])) {
        drawPlain();
        return;
    }

    // The samples that map into the canvas, with a margin for rounding and
    // the pen, and one beyond each edge, from which the line comes in.
    const double margin = 1.0 + std::max(1.0, pen().widthF());
    const double t0 = xMap.invTransform(canvasRect.left() - margin);
    const double t1 = xMap.invTransform(canvasRect.right() + margin);
    const double early = std::min(t0, t1);
    const double late = std::max(t0, t1);
    const bool falling = sorted == Order::Falling;
    const int firstIn =
        partitionPoint(from, to + 1, [&](int i) { return falling ? x[i] > late : x[i] < early; });
    const int firstBeyond =
        partitionPoint(firstIn, to + 1, [&](int i) { return falling ? x[i] >= early : x[i] <= late; });
    from = std::max(from, firstIn - 1);
    to = std::min(to, firstBeyond);

    // Lines through fewer than about two samples a column are slanted,
    // which the columns don't describe, and the plain drawing of those costs
    // no more. Steps and sticks are rows and columns of pixels at any
    // density, which Qwt would draw with a painter call per sample.
    const int fewest = style() == Lines ? 2 * int(canvasRect.width()) : 2;
    if (to - from + 1 < fewest || !reduce(x, y, from, to, xMap, yMap)) {
        drawPlain();
        return;
    }
    drawColumns(painter, canvasRect, toPixel(yMap.transform(baseline())));
}

bool FastPlotCurve::reduce(const double* x, const double* y, int from, int to, const QwtScaleMap& xMap,
                           const QwtScaleMap& yMap) const
{
    columns.clear();
    const auto columnOf = [&](int i) { return toPixel(xMap.transform(x[i])); };
    const auto rowOf = [&](double v) { return toPixel(yMap.transform(v)); };
    int length = 1; // of the last column; the next one is likely alike
    double column = columnOf(from);
    for (int i = from; i <= to;) {
        const auto inColumn = [&](int k) { return columnOf(k) == column; };
        // On sorted times a column's samples follow one another. Short
        // columns are walked; from the length of a long one the search
        // gallops, then bisects.
        int end = i + 1;
        double next = column;
        if (length < 16) {
            while (end <= to && (next = columnOf(end)) == column)
                ++end;
        } else {
            int hi = to + 1;
            for (int probe = i + length; probe < hi; probe = i + 2 * (probe - i)) {
                if (!inColumn(probe)) {
                    hi = probe;
                    break;
                }
                end = probe + 1;
            }
            end = partitionPoint(end, hi, inColumn);
            if (end <= to)
                next = columnOf(end);
        }
        double low = 0.0;
        double high = 0.0;
        if (!extremes(y, i, end - 1, &low, &high))
            return false;
        // The value axis may run either way.
        const double lowRow = rowOf(low);
        const double highRow = rowOf(high);
        columns.push_back(
            {column, rowOf(y[i]), std::min(lowRow, highRow), std::max(lowRow, highRow), rowOf(y[end - 1])});
        length = end - i;
        i = end;
        column = next;
    }
    return true;
}

QPolygonF FastPlotCurve::polyline() const
{
    QPolygonF vertices;
    for (const Column& column : columns) {
        vertices.append(QPointF(column.x, column.enter));
        for (const double row : {column.top, column.bottom, column.leave}) {
            if (row != vertices.constLast().y())
                vertices.append(QPointF(column.x, row));
        }
    }
    return vertices;
}

void FastPlotCurve::writePolyline(const RasterTarget& target) const
{
    // Each column with the ends of the lines to its neighbours. A steep line
    // between neighbouring columns Qt draws in the left one, from its end
    // there to the row before its end in the right one.
    const size_t count = columns.size();
    for (size_t k = 0; k < count; ++k) {
        const Column& column = columns[k];
        const Column* const before = k > 0 ? &columns[k - 1] : nullptr;
        const Column* const after = k + 1 < count ? &columns[k + 1] : nullptr;
        double top = std::min({column.top, column.enter, column.leave});
        double bottom = std::max({column.bottom, column.enter, column.leave});
        if (before && before->x == column.x + 1.0)
            stretch(column.enter, before->leave, &top, &bottom);
        if (after && after->x == column.x + 1.0)
            stretch(column.leave, after->enter, &top, &bottom);
        target.column(column.x, top, bottom);
        // Rows run across; slanted lines further than to a neighbour go to
        // the painter.
        if (after && std::abs(after->x - column.x) > 1.0) {
            if (column.leave == after->enter)
                target.row(column.leave, std::min(column.x, after->x), std::max(column.x, after->x));
            else
                lines.emplace_back(column.x, column.leave, after->x, after->enter);
        }
    }
}

void FastPlotCurve::drawColumns(QPainter* painter, const QRectF& canvasRect, double baseRow) const
{
    const bool sticks = style() == Sticks;
    // Qwt's steps on a vertical curve go from each sample vertically to the
    // value of the next one, then across to it; with Inverted across first.
    // Either way a column's vertical line runs on to the row of the step.
    const size_t count = columns.size();
    if (style() == Steps && testCurveAttribute(Inverted)) {
        for (size_t k = count; k-- > 1;)
            columns[k].enter = columns[k - 1].leave;
    } else if (style() == Steps) {
        for (size_t k = 0; k + 1 < count; ++k)
            columns[k].leave = columns[k + 1].enter;
    }
    painter->save();
    painter->setPen(pen());
    // As in the plain drawing: sticks are never antialiased.
    if (sticks)
        painter->setRenderHint(QPainter::Antialiasing, false);

    // Every stick of a column starts at the baseline: one line covers them.
    const auto stick = [baseRow](const Column& column) {
        return QLineF(column.x, std::min(baseRow, column.top), column.x, std::max(baseRow, column.bottom));
    };
    lines.clear();
    RasterTarget target;
    if (thinOpaquePen(painter) && target.begin(painter, pen().color().rgba())) {
        if (sticks) {
            for (const Column& column : columns) {
                const QLineF line = stick(column);
                target.column(line.x1(), line.y1(), line.y2());
            }
        } else {
            writePolyline(target);
        }
        painter->drawLines(lines.data(), int(lines.size()));
    } else if (sticks) {
        for (const Column& column : columns)
            lines.push_back(stick(column));
        painter->drawLines(lines.data(), int(lines.size()));
    } else {
        // The plain drawing's clip, so that cut lines end alike.
        const qreal width = std::max(qreal(1.0), pen().widthF());
        const QRectF clipRect = canvasRect.adjusted(-width, -width, width, width);
        QwtPainter::drawPolyline(painter, testPaintAttribute(ClipPolygons)
                                              ? QwtClipper::clipPolygonF(clipRect, polyline(), false)
                                              : polyline());
    }
    painter->restore();
}
