// Live runs from Start to Stop on virtual nets with injected frames.
#include "curvelock.h"
#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "tessbus_test.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <cstring>
#include <memory>

using TestSupport::ModalAnswerer;

namespace {

// Net 0 with hardware timestamps at 1 MHz; net 1 without timestamps and
// without 29-bit identifiers.
const char* const twoNets = "net 0 virtual name=LIVE_CAN features=Fc,2b,Ts tsfreq=1000000\n"
                            "net 1 virtual name=PLAIN features=Fc\n";

struct RowSetup
{
    int netIndex = 0;
    QString id = QStringLiteral("0x100");
    int baudIndex = 0;
    bool is29Bit = false;
    int dataType = 2; // Integer16
    int byteOrder = 0;
    int axis = 0;
};

// The ring as the capture thread left it, read under the curve's lock.
unsigned ringCount(PlotCurve& curve)
{
    CurveLock lock(curve.mutex);
    return curve.ring.count;
}

TessFrameT frameT(uint32_t id, uint64_t stamp, std::initializer_list<uint8_t> bytes)
{
    TessFrameT frame{};
    frame.id = id;
    frame.len = uint8_t(bytes.size());
    std::copy(bytes.begin(), bytes.end(), frame.data);
    frame.timestamp = stamp;
    return frame;
}

TessFrame frame(uint32_t id, std::initializer_list<uint8_t> bytes)
{
    TessFrame plain{};
    plain.id = id;
    plain.len = uint8_t(bytes.size());
    std::copy(bytes.begin(), bytes.end(), plain.data);
    return plain;
}

TessFrame real32Frame(uint32_t id, float value)
{
    TessFrame plain{};
    plain.id = id;
    plain.len = 4;
    std::memcpy(plain.data, &value, sizeof value);
    return plain;
}

} // namespace

Q_DECLARE_METATYPE(RowSetup)

class TestLive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void runFillsArraysAndCells();
    void softwareTimestamps();
    void startChecks_data();
    void startChecks();
    void failingCaptureThreadReportsAndOthersGoOn();
    void pause_data();
    void pause();
    void closingDuringRunAsks_data();
    void closingDuringRunAsks();
    void outOfRangeFlag_data();
    void outOfRangeFlag();
    void markersAfterRun_data();
    void markersAfterRun();

private:
    int addRow(const RowSetup& setup);
    void start();
    void stop();
    void runThreeSamples(uint64_t counterAtStart);
    int count(int row) { return window->tableDescription->text(row, TablePlotDescription::ColCount).toInt(); }

    std::unique_ptr<VistrelMainWindow> window;
};

void TestLive::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void TestLive::init()
{
    TestSupport::useDriverConfig(QString::fromLatin1(twoNets));
    window = std::make_unique<VistrelMainWindow>();
    window->refreshTime = 40;
}

void TestLive::cleanup()
{
    if (window && window->running)
        stop();
    window.reset();
}

int TestLive::addRow(const RowSetup& setup)
{
    TablePlotConfig* table = window->tableConfig;
    window->projectAddCurve();
    const int row = table->currentRow();
    table->setNetIndex(row, setup.netIndex);
    table->comboSave(row, TablePlotConfig::ColBaud)->comboBox->setCurrentIndex(setup.baudIndex);
    table->setIdText(row, setup.id);
    table->set29Bit(row, setup.is29Bit);
    // Through the combo boxes, as a user chooses: the scaling follows.
    table->comboSave(row, TablePlotConfig::ColAxis)->comboBox->setCurrentIndex(setup.axis);
    table->comboSave(row, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(setup.dataType);
    table->setByteOrder(row, setup.byteOrder);
    return row;
}

void TestLive::start()
{
    window->pushButtonStartStop->click();
}

void TestLive::stop()
{
    window->pushButtonStartStop->click();
}

// One Integer16 row on net 0 and a run that got the values 100, 200, -300 at
// 1 s, 2 s and 2.5 s of the interface's clock.
void TestLive::runThreeSamples(uint64_t counterAtStart)
{
    addRow({});
    QCOMPARE(tessTestSetTimestamp(0, counterAtStart), 0);
    start();
    QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
    const TessFrameT frames[] = {frameT(0x100, counterAtStart + 1000000, {100, 0}),
                                 frameT(0x100, counterAtStart + 2000000, {200, 0}),
                                 frameT(0x100, counterAtStart + 2500000, {0xD4, 0xFE})};
    QCOMPARE(tessTestInjectT(0, frames, 3), 0);
    QTRY_COMPARE(count(0), 3);
}

void TestLive::runFillsArraysAndCells()
{
    runThreeSamples(5000000);
    if (QTest::currentTestFailed())
        return;
    const int row = 0;
    const double scale = window->tableConfig->scaleText(row).toDouble();
    const double offset = window->tableConfig->offsetText(row).toDouble();
    QVERIFY(scale != 1.0);
    QVERIFY(window->running);
    QCOMPARE(window->pushButtonStartStop->text(), QStringLiteral("Stop"));
    QCOMPARE(window->currentOperatingMode(), int(ModeRun));
    QVERIFY(!window->scrollBarTime->isEnabled());
    QVERIFY(window->pushButtonPause->isEnabled());
    // Markers stand still during a run.
    QVERIFY(!window->pushButtonMarker1->isEnabled());

    const PlotCurve& curve = *window->curves.at(row);
    const double expectedTimes[] = {2.5, 2.0, 1.0};
    const double expectedRaw[] = {-300, 200, 100};
    for (int k = 0; k < 3; ++k) {
        QCOMPARE(curve.xValues[size_t(k + 1)], expectedTimes[k]);
        QCOMPARE(curve.yValues[size_t(k + 1)], expectedRaw[k] * scale + offset);
    }
    // The interface's clock is ahead of the computer's: no flat tail.
    QCOMPARE(curve.xValues[0], 2.5);
    QCOMPARE(curve.yValues[0], curve.yValues[1]);
    QCOMPARE(curve.plotItem->dataSize(), size_t(4));
    TablePlotDescription* description = window->tableDescription;
    QCOMPARE(description->text(row, TablePlotDescription::ColRawValue), QStringLiteral("-300.000"));
    QCOMPARE(description->text(row, TablePlotDescription::ColCurrentValue),
             QString::asprintf("%0.3f", -300 * scale + offset));
    QCOMPARE(description->text(row, TablePlotDescription::ColTime), QStringLiteral("2.500"));
    QVERIFY(window->runTime() > 0.0 && window->runTime() < 60.0);

    stop();
    QVERIFY(!window->running);
    QVERIFY(!window->refreshTimer->isActive());
    QCOMPARE(window->pushButtonStartStop->text(), QStringLiteral("Start"));
    QVERIFY(!window->pushButtonStartStop->isChecked());
    QCOMPARE(window->currentOperatingMode(), int(ModeStopped));
    QVERIFY(window->scrollBarTime->isEnabled());
    QVERIFY(!window->pushButtonPause->isEnabled());
    QCOMPARE(tessTestOpenHandles(0), 1); // only the info handle
    // The record stays after Stop.
    QCOMPARE(window->curves.at(row)->xValues[1], 2.5);
    QCOMPARE(count(row), 3);
    // Scale and Offset stay locked; the other columns are editable again.
    const auto editable = [this, row](int col) {
        return bool(window->tableConfig->item(row, col)->flags() & Qt::ItemIsEditable);
    };
    QVERIFY(!editable(TablePlotConfig::ColScale));
    QVERIFY(!editable(TablePlotConfig::Col29Bit));
    QVERIFY(editable(TablePlotConfig::ColId));
    QVERIFY(window->tableConfig->cellWidget(row, TablePlotConfig::ColCalc)->isEnabled());
    QVERIFY(window->pushButtonMarker1->isEnabled());

    // The next Start asks nothing and begins with a new, empty curve.
    const ModalAnswerer noQuestion(QMessageBox::No);
    start();
    QCOMPARE(noQuestion.answered(), 0);
    QCOMPARE(ringCount(*window->curves.at(row)), 0u);
    QCOMPARE(window->curves.at(row)->plotItem->dataSize(), size_t(1));
    QTRY_COMPARE(count(row), 0);
}

void TestLive::softwareTimestamps()
{
    const int row = addRow({1}); // net 1: no timestamp feature
    start();
    QCOMPARE(tessTestWaitForReaders(1, 1, 5000), 0);
    const TessFrame frames[] = {frame(0x100, {1, 0}), frame(0x100, {2, 0}), frame(0x100, {3, 0})};
    QCOMPARE(tessTestInject(1, frames, 3), 0);
    QTRY_COMPARE(count(row), 3);
    const PlotCurve& curve = *window->curves.at(row);
    QCOMPARE(curve.timestampFrequency, int64_t(100000));
    // One batch: 40 us apart, the newest first; all within the run so far.
    QCOMPARE(qRound((curve.xValues[1] - curve.xValues[2]) * 1e6), 40);
    QCOMPARE(qRound((curve.xValues[2] - curve.xValues[3]) * 1e6), 40);
    QVERIFY(curve.xValues[3] >= 0.0);
    QVERIFY(curve.xValues[1] <= window->elapsedSeconds());
    QVERIFY(curve.xValues[0] >= curve.xValues[1]);
}

void TestLive::startChecks_data()
{
    QTest::addColumn<QList<RowSetup>>("rows");
    QTest::addColumn<QString>("message");

    // Net, id, bit rate index, 29-bit.
    const RowSetup net0{0, "0x100"};
    QTest::newRow("different bit rates on one net")
        << QList<RowSetup>{net0, {0, "0x100", 2}} << "Interface of net 0 have different baudrates!";
    QTest::newRow("different nets may differ") << QList<RowSetup>{net0, {1, "0x100", 2}} << QString();
    QTest::newRow("id 2046 passes") << QList<RowSetup>{{0, "2046"}} << QString();
    QTest::newRow("id 2047 needs 29-bit")
        << QList<RowSetup>{net0, {0, "2047"}}
        << "Interface in row 2 has 29-bit identifier,but 29-bit is not enabled (Id: 2047)!";
    QTest::newRow("0x7FF with 29-bit") << QList<RowSetup>{{0, "0x7FF", 0, true}} << QString();
    QTest::newRow("29-bit on a plain interface")
        << QList<RowSetup>{{1, "0x18FEF100", 0, true}}
        << "Interface in row 1 does not support 29-bit identifier (Id: 419361024)!";
}

void TestLive::startChecks()
{
    QFETCH(QList<RowSetup>, rows);
    QFETCH(QString, message);

    for (const RowSetup& setup : rows)
        addRow(setup);
    // Curves and points of an earlier state must survive a refused Start.
    const QVector<QSharedPointer<PlotCurve>> before = window->curves;
    before.first()->xValues[1] = 42.0;
    const int modeBefore = window->currentOperatingMode();

    const ModalAnswerer answerer(QMessageBox::Ok);
    start();
    if (message.isEmpty()) {
        QCOMPARE(answerer.answered(), 0);
        QVERIFY(window->running);
        return;
    }
    QCOMPARE(answerer.answered(), 1);
    QCOMPARE(answerer.titles().value(0), QStringLiteral("Critical Error"));
    QCOMPARE(answerer.lastText(), message);
    QVERIFY(!window->running);
    QVERIFY(!window->refreshTimer->isActive());
    QVERIFY(!window->pushButtonStartStop->isChecked());
    QCOMPARE(window->pushButtonStartStop->text(), QStringLiteral("Start"));
    QCOMPARE(window->curves, before);
    QCOMPARE(window->curves.first()->xValues[1], 42.0);
    QCOMPARE(window->currentOperatingMode(), modeBefore);
    QVERIFY(bool(window->tableConfig->item(0, TablePlotConfig::ColId)->flags() & Qt::ItemIsEditable));
}

void TestLive::failingCaptureThreadReportsAndOthersGoOn()
{
    const int good = addRow({});
    addRow({1});
    QCOMPARE(tessTestSetFailure(1, TESS_TEST_FAIL_OPEN, -1), 0);

    const ModalAnswerer answerer(QMessageBox::Ok);
    start();
    QTRY_COMPARE(answerer.answered(), 1);
    QCOMPARE(answerer.titles().value(0), QStringLiteral("Plot Curve Error"));
    QCOMPARE(answerer.lastText(), QStringLiteral("Cannot open Net 1.\n\nCurve disabled!"));
    QVERIFY(window->running);

    QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
    const TessFrameT frames[] = {frameT(0x100, 1, {7, 0})};
    QCOMPARE(tessTestInjectT(0, frames, 1), 0);
    QTRY_COMPARE(count(good), 1);
    QCOMPARE(count(1), 0);
    stop();
    QVERIFY(!window->running);
}

void TestLive::pause_data()
{
    QTest::addColumn<bool>("stopWhilePaused");
    QTest::newRow("released") << false;
    QTest::newRow("stopped") << true;
}

void TestLive::pause()
{
    QFETCH(bool, stopWhilePaused);
    const int row = addRow({});
    start();
    QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
    const TessFrameT first[] = {frameT(0x100, 1, {1, 0})};
    tessTestInjectT(0, first, 1);
    QTRY_COMPARE(count(row), 1);

    window->pushButtonPause->click();
    QCOMPARE(window->currentOperatingMode(), int(ModePause));
    QVERIFY(window->scrollBarTime->isEnabled());
    QVERIFY(window->pushButtonMarker1->isEnabled());
    const double runTime = window->runTime();
    const QString runLabel = window->statusBarLabels()->textLabelRunTime->text();
    QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
    const TessFrameT more[] = {frameT(0x100, 2, {2, 0}), frameT(0x100, 3, {3, 0})};
    tessTestInjectT(0, more, 2);
    QTRY_COMPARE(ringCount(*window->curves.at(row)), 3u);
    // The run time goes on; plot, cells and runTime stand still.
    QTRY_VERIFY(window->statusBarLabels()->textLabelRunTime->text() != runLabel);
    QCOMPARE(count(row), 1);
    QCOMPARE(window->runTime(), runTime);
    QCOMPARE(window->curves.at(row)->plotItem->dataSize(), size_t(2));

    if (stopWhilePaused) {
        // Stop shows nothing of what came during the pause.
        stop();
        QCOMPARE(count(row), 1);
        QCOMPARE(window->curves.at(row)->plotItem->dataSize(), size_t(2));
        QCOMPARE(window->currentOperatingMode(), int(ModeStopped));
        QVERIFY(window->pushButtonMarker1->isEnabled());
        QVERIFY(!window->pushButtonPause->isChecked());
    } else {
        // The first tick after the release brings what the ring kept.
        window->pushButtonPause->click();
        QCOMPARE(window->currentOperatingMode(), int(ModeRun));
        QVERIFY(!window->scrollBarTime->isEnabled());
        QTRY_COMPARE(count(row), 3);
    }
}

void TestLive::closingDuringRunAsks_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closed");
    QTest::newRow("yes") << int(QMessageBox::Yes) << true;
    QTest::newRow("no") << int(QMessageBox::No) << false;
}

void TestLive::closingDuringRunAsks()
{
    QFETCH(int, answer);
    QFETCH(bool, closed);
    addRow({});
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    start();
    const ModalAnswerer answerer{QMessageBox::StandardButton(answer)};
    window->projectExitAction->trigger();
    QCOMPARE(answerer.answered(), 1);
    QCOMPARE(answerer.titles().value(0), QStringLiteral("Warning!"));
    QCOMPARE(answerer.lastText(),
             QStringLiteral("Vistrel is running!\nDo you really want to close the program?"));
    QCOMPARE(window->isVisible(), !closed);
    QCOMPARE(window->running, !closed);
    if (closed)
        QCOMPARE(tessTestOpenHandles(0), 1);
}

void TestLive::outOfRangeFlag_data()
{
    QTest::addColumn<int>("axis");
    QTest::addColumn<float>("value");
    QTest::addColumn<bool>("flagged");

    // Real32 rows scale 1:1; the left axis runs -100..100, the right 0..100.
    QTest::newRow("left inside") << 0 << 50.0f << false;
    QTest::newRow("left at max") << 0 << 100.0f << false;
    QTest::newRow("left at min") << 0 << -100.0f << false;
    QTest::newRow("left above") << 0 << 100.5f << true;
    QTest::newRow("left below") << 0 << -101.0f << true;
    QTest::newRow("right below its min") << 1 << -1.0f << true;
    QTest::newRow("right inside") << 1 << 60.0f << false;
    QTest::newRow("right above") << 1 << 150.0f << true;
}

void TestLive::outOfRangeFlag()
{
    QFETCH(int, axis);
    QFETCH(float, value);
    QFETCH(bool, flagged);

    RowSetup setup;
    setup.dataType = 6; // Real32
    setup.axis = axis;
    setup.netIndex = 1;
    const int row = addRow(setup);
    start();
    QCOMPARE(tessTestWaitForReaders(1, 1, 5000), 0);
    // An in-range value first, then the value under test: the flag looks at
    // every frame in the ring.
    const TessFrame frames[] = {real32Frame(0x100, 10.0f), real32Frame(0x100, value)};
    tessTestInject(1, frames, 2);
    QTRY_COMPARE(count(row), 2);
    QTableWidgetItem* cell = window->tableDescription->item(row, TablePlotDescription::ColCurrentValue);
    QTRY_COMPARE(cell->data(Qt::BackgroundRole).isValid(), flagged);
    if (flagged) {
        QCOMPARE(cell->data(Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::red));
        QCOMPARE(cell->toolTip(), QStringLiteral("curve has values out of viewport range"));
    } else {
        QCOMPARE(cell->toolTip(), QString());
    }
    // Widening the viewport clears the flag at the next tick.
    window->axisSettings[axis]->min = -1000;
    window->axisSettings[axis]->max = 1000;
    QTRY_VERIFY(!cell->data(Qt::BackgroundRole).isValid());
}

void TestLive::markersAfterRun_data()
{
    QTest::addColumn<double>("marker");
    QTest::addColumn<int>("raw");
    QTest::addColumn<double>("time");

    // Samples at 1.0, 2.0 and 2.5 s with the raw values 100, 200, -300.
    QTest::newRow("between samples") << 2.2 << 200 << 2.0;
    QTest::newRow("exactly on a sample shows the one before") << 2.0 << 100 << 1.0;
    QTest::newRow("later than all: the live point") << 9.0 << -300 << 2.5;
    // Before the oldest sample but after 0: an unfilled element of the live curve.
    QTest::newRow("before the first sample") << 0.5 << 0 << 0.0;
}

void TestLive::markersAfterRun()
{
    QFETCH(double, marker);
    QFETCH(int, raw);
    QFETCH(double, time);

    runThreeSamples(0);
    if (QTest::currentTestFailed())
        return;
    stop();
    const int row = 0;
    const double scale = window->tableConfig->scaleText(row).toDouble();
    const double offset = window->tableConfig->offsetText(row).toDouble();

    window->plot->setMarker1(marker);
    window->plot->setMarker2(marker + 1.0);
    const double value = raw == 0 ? 0.0 : raw * scale + offset;
    const QString expected =
        QString::asprintf("%0.3f/%0.3f   [%0.3f s]", value, (value - offset) / scale, time);
    QCOMPARE(window->tableDescription->text(row, TablePlotDescription::ColM1), expected);
    QCOMPARE(window->pushButtonMarker1->text(), QString::asprintf("M1: %0.3f s", marker));
    QCOMPARE(window->pushButtonDMarker->text(), QStringLiteral("dM: 1.000 s"));
}

QTEST_MAIN(TestLive)
#include "tst_live.moc"
