// Import of a recorder's log through the main window: the curves of the rows,
// the cells, the mode, the messages and aborting either phase.
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
#include <qwt_scale_div.h>

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QtTest>

#include <ctime>
#include <memory>

using TestSupport::ModalAnswerer;

namespace {

struct RowSetup
{
    QString id;
    bool is29Bit = false;
    int dataType = 2; // Integer16
    int pos = 1;
    int byteOrder = 0;
    QString scale = QStringLiteral("1");
    QString offset = QStringLiteral("0");
};

// One line of the recorder's text form (18 fields).
QByteArray textLine(int number, const char* time, const char* ms, int id, const char* letters,
                    const QByteArray& data)
{
    QList<QByteArray> fields{
        QByteArray::number(number),     "Rx", time, ms, "", "", QByteArray::number(id), "", letters,
        QByteArray::number(data.size())};
    for (int i = 0; i < 8; ++i)
        fields << (i < data.size() ? QByteArray::number(uchar(data[i]), 16) : QByteArray());
    return fields.join('\t') + '\n';
}

const QByteArray heading = "Recorder trace\nNo\tDir\tTime\tms\t\t\tId\t\tFlags\tLen\tData\n";

void putLe(QByteArray& bytes, int offset, uint64_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes[offset + i] = char((value >> (8 * i)) & 0xFF);
}

QByteArray frameRecord(int32_t seconds, uint16_t ms, uint32_t id, const QByteArray& data)
{
    QByteArray record(38, '\0');
    putLe(record, 2, uint32_t(seconds), 4);
    putLe(record, 6, ms, 2);
    putLe(record, 22, id, 4);
    record[26] = char(data.size());
    for (int i = 0; i < data.size(); ++i)
        record[30 + i] = data[i];
    return record;
}

QString writeFile(const QString& name, const QByteArray& bytes)
{
    const QString path = TestSupport::temporaryPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(bytes);
    return path;
}

// Whether this process holds a descriptor on the file.
bool isOpenHere(const QString& path)
{
    const QString target = QFileInfo(path).canonicalFilePath();
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QString& fd : fds.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)) {
        if (QFileInfo(fds.filePath(fd)).symLinkTarget() == target)
            return true;
    }
    return false;
}

// Answers the message boxes of an import with Ok and records their texts;
// the progress dialogs are left alone.
class BoxAnswerer
{
public:
    explicit BoxAnswerer(QWidget* window)
        : handler(
              [this, window](QWidget* widget) {
                  auto* box = qobject_cast<QMessageBox*>(widget);
                  if (!box)
                      return;
                  texts << QStringLiteral("%1|%2|%3")
                               .arg(box->windowTitle(), box->text())
                               .arg(box->parentWidget() == window);
                  box->button(QMessageBox::Ok)->click();
              },
              100)
    {}

    QStringList texts;

private:
    ModalAnswerer handler;
};

// Presses "Abort!" on the progress dialog with the given label as soon as it
// lets events through, and notes how the dialog was set up.
class ProgressAborter : public QObject
{
public:
    ProgressAborter(QWidget* window, const QString& label) : window(window), label(label)
    {
        // Zero-time: it runs in the first processing of events that the
        // dialog allows.
        timer.setInterval(0);
        connect(&timer, &QTimer::timeout, this, &ProgressAborter::poll);
        timer.start();
    }

    bool pressed = false;
    QStringList setup;

private:
    void poll()
    {
        for (QProgressDialog* dialog : window->findChildren<QProgressDialog*>()) {
            if (!dialog->isVisible() || dialog->labelText() != label)
                continue;
            const Qt::WindowFlags wanted = Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint |
                                           Qt::WindowSystemMenuHint | Qt::WindowTitleHint |
                                           Qt::MSWindowsFixedSizeDialogHint;
            auto* button = dialog->findChild<QPushButton*>();
            setup << QStringLiteral("range %1-%2").arg(dialog->minimum()).arg(dialog->maximum())
                  << QStringLiteral("flags %1").arg((dialog->windowFlags() & wanted) == wanted)
                  << QStringLiteral("parent %1").arg(dialog->parentWidget() == window)
                  << QStringLiteral("modal %1").arg(dialog->isModal())
                  << QStringLiteral("button %1").arg(button ? button->text() : QString());
            if (button)
                button->click();
            pressed = true;
            timer.stop();
            return;
        }
    }

    QWidget* window;
    QString label;
    QTimer timer;
};

} // namespace

Q_DECLARE_METATYPE(RowSetup)

class TestImport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void threeRows();
    void idMatching_data();
    void idMatching();
    void failures_data();
    void failures();
    void abort_data();
    void abort();
    void fileDialog_data();
    void fileDialog();
    void realLog();

private:
    int addRow(const RowSetup& setup);
    QString count(int row) const
    {
        return window->tableDescription->text(row, TablePlotDescription::ColCount);
    }
    QString modeText() const { return window->statusBarLabels()->textLabelMode->text(); }
    QStringList rowNames() const;

    std::unique_ptr<VistrelMainWindow> window;
};

void TestImport::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    // A zone without summer time, ahead of UTC, so that the binary form's
    // midnight is neither UTC's nor the machine's.
    qputenv("TZ", "XST-5");
    tzset();
}

void TestImport::init()
{
    TestSupport::useDriverConfig(QStringLiteral("net 0 virtual name=IMPORT features=Fc,2b\n"));
    window = std::make_unique<VistrelMainWindow>();
}

void TestImport::cleanup()
{
    if (window && window->running)
        window->pushButtonStartStop->click();
    window.reset();
}

int TestImport::addRow(const RowSetup& setup)
{
    TablePlotConfig* table = window->tableConfig;
    table->setCurrentCell(table->rowCount() - 1, TablePlotConfig::ColName);
    window->projectAddCurve();
    const int row = table->currentRow();
    table->setCurveName(row, QStringLiteral("row%1").arg(row));
    table->setIdText(row, setup.id);
    table->set29Bit(row, setup.is29Bit);
    table->comboSave(row, TablePlotConfig::ColDataType)->comboBox->setCurrentIndex(setup.dataType);
    table->setPosition(row, QString::number(setup.pos));
    table->setByteOrder(row, setup.byteOrder);
    table->setScaleText(row, setup.scale);
    table->setOffsetText(row, setup.offset);
    return row;
}

QStringList TestImport::rowNames() const
{
    QStringList names;
    for (int row = 0; row < window->tableConfig->rowCount(); ++row)
        names << window->tableConfig->curveName(row) + QLatin1Char('/') + window->tableConfig->idText(row);
    return names;
}

void TestImport::threeRows()
{
    // Two rows read the same id, one signed and scaled, one unsigned; the
    // third finds no frames.
    RowSetup first{QStringLiteral("0x100")};
    first.pos = 2;
    first.scale = QStringLiteral("0.5");
    first.offset = QStringLiteral("1");
    addRow(first);
    RowSetup second{QStringLiteral("256")};
    second.dataType = 1; // Unsigned8
    second.pos = 2;
    addRow(second);
    addRow({QStringLiteral("0x300"), true});
    window->antialiasing = true;
    const QStringList names = rowNames();

    // The first frame of the log belongs to no row; so does the last.
    const QByteArray bytes[] = {QByteArray::fromHex("00120000"), QByteArray::fromHex("01FFFF"),
                                QByteArray::fromHex("AA80000102")};
    const QByteArray text = heading + textLine(1, "12:00:00", "0", 0x555, "", "\x01") +
                            textLine(2, "12:00:00", "100", 0x100, "", bytes[0]) +
                            textLine(3, "12:00:01", "250", 0x100, "", bytes[1]) +
                            textLine(4, "12:00:02", "500.5", 0x100, "", bytes[2]) +
                            textLine(5, "12:00:03", "0", 0x555, "", "\x02");
    const QString path = writeFile(QStringLiteral("three.txt"), text);

    window->importRecordedData(path);

    QCOMPARE(modeText(), QStringLiteral("OFFLINE - IMPORT"));
    QCOMPARE(rowNames(), names);
    QCOMPARE(window->curves.size(), 3);
    QCOMPARE(count(0), QStringLiteral("4"));
    QCOMPARE(count(1), QStringLiteral("4"));
    QCOMPARE(count(2), QStringLiteral("1"));

    // Newest first, times from the first frame of the log.
    const PlotCurve& curve = *window->curves[0];
    QCOMPARE(curve.maxPoints, 5u);
    QCOMPARE(curve.pointCount(), 4);
    const double times[] = {3.0, 2.5005, 1.25, 0.1};
    for (int i = 0; i < 4; ++i)
        QVERIFY2(qAbs(curve.xValues[size_t(i)] - times[i]) < 1e-9, qPrintable(QString::number(i)));
    // Integer16 at "Pos" 2: 0x0012 = 18, 0xFFFF = -1, 0x0080 = 128.
    QCOMPARE(curve.yValues[3], 18 * 0.5 + 1);
    QCOMPARE(curve.yValues[2], -1 * 0.5 + 1);
    QCOMPARE(curve.yValues[1], 128 * 0.5 + 1);
    QCOMPARE(curve.yValues[0], curve.yValues[1]);
    QVERIFY(curve.plotItem->testRenderHint(QwtPlotItem::RenderAntialiased));
    const PlotCurve& unsignedCurve = *window->curves[1];
    QCOMPARE(unsignedCurve.yValues[3], 18.0);
    QCOMPARE(unsignedCurve.yValues[2], 255.0);
    QCOMPARE(unsignedCurve.yValues[1], 128.0);

    // The row without frames: the live point alone, at the end of the log.
    const PlotCurve& empty = *window->curves[2];
    QCOMPARE(empty.pointCount(), 1);
    QCOMPARE(empty.xValues[0], 3.0);
    QCOMPARE(empty.yValues[0], 0.0);

    QCOMPARE(window->runTime(), 3.0);
    QCOMPARE(window->timeOrigin(), 43200.0);
    QCOMPARE(window->statusBarLabels()->textLabelStartTime->text(), QStringLiteral("Start: 12:00:00.000"));
    QCOMPARE(window->statusBarLabels()->textLabelRunTime->text(), QStringLiteral("Run: 3.000 s"));
    QCOMPARE(window->currentDataFileName(), path);
    QCOMPARE(window->statusBarLabels()->textLabelDataFile->text(), "Data: " + path);
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::xBottom).upperBound(), 3.0);
    QCOMPARE(window->plot->axisScaleDiv(QwtPlot::xBottom).lowerBound(), -7.0);
    QCOMPARE(window->pushButtonMarker1->text(), QStringLiteral("M1: -3.000 s"));
    QCOMPARE(window->pushButtonMarker2->text(), QStringLiteral("M2: -1.000 s"));
    // Rows existed, so Start stays possible; nothing is left open.
    QVERIFY(window->pushButtonStartStop->isEnabled());
    QVERIFY(window->findChildren<QProgressDialog*>().isEmpty());
    QVERIFY(!isOpenHere(path));

    // Save asks for a name rather than writing over the log; cancelled, it
    // writes nothing.
    QString title;
    const ModalAnswerer cancel([&title](QWidget* dialog) {
        title = dialog->windowTitle();
        dialog->close();
    });
    window->dataSaveAction->trigger();
    QCOMPARE(cancel.answered(), 1);
    QCOMPARE(title, QStringLiteral("Save Data as"));
    QFile log(path);
    QVERIFY(log.open(QIODevice::ReadOnly));
    QCOMPARE(log.readAll(), text);
}

void TestImport::idMatching_data()
{
    QTest::addColumn<bool>("binary");
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("is29Bit");
    QTest::addColumn<QString>("count");

    // The logs hold 256 twice as an 11-bit id and three times as a 29-bit
    // one.
    for (const bool binary : {false, true}) {
        const char* form = binary ? "binary" : "text";
        QTest::addRow("%s hex", form) << binary << "0x100" << false << "3";
        QTest::addRow("%s hex 29-bit", form) << binary << "0x100" << true << "4";
        QTest::addRow("%s decimal", form) << binary << "256" << false << "3";
        QTest::addRow("%s octal", form) << binary << "0400" << false << "3";
        QTest::addRow("%s other id", form) << binary << "0x101" << false << "1";
        QTest::addRow("%s other id 29-bit", form) << binary << "257" << true << "1";
    }
}

void TestImport::idMatching()
{
    QFETCH(bool, binary);
    QFETCH(QString, id);
    QFETCH(bool, is29Bit);
    QFETCH(QString, count);

    RowSetup setup{id, is29Bit};
    setup.dataType = 1; // Unsigned8
    addRow(setup);

    const uint32_t ids[] = {256, 256 + TESS_ID_29BIT, 256, 256 + TESS_ID_29BIT, 256 + TESS_ID_29BIT, 5};
    QByteArray bytes;
    if (binary) {
        for (int i = 0; i < 6; ++i)
            bytes += frameRecord(1674148739 + i, 0, ids[i], QByteArray(1, char(i)));
    } else {
        for (int i = 0; i < 6; ++i) {
            const bool extended = ids[i] & TESS_ID_29BIT;
            bytes +=
                textLine(i + 1, "08:00:00", QByteArray::number(i * 10).constData(),
                         int(ids[i] & ~uint32_t(TESS_ID_29BIT)), extended ? "L" : "", QByteArray(1, char(i)));
        }
    }
    const QString path = writeFile(QStringLiteral("ids.") + (binary ? "vbrlog" : "txt"), bytes);
    window->importRecordedData(path);

    QCOMPARE(modeText(), QStringLiteral("OFFLINE - IMPORT"));
    QCOMPARE(this->count(0), count);
    // The samples are the frames of that id: their data bytes say which.
    const PlotCurve& curve = *window->curves[0];
    QStringList taken;
    for (int i = curve.pointCount() - 1; i >= 1; --i)
        taken << QString::number(curve.yValues[size_t(i)]);
    QStringList expected;
    const uint32_t key = uint32_t(id.toInt(nullptr, 0)) + (is29Bit ? TESS_ID_29BIT : 0);
    for (int i = 0; i < 6; ++i) {
        if (ids[i] == key)
            expected << QString::number(i);
    }
    QCOMPARE(taken, expected);
}

void TestImport::failures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content"); // none: the file isn't written
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("curvesCleared");

    const QByteArray frame = textLine(1, "10:00:00", "0", 1, "", "\x01");
    QTest::newRow("unknown type") << "log.csv" << frame << "Unknown file type %1" << false;
    QTest::newRow("capital extension") << "log.TXT" << frame << "Unknown file type %1" << false;
    QTest::newRow("missing") << "missing.txt" << QByteArray() << "Cannot read file %1" << false;
    const QString noData = QStringLiteral("Cannot find CAN-data in file %1 (Unknown format)");
    QTest::newRow("heading only") << "heading.txt" << heading << noData << true;
    QTest::newRow("blank line in the heading") << "blank.txt"
                                               << "Recorder\n\n" + frame << noData << true;
    QTest::newRow("error lines only")
        << "errors.txt" << textLine(1, "10:00:00", "0", 1, "E", "\x01") << noData << true;
    QTest::newRow("binary without bus frames")
        << "nobus.vbrlog" << frameRecord(1674148739, 0, 0x40000100, "\x01") << noData << true;
    QTest::newRow("binary of another program") << "other.vbrlog" << QByteArray(100, 'x') << noData << true;
}

void TestImport::failures()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, message);
    QFETCH(bool, curvesCleared);

    addRow({QStringLiteral("1")});
    addRow({QStringLiteral("2")});
    // A good import first: its state must survive the failing one.
    const QString good =
        writeFile(QStringLiteral("good.txt"), textLine(1, "10:00:00", "0", 1, "", "\x01\x00") +
                                                  textLine(2, "10:00:04", "0", 2, "", "\x02\x00"));
    window->importRecordedData(good);
    QCOMPARE(window->runTime(), 4.0);
    const double origin = window->timeOrigin();
    const QStringList names = rowNames();

    const QString path = content.isNull() ? TestSupport::temporaryPath(name) : writeFile(name, content);
    BoxAnswerer boxes(window.get());
    window->importRecordedData(path);

    QCOMPARE(boxes.texts, QStringList{"Critical Error|" + message.arg(path) + "|1"});
    QCOMPARE(window->currentOperatingMode(), int(ModeImport));
    QCOMPARE(window->currentDataFileName(), good);
    QCOMPARE(window->runTime(), 4.0);
    QCOMPARE(window->timeOrigin(), origin);
    QCOMPARE(rowNames(), names);
    QCOMPARE(window->curves.size(), curvesCleared ? 0 : 2);
    QCOMPARE(window->plot->itemList(QwtPlotItem::Rtti_PlotCurve).size(), curvesCleared ? 0 : 2);
    QVERIFY(window->findChildren<QProgressDialog*>().isEmpty());
    if (!content.isNull())
        QVERIFY(!isOpenHere(path));
    if (!curvesCleared)
        return;

    // Rows without curves: what acts on a row's curve must cope until Start
    // builds them all.
    TablePlotConfig* config = window->tableConfig;
    config->setCurveName(0, QStringLiteral("renamed"));
    config->comboSave(1, TablePlotConfig::ColAxis)->comboBox->setCurrentIndex(1);
    window->tableDescription->setCurveEnabled(0, false);
    window->tableDescription->setCurveStyleIndex(1, 1);
    window->pushButtonMarker1->click();
    window->pushButtonMarker2->click();
    window->pushButtonDMarker->click();
    window->sliderTimeBase->setValue(4);
    QTest::qWait(0);
    QCOMPARE(window->tableDescription->text(0, TablePlotDescription::ColName), QStringLiteral("renamed"));
    window->pushButtonStartStop->click();
    QVERIFY(window->running);
    window->pushButtonStartStop->click();
    QCOMPARE(boxes.texts.size(), 1);
    QCOMPARE(window->curves.size(), 2);
    QCOMPARE(window->curves[0]->plotItem->title().text(), QStringLiteral("renamed"));
}

void TestImport::abort_data()
{
    QTest::addColumn<bool>("whileReading");
    QTest::newRow("reading") << true;
    QTest::newRow("converting") << false;
}

void TestImport::abort()
{
    QFETCH(bool, whileReading);
    addRow({QStringLiteral("1")});
    addRow({QStringLiteral("2")});
    addRow({QStringLiteral("3")});
    const QStringList names = rowNames();
    const double origin = window->timeOrigin();
    const QString countBefore = count(1);
    // Row 0 has few frames, row 1 enough for many steps.
    QByteArray text = textLine(1, "10:00:00", "0", 1, "", QByteArray::fromHex("0500"));
    for (int i = 2; i <= 300; ++i)
        text += textLine(i, "10:00:01", QByteArray::number(i).constData(), 2, "", "\x07\x00");
    // Between 10000 and 100000 bytes the scale's step is 100.
    QVERIFY(text.size() > 10000 && text.size() <= 100000);
    const QString path = writeFile(QStringLiteral("abort.txt"), text);

    ProgressAborter aborter(window.get(), whileReading ? QStringLiteral("Read file ...")
                                                       : QStringLiteral("Convert data from Config(1) ..."));
    window->importRecordedData(path);

    QVERIFY(aborter.pressed);
    const QString range = whileReading ? QStringLiteral("range 0-%1").arg(text.size() / 100 + 1)
                                       : QStringLiteral("range 0-299");
    QCOMPARE(aborter.setup, (QStringList{range, "flags 1", "parent 1", "modal 1", "button Abort!"}));
    if (whileReading) {
        QVERIFY(window->curves.isEmpty());
        QCOMPARE(count(0), countBefore);
        QCOMPARE(window->timeOrigin(), origin);
    } else {
        // The rows before the aborted one keep their samples; the aborted
        // row's curve holds none.
        QCOMPARE(window->curves.size(), 2);
        QCOMPARE(count(0), QStringLiteral("2"));
        QCOMPARE(window->curves[0]->yValues[1], 5.0);
        QCOMPARE(window->curves[1]->pointCount(), 1);
    }
    QCOMPARE(count(1), countBefore);
    QCOMPARE(rowNames(), names);
    QCOMPARE(window->currentOperatingMode(), int(ModeNone));
    QCOMPARE(window->currentDataFileName(), QString());
    QCOMPARE(window->runTime(), 0.0);
    QVERIFY(window->findChildren<QProgressDialog*>().isEmpty());
    QVERIFY(!isOpenHere(path));
}

void TestImport::fileDialog_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("imported"); // empty: nothing imported
    QTest::addColumn<QString>("message");

    QTest::newRow("text") << "log.txt"
                          << "log.txt" << QString();
    QTest::newRow("binary") << "log.vbrlog"
                            << "log.vbrlog" << QString();
    QTest::newRow("without extension") << "plain"
                                       << "plain.txt" << QString();
    QTest::newRow("capitals") << "abc.TXT" << QString() << "Cannot read file %1.txt";
    QTest::newRow("cancelled") << QString() << QString() << QString();
}

void TestImport::fileDialog()
{
    QFETCH(QString, typed);
    QFETCH(QString, imported);
    QFETCH(QString, message);

    QTemporaryDir directory;
    const QByteArray text = textLine(1, "10:00:00", "0", 1, "", "\x01");
    // Every name that can be typed exists, with a log that has frames.
    for (const char* name : {"log.txt", "plain", "plain.txt", "abc.TXT"}) {
        QFile file(directory.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QFile binary(directory.filePath(QStringLiteral("log.vbrlog")));
    QVERIFY(binary.open(QIODevice::WriteOnly));
    binary.write(frameRecord(1674148739, 0, 1, "\x01"));
    binary.close();

    addRow({QStringLiteral("1")});
    QStringList seen;
    ModalAnswerer handler(
        [&](QWidget* widget) {
            if (auto* dialog = qobject_cast<QFileDialog*>(widget)) {
                TestSupport::answerFileDialog(dialog, dialog->fileMode(),
                                              typed.isEmpty() ? QString() : directory.filePath(typed), &seen);
            } else if (auto* box = qobject_cast<QMessageBox*>(widget)) {
                seen << box->text();
                box->button(QMessageBox::Ok)->click();
            }
        },
        10);

    window->dataImportAction->trigger();

    QStringList expected{"Import Data", "( *.vbrlog *.txt )", QString::number(QFileDialog::ExistingFile)};
    if (!message.isEmpty())
        expected << message.arg(directory.filePath(typed));
    QCOMPARE(seen, expected);
    if (imported.isEmpty()) {
        QCOMPARE(window->currentOperatingMode(), int(ModeNone));
        QCOMPARE(window->currentDataFileName(), QString());
    } else {
        QCOMPARE(window->currentOperatingMode(), int(ModeImport));
        QCOMPARE(window->currentDataFileName(), directory.filePath(imported));
        QCOMPARE(count(0), QStringLiteral("2"));
    }
}

void TestImport::realLog()
{
    // A candump log of a real car, rewritten into the recorder's text form.
    const QString source = QStringLiteral(VISTREL_SHARED_LOGS_DIR "/civic-turnonanddrive.log");
    QFile candump(source);
    if (!candump.open(QIODevice::ReadOnly))
        QSKIP("the shared CAN logs are absent");

    const QRegularExpression linePattern(
        QStringLiteral("^\\((\\d+)\\.(\\d{6})\\) \\S+ ([0-9A-F]+)#(R|[0-9A-F]*)$"));
    QByteArray text = heading;
    QMap<QString, int> countById; // by the id's text, apart from the conversion
    QMap<QString, QByteArray> lastDataById;
    QMap<QString, double> lastTimeById;
    double firstTime = -1.0;
    double lastTime = 0.0;
    int number = 0;
    while (!candump.atEnd()) {
        const QString line = QString::fromLatin1(candump.readLine()).trimmed();
        const QRegularExpressionMatch match = linePattern.match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        const qint64 seconds = match.captured(1).toLongLong();
        const int micro = match.captured(2).toInt();
        const QString idText = match.captured(3);
        const bool remote = match.captured(4) == QLatin1String("R");
        const QByteArray data = remote ? QByteArray() : QByteArray::fromHex(match.captured(4).toLatin1());
        const double time = double(seconds % 86400) + micro / 1e6;
        if (firstTime < 0)
            firstTime = time;
        lastTime = time;
        ++countById[idText];
        lastDataById[idText] = data;
        lastTimeById[idText] = time;

        const QString timeOfDay =
            QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(QStringLiteral("HH:mm:ss"));
        const QByteArray ms = QByteArray::number(micro / 1000.0, 'f', 3);
        QByteArray letters = remote ? "R" : "";
        if (idText.size() > 3)
            letters += 'L';
        text += textLine(++number, timeOfDay.toLatin1().constData(), ms.constData(),
                         idText.toInt(nullptr, 16), letters.constData(), data);
    }
    QVERIFY(number > 20000);
    // The recording stays within one day, so that seconds of the day compare.
    QVERIFY(lastTime > firstTime);

    // ENGINE_DATA, POWERTRAIN_DATA and WHEEL_SPEEDS of the car's DBC, read as
    // Motorola Unsigned16 at the start of the frame.
    const QStringList ids{"158", "17C", "1D0"};
    for (const QString& id : ids) {
        RowSetup setup{"0x" + id};
        setup.dataType = 3;
        setup.byteOrder = 1;
        setup.scale = QStringLiteral("0.01");
        addRow(setup);
    }
    const QString path = writeFile(QStringLiteral("civic.txt"), text);
    window->importRecordedData(path);

    QCOMPARE(modeText(), QStringLiteral("OFFLINE - IMPORT"));
    QVERIFY(qAbs(window->runTime() - (lastTime - firstTime)) < 1e-6);
    for (int row = 0; row < ids.size(); ++row) {
        const QString& id = ids[row];
        QVERIFY2(countById.value(id) > 100, qPrintable(id));
        QCOMPARE(count(row), QString::number(countById.value(id) + 1));
        const PlotCurve& curve = *window->curves[row];
        QVERIFY(qAbs(curve.xValues[1] - (lastTimeById.value(id) - firstTime)) < 1e-6);
        const QByteArray& data = lastDataById[id];
        const double expected = (uchar(data[0]) * 256 + uchar(data[1])) * 0.01;
        QVERIFY2(qAbs(curve.yValues[1] - expected) < 1e-9, qPrintable(id));
        // Times fall from the newest sample on.
        for (int i = 1; i < curve.pointCount() - 1; ++i)
            QVERIFY(curve.xValues[size_t(i)] >= curve.xValues[size_t(i) + 1]);
    }
}

QTEST_MAIN(TestImport)
#include "tst_import.moc"
