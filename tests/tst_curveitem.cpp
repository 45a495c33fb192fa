// The curve item of the program draws from a few vertices per pixel column;
// what it draws must be what a plain QwtPlotCurve draws from every sample.
// Both render the same arrays into images of the same plot, and the images
// are compared pixel by pixel. Also the parts: the visible index range, the
// time order, and the rectangles that fill the columns.
#include "dataplot.h"
#include "fastplotcurve.h"
#include "pixelcolumns.h"
#include "plotcurve.h"
#include "rowruns.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_null_paintdevice.h>
#include <qwt_painter.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_renderer.h>
#include <qwt_point_data.h>
#include <qwt_scale_map.h>

#include <QtTest>

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// Arrays as the refresh cycle fills them: element 0 is the live point at
// the present, then the samples follow newest first.
struct Series
{
    std::vector<double> x;
    std::vector<double> y;
};

enum class Shape {
    Dense,             // 100000 samples over 100 s: noise on a slow wave, with spikes
    Zigzag,            // every sample jumps between two far values
    ZigzagOldestFirst, // the same, the arrays in the other order
    Wave,              // 5000 samples of a byte: a slow wave with a little noise
    WaveOldestFirst,   // the same, the arrays in the other order
    WalkOldestFirst,   // 20000 samples that wander, oldest first
    Sparse,            // 40 samples over 100 s
    Bursts,            // groups of samples with one timestamp
    WithNaN,           // dense, with not-a-number values here and there
    Unsorted,          // dense, with the clock set back in the middle
    BadTimes,          // dense, with times that are not a number or infinite
    Infinite,          // dense, with infinite values here and there
    Beyond,            // dense, reaching far beyond the value axis
    OneSample,         // the live point and one sample
    LivePointOnly
};

Series makeSeries(Shape shape)
{
    std::mt19937 rng(7);
    std::normal_distribution<double> noise(0.0, 6.0);
    std::vector<double> times;
    std::vector<double> values;
    const auto add = [&](double t, double v) {
        times.push_back(t);
        values.push_back(v);
    };

    switch (shape) {
    case Shape::Dense:
    case Shape::WithNaN:
    case Shape::Unsorted:
    case Shape::BadTimes:
    case Shape::Infinite:
    case Shape::Beyond: {
        const int n = 100000;
        for (int i = 0; i < n; ++i) {
            const double t = 0.001 * (i + 1) - 0.0003 * (i % 3);
            double v = 60.0 * std::sin(t * 0.7) + noise(rng);
            if (i % 4999 == 0)
                v = (i % 2) ? 95.0 : -95.0;
            if (shape == Shape::Beyond && i % 1500 < 40)
                v *= 1e6;
            add(t, v);
        }
        if (shape == Shape::WithNaN) {
            for (int i = 517; i < n; i += 9973)
                values[size_t(i)] = notANumber;
        }
        if (shape == Shape::BadTimes) {
            times[size_t(n / 3)] = notANumber;
            times[size_t(n / 2)] = std::numeric_limits<double>::infinity();
        }
        if (shape == Shape::Infinite) {
            for (int i = 3001; i < n; i += 15013)
                values[size_t(i)] = (i % 2 ? 1.0 : -1.0) * std::numeric_limits<double>::infinity();
        }
        if (shape == Shape::Unsorted) {
            // From the middle on the clock stood 3 s earlier.
            for (int i = n / 2; i < n; ++i)
                times[size_t(i)] -= 3.0;
        }
        break;
    }
    case Shape::Zigzag:
    case Shape::ZigzagOldestFirst:
        for (int i = 0; i < 20000; ++i)
            add(0.005 * (i + 1), (i % 2) ? 80.0 : -70.0 + (i % 7));
        break;
    case Shape::Wave:
    case Shape::WaveOldestFirst: {
        // Rows a pixel or two apart from one column to the next, so that
        // most lines between columns are flat.
        std::normal_distribution<double> small(0.0, 1.5);
        for (int i = 0; i < 5000; ++i) {
            const double t = 0.02 * (i + 1);
            add(t, (std::round(127.0 + 100.0 * std::sin(t * 0.2) + small(rng)) - 127.0) * 0.784314);
        }
        break;
    }
    case Shape::WalkOldestFirst: {
        double v = 0.0;
        for (int i = 0; i < 20000; ++i) {
            v = std::max(-90.0, std::min(90.0, v + noise(rng) * 0.5));
            add(0.005 * (i + 1), v);
        }
        break;
    }
    case Shape::Sparse:
        for (int i = 0; i < 40; ++i)
            add(2.5 * i + 0.37, 50.0 * std::cos(i * 0.9) + noise(rng));
        break;
    case Shape::Bursts:
        for (int i = 0; i < 3000; ++i)
            add(0.033 * (i / 5 + 1), 40.0 * std::sin(i * 0.05) + noise(rng));
        break;
    case Shape::OneSample:
        add(42.0, 33.0);
        break;
    case Shape::LivePointOnly:
        break;
    }

    // Newest first, behind the live point at 100.05 s; or the other way
    // round, which no capture makes, but which turns every join around.
    Series s;
    if (shape == Shape::ZigzagOldestFirst || shape == Shape::WaveOldestFirst ||
        shape == Shape::WalkOldestFirst) {
        s.x = times;
        s.y = values;
        return s;
    }
    s.x.push_back(100.05);
    s.y.push_back(values.empty() ? 0.0 : values.back());
    for (size_t k = times.size(); k-- > 0;) {
        s.x.push_back(times[k]);
        s.y.push_back(values[k]);
    }
    return s;
}

// How the program sets an item up, and the view it is drawn in.
struct Scene
{
    QSize size;
    double start; // time window
    double end;
    QwtPlotCurve::CurveStyle style;
    double width;
    bool antialiased;
    bool clipped; // ClipPolygons: on for a new curve, off after antialiasing was switched off
    bool inverted;
};

// Renders one item over the series into an image of the given size, as the
// program's plot would show it: explicit axes, a framed canvas.
// told, if given, runs right after the samples are set.
QImage render(QwtPlotCurve* item, const Series& s, const Scene& scene,
              const std::function<void()>& told = nullptr)
{
    QwtPlot plot;
    auto* canvas = qobject_cast<QwtPlotCanvas*>(plot.canvas());
    canvas->setFrameShadow(QFrame::Sunken);
    canvas->setFrameShape(QFrame::Box);
    canvas->setLineWidth(1);
    plot.setAxisScale(QwtPlot::xBottom, scene.start, scene.end, (scene.end - scene.start) / 10);
    plot.setAxisScale(QwtPlot::yLeft, -100.0, 100.0, 10.0);

    item->setRawSamples(s.x.data(), s.y.data(), int(s.x.size()));
    if (told)
        told();
    item->setStyle(scene.style);
    item->setPen(QPen(QColor("#1f6fb4"), scene.width));
    item->setBaseline(20.0);
    item->setCurveAttribute(QwtPlotCurve::Inverted, scene.inverted);
    item->setPaintAttribute(QwtPlotCurve::ClipPolygons, scene.clipped);
    item->setRenderHint(QwtPlotItem::RenderAntialiased, scene.antialiased);
    item->attach(&plot);
    // The renderer reads the axes as the last update left them.
    plot.updateAxes();

    // At the plot's own resolution the renderer paints without scaling, as
    // the canvas does on the screen, where coordinates are rounded to pixels.
    QImage image(scene.size, QImage::Format_RGB32);
    image.setDotsPerMeterX(qRound(plot.logicalDpiX() / 0.0254));
    image.setDotsPerMeterY(qRound(plot.logicalDpiY() / 0.0254));
    image.fill(Qt::white);
    QwtPlotRenderer renderer;
    renderer.renderTo(&plot, image);
    item->detach();
    return image;
}

bool isBackground(QRgb pixel)
{
    return qRed(pixel) == qGreen(pixel) && qGreen(pixel) == qBlue(pixel);
}

struct Comparison
{
    int differing = 0; // pixels that differ
    int footprint = 0; // of those, pixels where only one image has the curve
    int loose = 0;     // of those, pixels with no curve pixel beside them in either image
    int curve = 0;     // curve pixels of the plain image
};

// Compares pixel by pixel. A differing pixel that lies beside curve
// pixels in both images only lengthens or shortens a stroke by its end
// pixel; one that doesn't is something drawn in the wrong place.
Comparison compare(const QImage& plain, const QImage& fast)
{
    Comparison result;
    const auto curveNear = [](const QImage& image, int col, int row) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const int c = col + dx;
                const int r = row + dy;
                if ((dx || dy) && c >= 0 && r >= 0 && c < image.width() && r < image.height() &&
                    !isBackground(image.pixel(c, r)))
                    return true;
            }
        }
        return false;
    };
    for (int row = 0; row < plain.height(); ++row) {
        const auto* a = reinterpret_cast<const QRgb*>(plain.constScanLine(row));
        const auto* b = reinterpret_cast<const QRgb*>(fast.constScanLine(row));
        for (int col = 0; col < plain.width(); ++col) {
            result.curve += !isBackground(a[col]);
            if (a[col] == b[col])
                continue;
            ++result.differing;
            if (isBackground(a[col]) == isBackground(b[col]))
                continue;
            ++result.footprint;
            if (!curveNear(plain, col, row) || !curveNear(fast, col, row))
                ++result.loose;
        }
    }
    return result;
}

// The item under test, telling whether it left any drawing to the plain
// QwtPlotCurve.
class ProbeCurve : public FastPlotCurve
{
public:
    mutable int plainSamples = 0; // the most samples handed to one plain drawing

protected:
    void drawCurve(QPainter* painter, int style, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                   const QRectF& canvasRect, int from, int to) const override
    {
        plainSamples = std::max(plainSamples, to - from + 1);
        FastPlotCurve::drawCurve(painter, style, xMap, yMap, canvasRect, from, to);
    }
};

// A paint device that counts what the painter is given, to see how much
// an item hands over.
class CountingDevice : public QwtNullPaintDevice
{
public:
    int polylinePoints = 0;
    int lines = 0;

protected:
    QSize sizeMetrics() const override { return QSize(1200, 600); }
    void drawPolygon(const QPointF*, int count, QPaintEngine::PolygonDrawMode) override
    {
        polylinePoints += count;
    }
    void drawLines(const QLineF*, int count) override { lines += count; }
};

} // namespace

Q_DECLARE_METATYPE(Shape)
Q_DECLARE_METATYPE(Scene)
using Spans = QVector<ColumnSpan>;
Q_DECLARE_METATYPE(Spans)
Q_DECLARE_METATYPE(QwtPlotCurve::CurveStyle)

class TestCurveItem : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void samePixels_data();
    void samePixels();
    void samePixelsOnAWidget_data();
    void samePixelsOnAWidget();
    void samePixelsOnRandomCurves_data();
    void samePixelsOnRandomCurves();
    void staysAPlotCurve();
    void knownShapeHoldsForItsSamplesOnly_data();
    void knownShapeHoldsForItsSamplesOnly();
    void handsOverFewVertices_data();
    void handsOverFewVertices();
    void visibleRangeKeepsOneSampleBeyondEachEdge_data();
    void visibleRangeKeepsOneSampleBeyondEachEdge();
    void timeOrder_data();
    void timeOrder();
    void rowRunsCoverTheSpansOnce_data();
    void rowRunsCoverTheSpansOnce();
    void programCurvesUseTheItem();
};

void TestCurveItem::samePixels_data()
{
    QTest::addColumn<Shape>("shape");
    QTest::addColumn<Scene>("scene");

    struct Window
    {
        const char* name;
        double start;
        double end;
    };
    const Window windows[] = {
        {"all", 0.05, 100.05},
        {"10 %", 90.05, 100.05},
        {"1 %", 99.05, 100.05},
        {"middle 1 %", 50.0, 51.0},
        {"between samples", 37.3, 62.9},
        {"before the data", -50.0, -10.0},
        {"after the data", 150.0, 200.0},
        {"10 ms", 63.2, 63.21},
    };
    const struct
    {
        const char* name;
        Shape shape;
    } shapes[] = {
        {"dense", Shape::Dense},
        {"zigzag", Shape::Zigzag},
        {"zigzag oldest first", Shape::ZigzagOldestFirst},
        {"wave", Shape::Wave},
        {"wave oldest first", Shape::WaveOldestFirst},
        {"walk oldest first", Shape::WalkOldestFirst},
        {"sparse", Shape::Sparse},
        {"bursts", Shape::Bursts},
        {"NaN", Shape::WithNaN},
        {"unsorted", Shape::Unsorted},
        {"bad times", Shape::BadTimes},
        {"infinite values", Shape::Infinite},
        {"beyond the axis", Shape::Beyond},
        {"one sample", Shape::OneSample},
        {"live point only", Shape::LivePointOnly},
    };
    const struct
    {
        const char* name;
        QwtPlotCurve::CurveStyle style;
    } styles[] = {
        {"Steps", QwtPlotCurve::Steps}, {"Lines", QwtPlotCurve::Lines}, {"Sticks", QwtPlotCurve::Sticks}};

    const auto addRow = [](const char* shape, Shape data, const Window& window, const char* style,
                           const Scene& scene) {
        QTest::addRow("%s, %s, %s, %dx%d, width %g%s%s%s", shape, window.name, style, scene.size.width(),
                      scene.size.height(), scene.width, scene.antialiased ? ", antialiased" : "",
                      scene.clipped ? "" : ", not clipped", scene.inverted ? ", inverted" : "")
            << data << scene;
    };
    // Every shape in every window and style as a running capture draws it.
    for (const auto& shape : shapes) {
        for (const Window& window : windows) {
            for (const auto& style : styles) {
                addRow(shape.name, shape.shape, window, style.name,
                       {QSize(1200, 600), window.start, window.end, style.style, 1.0, false, true, false});
            }
        }
    }
    // Other sizes, pens, clipping, antialiasing and step directions.
    for (const auto& shape : shapes) {
        if (shape.shape != Shape::Dense && shape.shape != Shape::Zigzag && shape.shape != Shape::Sparse &&
            shape.shape != Shape::WithNaN)
            continue;
        for (const Window& window : {windows[0], windows[1], windows[3], windows[4]}) {
            for (const auto& style : styles) {
                const Scene run{
                    QSize(1200, 600), window.start, window.end, style.style, 1.0, false, true, false};
                Scene scene = run;
                scene.size = QSize(300, 200);
                addRow(shape.name, shape.shape, window, style.name, scene);
                scene = run;
                scene.clipped = false;
                addRow(shape.name, shape.shape, window, style.name, scene);
                scene = run;
                scene.width = 2.0;
                addRow(shape.name, shape.shape, window, style.name, scene);
                if (shape.shape == Shape::WithNaN) {
                    scene.clipped = false;
                    addRow(shape.name, shape.shape, window, style.name, scene);
                }
                scene = run;
                scene.antialiased = true;
                addRow(shape.name, shape.shape, window, style.name, scene);
                if (style.style == QwtPlotCurve::Steps) {
                    scene = run;
                    scene.inverted = true;
                    addRow(shape.name, shape.shape, window, style.name, scene);
                }
            }
        }
    }
}

void TestCurveItem::samePixelsOnAWidget_data()
{
    QTest::addColumn<Shape>("shape");
    QTest::addColumn<QwtPlotCurve::CurveStyle>("style");
    QTest::newRow("sparse lines") << Shape::Sparse << QwtPlotCurve::Lines;
    QTest::newRow("wave lines") << Shape::Wave << QwtPlotCurve::Lines;
    QTest::newRow("zigzag lines") << Shape::Zigzag << QwtPlotCurve::Lines;
    QTest::newRow("dense steps") << Shape::Dense << QwtPlotCurve::Steps;
}

// On a widget the painter paints into a larger image, the window's backing
// store, with the canvas somewhere inside it; Qt cuts lines at the edges of
// that image, not of the canvas.
void TestCurveItem::samePixelsOnAWidget()
{
    QFETCH(Shape, shape);
    QFETCH(QwtPlotCurve::CurveStyle, style);
    const Series series = makeSeries(shape);

    const auto renderOnWidget = [&](QwtPlotCurve* item) {
        QwtPlot plot;
        auto* canvas = qobject_cast<QwtPlotCanvas*>(plot.canvas());
        canvas->setPaintAttribute(QwtPlotCanvas::BackingStore, false);
        plot.setAxisScale(QwtPlot::xBottom, 0.0, 100.05, 10.0);
        plot.setAxisScale(QwtPlot::yLeft, -100.0, 100.0, 10.0);
        plot.resize(700, 400);
        item->setRawSamples(series.x.data(), series.y.data(), int(series.x.size()));
        item->setStyle(style);
        item->setPen(QPen(QColor("#1f6fb4"), 1.0));
        item->attach(&plot);
        plot.replot();
        QImage image(1000, 600, QImage::Format_RGB32);
        image.fill(Qt::white);
        plot.render(&image, QPoint(180, 130));
        item->detach();
        return image;
    };
    QwtPlotCurve plain;
    FastPlotCurve fast;
    const bool splitting = QwtPainter::polylineSplitting();
    QwtPainter::setPolylineSplitting(false);
    const QImage expected = renderOnWidget(&plain);
    QwtPainter::setPolylineSplitting(splitting);
    const QImage actual = renderOnWidget(&fast);
    const Comparison result = compare(expected, actual);
    qInfo("%d differing pixels of %d curve pixels", result.differing, result.curve);
    QVERIFY(result.differing <= 2);
}

void TestCurveItem::samePixelsOnRandomCurves_data()
{
    QTest::addColumn<int>("seed");
    QTest::addColumn<QwtPlotCurve::CurveStyle>("style");
    for (int seed = 1; seed <= 40; ++seed) {
        const auto style = seed % 4 == 0 ? QwtPlotCurve::Steps : QwtPlotCurve::Lines;
        QTest::addRow("curve %d", seed) << seed << style;
    }
}

// Curves of every kind a capture may show, at 1 to 50 samples a pixel
// column, in both orders: a one-pixel pen gives the plain drawing's pixels.
void TestCurveItem::samePixelsOnRandomCurves()
{
    QFETCH(int, seed);
    QFETCH(QwtPlotCurve::CurveStyle, style);

    std::mt19937 rng{static_cast<unsigned>(seed)};
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    const int n = 200 + int(uniform(rng) * 30000);
    const bool oldestFirst = uniform(rng) < 0.3;
    const int kind = int(uniform(rng) * 6);
    const double amplitude = uniform(rng) < 0.2 ? 130.0 : 60.0; // sometimes beyond the axis
    const double frequency = std::pow(10.0, -2.0 + uniform(rng) * 2.5);
    const double quantum = uniform(rng) < 0.4 ? 200.0 / std::pow(2.0, 3 + int(uniform(rng) * 8)) : 0.0;
    std::normal_distribution<double> noise(0.0, std::pow(10.0, -2.0 + uniform(rng) * 3.0));
    Series series;
    double walk = 0.0;
    for (int i = 0; i < n; ++i) {
        const double t = 100.0 * (oldestFirst ? i : n - 1 - i) / (n - 1);
        double v = 0.0;
        switch (kind) {
        case 0:
            v = amplitude * std::sin(t * frequency);
            break;
        case 1:
            v = (i % 2 ? amplitude : -amplitude) * uniform(rng);
            break;
        case 2:
            walk = std::max(-95.0, std::min(95.0, walk + noise(rng) * 3.0));
            v = walk;
            break;
        case 3:
            v = std::sin(t * frequency) > 0 ? amplitude : -amplitude;
            break;
        case 4:
            v = amplitude * (2.0 * std::fmod(t * frequency, 1.0) - 1.0);
            break;
        default:
            v = amplitude * std::sin(t * frequency) + (i % 2 ? 1.5 : -1.5);
            break;
        }
        v += noise(rng);
        if (quantum > 0.0)
            v = std::round(v / quantum) * quantum;
        series.x.push_back(t);
        series.y.push_back(v);
    }
    const QSize size = seed % 3 == 0 ? QSize(300, 200) : QSize(1200, 600);
    const Scene scene{size, 0.0, 100.0, style, 1.0, false, true, false};

    QwtPlotCurve plain;
    FastPlotCurve fast;
    const bool splitting = QwtPainter::polylineSplitting();
    QwtPainter::setPolylineSplitting(false);
    const QImage expected = render(&plain, series, scene);
    QwtPainter::setPolylineSplitting(splitting);
    const QImage actual = render(&fast, series, scene);
    const Comparison result = compare(expected, actual);
    qInfo("%d samples, kind %d%s: %d differing pixels of %d curve pixels", n, kind,
          oldestFirst ? ", oldest first" : "", result.differing, result.curve);
    // Left over: where a column ends on a bottom that isn't its lowest row
    // and the line turns back up steeply to the column on the left, Qt may
    // set a pixel below that end in the other column. On these curves that
    // is at most 5 pixels, on a zigzag reaching beyond the axis.
    QVERIFY2(result.differing <= 6, qPrintable(QString::number(result.differing)));
}

void TestCurveItem::samePixels()
{
    QFETCH(Shape, shape);
    QFETCH(Scene, scene);

    static std::map<Shape, Series> cache;
    if (!cache.count(shape))
        cache[shape] = makeSeries(shape);
    const Series& series = cache[shape];

    QwtPlotCurve plain;
    ProbeCurve fast;
    // With a thin pen the item draws its polylines in one piece; so does
    // the plain one then.
    const bool splitting = QwtPainter::polylineSplitting();
    QwtPainter::setPolylineSplitting(scene.width > 1.0);
    const QImage expected = render(&plain, series, scene);
    QwtPainter::setPolylineSplitting(splitting);
    const QImage actual = render(&fast, series, scene);
    const Comparison result = compare(expected, actual);
    qInfo("%d differing pixels, %d of them where only one image has the curve, of %d curve pixels",
          result.differing, result.footprint, result.curve);

    // Values that aren't finite are left to the plain drawing, and so are
    // the lines through samples in view where they are fewer than two per
    // pixel column; everything else must have been drawn from the columns,
    // or this compares nothing.
    if (shape != Shape::WithNaN && shape != Shape::BadTimes && shape != Shape::Infinite) {
        const int plainAllowed = scene.style == QwtPlotCurve::Lines ? 2 * scene.size.width() - 1 : 0;
        QVERIFY2(fast.plainSamples <= plainAllowed, qPrintable(QString::number(fast.plainSamples)));
    }

    // Where Qwt cuts its polyline into pieces of seven points, each piece
    // gets its own end caps, so the plain drawing lengthens or shortens some
    // strokes by their end pixel where the columns don't; nothing else may
    // differ. Antialiased pixels also differ in shade where the plain
    // drawing passes many times over the same pixel.
    QCOMPARE(result.loose, 0);
    // With a one-pixel pen and no antialiasing nothing is left to chance:
    // a pixel or two of steps may differ where rounding does, and a few
    // where times run back and forth and the two halves of a curve cross.
    const bool thin = !scene.antialiased && scene.width <= 1.0;
    const int allowed = !thin ? result.curve / 50 : shape == Shape::Unsorted ? 8 : 2;
    QVERIFY2(result.footprint <= allowed,
             qPrintable(QString("%1 pixels differ in where the curve is, %2 allowed")
                            .arg(result.footprint)
                            .arg(allowed)));
    if (!scene.antialiased)
        QCOMPARE(result.differing, result.footprint);
}

void TestCurveItem::knownShapeHoldsForItsSamplesOnly_data()
{
    QTest::addColumn<Shape>("shape");
    QTest::addColumn<int>("when");    // 0: before the samples are set, 1: after
    QTest::addColumn<int>("sizeOff"); // told of how many samples more than there are
    QTest::addColumn<bool>("timesFall");
    QTest::addColumn<bool>("valuesFinite");
    QTest::addColumn<double>("start"); // of a 1 s window

    // What the owner says is true: the picture stays.
    QTest::newRow("sorted and finite") << Shape::Dense << 1 << 0 << true << true << 49.5;
    QTest::newRow("values not finite") << Shape::WithNaN << 1 << 0 << true << false << 50.0;
    QTest::newRow("times out of order") << Shape::Unsorted << 1 << 0 << false << true << 49.5;
    // What was said of other samples, or of another count, is not believed.
    QTest::newRow("said of the samples before") << Shape::Unsorted << 0 << 0 << true << true << 49.5;
    QTest::newRow("said of NaN values before") << Shape::WithNaN << 0 << 0 << true << true << 50.0;
    QTest::newRow("said of more samples") << Shape::Unsorted << 1 << 1 << true << true << 49.5;
    QTest::newRow("said of fewer samples") << Shape::WithNaN << 1 << -1 << true << true << 50.0;
}

void TestCurveItem::knownShapeHoldsForItsSamplesOnly()
{
    QFETCH(Shape, shape);
    QFETCH(int, when);
    QFETCH(int, sizeOff);
    QFETCH(bool, timesFall);
    QFETCH(bool, valuesFinite);
    QFETCH(double, start);

    const Series series = makeSeries(shape);
    // Not clipped, as after a run with antialiasing, and a wide pen: there
    // values that aren't finite matter also beyond the window.
    const Scene scene{QSize(1200, 600), start, start + 1.0, QwtPlotCurve::Lines, 2.0, false, false, false};
    QwtPlotCurve plain;
    const QImage expected = render(&plain, series, scene);

    FastPlotCurve fast;
    const int size = int(series.x.size()) + sizeOff;
    const auto tell = [&]() { fast.setKnownShape(size, timesFall, valuesFinite); };
    if (when == 0)
        tell();
    const QImage actual = when == 0 ? render(&fast, series, scene) : render(&fast, series, scene, tell);
    const Comparison result = compare(expected, actual);
    QCOMPARE(result.loose, 0);
    QVERIFY2(result.footprint <= result.curve / 50, qPrintable(QString::number(result.footprint)));
}

void TestCurveItem::staysAPlotCurve()
{
    const double x[] = {3.0, 2.0, 1.0};
    const double y[] = {5.0, 5.0, 4.0};
    FastPlotCurve item("speed");
    item.setRawSamples(x, y, 3);
    item.setStyle(QwtPlotCurve::Sticks);
    item.setBaseline(-2.5);
    item.setPen(QPen(Qt::red, 2));
    item.setYAxis(QwtPlot::yRight);

    QCOMPARE(item.rtti(), int(QwtPlotItem::Rtti_PlotCurve));
    QCOMPARE(item.title().text(), QString("speed"));
    QCOMPARE(item.dataSize(), size_t(3));
    QCOMPARE(item.style(), QwtPlotCurve::Sticks);
    QCOMPARE(item.baseline(), -2.5);
    QCOMPARE(item.pen().color(), QColor(Qt::red));
    QCOMPARE(item.yAxis(), int(QwtPlot::yRight));
    QVERIFY(item.testItemAttribute(QwtPlotItem::Legend));
    // The samples are the caller's arrays, not a copy.
    const auto* data = dynamic_cast<const QwtCPointerData*>(item.data());
    QVERIFY(data);
    QCOMPARE(data->xData(), x);
    QCOMPARE(data->yData(), y);
    QCOMPARE(item.sample(2), QPointF(1.0, 4.0));
}

void TestCurveItem::handsOverFewVertices_data()
{
    QTest::addColumn<QwtPlotCurve::CurveStyle>("style");
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("end");

    QTest::newRow("Steps, all") << QwtPlotCurve::Steps << 0.05 << 100.05;
    QTest::newRow("Lines, all") << QwtPlotCurve::Lines << 0.05 << 100.05;
    QTest::newRow("Sticks, all") << QwtPlotCurve::Sticks << 0.05 << 100.05;
    QTest::newRow("Steps, 1 %") << QwtPlotCurve::Steps << 99.05 << 100.05;
    QTest::newRow("Lines, 1 %") << QwtPlotCurve::Lines << 50.0 << 51.0;
}

void TestCurveItem::handsOverFewVertices()
{
    QFETCH(QwtPlotCurve::CurveStyle, style);
    QFETCH(double, start);
    QFETCH(double, end);

    const Series series = makeSeries(Shape::Dense);
    FastPlotCurve item;
    item.setRawSamples(series.x.data(), series.y.data(), int(series.x.size()));
    item.setStyle(style);
    item.setPaintAttribute(QwtPlotCurve::ClipPolygons, false);

    QwtScaleMap xMap;
    xMap.setScaleInterval(start, end);
    xMap.setPaintInterval(0, 1199);
    QwtScaleMap yMap;
    yMap.setScaleInterval(-100, 100);
    yMap.setPaintInterval(599, 0);

    CountingDevice device;
    QPainter painter(&device);
    item.draw(&painter, xMap, yMap, QRectF(0, 0, 1200, 600));
    painter.end();

    // At most a first, two extremes and a last vertex in each pixel column,
    // and one beyond each edge.
    const int handedOver = device.polylinePoints + 2 * device.lines;
    QVERIFY2(handedOver > 0, "nothing drawn");
    QVERIFY2(handedOver <= 4 * (1200 + 8), qPrintable(QString::number(handedOver)));
}

void TestCurveItem::visibleRangeKeepsOneSampleBeyondEachEdge_data()
{
    QTest::addColumn<QVector<double>>("times");
    QTest::addColumn<double>("left");
    QTest::addColumn<double>("right");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");

    // The map is the identity: times are pixels.
    const QVector<double> falling{9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
    QTest::newRow("inside") << falling << 3.5 << 6.5 << 2 << 6;
    QTest::newRow("edges on samples") << falling << 3.0 << 6.0 << 2 << 7;
    QTest::newRow("everything") << falling << -1.0 << 10.0 << 0 << 9;
    QTest::newRow("between two samples") << falling << 4.2 << 4.8 << 4 << 5;
    QTest::newRow("before the data") << falling << -5.0 << -1.0 << 9 << 9;
    QTest::newRow("after the data") << falling << 20.0 << 30.0 << 0 << 0;
    QTest::newRow("equal times") << QVector<double>{5, 5, 5, 3, 3, 1} << 2.0 << 4.0 << 2 << 5;
    QTest::newRow("rising") << QVector<double>{0, 1, 2, 3, 4, 5, 6} << 2.5 << 3.5 << 2 << 4;
}

void TestCurveItem::visibleRangeKeepsOneSampleBeyondEachEdge()
{
    QFETCH(QVector<double>, times);
    QFETCH(double, left);
    QFETCH(double, right);
    QFETCH(int, from);
    QFETCH(int, to);

    QwtScaleMap identity;
    identity.setScaleInterval(0, 100);
    identity.setPaintInterval(0, 100);
    const IndexRange range = visibleRange(times.constData(), 0, times.size() - 1, identity, left, right);
    QCOMPARE(range.from, from);
    QCOMPARE(range.to, to);
}

void TestCurveItem::timeOrder_data()
{
    QTest::addColumn<QVector<double>>("times");
    QTest::addColumn<int>("order");

    QTest::newRow("falling") << QVector<double>{3, 2, 2, 1} << int(TimeOrder::Falling);
    QTest::newRow("rising") << QVector<double>{1, 2, 2, 3} << int(TimeOrder::Rising);
    QTest::newRow("all equal") << QVector<double>{2, 2, 2} << int(TimeOrder::Falling);
    QTest::newRow("one") << QVector<double>{7} << int(TimeOrder::Falling);
    QTest::newRow("clock set back") << QVector<double>{5, 4, 6, 3} << int(TimeOrder::Unsorted);
    QTest::newRow("not a number") << QVector<double>{3.0, notANumber, 1.0} << int(TimeOrder::Unsorted);
    QVector<double> longFalling(5000);
    for (int i = 0; i < longFalling.size(); ++i)
        longFalling[i] = 5000 - i;
    QTest::newRow("long, falling") << longFalling << int(TimeOrder::Falling);
    longFalling[3000] = 9999;
    QTest::newRow("long, one step back in a later block") << longFalling << int(TimeOrder::Unsorted);
}

void TestCurveItem::timeOrder()
{
    QFETCH(QVector<double>, times);
    QFETCH(int, order);
    QCOMPARE(int(::timeOrder(times.constData(), 0, times.size() - 1)), order);
}

void TestCurveItem::rowRunsCoverTheSpansOnce_data()
{
    QTest::addColumn<Spans>("columns");
    QTest::addColumn<bool>("alongRows"); // whether runs along the rows are the cheaper way

    Spans sticks;
    for (int x = 10; x < 40; ++x)
        sticks.append({x, 20 + (x * 7) % 13, 90});
    QTest::newRow("sticks on one baseline") << sticks << true;
    Spans noisy;
    for (int x = 10; x < 40; ++x)
        noisy.append({x, 50 + (x * 5) % 7, 52 + (x * 5) % 7});
    QTest::newRow("short columns that only touch") << noisy << false;
    QTest::newRow("one column") << Spans{{5, 3, 9}} << false;
    QTest::newRow("one pixel") << Spans{{5, 3, 3}} << false;
    QTest::newRow("gaps between columns") << Spans{{1, 0, 60}, {3, 0, 60}, {5, 0, 60}} << false;
    Spans nested;
    for (int x = 0; x < 20; ++x)
        nested.append({x, 40 - x, 40 + x});
    QTest::newRow("growing columns") << nested << true;
    Spans apart;
    for (int x = 0; x < 20; ++x)
        apart.append({x, x % 2 ? 0 : 70, x % 2 ? 30 : 99});
    QTest::newRow("neighbours that share nothing") << apart << false;
}

void TestCurveItem::rowRunsCoverTheSpansOnce()
{
    QFETCH(Spans, columns);
    QFETCH(bool, alongRows);

    RowRuns runs;
    std::vector<QRect> rects;
    runs.toRects(std::vector<ColumnSpan>(columns.cbegin(), columns.cend()), 0, 99, &rects);

    // Each pixel of the spans is in exactly one rectangle, and no other.
    QImage covered(64, 100, QImage::Format_Grayscale8);
    covered.fill(0);
    for (const QRect& rect : rects) {
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            for (int x = rect.left(); x <= rect.right(); ++x) {
                QVERIFY2(covered.rect().contains(x, y), "outside");
                uchar& pixel = covered.scanLine(y)[x];
                QVERIFY2(pixel == 0, qPrintable(QString("(%1, %2) twice").arg(x).arg(y)));
                pixel = 1;
            }
        }
    }
    QImage expected(64, 100, QImage::Format_Grayscale8);
    expected.fill(0);
    for (const ColumnSpan& c : qAsConst(columns)) {
        for (int y = c.lo; y <= c.hi; ++y)
            expected.scanLine(y)[c.x] = 1;
    }
    QCOMPARE(covered, expected);

    // Runs along the rows are one row high and, but for a column's own
    // pieces, wider than one pixel.
    const bool anyRun = std::any_of(rects.cbegin(), rects.cend(),
                                    [](const QRect& r) { return r.height() == 1 && r.width() > 1; });
    QCOMPARE(anyRun, alongRows);
    if (!alongRows)
        QCOMPARE(int(rects.size()), columns.size());
}

void TestCurveItem::programCurvesUseTheItem()
{
    TestSupport::useDriverConfig(QString());
    VistrelMainWindow window;
    window.projectAddCurve();
    QCOMPARE(window.curves.size(), 1);
    PlotCurve& curve = *window.curves[0];
    auto* item = dynamic_cast<FastPlotCurve*>(curve.plotItem);
    QVERIFY(item);
    QCOMPARE(item->plot(), static_cast<QwtPlot*>(window.plot));
    QCOMPARE(item->dataSize(), size_t(1));
    // The item never looks at all samples to fit an axis: every axis a curve
    // can use has its scale set.
    for (const int axis : {int(QwtPlot::xBottom), int(QwtPlot::yLeft), int(QwtPlot::yRight)})
        QVERIFY(!window.plot->axisAutoScale(axis));

    // Antialiasing and the clipping that goes with it act on this item.
    curve.setAntialiased(true);
    QVERIFY(item->testPaintAttribute(QwtPlotCurve::ClipPolygons));
    QVERIFY(item->testRenderHint(QwtPlotItem::RenderAntialiased));
    curve.setAntialiased(false);
    QVERIFY(!item->testPaintAttribute(QwtPlotCurve::ClipPolygons));
    QVERIFY(!item->testRenderHint(QwtPlotItem::RenderAntialiased));
}

QTEST_MAIN(TestCurveItem)
#include "tst_curveitem.moc"
