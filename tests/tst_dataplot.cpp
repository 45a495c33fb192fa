// The plot widget: time axis ticks and labels, curve styles, marker and
// picker colours, and what an empty plot draws.
#include "dataplot.h"
#include "plotcurve.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_picker.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_symbol.h>

#include <QtTest>

#include <memory>

namespace {

QSharedPointer<PlotCurve> makeCurve(VistrelMainWindow* window, int style, bool visible)
{
    return QSharedPointer<PlotCurve>::create(window, QColor(Qt::magenta), QStringLiteral("c"), 0, 2, 0x123, 1,
                                             2, 0xFF, 0, 0, 1.0, 0.0, QString(), style, visible, 10u, true);
}

// Pixels darker than the grid's grey.
int darkPixels(const QImage& image, const QRect& area)
{
    int n = 0;
    const QRect clipped = area.intersected(image.rect());
    for (int y = clipped.top(); y <= clipped.bottom(); ++y)
        for (int x = clipped.left(); x <= clipped.right(); ++x)
            n += qGray(image.pixel(x, y)) < 100;
    return n;
}

// Whether a pixel of that colour lies within one pixel of (x, y).
bool colourNear(const QImage& image, int x, int y, const QColor& colour)
{
    for (int dx = -1; dx <= 1; ++dx)
        if (image.rect().contains(x + dx, y) && QColor(image.pixel(x + dx, y)) == colour)
            return true;
    return false;
}

} // namespace

class TestDataPlot : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void timeAxisTicks_data();
    void timeAxisTicks();
    void timeLabelsUnderACommaLocale();
    void curveStyle_data();
    void curveStyle();
    void visibilityRestoresStyle();
    void markerColours();
    void timeLabelInTheCorner();
    void emptyPlot();

private:
    void showWindow(const QSize& size);
    std::unique_ptr<VistrelMainWindow> window;
};

void TestDataPlot::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    TestSupport::useDriverConfig(QString());
}

void TestDataPlot::init()
{
    window = std::make_unique<VistrelMainWindow>();
}

void TestDataPlot::cleanup()
{
    window.reset();
    QLocale::setDefault(QLocale::c());
}

void TestDataPlot::showWindow(const QSize& size)
{
    window->resize(size);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
}

void TestDataPlot::timeAxisTicks_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("step");
    QTest::newRow("10 s") << 9 << 1.0;
    QTest::newRow("10 ms") << 0 << 0.001;
    QTest::newRow("500000 s") << 23 << 50000.0;
}

void TestDataPlot::timeAxisTicks()
{
    QFETCH(int, index);
    QFETCH(double, step);

    window->sliderTimeBase->setValue(index);
    const QwtScaleDiv& div = window->plot->axisScaleDiv(QwtPlot::xBottom);
    QCOMPARE(div.upperBound(), 0.0);
    QVERIFY(qFuzzyCompare(div.lowerBound(), -10 * step));
    const QList<double> ticks = div.ticks(QwtScaleDiv::MajorTick);
    QCOMPARE(ticks.size(), 11);
    for (int i = 0; i <= 10; ++i)
        QVERIFY2(qAbs(ticks[i] - (i - 10) * step) < step * 1e-9, qPrintable(QString::number(ticks[i])));
    const QwtScaleDraw* draw = window->plot->axisScaleDraw(QwtPlot::xBottom);
    QCOMPARE(draw->label(ticks[9]).text(), QString::asprintf("%0.3f", -step));
}

void TestDataPlot::timeLabelsUnderACommaLocale()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QCOMPARE(QLocale().decimalPoint(), QChar(','));
    const QwtScaleDraw* draw = window->plot->axisScaleDraw(QwtPlot::xBottom);
    QCOMPARE(draw->label(0.5).text(), QStringLiteral("0.500"));
    QCOMPARE(draw->label(-10.0).text(), QStringLiteral("-10.000"));
    QCOMPARE(draw->label(1234.5678).text(), QStringLiteral("1234.568"));
}

void TestDataPlot::curveStyle_data()
{
    QTest::addColumn<int>("style");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<int>("expected");
    QTest::newRow("steps") << 0 << true << int(QwtPlotCurve::Steps);
    QTest::newRow("lines") << 1 << true << int(QwtPlotCurve::Lines);
    QTest::newRow("sticks") << 2 << true << int(QwtPlotCurve::Sticks);
    QTest::newRow("3 draws nothing") << 3 << true << int(QwtPlotCurve::NoCurve);
    QTest::newRow("-1 draws nothing") << -1 << true << int(QwtPlotCurve::NoCurve);
    QTest::newRow("invisible steps") << 0 << false << int(QwtPlotCurve::NoCurve);
    QTest::newRow("invisible lines") << 1 << false << int(QwtPlotCurve::NoCurve);
}

void TestDataPlot::curveStyle()
{
    QFETCH(int, style);
    QFETCH(bool, visible);
    QFETCH(int, expected);

    // Made with the opposite state, then changed: the style follows both ways.
    const auto curve = makeCurve(window.get(), visible ? 3 : 0, !visible);
    window->curves.append(curve);
    window->plot->setCurveStyle(curve.data(), visible, style);
    QCOMPARE(int(curve->plotItem->style()), expected);
    // A curve that draws nothing stays attached, with its legend entry.
    QCOMPARE(curve->plotItem->plot(), static_cast<QwtPlot*>(window->plot));
    const auto* legend = qobject_cast<QwtLegend*>(window->plot->legend());
    QVERIFY(legend);
    QCOMPARE(legend->legendWidgets(window->plot->itemToInfo(curve->plotItem)).size(), 1);
    // A curve that draws nothing still replots without failing.
    window->plot->replot();
    QVERIFY(!window->plot->grab().isNull());
}

void TestDataPlot::visibilityRestoresStyle()
{
    for (int style = 0; style <= 2; ++style) {
        const auto curve = makeCurve(window.get(), style, true);
        const int shown = curve->plotItem->style();
        window->plot->setCurveStyle(curve.data(), false, style);
        QCOMPARE(int(curve->plotItem->style()), int(QwtPlotCurve::NoCurve));
        window->plot->setCurveStyle(curve.data(), true, style);
        QCOMPARE(int(curve->plotItem->style()), shown);
    }
}

void TestDataPlot::markerColours()
{
    DataPlot* plot = window->plot;
    plot->setMarker1Color(QColor(Qt::darkGreen));
    QCOMPARE(plot->marker1Color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->marker1()->label().color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->marker1()->symbol()->pen().color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->picker()->rubberBandPen().color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::darkGreen));

    // Marker 2's colour alone leaves the picker alone ...
    plot->setMarker2Color(QColor(Qt::red));
    QCOMPARE(plot->marker2Color(), QColor(Qt::red));
    QCOMPARE(plot->marker2()->label().color(), QColor(Qt::red));
    QCOMPARE(plot->marker1Color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->picker()->rubberBandPen().color(), QColor(Qt::darkGreen));
    QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::darkGreen));

    // ... but pressing its button does.
    window->pushButtonMarker2->click();
    QCOMPARE(plot->picker()->rubberBandPen().color(), QColor(Qt::red));
    QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::red));
    window->pushButtonMarker1->click();
    QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::darkGreen));
}

void TestDataPlot::timeLabelInTheCorner()
{
    for (const QSize size : {QSize(1000, 800), QSize(700, 650)}) {
        showWindow(size);
        const QWidget* canvas = window->plot->canvas();
        const QImage image = window->plot->canvas()->grab().toImage();
        const int w = canvas->width();
        const int h = canvas->height();
        QCOMPARE(image.size(), canvas->size());
        // The text stands 65 pixels from the right and 20 from the bottom,
        // and nowhere near the lower left corner.
        const int inCorner = darkPixels(image, QRect(w - 65, h - 20, 60, 17));
        QVERIFY2(inCorner > 20,
                 qPrintable(QStringLiteral("%1 dark pixels at %2x%3").arg(inCorner).arg(w).arg(h)));
        QCOMPARE(darkPixels(image, QRect(5, h - 20, 60, 17)), 0);
        QCOMPARE(darkPixels(image, QRect(w - 65, h - 60, 60, 17)), 0);
    }
}

void TestDataPlot::emptyPlot()
{
    showWindow(QSize(1000, 800));
    DataPlot* plot = window->plot;
    QCOMPARE(plot->itemList(QwtPlotItem::Rtti_PlotCurve).size(), 0);
    QCOMPARE(plot->itemList(QwtPlotItem::Rtti_PlotGrid).size(), 1);
    QCOMPARE(plot->itemList(QwtPlotItem::Rtti_PlotMarker).size(), 2);
    const auto* legend = qobject_cast<QwtLegend*>(plot->legend());
    QVERIFY(legend);
    QVERIFY(legend->isEmpty());

    const QImage image = plot->canvas()->grab().toImage();
    const auto x = [plot](double t) { return qRound(plot->transform(QwtPlot::xBottom, t)); };
    const int y = qRound(plot->transform(QwtPlot::yLeft, 5.0)); // between two grid lines
    QColor grey;
    grey.setNamedColor(QStringLiteral("grey"));
    QColor blue;
    blue.setNamedColor(QStringLiteral("blue"));
    QCOMPARE(QColor(image.pixel(x(-8.5), y)), QColor(Qt::white));
    QVERIFY(colourNear(image, x(-8.0), y, grey));
    QVERIFY(colourNear(image, x(-2.0), y, grey));
    // The markers of a fresh program at 40 % and 60 % of the view.
    QVERIFY(colourNear(image, x(-6.0), y, blue));
    QVERIFY(colourNear(image, x(-4.0), y, blue));
    QVERIFY(!colourNear(image, x(-8.5), y, blue));
}

QTEST_MAIN(TestDataPlot)
#include "tst_dataplot.moc"
