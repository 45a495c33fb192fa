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

using TestSupport::MessageBoxAnswerer;
using TestSupport::ModalHandler;
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

State defaultState()
{
    return {QColor(0xff, 0xff, 0xff),
            QColor(0x80, 0x80, 0x80),
            QColor(0, 0, 0xff),
            QColor(0, 0, 0xff),
            5000,
            250,
            1,
            true,
            false};
}

// Every field differs from the defaults.
State customState()
{
    return {QColor(0x10, 0x20, 0x30),
            QColor(0x40, 0x50, 0x60),
            QColor(0x70, 0x80, 0x90),
            QColor(0xa0, 0xb0, 0xc0),
            20000,
            500,
            3,
            false,
            true};
}

State windowState(const VistrelMainWindow& w)
{
    return {w.plot->canvasColor(),
            w.plot->grid()->majorPen().color(),
            w.plot->marker1Color(),
            w.plot->marker2Color(),
            int(w.plotSize),
            int(w.refreshTime),
            w.lineWidth,
            w.continuousScroll,
            w.antialiasing};
}

State dialogState(const MFormConfig& d)
{
    return {MFormConfig::swatchColor(d.colorCanvasBackground),
            MFormConfig::swatchColor(d.colorGrid),
            MFormConfig::swatchColor(d.colorMarker1),
            MFormConfig::swatchColor(d.colorMarker2),
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

// Field by field, so that a failure names the field. Callers check
// QTest::currentTestFailed() afterwards.
void compareState(const State& actual, const State& expected)
{
    QCOMPARE(actual.background, expected.background);
    QCOMPARE(actual.grid, expected.grid);
    QCOMPARE(actual.marker1, expected.marker1);
    QCOMPARE(actual.marker2, expected.marker2);
    QCOMPARE(actual.plotSize, expected.plotSize);
    QCOMPARE(actual.refreshTime, expected.refreshTime);
    QCOMPARE(actual.lineWidth, expected.lineWidth);
    QCOMPARE(actual.continuousScroll, expected.continuousScroll);
    QCOMPARE(actual.antialiasing, expected.antialiasing);
}

// The file's text for a state, built by hand.
QByteArray fileText(const State& s, const QString& root = QStringLiteral("Vistrel"))
{
    return QStringLiteral("<%1 datetime=\"Mon Jan 6 08:00:00 2025\" BackgroundColor=\"%2\" GridColor=\"%3\" "
                          "Marker1Color=\"%4\" Marker2Color=\"%5\" PlotSize=\"%6\" RefreshTime=\"%7\" "
                          "LineWidth=\"%8\" ContinousScoll=\"%9\" Antialiasing=\"%10\"/>\n")
        .arg(root, s.background.name(), s.grid.name(), s.marker1.name(), s.marker2.name())
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

// Ages the file so that any later write shows in its modification time.
bool ageFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) &&
           file.setFileTime(QDateTime(QDate(2020, 1, 1), QTime(12, 0)), QFileDevice::FileModificationTime);
}

QDateTime modified(const QString& path)
{
    return QFileInfo(path).fileTime(QFileDevice::FileModificationTime);
}

// Opens the options dialog of the window, lets action work on it, and
// closes it with Cancel if the action left it open. Returns how often the
// dialog appeared.
int runOptions(VistrelMainWindow& w, const std::function<void(MFormConfig&)>& action)
{
    ModalHandler handler([&action](QWidget* widget) {
        auto* dialog = qobject_cast<MFormConfig*>(widget);
        if (!dialog) {
            widget->close();
            return;
        }
        action(*dialog);
        if (dialog->isVisible())
            dialog->buttonCancel->click();
    });
    w.projectOptions();
    return handler.handled();
}

// Answers the next colour dialog and records how it opened.
struct ColourAnswer
{
    QString title;
    QColor initial;
    bool seen = false;
};

std::unique_ptr<ModalHandler> answerColourDialog(ColourAnswer& answer, const QColor& pick, bool accept)
{
    return std::make_unique<ModalHandler>([&answer, pick, accept](QWidget* widget) {
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

QColor& stateColour(State& s, int index)
{
    switch (index) {
    case 0:
        return s.background;
    case 1:
        return s.grid;
    case 2:
        return s.marker1;
    default:
        return s.marker2;
    }
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void firstStart();
    void freshHome_data();
    void freshHome();
    void valuesFromFile_data();
    void valuesFromFile();
    void readFailures_data();
    void readFailures();

    void actionOpensOneDialog();
    void applyOkCancel_data();
    void applyOkCancel();
    void defaultsButtons_data();
    void defaultsButtons();
    void valuesBeyondLimits_data();
    void valuesBeyondLimits();
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
    const MessageBoxAnswerer boxes(QMessageBox::Ok, 5);
    auto window = std::make_unique<VistrelMainWindow>();
    startMessages = boxes.texts();
    return window;
}

void TestOptions::firstStart()
{
    const auto window = makeWindow();
    QVERIFY(QFileInfo(settingsDirectory()).isDir());
    AttributeMap attributes = fileAttributes(settingsFile());
    const QString dateTime = attributes.take(QStringLiteral("datetime"));
    QVERIFY(QDateTime::fromString(dateTime, Qt::TextDate).isValid());
    QCOMPARE(attributes, stateAttributes(defaultState()));
    QVERIFY(!fileBytes(settingsFile()).contains("<?xml"));
    compareState(windowState(*window), defaultState());
}

void TestOptions::freshHome_data()
{
    QTest::addColumn<bool>("blocked");
    QTest::newRow("no .local/share") << false;
    QTest::newRow("a file where a parent should be") << true;
}

void TestOptions::freshHome()
{
    QFETCH(bool, blocked);

    // Outside the test mode the place follows XDG_DATA_HOME, which lets the
    // test take away every parent of the directory.
    QTemporaryDir home;
    QVERIFY(home.isValid());
    if (blocked) {
        QFile blocker(home.filePath(QStringLiteral(".local")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
    }
    const QByteArray oldDataHome = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(QStringLiteral(".local/share"))));
    QStandardPaths::setTestModeEnabled(false);
    const auto restore = qScopeGuard([&oldDataHome] {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("XDG_DATA_HOME", oldDataHome);
    });
    const QString dir = settingsDirectory();
    QVERIFY2(dir.startsWith(home.path()), qPrintable(dir));

    const MessageBoxAnswerer boxes(QMessageBox::Ok, 5);
    const auto window = std::make_unique<VistrelMainWindow>();

    if (blocked) {
        QCOMPARE(boxes.texts(), QStringList{QStringLiteral("Cannot create directory %1").arg(dir)});
        QCOMPARE(boxes.titles(), QStringList{QStringLiteral("Critical Error")});
        QVERIFY(!QFileInfo::exists(dir));
    } else {
        QCOMPARE(boxes.texts(), QStringList());
        AttributeMap attributes = fileAttributes(dir + QStringLiteral("/vistrelsettings.xml"));
        attributes.remove(QStringLiteral("datetime"));
        QCOMPARE(attributes, stateAttributes(defaultState()));
    }
    compareState(windowState(*window), defaultState());
}

// Each row starts from the file of customState() and changes one thing.
void TestOptions::valuesFromFile_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<State>("expected");

    const State custom = customState();
    const QByteArray text = fileText(custom);
    const auto replaced = [&text](const char* from, const char* to) {
        return QByteArray(text).replace(from, to);
    };
    QTest::newRow("as written") << text << custom;
    QTest::newRow("other root name") << fileText(custom, QStringLiteral("Settings")) << custom;

    State named = custom;
    named.background = QColor(0xff, 0, 0);
    named.grid = QColor(0, 0xff, 0);
    named.marker1 = QColor(0x00, 0x64, 0x00);
    QTest::newRow("colour names") << replaced("\"#102030\"", "\"red\"")
                                         .replace("\"#405060\"", "\"#00ff00\"")
                                         .replace("\"#708090\"", "\"darkgreen\"")
                                  << named;

    State noRefresh = custom;
    noRefresh.refreshTime = 0;
    QTest::newRow("RefreshTime missing") << replaced(" RefreshTime=\"500\"", "") << noRefresh;

    State zeroWidth = custom;
    zeroWidth.lineWidth = 0;
    QTest::newRow("LineWidth 0") << replaced("LineWidth=\"3\"", "LineWidth=\"0\"") << zeroWidth;

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

    compareState(windowState(*window), expected);
    if (QTest::currentTestFailed())
        return;
    // Marker 1's colour also draws the picker.
    QCOMPARE(window->plot->picker()->rubberBandPen().color(), expected.marker1);
    QCOMPARE(window->plot->picker()->trackerPen().color(), expected.marker1);
    // A new curve is drawn with the file's line width, 0 included.
    window->projectAddCurve();
    QCOMPARE(window->curves.size(), 1);
    QCOMPARE(window->curves[0]->plotItem->pen().width(), expected.lineWidth);
    // Reading doesn't write.
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

    const MessageBoxAnswerer boxes(QMessageBox::Ok, 5);
    const auto window = std::make_unique<VistrelMainWindow>();

    QCOMPARE(boxes.texts(), messages);
    for (const QString& title : boxes.titles())
        QCOMPARE(title, QStringLiteral("Critical Error"));
    compareState(windowState(*window), defaultState());
    if (kind == QLatin1String("text"))
        QCOMPARE(fileBytes(settingsFile()), text);
}

void TestOptions::actionOpensOneDialog()
{
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    QStringList titles;
    QList<QWidget*> dialogs;
    for (int i = 0; i < 2; ++i) {
        ModalHandler handler([&](QWidget* widget) {
            titles << widget->windowTitle();
            dialogs << widget;
            widget->close();
        });
        w.projectOptionsAction->trigger();
        QCOMPARE(handler.handled(), 1);
    }
    QCOMPARE(titles, (QStringList{"Vistrel Config", "Vistrel Config"}));
    auto* dialog = qobject_cast<MFormConfig*>(dialogs.at(0));
    QVERIFY(dialog);
    QCOMPARE(dialog->parentWidget(), &w);
    // Made once and kept.
    QCOMPARE(dialogs.at(1), dialogs.at(0));
    QCOMPARE(w.findChildren<MFormConfig*>().size(), 1);
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
    } else {
        QVERIFY(ageFile(settingsFile()));
    }
    const QByteArray before = fileBytes(settingsFile());
    const QDateTime beforeTime = modified(settingsFile());

    const State custom = customState();
    State unapplied = custom;
    unapplied.background = QColor(0x99, 0x88, 0x77);
    unapplied.refreshTime = 4000;
    unapplied.antialiasing = false;
    QStringList shownMessages;
    QCOMPARE(runOptions(w,
                        [&](MFormConfig& d) {
                            compareState(dialogState(d), defaultState());
                            setDialogState(d, custom);
                            // Made here, so that it answers only what the
                            // button brings up.
                            const MessageBoxAnswerer boxes(QMessageBox::Ok, 5);
                            (ok ? d.buttonOk : d.buttonApply)->click();
                            shownMessages = boxes.texts();
                            // What changes after Apply is lost by Cancel.
                            if (d.isVisible())
                                setDialogState(d, unapplied);
                        }),
             1);
    QCOMPARE(shownMessages, messages);

    // The values stay applied, also when the file can't be written.
    compareState(windowState(w), custom);
    QCOMPARE(w.plot->picker()->rubberBandPen().color(), custom.marker1);
    if (ok && !unwritable) {
        // The file holds the applied values: Apply ran before the write.
        AttributeMap attributes = fileAttributes(settingsFile());
        QVERIFY(attributes.contains("datetime"));
        attributes.remove(QStringLiteral("datetime"));
        QCOMPARE(attributes, stateAttributes(custom));
        QVERIFY(modified(settingsFile()) != beforeTime);
    } else if (!ok) {
        QCOMPARE(fileBytes(settingsFile()), before);
        QCOMPARE(modified(settingsFile()), beforeTime);
    }
    if (QTest::currentTestFailed())
        return;

    // Opened again, the dialog shows what was applied.
    State shown;
    QCOMPARE(runOptions(w, [&shown](MFormConfig& d) { shown = dialogState(d); }), 1);
    compareState(shown, custom);
}

void TestOptions::defaultsButtons_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<State>("expected");

    const State custom = customState();
    const State defaults = defaultState();

    State colours = custom;
    colours.background = defaults.background;
    colours.grid = defaults.grid;
    colours.marker1 = defaults.marker1;
    colours.marker2 = defaults.marker2;
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
    compareState(shown, expected);
    // Nothing reaches the plot before Apply.
    compareState(beforeApply, custom);
    compareState(windowState(w), expected);
}

void TestOptions::valuesBeyondLimits_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("fileValue");
    QTest::addColumn<int>("shown");

    QTest::newRow("RefreshTime 10") << QByteArray("RefreshTime") << 10 << 50;
    QTest::newRow("RefreshTime 60000") << QByteArray("RefreshTime") << 60000 << 5000;
    QTest::newRow("PlotSize 50") << QByteArray("PlotSize") << 50 << 100;
    QTest::newRow("PlotSize 250000") << QByteArray("PlotSize") << 250000 << 100000;
    QTest::newRow("LineWidth 0") << QByteArray("LineWidth") << 0 << 1;
    QTest::newRow("LineWidth 9") << QByteArray("LineWidth") << 9 << 4;
}

void TestOptions::valuesBeyondLimits()
{
    QFETCH(QByteArray, key);
    QFETCH(int, fileValue);
    QFETCH(int, shown);

    State inFile = customState();
    numberField(inFile, key) = fileValue;
    const QByteArray text = fileText(inFile);
    QVERIFY(writeSettingsFile(text));

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    // The file's value is taken as it is.
    State state = windowState(w);
    QCOMPARE(numberField(state, key), fileValue);

    int inDialog = -1;
    runOptions(w, [&](MFormConfig& d) {
        State s = dialogState(d);
        inDialog = numberField(s, key);
        d.buttonApply->click();
    });
    QCOMPARE(inDialog, shown);
    state = windowState(w);
    QCOMPARE(numberField(state, key), shown);
    QCOMPARE(fileBytes(settingsFile()), text);
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
    stateColour(expected, index) = picked;

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
    State defaults = defaultState();
    QCOMPARE(first.initial, stateColour(defaults, index));
    compareState(afterPick, expected);
    compareState(afterCancel, expected);
    compareState(plotBeforeApply, defaultState());
    QVERIFY(second.seen);
    QCOMPARE(second.initial, picked);
    compareState(windowState(w), expected);
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
