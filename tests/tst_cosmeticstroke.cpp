// The traced pixels of a polyline against those Qt's raster engine sets for
// it with a one-pixel pen, on polylines made to hit its join rules: lines
// that turn back in one column, steep lines to the next column, flat ones,
// lines that cross the device's edge, ends between pixels.

#include "cosmeticstroke.h"

#include <QImage>
#include <QPainter>
#include <QPolygonF>
#include <QtTest>

#include <random>

namespace {

enum class Kind {
    Zigzag,   // up and down in few columns, far and near
    Crossing, // steep lines to the next column and back
    Flat,     // mostly along the rows
    Any,      // anywhere on the device
    Beyond,   // reaching beyond the device
    Fraction  // vertices between pixels
};

QPolygonF makePolyline(Kind kind, unsigned seed)
{
    std::mt19937 rng(seed);
    const auto uniform = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    QPolygonF points;
    int x = 20;
    for (int i = 0; i < 60; ++i) {
        switch (kind) {
        case Kind::Zigzag:
            x += uniform(0, 5) == 0 ? 1 : 0;
            points << QPointF(x, i % 2 ? uniform(5, 12) : uniform(40, 47));
            break;
        case Kind::Crossing:
            x += uniform(-1, 1);
            points << QPointF(x, uniform(0, 60));
            break;
        case Kind::Flat:
            x += uniform(0, 9);
            points << QPointF(x, 30 + uniform(-4, 4));
            break;
        case Kind::Any:
            points << QPointF(uniform(0, 79), uniform(0, 59));
            break;
        case Kind::Beyond:
            points << QPointF(uniform(-30, 110), uniform(-30, 90));
            break;
        case Kind::Fraction:
            points << QPointF(uniform(0, 7900) / 100.0, uniform(0, 5900) / 100.0);
            break;
        }
    }
    return points;
}

} // namespace

Q_DECLARE_METATYPE(Kind)

class TestCosmeticStroke : public QObject
{
    Q_OBJECT

private slots:
    void samePixelsAsQt_data();
    void samePixelsAsQt();
};

void TestCosmeticStroke::samePixelsAsQt_data()
{
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<unsigned>("seed");
    QTest::addColumn<bool>("squareCaps");

    const struct
    {
        const char* name;
        Kind kind;
    } kinds[] = {{"zigzag", Kind::Zigzag}, {"crossing", Kind::Crossing}, {"flat", Kind::Flat},
                 {"anywhere", Kind::Any},  {"beyond", Kind::Beyond},     {"between pixels", Kind::Fraction}};
    for (const auto& kind : kinds) {
        for (unsigned seed = 1; seed <= 40; ++seed) {
            QTest::addRow("%s %u, square caps", kind.name, seed) << kind.kind << seed << true;
            QTest::addRow("%s %u, flat caps", kind.name, seed) << kind.kind << seed << false;
        }
    }
}

void TestCosmeticStroke::samePixelsAsQt()
{
    QFETCH(Kind, kind);
    QFETCH(unsigned, seed);
    QFETCH(bool, squareCaps);

    const QPolygonF points = makePolyline(kind, seed);
    QImage expected(80, 60, QImage::Format_RGB32);
    expected.fill(Qt::white);
    {
        QPainter painter(&expected);
        QPen pen(Qt::black, 1.0);
        pen.setCapStyle(squareCaps ? Qt::SquareCap : Qt::FlatCap);
        painter.setPen(pen);
        painter.drawPolyline(points);
    }

    QImage actual(expected.size(), QImage::Format_RGB32);
    actual.fill(Qt::white);
    CosmeticStroke stroke(actual.rect(), squareCaps);
    std::vector<QPoint> pixels;
    stroke.moveTo(points.first(), true);
    for (int i = 1; i < points.size(); ++i)
        stroke.lineTo(points[i], i == points.size() - 1, 0, actual.height() - 1, &pixels);
    for (const QPoint& pixel : pixels) {
        if (actual.rect().contains(pixel))
            actual.setPixel(pixel, qRgb(0, 0, 0));
    }

    int differing = 0;
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x)
            differing += expected.pixel(x, y) != actual.pixel(x, y);
    }
    QCOMPARE(differing, 0);
}

QTEST_MAIN(TestCosmeticStroke)
#include "tst_cosmeticstroke.moc"
