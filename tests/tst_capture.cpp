// Capture from the driver to the window: a curve's store of frames and its
// decoding, the capture thread's endings, and live runs from Start to Stop.
#include "dataplot.h"
#include "driver_support.h"
#include "gui_support.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <atomic>
#include <chrono>
#include <cmath>
#include <deque>
#include <thread>

using namespace TestSupport;
using Description = TablePlotDescription;

namespace {

constexpr int canId = 0x123;
// Net 0 has hardware timestamps at 1 MHz; net 1 neither them nor 29-bit ids.
const QString nets =
    "net 0 virtual features=Fc,2b,Ts tsfreq=1000000\nnet 1 virtual features=Fc\nnet 2 virtual\n";

// clang-format off
struct RowSetup { int net = 0; QString id = "0x100"; int baudIndex = 0; bool is29Bit = false; };

// batches: frames appended between two refreshes.
const struct { const char* name; unsigned capacity; QList<int> batches; bool withNaN; } storeRows[] = {
    {"wrapping",                      7,    {3, 3, 3, 1, 0, 6, 2},         false},
    {"more than the ring at once",    7,    {5, 20, 1, 8, 3},              false},
    {"extremes leave the ring, NaN",  10,   {4, 4, 4, 4, 4, 9, 4},         true},
    {"ring of one",                   1,    {1, 0, 2, 1, 5},               false},
    {"read batches of 2047",          5000, {2047, 2047, 2047, 2047, 11}, false}};

// wait: -1 never started; 1 for a blocked read; 2 for failing id adds.
const struct { const char* name; int net, baud, id, wait; QString message; } endingRows[] = {
    {"never started",            0, 2,  canId, -1, ""},
    {"stop as the thread starts", 0, 2, canId, 0,  ""},
    {"stop while a read waits",  0, 2,  canId, 1,  ""},
    {"stop while id adds fail",  0, 2,  canId, 2,  ""},
    {"net does not exist",       7, 2,  canId, 0,  "Cannot open Net 7."},
    {"baud fails",               0, 13, canId, 0,  "Cannot set Baudrate (Net 0 Baud 13)."},
    {"BTR baud fails, signed",   0, int(TESS_BAUD_BTR | 0x001C), canId, 0, "Cannot set Baudrate (Net 0 Baud -2147483620)."},
    {"29-bit id without 2b",     1, 2,  int(0x1ABCDE | TESS_ID_29BIT), 0,
     "Interface does not support 29-bit identifier (Net 1 Id: 1752286)."}};

// Scale 1, offset 0; values oldest first.
const struct { const char* name; int axis; QList<int> values; bool flagged; } viewportRows[] = {
    {"at both limits",                   0, {-100, 100}, false},
    {"above the maximum",                0, {101},       true},
    {"below the minimum, newest inside", 0, {-101, 0},   true},
    {"right axis, below 0",              1, {-1},        true}};
// clang-format on

std::vector<TessFrameT> ringFrames(PlotCurve& curve)
{
    const CurveLock lock(curve.mutex);
    std::vector<TessFrameT> out(curve.ring.count);
    curve.ring.snapshot(out.data(), curve.ring.count);
    return out;
}

} // namespace

Q_DECLARE_METATYPE(RowSetup)

class TestCapture : public QObject
{
    Q_OBJECT

    std::unique_ptr<VistrelMainWindow> window;
    QStringList messages; // of capture threads, carried over as to the main window

    void openWindow(const QString& config)
    {
        window = GuiSupport::windowWithCurves(config);
        ProgramOptions options = window->options();
        options.refreshTime = 40;
        window->setOptions(options);
        messages.clear();
    }

    // A curve of a Real32 at Pos 1, Intel, scaled by 0.5 with an offset of 1.
    QSharedPointer<PlotCurve> makeCurve(int net, int baud, int id, unsigned points = 1000)
    {
        const auto curve =
            QSharedPointer<PlotCurve>::create(window->plot(), 1, Qt::red, "c", net, baud, id, 1, 6, 0xFF, 0,
                                              0, 0.5, 1.0, "", 0, true, points, true);
        connect(
            curve.data(), &PlotCurve::signalThreadErrorMessage, this, [this](QString m) { messages << m; },
            Qt::QueuedConnection);
        return curve;
    }

    // An Integer16 row, Intel, on the left axis.
    void addRow(const RowSetup& setup)
    {
        TablePlotConfig* table = window->tableConfig();
        window->projectAddCurve();
        const int row = table->currentRow();
        table->setNetIndex(row, setup.net);
        table->comboSave(row, TablePlotConfig::ColBaud)->comboBox->setCurrentIndex(setup.baudIndex);
        table->setIdText(row, setup.id);
        table->set29Bit(row, setup.is29Bit);
        // Through the combo box, as a user chooses: the scaling follows.
        table->comboSave(row, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(2);
    }

    void startStop() { GuiSupport::child<QPushButton>(&*window, "pushButtonStartStop")->click(); }
    QString cell(int column) const { return window->tableDescription()->text(0, column); }
    double scaled(double raw) const
    {
        return raw * window->tableConfig()->scaleText(0).toDouble() +
               window->tableConfig()->offsetText(0).toDouble();
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup()
    {
        if (window && window->isRunning())
            startStop();
        window.reset();
    }

    // Through appendFrames the ring holds the newest frames that decode, as a
    // model does, and each refresh gives the arrays and bounds of a decode of
    // the model. Of eight frames one is remote, one too short; every seventh
    // has a lost count; values jump far out and back.
    void storeAndRefresh_data() { addRows(storeRows); }
    void storeAndRefresh()
    {
        const auto& [name, capacity, batches, withNaN] = tableRow(storeRows);
        openWindow(QString());
        const auto curve = makeCurve(0, 2, canId, capacity);
        curve->timestampFrequency = 1000;
        curve->timestampStart = 500;
        std::deque<TessFrameT> model;
        int serial = 0;
        for (const int n : batches) {
            std::vector<TessFrameT> batch;
            for (int i = 0; i < n; ++i, ++serial) {
                float value =
                    serial % 9 == 4 ? (serial % 2 ? -1e6f : 1e6f) : float(std::sin(serial * 0.7) * 10);
                value = withNaN && serial % 3 == 1 ? std::nanf("") : value;
                const uint8_t len = serial % 8 == 2 ? 3 : serial % 8 == 6 ? TESS_FRAME_RTR | 4 : 4;
                batch.push_back(
                    frameT(canId, {}, 1000 + uint64_t(serial) * 7 - (serial % 5 == 3 ? 20 : 0), len));
                std::memcpy(batch.back().data, &value, 4);
                batch.back().lost = serial % 7 == 0 ? uint8_t(serial) : 0;
                if (batch.back().lost)
                    QTest::ignoreMessage(QtDebugMsg,
                                         qPrintable(QStringLiteral("LOST: %1\n").arg(uint8_t(serial))));
                if (len == 4)
                    model.push_back(batch.back());
                if (model.size() > capacity)
                    model.pop_front();
            }
            {
                const CurveLock lock(curve->mutex);
                curve->appendFrames(batch.data(), n);
            }
            const std::vector<TessFrameT> expected(model.begin(), model.end()), ring = ringFrames(*curve);
            QCOMPARE(bytes(ring.data(), ring.size()), bytes(expected.data(), expected.size()));
            const PlotCurve::Points points = curve->updatePoints();
            std::vector<double> x(ring.size()), y(ring.size());
            const DecodeSummary full = decodeFramesNewestFirst(
                curve->valueLayout(), ring.data(), unsigned(ring.size()), 500, 1000, x.data(), y.data());
            QCOMPARE(points.count, unsigned(ring.size()));
            QVERIFY(bytes(curve->xValues.get() + 1, x.size()) == bytes(x.data(), x.size()));
            QVERIFY(bytes(curve->yValues.get() + 1, y.size()) == bytes(y.data(), y.size()));
            const double summary[] = {points.lowest, points.highest, points.rawNewest};
            QCOMPARE(bytes(summary, 3).toHex(), bytes(&full.lowest, 3).toHex());
        }
    }

    // A thread that gives up says why once, leaves an empty ring and, if it
    // got a handle, leaves it to Stop. Stop ends the thread in every state,
    // by flag and close, and leaves no handle; a second Stop does nothing.
    void endings_data() { addRows(endingRows); }
    void endings()
    {
        const auto& [name, net, baud, id, wait, message] = tableRow(endingRows);
        openWindow(nets);
        QCOMPARE(tessTestSetFailure(0, TESS_TEST_FAIL_SET_BAUDRATE, message.contains("Baud") ? -1 : 0), 0);
        QCOMPARE(tessTestSetFailure(0, TESS_TEST_FAIL_ID_ADD, wait == 2 ? -1 : 0), 0);
        const auto curve = makeCurve(net, baud, id);
        if (wait >= 0)
            curve->startCapture(window->nets()[size_t(net)], window->timeOrigin());
        if (wait == 1)
            QCOMPARE(tessTestWaitForReaders(0, 1, 10000), 0);
        uint32_t setBaud = 0; // just before the id is added
        if (wait == 2)
            QTRY_VERIFY(tessTestHandleBaud(curve->driverHandle(), &setBaud) == 0 && setBaud == 2);
        if (!message.isEmpty()) {
            QTRY_COMPARE(messages, QStringList{message});
            QVERIFY(curve->wait(10000));
            QCOMPARE(curve->driverHandle() != -1, net != 7);
        }
        curve->stopCapture();
        curve->stopCapture();
        QCOMPARE(curve->isFinished(), wait >= 0);
        QCOMPARE(curve->driverHandle(), -1);
        QCOMPARE(tessTestOpenHandles(0) + tessTestOpenHandles(1), 2); // the info handles
        QCoreApplication::processEvents();
        QCOMPARE(messages, message.isEmpty() ? QStringList() : QStringList{message});
        QCOMPARE(ringFrames(*curve).size(), size_t(0));
    }

    // One run end to end: a row gets 100, 200 and -300 at 1, 2 and 2.5 s of
    // the interface's clock, whose counter at Start is run time 0. A second
    // row, on a net without timestamps, gets a batch in software time. A row
    // described bit by bit reads the same frames: a signal only of frames
    // whose byte 5 holds 3, with the names of its raw values in the cells.
    void liveRun()
    {
        openWindow(nets);
        for (const int net : {0, 1, 0})
            addRow({net});
        TablePlotConfig* table = window->tableConfig();
        table->setSignalText(2, "48|8@1+ m3 40|8@1");
        table->setScaleText(2, "0.5");
        table->setOffsetText(2, "1");
        table->setValueTableCell(2, "4:Drive;6:Park");
        QCOMPARE(tessTestSetTimestamp(0, 5000000), 0);
        startStop();
        QVERIFY(tessTestWaitForReaders(0, 2, 5000) == 0 && tessTestWaitForReaders(1, 1, 5000) == 0);
        const TessFrameT frames[] = {frameT(0x100, {100, 0, 0, 0, 0, 3, 6, 0}, 6000000),
                                     frameT(0x100, {200, 0, 0, 0, 0, 2, 9, 0}, 7000000),
                                     frameT(0x100, {0xD4, 0xFE, 0, 0, 0, 3, 4, 0}, 7500000)};
        QCOMPARE(tessTestInjectT(0, frames, 3), 0);
        QCOMPARE(tessTestInject(1, std::vector<TessFrame>(3, frame(0x100, {1, 0})).data(), 3), 0);
        const auto column = [this](int col) {
            QStringList texts;
            for (int row = 0; row < window->tableDescription()->rowCount(); ++row)
                texts << window->tableDescription()->text(row, col);
            return texts;
        };
        QTRY_COMPARE(column(Description::ColCount), (QStringList{"3", "3", "2"}));
        // Stamped 40 us apart from the read's moment on, newest first.
        const PlotCurve& soft = *window->curves().at(1);
        QCOMPARE(qRound((soft.xValues[1] - soft.xValues[2]) * 1e6), 40);
        QCOMPARE(qRound((soft.xValues[2] - soft.xValues[3]) * 1e6), 40);
        QVERIFY(soft.xValues[3] >= 0 && soft.xValues[1] <= window->elapsedSeconds());
        // Newest first behind the live point; the interface's clock is ahead
        // of the computer's, so the live point adds no flat tail.
        const auto points = [this](int row) {
            const PlotCurve& c = *window->curves().at(row);
            return QVector<double>(c.xValues.get(), c.xValues.get() + c.plotItem->dataSize()) +
                   QVector<double>(c.yValues.get(), c.yValues.get() + c.plotItem->dataSize());
        };
        QVERIFY(window->tableConfig()->scaleText(0).toDouble() != 1.0);
        QCOMPARE(points(0),
                 (QVector<double>{2.5, 2.5, 2, 1, scaled(-300), scaled(-300), scaled(200), scaled(100)}));
        QCOMPARE(points(2), (QVector<double>{2.5, 2.5, 1, 4 * 0.5 + 1, 4 * 0.5 + 1, 6 * 0.5 + 1}));
        QCOMPARE(QStringList({cell(Description::ColRawValue), cell(Description::ColCurrentValue),
                              cell(Description::ColTime)}),
                 QStringList({"-300.000", QString::asprintf("%0.3f", scaled(-300)), "2.500"}));

        // The record stays after Stop; Scale stays locked, Id is editable again.
        startStop();
        QCOMPARE(window->currentOperatingMode(), int(ModeStopped));
        QCOMPARE(tessTestOpenHandles(0) + tessTestOpenHandles(1), 2); // the info handles
        QCOMPARE(cell(Description::ColCount), QStringLiteral("3"));
        QVERIFY(!(window->tableConfig()->item(0, TablePlotConfig::ColScale)->flags() & Qt::ItemIsEditable));
        QVERIFY(window->tableConfig()->item(0, TablePlotConfig::ColId)->flags() & Qt::ItemIsEditable);

        // A marker after all samples shows the live point; the mux row's frame at 2 s is no sample.
        window->plot()->setMarker1(2.2);
        window->plot()->setMarker2(9.0);
        QCOMPARE(cell(Description::ColM2), QString::asprintf("%0.3f/-300.000   [2.500 s]", scaled(-300)));
        QCOMPARE(column(Description::ColRawValue).value(2) + column(Description::ColCurrentValue).value(2),
                 QStringLiteral("4.0003.000 (Drive)"));
        QCOMPARE(column(Description::ColM1).value(2) + '|' + column(Description::ColM2).value(2),
                 QStringLiteral("4.000 (Park)/6.000   [1.000 s]|3.000 (Drive)/4.000   [2.500 s]"));

        // The next Start asks nothing and begins with a new, empty curve.
        const ModalAnswerer noQuestion(QMessageBox::No);
        startStop();
        QCOMPARE(noQuestion.answered(), 0);
        QCOMPARE(window->curves().at(0)->plotItem->dataSize(), size_t(1));
        QTRY_COMPARE(cell(Description::ColCount), QStringLiteral("0"));
    }

    void startChecks_data()
    {
        QTest::addColumn<QList<RowSetup>>("rows");
        QTest::addColumn<QString>("message"); // empty: the run starts without a box
        const RowSetup plain;
        QTest::newRow("different bit rates on one net")
            << QList<RowSetup>{plain, {0, "0x100", 2}} << "Interface of net 0 have different baudrates!";
        QTest::newRow("different nets may differ") << QList<RowSetup>{plain, {1, "0x100", 2}} << QString();
        QTest::newRow("id 2046 passes") << QList<RowSetup>{{0, "2046"}} << QString();
        QTest::newRow("id 2047 needs 29-bit")
            << QList<RowSetup>{plain, {0, "2047"}}
            << "Interface in row 2 has 29-bit identifier,but 29-bit is not enabled (Id: 2047)!";
        QTest::newRow("0x7FF with 29-bit") << QList<RowSetup>{{0, "0x7FF", 0, true}} << QString();
        QTest::newRow("29-bit on a plain interface")
            << QList<RowSetup>{{1, "0x18FEF100", 0, true}}
            << "Interface in row 1 does not support 29-bit identifier (Id: 419361024)!";
        // Net 2 can't be opened: its curve's thread gives up, the run goes on.
        QTest::newRow("a capture thread gives up")
            << QList<RowSetup>{plain, {2}} << "Cannot open Net 2.\n\nCurve disabled!";
    }

    // A refused Start leaves curves, points, mode and table as they were.
    void startChecks()
    {
        QFETCH(QList<RowSetup>, rows);
        QFETCH(QString, message);
        openWindow(nets);
        QCOMPARE(tessTestSetFailure(2, TESS_TEST_FAIL_OPEN, -1), 0);
        for (const RowSetup& setup : rows)
            addRow(setup);
        const QVector<QSharedPointer<PlotCurve>> before = window->curves();
        const ModalAnswerer answerer(QMessageBox::Ok);
        startStop();
        const bool refused = message.startsWith("Interface");
        QTRY_COMPARE(answerer.texts(), message.isEmpty() ? QStringList() : QStringList{message});
        QCOMPARE(answerer.titles(), message.isEmpty()
                                        ? QStringList()
                                        : QStringList{refused ? "Critical Error" : "Plot Curve Error"});
        QCOMPARE(window->isRunning(), !refused);
        if (!refused)
            return;
        QCOMPARE(GuiSupport::child<QPushButton>(&*window, "pushButtonStartStop")->text(),
                 QStringLiteral("Start"));
        QCOMPARE(window->curves(), before);
        QCOMPARE(window->currentOperatingMode(), int(ModeNone));
    }

    // Pause holds plot and cells while capture goes on; the tick after it brings everything.
    // Closing the window during the run asks; No goes on running, Yes stops and closes.
    void pauseAndClose()
    {
        openWindow(nets);
        addRow({});
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        startStop();
        QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
        const TessFrameT frames[] = {frameT(0x100, {1, 0}), frameT(0x100, {2, 0}), frameT(0x100, {3, 0})};
        QCOMPARE(tessTestInjectT(0, frames, 1), 0);
        QTRY_COMPARE(cell(Description::ColCount), QStringLiteral("1"));
        GuiSupport::child<QPushButton>(&*window, "pushButtonPause")->click();
        QCOMPARE(window->currentOperatingMode(), int(ModePause));
        QCOMPARE(tessTestInjectT(0, frames + 1, 2), 0);
        PlotCurve& curve = *window->curves().at(0);
        QTRY_COMPARE(ringFrames(curve).size(), size_t(3));
        QTest::qWait(150); // several ticks
        QCOMPARE(cell(Description::ColCount) + cell(Description::ColRawValue), QStringLiteral("11.000"));
        QCOMPARE(curve.plotItem->dataSize(), size_t(2));
        GuiSupport::child<QPushButton>(&*window, "pushButtonPause")->click();
        QTRY_COMPARE(cell(Description::ColCount) + cell(Description::ColRawValue), QStringLiteral("33.000"));
        for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
            const ModalAnswerer answerer(answer);
            GuiSupport::child<QAction>(&*window, "projectExitAction")->trigger();
            QCOMPARE(answerer.titles(), QStringList{"Warning!"});
            QCOMPARE(answerer.lastText(), "Vistrel is running!\nDo you really want to close the program?");
            QCOMPARE(window->isVisible(), answer == QMessageBox::No);
            QCOMPARE(window->isRunning(), answer == QMessageBox::No);
            QCOMPARE(tessTestOpenHandles(0), answer == QMessageBox::No ? 2 : 1);
        }
    }

    // Scale 1, offset 0: a value at an axis limit is inside; one beyond flags the "Current Value" cell
    // for as long as the ring holds it. The right axis counts, shown or not.
    void outOfViewportFlag_data() { addRows(viewportRows); }
    void outOfViewportFlag()
    {
        const auto& [name, axis, values, flagged] = tableRow(viewportRows);
        openWindow(nets);
        addRow({});
        window->tableConfig()->setValueAxis(0, axis);
        window->tableConfig()->setScaleText(0, "1");
        window->tableConfig()->setOffsetText(0, "0");
        startStop();
        QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
        std::vector<TessFrameT> frames;
        for (const int v : values)
            frames.push_back(frameT(0x100, {uint8_t(v & 0xFF), uint8_t((v >> 8) & 0xFF)}));
        QCOMPARE(tessTestInjectT(0, frames.data(), int(frames.size())), 0);
        QTRY_COMPARE(cell(Description::ColCount), QString::number(values.size()));
        startStop();
        QTableWidgetItem* item = window->tableDescription()->item(0, Description::ColCurrentValue);
        QCOMPARE(item->background().color() == Qt::red, flagged);
        QCOMPARE(item->toolTip(), flagged ? "curve has values out of viewport range" : "");
    }

    // 500 frames a second at an even pace give the net's frame rate and bus load over the last
    // second, within 2 %, in the status bar and the Net cell's tooltip, and the curve's samples
    // per second in its "Cnt" tooltip; after Stop the figures stay, greyed. The bits of other
    // kinds of frame are counted in the driver's tests.
    void trafficRates()
    {
        const double load = 13.5; // frames of 8 bytes at 500 kbit/s: 135 bits on the wire
        openWindow(nets);
        addRow({0, "0x100", 2});
        startStop();
        QCOMPARE(tessTestWaitForReaders(0, 1, 5000), 0);
        std::atomic<bool> injecting{true};
        std::thread injector([&] {
            const std::vector<TessFrame> five(5, frame(0x100, {1, 2, 3, 4, 5, 6, 7, 8}));
            auto next = std::chrono::steady_clock::now();
            while (injecting) {
                next += std::chrono::milliseconds(10);
                std::this_thread::sleep_until(next);
                tessTestInject(0, five.data(), 5);
            }
        });
        const QLabel* label = GuiSupport::child<QLabel>(&*window, "textLabelTraffic");
        const QRegularExpression figures("^Net 0: (\\d+) fr/s (\\d+\\.\\d) %$");
        const auto near = [](const QString& text, double expected) {
            return std::fabs(text.toDouble() - expected) <= 0.02 * expected;
        };
        const auto measured = [&] {
            const QRegularExpressionMatch match = figures.match(label->text());
            const QString netTip = window->tableConfig()->tooltipText(0, TablePlotConfig::ColNet);
            const QString countTip = window->tableDescription()->item(0, Description::ColCount)->toolTip();
            return match.hasMatch() && near(match.captured(1), 500) && near(match.captured(2), load) &&
                   netTip.endsWith("MHz\nTraffic: " + label->text().mid(7)) &&
                   countTip.endsWith(" samples/s") && near(countTip.section(' ', 0, 0), 500);
        };
        QTRY_VERIFY_WITH_TIMEOUT(measured(), 15000);
        injecting = false;
        injector.join();
        startStop();
        QVERIFY(!label->isEnabled() && label->text().startsWith("Net 0: "));
    }
};

QTEST_MAIN(TestCapture)
#include "tst_capture.moc"
