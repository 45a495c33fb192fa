// Data files through the main window: writing what a live run recorded,
// loading the three versions, the questions, the errors, the dialogs and
// the command line.
#include "curvelock.h"
#include "datafile.h"
#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "scaling.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "tessbus_test.h"
#include "testsupport.h"
#include "vistrelmainwindow.h"

#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>

#include <QBuffer>
#include <QFileDialog>
#include <QLineEdit>
#include <QtEndian>
#include <QtTest>

#include <climits>
#include <limits>
#include <memory>

using TestSupport::ModalAnswerer;

namespace {

// The Net list: entry 0 is net 0 (29-bit, timestamps at 1 MHz), entry 1 net
// 1, entry 2 net 3.
const char* const threeNets = "net 0 virtual name=LIVE_CAN features=Fc,2b,Ts tsfreq=1000000\n"
                              "net 1 virtual name=PLAIN features=Fc\n"
                              "net 3 virtual name=THIRD features=Fc\n";

const QString configurationQuestion = QStringLiteral("W|There is already a configuration!\nContinue?");
const QString resetQuestion =
    QStringLiteral("W|Do you really want to delete the actual configuration and data?\nContinue?");

QString plotSizeText(quint32 file, quint32 actual)
{
    return QStringLiteral("W|Plot size (%1) in the datafile is bigger than actual plot size (%2)!\n"
                          "Should the plot size be increased?")
        .arg(file)
        .arg(actual);
}

// Answers the message boxes in turn and records them: "W|text" for a
// "Warning!" question with Yes as default and No as escape, "C|text" for a
// "Critical Error" box with Ok alone; anything else is marked.
class BoxScript
{
public:
    BoxScript(QWidget* parent, QList<QMessageBox::StandardButton> answers = {})
        : answers(std::move(answers)),
          handler([this, parent](QWidget* widget) { answer(widget, parent); }, 10)
    {}

    QStringList lines;

private:
    void answer(QWidget* widget, QWidget* parent)
    {
        auto* box = qobject_cast<QMessageBox*>(widget);
        if (!box) {
            lines << QStringLiteral("not a box: %1").arg(widget->metaObject()->className());
            widget->close();
            return;
        }
        QString line;
        if (box->windowTitle() == QLatin1String("Warning!") && box->icon() == QMessageBox::Warning &&
            box->standardButtons() == (QMessageBox::Yes | QMessageBox::No) &&
            box->defaultButton() == box->button(QMessageBox::Yes) &&
            box->escapeButton() == box->button(QMessageBox::No))
            line = QStringLiteral("W|");
        else if (box->windowTitle() == QLatin1String("Critical Error") &&
                 box->icon() == QMessageBox::Critical && box->standardButtons() == QMessageBox::Ok)
            line = QStringLiteral("C|");
        else
            line = QStringLiteral("?%1|").arg(box->windowTitle());
        if (box->parentWidget() != parent)
            line.prepend(QStringLiteral("(other parent)"));
        lines << line + box->text();
        const QMessageBox::StandardButton wanted = answers.isEmpty() ? QMessageBox::Ok : answers.takeFirst();
        QAbstractButton* button = box->button(wanted);
        (button ? button : box->button(QMessageBox::Ok))->click();
    }

    QList<QMessageBox::StandardButton> answers;
    ModalAnswerer handler;
};

struct RowSetup
{
    int netIndex = 0;
    int baudIndex = 2;
    QString btr; // for "BTR01"
    QString id = QStringLiteral("0x100");
    bool bit29 = false;
    int pos = 1;
    int dataType = 2;
    QString mask = QStringLiteral("0xFF");
    int byteOrder = 0;
    int axis = 0;
    QString name;
    QString unit;
    bool enabled = true;
    int style = 0;
};

// Every cell of a row that a data file carries, by a short key.
QMap<QString, QString> cellsOf(VistrelMainWindow& w, int row)
{
    TablePlotConfig* c = w.tableConfig;
    TablePlotDescription* d = w.tableDescription;
    const auto index = [c, row](int col) {
        return QString::number(c->comboSave(row, col)->comboBox->currentIndex());
    };
    return {
        {"color", c->curveColor(row)},
        {"name", c->curveName(row)},
        {"net", index(TablePlotConfig::ColNet)},
        {"baud", index(TablePlotConfig::ColBaud)},
        {"btr", c->btrText(row)},
        {"id", c->idText(row)},
        {"29bit", QString::number(c->is29Bit(row))},
        {"pos", c->positionText(row)},
        {"type", index(TablePlotConfig::ColDataType)},
        {"mask", c->maskText(row)},
        {"order", index(TablePlotConfig::ColIntMot)},
        {"axis", index(TablePlotConfig::ColAxis)},
        {"scale", c->scaleText(row)},
        {"offset", c->offsetText(row)},
        {"unit", c->unitText(row)},
        {"rawmin", c->rawValueMinText(row)},
        {"rawmax", c->rawValueMaxText(row)},
        {"vmin", c->valueMinText(row)},
        {"vmax", c->valueMaxText(row)},
        {"dcolor", d->curveColor(row)},
        {"dname", d->text(row, TablePlotDescription::ColName)},
        {"en", QString::number(d->curveEnabled(row))},
        {"dunit", d->text(row, TablePlotDescription::ColUnit)},
        {"style", QString::number(d->curveStyle(row))},
        {"cnt", d->text(row, TablePlotDescription::ColCount)},
    };
}

// "row:key=value" lines of the keys that `expected` names, to compare with
// it.
QStringList cellLines(VistrelMainWindow& w, const QStringList& expected)
{
    QStringList lines;
    for (const QString& line : expected) {
        const int colon = line.indexOf(QLatin1Char(':'));
        const int equals = line.indexOf(QLatin1Char('='));
        const int row = line.left(colon).toInt();
        const QString key = line.mid(colon + 1, equals - colon - 1);
        lines << QStringLiteral("%1:%2=%3").arg(row).arg(key, cellsOf(w, row).value(key, "(no such key)"));
    }
    return lines;
}

struct Points
{
    QVector<double> x, y;
    bool operator==(const Points& other) const { return x == other.x && y == other.y; }
};

// The points that the plot item of a row shows, read under the curve's lock.
Points pointsOf(VistrelMainWindow& w, int row)
{
    PlotCurve& curve = *w.curves.at(row);
    const int n = curve.pointCount();
    const CurveLock lock(curve.mutex);
    return {QVector<double>(curve.xValues.get(), curve.xValues.get() + n),
            QVector<double>(curve.yValues.get(), curve.yValues.get() + n)};
}

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

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString writeBytes(const QString& name, const QByteArray& bytes)
{
    const QString path = TestSupport::temporaryPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(bytes);
    return path;
}

qint32 int32At(const QByteArray& bytes, int at)
{
    return at + 4 <= bytes.size() ? qFromLittleEndian<qint32>(bytes.constData() + at) : -999;
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

// File images made with the codec, whose bytes tst_datafile checks: the
// arrays, and a record of either version with its arrays.
QByteArray arrays(const QVector<double>& x, const QVector<double>& y)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writeDataPoints(buffer, x.constData(), y.constData(), x.size());
    return buffer.data();
}

QByteArray curve(const DataCurveRecord& record, const QVector<double>& x, const QVector<double>& y)
{
    return encodeDataCurveRecord(record) + arrays(x, y);
}

QByteArray curveV1(const DataCurveRecordV1& record, const QVector<double>& x, const QVector<double>& y)
{
    return encodeDataCurveRecordV1(record) + arrays(x, y);
}

// A current header with the default axes.
DataFileHeader headerOf(int curveCount)
{
    DataFileHeader header;
    header.curveCount = curveCount;
    header.axes = {DataAxisRecord::from(ValueAxisSettings::leftDefault()),
                   DataAxisRecord::from(ValueAxisSettings::rightDefault())};
    return header;
}

DataCurveRecord sampleRecord(const QString& name, int points)
{
    DataCurveRecord record;
    record.color = QStringLiteral("#336699");
    record.name = name;
    record.unit = QStringLiteral("bar");
    record.id = 0x120;
    record.pos = 1;
    record.mask = 255;
    record.scale = 0.5;
    record.offset = 1.0;
    record.enable = 1;
    record.pointCount = points;
    record.valueMin = -50;
    record.valueMax = 50;
    record.rawValueMin = -101;
    record.rawValueMax = 99;
    return record;
}

QVector<double> ramp(int n, double start, double step)
{
    QVector<double> values(n);
    for (int i = 0; i < n; ++i)
        values[i] = start + step * i;
    return values;
}

} // namespace

Q_DECLARE_METATYPE(Points)
Q_DECLARE_METATYPE(QMessageBox::StandardButton)
Q_DECLARE_METATYPE(QList<QMessageBox::StandardButton>)

class TestDataIo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void roundTripAfterLiveRun();
    void writtenWithoutRun_data();
    void writtenWithoutRun();
    void loadedFiles_data();
    void loadedFiles();
    void plotSizeQuestion_data();
    void plotSizeQuestion();
    void rejectedFiles_data();
    void rejectedFiles();
    void dialogs_data();
    void dialogs();

private:
    static std::unique_ptr<VistrelMainWindow> makeWindow();
    static int addRow(VistrelMainWindow& w, const RowSetup& setup);
    // A window with two rows whose curves hold a few points of their own.
    static std::unique_ptr<VistrelMainWindow> windowWithPoints();
};

void TestDataIo::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

std::unique_ptr<VistrelMainWindow> TestDataIo::makeWindow()
{
    TestSupport::useDriverConfig(QString::fromLatin1(threeNets));
    auto window = std::make_unique<VistrelMainWindow>();
    window->refreshTime = 40;
    return window;
}

int TestDataIo::addRow(VistrelMainWindow& w, const RowSetup& setup)
{
    TablePlotConfig* config = w.tableConfig;
    config->setCurrentCell(config->rowCount() - 1, TablePlotConfig::ColName);
    w.projectAddCurve();
    const int row = config->currentRow();
    config->setNetIndex(row, setup.netIndex);
    config->comboSave(row, TablePlotConfig::ColBaud)->comboBox->setCurrentIndex(setup.baudIndex);
    if (!setup.btr.isEmpty())
        config->setBtrText(row, setup.btr);
    config->setIdText(row, setup.id);
    config->set29Bit(row, setup.bit29);
    config->setPosition(row, QString::number(setup.pos));
    // As a user chooses: the scaling follows.
    config->comboSave(row, TablePlotConfig::ColAxis)->comboBox->setCurrentIndex(setup.axis);
    config->comboSave(row, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(setup.dataType);
    config->setMaskText(row, setup.mask);
    config->setByteOrder(row, setup.byteOrder);
    config->setCurveName(row, setup.name);
    config->setUnitText(row, setup.unit);
    w.tableDescription->setCurveEnabled(row, setup.enabled);
    w.tableDescription->setCurveStyleIndex(row, setup.style);
    return row;
}

std::unique_ptr<VistrelMainWindow> TestDataIo::windowWithPoints()
{
    auto window = makeWindow();
    RowSetup first;
    first.name = QStringLiteral("first");
    RowSetup second;
    second.name = QStringLiteral("second");
    second.netIndex = 1;
    addRow(*window, first);
    addRow(*window, second);
    for (int row = 0; row < 2; ++row) {
        PlotCurve& curve = *window->curves[row];
        for (int i = 0; i < 3; ++i) {
            curve.xValues[size_t(i)] = 3.0 - i;
            curve.yValues[size_t(i)] = 10.0 * (row + 1) + i;
        }
        curve.plotItem->setRawSamples(curve.xValues.get(), curve.yValues.get(), 3);
    }
    window->setProjectFileName(QStringLiteral("kept.vtlprj"));
    return window;
}

void TestDataIo::roundTripAfterLiveRun()
{
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;

    RowSetup speed;
    speed.name = QStringLiteral("Speed");
    speed.unit = QStringLiteral("km/h");
    speed.style = 1;
    RowSetup level;
    level.name = QStringLiteral("Level");
    level.unit = QStringLiteral("%");
    level.id = QStringLiteral("0x18FEF100");
    level.bit29 = true;
    level.pos = 2;
    level.dataType = 1;
    level.mask = QStringLiteral("0x0F");
    level.byteOrder = 1;
    level.axis = 1;
    level.enabled = false;
    level.style = 2;
    // Net 3 in BTR mode; it gets no frames.
    RowSetup quiet;
    quiet.name = QStringLiteral("Quiet");
    quiet.netIndex = 2;
    quiet.baudIndex = TablePlotConfig::BaudBtrIndex;
    quiet.btr = QStringLiteral("1C");
    quiet.id = QStringLiteral("2046");
    quiet.dataType = 0;
    quiet.pos = 3;
    for (const RowSetup& setup : {speed, level, quiet})
        addRow(w, setup);

    // A run with known frames on net 0.
    const uint64_t startCounter = 5000000;
    QCOMPARE(tessTestSetTimestamp(0, startCounter), 0);
    {
        BoxScript noBoxes(&w);
        w.pushButtonStartStop->click();
        QVERIFY(w.running);
        QCOMPARE(noBoxes.lines, QStringList());
    }
    QCOMPARE(tessTestWaitForReaders(0, 2, 5000), 0);
    const uint32_t levelId = 0x18FEF100u | TESS_ID_29BIT;
    const TessFrameT frames[] = {
        frameT(0x100, startCounter + 1000000, {100, 0}),
        frameT(levelId, startCounter + 1500000, {0, 0x3C}),
        frameT(0x100, startCounter + 2000000, {200, 0}),
        frameT(levelId, startCounter + 2250000, {9, 0xFF}),
        frameT(0x100, startCounter + 2500000, {0xD4, 0xFE}),
    };
    QCOMPARE(tessTestInjectT(0, frames, 5), 0);
    const auto count = [&w](int row) {
        return w.tableDescription->text(row, TablePlotDescription::ColCount).toInt();
    };
    QTRY_COMPARE(count(0), 3);
    QTRY_COMPARE(count(1), 2);
    w.pushButtonStartStop->click();
    QVERIFY(!w.running);

    // A hand-made scaling that the ranges don't give, and axes of our own.
    w.tableConfig->setScaleText(0, QStringLiteral("0.5"));
    w.tableConfig->setOffsetText(0, QStringLiteral("7"));
    *w.axisSettings[0] = {-50.0, 250.0, 25.0, true, false};
    *w.axisSettings[1] = {-1.5, 3.25, 0.25, true, true};
    w.slotAxisSettingsUpdated();
    QTest::qWait(0);

    QVector<QMap<QString, QString>> cellsBefore;
    QVector<Points> pointsBefore;
    QVector<int> pointCounts;
    for (int row = 0; row < 3; ++row) {
        cellsBefore << cellsOf(w, row);
        pointsBefore << pointsOf(w, row);
        pointCounts << w.curves[row]->pointCount();
    }
    // Samples and the live point; the quiet curve has the live point only.
    QCOMPARE(pointCounts, (QVector<int>{4, 3, 1}));
    QCOMPARE(pointsBefore[0].x.mid(1), (QVector<double>{2.5, 2.0, 1.0}));
    const double timeOrigin = w.timeOrigin();
    const double runTime = w.runTime();
    const QStringList axes = axesOf(w);

    const QString path = TestSupport::temporaryPath(QStringLiteral("live.vtldat"));
    {
        BoxScript noBoxes(&w);
        w.writeDataFile(path);
        QCOMPARE(noBoxes.lines, QStringList());
    }
    QCOMPARE(w.currentDataFileName(), path);
    QCOMPARE(w.statusBarLabels()->textLabelDataFile->text(), "Data: " + path);

    // The file's own bytes: its size, and the fields that the cells turn
    // into numbers, at their offsets.
    const QByteArray bytes = fileBytes(path);
    QCOMPARE(bytes.size(), 96 + 3 * 1096 + 16 * (4 + 3 + 1));
    QCOMPARE(int32At(bytes, 28), 3);
    int at = 96;
    const qint32 nets[] = {0, 0, 3}; // net numbers, not list positions
    const qint32 bauds[] = {2, 2, qint32(0x8000001Cu)};
    const qint32 ids[] = {0x100, qint32(0x20000000u + 0x18FEF100u), 2046};
    const qint32 masks[] = {255, 15, 255};
    for (int row = 0; row < 3; ++row) {
        const QString where = QStringLiteral("record %1").arg(row);
        QVERIFY2(int32At(bytes, at + 520) == nets[row], qPrintable(where));
        QVERIFY2(int32At(bytes, at + 524) == bauds[row], qPrintable(where));
        QVERIFY2(int32At(bytes, at + 528) == ids[row], qPrintable(where));
        QVERIFY2(int32At(bytes, at + 540) == masks[row], qPrintable(where));
        QVERIFY2(int32At(bytes, at + 832) == pointCounts[row], qPrintable(where));
        QVERIFY2(int32At(bytes, at + 836) == 1, qPrintable(where));
        at += 1096 + 16 * pointCounts[row];
    }

    // Load it over the recording, with both questions answered Yes.
    w.antialiasing = true;
    BoxScript boxes(&w, {QMessageBox::Yes, QMessageBox::Yes});
    w.readDataFile(path);
    QCOMPARE(boxes.lines, (QStringList{configurationQuestion, resetQuestion}));
    QTest::qWait(0);

    QCOMPARE(w.currentOperatingMode(), int(ModeData));
    QCOMPARE(w.statusBarLabels()->textLabelMode->text(), QStringLiteral("OFFLINE - DATA"));
    QCOMPARE(w.currentDataFileName(), path);
    QCOMPARE(w.currentProjectFileName(), QString());
    QCOMPARE(w.tableConfig->rowCount(), 3);
    QCOMPARE(w.tableDescription->rowCount(), 3);
    QCOMPARE(w.curves.size(), 3);
    QVERIFY(w.timeOrigin() == timeOrigin);
    QVERIFY(w.runTime() == runTime);
    QCOMPARE(axesOf(w), axes);

    for (int row = 0; row < 3; ++row) {
        QMap<QString, QString> expected = cellsBefore[row];
        // Id and Mask come back as decimal text; Scale and Offset are
        // computed from the ranges.
        expected["id"] = QString::number(expected["id"].toUInt(nullptr, 0));
        expected["mask"] = QString::number(expected["mask"].toUInt(nullptr, 0));
        double scale = 0.0;
        double offset = 0.0;
        scalingFrom(expected["rawmin"].toDouble(), expected["rawmax"].toDouble(), expected["vmin"].toDouble(),
                    expected["vmax"].toDouble(), scale, offset);
        expected["scale"] = scalingText(scale);
        expected["offset"] = scalingText(offset);
        expected["cnt"] = QString::number(pointCounts[row]);
        if (row == 2)
            expected["net"] = QStringLiteral("-1"); // net 3 read as position 3
        QCOMPARE(cellsOf(w, row), expected);
        QVERIFY2(pointsOf(w, row) == pointsBefore[row],
                 qPrintable(QStringLiteral("points of row %1").arg(row)));

        const PlotCurve& curve = *w.curves[row];
        QCOMPARE(int(curve.plotItem->dataSize()), pointCounts[row]);
        QCOMPARE(curve.maxPoints, uint32_t(pointCounts[row]));
        QVERIFY(curve.plotItem->testRenderHint(QwtPlotItem::RenderAntialiased));
        QVERIFY(!curve.isRunning());
        QCOMPARE(curve.scale, scale);
        QCOMPARE(curve.name, expected["name"]);
    }
    QCOMPARE(w.curves[0]->canId, 0x100);
    QCOMPARE(w.curves[1]->canId, int(levelId));
    QCOMPARE(w.curves[1]->plotItem->yAxis(), int(QwtPlot::yRight));
    QCOMPARE(w.curves[1]->plotItem->style(), QwtPlotCurve::NoCurve);
    QCOMPARE(w.curves[0]->plotItem->style(), QwtPlotCurve::Lines);

    // Net and Baud locked; Start stays off.
    for (int row = 0; row < 3; ++row) {
        for (const int col : {int(TablePlotConfig::ColNet), int(TablePlotConfig::ColBaud)}) {
            QVERIFY(!(w.tableConfig->item(row, col)->flags() & Qt::ItemIsEditable));
            QVERIFY(!w.tableConfig->comboSave(row, col)->comboBox->isEnabled());
        }
        QVERIFY(w.tableConfig->comboSave(row, TablePlotConfig::ColPos)->comboBox->isEnabled());
    }
    QVERIFY(!w.pushButtonStartStop->isEnabled());
    QVERIFY(w.dataSaveAction->isEnabled());

    // The last span of the record, markers at 40 % and 60 %, the times in
    // the status bar; the scroll bar keeps its range.
    QCOMPARE(w.plot->timeScaleStart(), runTime - 10.0);
    QCOMPARE(w.plot->timeScaleEnd(), runTime);
    QCOMPARE(w.plot->marker1()->xValue(), runTime - 6.0);
    QCOMPARE(w.plot->marker2()->xValue(), runTime - 4.0);
    QCOMPARE(w.pushButtonMarker1->text(), QString::asprintf("M1: %0.3f s", runTime - 6.0));
    QCOMPARE(w.statusBarLabels()->textLabelRunTime->text(), QString::asprintf("Run: %0.3f s", runTime));
    QCOMPARE(w.scrollBarTime->maximum(), 0);
}

void TestDataIo::writtenWithoutRun_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<QList<int>>("points"); // of each record in the file

    QTest::newRow("empty configuration") << 0 << QList<int>{};
    // One point each: the live point at time 0 with value 0.
    QTest::newRow("curves that never ran") << 2 << QList<int>{1, 1};
    // After an import that was given up the rows may outnumber the curves:
    // such records have no points and no arrays, the others stay whole.
    QTest::newRow("rows without curves") << 3 << QList<int>{1, 0, 0};
}

void TestDataIo::writtenWithoutRun()
{
    QFETCH(int, rows);
    QFETCH(QList<int>, points);

    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    for (int row = 0; row < rows; ++row) {
        RowSetup setup;
        setup.name = QStringLiteral("r%1").arg(row);
        addRow(w, setup);
    }
    if (points.contains(0)) {
        // Row 1 has lost its curve, row 2 lies beyond the curves.
        w.curves[1].reset();
        w.curves.remove(2);
    }
    *w.axisSettings[0] = {-5.0, 5.0, 1.0, true, false};
    *w.axisSettings[1] = {0.0, 2.0, 0.5, true, true};
    const QString path = TestSupport::temporaryPath(QStringLiteral("norun.vtldat"));
    w.writeDataFile(path);

    const QByteArray bytes = fileBytes(path);
    int at = 96;
    QStringList cells;
    for (int row = 0; row < rows; ++row) {
        QCOMPARE(int32At(bytes, at + 832), points[row]);
        at += 1096;
        if (points[row] == 1)
            QCOMPARE(bytes.mid(at, 16), QByteArray(16, '\0'));
        at += 16 * points[row];
        cells << QStringLiteral("%1:name=r%1").arg(row)
              << QStringLiteral("%1:cnt=%2").arg(row).arg(points[row]);
    }
    QCOMPARE(bytes.size(), at);

    // Opened from the command line: the first data or project file counts.
    const auto other = makeWindow();
    BoxScript noBoxes(other.get());
    other->openCommandLineFile({"vistrel", "notes.txt", path, "second.vtlprj"});
    QCOMPARE(noBoxes.lines, QStringList());
    QCOMPARE(other->statusBarLabels()->textLabelMode->text(), QStringLiteral("OFFLINE - DATA"));
    QCOMPARE(other->currentDataFileName(), path);
    QCOMPARE(other->tableConfig->rowCount(), rows);
    QCOMPARE(other->curves.size(), rows);
    QCOMPARE(cellLines(*other, cells), cells);
    for (int row = 0; row < rows; ++row)
        QCOMPARE(other->curves[row]->pointCount(), points[row]);
    QCOMPARE(axesOf(*other), (QStringList{"-5,5,1,1,0", "0,2,0.5,1,1"}));
    QVERIFY(other->plot->axisEnabled(QwtPlot::yRight));
}

// Files loaded without a question: the older versions, and damaged files of
// which what could be read is shown without a message.
void TestDataIo::loadedFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("cells");
    QTest::addColumn<QList<Points>>("points"); // empty: as many as each row counts
    QTest::addColumn<QStringList>("axes");     // empty: not checked
    QTest::addColumn<double>("origin");
    QTest::addColumn<double>("runTime");
    QTest::addColumn<QString>("startText");

    // The oldest version: no mask, axis, enable or ranges.
    DataFileHeaderV1 oldHeader;
    oldHeader.timeOrigin = 3600.25;
    oldHeader.runTime = 42.5;
    DataCurveRecordV1 rpm;
    rpm.color = QStringLiteral("#00ff00");
    rpm.name = QStringLiteral("Rpm");
    rpm.unit = QStringLiteral("1/min");
    rpm.net = 1;
    rpm.baud = qint32(0x8000001Cu);
    rpm.id = 0x20000100;
    rpm.pos = 3;
    rpm.dataType = 3;
    rpm.byteOrder = 1;
    rpm.scale = 0.5;
    rpm.offset = 10;
    rpm.style = 2;
    rpm.pointCount = 3;
    rpm.recordSize = 840 + 48;
    DataCurveRecordV1 temp;
    temp.color = QStringLiteral("#ff0000");
    temp.name = QStringLiteral("Temp");
    temp.unit = QStringLiteral("degC");
    temp.baud = 4;
    temp.id = 0x7FE;
    temp.pos = 1;
    temp.scale = 0.25;
    temp.offset = -40;
    temp.pointCount = 2;
    temp.recordSize = 840 + 64; // arrays of 4, of which 2 count
    const QByteArray oldest = encodeDataHeaderV1(oldHeader) + curveV1(rpm, {3, 2, 1}, {30, 20, 10}) +
                              curveV1(temp, {9, 8, 7, 6}, {90, 80, 70, 60});
    // The ranges are those of a new row (data type 0, left axis), and the
    // raw range follows from them: (-100 - 10) / 0.5 = -220.
    QTest::newRow("oldest")
        << oldest
        << QString("0:name=Rpm 0:dname=Rpm 0:unit=1/min 0:dunit=1/min 0:color=#00ff00 0:dcolor=#00ff00 "
                   "0:id=256 0:29bit=1 0:pos=3 0:type=3 0:mask=0xFF 0:order=1 0:axis=0 0:net=1 0:baud=14 "
                   "0:btr=1c 0:scale=0.500000 0:offset=10.000000 0:vmin=-100 0:vmax=100 0:rawmin=-220 "
                   "0:rawmax=180 0:en=1 0:style=2 0:cnt=3 1:name=Temp 1:id=2046 1:29bit=0 1:baud=4 "
                   "1:btr=----- 1:scale=0.250000 1:offset=-40.000000 1:rawmin=-240 1:rawmax=560 1:mask=0xFF "
                   "1:en=1 1:cnt=2")
               .split(' ')
        << QList<Points>{{{3, 2, 1}, {30, 20, 10}}, {{9, 8}, {90, 80}}} << defaultAxes << 3600.25 << 42.5
        << "Start: 01:00:00.250";

    // The middle version: a 32-byte header, so no axis records.
    DataFileHeader middleHeader;
    middleHeader.headerSize = 32;
    middleHeader.timeOrigin = 3600.25;
    middleHeader.runTime = 42.5;
    middleHeader.plotSize = 100;
    middleHeader.curveCount = 2;
    DataCurveRecord stored = sampleRecord(QStringLiteral("Stored"), 2);
    stored.flags = 0; // Scale and Offset only, the axis doesn't count
    stored.axis = 1;
    stored.mask = 15;
    stored.enable = 0;
    stored.scale = 2;
    stored.offset = 1;
    DataCurveRecord ranged = sampleRecord(QStringLiteral("Ranged"), 1);
    ranged.id = 0x2000ABCD;
    ranged.scale = 123; // not used: the ranges give the scaling
    const QByteArray middle =
        encodeDataHeader(middleHeader).left(32) + curve(stored, {1.5, 0.5}, {4, 3}) + curve(ranged, {7}, {8});
    QTest::newRow("middle")
        << middle
        << QString("0:name=Stored 0:axis=0 0:mask=15 0:en=0 0:scale=2.000000 0:offset=1.000000 0:vmin=-100 "
                   "0:vmax=100 0:rawmin=-50.5 0:rawmax=49.5 0:cnt=2 1:name=Ranged 1:id=43981 1:29bit=1 "
                   "1:vmin=-50 1:vmax=50 1:rawmin=-101 1:rawmax=99 1:scale=0.5 1:offset=0.5 1:mask=255 "
                   "1:en=1 1:cnt=1")
               .split(' ')
        << QList<Points>{{{1.5, 0.5}, {4, 3}}, {{7}, {8}}} << defaultAxes << 3600.25 << 42.5
        << "Start: 01:00:00.250";

    // Damaged files. Times that no clock gives read as 0.
    const auto damaged = [](const char* name, const QByteArray& file, const QStringList& cells) {
        QTest::newRow(name) << file << cells << QList<Points>() << QStringList() << 0.0 << 0.0
                            << QStringLiteral("Start: 00:00:00.000");
    };
    const DataFileHeader header = headerOf(2);
    const QByteArray two = encodeDataHeader(header) + curve(sampleRecord("one", 3), {3, 2, 1}, {1, 2, 3}) +
                           curve(sampleRecord("two", 2), {2, 1}, {5, 6});
    damaged("second y array cut", two.left(two.size() - 1), {"0:cnt=3", "1:name=two", "1:cnt=1"});
    DataFileHeader many = header;
    many.curveCount = INT_MAX;
    damaged("curve count beyond the records", encodeDataHeader(many) + two.mid(96),
            QStringList{"0:cnt=3", "1:cnt=2"});
    DataCurveRecord huge = sampleRecord("huge", INT_MAX);
    damaged("point count INT_MAX", encodeDataHeader(header) + curve(huge, {1, 2}, {3, 4}),
            QStringList{"0:name=huge", "0:cnt=0"});
    // An empty raw range gives no scaling: the stored doubles stand in.
    DataCurveRecord flat = sampleRecord("flat", 1);
    flat.rawValueMin = 5;
    flat.rawValueMax = 5;
    flat.scale = 0.125;
    flat.offset = -3.5;
    // Axes that Qwt can't divide are drawn without failing.
    DataFileHeader wild = header;
    wild.curveCount = 1;
    wild.timeOrigin = std::numeric_limits<double>::quiet_NaN();
    wild.runTime = std::numeric_limits<double>::infinity();
    wild.axes[0].min = std::numeric_limits<double>::quiet_NaN();
    wild.axes[0].max = std::numeric_limits<double>::infinity();
    wild.axes[1] = {-1e300, 1e300, 1e-300, 1, 1};
    damaged("times not finite, wild axes", encodeDataHeader(wild) + curve(sampleRecord("w", 1), {1}, {2}),
            QStringList{"0:name=w", "0:cnt=1"});
    DataFileHeader far = header;
    far.curveCount = 1;
    far.timeOrigin = 1e300;
    far.runTime = -1e16;
    damaged("times out of range", encodeDataHeader(far) + curve(sampleRecord("w", 1), {1e300}, {2}),
            QStringList{"0:name=w", "0:cnt=1"});
    damaged("raw minimum equals raw maximum", encodeDataHeader(header) + curve(flat, {1}, {2}),
            QStringList{"0:rawmin=5", "0:rawmax=5", "0:scale=0.125", "0:offset=-3.5"});
}

void TestDataIo::plotSizeQuestion_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<QStringList>("boxes");
    QTest::addColumn<uint>("plotSize");

    const QVector<double> x = ramp(6000, 600.0, -0.1);
    const QVector<double> y = ramp(6000, 0.0, 1.0);
    DataFileHeader header = headerOf(1);
    header.plotSize = 8000;
    const QByteArray current = encodeDataHeader(header) + curve(sampleRecord("big", 6000), x, y);

    QTest::newRow("No keeps the plot size")
        << current << QMessageBox::No << QStringList{plotSizeText(8000, 5000)} << 5000u;
    QTest::newRow("Yes takes the file's")
        << current << QMessageBox::Yes << QStringList{plotSizeText(8000, 5000)} << 8000u;
    DataFileHeader smaller = header;
    smaller.plotSize = 5000;
    QTest::newRow("not bigger: no question")
        << encodeDataHeader(smaller) + curve(sampleRecord("big", 6000), x, y) << QMessageBox::Yes
        << QStringList{} << 5000u;
    // A plot size that no sane file holds is not offered.
    DataFileHeader absurd = header;
    absurd.plotSize = 4000000000u;
    QTest::newRow("absurd plot size") << encodeDataHeader(absurd) + curve(sampleRecord("big", 6000), x, y)
                                      << QMessageBox::Yes << QStringList{} << 5000u;

    // The oldest version asks for each record, with its point count.
    DataFileHeaderV1 oldHeader;
    DataCurveRecordV1 record;
    record.name = QStringLiteral("big");
    record.pos = 1;
    record.pointCount = 6000;
    record.recordSize = 840 + 16 * 6000;
    const QByteArray oldest = encodeDataHeaderV1(oldHeader) + curveV1(record, x, y);
    QTest::newRow("oldest, Yes") << oldest << QMessageBox::Yes << QStringList{plotSizeText(6000, 5000)}
                                 << 6000u;
}

void TestDataIo::plotSizeQuestion()
{
    QFETCH(QByteArray, file);
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(QStringList, boxes);
    QFETCH(uint, plotSize);

    const QString path = writeBytes(QStringLiteral("big.vtldat"), file);
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    BoxScript script(&w, {answer});
    w.readDataFile(path);
    QCOMPARE(script.lines, boxes);
    QCOMPARE(w.plotSize, plotSize);
    // All points of the file, whatever the answer.
    QCOMPARE(w.curves.size(), 1);
    QCOMPARE(w.curves[0]->pointCount(), 6000);
    QCOMPARE(w.curves[0]->xValues[5999], 600.0 - 0.1 * 5999);
    QCOMPARE(cellLines(w, {"0:cnt=6000"}), QStringList{"0:cnt=6000"});
}

void TestDataIo::rejectedFiles_data()
{
    using Answers = QList<QMessageBox::StandardButton>;
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content"); // null: no file
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<QStringList>("boxes"); // %1: the path

    // The checks come before any question.
    const Answers yes{QMessageBox::Yes, QMessageBox::Yes};
    DataFileHeader header;
    QByteArray size7 = encodeDataHeader(header);
    qToLittleEndian<qint32>(7, size7.data() + 4);
    DataFileHeader type3;
    type3.headerType = 3;
    QTest::newRow("cannot be opened")
        << "absent.vtldat" << QByteArray() << yes << QStringList{"C|Cannot read file %1"};
    QTest::newRow("header size 7") << "size7.vtldat" << size7 << yes
                                   << QStringList{
                                          "C|Wrong file %1 - header of the file has invalid size (7)!"};
    QTest::newRow("header type 3") << "type3.vtldat" << encodeDataHeader(type3) << yes
                                   << QStringList{"C|Wrong file %1 - Wrong header type (3)!"};
    QTest::newRow("%d in the name") << "odd%d.vtldat" << encodeDataHeader(type3) << yes
                                    << QStringList{"C|Wrong file %1 - Wrong header type (3)!"};
    QTest::newRow("empty file") << "empty.vtldat" << QByteArray("") << yes
                                << QStringList{"C|Wrong file %1 - Wrong header type (-1)!"};

    // A file with another configuration, and a question declined.
    const QByteArray other = encodeDataHeader(headerOf(1)) + curve(sampleRecord("other", 2), {2, 1}, {5, 6});
    QTest::newRow("No to the configuration question")
        << "other.vtldat" << other << Answers{QMessageBox::No} << QStringList{configurationQuestion};
    QTest::newRow("No to the reset") << "other.vtldat" << other << Answers{QMessageBox::Yes, QMessageBox::No}
                                     << QStringList{configurationQuestion, resetQuestion};
    // Writing into a folder that doesn't exist.
    QTest::newRow("write fails") << "no-such-dir/d.vtldat" << QByteArray() << Answers{}
                                 << QStringList{"C|Cannot write file %1"};
}

void TestDataIo::rejectedFiles()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QList<QMessageBox::StandardButton>, answers);
    QFETCH(QStringList, boxes);

    const bool write = name.startsWith("no-such-dir/");
    const QString path = content.isNull() ? TestSupport::temporaryPath(name) : writeBytes(name, content);
    const auto window = windowWithPoints();
    VistrelMainWindow& w = *window;
    *w.axisSettings[1] = {-1.0, 1.0, 0.5, true, true};
    w.setOperatingMode(ModeStopped);
    const QMap<QString, QString> cells[] = {cellsOf(w, 0), cellsOf(w, 1)};
    const Points points[] = {pointsOf(w, 0), pointsOf(w, 1)};
    QCOMPARE(points[0].x.size(), 3);
    const double timeOrigin = w.timeOrigin();

    BoxScript script(&w, answers);
    if (write)
        w.writeDataFile(path);
    else
        w.readDataFile(path);
    for (QString& box : boxes)
        box.replace("%1", path);
    QCOMPARE(script.lines, boxes);

    // Nothing has changed.
    QCOMPARE(w.tableConfig->rowCount(), 2);
    QCOMPARE(w.curves.size(), 2);
    for (int row = 0; row < 2; ++row) {
        QCOMPARE(cellsOf(w, row), cells[row]);
        QVERIFY(pointsOf(w, row) == points[row]);
    }
    QCOMPARE(axesOf(w)[1], QStringLiteral("-1,1,0.5,1,1"));
    QCOMPARE(w.currentOperatingMode(), int(ModeStopped));
    QCOMPARE(w.currentProjectFileName(), QStringLiteral("kept.vtlprj"));
    QVERIFY(w.timeOrigin() == timeOrigin);
    if (!write) {
        QCOMPARE(w.currentDataFileName(), QString());
        return;
    }
    // A write takes the name before it tries the file.
    QCOMPARE(w.currentDataFileName(), path);
    QCOMPARE(w.statusBarLabels()->textLabelDataFile->text(), "Data: " + path);
    QVERIFY(w.dataSaveAction->isEnabled());
    QVERIFY(!QFile::exists(path));
}

void TestDataIo::loadedFiles()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, cells);
    QFETCH(QList<Points>, points);
    QFETCH(QStringList, axes);
    QFETCH(double, origin);
    QFETCH(double, runTime);
    QFETCH(QString, startText);

    const QString path = writeBytes(QStringLiteral("loaded.vtldat"), file);
    const auto window = makeWindow();
    VistrelMainWindow& w = *window;
    BoxScript noBoxes(&w);
    w.readDataFile(path);
    QTest::qWait(0);
    QCOMPARE(noBoxes.lines, QStringList());

    QCOMPARE(w.currentOperatingMode(), int(ModeData));
    const int rows = cells.last().section(QLatin1Char(':'), 0, 0).toInt() + 1;
    QCOMPARE(w.tableConfig->rowCount(), rows);
    QCOMPARE(w.curves.size(), rows);
    QCOMPARE(cellLines(w, cells), cells);
    for (int row = 0; row < rows; ++row) {
        if (points.isEmpty())
            QCOMPARE(w.curves[row]->pointCount(), cellsOf(w, row)["cnt"].toInt());
        else
            QVERIFY2(pointsOf(w, row) == points[row],
                     qPrintable(QStringLiteral("points of row %1").arg(row)));
    }
    if (!axes.isEmpty())
        QCOMPARE(axesOf(w), axes);
    QVERIFY(w.timeOrigin() == origin);
    QVERIFY(w.runTime() == runTime);
    QCOMPARE(w.plot->timeScaleEnd(), runTime);
    QCOMPARE(w.statusBarLabels()->textLabelStartTime->text(), startText);
    QCOMPARE(w.statusBarLabels()->textLabelRunTime->text(), QString::asprintf("Run: %0.3f s", runTime));
    QCOMPARE(w.plotSize, 5000u);
    // Drawn, too.
    w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&w));
    w.plot->replot();
    QVERIFY(!w.grab().isNull());
}

void TestDataIo::dialogs_data()
{
    QTest::addColumn<bool>("load");
    QTest::addColumn<QString>("typed");    // empty: the dialog is cancelled
    QTest::addColumn<QString>("expected"); // data file name afterwards

    QTest::newRow("load without extension") << true << "typed"
                                            << "typed.vtldat";
    QTest::newRow("load with extension") << true << "typed.vtldat"
                                         << "typed.vtldat";
    QTest::newRow("load cancelled") << true << QString() << QString();
    QTest::newRow("save without extension") << false << "saved"
                                            << "saved.vtldat";
    QTest::newRow("save with capitals") << false << "saved.VTLDAT"
                                        << "saved.VTLDAT.vtldat";
    QTest::newRow("save cancelled") << false << QString() << QString();
}

void TestDataIo::dialogs()
{
    QFETCH(bool, load);
    QFETCH(QString, typed);
    QFETCH(QString, expected);

    QTemporaryDir directory;
    const auto inDirectory = [&directory](const QString& name) {
        return name.isEmpty() ? name : directory.filePath(name);
    };
    // The name without extension exists too, and is no data file: only the
    // appended extension leads to the recording.
    QFile plain(inDirectory("typed"));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.write("not a data file");
    plain.close();
    {
        const auto source = makeWindow();
        RowSetup setup;
        setup.name = QStringLiteral("loaded");
        addRow(*source, setup);
        source->writeDataFile(inDirectory("typed.vtldat"));
    }

    const auto window = windowWithPoints();
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
        4);

    if (load)
        w.dataLoad();
    else
        w.dataSaveAs();

    QStringList expectedSeen{load ? "Load Data" : "Save Data as", "*.vtldat",
                             QString::number(load ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave)};
    if (load && !typed.isEmpty())
        expectedSeen << configurationQuestion.mid(2) << resetQuestion.mid(2);
    QCOMPARE(seen, expectedSeen);
    QCOMPARE(w.currentDataFileName(), inDirectory(expected));
    if (typed.isEmpty()) {
        QCOMPARE(cellLines(w, {"0:name=first", "1:name=second"}),
                 (QStringList{"0:name=first", "1:name=second"}));
    } else if (load) {
        QCOMPARE(w.currentOperatingMode(), int(ModeData));
        QCOMPARE(cellLines(w, {"0:name=loaded"}), QStringList{"0:name=loaded"});
        QCOMPARE(w.tableConfig->rowCount(), 1);
    } else {
        QVERIFY(!QFile::exists(inDirectory(typed)));
        // Two curves of three points each.
        QCOMPARE(fileBytes(inDirectory(expected)).size(), 96 + 2 * (1096 + 48));
        // dataSave writes to the same name again.
        QFile::remove(inDirectory(expected));
        w.dataSave();
        QCOMPARE(fileBytes(inDirectory(expected)).size(), 96 + 2 * (1096 + 48));
    }
}

QTEST_MAIN(TestDataIo)
#include "tst_dataio.moc"
