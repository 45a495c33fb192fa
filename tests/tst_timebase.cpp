#include "bottomscaledraw.h"
#include "timebase.h"

#include <QtTest>

#include <qwt_scale_div.h>
#include <qwt_scale_engine.h>

#include <cmath>
#include <limits>

namespace {

// Restores the default locale when a test leaves, also on failure.
class DefaultLocaleGuard
{
public:
    DefaultLocaleGuard() : saved(QLocale()) {}
    ~DefaultLocaleGuard() { QLocale::setDefault(saved); }

private:
    QLocale saved;
};

} // namespace

class TestTimeBase : public QObject
{
    Q_OBJECT

private slots:
    void tableAndLabels_data();
    void tableAndLabels();
    void labelsCut_data();
    void labelsCut();
    void indexAbove_data();
    void indexAbove();
    void followsEveryRefresh_data();
    void followsEveryRefresh();
    void axisLabels_data();
    void axisLabels();
    void axisTickLabels_data();
    void axisTickLabels();
};

void TestTimeBase::tableAndLabels_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("span");
    QTest::addColumn<QString>("label");
    const double spans[] = {0.01, 0.02, 0.05, 0.1,  0.2,  0.5,  1,     2,     5,     10,     20,     50,
                            100,  200,  500,  1000, 2000, 5000, 10000, 20000, 50000, 100000, 200000, 500000};
    const char* labels[] = {"10 ms",   "20 ms",   "50 ms",   "100 ms",   "200 ms",   "500 ms",
                            "1 s",     "2 s",     "5 s",     "10 s",     "20 s",     "50 s",
                            "100 s",   "200 s",   "500 s",   "1000 s",   "2000 s",   "5000 s",
                            "10000 s", "20000 s", "50000 s", "100000 s", "200000 s", "500000 s"};
    QCOMPARE(timeBaseTable.size(), size_t(24));
    QCOMPARE(timeBaseCount, 24);
    for (int i = 0; i < 24; ++i)
        QTest::addRow("%d", i) << i << spans[i] << QString::fromLatin1(labels[i]);
}

void TestTimeBase::tableAndLabels()
{
    QFETCH(int, index);
    QFETCH(double, span);
    QFETCH(QString, label);
    const double entry = timeBaseTable[static_cast<size_t>(index)];
    QCOMPARE(entry, span);
    QCOMPARE(timeBaseLabel(entry), label);
    if (index > 0)
        QVERIFY(timeBaseTable[static_cast<size_t>(index - 1)] < entry);
}

void TestTimeBase::labelsCut_data()
{
    QTest::addColumn<double>("span");
    QTest::addColumn<QString>("label");
    QTest::newRow("1.9 s") << 1.9 << "1 s";
    QTest::newRow("just below 1 s") << 0.9999 << "999 ms";
    QTest::newRow("1.5 ms") << 0.0015 << "1 ms";
    QTest::newRow("0") << 0.0 << "0 ms";
}

void TestTimeBase::labelsCut()
{
    QFETCH(double, span);
    QFETCH(QString, label);
    QCOMPARE(timeBaseLabel(span), label);
}

void TestTimeBase::indexAbove_data()
{
    QTest::addColumn<double>("distance");
    QTest::addColumn<int>("index");
    QTest::newRow("markers 1 and 4") << 3.0 << 8;
    QTest::newRow("exactly 5 s: strictly greater") << 5.0 << 9;
    QTest::newRow("just above 5 s") << 5.000001 << 9;
    QTest::newRow("just below 5 s") << 4.999999 << 8;
    QTest::newRow("no distance") << 0.0 << 0;
    QTest::newRow("below the smallest") << 0.005 << 0;
    QTest::newRow("exactly the smallest") << 0.01 << 1;
    QTest::newRow("0.1 as a sum") << (0.3 - 0.2) << 3;
    QTest::newRow("just below the largest") << 499999.0 << 23;
    QTest::newRow("the largest") << 500000.0 << 23;
    QTest::newRow("beyond the table") << 1e9 << 23;
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << 23;
}

void TestTimeBase::indexAbove()
{
    QFETCH(double, distance);
    QFETCH(int, index);
    QCOMPARE(timeBaseIndexAbove(distance), index);
}

void TestTimeBase::followsEveryRefresh_data()
{
    QTest::addColumn<bool>("continuous");
    QTest::addColumn<double>("span");
    QTest::addColumn<unsigned>("refreshTime");
    QTest::addColumn<bool>("follows");
    QTest::newRow("continuous always") << true << 500000.0 << 250u << true;
    QTest::newRow("500 ms at 250 ms") << false << 0.5 << 250u << true;
    QTest::newRow("1 s at 250 ms pages") << false << 1.0 << 250u << false;
    QTest::newRow("100 ms at 50 ms") << false << 0.1 << 50u << true;
    QTest::newRow("50 ms at 25 ms") << false << 0.05 << 25u << true;
    QTest::newRow("10 ms at 5 ms") << false << 0.01 << 5u << true;
    QTest::newRow("20 ms at 5 ms pages") << false << 0.02 << 5u << false;
    QTest::newRow("200 ms at 99 ms pages") << false << 0.2 << 99u << false;
    QTest::newRow("200 ms at 100 ms") << false << 0.2 << 100u << true;
    QTest::newRow("10 s at 5000 ms") << false << 10.0 << 5000u << true;
}

void TestTimeBase::followsEveryRefresh()
{
    QFETCH(bool, continuous);
    QFETCH(double, span);
    QFETCH(unsigned, refreshTime);
    QFETCH(bool, follows);
    QCOMPARE(::followsEveryRefresh(continuous, span, refreshTime), follows);
}

void TestTimeBase::axisLabels_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("label");
    QTest::newRow("-10") << -10.0 << "-10.000";
    QTest::newRow("0.5") << 0.5 << "0.500";
    QTest::newRow("0.001") << 0.001 << "0.001";
    QTest::newRow("1234.5") << 1234.5 << "1234.500";
    QTest::newRow("no group separator") << 1234567.25 << "1234567.250";
    QTest::newRow("0") << 0.0 << "0.000";
    QTest::newRow("negative zero") << -0.0 << "0.000";
    QTest::newRow("tick artefact") << -1e-17 << "0.000";
    QTest::newRow("rounds to zero from below") << -0.0004 << "0.000";
    QTest::newRow("rounds to -0.001") << -0.0006 << "-0.001";
    QTest::newRow("rounds to zero from above") << 0.0004 << "0.000";
    QTest::newRow("rounds up") << 0.0006 << "0.001";
    QTest::newRow("negative fraction") << -0.25 << "-0.250";
}

void TestTimeBase::axisLabels()
{
    QFETCH(double, value);
    QFETCH(QString, label);
    const BottomScaleDraw draw;
    DefaultLocaleGuard guard;
    for (const QLocale& locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)}) {
        QLocale::setDefault(locale);
        QCOMPARE(draw.label(value).text(), label);
    }
}

void TestTimeBase::axisTickLabels_data()
{
    QTest::addColumn<double>("end");
    QTest::addColumn<double>("span");
    for (size_t i = 0; i < timeBaseTable.size(); ++i) {
        const double span = timeBaseTable[i];
        QTest::addRow("span %g, end 0", span) << 0.0 << span;
        QTest::addRow("span %g, end 0.3 span", span) << 0.3 * span << span;
        QTest::addRow("span %g, end 3.3", span) << 3.3 << span;
        QTest::addRow("span %g, end -span/3", span) << -span / 3 << span;
    }
}

// The labels that the bottom axis shows for a view: ten steps of span / 10.
void TestTimeBase::axisTickLabels()
{
    QFETCH(double, end);
    QFETCH(double, span);
    const QwtLinearScaleEngine engine;
    const QwtScaleDiv div = engine.divideScale(end - span, end, 10, 5, span / 10);
    const QList<double> ticks = div.ticks(QwtScaleDiv::MajorTick);
    QVERIFY(ticks.size() >= 10);

    const BottomScaleDraw draw;
    QStringList labels;
    for (double tick : ticks)
        labels << draw.label(tick).text();
    QVERIFY2(!labels.contains(QStringLiteral("-0.000")), qPrintable(labels.join(' ')));
    // Neighbouring ticks never look alike, and the labels read as the ticks' values.
    for (int i = 0; i < labels.size(); ++i) {
        QVERIFY(std::fabs(labels[i].toDouble() - ticks[i]) <= 0.0005 + 1e-9 * std::fabs(ticks[i]));
        if (i > 0)
            QVERIFY2(labels[i - 1] != labels[i], qPrintable(labels.join(' ')));
    }
}

QTEST_GUILESS_MAIN(TestTimeBase)
#include "tst_timebase.moc"
