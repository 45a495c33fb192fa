// The settings file as the window reads and writes it, and the options
// dialog that changes the settings.
#include "dataplot.h"
#include "mformconfig.h"
#include "plotcurve.h"
#include "qlabelcompat.h"
#include "tableplotconfig.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_picker.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_picker.h>

#include <QColorDialog>
#include <QDateTime>
#include <QDomDocument>
#include <QDomNamedNodeMap>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

using TestSupport::ModalAnswerer;
using AttributeMap = QMap<QString, QString>;

namespace {

// What the settings are made of, as the window holds them and as the dialog
// shows them.
struct State
{
    QColor background;
    QColor grid;
    QColor marker1;
    QColor marker2;
    int plotSize = 0;
    int refreshTime = 0;
    int lineWidth = 0;
    bool continuousScroll = false;
    bool antialiasing = false;
};

} // namespace

Q_DECLARE_METATYPE(State)

namespace {

// Colours as 0xRRGGBB.
State defaultState()
{
    return {0xffffffu, 0x808080u, 0x0000ffu, 0x0000ffu, 5000, 250, 1, true, false};
}

// Every field differs from the defaults.
State customState()
{
    return {0x102030u, 0x405060u, 0x708090u, 0xa0b0c0u, 20000, 500, 3, false, true};
}

State windowState(const VistrelMainWindow& w)
{
    const DataPlot& p = *w.plot;
    return {p.canvasColor(), p.grid()->majorPen().color(), p.marker1Color(), p.marker2Color(),
            int(w.plotSize), int(w.refreshTime),           w.lineWidth,      w.continuousScroll,
            w.antialiasing};
}

State dialogState(const MFormConfig& d)
{
    const auto colour = &MFormConfig::swatchColor;
    return {colour(d.colorCanvasBackground),
            colour(d.colorGrid),
            colour(d.colorMarker1),
            colour(d.colorMarker2),
            d.spinBoxBufferSize->value(),
            d.spinBoxRefreshTime->value(),
            d.spinBoxLineWidth->value(),
            d.checkBoxContinous->isChecked(),
            d.checkBoxAntialiasing->isChecked()};
}

void setDialogState(MFormConfig& d, const State& s)
{
    d.colorCanvasBackground->setBackgroundColor(s.background);
    d.colorGrid->setBackgroundColor(s.grid);
    d.colorMarker1->setBackgroundColor(s.marker1);
    d.colorMarker2->setBackgroundColor(s.marker2);
    d.spinBoxBufferSize->setValue(s.plotSize);
    d.spinBoxRefreshTime->setValue(s.refreshTime);
    d.spinBoxLineWidth->setValue(s.lineWidth);
    d.checkBoxContinous->setChecked(s.continuousScroll);
    d.checkBoxAntialiasing->setChecked(s.antialiasing);
}

// All fields on one line, so that a failed comparison names them.
QString describe(const State& s)
{
    const auto colour = [](const QColor& c) {
        return c.isValid() ? c.name(QColor::HexArgb) : QStringLiteral("invalid");
    };
    return QStringLiteral("colours %1 %2 %3 %4, size %5, refresh %6, width %7, scroll %8, antialiasing %9")
        .arg(colour(s.background), colour(s.grid), colour(s.marker1), colour(s.marker2))
        .arg(s.plotSize)
        .arg(s.refreshTime)
        .arg(s.lineWidth)
        .arg(s.continuousScroll)
        .arg(s.antialiasing);
}

// The file's text for a state, built by hand.
QByteArray fileText(const State& s)
{
    return QStringLiteral(
               "<Vistrel datetime=\"Mon Jan 6 08:00:00 2025\" BackgroundColor=\"%1\" GridColor=\"%2\" "
               "Marker1Color=\"%3\" Marker2Color=\"%4\" PlotSize=\"%5\" RefreshTime=\"%6\" "
               "LineWidth=\"%7\" ContinousScoll=\"%8\" Antialiasing=\"%9\"/>\n")
        .arg(s.background.name(), s.grid.name(), s.marker1.name(), s.marker2.name())
        .arg(s.plotSize)
        .arg(s.refreshTime)
        .arg(s.lineWidth)
        .arg(s.continuousScroll ? 1 : 0)
        .arg(s.antialiasing ? 1 : 0)
        .toLatin1();
}

// The attributes of a settings file, read with a parser of its own.
AttributeMap fileAttributes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QDomDocument document;
    if (!document.setContent(&file))
        return {};
    const QDomNamedNodeMap attributes = document.documentElement().attributes();
    AttributeMap map;
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        map.insert(attribute.name(), attribute.value());
    }
    return map;
}

AttributeMap stateAttributes(const State& s)
{
    return {{"BackgroundColor", s.background.name()},    {"GridColor", s.grid.name()},
            {"Marker1Color", s.marker1.name()},          {"Marker2Color", s.marker2.name()},
            {"PlotSize", QString::number(s.plotSize)},   {"RefreshTime", QString::number(s.refreshTime)},
            {"LineWidth", QString::number(s.lineWidth)}, {"ContinousScoll", s.continuousScroll ? "1" : "0"},
            {"Antialiasing", s.antialiasing ? "1" : "0"}};
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString settingsDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
}

QString settingsFile()
{
    return settingsDirectory() + QStringLiteral("/vistrelsettings.xml");
}

bool writeSettingsFile(const QByteArray& bytes)
{
    if (!QDir().mkpath(settingsDirectory()))
        return false;
    QFile file(settingsFile());
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Opens the options dialog through its action, lets action work on it, and
// closes it with Cancel if the action left it open. Returns the dialog, or
// null if something else appeared.
MFormConfig* runOptions(VistrelMainWindow& w, const std::function<void(MFormConfig&)>& action)
{
    MFormConfig* dialog = nullptr;
    ModalAnswerer handler([&](QWidget* widget) {
        dialog = qobject_cast<MFormConfig*>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        action(*dialog);
        if (dialog->isVisible())
            dialog->buttonCancel->click();
    });
    w.projectOptionsAction->trigger();
    return handler.answered() == 1 ? dialog : nullptr;
}

// Answers the next colour dialog and records how it opened.
struct ColourAnswer
{
    QString title;
    QColor initial;
    bool seen = false;
};

std::unique_ptr<ModalAnswerer> answerColourDialog(ColourAnswer& answer, const QColor& pick, bool accept)
{
    return std::make_unique<ModalAnswerer>([&answer, pick, accept](QWidget* widget) {
        auto* dialog = qobject_cast<QColorDialog*>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        answer.seen = true;
        answer.title = dialog->windowTitle();
        answer.initial = dialog->currentColor();
        dialog->setCurrentColor(pick);
        if (accept)
            dialog->accept();
        else
            dialog->reject();
    });
}

int& numberField(State& s, const QByteArray& key)
{
    return key == "RefreshTime" ? s.refreshTime : key == "PlotSize" ? s.plotSize : s.lineWidth;
}

QLabelCompat* swatch(MFormConfig& d, int index)
{
    const QList<QLabelCompat*> swatches{d.colorCanvasBackground, d.colorGrid, d.colorMarker1, d.colorMarker2};
    return swatches.at(index);
}

// The colours in the order of the dialog's swatches.
QColor State::*const colourFields[] = {&State::background, &State::grid, &State::marker1, &State::marker2};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void firstStart_data();
    void firstStart();
    void valuesFromFile_data();
    void valuesFromFile();
    void readFailures_data();
    void readFailures();

    void applyOkCancel_data();
    void applyOkCancel();
    void defaultsButtons_data();
    void defaultsButtons();
    void pickColour_data();
    void pickColour();
    void applyRecoloursCurves();

private:
    // Answers the boxes of the window's start and keeps their texts in
    // startMessages; a test that expects some takes them from there.
    std::unique_ptr<VistrelMainWindow> makeWindow();
    QString organisationDirectory() const;

    QStringList startMessages;
};

void TestOptions::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    // A directory of this process's own beneath the test location, whose
    // parent doesn't exist at the start of each test either.
    QCoreApplication::setOrganizationName(
        QStringLiteral("tst_options-%1").arg(QCoreApplication::applicationPid()));
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual\n"));
}

QString TestOptions::organisationDirectory() const
{
    return QFileInfo(settingsDirectory()).path();
}

void TestOptions::init()
{
    QDir(organisationDirectory()).removeRecursively();
    QVERIFY(!QFileInfo::exists(organisationDirectory()));
}

void TestOptions::cleanup()
{
    // No box at the start of the window unless a test took it.
    const QStringList messages = std::exchange(startMessages, QStringList());
    QCOMPARE(messages, QStringList());
}

void TestOptions::cleanupTestCase()
{
    QDir(organisationDirectory()).removeRecursively();
}

std::unique_ptr<VistrelMainWindow> TestOptions::makeWindow()
{
    const ModalAnswerer boxes(QMessageBox::Ok, 5);
    auto window = std::make_unique<VistrelMainWindow>();
    startMessages = boxes.texts();
    return window;
}

void TestOptions::firstStart_data()
{
    QTest::addColumn<int>("home"); // 0: the test location, 1: an empty home, 2: a home that blocks
    QTest::newRow("test location without its parent") << 0;
    QTest::newRow("no .local/share") << 1;
    QTest::newRow("a file where a parent should be") << 2;
}

void TestOptions::firstStart()
{
    QFETCH(int, home);

    // Outside the test mode the place follows XDG_DATA_HOME, which lets the
    // test take away every parent of the directory.
    QTemporaryDir temporary;
    QVERIFY(temporary.isValid());
    if (home == 2) {
        QFile blocker(temporary.filePath(QStringLiteral(".local")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
    }
    const QByteArray oldDataHome = qgetenv("XDG_DATA_HOME");
    if (home > 0) {
        qputenv("XDG_DATA_HOME", QFile::encodeName(temporary.filePath(QStringLiteral(".local/share"))));
        QStandardPaths::setTestModeEnabled(false);
    }
    const auto restore = qScopeGuard([&oldDataHome] {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("XDG_DATA_HOME", oldDataHome);
    });
    const QString dir = settingsDirectory();
    if (home > 0)
        QVERIFY2(dir.startsWith(temporary.path()), qPrintable(dir));

    const ModalAnswerer boxes(QMessageBox::Ok, 5);
    const auto window = std::make_unique<VistrelMainWindow>();

    QCOMPARE(describe(windowState(*window)), describe(defaultState()));
    if (home == 2) {
        QCOMPARE(boxes.texts(), QStringList{QStringLiteral("Cannot create directory %1").arg(dir)});
        QCOMPARE(boxes.titles(), QStringList{QStringLiteral("Critical Error")});
        QVERIFY(!QFileInfo::exists(dir));
        return;
    }
    QCOMPARE(boxes.texts(), QStringList());
    const QString file = dir + QStringLiteral("/vistrelsettings.xml");
    QVERIFY(!fileBytes(file).contains("<?xml"));
    AttributeMap attributes = fileAttributes(file);
    QVERIFY(QDateTime::fromString(attributes.take(QStringLiteral("datetime")), Qt::TextDate).isValid());
    QCOMPARE(attributes, stateAttributes(defaultState()));
}

// Each row starts from the file of customState() and changes one thing.
void TestOptions::valuesFromFile_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<State>("expected"); // the window's, before the dialog limits it

    const State custom = customState();
    const QByteArray text = fileText(custom);
    const auto replaced = [&text](const char* from, const char* to) {
        return QByteArray(text).replace(from, to);
    };
    QTest::newRow("as written") << text << custom;

    // A colour that a damaged file doesn't name keeps the default rather
    // than turning the plot black; the numbers take what the file says.
    State damaged = custom;
    damaged.background = defaultState().background;
    damaged.marker1 = defaultState().marker1;
    QTest::newRow("unknown colours keep the default")
        << replaced("\"#102030\"", "\"nocolour\"").replace("\"#708090\"", "\"\"") << damaged;

    // A plot size beyond what any curve could allocate, e.g. a negative
    // number read as unsigned, is cut to the largest a file may set.
    for (const char* huge : {"-1", "4000000000", "1000001"}) {
        State capped = custom;
        capped.plotSize = VistrelMainWindow::largestPlotSize;
        QTest::addRow("PlotSize %s", huge)
            << replaced("\"20000\"", QByteArray('"' + QByteArray(huge) + '"')) << capped;
    }

    // Numbers beyond the dialog's limits are taken as they are.
    const std::pair<const char*, int> beyond[] = {{"RefreshTime", 10}, {"RefreshTime", 60000},
                                                  {"PlotSize", 50},    {"PlotSize", 250000},
                                                  {"LineWidth", 0},    {"LineWidth", 9}};
    for (const auto& [key, value] : beyond) {
        State changed = custom;
        numberField(changed, key) = value;
        QTest::addRow("%s %d", key, value) << fileText(changed) << changed;
    }

    State empty = defaultState();
    empty.plotSize = 0;
    empty.refreshTime = 0;
    empty.lineWidth = 0;
    empty.continuousScroll = false;
    empty.antialiasing = false;
    QTest::newRow("no attributes") << QByteArray("<Vistrel/>") << empty;
}

void TestOptions::valuesFromFile()
{
    QFETCH(QByteArray, bytes);
    QFETCH(State, expected);

    QVERIFY(writeSettingsFile(bytes));
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;

    QCOMPARE(describe(windowState(w)), describe(expected));
    // Marker 1's colour also draws the picker.
    QCOMPARE(w.plot->picker()->rubberBandPen().color(), expected.marker1);
    QCOMPARE(w.plot->picker()->trackerPen().color(), expected.marker1);
    // A new curve is drawn with the file's line width, 0 included.
    w.projectAddCurve();
    QCOMPARE(w.curves.size(), 1);
    QCOMPARE(w.curves[0]->plotItem->pen().width(), expected.lineWidth);

    // The dialog shows the numbers within its limits, and Apply takes those.
    State limited = expected;
    limited.plotSize = qBound(100, expected.plotSize, 100000);
    limited.refreshTime = qBound(50, expected.refreshTime, 5000);
    limited.lineWidth = qBound(1, expected.lineWidth, 4);
    State shown;
    QVERIFY(runOptions(w, [&shown](MFormConfig& d) {
        shown = dialogState(d);
        d.buttonApply->click();
    }));
    QCOMPARE(describe(shown), describe(limited));
    QCOMPARE(describe(windowState(w)), describe(limited));
    // Neither reading nor Apply writes.
    QCOMPARE(fileBytes(settingsFile()), bytes);
}

void TestOptions::readFailures_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QStringList>("messages");

    const QString file = settingsFile();
    QTest::newRow("not XML") << "text" << QStringList{QStringLiteral("Cannot parse xml-file %1").arg(file)};
    QTest::newRow("directory in place of the file")
        << "directory" << QStringList{QStringLiteral("Cannot read file %1").arg(file)};
    // A link to nowhere: the file doesn't exist, can't be written, and then
    // can't be read either.
    QTest::newRow("first start, file can't be written")
        << "dangling link"
        << QStringList{QStringLiteral("Cannot write file %1").arg(file),
                       QStringLiteral("Cannot read file %1").arg(file)};
}

void TestOptions::readFailures()
{
    QFETCH(QString, kind);
    QFETCH(QStringList, messages);

    const QByteArray text("PlotSize=\"77\" LineWidth=\"3\"\n");
    QVERIFY(QDir().mkpath(settingsDirectory()));
    if (kind == QLatin1String("text"))
        QVERIFY(writeSettingsFile(text));
    else if (kind == QLatin1String("directory"))
        QVERIFY(QDir().mkpath(settingsFile()));
    else
        QVERIFY(QFile::link(settingsDirectory() + QStringLiteral("/missing/target.xml"), settingsFile()));

    const ModalAnswerer boxes(QMessageBox::Ok, 5);
    const auto window = std::make_unique<VistrelMainWindow>();

    QCOMPARE(boxes.texts(), messages);
    for (const QString& title : boxes.titles())
        QCOMPARE(title, QStringLiteral("Critical Error"));
    QCOMPARE(describe(windowState(*window)), describe(defaultState()));
    if (kind == QLatin1String("text"))
        QCOMPARE(fileBytes(settingsFile()), text);
}

void TestOptions::applyOkCancel_data()
{
    QTest::addColumn<bool>("ok");
    QTest::addColumn<bool>("unwritable");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("Apply, change, Cancel") << false << false << QStringList();
    QTest::newRow("OK") << true << false << QStringList();
    QTest::newRow("OK, file can't be written")
        << true << true << QStringList{QStringLiteral("Cannot write file %1").arg(settingsFile())};
}

void TestOptions::applyOkCancel()
{
    QFETCH(bool, ok);
    QFETCH(bool, unwritable);
    QFETCH(QStringList, messages);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    if (unwritable) {
        QVERIFY(QFile::remove(settingsFile()));
        QVERIFY(QDir().mkpath(settingsFile()));
    }
    const QByteArray before = fileBytes(settingsFile());

    const State custom = customState();
    State unapplied = custom;
    unapplied.background = QColor(0x99, 0x88, 0x77);
    unapplied.refreshTime = 4000;
    unapplied.antialiasing = false;
    QString shownAtOpening;
    QStringList shownMessages;
    MFormConfig* const dialog = runOptions(w, [&](MFormConfig& d) {
        shownAtOpening = describe(dialogState(d));
        setDialogState(d, custom);
        // Made here, so that it answers only what the button brings up.
        const ModalAnswerer boxes(QMessageBox::Ok, 5);
        (ok ? d.buttonOk : d.buttonApply)->click();
        shownMessages = boxes.texts();
        // What changes after Apply is lost by Cancel.
        if (d.isVisible())
            setDialogState(d, unapplied);
    });
    QVERIFY(dialog);
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Vistrel Config"));
    QCOMPARE(dialog->parentWidget(), &w);
    QCOMPARE(shownAtOpening, describe(defaultState()));
    QCOMPARE(shownMessages, messages);

    // The values stay applied, also when the file can't be written.
    QCOMPARE(describe(windowState(w)), describe(custom));
    QCOMPARE(w.plot->picker()->rubberBandPen().color(), custom.marker1);
    if (ok && !unwritable) {
        // The file holds the applied values: Apply ran before the write.
        AttributeMap attributes = fileAttributes(settingsFile());
        QVERIFY(attributes.remove(QStringLiteral("datetime")) == 1);
        QCOMPARE(attributes, stateAttributes(custom));
    } else if (!ok) {
        // Any write would have put the applied values in.
        QCOMPARE(fileBytes(settingsFile()), before);
    }

    // Opened again, the same dialog shows what was applied.
    State shown;
    QCOMPARE(runOptions(w, [&shown](MFormConfig& d) { shown = dialogState(d); }), dialog);
    QCOMPARE(describe(shown), describe(custom));
    QCOMPARE(w.findChildren<MFormConfig*>().size(), 1);
}

void TestOptions::defaultsButtons_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<State>("expected");

    const State custom = customState();
    const State defaults = defaultState();

    State colours = custom;
    for (QColor State::*field : colourFields)
        colours.*field = defaults.*field;
    QTest::newRow("Color") << "pushButtonDefaultColors" << colours;

    State buffers = custom;
    buffers.plotSize = defaults.plotSize;
    buffers.refreshTime = defaults.refreshTime;
    QTest::newRow("Buffer") << "pushButtonDefaultBuffers" << buffers;

    State curves = custom;
    curves.lineWidth = defaults.lineWidth;
    curves.continuousScroll = defaults.continuousScroll;
    curves.antialiasing = defaults.antialiasing;
    QTest::newRow("Curves") << "pushButtonDefaultCurves" << curves;
}

void TestOptions::defaultsButtons()
{
    QFETCH(QString, button);
    QFETCH(State, expected);

    const State custom = customState();
    QVERIFY(writeSettingsFile(fileText(custom)));
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;

    State shown;
    State beforeApply;
    runOptions(w, [&](MFormConfig& d) {
        auto* defaults = d.findChild<QPushButton*>(button);
        QVERIFY(defaults);
        QCOMPARE(defaults->toolTip(), QStringLiteral("Set default parameters for this tab."));
        defaults->click();
        shown = dialogState(d);
        beforeApply = windowState(w);
        d.buttonApply->click();
    });
    QCOMPARE(describe(shown), describe(expected));
    // Nothing reaches the plot before Apply.
    QCOMPARE(describe(beforeApply), describe(custom));
    QCOMPARE(describe(windowState(w)), describe(expected));
}

void TestOptions::pickColour_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("mouseButton");
    QTest::addColumn<QString>("title");

    QTest::newRow("Background") << 0 << int(Qt::LeftButton) << "Select Background Color";
    QTest::newRow("Grid, right button") << 1 << int(Qt::RightButton) << "Select Grid Color";
    QTest::newRow("Marker 1, middle button") << 2 << int(Qt::MiddleButton) << "Select Marker 1 Color";
    QTest::newRow("Marker 2") << 3 << int(Qt::LeftButton) << "Select Marker 2 Color";
}

void TestOptions::pickColour()
{
    QFETCH(int, index);
    QFETCH(int, mouseButton);
    const auto button = Qt::MouseButton(mouseButton);
    QFETCH(QString, title);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    const QColor picked(0x12, 0x9a, 0xbc);
    State expected = defaultState();
    expected.*colourFields[index] = picked;

    ColourAnswer first;
    ColourAnswer second;
    State afterPick;
    State afterCancel;
    State plotBeforeApply;
    runOptions(w, [&](MFormConfig& d) {
        {
            const auto answer = answerColourDialog(first, picked, true);
            QTest::mouseClick(swatch(d, index), button);
        }
        afterPick = dialogState(d);
        plotBeforeApply = windowState(w);
        {
            // Opened again, the colour dialog starts at the swatch's colour;
            // cancelled, it changes nothing.
            const auto answer = answerColourDialog(second, QColor(Qt::black), false);
            QTest::mouseClick(swatch(d, index), button);
        }
        afterCancel = dialogState(d);
        d.buttonApply->click();
    });

    QVERIFY(first.seen);
    QCOMPARE(first.title, title);
    QCOMPARE(first.initial, defaultState().*colourFields[index]);
    QCOMPARE(describe(afterPick), describe(expected));
    QCOMPARE(describe(afterCancel), describe(expected));
    QCOMPARE(describe(plotBeforeApply), describe(defaultState()));
    QVERIFY(second.seen);
    QCOMPARE(second.initial, picked);
    QCOMPARE(describe(windowState(w)), describe(expected));
}

void TestOptions::applyRecoloursCurves()
{
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    for (int row = 0; row < 3; ++row) {
        w.tableConfig->setCurrentCell(row - 1, TablePlotConfig::ColName);
        w.projectAddCurve();
    }
    QCOMPARE(w.curves.size(), 3);
    // As after an aborted import: the last row has no curve.
    w.curves.removeLast();
    // A pen that isn't the row's: Apply gives the row's colour anew.
    w.curves[0]->plotItem->setPen(QPen(Qt::black, 7));

    for (const bool on : {true, false}) {
        runOptions(w, [on](MFormConfig& d) {
            d.spinBoxLineWidth->setValue(on ? 3 : 2);
            d.checkBoxAntialiasing->setChecked(on);
            d.buttonApply->click();
        });
        for (int row = 0; row < w.curves.size(); ++row) {
            const QwtPlotCurve* item = w.curves[row]->plotItem;
            QCOMPARE(item->pen().color(), QColor(w.tableConfig->curveColor(row)));
            QCOMPARE(item->pen().width(), on ? 3 : 2);
            QCOMPARE(item->testRenderHint(QwtPlotItem::RenderAntialiased), on);
            QCOMPARE(item->testPaintAttribute(QwtPlotCurve::ClipPolygons), on);
        }
    }
}

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
