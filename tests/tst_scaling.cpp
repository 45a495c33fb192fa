#include "qcombotablesupportitem.h"
#include "scaling.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QtTest>

#include <memory>

class TestScaling : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void rowScaling_data();
    void rowScaling();
    void newRowTakesTheLeftAxis();
    void storedScalingSurvives_data();
    void storedScalingSurvives();
    void deriveRawRange_data();
    void deriveRawRange();
    void rawRangeFrom_data();
    void rawRangeFrom();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow();
};

void TestScaling::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

std::unique_ptr<VistrelMainWindow> TestScaling::makeWindow()
{
    // Only the table's own scaling is looked at here.
    return TestSupport::windowWithBareTable(QString(), 0);
}

// Scale and Offset as exact fractions; the texts where their digits are
// known by heart (empty: compared as numbers only).
void TestScaling::rowScaling_data()
{
    QTest::addColumn<int>("dataType");
    QTest::addColumn<int>("axis");
    QTest::addColumn<double>("viewMin");
    QTest::addColumn<double>("viewMax");
    QTest::addColumn<bool>("commaLocale");
    QTest::addColumn<QStringList>("ranges"); // raw min, raw max, value min, value max
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<QString>("scaleText");
    QTest::addColumn<QString>("offsetText");

    QTest::newRow("Integer8 left") << 0 << 0 << -100.0 << 100.0 << false
                                   << QStringList{"-128", "127", "-100", "100"} << 200.0 / 255 << 100.0 / 255
                                   << "0.7843137254901961"
                                   << "0.3921568627450966";
    QTest::newRow("Integer8 under a comma locale")
        << 0 << 0 << -100.0 << 100.0 << true << QStringList{"-128", "127", "-100", "100"} << 200.0 / 255
        << 100.0 / 255 << "0.7843137254901961"
        << "0.3921568627450966";
    QTest::newRow("Unsigned8 left") << 1 << 0 << -100.0 << 100.0 << false
                                    << QStringList{"0", "255", "-100", "100"} << 200.0 / 255 << -100.0
                                    << "0.7843137254901961"
                                    << "-100";
    QTest::newRow("Integer16 left") << 2 << 0 << -100.0 << 100.0 << false
                                    << QStringList{"-32768", "32767", "-100", "100"} << 200.0 / 65535
                                    << 100.0 / 65535 << "0.003051804379339284"
                                    << "";
    QTest::newRow("Unsigned16 left") << 3 << 0 << -100.0 << 100.0 << false
                                     << QStringList{"0", "65535", "-100", "100"} << 200.0 / 65535 << -100.0
                                     << ""
                                     << "";
    QTest::newRow("Integer32 left") << 4 << 0 << -100.0 << 100.0 << false
                                    << QStringList{"-2147483648", "2147483647", "-100", "100"}
                                    << 200.0 / 4294967295.0 << 100.0 / 4294967295.0 << ""
                                    << "";
    QTest::newRow("Unsigned32 left") << 5 << 0 << -100.0 << 100.0 << false
                                     << QStringList{"0", "4294967295", "-100", "100"} << 200.0 / 4294967295.0
                                     << -100.0 << ""
                                     << "";
    QTest::newRow("Real32 left") << 6 << 0 << -100.0 << 100.0 << false << QStringList{"0", "1", "-100", "100"}
                                 << 1.0 << 0.0 << "1"
                                 << "0";
    QTest::newRow("Real64 left") << 7 << 0 << -100.0 << 100.0 << false << QStringList{"0", "1", "-100", "100"}
                                 << 1.0 << 0.0 << "1"
                                 << "0";
    QTest::newRow("Integer8 right 0..100")
        << 0 << 1 << 0.0 << 100.0 << false << QStringList{"-128", "127", "0", "100"} << 100.0 / 255
        << 12800.0 / 255 << "0.392156862745098"
        << "";
    QTest::newRow("Unsigned8 right 0.5..2.5")
        << 1 << 1 << 0.5 << 2.5 << false << QStringList{"0", "255", "0.5", "2.5"} << 2.0 / 255 << 0.5 << ""
        << "";
    QTest::newRow("Real64 right keeps 1 and 0")
        << 7 << 1 << 0.0 << 100.0 << false << QStringList{"0", "1", "0", "100"} << 1.0 << 0.0 << "1"
        << "0";
}

void TestScaling::rowScaling()
{
    QFETCH(int, dataType);
    QFETCH(int, axis);
    QFETCH(double, viewMin);
    QFETCH(double, viewMax);
    QFETCH(bool, commaLocale);
    QFETCH(QStringList, ranges);
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(QString, scaleText);
    QFETCH(QString, offsetText);

    const auto window = makeWindow();
    TablePlotConfig* table = window->tableConfig;
    table->addCurveRow(0);
    window->axisSettings[axis]->min = viewMin;
    window->axisSettings[axis]->max = viewMax;
    table->setValueAxis(0, axis);
    table->setDataType(0, dataType);

    const QLocale saved;
    if (commaLocale)
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    table->slotDataTypeCurveSelection(0);
    QLocale::setDefault(saved);

    QCOMPARE((QStringList{table->rawValueMinText(0), table->rawValueMaxText(0), table->valueMinText(0),
                          table->valueMaxText(0)}),
             ranges);
    const double cellScale = table->scaleText(0).toDouble();
    const double cellOffset = table->offsetText(0).toDouble();
    QVERIFY2(qAbs(cellScale - scale) <= 1e-15 * qAbs(scale), qPrintable(table->scaleText(0)));
    QVERIFY2(qAbs(cellOffset - offset) <= 1e-12 * qMax(1.0, qAbs(offset)), qPrintable(table->offsetText(0)));
    if (!scaleText.isEmpty())
        QCOMPARE(table->scaleText(0), scaleText);
    if (!offsetText.isEmpty())
        QCOMPARE(table->offsetText(0), offsetText);
    // 'g' with 16 digits: what the cell says is the double that was computed.
    QCOMPARE(scalingText(cellScale), table->scaleText(0));
}

void TestScaling::newRowTakesTheLeftAxis()
{
    const auto window = makeWindow();
    window->axisSettings[1]->min = 0;
    window->axisSettings[1]->max = 10;
    window->axisSettings[1]->visible = true;
    TablePlotConfig* table = window->tableConfig;
    table->addCurveRow(0);
    QCOMPARE(table->valueAxis(0), 0);
    QCOMPARE(table->dataType(0), 0);
    QCOMPARE(table->scaleText(0), QStringLiteral("0.7843137254901961"));
    QCOMPARE(table->offsetText(0), QStringLiteral("0.3921568627450966"));
    QCOMPARE(table->valueMinText(0), QStringLiteral("-100"));
}

// A scaling that the reader or the dialog stored survives the program's own
// setters and a selection of the same entry; another entry recomputes it.
void TestScaling::storedScalingSurvives_data()
{
    QTest::addColumn<int>("col");
    QTest::addColumn<QString>("how"); // "setter", "same", "other"
    QTest::addColumn<bool>("kept");
    QTest::addColumn<QString>("scale"); // after a recomputation

    QTest::newRow("setDataType") << int(TablePlotConfig::ColDataType) << "setter" << true << "";
    QTest::newRow("same data type by hand") << int(TablePlotConfig::ColDataType) << "same" << true << "";
    QTest::newRow("other data type by hand")
        << int(TablePlotConfig::ColDataType) << "other" << false << "0.003051804379339284";
    QTest::newRow("setValueAxis") << int(TablePlotConfig::ColAxis) << "setter" << true << "";
    QTest::newRow("same axis by hand") << int(TablePlotConfig::ColAxis) << "same" << true << "";
    QTest::newRow("other axis by hand")
        << int(TablePlotConfig::ColAxis) << "other" << false << "0.392156862745098";
}

void TestScaling::storedScalingSurvives()
{
    QFETCH(int, col);
    QFETCH(QString, how);
    QFETCH(bool, kept);
    QFETCH(QString, scale);

    const auto window = makeWindow();
    TablePlotConfig* table = window->tableConfig;
    table->addCurveRow(0);
    const int other = col == TablePlotConfig::ColDataType ? 2 : 1;
    if (how == QLatin1String("same")) {
        table->setDataType(0, col == TablePlotConfig::ColDataType ? other : 0);
        table->setValueAxis(0, col == TablePlotConfig::ColAxis ? other : 0);
    }
    const QStringList stored{"2", "10", "-55", "45", "-100.0", "+100.0"};
    const QList<int> cols{TablePlotConfig::ColScale,       TablePlotConfig::ColOffset,
                          TablePlotConfig::ColRawValueMin, TablePlotConfig::ColRawValueMax,
                          TablePlotConfig::ColValueMin,    TablePlotConfig::ColValueMax};
    for (int i = 0; i < cols.size(); ++i)
        table->setCellText(0, cols[i], stored[i]);

    if (how == QLatin1String("setter")) {
        if (col == TablePlotConfig::ColDataType)
            table->setDataType(0, other);
        else
            table->setValueAxis(0, other);
    } else {
        table->comboSave(0, col)->comboBox->setCurrentIndex(other);
    }
    QCOMPARE(table->comboSave(0, col)->comboBox->currentIndex(), other);

    QStringList now;
    for (const int c : cols)
        now << table->cellText(0, c);
    if (kept) {
        QCOMPARE(now, stored);
    } else {
        QCOMPARE(now.value(0), scale);
        QVERIFY(now.value(4) != QLatin1String("-100.0"));
    }
}

void TestScaling::deriveRawRange_data()
{
    QTest::addColumn<QStringList>("cells"); // Offset, Scale, Value Min, Value Max
    QTest::addColumn<QStringList>("repaired");
    QTest::addColumn<QString>("rawMin");
    QTest::addColumn<QString>("rawMax");

    QTest::newRow("good cells stay") << QStringList{"10", "2", "-100.0", "100.0"}
                                     << QStringList{"10", "2", "-100.0", "100.0"} << "-55"
                                     << "45";
    QTest::newRow("printf form") << QStringList{"0.392157", "0.784314", "-100", "100"}
                                 << QStringList{"0.392157", "0.784314", "-100", "100"}
                                 << scalingText((-100 - 0.392157) / 0.784314)
                                 << scalingText((100 - 0.392157) / 0.784314);
    QTest::newRow("all bad") << QStringList{"", "x", "", "1,5"}
                             << QStringList{"0.0", "1.0", "-100.0", "100.0"} << "-100"
                             << "100";
    QTest::newRow("bad offset only") << QStringList{"abc", "0.5", "0", "10"}
                                     << QStringList{"0.0", "0.5", "0", "10"} << "0"
                                     << "20";
    QTest::newRow("bad range only") << QStringList{"1", "4", "", "+101.0"}
                                    << QStringList{"1", "4", "-100.0", "+101.0"} << "-25.25"
                                    << "25";
}

void TestScaling::deriveRawRange()
{
    QFETCH(QStringList, cells);
    QFETCH(QStringList, repaired);
    QFETCH(QString, rawMin);
    QFETCH(QString, rawMax);

    const auto window = makeWindow();
    TablePlotConfig* table = window->tableConfig;
    table->addCurveRow(0);
    table->setOffsetText(0, cells[0]);
    table->setScaleText(0, cells[1]);
    table->setValueMinText(0, cells[2]);
    table->setValueMaxText(0, cells[3]);

    table->deriveRawRange(0);
    QCOMPARE((QStringList{table->offsetText(0), table->scaleText(0), table->valueMinText(0),
                          table->valueMaxText(0)}),
             repaired);
    QCOMPARE(table->rawValueMinText(0), rawMin);
    QCOMPARE(table->rawValueMaxText(0), rawMax);
}

void TestScaling::rawRangeFrom_data()
{
    QTest::addColumn<double>("valueMin");
    QTest::addColumn<double>("valueMax");
    QTest::addColumn<double>("scale");
    QTest::addColumn<double>("offset");
    QTest::addColumn<double>("rawMin");
    QTest::addColumn<double>("rawMax");

    QTest::newRow("identity") << -100.0 << 100.0 << 1.0 << 0.0 << -100.0 << 100.0;
    QTest::newRow("scale 2 offset 10") << -100.0 << 100.0 << 2.0 << 10.0 << -55.0 << 45.0;
    QTest::newRow("negative scale") << 0.0 << 10.0 << -0.5 << 0.0 << 0.0 << -20.0;
}

void TestScaling::rawRangeFrom()
{
    QFETCH(double, valueMin);
    QFETCH(double, valueMax);
    QFETCH(double, scale);
    QFETCH(double, offset);
    QFETCH(double, rawMin);
    QFETCH(double, rawMax);

    double outMin = 0.0;
    double outMax = 0.0;
    ::rawRangeFrom(valueMin, valueMax, scale, offset, outMin, outMax);
    QCOMPARE(outMin, rawMin);
    QCOMPARE(outMax, rawMax);

    // And back: the ranges give the scaling again.
    double backScale = 0.0;
    double backOffset = 0.0;
    scalingFrom(outMin, outMax, valueMin, valueMax, backScale, backOffset);
    QCOMPARE(backScale, scale);
    QCOMPARE(backOffset + 0.0, offset + 0.0);
}

QTEST_MAIN(TestScaling)
#include "tst_scaling.moc"
