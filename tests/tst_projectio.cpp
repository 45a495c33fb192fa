#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_scale_div.h>

#include <QDomDocument>
#include <QFileDialog>
#include <QLineEdit>
#include <QtTest>

#include <memory>

using TestSupport::ModalAnswerer;

namespace {

// Net list of the test: entry 0 is net 0, entry 1 is net 3.
const QString twoNets = QStringLiteral("net 0 virtual name=ALPHA_CAN\nnet 3 virtual name=BETA\n");

// One row as the test configures it by hand.
struct RowSetup
{
    const char* color;
    const char* name;
    int netIndex;
    int baud; // baud code; negative for "BTR01"
    const char* id;
    bool bit29;
    int pos;
    int dataType;
    const char* mask;
    int byteOrder;
    int axis;
    const char* scale; // hand-made, not what the data type would give
    const char* offset;
    const char* unit;
    const char* ranges[4];
    bool enabled;
    int style;
};

// Every data type, both nets, BTR codes, both id forms, 29-bit, Motorola,
// both axes, every style and "En" off.
// clang-format off
const RowSetup rowSetups[] = {
    {"#ff0000", "Speed", 0, 2, "0x123", false, 1, 0, "0x0F", 0, 0, "0.5", "-3", "km/h",
     {"-128", "127", "-67", "60.5"}, true, 0},
    {"#00ff00", "Rpm", 1, int(0x8000001Cu), "291", false, 2, 1, "255", 1, 1, "2", "10", "1/min",
     {"0", "255", "10", "520"}, false, 1},
    {"#0000ff", "Temp", 0, 13, "0x1FFFFFFF", true, 3, 2, "0xFF", 1, 0, "0.01", "-40", "degC",
     {"-32768", "32767", "-367.68", "287.67"}, true, 2},
    {"#123456", "Volt", 1, 0, "0x7FE", false, 4, 3, "0", 0, 1, "0.001", "0", "V",
     {"0", "65535", "0", "65.535"}, true, 1},
    {"#abcdef", "Current", 0, 7, "1000", true, 5, 4, "15", 1, 0, "1e-06", "-0.5", "A",
     {"-2147483648", "2147483647", "-2148", "2147"}, false, 0},
    {"#fedcba", "Power", 1, 10, "0x10", false, 5, 5, "0x01", 0, 1, "3.5", "7.25", "kW",
     {"0", "4294967295", "7.25", "15032385539.75"}, true, 2},
    {"#010203", "Ratio", 0, int(0x8000FFFFu), "7", false, 5, 6, "0xFF", 1, 0, "100", "0", "%",
     {"0", "1", "0", "100"}, true, 1},
    {"#a0b0c0", "Exact", 1, 5, "0", true, 1, 7, "0xFF", 0, 1, "1", "0", "",
     {"0", "1", "0", "1"}, false, 2},
};
// clang-format on
constexpr int rowCount = int(std::size(rowSetups));

const ValueAxisSettings leftSetup{-50.0, 250.0, 25.0, true, false};
const ValueAxisSettings rightSetup{-1.5, 3.25, 0.25, true, true};

QString axisText(const ValueAxisSettings& axis)
{
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(axis.min)
        .arg(axis.max)
        .arg(axis.step)
        .arg(int(axis.visible))
        .arg(int(axis.grid));
}

QStringList axesOf(const VistrelMainWindow& w)
{
    return {axisText(*w.axisSettings[0]), axisText(*w.axisSettings[1])};
}

const QStringList defaultAxes{"-100,100,10,1,1", "0,100,10,0,0"};

// Every cell of both tables, one line a cell, with combo box indices.
QStringList cells(VistrelMainWindow& w)
{
    TablePlotConfig* config = w.tableConfig;
    TablePlotDescription* description = w.tableDescription;
    QStringList lines;
    lines << QStringLiteral("rows %1 %2").arg(config->rowCount()).arg(description->rowCount());
    lines << QStringLiteral("BTR/hex hidden %1").arg(config->isColumnHidden(TablePlotConfig::ColBtr));
    for (int row = 0; row < config->rowCount(); ++row) {
        for (int col = 0; col < TablePlotConfig::ColumnCount; ++col) {
            QString value;
            if (col == TablePlotConfig::ColColor)
                value = config->curveColor(row);
            else if (col == TablePlotConfig::Col29Bit)
                value = QString::number(config->is29Bit(row));
            else
                value = config->cellText(row, col);
            if (config->item(row, col) && config->item(row, col)->type() == QComboTableSupportItem::Type)
                value += QStringLiteral(" [%1]").arg(config->comboSave(row, col)->comboBox->currentIndex());
            lines << QStringLiteral("config %1/%2 %3").arg(row).arg(col).arg(value);
        }
        lines << QStringLiteral("description %1: %2 %3 En=%4 %5 style=%6 %7")
                     .arg(row)
                     .arg(description->curveColor(row), description->text(row, TablePlotDescription::ColName))
                     .arg(description->curveEnabled(row))
                     .arg(description->text(row, TablePlotDescription::ColUnit))
                     .arg(description->curveStyle(row))
                     .arg(description->text(row, TablePlotDescription::ColCurrentValue));
    }
    return lines;
}

// The names of the rows, after checking that both tables and the curves
// agree on them.
QStringList names(VistrelMainWindow& w)
{
    const int rows = w.tableConfig->rowCount();
    if (w.tableDescription->rowCount() != rows || w.curves.size() != rows ||
        w.plot->itemList(QwtPlotItem::Rtti_PlotCurve).size() != rows)
        return {QStringLiteral("counts differ")};
    QStringList result;
    for (int row = 0; row < rows; ++row) {
        const QString name = w.tableConfig->curveName(row);
        if (w.tableDescription->text(row, TablePlotDescription::ColName) != name ||
            w.curves[row]->plotItem->title().text() != name)
            result << QStringLiteral("row %1 differs").arg(row);
        else
            result << name;
    }
    return result;
}

QString writeText(const QString& name, const QByteArray& text)
{
    const QString path = TestSupport::temporaryPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(text);
    return path;
}

QDomDocument parsed(const QString& path)
{
    QDomDocument document;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        document.setContent(&file);
    return document;
}

// The attributes of an element as "key=value" lines.
QStringList attributesOf(const QDomElement& element)
{
    QStringList lines;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i)
        lines << attributes.item(i).nodeName() + QLatin1Char('=') + attributes.item(i).nodeValue();
    lines.sort();
    return lines;
}

// Records the message boxes that open and answers them: Yes to a question
// (or the given answer), Ok to everything else.
class BoxRecorder
{
public:
    explicit BoxRecorder(QMessageBox::StandardButton answer = QMessageBox::Yes, int times = 3)
        : handler(
              [this, answer](QWidget* widget) {
                  auto* box = qobject_cast<QMessageBox*>(widget);
                  if (!box) {
                      lines << QStringLiteral("not a box: %1").arg(widget->metaObject()->className());
                      widget->close();
                      return;
                  }
                  lines << QStringLiteral("%1|%2|%3|%4|%5")
                               .arg(box->windowTitle(), box->text())
                               .arg(int(box->icon()))
                               .arg(int(box->standardButtons()))
                               .arg(box->parentWidget() == parent);
                  QAbstractButton* button = box->button(answer);
                  (button ? button : box->button(QMessageBox::Ok))->click();
              },
              times)
    {}

    QWidget* parent = nullptr;
    QStringList lines;

private:
    ModalAnswerer handler;
};

QString questionLine()
{
    return QStringLiteral(
               "Warning!|Do you really want to delete the actual configuration and data?\nContinue?|%1|%2|1")
        .arg(int(QMessageBox::Warning))
        .arg(int(QMessageBox::Yes | QMessageBox::No));
}

QString criticalLine(const QString& text)
{
    return QStringLiteral("Critical Error|%1|%2|%3|1")
        .arg(text)
        .arg(int(QMessageBox::Critical))
        .arg(int(QMessageBox::Ok));
}

// A small valid project, written by hand.
const QByteArray smallProject =
    "<Vistrel file=\"x\" datetime=\"y\">\n"
    " <Graph0 name=\"First\" pos=\"2\" net=\"1\" baud=\"3\" id=\"0x10\" axis=\"0\"/>\n"
    " <Graph1 name=\"Second\" pos=\"8\" net=\"0\" baud=\"0\" id=\"17\" axis=\"0\"/>\n"
    "</Vistrel>\n";

} // namespace

class TestProjectIo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void roundTrip();
    void handWritten_data();
    void handWritten();
    void readFailures_data();
    void readFailures();
    void writeFailure();
    void dialogs_data();
    void dialogs();
    void saveAgainReplacesTheFile();
    void commandLine();

private:
    std::unique_ptr<VistrelMainWindow> makeWindow(int rows = 0);
    static void configure(VistrelMainWindow& w);
};

void TestProjectIo::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestProjectIo::makeWindow(int rows)
{
    TestSupport::useDriverConfig(twoNets);
    auto window = std::make_unique<VistrelMainWindow>();
    for (int row = 0; row < rows; ++row) {
        window->tableConfig->setCurrentCell(row - 1, TablePlotConfig::ColName);
        window->projectAddCurve();
        window->tableConfig->setCurveName(row, QStringLiteral("r%1").arg(row));
    }
    return window;
}

void TestProjectIo::configure(VistrelMainWindow& w)
{
    TablePlotConfig* config = w.tableConfig;
    TablePlotDescription* description = w.tableDescription;
    for (int row = 0; row < rowCount; ++row) {
        const RowSetup& setup = rowSetups[row];
        config->setCurrentCell(row - 1, TablePlotConfig::ColName);
        w.projectAddCurve();
        config->setCurveColor(row, QLatin1String(setup.color));
        description->setCurveColor(row, QLatin1String(setup.color));
        config->setCurveName(row, QLatin1String(setup.name));
        config->setNetIndex(row, setup.netIndex);
        config->setBaud(row, setup.baud);
        config->setIdText(row, QLatin1String(setup.id));
        config->set29Bit(row, setup.bit29);
        config->setPosition(row, QString::number(setup.pos));
        // As the user picks them: the scaling is recomputed here, and then
        // replaced by hand below.
        config->comboSave(row, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(setup.dataType);
        config->comboSave(row, TablePlotConfig::ColAxis)->comboBox->setCurrentIndex(setup.axis);
        config->setMaskText(row, QLatin1String(setup.mask));
        config->setByteOrder(row, setup.byteOrder);
        config->setScaleText(row, QLatin1String(setup.scale));
        config->setOffsetText(row, QLatin1String(setup.offset));
        config->setUnitText(row, QString::fromUtf8(setup.unit));
        config->setRawValueMinText(row, QLatin1String(setup.ranges[0]));
        config->setRawValueMaxText(row, QLatin1String(setup.ranges[1]));
        config->setValueMinText(row, QLatin1String(setup.ranges[2]));
        config->setValueMaxText(row, QLatin1String(setup.ranges[3]));
        description->setCurveName(row, QLatin1String(setup.name));
        description->setUnit(row, QString::fromUtf8(setup.unit));
        description->setCurveStyleIndex(row, setup.style);
        description->setCurveEnabled(row, setup.enabled);
    }
    *w.axisSettings[0] = leftSetup;
    *w.axisSettings[1] = rightSetup;
    w.slotAxisSettingsUpdated();
}

void TestProjectIo::roundTrip()
{
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    configure(w);
    // Let the zero-time shots of the axis cells run before the snapshot.
    QTest::qWait(0);
    const QStringList before = cells(w);
    QCOMPARE(w.tableConfig->netText(1), QStringLiteral("3: BETA"));

    const QString path = TestSupport::temporaryPath(QStringLiteral("roundtrip.vtlprj"));
    const QDateTime writeStart = QDateTime::currentDateTime().addMSecs(-1000);
    w.writeProjectFile(path);
    const QDateTime writeEnd = QDateTime::currentDateTime();
    QCOMPARE(w.currentProjectFileName(), path);

    // The file's own forms, checked apart from the reader.
    const QDomDocument document = parsed(path);
    const QDomElement root = document.documentElement();
    QCOMPARE(root.tagName(), QStringLiteral("Vistrel"));
    QCOMPARE(root.attribute("file"), path);
    const QDateTime written = QDateTime::fromString(root.attribute("datetime"), Qt::TextDate);
    QVERIFY2(written >= writeStart && written <= writeEnd, qPrintable(root.attribute("datetime")));
    QStringList childNames;
    for (QDomElement child = root.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        childNames << child.tagName();
    QCOMPARE(childNames, (QStringList{"Graph0", "Graph1", "Graph2", "Graph3", "Graph4", "Graph5", "Graph6",
                                      "Graph7", "CustomAxis", "CustomAxis1"}));
    QCOMPARE(attributesOf(root.firstChildElement("Graph1")),
             (QStringList{"Id29Bit=0",       "axis=1",        "baud=-2147483620",
                          "calc=",           "color=#00ff00", "datatype=1",
                          "enable=0",        "id=291",        "intmot=1",
                          "mask=255",        "name=Rpm",      "name_20=",
                          "name_21=1c",      "net=1",         "netstr=3: BETA",
                          "offset=10",       "pos=2",         "raw_value_max=255",
                          "raw_value_min=0", "scale=2",       "style=1",
                          "unit=1/min",      "value_max=520", "value_min=10"}));
    const QStringList row2 = attributesOf(root.firstChildElement("Graph2"));
    for (const char* expected : {"Id29Bit=1", "baud=13", "id=0x1FFFFFFF", "enable=1", "style=2", "pos=3",
                                 "net=0", "netstr=0: ALPHA"})
        QVERIFY2(row2.contains(QLatin1String(expected)), expected);
    QVERIFY(attributesOf(root.firstChildElement("Graph6")).contains("baud=-2147418113"));
    QCOMPARE(attributesOf(root.firstChildElement("CustomAxis")),
             (QStringList{"Grid=0", "Max=250", "Min=-50", "Show=1", "Step=25"}));
    QCOMPARE(attributesOf(root.firstChildElement("CustomAxis1")),
             (QStringList{"Grid=1", "Max=3.25", "Min=-1.5", "Show=1", "Step=0.25"}));

    // Read back over a reset; the mode returns to none from any other.
    w.setOperatingMode(ModeStopped);
    BoxRecorder boxes;
    boxes.parent = &w;
    w.readProjectFile(path);
    QCOMPARE(boxes.lines, QStringList{questionLine()});
    QTest::qWait(0);

    QCOMPARE(cells(w), before);
    QCOMPARE(axesOf(w), (QStringList{axisText(leftSetup), axisText(rightSetup)}));
    QCOMPARE(w.currentProjectFileName(), path);
    QCOMPARE(w.currentDataFileName(), QString());
    QCOMPARE(w.statusBarLabels()->textLabelProjectFile->text(), "Prj: " + path);
    QCOMPARE(w.currentOperatingMode(), int(ModeNone));
    QVERIFY(w.pushButtonStartStop->isEnabled());
    QVERIFY(!w.pushButtonPause->isEnabled());
    QVERIFY(w.projectSaveAction->isEnabled());

    // The curves are built from the loaded cells.
    QCOMPARE(names(w), (QStringList{"Speed", "Rpm", "Temp", "Volt", "Current", "Power", "Ratio", "Exact"}));
    const int netNumbers[] = {0, 3};
    for (int row = 0; row < rowCount; ++row) {
        const RowSetup& setup = rowSetups[row];
        const PlotCurve& curve = *w.curves[row];
        const QString where = QStringLiteral("row %1").arg(row);
        QVERIFY2(curve.color == QColor(QLatin1String(setup.color)), qPrintable(where));
        QVERIFY2(curve.net == netNumbers[setup.netIndex], qPrintable(where));
        QVERIFY2(curve.baud == setup.baud, qPrintable(where));
        QVERIFY2(curve.canId ==
                     int(QString(setup.id).toUInt(nullptr, 0) + (setup.bit29 ? uint(TESS_ID_29BIT) : 0u)),
                 qPrintable(where));
        QVERIFY2(curve.bytePos == setup.pos - 1, qPrintable(where));
        QVERIFY2(curve.dataType == setup.dataType, qPrintable(where));
        QVERIFY2(curve.mask == QString(setup.mask).toInt(nullptr, 0), qPrintable(where));
        QVERIFY2(curve.byteOrder == setup.byteOrder, qPrintable(where));
        QVERIFY2(curve.axis == setup.axis, qPrintable(where));
        QVERIFY2(curve.scale == QString(setup.scale).toDouble(), qPrintable(where));
        QVERIFY2(curve.offset == QString(setup.offset).toDouble(), qPrintable(where));
        QVERIFY2(curve.unit == QString::fromUtf8(setup.unit), qPrintable(where));
        QVERIFY2(curve.style == setup.style, qPrintable(where));
        QVERIFY2(curve.plotItem->yAxis() == (setup.axis ? QwtPlot::yRight : QwtPlot::yLeft),
                 qPrintable(where));
        const QwtPlotCurve::CurveStyle styles[] = {QwtPlotCurve::Steps, QwtPlotCurve::Lines,
                                                   QwtPlotCurve::Sticks};
        QVERIFY2(curve.plotItem->style() == (setup.enabled ? styles[setup.style] : QwtPlotCurve::NoCurve),
                 qPrintable(where));
    }

    // The axes reach the plot.
    QVERIFY(w.plot->axisEnabled(QwtPlot::yRight));
    QCOMPARE(w.plot->axisScaleDiv(QwtPlot::yLeft).lowerBound(), -50.0);
    QCOMPARE(w.plot->axisScaleDiv(QwtPlot::yLeft).upperBound(), 250.0);
    QCOMPARE(w.plot->axisScaleDiv(QwtPlot::yRight).lowerBound(), -1.5);
    QCOMPARE(w.plot->axisScaleDiv(QwtPlot::yRight).upperBound(), 3.25);
    QCOMPARE(w.plot->grid()->yAxis(), int(QwtPlot::yRight));
}

void TestProjectIo::handWritten_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QList<int>>("row0"); // Pos, Axis, Net, Baud, DataType indices
    QTest::addColumn<QStringList>("axes");

    const QByteArray left = " <CustomAxis Min=\"-10\" Max=\"10\" Step=\"2\" Show=\"1\" Grid=\"1\"/>\n";
    const QByteArray right = " <CustomAxis1 Min=\"0\" Max=\"50\" Step=\"5\" Show=\"0\" Grid=\"0\"/>\n";
    const QStringList fileAxes{"-10,10,2,1,1", "0,50,5,0,0"};

    QTest::newRow("missing pos") << "<Vistrel>\n <Graph0 name=\"A\" net=\"1\" baud=\"4\" datatype=\"3\"/>\n" +
                                        left + right + "</Vistrel>\n"
                                 << QStringList{"A"} << QList<int>{-1, 0, 1, 4, 3} << fileAxes;
    QTest::newRow("axis 2 is Left") << "<Vistrel>\n <Graph0 name=\"A\" pos=\"3\" axis=\"2\"/>\n" + left +
                                           right + "</Vistrel>\n"
                                    << QStringList{"A"} << QList<int>{2, 0, 0, 0, 0} << fileAxes;
    QTest::newRow("CustomAxis7 overwrites the right axis")
        << "<Vistrel>\n <Graph0 name=\"A\" pos=\"1\"/>\n" + left + right +
               " <CustomAxis7 Min=\"-7\" Max=\"7\" Step=\"1\" Show=\"1\" Grid=\"1\"/>\n</Vistrel>\n"
        << QStringList{"A"} << QList<int>{0, 0, 0, 0, 0} << QStringList{"-10,10,2,1,1", "-7,7,1,1,1"};
    QTest::newRow("GraphXY") << QByteArray("<Vistrel><Graph0 name=\"A\" pos=\"1\"/><Graph1 name=\"B\"/>"
                                           "<Graph2 name=\"C\"/><GraphXY name=\"D\"/></Vistrel>")
                             << QStringList{"A", "B", "C", "D"} << QList<int>{0, 0, 0, 0, 0} << defaultAxes;
    QTest::newRow("net beyond the list")
        << "<Vistrel>\n <Graph0 name=\"A\" pos=\"1\" net=\"5\" baud=\"-2147483648\"/>\n" + left +
               "</Vistrel>\n"
        << QStringList{"A"} << QList<int>{0, 0, -1, 14, 0} << QStringList{"-10,10,2,1,1", defaultAxes[1]};
    QTest::newRow("unknown elements first")
        << QByteArray("<Vistrel><Info version=\"2\"/><!-- by hand --><Graph0 name=\"A\" pos=\"1\"/>"
                      "<Note/><Graph1 name=\"B\" pos=\"2\"/><Graph/></Vistrel>")
        << QStringList{"A", "B"} << QList<int>{0, 0, 0, 0, 0} << defaultAxes;
    QTest::newRow("right axis brought up by a curve")
        << QByteArray("<Vistrel><Graph0 name=\"A\" pos=\"1\" axis=\"1\"/></Vistrel>") << QStringList{"A"}
        << QList<int>{0, 1, 0, 0, 0} << QStringList{defaultAxes[0], "0,100,10,1,0"};
    QTest::newRow("no rows, axes only") << "<Vistrel>\n" + left + right + "</Vistrel>\n"
                                        << QStringList{} << QList<int>{} << fileAxes;
}

void TestProjectIo::handWritten()
{
    QFETCH(QByteArray, xml);
    QFETCH(QStringList, names);
    QFETCH(QList<int>, row0);
    QFETCH(QStringList, axes);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    const QString path = writeText(QStringLiteral("hand.vtlprj"), xml);
    BoxRecorder boxes;
    w.readProjectFile(path);
    QTest::qWait(0);

    QCOMPARE(boxes.lines, QStringList());
    QCOMPARE(::names(w), names);
    QCOMPARE(axesOf(w), axes);
    QCOMPARE(w.plot->axisEnabled(QwtPlot::yRight), w.axisSettings[1]->visible);
    QCOMPARE(w.plot->axisScaleDiv(QwtPlot::yLeft).upperBound(), w.axisSettings[0]->max);
    if (!row0.isEmpty()) {
        TablePlotConfig* config = w.tableConfig;
        const QList<int> indices{
            config->comboSave(0, TablePlotConfig::ColPos)->comboBox->currentIndex(), config->valueAxis(0),
            config->comboSave(0, TablePlotConfig::ColNet)->comboBox->currentIndex(),
            config->comboSave(0, TablePlotConfig::ColBaud)->comboBox->currentIndex(), config->dataType(0)};
        QCOMPARE(indices, row0);
    }
    QCOMPARE(w.currentProjectFileName(), path);
    QCOMPARE(w.currentOperatingMode(), int(ModeNone));
    QCOMPARE(w.pushButtonStartStop->isEnabled(), !names.isEmpty());
}

void TestProjectIo::readFailures_data()
{
    QTest::addColumn<QByteArray>("content"); // empty: no file at all
    QTest::addColumn<QString>("message");    // empty: the reset is declined

    QTest::newRow("does not parse") << QByteArray("<Vistrel>\n <Graph0 name=\"A\" pos=\"1\"/>\n")
                                    << "Cannot parse xml-file %1";
    QTest::newRow("not XML at all") << QByteArray("Graph0 name=A") << "Cannot parse xml-file %1";
    QTest::newRow("cannot be opened") << QByteArray() << "Cannot read file %1";
    QTest::newRow("reset declined") << smallProject << QString();
}

void TestProjectIo::readFailures()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, message);

    const auto window = makeWindow(2);
    VistrelMainWindow& w = *window;
    *w.axisSettings[0] = leftSetup;
    w.setProjectFileName(QStringLiteral("old.vtlprj"));
    w.setDataFileName(QStringLiteral("old.vtldat"));
    const QStringList before = cells(w);
    const QString path = content.isEmpty() ? TestSupport::temporaryPath(QStringLiteral("absent.vtlprj"))
                                           : writeText(QStringLiteral("broken.vtlprj"), content);

    BoxRecorder boxes(message.isEmpty() ? QMessageBox::No : QMessageBox::Yes);
    boxes.parent = &w;
    w.readProjectFile(path);

    if (message.isEmpty()) {
        // Declined: nothing has changed.
        QCOMPARE(boxes.lines, QStringList{questionLine()});
        QCOMPARE(cells(w), before);
        QCOMPARE(names(w), (QStringList{"r0", "r1"}));
        QCOMPARE(axesOf(w), (QStringList{axisText(leftSetup), defaultAxes[1]}));
        QCOMPARE(w.currentProjectFileName(), QStringLiteral("old.vtlprj"));
        QCOMPARE(w.currentDataFileName(), QStringLiteral("old.vtldat"));
        return;
    }
    // The reset came first and stands.
    QCOMPARE(boxes.lines, (QStringList{questionLine(), criticalLine(message.arg(path))}));
    QCOMPARE(names(w), QStringList());
    QCOMPARE(axesOf(w), defaultAxes);
    QCOMPARE(w.currentProjectFileName(), QString());
    QCOMPARE(w.currentDataFileName(), QString());
    QCOMPARE(w.currentOperatingMode(), int(ModeNone));
}

void TestProjectIo::writeFailure()
{
    const auto window = makeWindow(2);
    VistrelMainWindow& w = *window;
    const QStringList before = cells(w);
    const QString path = TestSupport::temporaryPath(QStringLiteral("no-such-dir/p.vtlprj"));

    BoxRecorder boxes;
    boxes.parent = &w;
    w.writeProjectFile(path);

    QCOMPARE(boxes.lines, QStringList{criticalLine("Cannot write file " + path)});
    // The name was taken before the file was tried.
    QCOMPARE(w.currentProjectFileName(), path);
    QCOMPARE(w.statusBarLabels()->textLabelProjectFile->text(), "Prj: " + path);
    QCOMPARE(cells(w), before);
    QCOMPARE(names(w), (QStringList{"r0", "r1"}));
    QVERIFY(!QFile::exists(path));
}

void TestProjectIo::dialogs_data()
{
    QTest::addColumn<bool>("open");
    QTest::addColumn<QString>("typed");    // empty: the dialog is cancelled
    QTest::addColumn<QString>("expected"); // project file name afterwards

    QTest::newRow("open without extension") << true << "typed"
                                            << "typed.vtlprj";
    QTest::newRow("open with extension") << true << "typed.vtlprj"
                                         << "typed.vtlprj";
    QTest::newRow("open cancelled") << true << QString() << QString();
    QTest::newRow("save without extension") << false << "saved"
                                            << "saved.vtlprj";
    QTest::newRow("save with capitals") << false << "saved.VTLPRJ"
                                        << "saved.VTLPRJ.vtlprj";
    QTest::newRow("save cancelled") << false << QString() << QString();
}

void TestProjectIo::dialogs()
{
    QFETCH(bool, open);
    QFETCH(QString, typed);
    QFETCH(QString, expected);

    QTemporaryDir directory;
    const auto inDirectory = [&directory](const QString& name) {
        return name.isEmpty() ? name : directory.filePath(name);
    };
    // The name without extension exists too, with content that doesn't
    // parse: only the appended extension leads to the project.
    QFile plain(inDirectory("typed"));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.write("not a project");
    plain.close();
    QFile project(inDirectory("typed.vtlprj"));
    QVERIFY(project.open(QIODevice::WriteOnly));
    project.write(smallProject);
    project.close();

    const auto window = makeWindow(1);
    VistrelMainWindow& w = *window;
    QStringList seen;
    ModalAnswerer handler(
        [&](QWidget* widget) {
            if (auto* dialog = qobject_cast<QFileDialog*>(widget)) {
                TestSupport::answerFileDialog(dialog, dialog->acceptMode(),
                                              typed.isEmpty() ? QString() : inDirectory(typed), &seen);
            } else if (auto* box = qobject_cast<QMessageBox*>(widget)) {
                seen << box->text();
                box->button(box->button(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok)->click();
            } else {
                widget->close();
            }
        },
        3);

    if (open)
        w.projectOpen();
    else
        w.projectSaveAs();

    QStringList expectedSeen{open ? "Open Project" : "Save Project as", "*.vtlprj",
                             QString::number(open ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave)};
    if (open && !typed.isEmpty())
        expectedSeen << "Do you really want to delete the actual configuration and data?\nContinue?";
    QCOMPARE(seen, expectedSeen);
    QCOMPARE(w.currentProjectFileName(), inDirectory(expected));
    if (typed.isEmpty()) {
        QCOMPARE(names(w), QStringList{"r0"});
    } else if (open) {
        QCOMPARE(names(w), (QStringList{"First", "Second"}));
    } else {
        QVERIFY(QFile::exists(inDirectory(expected)));
        QVERIFY(!QFile::exists(inDirectory(typed)));
        QCOMPARE(parsed(inDirectory(expected)).documentElement().firstChildElement().attribute("name"),
                 QStringLiteral("r0"));
    }
}

void TestProjectIo::saveAgainReplacesTheFile()
{
    const auto window = makeWindow(3);
    VistrelMainWindow& w = *window;
    const QString path = TestSupport::temporaryPath(QStringLiteral("twice.vtlprj"));
    w.writeProjectFile(path);
    const qint64 firstSize = QFileInfo(path).size();

    // Every row removed, saved under the current name: the axes alone.
    for (int row = 2; row >= 0; --row) {
        w.tableConfig->removeCurveRow(row);
        w.tableDescription->removeRow(row);
        w.eraseCurve(row);
    }
    const QDateTime saveStart = QDateTime::currentDateTime().addMSecs(-1000);
    w.projectSave();
    const QDateTime saveEnd = QDateTime::currentDateTime();

    QVERIFY(QFileInfo(path).size() < firstSize);
    const QDomDocument document = parsed(path);
    const QDomElement root = document.documentElement();
    QVERIFY(!root.isNull());
    QStringList childNames;
    for (QDomElement child = root.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        childNames << child.tagName();
    QCOMPARE(childNames, (QStringList{"CustomAxis", "CustomAxis1"}));
    const QDateTime written = QDateTime::fromString(root.attribute("datetime"), Qt::TextDate);
    QVERIFY2(written >= saveStart && written <= saveEnd, qPrintable(root.attribute("datetime")));
}

void TestProjectIo::commandLine()
{
    const QString path = writeText(QStringLiteral("command.vtlprj"), smallProject);
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    w.openCommandLineFile({"vistrel", "notes.txt", path, "second.vtlprj"});
    QCOMPARE(names(w), (QStringList{"First", "Second"}));
    QCOMPARE(w.currentProjectFileName(), path);
    QCOMPARE(w.tableConfig->idText(0), QStringLiteral("0x10"));
    QCOMPARE(w.tableConfig->positionText(1), QStringLiteral("8"));
    QCOMPARE(w.tableConfig->netText(0), QStringLiteral("3: BETA"));
}

QTEST_MAIN(TestProjectIo)
#include "tst_projectio.moc"
