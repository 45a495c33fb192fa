// The columns of a curve come out the same whether the rows of all samples
// are mapped in one pass or each column's extreme values are found and
// mapped: same columns, same rows, same samples, for lines, steps and
// sticks, also where rows lie above the canvas and where values fall on half
// pixels, which the two roundings treat differently below zero.

#include "pixelcolumns.h"

#include <QtTest>

#include <cmath>
#include <vector>

namespace {

enum class Style { Lines, StepsVerticalFirst, StepsAcrossFirst, Sticks };

struct Samples
{
    std::vector<double> x;
    std::vector<double> y;
};

struct Maps
{
    double xPaint1, xPaint2; // paint interval of the time scale 0..100
    double yPaint1, yPaint2; // and of the value scale 0..100
};

} // namespace

Q_DECLARE_METATYPE(Style)
Q_DECLARE_METATYPE(Samples)
Q_DECLARE_METATYPE(Maps)

class TestPixelColumns : public QObject
{
    Q_OBJECT

private slots:
    void bothWaysAlike_data();
    void bothWaysAlike();
};

namespace {

// n samples over times 0..100, falling as the program keeps them unless
// rising is set; values from the function of the index.
template <typename Value> Samples makeSamples(int n, bool rising, Value value)
{
    Samples s;
    for (int i = 0; i < n; ++i) {
        const double t = 100.0 * i / (n - 1);
        s.x.push_back(rising ? t : 100.0 - t);
        s.y.push_back(value(i));
    }
    return s;
}

bool run(PixelColumns& columns, Style style, const Samples& s, std::vector<ColumnRun>& out)
{
    const int last = int(s.x.size()) - 1;
    switch (style) {
    case Style::Lines:
        return columns.lines(s.x.data(), s.y.data(), 0, last, true, out);
    case Style::StepsVerticalFirst:
        return columns.steps(s.x.data(), s.y.data(), 0, last, true, true, out);
    case Style::StepsAcrossFirst:
        return columns.steps(s.x.data(), s.y.data(), 0, last, true, false, out);
    default:
        return columns.sticks(s.x.data(), s.y.data(), 0, last, true, out);
    }
}

} // namespace

void TestPixelColumns::bothWaysAlike_data()
{
    QTest::addColumn<Samples>("samples");
    QTest::addColumn<Maps>("maps");
    QTest::addColumn<Style>("style");
    QTest::addColumn<bool>("tried"); // whether the pass over all samples is tried

    // Times on quarters and values on quarters: with these maps every
    // pixel lies on a whole or a half pixel, many of them below zero.
    const Maps halves{-50.5, 149.5, 300.5, -99.5};
    const Maps plain{0.0, 1199.0, 599.0, 0.0};
    const Maps upright{0.0, 1199.0, 0.0, 599.0};
    const struct
    {
        const char* name;
        Samples samples;
        Maps maps;
        bool tried;
    } shapes[] = {
        {"quarters", makeSamples(1601, false, [](int i) { return ((i * 37) % 500) * 0.25; }), halves, true},
        {"quarters rising", makeSamples(1601, true, [](int i) { return ((i * 53) % 500) * 0.25; }), halves,
         true},
        {"wave",
         makeSamples(5000, false, [](int i) { return 50.0 + 30.0 * std::sin(i * 0.01) + (i % 7) * 0.3; }),
         plain, true},
        {"wave upright", makeSamples(5000, false, [](int i) { return 50.0 + 30.0 * std::sin(i * 0.01); }),
         upright, true},
        {"zigzag", makeSamples(5000, false, [](int i) { return i % 2 ? 90.0 : 10.0; }), plain, true},
        {"sparse", makeSamples(300, false, [](int i) { return (i * 7) % 100; }), plain, true},
        {"beyond the axis", makeSamples(5000, false, [](int i) { return -150.0 + (i % 400); }), plain, true},
        // Beyond what an int holds the pass gives up and leaves the curve to
        // the search, which takes a curve of many samples to each column
        // from the start.
        {"huge values", makeSamples(3000, false, [](int i) { return i % 3 ? 1e12 : -1e12; }), plain, true},
        {"dense", makeSamples(100000, false, [](int i) { return 50.0 + 40.0 * std::sin(i * 0.001); }), plain,
         false},
    };
    const struct
    {
        const char* name;
        Style style;
    } styles[] = {{"lines", Style::Lines},
                  {"steps vertical first", Style::StepsVerticalFirst},
                  {"steps across first", Style::StepsAcrossFirst},
                  {"sticks", Style::Sticks}};
    for (const auto& shape : shapes) {
        for (const auto& style : styles) {
            QTest::addRow("%s, %s", shape.name, style.name)
                << shape.samples << shape.maps << style.style << shape.tried;
        }
    }
}

void TestPixelColumns::bothWaysAlike()
{
    QFETCH(Samples, samples);
    QFETCH(Maps, maps);
    QFETCH(Style, style);
    QFETCH(bool, tried);

    QwtScaleMap xMap;
    xMap.setScaleInterval(0.0, 100.0);
    xMap.setPaintInterval(maps.xPaint1, maps.xPaint2);
    QwtScaleMap yMap;
    yMap.setScaleInterval(0.0, 100.0);
    yMap.setPaintInterval(maps.yPaint1, maps.yPaint2);

    PixelColumns searched(xMap, yMap, false);
    std::vector<int> rows;
    PixelColumns mapped(xMap, yMap, false, &rows);
    std::vector<ColumnRun> expected;
    std::vector<ColumnRun> actual;
    QVERIFY(run(searched, style, samples, expected));
    QVERIFY(run(mapped, style, samples, actual));
    QCOMPARE(!rows.empty(), tried);

    // A value on a column's extreme row is any value that rounds to it.
    const auto row = [&](double value) {
        return style == Style::Lines ? searched.lineRow(value) : searched.stickRow(value);
    };
    QCOMPARE(actual.size(), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
        const ColumnRun& e = expected[k];
        const ColumnRun& a = actual[k];
        const auto where = [&]() { return qPrintable(QString("column %1 at %2").arg(k).arg(e.x)); };
        QVERIFY2(a.x == e.x && a.begin == e.begin && a.end == e.end, where());
        QVERIFY2(a.first == e.first && a.last == e.last && a.low == e.low && a.high == e.high, where());
        QVERIFY2(a.lowFirst == e.lowFirst, where());
        QVERIFY2(row(a.lowValue) == a.low && row(a.highValue) == a.high, where());
    }
}

QTEST_GUILESS_MAIN(TestPixelColumns)
#include "tst_pixelcolumns.moc"
