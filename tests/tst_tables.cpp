// The configuration table and the description table: the cells of a new
// row, the baud code, access outside the table, tooltips, "En" and "Style";
// what an edit does, adding and deleting curves; the scaling maths and the
// scaling dialog; rows described bit by bit and the signals of DBC files.
#include "dataplot.h"
#include "driver_support.h"
#include "gui_support.h"
#include "mdialogdbcsignals.h"
#include "mdialogscaleoffset.h"
#include "plotcurve.h"
#include "qcombotablesupportitem.h"
#include "tableplotdescription.h"

#include <qwt_plot_curve.h>

#include <QColorDialog>
#include <QFileDialog>
#include <QtTest>

using TestSupport::addRows;
using TestSupport::ModalAnswerer;
using TestSupport::tableRow;
using TestSupport::windowWithBareTable;
using Config = TablePlotConfig;
using Description = TablePlotDescription;

namespace {

const QString threeNets =
    QStringLiteral("net 0 virtual demo\nnet 2 virtual name=MY_CAN_BOX\nnet 4 virtual name=can_lower\n");

// Names row r "c<r>" with unit "u<r>", by the edit rules.
std::unique_ptr<VistrelMainWindow> namedRows(int rows, bool shown = false)
{
    auto window = GuiSupport::windowWithCurves(threeNets, rows, shown);
    for (int row = 0; row < rows; ++row) {
        window->tableConfig()->setCurveName(row, QStringLiteral("c%1").arg(row));
        window->tableConfig()->setUnitText(row, QStringLiteral("u%1").arg(row));
    }
    return window;
}

// The names of the curves, where both tables and the plot item agree, and the count of spares.
QStringList curvesShown(VistrelMainWindow& w)
{
    QStringList shown;
    for (int row = 0; row < w.tableConfig()->rowCount(); ++row) {
        const QString name = w.tableConfig()->curveName(row);
        const QString color = w.tableConfig()->curveColor(row);
        const bool agree =
            row < w.curves().size() && w.curves()[row]->plotItem->title().text() == name &&
            w.curves()[row]->plotItem->pen().color() == QColor(color) &&
            w.tableDescription()->text(row, Description::ColName) == name &&
            w.tableDescription()->curveColor(row) == color &&
            w.tableDescription()->text(row, Description::ColUnit) == w.tableConfig()->unitText(row);
        shown << (agree ? name : QStringLiteral("row %1 differs").arg(row));
    }
    return shown + QStringList(QString::number(w.tableDescription()->rowCount() - w.curves().size()));
}

// The six scaling cells: raw min, raw max, min, max, offset, scale.
QStringList scalingCells(Config* table, int row)
{
    return {table->rawValueMinText(row), table->rawValueMaxText(row), table->valueMinText(row),
            table->valueMaxText(row),    table->offsetText(row),      table->scaleText(row)};
}

// The dialog's fields in the order of the cells.
QStringList fields(const MDialogScaleOffset* d)
{
    return {d->lineEditRawMin->text(), d->lineEditRawMax->text(), d->lineEditMin->text(),
            d->lineEditMax->text(),    d->lineEditOffset->text(), d->lineEditScale->text()};
}

// Runs `act` on the next scaling dialog, which it records as opened; cancels it if left open.
struct ScaleDialogAnswer
{
    explicit ScaleDialogAnswer(const std::function<void(MDialogScaleOffset*)>& act)
        : answerer([this, act](QWidget* widget) {
              auto* dialog = qobject_cast<MDialogScaleOffset*>(widget);
              opened << QStringLiteral("%1 %2").arg(dialog->row).arg(dialog->windowTitle()) << fields(dialog);
              act(dialog);
              if (dialog->isVisible())
                  dialog->buttonCancel->click();
          })
    {}
    QStringList opened;
    TestSupport::ModalAnswerer answerer;
};

// clang-format off
// A text that fails its check becomes "0"; one that passes keeps its form. In
// BTR mode, read as hexadecimal and written back in lower case.
const struct { const char* name; int col; QString typed, result; } repairRows[] = {
    {"Id, largest",        Config::ColId,   "0x1FFFFFFF", "0x1FFFFFFF"},
    {"Id, one above",      Config::ColId,   "0x20000000", "0"},
    {"Id, octal",          Config::ColId,   "010",        "010"},
    {"Id, bad octal",      Config::ColId,   "08",         "0"},
    {"Mask, largest",      Config::ColMask, "0377",       "0377"},
    {"Mask, one above",    Config::ColMask, "256",        "0"},
    {"BTR, largest",       Config::ColBtr,  "0xFFFF",     "ffff"},
    {"BTR, one above",     Config::ColBtr,  "10000",      "0"},
    {"BTR, leading zeros", Config::ColBtr,  "001C",       "1c"}};

const struct { const char* name; int current; } addRowsAt[] = {{"no current row", -1}, {"between", 0}, {"last row", 1}};

const struct { const char* name; QList<int> selected; int current; bool yes; QStringList remaining; } deleteRows[] = {
    {"selected rows",                 {0, 2, 3},    1,  true,  {"c1", "0"}},
    {"no selection: the current row", {},           2,  true,  {"c0", "c1", "c3", "0"}},
    {"no current row: row 0",         {},           -1, true,  {"c1", "c2", "c3", "0"}},
    {"all rows",                      {0, 1, 2, 3}, 0,  true,  {"0"}},
    {"declined",                      {1},          1,  false, {"c0", "c1", "c2", "c3", "0"}}};

// The data type's raw range fills the axis's viewport (right: 0 to 100); real
// types keep 1 and 0. Written with a point also under a comma locale.
const struct { const char* name; int dataType, axis; QStringList cells; } scalingRows[] = {
    {"Integer8",               0,  0, {"-128", "127", "-100", "100", "0.3921568627450966", "0.7843137254901961"}},
    {"Unsigned32, the widest", 5,  0, {"0", "4294967295", "-100", "100", "-100", "4.656612874161595e-08"}},
    {"Real32",                 6,  0, {"0", "1", "-100", "100", "0", "1"}},
    {"no data type: 0 to 1",   -1, 0, {"0", "1", "-100", "100", "-100", "200"}},
    {"Integer8 on the right",  0,  1, {"-128", "127", "0", "100", "50.19607843137255", "0.392156862745098"}}};

// A "Real64" row (0..1 onto -100..100), a comma locale: the range typed, then OK or Calc and
// Cancel. shown: the fields afterwards; the row takes them only if OK closed. A failed field
// and those behind it count as 0.
const struct { const char* name; QStringList typed; bool calc, closes; QStringList shown; } dialogRows[] = {
    {"raw range of no width", {"7", "7", "0", "10"},       false, true,  {"7", "7", "0", "10", "0", "0"}},
    {"commas, sign kept",     {"1,5", "3,5", "-1,0", "+1"}, false, true, {"1.5", "3.5", "-1.0", "+1", "-2.5", "1"}},
    {"no change",             {},                          false, true,  {"0", "1", "-100", "100", "-100", "200"}},
    {"a field fails",         {"-10", "10", "x", "10"},    false, false, {"-10", "10", "x", "10", "0", "0"}},
    {"Cancel after Calc",     {"0", "100", "0", "10"},     true,  false, {"0", "100", "0", "10", "0", "0.1"}}};

// Texts typed one after the other into the Signal cell, and the cell then.
// Which texts the parser refuses is the DBC tests' matter; here one stands for all.
const struct { const char* name; QStringList typed; QString cell; } signalRows[] = {
    {"switch with its sign", {"8|16@1+ m3 0|8@1+"},   "8|16@1+ m3 0|8@1"},
    {"bad after good",       {"24|9@0-", "60|8@1+"}, "24|9@0-"},
    {"beyond the frame",     {"60|8@1+"},            ""},
    {"emptied",              {"24|9@0-", ""},        ""}};
// clang-format on

} // namespace

class TestTables : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { GuiSupport::prepare(); }

    // A new row's cells, its baud code, and the cells outside the table.
    void newRow()
    {
        const auto window = windowWithBareTable(threeNets, 2);
        Config* table = window->tableConfig();
        QStringList texts;
        for (int col = Config::ColName; col <= Config::ColUnit; ++col)
            texts << table->cellText(1, col);
        QCOMPARE(texts,
                 (QStringList{"NewName", "0: DEMO", "1000.0", "-----", "0", "", "1", "Integer8", "0xFF",
                              "Intel", "Left", "0.7843137254901961", "0.3921568627450966", ""}));
        // A colour cell keeps only the editable flag, so that a click doesn't select the colour away.
        QVERIFY(!(table->item(1, Config::ColColor)->flags() & ~Qt::ItemIsEditable));
        // The baud code: a rate's index, or the "BTR/hex" timing with the top bit.
        QComboBox* box = table->comboSave(0, Config::ColBaud)->comboBox;
        table->setBaud(0, int(0xFFFF001C)); // the upper bits go
        QVERIFY(table->baud(0) == -2147483620 && box->currentText() == "BTR01" && table->btrText(0) == "1c");
        table->setBtrText(0, QStringLiteral("FFFF"));
        QCOMPARE(table->baud(0), int(0x8000FFFF));
        table->setBtrText(0, QStringLiteral("-----"));
        QCOMPARE(table->baud(0), int(0x80000000));
        table->setBaud(0, 0);
        QVERIFY(table->baud(0) == 0 && box->currentText() == "1000.0" && table->btrText(0) == "-----");
        // A cell outside the table reads nothing, and writes go nowhere.
        const QSignalSpy changes(table, &QTableWidget::cellChanged);
        table->setCellText(-1, Config::ColName, QStringLiteral("written"));
        table->setDataType(2, 3);
        QVERIFY(table->curveName(0) != "written" && table->dataType(2) == -1 && changes.isEmpty());
    }

    // Tooltips, made when shown, on an interface with all feature bits.
    void tooltips()
    {
        const auto window = windowWithBareTable(
            QStringLiteral("net 2 virtual name=BOX_CAN features=0xFFFF tsfreq=1234567 hw=0x0102 fw=0x0A0B\n"),
            1);
        Config* table = window->tableConfig();
        const auto tooltip = [table](int col) {
            return table->item(0, col)->data(Qt::ToolTipRole).toString();
        };
        QCOMPARE(tooltip(Config::ColNet),
                 QStringLiteral("BOX_CAN\nHardware: 0102 Firmware: 0A0B Driver: 0100 DLL: 0100\n"
                                "Features: FFFF ( Fc 2b Ts Lo Sd ) Status: 0000\n"
                                "TS-Freq : 1.234567 MHz"));
        QCOMPARE(tooltip(Config::ColScale),
                 QStringLiteral("Raw Value    [min/max]: -128/127\nScaled Value [min/max]: -100/100"));
        table->setIdText(0, QStringLiteral("0x123"));
        QCOMPARE(tooltip(Config::ColId), QStringLiteral("11-Bit: 291|0x123"));
        table->setIdText(0, QStringLiteral("0x1FFFFFFF"));
        table->set29Bit(0, true);
        QCOMPARE(tooltip(Config::Col29Bit), QStringLiteral("29-Bit: 536870911|0x1FFFFFFF"));
    }

    // "En" and "Style" act on the curve at once, as the user changes them.
    void enableAndStyle()
    {
        const auto window = GuiSupport::windowWithCurves(QString(), 2);
        Description* table = window->tableDescription();
        const QwtPlotCurve* item = window->curves()[0]->plotItem;
        QComboBox* style = table->comboSave(0, Description::ColStyle)->comboBox;
        QVERIFY(table->curveEnabled(0) && style->currentText() == "Steps");
        table->item(0, Description::ColEnable)->setCheckState(Qt::Unchecked);
        QCOMPARE(item->style(), QwtPlotCurve::NoCurve);
        QVERIFY(item->plot());     // still there, with its legend entry
        style->setCurrentIndex(2); // while unchecked: still nothing
        QCOMPARE(item->style(), QwtPlotCurve::NoCurve);
        table->item(0, Description::ColEnable)->setCheckState(Qt::Checked);
        QCOMPARE(item->style(), QwtPlotCurve::Sticks);
        style->setCurrentIndex(1);
        QCOMPARE(item->style(), QwtPlotCurve::Lines);
        QCOMPARE(window->curves()[1]->plotItem->style(), QwtPlotCurve::Steps);
    }

    void textRepairs_data() { addRows(repairRows); }
    void textRepairs()
    {
        const auto& [name, col, typed, result] = tableRow(repairRows);
        const auto window = namedRows(2);
        Config* table = window->tableConfig();
        table->comboSave(1, Config::ColBaud)->comboBox->setCurrentIndex(Config::BaudBtrIndex);
        const QString other = table->cellText(0, col);
        table->setCellText(1, col, typed);
        QCOMPARE(table->cellText(1, col), result);
        QCOMPARE(table->cellText(0, col), other);
    }

    void btrModeTransitions()
    {
        const auto window = namedRows(2);
        Config* table = window->tableConfig();
        QComboBox* baud = table->comboSave(1, Config::ColBaud)->comboBox;
        table->setBtrText(1, QStringLiteral("1c")); // not in BTR mode: undone
        QCOMPARE(table->btrText(1), QStringLiteral("-----"));
        // "BTR01": "-----" doesn't convert, so the timing starts at 0.
        baud->setCurrentIndex(Config::BaudBtrIndex);
        QCOMPARE(table->btrText(1), QStringLiteral("0"));
        QVERIFY(!table->isColumnHidden(Config::ColBtr));
        table->setBtrText(1, QStringLiteral("1C"));
        // A bit rate ends BTR mode; the hidden copy keeps the last timing.
        baud->setCurrentIndex(2);
        QCOMPARE(table->btrText(1), QStringLiteral("-----"));
        QCOMPARE(table->btrCopyText(1), QStringLiteral("1c"));
        QVERIFY(table->isColumnHidden(Config::ColBtr));
        baud->setCurrentIndex(Config::BaudBtrIndex);
        QCOMPARE(table->btrText(1), QStringLiteral("0"));
        // "BTR/hex" shows while some row is in BTR mode.
        table->setBaud(0, int(0x8000001C));
        baud->setCurrentIndex(3);
        QVERIFY(!table->isColumnHidden(Config::ColBtr));
        table->removeCurveRow(0);
        QVERIFY(table->isColumnHidden(Config::ColBtr));
    }

    // Add puts the new row below the current one; the rows around keep their
    // cells and their curves, also while the new row is being built.
    void addCurve_data() { addRows(addRowsAt); }

    void addCurve()
    {
        const auto& [name, current] = tableRow(addRowsAt);
        const auto window = namedRows(2);
        VistrelMainWindow& w = *window;
        const QVector<QwtPlotCurve*> items{w.curves()[0]->plotItem, w.curves()[1]->plotItem};
        w.tableConfig()->setCurrentCell(current, Config::ColUnit);
        w.projectAddCurve();
        const int added = current + 1;
        QStringList expected{"c0", "c1", "0"};
        expected.insert(added, QStringLiteral("NewName"));
        QCOMPARE(curvesShown(w), expected);
        QCOMPARE(w.curves()[added < 1 ? 1 : 0]->plotItem, items[0]);
        QCOMPARE(w.tableConfig()->currentRow(), added);
        QCOMPARE(w.tableConfig()->currentColumn(), int(Config::ColName));
        // Two new rows differ in colour only.
        QVERIFY(w.tableConfig()->curveColor(added) != w.tableConfig()->curveColor(added == 0 ? 1 : 0));
    }

    void axisRule()
    {
        const auto window = namedRows(2);
        VistrelMainWindow& w = *window;
        QComboBox* axis = w.tableConfig()->comboSave(1, Config::ColAxis)->comboBox;
        axis->setCurrentIndex(1);
        // The right axis appears, the curve moves.
        QTRY_VERIFY(w.axisSettings()[1]->visible && w.plot()->axisEnabled(QwtPlot::yRight));
        QCOMPARE(w.curves()[1]->plotItem->yAxis(), int(QwtPlot::yRight));
        QCOMPARE(w.curves()[0]->plotItem->yAxis(), int(QwtPlot::yLeft));
        // Back to the left: the curve moves, the axis stays.
        axis->setCurrentIndex(0);
        QCOMPARE(w.curves()[1]->plotItem->yAxis(), int(QwtPlot::yLeft));
        QTest::qWait(0);
        QVERIFY(w.plot()->axisEnabled(QwtPlot::yRight));
    }

    // A plain left click on "Col" opens the colour dialog; what it picks
    // reaches both tables and the curve.
    void colourCell()
    {
        const auto window = namedRows(2, true);
        Config* table = window->tableConfig();
        const QString before = table->curveColor(1);
        QStringList seen;
        const ModalAnswerer handler([&seen](QWidget* widget) {
            auto* dialog = qobject_cast<QColorDialog*>(widget);
            seen << dialog->windowTitle() + ' ' + dialog->currentColor().name();
            dialog->setCurrentColor(QColor(0x12, 0x34, 0x56));
            dialog->accept();
        });
        const QPoint cell = table->visualRect(table->model()->index(1, Config::ColColor)).center();
        for (const Qt::MouseButton button : {Qt::RightButton, Qt::LeftButton})
            QTest::mouseClick(table->viewport(), button, Qt::NoModifier, cell);
        QCOMPARE(seen, QStringList{"Select Curve Color " + before});
        QCOMPARE(table->curveColor(1), QStringLiteral("#123456"));
        QCOMPARE(curvesShown(*window).value(1), QStringLiteral("c1")); // both tables and the curve agree
    }

    void deleteCurves_data() { addRows(deleteRows); }
    void deleteCurves()
    {
        const auto& [name, selected, current, yes, remaining] = tableRow(deleteRows);
        const auto window = namedRows(4);
        VistrelMainWindow& w = *window;
        QItemSelectionModel* selection = w.tableConfig()->selectionModel();
        selection->clear();
        selection->setCurrentIndex(w.tableConfig()->model()->index(current, 1),
                                   QItemSelectionModel::NoUpdate);
        for (const int row : selected)
            selection->select(w.tableConfig()->model()->index(row, 0),
                              QItemSelectionModel::Select | QItemSelectionModel::Rows);
        {
            const ModalAnswerer answerer(yes ? QMessageBox::Yes : QMessageBox::No);
            w.projectDeleteCurve();
            QCOMPARE(answerer.titles().value(0) + answerer.lastText(),
                     "Warning!Do you really want to delete the curve(s)?\nContinue?");
        }
        QCOMPARE(curvesShown(w), remaining);
        QCOMPARE(w.plot()->itemList(QwtPlotItem::Rtti_PlotCurve).size(), remaining.size() - 1);
        // Without rows there is nothing to start, and nothing to ask.
        QCOMPARE(GuiSupport::child<QPushButton>(&w, "pushButtonStartStop")->isEnabled(),
                 remaining.size() > 1);
        const ScaleDialogAnswer answer([](MDialogScaleOffset*) {});
        const int last = w.tableConfig()->rowCount() - 1;
        if (last < 0)
            w.projectDeleteCurve();
        else // the Calc button of the last row opens the dialog of that row
            qobject_cast<QPushButton*>(w.tableConfig()->cellWidget(last, Config::ColCalc))->click();
        const QString title =
            QStringLiteral("%1 Curve Scaling %2 (Row: %3)").arg(last).arg(remaining.value(last));
        QCOMPARE(answer.opened.value(0), last < 0 ? QString() : title.arg(last + 1));
    }

    void rowScaling_data() { addRows(scalingRows); }
    void rowScaling()
    {
        const auto& [name, dataType, axis, cells] = tableRow(scalingRows);
        const auto window = TestSupport::windowWithBareTable(QString(), 1);
        Config* table = window->tableConfig();
        table->setValueAxis(0, axis);
        table->setDataType(0, dataType);
        const GuiSupport::CommaLocale comma;
        table->slotDataTypeCurveSelection(0);
        QCOMPARE(scalingCells(table, 0), cells);
    }

    void scaleDialog_data() { addRows(dialogRows); }
    void scaleDialog()
    {
        const auto& row = tableRow(dialogRows); // the dialog's answer reads it
        const auto& [name, typed, calc, closes, shown] = row;
        const GuiSupport::CommaLocale comma;
        const auto window = GuiSupport::windowWithCurves(QString(), 2);
        Config* table = window->tableConfig();
        table->comboSave(1, Config::ColDataType)->comboBox->setCurrentIndex(7);
        const QStringList before = scalingCells(table, 1);
        QStringList after;
        bool open = false;
        const ScaleDialogAnswer answer([&](MDialogScaleOffset* dialog) {
            const QVector<QLineEdit*> range{dialog->lineEditRawMin, dialog->lineEditRawMax,
                                            dialog->lineEditMin, dialog->lineEditMax};
            for (int i = 0; i < row.typed.size(); ++i)
                range[i]->setText(row.typed[i]);
            (row.calc ? dialog->buttonCalc : dialog->buttonOk)->click();
            open = dialog->isVisible();
            after = fields(dialog);
        });
        table->slotCalcCmd(1);
        QCOMPARE(answer.opened, QStringList{QStringLiteral("1 Curve Scaling NewName (Row: 2)")} + before);
        QCOMPARE(open, !closes);
        QCOMPARE(after, shown);
        QCOMPARE(scalingCells(table, 1), closes ? shown : before);
        QCOMPARE(QLocale().decimalPoint(), QChar(',')); // the C locale only for the moment of conversion
    }

    // The Signal cell, typed in one text after the other into a row with its
    // own Pos, DataType, Mask and Int/Mot: a good layout stands in its own
    // form and locks them, also when a run ends; a bad text falls back to the
    // last good one; an empty cell gives the row back to them.
    void signalCell_data() { addRows(signalRows); }
    void signalCell()
    {
        const auto& [name, typed, cell] = tableRow(signalRows);
        const auto window = namedRows(2);
        Config* table = window->tableConfig();
        for (const int col : {Config::ColPos, Config::ColDataType, Config::ColIntMot})
            table->comboSave(1, col)->comboBox->setCurrentIndex(1);
        table->setMaskText(1, QStringLiteral("0x0F"));
        const QStringList scaling = scalingCells(table, 1);
        for (const QString& text : typed) {
            table->setSignalText(1, text);
            if (text == typed.first() && !table->signalText(1).isEmpty())
                table->setValueTableCell(1, QStringLiteral("2:Drive")); // goes with the layout
        }
        // The byte-level cells, then 1 for each open box, then the Mask cell's editable and enabled flags.
        const auto byteLevel = [table](int row) {
            QString text;
            for (const int col : {Config::ColPos, Config::ColDataType, Config::ColMask, Config::ColIntMot})
                text += table->cellText(row, col) + ' ';
            for (const int col : {Config::ColPos, Config::ColDataType, Config::ColIntMot})
                text += QString::number(table->cellWidget(row, col)->isEnabled());
            return text + QString::number(table->item(row, Config::ColMask)->flags() &
                                          (Qt::ItemIsEditable | Qt::ItemIsEnabled));
        };
        const QString row1 = cell.isEmpty() ? "##2 Unsigned8 0x0F Motorola 11134"
                                            : cell + "#2:Drive#2 Unsigned8 0x0F Motorola 0000";
        QCOMPARE(table->signalText(1) + '#' + table->valueTableCell(1) + '#' + byteLevel(1), row1);
        for (int col = 0; col < Config::ColumnCount; ++col) {
            table->setColumnLocked(col, true);
            table->setColumnLocked(col, false);
        }
        QCOMPARE(byteLevel(1), row1.section('#', 2));
        QCOMPARE(byteLevel(0), QStringLiteral("1 Integer8 0xFF Intel 11134"));
        // Another axis refits a row's data type, never a signal's scaling.
        table->comboSave(1, Config::ColAxis)->comboBox->setCurrentIndex(1);
        QCOMPARE(scalingCells(table, 1) == scaling, !cell.isEmpty());
    }

    // "Add Signals from DBC...": the file dialog, one message for a file's errors, the filter as
    // typed, signals chosen under two filters, and the rows they become below the current row, on
    // the bit rate of a row of their net. The file: a 29-bit message with a switch, a comment to
    // find, a signal without range and with a negative factor, names with separators in them.
    void dbcSignals()
    {
        const QString file = TestSupport::writeFile(
            "signals.dbc",
            "VERSION \"\"\n\nBO_ 2566844672 ENGINE_X: 8 ECU\n SG_ Mode M : 0|8@1+ (1,0) [0|0] \"\" X\n"
            " SG_ Gear m3 : 8|8@1+ (1,0) [0|7] \"\" X\n"
            " SG_ Trim m3 : 24|9@0- (-0.02,0) [0|0] \"deg\" X\nBO_ 100 broken line\n"
            "CM_ SG_ 2566844672 Trim \"trim tab angle\";\n"
            "VAL_ 2566844672 Gear 0 \"Park\" 2 \"Drive;fast\" 3 \"a:b\" ;\n");
        const QStringList picks{"TAB>Trim>Trim", "0x18fef100 a>Gear Trim>Gear"}; // filter>shown>chosen
        // net 29-bit name baud id layout scale offset unit ranges names
        const QStringList rows{
            "4|1|Gear|500.0|419361024|8|8@1+ m3 0|8@1|1|0||0|7|0|7|0:Park;2:Drive\\;fast;3:a\\:b",
            "4|1|Trim|500.0|419361024|24|9@0- m3 0|8@1|-0.02|0|deg|255|-256|-5.100000000000001|5.12|"};
        const auto window = namedRows(2);
        Config* table = window->tableConfig();
        // Row 0 stands on the signals' net (net 4, entry 2) at 500 kBd.
        table->setNetIndex(0, 2);
        table->comboSave(0, Config::ColBaud)->comboBox->setCurrentIndex(2);
        table->setCurrentCell(0, Config::ColName);
        QStringList seen;
        const ModalAnswerer answer(
            [&](QWidget* widget) {
                if (auto* box = qobject_cast<QMessageBox*>(widget))
                    box->button(QMessageBox::Ok)->click();
                else if (auto* files = qobject_cast<QFileDialog*>(widget))
                    TestSupport::answerFileDialog(files, 0, file, &seen);
                auto* dialog = qobject_cast<MDialogDbcSignals*>(widget);
                for (const QString& pick : dialog ? picks : QStringList()) {
                    dialog->lineEditFilter->clear();
                    QTest::keyClicks(dialog->lineEditFilter, pick.section('>', 0, 0));
                    QStringList names;
                    for (int i = 0; i < dialog->treeWidgetSignals->topLevelItemCount(); ++i) {
                        QTreeWidgetItem* item = dialog->treeWidgetSignals->topLevelItem(i);
                        names << (item->isHidden() ? QString() : item->text(2));
                        item->setSelected(item->isSelected() ||
                                          (!item->isHidden() && pick.section('>', 2) == item->text(2)));
                    }
                    seen << pick.section('>', 0, 0) + '>' + names.join(' ').simplified() + '>' +
                                pick.section('>', 2);
                }
                if (dialog) {
                    seen << dialog->labelChosen->text();
                    dialog->comboBoxNet->setCurrentIndex(2);
                    dialog->buttonBox->button(QDialogButtonBox::Ok)->click();
                }
            },
            3);
        GuiSupport::child<QAction>(window.get(), "projectAddDbcSignalsAction")->trigger();
        QCOMPARE(seen, QStringList({"Add Signals from DBC", "DBC files (*.dbc);All files (*)", "0"}) + picks +
                           QStringList{"2 signals chosen"});
        QCOMPARE(answer.texts(),
                 QStringList{"Errors in DBC file " + file +
                             ":\nline 7: Malformed message: expected BO_ id name: length transmitter"});
        for (int row = 1; row <= 2; ++row) {
            QString cells = QString("%1|%2").arg(table->netNumber(row)).arg(table->is29Bit(row));
            for (const int col :
                 {Config::ColName, Config::ColBaud, Config::ColId, Config::ColSignal, Config::ColScale,
                  Config::ColOffset, Config::ColUnit, Config::ColRawValueMin, Config::ColRawValueMax,
                  Config::ColValueMin, Config::ColValueMax, Config::ColValueTable})
                cells += '|' + table->cellText(row, col);
            QCOMPARE(cells, rows[row - 1]);
        }
        // Below the current row, each with its curve; the last is current.
        QCOMPARE(curvesShown(*window),
                 (QStringList{"c0", rows[0].section('|', 2, 2), rows[1].section('|', 2, 2), "c1", "0"}));
        QCOMPARE(table->currentRow(), 2);
    }

    // The ways into the dialog. A double click or F2 must follow a plain left click; not in a run.
    void waysIn()
    {
        const auto window = GuiSupport::windowWithCurves("net 0 virtual\n", 3, true);
        VistrelMainWindow& w = *window;
        Config* table = w.tableConfig();
        QPushButton* start = GuiSupport::child<QPushButton>(&w, "pushButtonStartStop");
        // The dialog that `act` opens; one answerer each, as it is the same dialog every time.
        const auto opens = [](const std::function<void()>& act) {
            const ScaleDialogAnswer answer([](MDialogScaleOffset*) {});
            act();
            QTest::qWait(20);
            return answer.opened.value(0);
        };
        const auto doubleClick = [table](Qt::MouseButton button, int col) {
            return [=] {
                const QPoint centre = table->visualRect(table->model()->index(1, col)).center();
                QTest::mouseClick(table->viewport(), button, Qt::NoModifier, centre);
                QTest::mouseDClick(table->viewport(), button, Qt::NoModifier, centre);
            };
        };
        const auto f2 = [table] {
            table->setCurrentCell(2, Config::ColScale);
            QTest::keyClick(table, Qt::Key_F2);
        };
        QCOMPARE(opens(f2), QString()); // before any click
        QCOMPARE(opens(doubleClick(Qt::RightButton, Config::ColScale)), QString());
        start->click();
        QCOMPARE(opens(doubleClick(Qt::LeftButton, Config::ColScale)), QString());
        start->click();
        QCOMPARE(opens(doubleClick(Qt::LeftButton, Config::ColOffset)),
                 QStringLiteral("1 Curve Scaling NewName (Row: 2)"));
        QCOMPARE(opens(f2), QStringLiteral("2 Curve Scaling NewName (Row: 3)"));
        table->setCurrentIndex(QModelIndex()); // no current row: row 0
        QCOMPARE(opens([&w] { GuiSupport::child<QAction>(&w, "projectCalculateAction")->trigger(); }),
                 QStringLiteral("0 Curve Scaling NewName (Row: 1)"));
    }
};

QTEST_MAIN(TestTables)
#include "tst_tables.moc"
