// The main window as a whole: the net scan, the state after start, modes and actions, the reset,
// the help menu.
#include "dataplot.h"
#include "driver_support.h"
#include "formstatusbar_resourcesreparent.h"
#include "gui_support.h"
#include "manualpath.h"
#include "mformabout.h"
#include "operatingmode.h"
#include "qlabelcompat.h"
#include "tableplotdescription.h"
#include "timestampedread.h"

#include <qwt_scale_div.h>

#include <QDesktopServices>
#include <QtTest>

using TestSupport::ModalAnswerer;

// Stands in for the desktop: takes the URLs handed to a scheme's handler.
class UrlReceiver : public QObject
{
    Q_OBJECT

public:
    explicit UrlReceiver(const char* scheme) : scheme(scheme)
    {
        QDesktopServices::setUrlHandler(scheme, this, "take");
    }
    ~UrlReceiver() override { QDesktopServices::unsetUrlHandler(scheme); }
    const QString scheme;
    QList<QUrl> urls;

public slots:
    void take(const QUrl& url) { urls << url; }
};

// clang-format off
// A mode entered from a run; buttons: 1 enabled, 0 disabled, -1 as they were. No colour: the bar's own.
const struct { const char* name; int mode; QString text; QColor color; int start, pause, markers; } modeRows[] = {
    {"run",               ModeRun,     "ONLINE - RUN",     Qt::green,  1,  1,  0},
    {"stopped",           ModeStopped, "ONLINE - STOPPED", Qt::blue,   1,  0,  1},
    {"pause keeps green", ModePause,   "ONLINE - PAUSE",   Qt::green,  -1, -1, 1},
    {"import",            ModeImport,  "OFFLINE - IMPORT", Qt::yellow, -1, -1, -1},
    {"none",              ModeNone,    "",                 QColor(),   0,  0,  -1}};

// The question itself is checked where files are opened.
const struct { const char* name; int rows; bool yes; } resetRows[] = {
    {"empty table asks nothing", 0, false}, {"yes", 2, true}, {"no", 2, false}};

// Manuals as "folder/lang", folder "bin" (beside the program, as in the build folder) or "docs"
// (share/doc/vistrel of an installed tree).
const struct { const char* name; QStringList present; QString locale, expected; } manualRows[] = {
    {"beside the program first", {"bin/de", "docs/fr"},            "fr_FR", "bin/de"},
    {"installed, own language",  {"docs/fr", "docs/de", "docs/en"}, "fr_CH", "docs/fr"},
    {"German before English",    {"docs/de", "bin/fr"},            "en_GB", "docs/de"},
    {"none anywhere",            {},                               "en_US", "bin/en"}};
// clang-format on

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { GuiSupport::prepare(); }

    void startState()
    {
        // Nets up to 255; a timestamp frequency only with the timestamp feature.
        const auto window =
            GuiSupport::windowWithCurves("net 3 virtual features=Fc,2b tsfreq=1000000\nnet 255 virtual\n");
        const NetTable& nets = window->nets();
        QCOMPARE(std::count_if(nets.begin(), nets.end(), [](const NetInfo& n) { return n.infoHandle != -1; }),
                 2);
        QCOMPARE(nets[3].timestampFrequency, quint64(0));
        const FormStatusBar_ResourcesReparent* labels = window->statusBarLabels();
        QCOMPARE(labels->textLabelMode->text() + labels->textLabelProjectFile->text(),
                 QStringLiteral("Prj: "));
        QCOMPARE(labels->textLabelDataFile->toolTip(), QStringLiteral("Data: "));
        // Col, Pos and Enable stay below the header's usual minimum section size.
        QCOMPARE(QVector<int>({window->tableConfig()->columnWidth(TablePlotConfig::ColColor),
                               window->tableConfig()->columnWidth(TablePlotConfig::ColPos),
                               window->tableDescription()->columnWidth(TablePlotDescription::ColEnable)}),
                 QVector<int>({25, 30, 22}));
        // The time of day of a record started on day 200, whatever the locale.
        const GuiSupport::CommaLocale comma;
        window->showTimes(200 * 86400.0 + 47109.25, 12.3456);
        QCOMPARE(labels->textLabelStartTime->text(), QStringLiteral("Start: 13:05:09.250"));
        QCOMPARE(labels->textLabelRunTime->text(), QStringLiteral("Run: 12.346 s"));
    }

    // A library without tessReadT: no timestamps from any interface.
    void libraryWithoutTimestampedRead()
    {
        QCOMPARE(lookUpTimestampedRead(STUB_DRIVER_WITHOUT_READT), -1);
        QVERIFY(!timestampedRead);
        TestSupport::useDriverConfig(QStringLiteral("net 0 virtual features=Ts\n"));
        NetInfo info;
        scanNet(info, 0, -1);
        QCOMPARE(info.timestampFrequency, quint64(0));
        QCOMPARE(lookUpTimestampedRead(), 0);
        QVERIFY(timestampedRead == &tessReadT);
    }

    // Conditions: R timer active, N rows, C Start checked, P project name, D data name.
    void updateActions_data()
    {
        QTest::addColumn<QString>("state");
        for (const char* state : {"", "N", "NC", "PD", "RNPD", "RNCPD"})
            QTest::newRow(*state ? state : "none") << QString(state);
    }

    void updateActions()
    {
        QFETCH(QString, state);
        const bool r = state.contains('R'), n = state.contains('N'), c = state.contains('C');
        const bool p = state.contains('P'), d = state.contains('D');
        const auto window = GuiSupport::windowWithCurves(QString());
        VistrelMainWindow& w = *window;
        w.tableConfig()->setRowCount(n ? 1 : 0);
        GuiSupport::child<QPushButton>(&w, "pushButtonStartStop")->setChecked(c);
        w.setProjectFileName(p ? QStringLiteral("p.vtlprj") : QString());
        w.setDataFileName(d ? QStringLiteral("d.vtldat") : QString());
        if (r)
            w.refreshTimer()->start(1000000);
        w.updateActions();
        w.refreshTimer()->stop();
        const auto enabled = [&w](const char* name) {
            return GuiSupport::child<QAction>(&w, name)->isEnabled();
        };
        for (const char* name : {"projectNewAction", "projectOpenAction", "projectOptionsAction",
                                 "projectAdd_CurveAction", "dataLoadAction"})
            QCOMPARE(enabled(name), !r);
        QCOMPARE(enabled("projectSaveAction"), !r && p);
        QCOMPARE(enabled("projectSaveAsAction"), !r && n);
        QCOMPARE(enabled("projectDelete_CurveAction"), n && !c);
        QCOMPARE(enabled("projectCalculateAction"), n && !c);
        QCOMPARE(enabled("dataSave_AsAction"), !r && n);
        QCOMPARE(enabled("dataSaveAction"), !r && d);
        QCOMPARE(enabled("dataImportAction"), !r && n);
        // Printing, the viewport and help stay available in every state.
        QVERIFY(enabled("projectPrintAction") && enabled("projectCustom_AxisAction") &&
                enabled("helpContentsAction"));
    }

    void modes_data() { TestSupport::addRows(modeRows); }
    void modes()
    {
        const auto& row = TestSupport::tableRow(modeRows);
        const auto window = GuiSupport::windowWithCurves(QString());
        VistrelMainWindow& w = *window;
        w.setOperatingMode(ModeRun);
        QVector<QPushButton*> buttons;
        for (const char* name : {"pushButtonStartStop", "pushButtonPause", "pushButtonMarker1",
                                 "pushButtonMarker2", "pushButtonDMarker"})
            buttons << GuiSupport::child<QPushButton>(&w, name);
        const int expected[] = {row.start, row.pause, row.markers, row.markers, row.markers};
        for (const bool before : {false, true}) {
            for (QPushButton* button : buttons)
                button->setEnabled(before);
            w.setOperatingMode(row.mode);
            for (int i = 0; i < buttons.size(); ++i)
                QCOMPARE(buttons[i]->isEnabled(), expected[i] == -1 ? before : expected[i] == 1);
        }
        const FormStatusBar_ResourcesReparent* labels = w.statusBarLabels();
        QCOMPARE(labels->textLabelMode->text(), row.text);
        QCOMPARE(labels->textLabelModePicture->toolTip(), row.text);
        // A coloured field: the colour in every colour group.
        const QLabelCompat* field = labels->textLabelModePicture;
        const QPalette& bar = labels->textLabelMode->palette();
        const QColor color =
            row.color.isValid() ? row.color : bar.color(bar.currentColorGroup(), w.backgroundRole());
        QVERIFY(field->autoFillBackground());
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            QCOMPARE(field->palette().color(group, field->backgroundRole()), color);
    }

    void resetProject_data() { TestSupport::addRows(resetRows); }
    void resetProject()
    {
        const auto& [name, rows, yes] = TestSupport::tableRow(resetRows);
        const auto window = GuiSupport::windowWithCurves(QString(), rows);
        VistrelMainWindow& w = *window;
        w.setDataFileName(QStringLiteral("old.vtldat"));
        w.setOperatingMode(ModeStopped);
        w.axisSettings()[1]->visible = true;
        w.setRunTime(100.0);
        GuiSupport::child<QSlider>(&w, "sliderTimeBase")->setValue(3);
        w.plot()->setMarker1(50.0);
        const ModalAnswerer answerer(yes ? QMessageBox::Yes : QMessageBox::No);
        const bool reset = rows == 0 || yes;
        QCOMPARE(w.resetProject(), reset);
        QCOMPARE(answerer.answered(), rows ? 1 : 0);
        QCOMPARE(w.curves().size() + w.tableDescription()->rowCount(), reset ? 0 : 2 * rows);
        QCOMPARE(w.statusBarLabels()->textLabelDataFile->text(),
                 QString(reset ? "Data: " : "Data: old.vtldat"));
        QCOMPARE(w.currentOperatingMode(), int(reset ? ModeNone : ModeStopped));
        QCOMPARE(w.axisSettings()[1]->visible, !reset);
        // The view of a fresh program: 10 s up to 0, the markers at 40 % and 60 %.
        QCOMPARE(GuiSupport::child<QLabel>(&w, "textLabelTimeBase")->text(),
                 QString(reset ? "10 s" : "100 ms"));
        QCOMPARE(w.plot()->axisScaleDiv(QwtPlot::xBottom).lowerBound(), reset ? -10.0 : -0.1);
        QCOMPARE(GuiSupport::child<QPushButton>(&w, "pushButtonMarker1")->text(),
                 QString(reset ? "M1: -6.000 s" : "M1: 50.000 s"));
    }

    // The system's language, then German, then English whether it is there or not.
    void manualPath_data() { TestSupport::addRows(manualRows); }
    void manualPath()
    {
        const auto& [name, present, locale, expected] = TestSupport::tableRow(manualRows);
        const QTemporaryDir prefix;
        const auto manual = [&prefix](const QString& place) {
            const QString folder = place.section('/', 0, 0) == "bin" ? "bin" : "share/doc/vistrel";
            return prefix.filePath(folder + "/Vistrel_manual_" + place.section('/', 1) + ".pdf");
        };
        for (const QString& place : present)
            QVERIFY(!TestSupport::writeFile(manual(place), "%PDF").isEmpty());
        QCOMPARE(::manualPath(prefix.filePath("bin"), locale), manual(expected));
    }

    // Contents and Index open the manual, which the build puts beside the program; a link in the
    // about box goes to the browser, and the closed box is gone. The offscreen platform, like a
    // machine without viewer, opens nothing.
    void helpMenu()
    {
        const auto window = GuiSupport::windowWithCurves(QString());
        const QString manual = ::manualPath(QCoreApplication::applicationDirPath(), QLocale::system().name());
        const QUrl link(QStringLiteral("https://example.org/"));
        {
            const UrlReceiver files("file"), web("https");
            const ModalAnswerer answerer([&link](QWidget* widget) {
                auto* about = qobject_cast<MFormAbout*>(widget);
                if (!about)
                    return void(widget->close());
                emit about->textBrowser->anchorClicked(link);
                about->pushButtonAbout->click();
            });
            window->helpContents();
            window->helpIndex();
            window->helpAbout();
            QCOMPARE(answerer.answered(), 1);
            QCOMPARE(files.urls, (QList<QUrl>{QUrl::fromLocalFile(manual), QUrl::fromLocalFile(manual)}));
            QCOMPARE(web.urls, QList<QUrl>{link});
            QVERIFY(!window->findChild<MFormAbout*>());
        }
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
        const ModalAnswerer answerer(QMessageBox::Ok);
        window->helpContents();
        QCOMPARE(answerer.titles().value(0) + ' ' + answerer.lastText(), "Vistrel Cannot open pdf manual!");
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
