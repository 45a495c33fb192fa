// The two time markers: their buttons, the values they read from the curves'
// arrays into the description table, and dragging them with the picker.
#include "dataplot.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_picker.h>

#include <QtTest>

#include <memory>

using Doubles = QVector<double>;
Q_DECLARE_METATYPE(Doubles)

namespace {

// A curve as the readers of files make it: arrays written by hand.
QSharedPointer<PlotCurve> offlineCurve(VistrelMainWindow* window, const Doubles& x, const Doubles& y,
                                       unsigned points, double scale, double offset, bool clearArrays)
{
    const auto curve =
        QSharedPointer<PlotCurve>::create(window, QColor(Qt::red), QStringLiteral("c"), 0, 2, 0x123, 1, 2,
                                          0xFF, 0, 0, scale, offset, QString(), 0, true, points, clearArrays);
    std::copy(x.begin(), x.end(), curve->xValues.get());
    std::copy(y.begin(), y.end(), curve->yValues.get());
    curve->plotItem->setRawSamples(curve->xValues.get(), curve->yValues.get(), x.size());
    return curve;
}

QPolygon points(std::initializer_list<QPoint> list)
{
    return QPolygon(QVector<QPoint>(list));
}

} // namespace

class TestMarkers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void freshProgram();
    void buttonsBringMarkersIntoView();
    void negativeDistance();
    void cells_data();
    void cells();
    void cellsFollowRows();
    void dragMovesTheNearerMarker();
    void dragExactlyMidwayMovesMarker2();
    void noDragDuringARun();
    void selectionsThatMoveNothing();

private:
    void showWindow();
    QPoint canvasPoint(double time) const;
    std::unique_ptr<VistrelMainWindow> window;
};

void TestMarkers::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    TestSupport::useDriverConfig(QString());
}

void TestMarkers::init()
{
    window = std::make_unique<VistrelMainWindow>();
}

void TestMarkers::cleanup()
{
    window.reset();
    QLocale::setDefault(QLocale::c());
}

void TestMarkers::showWindow()
{
    window->resize(1000, 800);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    window->setOperatingMode(ModeStopped);
}

QPoint TestMarkers::canvasPoint(double time) const
{
    return QPoint(qRound(window->plot->transform(QwtPlot::xBottom, time)), 50);
}

void TestMarkers::freshProgram()
{
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: -6.000 s"));
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: -4.000 s"));
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: 2.000 s"));
    QCOMPARE(window->plot->marker1()->xValue(), -6.0);
    QCOMPARE(window->plot->marker2()->xValue(), -4.0);
}

void TestMarkers::buttonsBringMarkersIntoView()
{
    // A comma locale changes none of the texts.
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    window->setRunTime(100.0);
    window->followRun();
    window->scrollBarTime->setValue(50000); // view 40..50
    window->pushButtonMarker2->click();
    QCOMPARE(window->plot->marker2()->xValue(), 46.0);
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: 46.000 s"));
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: 52.000 s"));
    window->pushButtonMarker1->click();
    QCOMPARE(window->plot->marker1()->xValue(), 44.0);
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: 44.000 s"));
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: 2.000 s"));
}

void TestMarkers::negativeDistance()
{
    window->plot->setMarker1(5.0);
    window->plot->setMarker2(2.0);
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: -3.000 s"));
    window->plot->setMarker1(1.0);
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: 1.000 s"));
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: 1.000 s"));
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: 2.000 s"));
}

void TestMarkers::cells_data()
{
    QTest::addColumn<Doubles>("x");
    QTest::addColumn<Doubles>("y");
    QTest::addColumn<unsigned>("points");
    QTest::addColumn<bool>("clearArrays");
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<double>("time");
    QTest::addColumn<QString>("cell"); // "before": unchanged

    // Live point at 10, then samples at 8, 6, 4 and 2, newest first.
    const Doubles x{10.0, 8.0, 6.0, 4.0, 2.0};
    const Doubles y{50.0, 50.0, 30.0, 20.0, 10.0};
    QTest::newRow("newest sample before the marker")
        << x << y << 5u << false << 2.0 << 10.0 << 7.0 << "30.000/10.000   [6.000 s]";
    QTest::newRow("on a sample: the one before")
        << x << y << 5u << false << 2.0 << 10.0 << 6.0 << "20.000/5.000   [4.000 s]";
    QTest::newRow("after all samples: the live point")
        << x << y << 5u << false << 2.0 << 10.0 << 11.0 << "50.000/20.000   [10.000 s]";
    QTest::newRow("scale 0: raw 0") << x << y << 5u << false << 0.0 << 10.0 << 7.0
                                    << "30.000/0.000   [6.000 s]";
    QTest::newRow("negative scale") << x << y << 5u << false << -0.5 << 0.0 << 5.0
                                    << "20.000/-40.000   [4.000 s]";
    QTest::newRow("nothing older, marker before 0") << x << y << 5u << false << 1.0 << 0.0 << 1.0 << "before";
    // A live curve not yet full: its zeros count as points at time 0.
    const Doubles live{3.5, 3.0, 2.5};
    const Doubles liveY{-4.0, -4.0, 7.0};
    QTest::newRow("unfilled elements, marker after 0")
        << live << liveY << 10u << true << 0.5 << 1.0 << 2.0 << "0.000/-2.000   [0.000 s]";
    QTest::newRow("unfilled elements, marker at 0")
        << live << liveY << 10u << true << 0.5 << 1.0 << 0.0 << "before";
    QTest::newRow("unfilled elements, marker before 0")
        << live << liveY << 10u << true << 0.5 << 1.0 << -3.0 << "before";
    QTest::newRow("no points at all")
        << Doubles{} << Doubles{} << 0u << true << 1.0 << 0.0 << 5.0 << "before";
}

void TestMarkers::cells()
{
    QFETCH(Doubles, x);
    QFETCH(Doubles, y);
    QFETCH(unsigned, points);
    QFETCH(bool, clearArrays);
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(double, time);
    QFETCH(QString, cell);

    window->curves.append(offlineCurve(window.get(), x, y, points, scale, offset, clearArrays));
    TablePlotDescription* table = window->tableDescription;
    table->setRowCount(1);
    table->setM1(0, QStringLiteral("before"));
    table->setM2(0, QStringLiteral("before"));

    window->plot->setMarker1(time);
    QCOMPARE(table->text(0, TablePlotDescription::ColM1), cell);
    QCOMPARE(table->text(0, TablePlotDescription::ColM2), QStringLiteral("before"));
    window->plot->setMarker2(time);
    QCOMPARE(table->text(0, TablePlotDescription::ColM2), cell);
}

void TestMarkers::cellsFollowRows()
{
    // Row r shows curves[r]; a curve without points leaves its row alone.
    window->curves.append(offlineCurve(window.get(), {}, {}, 0, 1.0, 0.0, true));
    window->curves.append(offlineCurve(window.get(), {5.0, 4.0}, {1.0, 1.0}, 1, 1.0, 0.0, false));
    window->curves.append(offlineCurve(window.get(), {5.0, 3.0}, {2.0, 2.0}, 1, 4.0, 0.0, false));
    window->tableDescription->setRowCount(3);
    window->plot->setMarker2(6.0);
    QCOMPARE(window->tableDescription->text(0, TablePlotDescription::ColM2), QString());
    QCOMPARE(window->tableDescription->text(1, TablePlotDescription::ColM2),
             QStringLiteral("1.000/1.000   [5.000 s]"));
    QCOMPARE(window->tableDescription->text(2, TablePlotDescription::ColM2),
             QStringLiteral("2.000/0.500   [5.000 s]"));
}

void TestMarkers::dragMovesTheNearerMarker()
{
    showWindow();
    DataPlot* plot = window->plot;
    plot->setMarker1Color(QColor(Qt::darkGreen));
    plot->setMarker2Color(QColor(Qt::red));
    QCOMPARE(plot->marker1()->xValue(), -6.0);
    QCOMPARE(plot->marker2()->xValue(), -4.0);

    // Nearer to marker 1: it follows the mouse; the texts wait for the release.
    const QPoint first = canvasPoint(-5.8);
    plot->slotPickerMoved(first);
    const double v1 = plot->invTransform(QwtPlot::xBottom, first.x());
    QCOMPARE(plot->marker1()->xValue(), v1);
    QCOMPARE(plot->marker2()->xValue(), -4.0);
    QCOMPARE(plot->picker()->rubberBandPen().color(), QColor(Qt::darkGreen));
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: -6.000 s"));

    // Once chosen, the marker stays the one that moves, even past the other.
    const QPoint second = canvasPoint(-3.0);
    plot->slotPickerMoved(second);
    const double v2 = plot->invTransform(QwtPlot::xBottom, second.x());
    QCOMPARE(plot->marker1()->xValue(), v2);
    QCOMPARE(plot->marker2()->xValue(), -4.0);
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: -6.000 s"));

    plot->slotPickerSelected(points({second}));
    QCOMPARE(plot->marker1()->xValue(), v2);
    QCOMPARE(window->pushButtonMarker1->text(), QString::asprintf("M1: %0.3f s", v2));
    QCOMPARE(window->pushButtonDMarker->text(), QString::asprintf("dM: %0.3f s", -4.0 - v2));

    // A new drag picks the nearer one again: now marker 2, in its colour.
    const QPoint third = canvasPoint(-4.5);
    plot->slotPickerMoved(third);
    const double v3 = plot->invTransform(QwtPlot::xBottom, third.x());
    QCOMPARE(plot->marker2()->xValue(), v3);
    QCOMPARE(plot->marker1()->xValue(), v2);
    QCOMPARE(plot->picker()->trackerPen().color(), QColor(Qt::red));
    plot->slotPickerSelected(points({third}));
    QCOMPARE(window->pushButtonMarker2->text(), QString::asprintf("M2: %0.3f s", v3));
    QCOMPARE(window->pushButtonMarker1->text(), QString::asprintf("M1: %0.3f s", v2));
}

void TestMarkers::dragExactlyMidwayMovesMarker2()
{
    showWindow();
    DataPlot* plot = window->plot;
    plot->setTimeScale(10.0, 10.0);
    plot->replot();
    // A canvas position whose time v lies in [1, 1.75): there v - 0.25 and
    // v + 0.25 are exact, and so are both distances.
    const QPoint mid = canvasPoint(1.3);
    const double v = plot->invTransform(QwtPlot::xBottom, mid.x());
    QVERIFY2(v >= 1.0 && v < 1.75, qPrintable(QString::number(v)));
    plot->setMarker1(v - 0.25);
    plot->setMarker2(v + 0.25);
    QCOMPARE(v - plot->marker1()->xValue(), plot->marker2()->xValue() - v);

    plot->slotPickerMoved(mid);
    QCOMPARE(plot->marker2()->xValue(), v);
    QCOMPARE(plot->marker1()->xValue(), v - 0.25);

    // Both markers on one spot: equal distance too, and marker 2 wins.
    plot->slotPickerSelected(points({mid}));
    plot->setMarker1(-2.0);
    plot->setMarker2(-2.0);
    plot->slotPickerMoved(canvasPoint(3.0));
    QCOMPARE(plot->marker1()->xValue(), -2.0);
    QVERIFY(plot->marker2()->xValue() != -2.0);
}

void TestMarkers::noDragDuringARun()
{
    showWindow();
    DataPlot* plot = window->plot;
    plot->setMarker1Color(QColor(Qt::darkGreen));
    plot->setMarker2Color(QColor(Qt::red));
    window->setOperatingMode(ModeRun);
    QVERIFY(!window->pushButtonMarker1->isEnabled());

    plot->slotPickerMoved(canvasPoint(-4.2));
    plot->slotPickerSelected(points({canvasPoint(-4.2)}));
    QCOMPARE(plot->marker1()->xValue(), -6.0);
    QCOMPARE(plot->marker2()->xValue(), -4.0);
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: -4.000 s"));
    QCOMPARE(plot->picker()->rubberBandPen().color(), QColor(Qt::darkGreen));

    // A move begun in a run doesn't carry over into the pause.
    window->setOperatingMode(ModePause);
    plot->slotPickerSelected(points({canvasPoint(-4.2)}));
    QCOMPARE(plot->marker2()->xValue(), -4.0);
}

void TestMarkers::selectionsThatMoveNothing()
{
    showWindow();
    DataPlot* plot = window->plot;

    // A click without movement moves nothing.
    plot->slotPickerSelected(points({canvasPoint(-5.5)}));
    QCOMPARE(plot->marker1()->xValue(), -6.0);
    QCOMPARE(plot->marker2()->xValue(), -4.0);

    // During a drag, selections of 0 or 2 points leave the drag going.
    const QPoint at = canvasPoint(-3.5);
    plot->slotPickerMoved(at);
    const double v = plot->invTransform(QwtPlot::xBottom, at.x());
    plot->slotPickerSelected(QPolygon());
    plot->slotPickerSelected(points({at, canvasPoint(-1.0)}));
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: -4.000 s"));
    QCOMPARE(plot->marker2()->xValue(), v);
    plot->slotPickerSelected(points({at}));
    QCOMPARE(window->pushButtonMarker2->text(), QString::asprintf("M2: %0.3f s", v));

    // Idle again: another release changes nothing.
    plot->slotPickerSelected(points({canvasPoint(-8.0)}));
    QCOMPARE(plot->marker2()->xValue(), v);
    QCOMPARE(plot->marker1()->xValue(), -6.0);
}

QTEST_MAIN(TestMarkers)
#include "tst_markers.moc"
