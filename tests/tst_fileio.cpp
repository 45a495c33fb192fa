// Project files, data files, the import of recorder logs, the command line,
// the settings file and the options dialog through the main window. Input
// files are made with the codecs (logs, which the program only reads, by
// hand); what is checked is what the window makes of them: rows and cells,
// questions and messages, file names, the mode, the settings in force.
#include "controller_support.h"
#include "datafile.h"
#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "gui_support.h"
#include "mdialogchannelnets.h"
#include "mdialogexportcsv.h"
#include "mformconfig.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "projectfile.h"
#include "qcombotablesupportitem.h"
#include "settingsfile.h"
#include "signalcell.h"
#include "tableplotdescription.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_picker.h>

#include <QColorDialog>
#include <QFileDialog>
#include <QtTest>
#include <QXmlStreamReader>

#include <ctime>

using TestSupport::ModalAnswerer;
using TestSupport::readAll;
using TestSupport::writeFile;
using Buttons = QList<int>;

namespace {

// The Net list: entry 0 is net 0, entry 1 net 1, entry 2 net 3.
std::unique_ptr<VistrelMainWindow> makeWindow()
{
    return GuiSupport::windowWithCurves(
        "net 0 virtual name=A features=Fc,2b\nnet 1 virtual\nnet 3 virtual name=C\n");
}

QComboBox* combo(TablePlotConfig& c, int row, int col)
{
    QTableWidgetItem* item = c.item(row, col);
    return item && item->type() == QComboTableSupportItem::Type ? c.comboSave(row, col)->comboBox : nullptr;
}

// A row added as a user adds it, its cells set in the order given as
// "key=value" with the keys of the project file; a combo box by its index,
// so that the edit rules follow.
void addRow(VistrelMainWindow& w, const QString& cells)
{
    TablePlotConfig& c = *w.tableConfig();
    c.setCurrentCell(c.rowCount() - 1, c.ColName);
    w.projectAddCurve();
    const int row = c.currentRow();
    for (const QString& cell : cells.split(' ')) {
        const QString key = cell.section('=', 0, 0);
        const int n = cell.section('=', 1).toInt();
        int col = c.ColName;
        while (col < c.ColumnCount && c.columnInfo(col).key != key)
            ++col;
        if (key == "enable")
            w.tableDescription()->setCurveEnabled(row, n);
        else if (key == "style")
            w.tableDescription()->setCurveStyleIndex(row, n);
        else if (col == c.Col29Bit)
            c.set29Bit(row, n);
        else if (combo(c, row, col))
            combo(c, row, col)->setCurrentIndex(n);
        else
            c.setCellText(row, col, cell.section('=', 1));
    }
}

// The cells of a row by the same keys, then En, Style and Cnt.
QString cells(VistrelMainWindow& w, int row)
{
    TablePlotConfig& c = *w.tableConfig();
    TablePlotDescription& d = *w.tableDescription();
    QString text;
    for (int col = c.ColName; col <= c.ColValueMax; ++col) {
        QComboBox* box = combo(c, row, col);
        text += c.columnInfo(col).key + '=' +
                (col == c.Col29Bit ? QString::number(c.is29Bit(row))
                 : box             ? QString::number(box->currentIndex())
                                   : c.cellText(row, col)) +
                ' ';
    }
    // A row described bit by bit, and only such a row, has a layout and value names.
    if (!c.signalText(row).isEmpty() || !c.valueTableCell(row).isEmpty())
        text += "signal=" + c.signalText(row) + " valuetable=" + c.valueTableCell(row) + ' ';
    return text + QString::asprintf("en=%d style=%d cnt=", d.curveEnabled(row), d.curveStyle(row)) +
           d.text(row, d.ColCount);
}

// What a failed or declined step must leave alone.
QString state(VistrelMainWindow& w)
{
    QStringList rows;
    for (int row = 0; row < w.tableConfig()->rowCount(); ++row)
        rows << w.tableConfig()->curveName(row);
    const ValueAxisSettings &l = *w.axisSettings()[0], &r = *w.axisSettings()[1];
    return QString("rows=%1 curves=%2 prj=%3 dat=%4 mode=%5 ")
               .arg(rows.join(','))
               .arg(w.curves().size())
               .arg(QFileInfo(w.currentProjectFileName()).fileName(),
                    QFileInfo(w.currentDataFileName()).fileName(),
                    w.statusBarLabels()->textLabelMode->text()) +
           QString::asprintf("size=%u axes=%g,%g,%g,%d,%d %g,%g,%g,%d,%d", w.options().plotSize, l.min, l.max,
                             l.step, l.visible, l.grid, r.min, r.max, r.step, r.visible, r.grid);
}

const QString defaultSizeAndAxes = "size=5000 axes=-100,100,10,1,1 0,100,10,0,0";
// The points of three curves before a log is opened.
const QString unchangedPoints = "9 8 -1 -1 / 9 8 -1 -1 / 9 8 -1 -1";

QVector<double> pointsOf(const PlotCurve& curve)
{
    const double *x = curve.xValues.get(), *y = curve.yValues.get();
    return QVector<double>(x, x + curve.pointCount()) + QVector<double>(y, y + curve.pointCount());
}

// Gives a curve the points xy, x then y.
void setPoints(PlotCurve& curve, const QVector<double>& xy)
{
    const int n = xy.size() / 2;
    for (int i = 0; i < n; ++i)
        curve.xValues[size_t(i)] = xy[i], curve.yValues[size_t(i)] = xy[n + i];
    curve.plotItem->setRawSamples(curve.xValues.get(), curve.yValues.get(), n);
}

// A row of the parts with its id, data type, scale and offset.
int addRow(TestSupport::Parts& p, const QString& id, int type, double scale = 1, double offset = 0)
{
    p.addRow();
    const int r = p.config.currentRow();
    p.config.setIdText(r, id);
    p.config.setDataType(r, type);
    p.config.setScaleText(r, QString::number(scale));
    p.config.setOffsetText(r, QString::number(offset));
    return r;
}

// The row's curve made anew for its cells, holding the points xy.
PlotCurve& remakeCurve(TestSupport::Parts& p, int row, const QVector<double>& xy)
{
    p.curves.eraseCurve(row);
    p.curves.createCurve(row);
    setPoints(*p.curves.at(row), xy);
    return *p.curves.at(row);
}

// A data file, made with the codec, of one curve "big" of 6000 points; of
// the oldest version for plot size 0.
QByteArray bigDataFile(quint32 plotSize)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const QVector<double> xy(6000, 1.5);
    if (plotSize) {
        writeDataHeader(buffer, {0, 96, 0.0, 1.0, plotSize, 1, {}});
        writeDataCurveRecord(
            buffer, {0, 1096, "", "big", 0, 0, 0, 1, 0, 0, 0, 1, 0, "", 0, 0, 6000, 1, 0, 0, 0, 0, 0});
    } else {
        buffer.write(
            encodeDataHeaderV1({0, 24, 0.0, 1.0}) +
            encodeDataCurveRecordV1({0, 840 + 96000, "", "big", 0, 0, 0, 1, 0, 0, 1, 0, "", 0, 6000}));
    }
    writeDataPoints(buffer, xy.constData(), xy.constData(), xy.size());
    return buffer.data();
}

// The recorder's text form: a heading, then the lines.
QByteArray logLines(const QString& entries)
{
    return "Recorder trace\nNo\tDir\tTime\tms\n" + TestSupport::recorderLines(entries);
}

// Settings as "colours size= refresh= width= scroll= antialiasing=".
QString describe(const Settings& s)
{
    return QString("%1 %2 %3 %4 ")
               .arg(s.backgroundColor.name(), s.gridColor.name(), s.marker1Color.name(),
                    s.marker2Color.name()) +
           QString::asprintf("size=%u refresh=%u width=%d scroll=%d antialiasing=%d", s.plotSize,
                             s.refreshTime, s.lineWidth, s.continuousScroll, s.antialiasing);
}

// The settings in force; the picker must follow marker 1.
QString inForce(const VistrelMainWindow& w)
{
    const DataPlot& p = *w.plot();
    return describe({p.canvasColor(), p.grid()->majorPen().color(), p.marker1Color(), p.marker2Color(),
                     w.options().plotSize, w.options().refreshTime, w.options().lineWidth,
                     w.options().continuousScroll, w.options().antialiasing}) +
           (p.picker()->rubberBandPen().color() == p.marker1Color() ? "" : " picker differs");
}

// Every value differs from the defaults.
const QString custom =
    "#102030 #405060 #708090 #a0b0c0 size=20000 refresh=500 width=3 scroll=0 antialiasing=1";

QString settingsFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + "/vistrelsettings.xml";
}

// The settings file in the form of describe(), read apart from the codec.
QString inFile()
{
    QXmlStreamReader xml(readAll(settingsFile()));
    if (!xml.readNextStartElement())
        return "unreadable";
    const auto a = [&xml](const char* key) { return xml.attributes().value(key).toString(); };
    return QString("%1 %2 %3 %4 size=%5 refresh=%6 width=%7 scroll=%8 antialiasing=%9")
        .arg(a("BackgroundColor"), a("GridColor"), a("Marker1Color"), a("Marker2Color"), a("PlotSize"),
             a("RefreshTime"), a("LineWidth"), a("ContinousScoll"), a("Antialiasing"));
}

// Opens the options dialog by its action, lets `action` work on it and
// closes it with Cancel.
void runOptions(VistrelMainWindow& w, const std::function<void(MFormConfig&)>& action)
{
    const ModalAnswerer answer([&](QWidget* widget) {
        auto* dialog = qobject_cast<MFormConfig*>(widget);
        action(*dialog);
        dialog->buttonCancel->click();
    });
    GuiSupport::child<QAction>(&w, "projectOptionsAction")->trigger();
}

} // namespace

class TestFileIo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void roundTrips();
    void import();
    void oldestDataFileCells();
    void importAborted();
    void openCanLog_data();
    void openCanLog();
    void exportCsv_data();
    void exportCsv();
    void exportCsvAbsoluteTime();
    void messages_data();
    void messages();
    void dialogs();
    void settingsAtStart_data();
    void settingsAtStart();
    void optionsDialog();
};

void TestFileIo::initTestCase()
{
    GuiSupport::prepare();
    // Five and a half hours ahead of UTC, so that local and UTC times differ
    // by more than whole hours.
    qputenv("TZ", "IST-5:30");
    tzset();
    // A settings directory of this process's own, gone before each test.
    QCoreApplication::setOrganizationName(QString("tst_fileio-%1").arg(QCoreApplication::applicationPid()));
}

void TestFileIo::init()
{
    QDir(QFileInfo(QFileInfo(settingsFile()).path()).path()).removeRecursively();
}

// A data file and a project written from one window, read apart from the
// window, then each opened from the command line into a window of its own.
void TestFileIo::roundTrips()
{
    const auto source = makeWindow();
    addRow(*source, "name=Speed id=0x100 datatype=2 style=1");
    addRow(*source,
           "name=Level net=2 baud=14 btr01=1c id=0x18FEF100 Id29Bit=1 pos=2 datatype=1 mask=0x0F intmot=1 "
           "axis=1 enable=0 style=2");
    addRow(*source, "name=Gear id=0x18FEF100 Id29Bit=1 unit=km/h");
    source->tableConfig()->setSignalText(2, "24|9@0- m3 0|8@1");
    const QString names = "0:Park;2:Drive\\;fast;3:a\\:b\\\\";
    source->tableConfig()->setValueTableCell(2, names);
    for (int row = 0; row < 3; ++row)
        setPoints(*source->curves()[row], {3, 2, 1, 0.0 + row, 10.0 + row, 20.0 + row});
    *source->axisSettings()[1] = {-1.5, 3.25, 0.25, true, true};
    source->setTimeOrigin(3600.25);
    source->setRunTime(42.5);
    const QString data = TestSupport::temporaryPath("round.vtldat");
    const QString project = TestSupport::temporaryPath("roundvtlprj"); // a name without dot
    source->writeDataFile(data);
    source->writeProjectFile(project);

    // The Net entry by its position and its text, BTR as a negative "baud",
    // Pos by its text. Plain rows have the attributes they always had; a
    // row described bit by bit has two more.
    QFile projectFile(project);
    const ProjectReadResult read = readProjectDocument(&projectFile);
    QCOMPARE(read.elements.size(), 5);
    QStringList level;
    for (const char* key : {"net", "netstr", "baud", "btr01", "pos", "Id29Bit", "enable", "style", "name_21"})
        level << read.elements[1].graph.attributes.value(key, "none");
    QCOMPARE(level.join(' '), QStringLiteral("2 3: C -2147483620 none 3 1 0 2 1c"));
    for (int row = 0; row < 2; ++row)
        QCOMPARE(read.elements[row].graph.attributes.size(), 24);
    const QMap<QString, QString>& gear = read.elements[2].graph.attributes;
    QCOMPARE(gear.size(), 26);
    QCOMPARE(gear.value("signal") + ' ' + gear.value("valuetable"), "24|9@0- m3 0|8@1 " + names);

    // The project behind a name in capitals.
    const auto p = makeWindow();
    p->openCommandLineFile({"vistrel", "A.VTLPRJ", project, "other.vtldat"});
    QCOMPARE(state(*p),
             "rows=Speed,Level,Gear curves=3 prj=roundvtlprj dat= mode= size=5000 axes=-100,100,10,"
             "1,1 -1.5,3.25,0.25,1,1");
    for (int row = 0; row < 3; ++row)
        QCOMPARE(cells(*p, row), cells(*source, row));
    QCOMPARE(p->tableConfig()->valueTable(2), (DbcValueTable{{0, "Park"}, {2, "Drive;fast"}, {3, "a:b\\"}}));
    QCOMPARE(p->curves()[1]->plotItem->yAxis(), int(QwtPlot::yRight));

    // The data file behind another kind of file and before a project: Id and
    // Mask come back in decimal; the net number is taken as a list position,
    // 3 selecting none.
    const auto w = makeWindow();
    const ModalAnswerer noBox(QMessageBox::Ok);
    w->openCommandLineFile({"x.vtlprj", "notes.txt", data, "other.vtlprj"});
    QCOMPARE(noBox.texts(), QStringList());
    QCOMPARE(state(*w), "rows=Speed,Level,Gear curves=3 prj= dat=round.vtldat mode=OFFLINE - DATA size=5000 "
                        "axes=-100,100,10,1,1 -1.5,3.25,0.25,1,1");
    for (int row = 0; row < 3; ++row)
        QCOMPARE(cells(*w, row),
                 cells(*source, row)
                     .replace("net=2", "net=-1")
                     .replace(QRegularExpression("id=0x\\w+"), row ? "id=419361024" : "id=256")
                     .replace("mask=0x0F", "mask=15")
                     .replace("mask=0xFF", "mask=255")
                     .replace("cnt=", "cnt=3"));
    QCOMPARE(pointsOf(*w->curves()[1]), (QVector<double>{3, 2, 1, 1, 11, 21}));
    QCOMPARE(w->plot()->timeScaleEnd(), 42.5);
    QCOMPARE(w->statusBarLabels()->textLabelStartTime->text().right(12), QStringLiteral("01:00:00.250"));
    // Net and Baud are locked; Start stays off.
    QVERIFY(!combo(*w->tableConfig(), 0, TablePlotConfig::ColNet)->isEnabled());
    QVERIFY(!combo(*w->tableConfig(), 0, TablePlotConfig::ColBaud)->isEnabled());
    QVERIFY(!GuiSupport::child<QPushButton>(&*w, "pushButtonStartStop")->isEnabled());
}

void TestFileIo::import()
{
    // Two rows read the same id, signed and scaled or unsigned; the 29-bit
    // row takes the frame with the letter "L" alone. The first and last
    // frames belong to no row.
    const auto w = makeWindow();
    addRow(*w, "name=signed id=0x100 pos=1 datatype=2 scale=0.5 offset=1");
    addRow(*w, "name=unsigned id=256 pos=1 datatype=1 scale=1 offset=0");
    addRow(*w, "name=29-bit id=0x100 Id29Bit=1 datatype=1 scale=1 offset=0");
    // Bits 8 to 15 of the frames whose byte 0 holds 1: one frame of three
    // (one is too short), so one sample.
    addRow(*w, "name=mux id=0x100 scale=1 offset=0");
    w->tableConfig()->setSignalText(3, "8|8@1+ m1 0|8@1");
    ProgramOptions options = w->options();
    options.antialiasing = true;
    w->setOptions(options);
    w->importRecordedData(writeFile(
        "three.txt",
        logLines("1 12:00:00 0 1365 _ 1 1 / 2 12:00:00 125 256 _ 3 0,12,0 / 3 12:00:01 250 256 _ 3 1,ff,ff / "
                 "4 12:00:02 500 256 L 1 9 / 5 12:00:02 500 256 _ 1 aa / 6 12:00:03 0 1365 _ 1 2")));

    QCOMPARE(state(*w), "rows=signed,unsigned,29-bit,mux curves=4 prj= dat=three.txt mode=OFFLINE - IMPORT " +
                            defaultSizeAndAxes);
    // The live point, then the samples newest first, times from the first
    // frame of the log; Integer16 at "Pos" 2 reads 0x0012, 0xFFFF, and 0
    // from a frame too short for it.
    QCOMPARE(pointsOf(*w->curves()[0]), (QVector<double>{3.0, 2.5, 1.25, 0.125, 0, 0, 0.5, 10}));
    QCOMPARE(pointsOf(*w->curves()[1]).mid(4), (QVector<double>{0, 0, 255, 18}));
    QCOMPARE(pointsOf(*w->curves()[2]), (QVector<double>{3.0, 2.5, 9.0, 9.0}));
    QCOMPARE(pointsOf(*w->curves()[3]), (QVector<double>{3.0, 1.25, 255, 255}));
    QCOMPARE(cells(*w, 1).right(5), QStringLiteral("cnt=4"));
    QVERIFY(w->curves()[0]->plotItem->testRenderHint(QwtPlotItem::RenderAntialiased));
    QCOMPARE(w->statusBarLabels()->textLabelStartTime->text().right(12), QStringLiteral("12:00:00.000"));
    QCOMPARE(w->plot()->timeScaleEnd(), 3.0);
}

// The oldest version has no mask, axis or enable: 0xFF, the left axis and
// on. Scale and Offset are "%f" of the stored doubles, the raw range follows
// from them; the stored net number is taken as a list position.
void TestFileIo::oldestDataFileCells()
{
    const auto w = makeWindow();
    const DataCurveRecordV1 record{0, 840 + 32, "#ff0000", "old", 2, 4, 0x100 | TESS_ID_29BIT, 3, 3,
                                   1, 0.5,      -2.0,      "bar", 1, 2};
    const double xy[] = {2.0, 1.0}; // x, and y the same
    w->readDataFile(
        writeFile("old.vtldat", encodeDataHeaderV1({0, 24, 0.0, 2.0}) + encodeDataCurveRecordV1(record) +
                                    QByteArray(reinterpret_cast<const char*>(xy), 16).repeated(2)));
    QCOMPARE(cells(*w, 0),
             "name=old net=2 baud=4 btr01=----- id=256 Id29Bit=1 pos=2 datatype=3 mask=0xFF "
             "intmot=1 axis=0 scale=0.500000 offset=-2.000000 unit=bar calc= raw_value_min=-196 "
             "raw_value_max=204 value_min=-100 value_max=100 en=1 style=1 cnt=2");
    QCOMPARE(pointsOf(*w->curves()[0]), (QVector<double>{2, 1, 2, 1}));
}

// Abort while converting the second row: the first curve keeps what it
// read, the second is empty, the third missing; no message, name or mode.
void TestFileIo::importAborted()
{
    TestSupport::Parts p;
    for (int row = 0; row < 3; ++row)
        p.addRow();
    p.prompt.keepGoing = [](const QString& label, int) { return label != "Convert data from Config(1) ..."; };
    p.documents.importRecordedData(
        writeFile("abort.txt", logLines("1 10:00:00 0 0 _ 1 1 / 2 10:00:01 0 0 _ 1 2")));
    QString shown;
    for (const QSharedPointer<PlotCurve>& curve : p.curves.curves())
        shown +=
            QString("%1,%2 ").arg(curve->pointCount()).arg(curve->xValues[0] == 0 && curve->yValues[1] == 0);
    QCOMPARE(shown, QStringLiteral("3,0 1,1 "));
    QCOMPARE(p.prompt.asked, QStringList());
    QCOMPARE(p.documents.dataFileName(), QString());
}

// A two-channel candump log opened into rows on nets 0 and 1: each row
// takes the frames of its net, id and 29-bit flag that hold its value (a
// frame too short for it is no sample), FD frames of up to 8 bytes as
// classic ones; times count from the first frame. Every curve holds the points 9,8|-1,-1 before, and keeps
// them when the user says No, cancels or aborts, or when the file is no log.
void TestFileIo::openCanLog_data()
{
    QTest::addColumn<QByteArray>("log");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("asked"); // %1: the path
    QTest::addColumn<QString>("points");    // per row: x then y, live point first

    const QByteArray log = "(1600000000.000000) can0 100#0102\n"
                           "(1600000000.250000) can1 100#0304\n"
                           "(1600000000.500000) can0 00000100#0506\n"
                           "(1600000000.750000) can0 100##1000102030405060708090A0B\n"
                           "(1600000001.000000) can1 100#R\n"
                           "(1600000001.250000) can1 100##0070809\n"
                           "(1600000001.400000) can0 100#01\n"
                           "(1600000001.500000) can0 100#0A0B\n";
    const QString replace = "? The curves hold points. Replace them with the frames of the log?";
    const QString channels = "channels can0,can1 of 0: A,1: B proposed 0,1";
    QTest::newRow("proposed nets") << log << "" << QStringList{replace, channels}
                                   << "1.5 1.5 0 2826 2826 513 / 1.5 1.25 0.25 7 7 3 / 1.5 0.5 6 6";
    QTest::newRow("both channels on net 0")
        << log << "channels 0,0" << QStringList{replace, channels}
        << "1.5 1.5 1.25 0.25 0 2826 2826 2055 1027 513 / 1.5 0 / 1.5 0.5 6 6";
    QTest::newRow("channels cancelled")
        << log << "channels cancelled" << QStringList{replace, channels} << unchangedPoints;
    QTest::newRow("No to replacing") << log << "no" << QStringList{replace} << unchangedPoints;
    QTest::newRow("abort reading") << log << "abort Read file ..." << QStringList{replace, channels}
                                   << unchangedPoints;
    QTest::newRow("abort converting")
        << log << "abort Convert data ..." << QStringList{replace, channels} << unchangedPoints;
    // Cut behind the first look at the log, which frames of no row fill; a
    // channel that comes after the look has no net.
    QByteArray cut = log.left(log.indexOf("(1600000001.0") + 5);
    cut.insert(log.indexOf("(1600000001.0"), QByteArray("(1600000000.750000) can0 7FF#\n").repeated(70000) +
                                                 "(1600000000.750000) can2 100#01\n");
    QTest::newRow("cut inside a time")
        << cut << "channels 0,1"
        << QStringList{replace, channels,
                       "! %1, line 70006: unreadable time; expected a line such as (1436509052.249713) can0 "
                       "123#DEADBEEF\n70,005 frames before it were loaded\n"
                       "Channel can2 appeared after the channels were chosen; frames left out: 1"}
        << "0.75 0 513 513 / 0.75 0.25 3 3 / 0.75 0.5 6 6";
    QTest::newRow("no log") << QByteArray("hello\n") << ""
                            << QStringList{"! %1, line 1: not a candump, ASC, TRC or BLF log"}
                            << unchangedPoints;
}

void TestFileIo::openCanLog()
{
    QFETCH(QByteArray, log);
    QFETCH(QString, script);
    QFETCH(QStringList, asked);
    QFETCH(QString, points);

    TestSupport::useDriverConfig("net 0 virtual name=A\nnet 1 virtual name=B\n");
    TestSupport::Parts p(true);
    for (const QString row : {"0 0x100 0 2 1", "1 256 0 1 1", "0 0x100 1 1 2"}) { // net id 29-bit type pos
        const QStringList cell = row.split(' ');
        const int r = addRow(p, cell[1], cell[3].toInt());
        p.config.setNetIndex(r, cell[0].toInt());
        p.config.set29Bit(r, cell[2] == "1");
        p.config.setPosition(r, cell[4]);
        remakeCurve(p, r, {9, 8, -1, -1});
    }
    if (script == "no")
        p.prompt.answers = {false};
    else if (script == "channels cancelled")
        p.prompt.channelAnswer.emplace();
    else if (script.startsWith("channels "))
        p.prompt.channelAnswer = std::vector<int>{script.at(9).digitValue(), script.at(11).digitValue()};
    else if (script.startsWith("abort "))
        p.prompt.keepGoing = [&script](const QString& label, int) { return label != script.mid(6); };
    const double origin = p.run.timeOrigin();
    QSignalSpy modes(&p.documents, &DocumentController::signalOperatingMode);
    const QString path = writeFile("two.log", log);
    p.documents.openCanLog(path);

    QCOMPARE(p.prompt.asked, asked.replaceInStrings("%1", path));
    const bool loaded = points != unchangedPoints;
    QStringList shown;
    for (int row = 0; row < 3; ++row) {
        QStringList numbers;
        for (const double v : pointsOf(*p.curves.at(row)))
            numbers << QString::number(v);
        shown << numbers.join(' ');
        if (loaded)
            QCOMPARE(p.description.text(row, TablePlotDescription::ColCount),
                     QString::number(numbers.size() / 2));
    }
    QCOMPARE(shown.join(" / "), points);
    // The time origin is the first frame's time of day (and day of the
    // year), the run time its last; a damaged log's message stays as the
    // tooltip of its name.
    QCOMPARE(p.run.timeOrigin(),
             loaded ? 257 * 86400 + 17 * 3600 + 56 * 60 + 40 : origin); // Sep 13, 17:56:40
    QCOMPARE(p.timeBase.runTime(), loaded ? p.curves.at(0)->xValues[0] : 0.0);
    QCOMPARE(p.documents.dataFileName(), loaded ? path : QString());
    QCOMPARE(p.documents.dataFileDamage(),
             loaded && asked.last().startsWith("! ") ? asked.last().mid(2) : "");
    QCOMPARE(modes.count() == 1 && modes[0][0] == ModeImport, loaded);
}

// Three curves at times of their own: an Unsigned16 scaled by 0.1 whose
// name needs quoting; an Integer8 scaled by -0.1 from 40, whose raw values
// come back whole; a hidden Real32 of scale 0, whose raw value is unknown.
// Equal times keep the order of the rows. What the user typed gets ".csv"
// unless it ends so, case-sensitively. No file stays after an abort, a
// cancel or a failed write.
void TestFileIo::exportCsv_data()
{
    QTest::addColumn<QString>("script"); // choices, "abort", "cancel"
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("asked"); // %1: the file's path
    QTest::addColumn<QByteArray>("csv");    // null: no file

    const QStringList asked{"csv, absolute time unknown", "file Export CSV"};
    const auto add = [](const char* name, const char* script, const char* typed, const char* file,
                        const QStringList& asked, const QByteArray& csv) {
        QTest::newRow(name) << script << typed << file << asked << csv;
    };
    add("long", "long", "out", "out.csv", asked,
        "time_s,name,value,raw,unit\n0.25,Temp,39.3,7,\u00b0C\n"
        "0.5,\"Speed, \"\"front\"\"\",0.30000000000000004,3,km/h\n1,\"Speed, \"\"front\"\"\",0.1,1,km/h\n"
        "1,Temp,40.3,-3,\u00b0C\n1.5,\"Speed, \"\"front\"\"\",1.2000000000000002,12,km/h\n1.5,Off,2,,\n"
        "1.75,Temp,40,0,\u00b0C\n");
    add("wide, filled, visible only", "wide fill visible", "f.CSV", "f.CSV.csv", asked,
        "time_s,\"Speed, \"\"front\"\"\",Temp\n0.25,,39.3\n0.5,0.30000000000000004,39.3\n1,0.1,40.3\n"
        "1.5,1.2000000000000002,40.3\n1.75,1.2000000000000002,40\n");
    add("aborted", "long abort", "a", "a.csv", asked, QByteArray());
    add("cancelled", "cancel", "c", "c.csv", {asked.first()}, QByteArray());
    add("cannot write", "long", "no/d", "no/d.csv", QStringList(asked) << "! Cannot write file %1",
        QByteArray());
}

void TestFileIo::exportCsv()
{
    QFETCH(QString, script);
    QFETCH(QString, typed);
    QFETCH(QString, file);
    QFETCH(QStringList, asked);
    QFETCH(QByteArray, csv);

    TestSupport::Parts p;
    const struct
    {
        const char *name, *unit;
        int type;
        double scale, offset;
        QVector<double> times, raws; // oldest first
    } rows[] = {{"Speed, \"front\"", "km/h", 3, 0.1, 0, {0.5, 1, 1.5}, {3, 1, 12}},
                {"Temp", "\u00b0C", 0, -0.1, 40, {0.25, 1, 1.75}, {7, -3, 0}},
                {"Off", "", 6, 0, 2, {1.5}, {0}}};
    for (const auto& row : rows) {
        const int r = addRow(p, "0x100", row.type, row.scale, row.offset);
        p.config.setCurveName(r, QString::fromUtf8(row.name));
        p.config.setUnitText(r, QString::fromUtf8(row.unit));
        // The live point, then the samples newest first.
        QVector<double> x{0}, y{0};
        for (int i = row.times.size() - 1; i >= 0; --i)
            x << row.times[i], y << row.raws[i] * row.scale + row.offset;
        remakeCurve(p, r, x + y);
    }
    p.description.setCurveEnabled(2, false);

    CsvExportChoice choice{script.contains("wide") ? CsvLayout::Wide : CsvLayout::Long,
                           script.contains("fill"), false, script.contains("visible")};
    p.prompt.csvChoice = script == "cancel" ? std::nullopt : std::optional<CsvExportChoice>(choice);
    p.prompt.fileName = TestSupport::temporaryPath(typed);
    if (script.contains("abort"))
        p.prompt.keepGoing = [](const QString& label, int step) {
            return label != "Write file ..." || step < 3;
        };
    p.documents.dataExportCsv();

    const QString path = TestSupport::temporaryPath(file);
    QCOMPARE(p.prompt.asked, asked.replaceInStrings("%1", path));
    QCOMPARE(QFile::exists(path), !csv.isNull());
    QCOMPARE(readAll(path), csv);
}

// The absolute time where the date of the record is known: a candump log's
// time from the epoch, the start that an ASC log's header gives, as local
// time, and a run's start.
void TestFileIo::exportCsvAbsoluteTime()
{
    TestSupport::useDriverConfig("net 0 virtual name=A\n");
    TestSupport::Parts p(true);
    addRow(p, "0x100", 1);
    p.prompt.csvChoice = CsvExportChoice{CsvLayout::Long, false, true, false};
    p.prompt.fileName = TestSupport::temporaryPath("abs.csv");
    const auto exported = [&](const QString& id, const QString& log) {
        p.config.setIdText(0, id);
        if (!log.isEmpty())
            p.documents.openCanLog(log);
        p.documents.dataExportCsv();
        return QString(readAll(p.prompt.fileName)).mid(36);
    };
    QCOMPARE(
        exported("0x100", writeFile("abs.log", "(1600000000.250000) can0 100#05\n"
                                               "(1600000001.000001) can0 100#07\n")),
        "0,2020-09-13T12:26:40.250000Z,NewName,5,5,\n0.750001,2020-09-13T12:26:41.000001Z,NewName,7,7,\n");
    QCOMPARE(exported("1185", VISTREL_TEST_DATA_DIR "/canlogs/vector-dec.asc"),
             "0.01316,2022-02-21T08:24:10.020895Z,NewName,184,184,\n");
    // On the window's clock, the header's time of day as written at the first frame.
    QCOMPARE(p.run.timeOrigin(), 52 * 86400 + 13 * 3600 + 54 * 60 + 10 + 0.007735); // Mon Feb 21 01:54:10 PM
    // A sample at the start of a run: in UTC, within the second that Start took.
    p.run.slotStartStop();
    const QDateTime start = QDateTime::currentDateTimeUtc();
    p.run.slotStartStop();
    PlotCurve& curve = *p.curves.at(0);
    setPoints(curve, {curve.xValues[0], 0, curve.yValues[0], curve.yValues[1]});
    const QString utc = exported("0x100", QString()).section(',', 1, 1);
    const QDateTime at = QDateTime::fromString(utc.chopped(4), "yyyy-MM-ddTHH:mm:ss.zzz");
    QVERIFY2(utc.endsWith('Z') && qAbs(QDateTime(at.date(), at.time(), Qt::UTC).msecsTo(start)) < 1000,
             qPrintable(utc));
}

// Questions and messages, answered in turn, and what stays after them. The
// window starts with two rows and "kept.vtlprj".
void TestFileIo::messages_data()
{
    QTest::addColumn<QString>("action");     // and the file name
    QTest::addColumn<QByteArray>("content"); // null: no such file
    QTest::addColumn<Buttons>("answers");
    QTest::addColumn<QStringList>("texts"); // %1: the path
    QTest::addColumn<QString>("state");

    const QString kept = "rows=a,b curves=2 prj=kept.vtlprj dat= mode= " + defaultSizeAndAxes;
    const QString none = "rows=a,b curves=0 prj=kept.vtlprj dat= mode= " + defaultSizeAndAxes;
    const QString loaded =
        "rows=big curves=1 prj= dat=d.vtldat mode=OFFLINE - DATA size=%1 axes=0,0,0,0,0 0,0,0,0,0";
    const QString config = "There is already a configuration!\nContinue?";
    const QString reset = "Do you really want to delete the actual configuration and data?\nContinue?";
    const QString size = "Plot size (%1) in the datafile is bigger than actual plot size (5000)!\n"
                         "Should the plot size be increased?";
    const Buttons yes{QMessageBox::Yes, QMessageBox::Yes, QMessageBox::Yes};
    const QByteArray size7 = bigDataFile(8000).replace(4, 1, "\7");
    const QByteArray frame = logLines("1 10:00:00 0 1 _ 1 1");
    const auto add = [&yes](const char* name, const char* action, const QByteArray& content,
                            const QStringList& texts, const QString& state, const Buttons& answers = {}) {
        QTest::newRow(name) << action << content << (answers.isEmpty() ? yes : answers) << texts << state;
    };
    add("data: No to the configuration", "readData d.vtldat", bigDataFile(8000), {config}, kept,
        {QMessageBox::No});
    add("data: No to the plot size", "readData d.vtldat", bigDataFile(8000), {config, reset, size.arg(8000)},
        loaded.arg(5000), {QMessageBox::Yes, QMessageBox::Yes, QMessageBox::No});
    add("data: Yes to a plot size beyond the memory", "readData d.vtldat", bigDataFile(4000000000u),
        {config, reset, size.arg(4000000000u),
         "Not enough memory for a plot size of 4000000000 points (256000 MB for each curve).\n"
         "The plot size stays 5000."},
        loaded.arg(5000));
    add("data: plot size not bigger", "readData d.vtldat", bigDataFile(5000), {config, reset},
        loaded.arg(5000));
    // The oldest version asks for each record, with its point count.
    add("data: oldest, Yes", "readData d.vtldat", bigDataFile(0), {config, reset, size.arg(6000)},
        loaded.arg(6000).replace("0,0,0,0,0 0,0,0,0,0", "-100,100,10,1,1 0,100,10,0,0"));
    // Loaded as far as the file goes, then told, the report staying as the
    // tooltip of the name.
    add("data: cut in the y array", "readData d.vtldat", bigDataFile(5000).left(96 + 1096 + 48000 + 100),
        {config, reset,
         "The data file %1 is damaged; what it holds was loaded:\nCurve 1: 12 of 6,000 points; file ends "
         "early"},
        loaded.arg(5000));
    add("data: cannot be read", "readData absent.vtldat", QByteArray(), {"Cannot read file %1"}, kept);
    add("data: header size 7", "readData d.vtldat", size7,
        {"Wrong file %1 - header of the file has invalid size (7)!"}, kept);
    add("data: empty, %d in the name", "readData %d.vtldat", "", {"Wrong file %1 - Wrong header type (-1)!"},
        kept);
    add("data: write fails", "writeData no/d.vtldat", QByteArray(), {"Cannot write file %1"},
        QString(kept).replace("dat=", "dat=d.vtldat"));
    // The reset of a project read comes first and stands.
    add("project: does not parse", "readProject p.vtlprj", "<Vistrel>", {reset, "Cannot parse xml-file %1"},
        "rows= curves=0 prj= dat= mode= " + defaultSizeAndAxes);
    // A curve element without attributes, an axis value and four of a curve's
    // that can't be taken as they stand; at most five lines are listed.
    add("project: broken elements", "readProject p.vtlprj",
        R"(<Vistrel><Graph0 name="a" id="0x20000000" datatype="x" pos="9" axis="3" unit="u"/>)"
        R"(<Graph1/><CustomAxis Min="low" Max="5" Step="1" Show="1" Grid="1"/></Vistrel>)",
        {reset, "The project file %1 was repaired on reading; what it holds was loaded:\n"
                "Graph1: no attributes; skipped\nCustomAxis: \"Min\" is \"low\", read as 0\n"
                "Curve 1: \"id\" is \"0x20000000\", read as \"0\"\nCurve 1: \"pos\" is \"9\", read as \"\"\n"
                "Curve 1: \"datatype\" is \"x\", read as \"0\"\nand 1 more"},
        "rows=a curves=1 prj=p.vtlprj dat= mode= size=5000 axes=0,5,1,1,1 0,100,10,0,0");
    add("project: write fails", "writeProject no/p.vtlprj", QByteArray(), {"Cannot write file %1"},
        QString(kept).replace("kept", "p"));
    // A failed import has taken the curves when it got as far as reading.
    add("import: capital extension", "import log.TXT", frame, {"Unknown file type %1"}, kept);
    add("import: heading only", "import log.txt", frame.left(frame.indexOf("1\tRx")),
        {"Cannot find CAN-data in file %1 (Unknown format)"}, none);
}

void TestFileIo::messages()
{
    QFETCH(QString, action);
    QFETCH(QByteArray, content);
    QFETCH(Buttons, answers);
    QFETCH(QStringList, texts);
    QFETCH(QString, state);

    const auto w = makeWindow();
    addRow(*w, "name=a");
    addRow(*w, "name=b");
    w->setProjectFileName("kept.vtlprj");
    const QString name = action.section(' ', 1);
    const QString path = content.isNull() ? TestSupport::temporaryPath(name) : writeFile(name, content);
    QStringList kinds;
    const ModalAnswerer boxes(
        [&](QWidget* widget) {
            // A question has Yes as its default and No as its escape button.
            // The progress of an import may be seen on its way.
            auto* box = qobject_cast<QMessageBox*>(widget);
            if (!box)
                return;
            const bool question = box->defaultButton() == box->button(QMessageBox::Yes) &&
                                  box->escapeButton() == box->button(QMessageBox::No);
            kinds << (question                                    ? "Warning!"
                      : box->standardButtons() == QMessageBox::Ok ? "Critical Error"
                                                                  : "?");
            box->button(question ? QMessageBox::StandardButton(answers.takeFirst()) : QMessageBox::Ok)
                ->click();
        },
        6);
    const QMap<QString, void (VistrelMainWindow::*)(const QString&)> actions{
        {"readData", &VistrelMainWindow::readDataFile},
        {"writeData", &VistrelMainWindow::writeDataFile},
        {"readProject", &VistrelMainWindow::readProjectFile},
        {"writeProject", &VistrelMainWindow::writeProjectFile},
        {"import", &VistrelMainWindow::importRecordedData}};
    (w.get()->*actions[action.section(' ', 0, 0)])(path);
    QCOMPARE(boxes.texts(), texts.replaceInStrings("%1", path));
    QCOMPARE(boxes.titles(), kinds);
    for (int i = 0; i < kinds.size(); ++i)
        QCOMPARE(kinds[i], texts[i].endsWith('?') ? "Warning!" : "Critical Error");
    QCOMPARE(::state(*w), state);
    const QString report = texts.isEmpty() || !texts.last().contains("was loaded:") ? "" : texts.last();
    QLabel* label = action.startsWith("readProject") ? w->statusBarLabels()->textLabelProjectFile
                                                     : w->statusBarLabels()->textLabelDataFile;
    QCOMPARE(label->toolTip(), report.isEmpty() ? label->text() : report);
}

// The file dialogs, one after the other in one window: title and filter,
// the extension appended (compared case-sensitively), nothing done when
// cancelled. Each name typed without its extension exists too, as no file
// of its kind: the name is set only once the file with it has been read.
void TestFileIo::dialogs()
{
    QTemporaryDir directory;
    for (const auto& [file, bytes] : {std::pair<QString, QByteArray>{"p", "x"},
                                      {"d", "x"},
                                      {"log", "x"},
                                      {"p.vtlprj", "<Vistrel/>"},
                                      {"d.vtldat", bigDataFile(100)},
                                      {"log.vbrlog", QByteArray(22, 0) + '\1' + QByteArray(15, 0)},
                                      {"log.txt", logLines("1 10:00:00 0 1 _ 1 1")},
                                      {"two.log", "(1.0) can0 1#01\n(2.0) can1 1#02\n"}})
        QVERIFY(!writeFile(directory.filePath(file), bytes).isEmpty());
    const auto w = makeWindow();
    addRow(*w, "name=r id=1");
    // A sample, which the export needs.
    w->curves()[0]->plotItem->setRawSamples(w->curves()[0]->xValues.get(), w->curves()[0]->yValues.get(), 2);
    w->updateActions();
    // Each cancelled, then given the name typed: what the dialog showed and
    // the project or data file's name afterwards. An export leaves the data
    // file's name alone.
    // clang-format off
    const struct { const char *slot, *typed, *seen, *name; } steps[] = {
        {"dataExportCsv", "e",          "Export CSV|CSV files (*.csv)",    "e.csv"},
        {"dataSaveAs",    "s.vtldat",   "Save Data as|*.vtldat",           "s.vtldat"},
        {"projectSaveAs", "s.VTLPRJ",   "Save Project as|*.vtlprj",        "s.VTLPRJ.vtlprj"},
        {"projectOpen",   "p",          "Open Project|*.vtlprj",           "p.vtlprj"},
        {"dataLoad",      "d",          "Load Data|*.vtldat",              "d.vtldat"},
        {"dataImport",    "log",        "Import Data|( *.vbrlog *.txt )",  "log.txt"},
        {"dataImport",    "log.vbrlog", "Import Data|( *.vbrlog *.txt )",  "log.vbrlog"},
        {"dataOpenLog",   "two.log",    "Open CAN Log|CAN logs (*.log *.asc *.trc *.blf);All files (*)", "two.log"}};
    // clang-format on
    for (const auto& step : steps) {
        const QString slot = step.slot, written = directory.filePath(step.name);
        const auto current = [&] {
            return slot.startsWith("project") ? w->currentProjectFileName() : w->currentDataFileName();
        };
        for (const QString typed : {"", step.typed}) {
            const QString before = current();
            QStringList got;
            const ModalAnswerer answer(
                [&](QWidget* widget) {
                    if (auto* dialog = qobject_cast<QFileDialog*>(widget))
                        TestSupport::answerFileDialog(
                            dialog, 0, typed.isEmpty() ? typed : directory.filePath(typed), &got);
                    else if (auto* box = qobject_cast<QMessageBox*>(widget))
                        box->button(QMessageBox::Yes)->click();
                    else if (auto* channels = qobject_cast<MDialogChannelNets*>(widget))
                        channels->accept();
                    else if (auto* csv = qobject_cast<MDialogExportCsv*>(widget))
                        csv->accept();
                },
                5);
            // By the action where its name follows the slot's, so that it must be enabled.
            if (auto* action = w->findChild<QAction*>(slot + "Action"))
                action->trigger();
            else
                QVERIFY(QMetaObject::invokeMethod(w.get(), step.slot));
            const bool exported = slot.endsWith("Csv");
            QCOMPARE(slot + ' ' + typed + ' ' + got.mid(0, 2).join('|') + ' ' + current(),
                     slot + ' ' + typed + ' ' + step.seen + ' ' +
                         (typed.isEmpty() || exported ? before : written));
            if (slot.endsWith("SaveAs") || exported)
                QCOMPARE(QFileInfo(written).size() > 0, !typed.isEmpty());
        }
    }
}

// What stands in place of the settings file at start, what the window then
// holds, and what Apply takes from the dialog that shows it: the nearest
// limit of each box.
void TestFileIo::settingsAtStart_data()
{
    QTest::addColumn<QByteArray>("content"); // null: nothing; "link", "blocker"
    QTest::addColumn<QString>("held");
    QTest::addColumn<QString>("applied");
    QTest::addColumn<QString>("messages");

    const QString defaults = describe(Settings::defaults());
    const QString path = settingsFile();
    QTest::newRow("first start writes the defaults") << QByteArray() << defaults << defaults << "";
    // Any root; colour names, a colour not named keeping the default;
    // decimal numbers unchecked; any number but 0 switching on.
    QTest::newRow("hand-written")
        << QByteArray(R"(<Other BackgroundColor="red" GridColor="#123" Marker1Color="x" PlotSize="2000000" )"
                      R"(RefreshTime="010" LineWidth="0" ContinousScoll="2" Antialiasing="yes"/>)")
        << "#ff0000 #112233 #0000ff #0000ff size=2000000 refresh=10 width=0 scroll=1 antialiasing=0"
        << "#ff0000 #112233 #0000ff #0000ff size=100000 refresh=50 width=1 scroll=1 antialiasing=0"
        << "";
    // 256 GB a curve: said, and the default kept.
    QTest::newRow("plot size beyond the memory")
        << QByteArray(
               R"(<Vistrel PlotSize="4000000000" RefreshTime="250" LineWidth="1" ContinousScoll="1"/>)")
        << defaults << defaults
        << "Not enough memory for a plot size of 4000000000 points (256000 MB for each curve).\n"
           "The plot size stays 5000.";
    QTest::newRow("not XML") << QByteArray("PlotSize=7") << defaults << defaults
                             << "Cannot parse xml-file " + path;
    // A link to nowhere: no file, and none can be written or read.
    QTest::newRow("dangling link") << QByteArray("link") << defaults << defaults
                                   << "Cannot write file " + path + "|Cannot read file " + path;
    QTest::newRow("a file in place of the directory") << QByteArray("blocker") << defaults << defaults
                                                      << "Cannot create directory " + QFileInfo(path).path();
}

void TestFileIo::settingsAtStart()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, held);
    QFETCH(QString, applied);
    QFETCH(QString, messages);

    const QString dir = QFileInfo(settingsFile()).path();
    if (content == "link")
        QVERIFY(QDir().mkpath(dir) && QFile::link(dir + "/missing/target.xml", settingsFile()));
    else if (content == "blocker")
        QVERIFY(QDir().mkpath(QFileInfo(dir).path()) && QFile(dir).open(QIODevice::WriteOnly));
    else if (!content.isNull())
        QVERIFY(!writeFile(settingsFile(), content).isEmpty());
    QStringList texts;
    int critical = 0;
    const auto window = [&] {
        const ModalAnswerer boxes(QMessageBox::Ok, 5);
        auto made = std::make_unique<VistrelMainWindow>();
        texts = boxes.texts();
        critical = boxes.titles().count("Critical Error");
        return made;
    }();
    QCOMPARE(texts.join('|'), messages);
    QCOMPARE(critical, texts.size());
    QCOMPARE(inForce(*window), held);
    if (content.isNull())
        QCOMPARE(inFile(),
                 "#ffffff #808080 #0000ff #0000ff size=5000 refresh=250 width=1 scroll=1 antialiasing=0");
    runOptions(*window, [](MFormConfig& d) { d.buttonApply->click(); });
    QCOMPARE(inForce(*window), applied);
}

// Starting from the custom settings and a curve: a colour picked, the
// defaults of two tabs, Apply; an unapplied change dropped by Cancel; the
// colour defaults and OK.
void TestFileIo::optionsDialog()
{
    QVERIFY(!writeFile(settingsFile(),
                       R"(<Vistrel BackgroundColor="#102030" GridColor="#405060" )"
                       R"(Marker1Color="#708090" Marker2Color="#a0b0c0" PlotSize="20000" )"
                       R"(RefreshTime="500" LineWidth="3" ContinousScoll="0" Antialiasing="1"/>)")
                 .isEmpty());
    VistrelMainWindow w;
    w.projectAddCurve();
    QStringList seen;
    runOptions(w, [&](MFormConfig& d) {
        // Picked by any mouse button, then opened again at the picked colour
        // and cancelled.
        for (const Qt::MouseButton button : {Qt::RightButton, Qt::LeftButton}) {
            const ModalAnswerer answer([&](QWidget* widget) {
                auto* colours = qobject_cast<QColorDialog*>(widget);
                seen << colours->windowTitle() + ' ' + colours->currentColor().name();
                colours->setCurrentColor(button == Qt::RightButton ? QColor(0x129abc) : QColor(Qt::black));
                button == Qt::RightButton ? colours->accept() : colours->reject();
            });
            QTest::mouseClick(d.colorMarker2, button);
        }
        seen << inForce(w);
        d.pushButtonDefaultBuffers->click();
        d.pushButtonDefaultCurves->click();
        d.buttonApply->click();
        d.spinBoxRefreshTime->setValue(4000);
    });
    QCOMPARE(seen, (QStringList{"Select Marker 2 Color #a0b0c0", "Select Marker 2 Color #129abc", custom}));
    QCOMPARE(inForce(w),
             "#102030 #405060 #708090 #129abc size=5000 refresh=250 width=1 scroll=1 antialiasing=0");
    QCOMPARE(inFile(), custom);
    QCOMPARE(w.curves()[0]->plotItem->pen().width(), 1);
    QVERIFY(!w.curves()[0]->plotItem->testRenderHint(QwtPlotItem::RenderAntialiased));
    // Opened again, it shows what is in force, not the refresh time cancelled.
    runOptions(w, [](MFormConfig& d) {
        d.pushButtonDefaultColors->click();
        d.buttonOk->click();
    });
    QCOMPARE(inForce(w), describe(Settings::defaults()));
    QCOMPARE(inFile(), describe(Settings::defaults()));
}

QTEST_MAIN(TestFileIo)
#include "tst_fileio.moc"
