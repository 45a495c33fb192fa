// The view of the time axis: the time base slider, the scroll bar, the view
// at Start and while a run goes on, and the zoom to the markers.
#include "dataplot.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_marker.h>
#include <qwt_scale_div.h>

#include <QtTest>

#include <climits>
#include <memory>

using Steps = QVector<double>;
using Views = QVector<QPointF>; // (start, end) of the view after each step
Q_DECLARE_METATYPE(Steps)
Q_DECLARE_METATYPE(Views)

class TestTimeBaseView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void freshStart();
    void timeBaseLabels_data();
    void timeBaseLabels();
    void followingARun_data();
    void followingARun();
    void scrollBarDuringARun();
    void scrollingWhileStopped();
    void shortRecordCannotScroll();
    void timeBaseChangeKeepsTheRightEnd();
    void timeBaseChangeRestartsPaging();
    void zoomToMarkers_data();
    void zoomToMarkers();
    void longRun_data();
    void longRun();
    void resetBringsTheStartView();

private:
    QPointF view() const;
    double span() const;
    std::unique_ptr<VistrelMainWindow> window;
};

void TestTimeBaseView::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    TestSupport::useDriverConfig(QString());
}

void TestTimeBaseView::init()
{
    window = std::make_unique<VistrelMainWindow>();
}

void TestTimeBaseView::cleanup()
{
    window.reset();
}

QPointF TestTimeBaseView::view() const
{
    const QwtScaleDiv& div = window->plot->axisScaleDiv(QwtPlot::xBottom);
    return {div.lowerBound(), div.upperBound()};
}

// Compares views to a microsecond: sums of run times and spans round.
#define COMPARE_VIEW(actual, expected)                                                                       \
    do {                                                                                                     \
        const QPointF a_ = (actual);                                                                         \
        const QPointF e_ = (expected);                                                                       \
        QVERIFY2(qAbs(a_.x() - e_.x()) < 1e-6 && qAbs(a_.y() - e_.y()) < 1e-6,                               \
                 qPrintable(QStringLiteral("view %1..%2, expected %3..%4")                                   \
                                .arg(a_.x(), 0, 'f', 6)                                                      \
                                .arg(a_.y(), 0, 'f', 6)                                                      \
                                .arg(e_.x(), 0, 'f', 6)                                                      \
                                .arg(e_.y(), 0, 'f', 6)));                                                   \
    } while (false)

void TestTimeBaseView::freshStart()
{
    QCOMPARE(window->sliderTimeBase->value(), 9);
    QCOMPARE(window->textLabelTimeBase->text(), QStringLiteral("10 s"));
    QCOMPARE(view(), QPointF(-10.0, 0.0));
    const QList<double> ticks = window->plot->axisScaleDiv(QwtPlot::xBottom).ticks(QwtScaleDiv::MajorTick);
    QCOMPARE(ticks.size(), 11);
    QCOMPARE(ticks.first(), -10.0);
    QCOMPARE(ticks[1], -9.0);
    QCOMPARE(window->scrollBarTime->minimum(), 0);
    QCOMPARE(window->scrollBarTime->maximum(), 0);
    QCOMPARE(window->scrollBarTime->value(), 0);
    QCOMPARE(window->runTime(), 0.0);
}

void TestTimeBaseView::timeBaseLabels_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("span");
    QTest::addColumn<QString>("label");
    const char* labels[] = {"10 ms",   "20 ms",   "50 ms",   "100 ms",   "200 ms",   "500 ms",
                            "1 s",     "2 s",     "5 s",     "10 s",     "20 s",     "50 s",
                            "100 s",   "200 s",   "500 s",   "1000 s",   "2000 s",   "5000 s",
                            "10000 s", "20000 s", "50000 s", "100000 s", "200000 s", "500000 s"};
    const double spans[] = {0.01, 0.02, 0.05, 0.1,  0.2,  0.5,  1,     2,     5,     10,     20,     50,
                            100,  200,  500,  1000, 2000, 5000, 10000, 20000, 50000, 100000, 200000, 500000};
    for (int i = 0; i < 24; ++i)
        QTest::addRow("%d", i) << i << spans[i] << QString::fromLatin1(labels[i]);
}

void TestTimeBaseView::timeBaseLabels()
{
    QFETCH(int, index);
    QFETCH(double, span);
    QFETCH(QString, label);

    // From another index, so that the slider really moves.
    window->sliderTimeBase->setValue(index == 23 ? 0 : 23);
    window->sliderTimeBase->setValue(index);
    QCOMPARE(window->textLabelTimeBase->text(), label);
    // Nothing recorded: the view ends at run time 0.
    COMPARE_VIEW(view(), QPointF(-span, 0.0));
    QCOMPARE(window->scrollBarTime->maximum(), 0);
}

void TestTimeBaseView::followingARun_data()
{
    QTest::addColumn<bool>("continuous");
    QTest::addColumn<unsigned>("refreshTime");
    QTest::addColumn<int>("index");
    QTest::addColumn<QPointF>("startView");
    QTest::addColumn<Steps>("runTimes");
    QTest::addColumn<Views>("views");

    QTest::newRow("continuous follows each refresh")
        << true << 250u << 9 << QPointF(-10, 0) << Steps{0.25, 3.0, 12.5}
        << Views{{-9.75, 0.25}, {-7, 3}, {2.5, 12.5}};
    // Opens from -5 to 5, stays until the run time passes 5, then jumps so
    // that the present is in the middle.
    QTest::newRow("paged, 10 s") << false << 250u << 9 << QPointF(-5, 5)
                                 << Steps{0.25, 4.9, 5.0, 5.2, 9.0, 10.2, 10.3}
                                 << Views{{-5, 5},     {-5, 5},     {-5, 5},    {0.2, 10.2},
                                          {0.2, 10.2}, {0.2, 10.2}, {5.3, 15.3}};
    // 0.5 s <= 2 * 0.25 s: follows although paged.
    QTest::newRow("paged, 500 ms at 250 ms follows")
        << false << 250u << 5 << QPointF(-0.25, 0.25) << Steps{0.1, 0.2} << Views{{-0.4, 0.1}, {-0.3, 0.2}};
    QTest::newRow("paged, 1 s at 250 ms pages")
        << false << 250u << 6 << QPointF(-0.5, 0.5) << Steps{0.25, 0.5, 0.75}
        << Views{{-0.5, 0.5}, {-0.5, 0.5}, {0.25, 1.25}};
    QTest::newRow("paged, 1 s at 500 ms follows")
        << false << 500u << 6 << QPointF(-0.5, 0.5) << Steps{0.5, 1.0} << Views{{-0.5, 0.5}, {0.0, 1.0}};
}

void TestTimeBaseView::followingARun()
{
    QFETCH(bool, continuous);
    QFETCH(unsigned, refreshTime);
    QFETCH(int, index);
    QFETCH(QPointF, startView);
    QFETCH(Steps, runTimes);
    QFETCH(Views, views);

    window->continuousScroll = continuous;
    window->refreshTime = refreshTime;
    window->sliderTimeBase->setValue(index);
    window->setRunTime(0.0);
    window->setTimeAxisForStart();
    COMPARE_VIEW(view(), startView);
    for (int i = 0; i < runTimes.size(); ++i) {
        window->setRunTime(runTimes[i]);
        window->followRun();
        COMPARE_VIEW(view(), views[i]);
    }
}

void TestTimeBaseView::scrollBarDuringARun()
{
    window->setTimeAxisForStart();
    QSignalSpy moved(window->scrollBarTime, &QScrollBar::valueChanged);
    // During the first span the bar has no range.
    for (const double runTime : {0.5, 9.99, 10.0}) {
        window->setRunTime(runTime);
        window->followRun();
        QCOMPARE(window->scrollBarTime->maximum(), 0);
        QCOMPARE(window->scrollBarTime->value(), 0);
    }
    // Then at its right end with a growing range, without moving the view.
    for (const double runTime : {10.0015, 25.25, 100.9999}) {
        window->setRunTime(runTime);
        window->followRun();
        const int ms = int(runTime * 1000);
        QCOMPARE(window->scrollBarTime->maximum(), ms);
        QCOMPARE(window->scrollBarTime->value(), ms);
        COMPARE_VIEW(view(), QPointF(runTime - 10, runTime));
    }
    QCOMPARE(moved.count(), 0);
}

void TestTimeBaseView::scrollingWhileStopped()
{
    window->setRunTime(100.0);
    window->followRun();
    QCOMPARE(window->scrollBarTime->maximum(), 100000);
    window->scrollBarTime->setValue(50000);
    COMPARE_VIEW(view(), QPointF(40, 50));
    window->scrollBarTime->setValue(0);
    COMPARE_VIEW(view(), QPointF(-10, 0));
    window->scrollBarTime->setValue(100000);
    COMPARE_VIEW(view(), QPointF(90, 100));
}

void TestTimeBaseView::shortRecordCannotScroll()
{
    window->setRunTime(3.0);
    window->followRun();
    COMPARE_VIEW(view(), QPointF(-7, 3));
    QCOMPARE(window->scrollBarTime->maximum(), 0);
    // Even a direct value leaves the view on the record.
    window->slotScrollTimeChanged(1000);
    COMPARE_VIEW(view(), QPointF(-7, 3));
}

void TestTimeBaseView::timeBaseChangeKeepsTheRightEnd()
{
    window->setRunTime(100.0);
    window->followRun();
    window->scrollBarTime->setValue(50000);
    COMPARE_VIEW(view(), QPointF(40, 50));

    window->sliderTimeBase->setValue(8); // 5 s
    QCOMPARE(window->textLabelTimeBase->text(), QStringLiteral("5 s"));
    COMPARE_VIEW(view(), QPointF(45, 50));
    QCOMPARE(window->scrollBarTime->maximum(), 100000);
    QCOMPARE(window->scrollBarTime->value(), 50000);

    window->sliderTimeBase->setValue(12); // 100 s: the record fits
    COMPARE_VIEW(view(), QPointF(0, 100));
    QCOMPARE(window->scrollBarTime->maximum(), 0);
    QCOMPARE(window->scrollBarTime->value(), 0);
}

void TestTimeBaseView::timeBaseChangeRestartsPaging()
{
    window->continuousScroll = false;
    window->setRunTime(0.0);
    window->setTimeAxisForStart();
    window->setRunTime(3.0);
    window->followRun();
    COMPARE_VIEW(view(), QPointF(-5, 5));
    // A new time base lets the next refresh place the view at once.
    window->sliderTimeBase->setValue(8);
    window->followRun();
    COMPARE_VIEW(view(), QPointF(3 + 2.5 - 5, 3 + 2.5));
}

void TestTimeBaseView::zoomToMarkers_data()
{
    QTest::addColumn<double>("marker1");
    QTest::addColumn<double>("marker2");
    QTest::addColumn<double>("runTime");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QPointF>("expectedView");
    QTest::addColumn<int>("scrollMaximum");
    QTest::addColumn<int>("scrollValue");

    QTest::newRow("1 and 4") << 1.0 << 4.0 << 10.0 << 8 << "5 s" << QPointF(0, 5) << 10000 << 5000;
    QTest::newRow("4 and 1") << 4.0 << 1.0 << 10.0 << 8 << "5 s" << QPointF(0, 5) << 10000 << 5000;
    QTest::newRow("exactly 5 s apart")
        << 1.0 << 6.0 << 20.0 << 9 << "10 s" << QPointF(-1.5, 8.5) << 20000 << 8500;
    QTest::newRow("500000 s apart") << 0.0 << 500000.0 << 1e6 << 23 << "500000 s" << QPointF(0, 500000)
                                    << 1000000000 << 500000000;
    QTest::newRow("further apart") << -1e6 << 1e6 << 2e6 << 23 << "500000 s" << QPointF(-250000, 250000)
                                   << 2000000000 << 250000000;
    // Centred at 0.4125, but the scroll bar, which places the view last,
    // counts whole milliseconds.
    QTest::newRow("cut to the millisecond")
        << 0.25 << 0.375 << 10.0 << 4 << "200 ms" << QPointF(0.212, 0.412) << 10000 << 412;
    // The whole record fits the span: the view ends at the record's end.
    QTest::newRow("record fits") << 1.0 << 4.0 << 3.0 << 8 << "5 s" << QPointF(-2, 3) << 0 << 0;
}

void TestTimeBaseView::zoomToMarkers()
{
    QFETCH(double, marker1);
    QFETCH(double, marker2);
    QFETCH(double, runTime);
    QFETCH(int, index);
    QFETCH(QString, label);
    QFETCH(QPointF, expectedView);
    QFETCH(int, scrollMaximum);
    QFETCH(int, scrollValue);

    window->setRunTime(runTime);
    window->followRun();
    window->plot->setMarker1(marker1);
    window->plot->setMarker2(marker2);
    QSignalSpy sliderMoved(window->sliderTimeBase, &QSlider::valueChanged);

    window->pushButtonDMarker->click();
    COMPARE_VIEW(view(), expectedView);
    QCOMPARE(window->sliderTimeBase->value(), index);
    QCOMPARE(window->textLabelTimeBase->text(), label);
    // The slider's own signal stayed blocked: the slot ran once, directly.
    QCOMPARE(sliderMoved.count(), 0);
    QCOMPARE(window->scrollBarTime->maximum(), scrollMaximum);
    QCOMPARE(window->scrollBarTime->value(), scrollValue);
    // The markers stay where they were.
    QCOMPARE(window->plot->marker1()->xValue(), marker1);
    QCOMPARE(window->plot->marker2()->xValue(), marker2);
}

void TestTimeBaseView::longRun_data()
{
    QTest::addColumn<double>("runTime");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<double>("secondsPerStep");

    QTest::newRow("last whole millisecond") << 2147483.647 << INT_MAX << 0.001;
    QTest::newRow("one millisecond more") << 2147483.648 << 214748364 << 0.01;
    QTest::newRow("30 days") << 30 * 86400.0 << 259200000 << 0.01;
    QTest::newRow("a year") << 366 * 86400.0 << 316224000 << 0.1;
}

void TestTimeBaseView::longRun()
{
    QFETCH(double, runTime);
    QFETCH(int, maximum);
    QFETCH(double, secondsPerStep);

    // The axis goes on with the run; the bar counts in coarser steps beyond
    // 2147483647 ms, so that all of the record stays reachable.
    window->setRunTime(runTime);
    window->followRun();
    COMPARE_VIEW(view(), QPointF(runTime - 10, runTime));
    QCOMPARE(window->scrollBarTime->maximum(), maximum);
    QCOMPARE(window->scrollBarTime->value(), maximum);

    window->scrollBarTime->setValue(maximum - 1);
    const double end = (maximum - 1) * secondsPerStep;
    QVERIFY2(qAbs(view().y() - end) < 1e-6, qPrintable(QString::number(view().y(), 'f', 6)));
    window->scrollBarTime->setValue(1000);
    QVERIFY(qAbs(view().y() - 1000 * secondsPerStep) < 1e-6);
    window->scrollBarTime->setValue(maximum);
    QVERIFY(runTime - view().y() < secondsPerStep);
}

void TestTimeBaseView::resetBringsTheStartView()
{
    window->setRunTime(100.0);
    window->followRun();
    window->sliderTimeBase->setValue(3);
    window->scrollBarTime->setValue(500);
    QVERIFY(window->resetProject());
    QCOMPARE(window->sliderTimeBase->value(), 9);
    QCOMPARE(window->textLabelTimeBase->text(), QStringLiteral("10 s"));
    QCOMPARE(view(), QPointF(-10, 0));
    QCOMPARE(window->scrollBarTime->maximum(), 0);
    QCOMPARE(window->scrollBarTime->value(), 0);
    QCOMPARE(window->plot->marker1()->xValue(), -6.0);
    QCOMPARE(window->plot->marker2()->xValue(), -4.0);
}

QTEST_MAIN(TestTimeBaseView)
#include "tst_timebase_view.moc"
