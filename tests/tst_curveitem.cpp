// The curve item draws from pixel columns the picture a plain QwtPlotCurve
// draws from every sample. Both draw the same arrays into images of the same
// size; in every pixel column the rows they paint must span the same range
// within one pixel at either end, without holes the other has not.
#include "fastplotcurve.h"

#include <qwt_plot_curve.h>
#include <qwt_scale_map.h>

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace {

enum class Kind { Random, Quantised, Zigzag, Sparse, Beyond, WithNaN, ClockBack, Single };

struct Series
{
    std::vector<double> x;
    std::vector<double> y;
};

// Samples over 100 s, oldest first, or newest first behind a live point at
// the present as the refresh cycle fills the arrays.
Series makeSeries(Kind kind, bool newestFirst, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> noise(-1.0, 1.0);
    const int n = kind == Kind::Single ? 1 : kind == Kind::Sparse ? 60 : 30000 + int(seed * 7919 % 50000);
    Series s;
    double walk = 0.0;
    for (int i = 0; i < n; ++i) {
        double t = n == 1 ? 42.0 : 100.0 * i / (n - 1);
        const double wave = 60.0 * std::sin(t * 0.3);
        double v = 33.0;
        switch (kind) {
        case Kind::Random:
            walk = std::clamp(walk + 4.0 * noise(rng), -90.0, 90.0);
            v = walk + 10.0 * noise(rng);
            break;
        case Kind::Quantised:
            v = std::round((wave + 15.0 * noise(rng)) / 12.5) * 12.5;
            break;
        case Kind::Zigzag:
            v = (i % 2 ? 80.0 : -70.0) + 3.0 * noise(rng);
            break;
        case Kind::Sparse:
            v = 70.0 * noise(rng);
            break;
        case Kind::Beyond: // now and then far beyond either end of the value axis
            v = (i % 1500 < 40 ? 1e6 : 1.0) * (wave + 8.0 * noise(rng));
            break;
        case Kind::WithNaN:
            v = i % 4001 == 17 ? std::numeric_limits<double>::quiet_NaN() : wave + 8.0 * noise(rng);
            break;
        case Kind::ClockBack: // the second half stood 3 s earlier
            t -= i > n / 2 ? 3.0 : 0.0;
            v = wave + 8.0 * noise(rng);
            break;
        case Kind::Single:
            break;
        }
        s.x.push_back(t);
        s.y.push_back(v);
    }
    if (newestFirst && n > 1) {
        std::reverse(s.x.begin(), s.x.end());
        std::reverse(s.y.begin(), s.y.end());
        s.x.insert(s.x.begin(), 100.05);
        s.y.insert(s.y.begin(), s.y.front());
    }
    return s;
}

struct View
{
    QSize size;
    double start; // time window
    double end;
    bool antialiased; // and a pen of two pixels
};

// Counts the samples that an item leaves to Qwt's own drawing.
class ProbeCurve : public FastPlotCurve
{
public:
    mutable int plainSamples = 0;

protected:
    void drawCurve(QPainter* painter, int style, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                   const QRectF& canvasRect, int from, int to) const override
    {
        plainSamples += to - from + 1;
        FastPlotCurve::drawCurve(painter, style, xMap, yMap, canvasRect, from, to);
    }
};

constexpr int border = 20;

// Draws the item as the plot's canvas does: translated into a larger
// image, clipped to the canvas, no clipping of polygons as during a run.
QImage draw(QwtPlotCurve& item, const Series& s, QwtPlotCurve::CurveStyle style, const View& view,
            bool timesFall)
{
    auto* fast = dynamic_cast<FastPlotCurve*>(&item);
    item.setRawSamples(s.x.data(), s.y.data(), int(s.x.size()));
    if (fast && timesFall)
        fast->setTimesFall(int(s.x.size()));
    item.setStyle(style);
    item.setPen(QPen(QColor(31, 111, 180), view.antialiased ? 2.0 : 1.0));
    item.setBaseline(20.0);
    item.setPaintAttribute(QwtPlotCurve::ClipPolygons, false);

    const QRectF canvas(0, 0, view.size.width(), view.size.height());
    QwtScaleMap xMap;
    xMap.setScaleInterval(view.start, view.end);
    xMap.setPaintInterval(canvas.left(), canvas.right());
    QwtScaleMap yMap;
    yMap.setScaleInterval(-100.0, 100.0);
    yMap.setPaintInterval(canvas.bottom(), canvas.top());

    QImage image(view.size + QSize(2 * border, 2 * border), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.translate(border, border);
    painter.setClipRect(canvas);
    painter.setRenderHint(QPainter::Antialiasing, view.antialiased);
    item.draw(&painter, xMap, yMap, canvas);
    return image;
}

// What each pixel column of an image shows of the curve.
struct ColumnRows
{
    int top = -1; // -1: nothing painted
    int bottom = -1;
    int painted = 0;
};

std::vector<ColumnRows> envelope(const QImage& image)
{
    std::vector<ColumnRows> columns(size_t(image.width()));
    for (int row = 0; row < image.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(row));
        for (int col = 0; col < image.width(); ++col) {
            if (qGray(line[col]) > 192) // background, or a faint edge of an antialiased line
                continue;
            ColumnRows& rows = columns[size_t(col)];
            if (rows.top < 0)
                rows.top = row;
            rows.bottom = row;
            ++rows.painted;
        }
    }
    return columns;
}

} // namespace

Q_DECLARE_METATYPE(Kind)
Q_DECLARE_METATYPE(View)
Q_DECLARE_METATYPE(QwtPlotCurve::CurveStyle)

class TestCurveItem : public QObject
{
    Q_OBJECT

private slots:
    void sameEnvelopeAsPlainCurve_data();
    void sameEnvelopeAsPlainCurve();
};

void TestCurveItem::sameEnvelopeAsPlainCurve_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("newestFirst");
    QTest::addColumn<QwtPlotCurve::CurveStyle>("style");
    QTest::addColumn<View>("view");

    // In the order of Kind.
    const char* const kinds[] = {"random",          "quantised", "zigzag",         "sparse",
                                 "beyond the axis", "NaN",       "clock set back", "single sample"};
    const char* const names[] = {"Lines", "Sticks", "Steps"}; // in the order of QwtPlotCurve::CurveStyle
    const QSize sizes[] = {{1200, 600}, {300, 200}, {701, 333}};
    int row = 0;
    for (const auto style : {QwtPlotCurve::Steps, QwtPlotCurve::Lines, QwtPlotCurve::Sticks}) {
        for (int k = 0; k < int(std::size(kinds)); ++k) {
            // The whole record, or 15 s of it; sizes take turns.
            for (const bool newestFirst : {true, false}) {
                for (const bool part : {false, true}) {
                    const QSize size = sizes[row++ % 3];
                    const View view{size, part ? 30.0 : -1.0, part ? 45.0 : 101.0, false};
                    QTest::addRow("%s, %s, %s, %dx%d, %s", names[style], kinds[k],
                                  newestFirst ? "newest first" : "oldest first", size.width(), size.height(),
                                  part ? "15 s" : "all")
                        << Kind(k) << newestFirst << style << view;
                }
            }
        }
        // Antialiased and wide, the columns go to the painter rather than the image.
        for (const Kind kind : {Kind::Random, Kind::Zigzag})
            QTest::addRow("%s, %s, antialiased, wide pen", names[style], kinds[int(kind)])
                << kind << true << style << View{{900, 400}, -1.0, 101.0, true};
    }
}

void TestCurveItem::sameEnvelopeAsPlainCurve()
{
    QFETCH(Kind, kind);
    QFETCH(bool, newestFirst);
    QFETCH(QwtPlotCurve::CurveStyle, style);
    QFETCH(View, view);

    const Series series = makeSeries(kind, newestFirst, qHash(QByteArray(QTest::currentDataTag())));
    const bool timesFall = newestFirst && kind != Kind::ClockBack;
    QwtPlotCurve plain;
    ProbeCurve fast;
    const QImage expected = draw(plain, series, style, view, timesFall);
    // What the item was told and found of other samples must not hold for
    // these: it draws them sorted first.
    Series sorted = series;
    std::sort(sorted.x.begin(), sorted.x.end(), std::greater<>());
    draw(fast, sorted, style, view, true);
    fast.plainSamples = 0;
    const QImage actual = draw(fast, series, style, view, timesFall);

    const std::vector<ColumnRows> plainRows = envelope(expected);
    const std::vector<ColumnRows> fastRows = envelope(actual);
    const auto paintedAt = [](const std::vector<ColumnRows>& rows, int col) {
        return col >= 0 && col < int(rows.size()) && rows[size_t(col)].top >= 0;
    };
    for (int col = 0; col < expected.width(); ++col) {
        const ColumnRows& a = plainRows[size_t(col)];
        const ColumnRows& b = fastRows[size_t(col)];
        const QString where = QString::asprintf(
            "column %d: rows %d..%d (%d painted), plain %d..%d (%d painted)", col - border, b.top - border,
            b.bottom - border, b.painted, a.top - border, a.bottom - border, a.painted);
        // A line's end may stand a pixel further or shorter: a pixel or two
        // beside a column the other image paints.
        if ((a.top < 0) != (b.top < 0)) {
            const auto& other = a.top < 0 ? plainRows : fastRows;
            QVERIFY2(a.painted + b.painted <= 2 && (paintedAt(other, col - 1) || paintedAt(other, col + 1)),
                     qPrintable(where));
            continue;
        }
        const int ends = std::max(std::abs(a.top - b.top), std::abs(a.bottom - b.bottom));
        QVERIFY2(ends <= 1 && std::abs(a.painted - b.painted) <= 2, qPrintable(where));
    }

    // Curves must have been drawn from the columns, or this compares the
    // plain drawing with itself; a window shows only what is in view.
    const bool sparseLines = kind == Kind::Sparse && style == QwtPlotCurve::Lines;
    if (!sparseLines && kind != Kind::Single && kind != Kind::WithNaN && kind != Kind::ClockBack)
        QCOMPARE(fast.plainSamples, 0);
    if (view.start > 0.0 && kind != Kind::ClockBack && kind != Kind::Single)
        QVERIFY(fast.plainSamples < int(series.x.size()) / 4);
}

QTEST_MAIN(TestCurveItem)
#include "tst_curveitem.moc"
