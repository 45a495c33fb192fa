#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "netlist.h"
#include "operatingmode.h"
#include "qlabelcompat.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "timestampedread.h"
#include "vistrelmainwindow.h"

#include <qwt_scale_div.h>

#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void netScan_data();
    void netScan();
    void netScanWithoutTimestampedRead();
    void libraryWithoutTimestampedRead();
    void netListShortensBoardNames();
    void startState();
    void updateActions_data();
    void updateActions();
    void modes_data();
    void modes();
    void pauseKeepsTheRunColour();
    void resetProject_data();
    void resetProject();
    void startTimeText_data();
    void startTimeText();
    void exitClosesTheWindow();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(const QString& driverConfig = QString());
};

void TestMainWindow::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

std::unique_ptr<VistrelMainWindow> TestMainWindow::makeWindow(const QString& driverConfig)
{
    TestSupport::useDriverConfig(driverConfig);
    return std::make_unique<VistrelMainWindow>();
}

void TestMainWindow::netScan_data()
{
    QTest::addColumn<QString>("config");
    QTest::addColumn<int>("net");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<quint64>("frequency");
    QTest::addColumn<QString>("boardName");
    QTest::addColumn<int>("configured");

    QTest::newRow("no nets") << QString() << 0 << false << quint64(0) << QString() << 0;
    QTest::newRow("timestamps") << "net 0 virtual name=VT_CAN features=Fc,2b,Ts tsfreq=1000000\n" << 0 << true
                                << quint64(1000000) << "VT_CAN" << 1;
    QTest::newRow("8 MHz counter") << "net 7 virtual features=Ts tsfreq=8000000\n" << 7 << true
                                   << quint64(8000000) << "VIRTUAL_CAN" << 1;
    QTest::newRow("no timestamp feature") << "net 3 virtual features=Fc,2b tsfreq=1000000\n" << 3 << true
                                          << quint64(0) << "VIRTUAL_CAN" << 1;
    QTest::newRow("last net") << "net 255 virtual\n" << 255 << true << quint64(1000000) << "VIRTUAL_CAN" << 1;
    QTest::newRow("gap before") << "net 5 virtual\n" << 4 << false << quint64(0) << QString() << 1;
}

void TestMainWindow::netScan()
{
    QFETCH(QString, config);
    QFETCH(int, net);
    QFETCH(bool, exists);
    QFETCH(quint64, frequency);
    QFETCH(QString, boardName);
    QFETCH(int, configured);

    const auto window = makeWindow(config);
    const NetInfo& info = window->nets[size_t(net)];
    QCOMPARE(info.infoHandle != -1, exists);
    QCOMPARE(info.timestampFrequency, frequency);
    if (exists)
        QCOMPARE(QString::fromLatin1(info.status.boardName), boardName);
    else
        QCOMPARE(info.timestampAtStart, quint64(0));

    int existing = 0;
    for (const NetInfo& other : window->nets)
        existing += other.infoHandle != -1;
    QCOMPARE(existing, configured);
}

void TestMainWindow::netScanWithoutTimestampedRead()
{
    // An interface with timestamps, but a library that can't read them:
    // no timestamp calls, frequency 0.
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual features=Fc,2b,Ts tsfreq=1000000\n"));
    NetInfo info;
    scanNet(info, 0, -1);
    QVERIFY(info.infoHandle != -1);
    QVERIFY(hasFeature(info.status, TESS_FEATURE_TIMESTAMP));
    QCOMPARE(info.timestampFrequency, quint64(0));
    QCOMPARE(info.timestampAtStart, quint64(0));

    NetInfo withRead;
    scanNet(withRead, 0, 0);
    QCOMPARE(withRead.timestampFrequency, quint64(1000000));
}

void TestMainWindow::libraryWithoutTimestampedRead()
{
    QCOMPARE(lookUpTimestampedRead(STUB_DRIVER_WITHOUT_READT), -1);
    QVERIFY(timestampedRead == nullptr);
    QCOMPARE(lookUpTimestampedRead("libno-such-driver.so"), -1);
    QVERIFY(timestampedRead == nullptr);
    QCOMPARE(lookUpTimestampedRead(), 0);
    QVERIFY(timestampedRead == &tessReadT);
}

void TestMainWindow::netListShortensBoardNames()
{
    const auto window = makeWindow(QStringLiteral("net 0 virtual demo\n"
                                                  "net 2 virtual name=MY_CAN_BOX\n"
                                                  "net 4 virtual name=can_lower\n"));
    QCOMPARE(netListEntries(window->nets), (QStringList{"0: DEMO", "2: MYBOX", "4: canlower"}));
    QCOMPARE(netNumberFromEntry(QStringLiteral("12: X")), 12);
    QCOMPARE(netNumberFromEntry(QString()), 0);
}

void TestMainWindow::startState()
{
    const auto window = makeWindow();
    const FormStatusBar_ResourcesReparent* labels = window->statusBarLabels();
    QCOMPARE(window->windowTitle(), QStringLiteral("Vistrel"));
    QCOMPARE(window->currentOperatingMode(), int(ModeNone));
    QCOMPARE(labels->textLabelMode->text(), QString());
    QCOMPARE(labels->textLabelProjectFile->text(), QStringLiteral("Prj: "));
    QCOMPARE(labels->textLabelDataFile->toolTip(), QStringLiteral("Data: "));
    QCOMPARE(labels->textLabelRunTime->text(), QStringLiteral("Run: 0.000 s"));
    QVERIFY(labels->textLabelStartTime->text().startsWith(QStringLiteral("Start: ")));
    QVERIFY(!window->pushButtonStartStop->isEnabled());
    QVERIFY(!window->pushButtonPause->isEnabled());
    QVERIFY(window->pushButtonStartStop->isCheckable());
    QCOMPARE(window->pushButtonStartStop->text(), QStringLiteral("Start"));
    QCOMPARE(window->sliderTimeBase->value(), 9);
    QCOMPARE(window->textLabelTimeBase->text(), QStringLiteral("10 s"));
    QCOMPARE(window->scrollBarTime->maximum(), 0);
    QVERIFY(window->scrollBarTime->isEnabled());
    // The labels live in the status bar, not in the hidden form.
    QVERIFY(window->statusBar()->isAncestorOf(labels->textLabelMode));
    QVERIFY(window->statusBar()->isAncestorOf(labels->textLabelModePicture));
    QVERIFY(!labels->isVisible());
    const QwtScaleDiv& time = window->plot->axisScaleDiv(QwtPlot::xBottom);
    QCOMPARE(time.lowerBound(), -10.0);
    QCOMPARE(time.upperBound(), 0.0);
    QCOMPARE(window->axisSettings[0]->min, -100.0);
    QVERIFY(!window->axisSettings[1]->visible);
}

void TestMainWindow::updateActions_data()
{
    QTest::addColumn<bool>("timerActive");
    QTest::addColumn<bool>("hasRows");
    QTest::addColumn<bool>("startChecked");
    QTest::addColumn<bool>("projectName");
    QTest::addColumn<bool>("dataName");
    for (int bits = 0; bits < 32; ++bits) {
        const bool r = bits & 1, n = bits & 2, c = bits & 4, p = bits & 8, d = bits & 16;
        QTest::addRow("R%d N%d C%d P%d D%d", r, n, c, p, d) << r << n << c << p << d;
    }
}

void TestMainWindow::updateActions()
{
    QFETCH(bool, timerActive);
    QFETCH(bool, hasRows);
    QFETCH(bool, startChecked);
    QFETCH(bool, projectName);
    QFETCH(bool, dataName);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    if (hasRows)
        w.tableConfig->setRowCount(1);
    w.pushButtonStartStop->setChecked(startChecked);
    w.setProjectFileName(projectName ? QStringLiteral("p.vtlprj") : QString());
    w.setDataFileName(dataName ? QStringLiteral("d.vtldat") : QString());
    if (timerActive)
        w.refreshTimer->start(1000000);
    w.updateActions();
    w.refreshTimer->stop();

    const bool r = timerActive;
    QCOMPARE(w.projectNewAction->isEnabled(), !r);
    QCOMPARE(w.projectOpenAction->isEnabled(), !r);
    QCOMPARE(w.projectOptionsAction->isEnabled(), !r);
    QCOMPARE(w.projectAdd_CurveAction->isEnabled(), !r);
    QCOMPARE(w.projectSaveAction->isEnabled(), !r && projectName);
    QCOMPARE(w.projectSaveAsAction->isEnabled(), !r && hasRows);
    QCOMPARE(w.projectDelete_CurveAction->isEnabled(), hasRows && !startChecked);
    QCOMPARE(w.projectCalculateAction->isEnabled(), hasRows && !startChecked);
    QCOMPARE(w.dataSave_AsAction->isEnabled(), !r && hasRows);
    QCOMPARE(w.dataSaveAction->isEnabled(), !r && dataName);
    QCOMPARE(w.dataLoadAction->isEnabled(), !r);
    QCOMPARE(w.dataImportAction->isEnabled(), !r && hasRows);
    // Printing, the viewport and help stay available in every state.
    QVERIFY(w.projectPrintAction->isEnabled());
    QVERIFY(w.projectCustom_AxisAction->isEnabled());
    QVERIFY(w.helpContentsAction->isEnabled());
    QVERIFY(w.helpAboutAction->isEnabled());
    QVERIFY(w.projectExitAction->isEnabled());
}

// -1 in a button column: the mode leaves the button as it was.
void TestMainWindow::modes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("pause");
    QTest::addColumn<int>("markers");

    QTest::newRow("run") << int(ModeRun) << "ONLINE - RUN" << QColor(Qt::green) << 1 << 1 << 0;
    QTest::newRow("stopped") << int(ModeStopped) << "ONLINE - STOPPED" << QColor(Qt::blue) << 1 << 0 << 1;
    QTest::newRow("pause") << int(ModePause) << "ONLINE - PAUSE" << QColor() << -1 << -1 << 1;
    QTest::newRow("import") << int(ModeImport) << "OFFLINE - IMPORT" << QColor(Qt::yellow) << -1 << -1 << -1;
    QTest::newRow("data") << int(ModeData) << "OFFLINE - DATA" << QColor(QStringLiteral("orange")) << -1 << -1
                          << -1;
    QTest::newRow("none") << int(ModeNone) << "" << QColor() << 0 << 0 << -1;
}

void TestMainWindow::modes()
{
    QFETCH(int, mode);
    QFETCH(QString, text);
    QFETCH(QColor, color);
    QFETCH(int, start);
    QFETCH(int, pause);
    QFETCH(int, markers);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    const FormStatusBar_ResourcesReparent* labels = w.statusBarLabels();
    for (const bool before : {false, true}) {
        for (QWidget* button : {static_cast<QWidget*>(w.pushButtonStartStop),
                                static_cast<QWidget*>(w.pushButtonPause), static_cast<QWidget*>(w.pushButtonMarker1),
                                static_cast<QWidget*>(w.pushButtonMarker2),
                                static_cast<QWidget*>(w.pushButtonDMarker)})
            button->setEnabled(before);
        w.setOperatingMode(mode);
        const auto expected = [before](int state) { return state == -1 ? before : state == 1; };
        QCOMPARE(w.pushButtonStartStop->isEnabled(), expected(start));
        QCOMPARE(w.pushButtonPause->isEnabled(), expected(pause));
        QCOMPARE(w.pushButtonMarker1->isEnabled(), expected(markers));
        QCOMPARE(w.pushButtonMarker2->isEnabled(), expected(markers));
        QCOMPARE(w.pushButtonDMarker->isEnabled(), expected(markers));
    }
    QCOMPARE(w.currentOperatingMode(), mode);
    QCOMPARE(labels->textLabelMode->text(), text);
    QCOMPARE(labels->textLabelMode->toolTip(), text);
    QCOMPARE(labels->textLabelModePicture->toolTip(), text);
    const QPalette& palette = labels->textLabelModePicture->palette();
    const QPalette::ColorRole role = labels->textLabelModePicture->backgroundRole();
    QVERIFY(labels->textLabelModePicture->autoFillBackground());
    if (color.isValid()) {
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            QCOMPARE(palette.color(group, role), color);
    } else if (mode == ModeNone) {
        // The field looks like the status bar again.
        const QPalette& labelPalette = labels->textLabelMode->palette();
        QCOMPARE(palette.color(role), labelPalette.color(labelPalette.currentColorGroup(), w.backgroundRole()));
    }
}

void TestMainWindow::pauseKeepsTheRunColour()
{
    const auto window = makeWindow();
    window->setOperatingMode(ModeRun);
    window->setOperatingMode(ModePause);
    const QLabelCompat* picture = window->statusBarLabels()->textLabelModePicture;
    QCOMPARE(picture->palette().color(picture->backgroundRole()), QColor(Qt::green));
    window->setOperatingMode(ModeStopped);
    QCOMPARE(picture->palette().color(picture->backgroundRole()), QColor(Qt::blue));
}

void TestMainWindow::resetProject_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("result");
    QTest::addColumn<int>("questions");

    QTest::newRow("empty table asks nothing") << 0 << int(QMessageBox::No) << true << 0;
    QTest::newRow("rows, answer yes") << 2 << int(QMessageBox::Yes) << true << 1;
    QTest::newRow("rows, answer no") << 2 << int(QMessageBox::No) << false << 1;
    QTest::newRow("rows, escape") << 2 << int(QMessageBox::Escape) << false << 1;
}

void TestMainWindow::resetProject()
{
    QFETCH(int, rows);
    QFETCH(int, answer);
    QFETCH(bool, result);
    QFETCH(int, questions);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    w.tableConfig->setRowCount(rows);
    w.tableDescription->setRowCount(rows);
    w.setProjectFileName(QStringLiteral("old.vtlprj"));
    w.setDataFileName(QStringLiteral("old.vtldat"));
    w.setOperatingMode(ModeStopped);
    w.axisSettings[0]->min = -5;
    w.axisSettings[1]->visible = true;
    w.sliderTimeBase->setValue(3);

    if (answer == QMessageBox::Escape) {
        // The escape key presses the box's escape button, which must be No.
        TestSupport::ModalAnswerer escape([](QWidget* box) { QTest::keyClick(box, Qt::Key_Escape); });
        QCOMPARE(w.resetProject(), result);
        QCOMPARE(escape.answered(), questions);
    } else {
        const ModalAnswerer answerer{QMessageBox::StandardButton(answer)};
        QCOMPARE(w.resetProject(), result);
        QCOMPARE(answerer.answered(), questions);
        if (questions) {
            QCOMPARE(answerer.titles().value(0), QStringLiteral("Warning!"));
            QCOMPARE(answerer.texts().value(0),
                     QStringLiteral("Do you really want to delete the actual configuration and data?\nContinue?"));
        }
    }

    if (result) {
        QCOMPARE(w.tableConfig->rowCount(), 0);
        QCOMPARE(w.tableDescription->rowCount(), 0);
        QCOMPARE(w.currentProjectFileName(), QString());
        QCOMPARE(w.statusBarLabels()->textLabelDataFile->text(), QStringLiteral("Data: "));
        QCOMPARE(w.currentOperatingMode(), int(ModeNone));
        QCOMPARE(w.axisSettings[0]->min, -100.0);
        QVERIFY(!w.axisSettings[1]->visible);
        QCOMPARE(w.sliderTimeBase->value(), 9);
        QCOMPARE(w.runTime(), 0.0);
        QVERIFY(qAbs(w.elapsedSeconds()) < 5.0);
    } else {
        QCOMPARE(w.tableConfig->rowCount(), rows);
        QCOMPARE(w.tableDescription->rowCount(), rows);
        QCOMPARE(w.currentProjectFileName(), QStringLiteral("old.vtlprj"));
        QCOMPARE(w.currentDataFileName(), QStringLiteral("old.vtldat"));
        QCOMPARE(w.currentOperatingMode(), int(ModeStopped));
        QCOMPARE(w.axisSettings[0]->min, -5.0);
        QCOMPARE(w.sliderTimeBase->value(), 3);
    }
}

void TestMainWindow::startTimeText_data()
{
    QTest::addColumn<double>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("afternoon") << 47109.25 << "Start: 13:05:09.250";
    QTest::newRow("whatever the day") << 200 * 86400.0 + 47109.25 << "Start: 13:05:09.250";
    QTest::newRow("midnight") << 86400.0 << "Start: 00:00:00.000";
    QTest::newRow("last second") << 86399.5 << "Start: 23:59:59.500";
    QTest::newRow("not a number") << qQNaN() << "Start: 00:00:00.000";
    QTest::newRow("far beyond") << 1e300 << "Start: 00:00:00.000";
}

void TestMainWindow::startTimeText()
{
    QFETCH(double, time);
    QFETCH(QString, text);
    const auto window = makeWindow();
    window->showTimes(time, 12.3456);
    QCOMPARE(window->statusBarLabels()->textLabelStartTime->text(), text);
    QCOMPARE(window->statusBarLabels()->textLabelRunTime->text(), QStringLiteral("Run: 12.346 s"));
}

void TestMainWindow::exitClosesTheWindow()
{
    const auto window = makeWindow();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    window->projectExit();
    QVERIFY(!window->isVisible());
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
