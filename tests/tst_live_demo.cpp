// The demo project against the demo bus of the driver: what a new user sees
// after `make run` and Start.
#include "formstatusbar_resourcesreparent.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <QtTest>

#include <memory>

class TestLiveDemo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void demoProjectRunsOnTheDemoBus();
};

void TestLiveDemo::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestLiveDemo::demoProjectRunsOnTheDemoBus()
{
    QFile config(QStringLiteral(VISTREL_SOURCE_DIR "/examples/tessbus-demo.conf"));
    QVERIFY(config.open(QIODevice::ReadOnly));
    TestSupport::useDriverConfig(QString::fromUtf8(config.readAll()));

    VistrelMainWindow window;
    window.refreshTime = 50;
    const TestSupport::ModalAnswerer noBox(QMessageBox::Ok);
    window.openCommandLineFile({QStringLiteral("vistrel"), QStringLiteral(VISTREL_SOURCE_DIR "/examples/demo.vtlprj")});
    QCOMPARE(noBox.answered(), 0);

    TablePlotConfig* table = window.tableConfig;
    const int rows = table->rowCount();
    QVERIFY(rows >= 8);
    // Every data type, both byte orders, both axes and a 29-bit id.
    QSet<int> types, orders, axes;
    bool extended = false;
    for (int row = 0; row < rows; ++row) {
        types << table->dataType(row);
        axes << table->valueAxis(row);
        if (table->dataType(row) >= 2)
            orders << table->byteOrder(row);
        extended |= table->is29Bit(row);
        QCOMPARE(table->netText(row), QStringLiteral("0: DEMO"));
    }
    QCOMPARE(types.size(), 8);
    QCOMPARE(orders.size(), 2);
    QCOMPARE(axes.size(), 2);
    QVERIFY(extended);
    QVERIFY(window.axisSettings[1]->visible);

    window.pushButtonStartStop->click();
    QVERIFY(window.running);
    QCOMPARE(noBox.answered(), 0);

    // Every curve gets frames, and its values lie in its viewport.
    TablePlotDescription* description = window.tableDescription;
    for (int row = 0; row < rows; ++row)
        QTRY_VERIFY_WITH_TIMEOUT(description->text(row, TablePlotDescription::ColCount).toInt() > 2, 10000);
    QTRY_VERIFY(description->text(0, TablePlotDescription::ColCount).toInt() > 20);
    for (int row = 0; row < rows; ++row) {
        const QTableWidgetItem* current = description->item(row, TablePlotDescription::ColCurrentValue);
        QVERIFY2(!current->data(Qt::BackgroundRole).isValid(),
                 qPrintable(table->curveName(row) + QStringLiteral(" leaves its viewport: ") + current->text()));
    }
    // A few values a user can check against the demo vehicle at idle.
    const auto value = [&](const QString& name) {
        for (int row = 0; row < rows; ++row) {
            if (table->curveName(row) == name)
                return description->text(row, TablePlotDescription::ColCurrentValue).toDouble();
        }
        return qQNaN();
    };
    QVERIFY(value(QStringLiteral("Battery")) > 13.0 && value(QStringLiteral("Battery")) < 15.0);
    QVERIFY(value(QStringLiteral("EngineSpeed")) > 7.0 && value(QStringLiteral("EngineSpeed")) < 25.0);
    QVERIFY(value(QStringLiteral("Coolant")) >= 15.0 && value(QStringLiteral("Coolant")) <= 95.0);

    window.pushButtonStartStop->click();
    QVERIFY(!window.running);
    QCOMPARE(window.currentOperatingMode(), int(ModeStopped));
}

QTEST_MAIN(TestLiveDemo)
#include "tst_live_demo.moc"
