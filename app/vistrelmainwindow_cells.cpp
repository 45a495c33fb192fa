// What a change, a click or a double click in the configuration table does.
// The table checks little while the user types: a value out of range is
// replaced without a message, and the checks that compare rows or ask the
// interface wait for Start. The rules run for every write of a cell, the
// file readers' included; a repair writes the cell again and passes the
// rule the second time, and a write of the same text raises nothing.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <QColorDialog>
#include <QCursor>
#include <QMenu>
#include <QTimer>

namespace {

constexpr uint maxCanId = 0x1FFFFFFF;
constexpr uint maxMask = 0xFF;
constexpr uint maxBtrTiming = 0xFFFF;

// True when the text reads as an unsigned number of the base, at most max.
bool unsignedAtMost(const QString& text, int base, uint max)
{
    bool ok = false;
    const uint value = text.toUInt(&ok, base);
    return ok && value <= max;
}

} // namespace

void VistrelMainWindow::slotValueChangedTablePlotConfig(int row, int col)
{
    TablePlotConfig* table = tableConfig;
    // The row being built has neither its description row nor its curve
    // yet: what stands at its index belongs to the row it displaces.
    const bool building = row == table->rowUnderConstruction();
    const bool hasCurve = !building && row >= 0 && row < curves.size();

    switch (col) {
    case TablePlotConfig::ColColor:
        if (building)
            break;
        tableDescription->setCurveColor(row, table->curveColor(row));
        if (hasCurve)
            curves[row]->setColor(QColor(table->curveColor(row)));
        break;
    case TablePlotConfig::ColName:
        if (building)
            break;
        tableDescription->setCurveName(row, table->curveName(row));
        if (hasCurve)
            curves[row]->setCurveTitle(table->curveName(row));
        break;
    case TablePlotConfig::ColBaud:
    case TablePlotConfig::ColBtr:
        if (table->baud(row) < 0) {
            // "BTR/hex" is read as hexadecimal, with or without "0x".
            if (!unsignedAtMost(table->btrText(row), 16, maxBtrTiming))
                table->setBtrText(row, QStringLiteral("0"));
            table->setBtrCopyText(row, table->btrText(row));
        }
        // Writes the canonical form back: lower-case hexadecimal in BTR
        // mode, "-----" otherwise; shows or hides the column.
        table->setBaud(row, table->baud(row));
        break;
    case TablePlotConfig::ColId:
        if (!unsignedAtMost(table->idText(row), 0, maxCanId))
            table->setIdText(row, QStringLiteral("0"));
        break;
    case TablePlotConfig::ColPos: {
        // A combo box without selection reads empty; the repair only
        // reaches the item's stored text.
        bool ok = false;
        const int pos = table->positionText(row).toInt(&ok, 0);
        if (!ok || pos < 1 || pos > 8)
            table->setCellText(row, TablePlotConfig::ColPos, QStringLiteral("1"));
        break;
    }
    case TablePlotConfig::ColMask:
        if (!unsignedAtMost(table->maskText(row), 0, maxMask))
            table->setMaskText(row, QStringLiteral("0"));
        break;
    case TablePlotConfig::ColAxis: {
        // The combo box is made before the row is complete: the other rows'
        // scaling must not be recomputed for it.
        if (building)
            break;
        const int axis = table->valueAxis(row);
        // Choosing the right axis brings it up; choosing the left never
        // hides it.
        if (axis > 0 && !axisSettings[1]->visible)
            axisSettings[1]->visible = true;
        if (hasCurve)
            curves[row]->setCurveAxis(axis);
        // Behind the cell's own signal, whose rescaling of the row comes
        // first.
        QTimer::singleShot(0, this, &VistrelMainWindow::slotAxisSettingsUpdated);
        break;
    }
    case TablePlotConfig::ColUnit:
        if (building)
            break;
        tableDescription->setUnit(row, table->unitText(row));
        break;
    default:
        // The other columns reach the curve when Start builds it anew.
        break;
    }
}

void VistrelMainWindow::slotClickedTablePlotConfig(int row, int col)
{
    if (col != TablePlotConfig::ColColor || row < 0 || running ||
        tableConfig->lastPressButtons() != int(Qt::LeftButton))
        return;
    const QColor color =
        QColorDialog::getColor(QColor(tableConfig->curveColor(row)), this, tr("Select Curve Color"));
    if (!color.isValid())
        return;
    tableConfig->setCurveColor(row, color.name());
    tableDescription->setCurveColor(row, color.name());
    if (row < curves.size())
        curves[row]->setColor(color);
    plot->replot();
}

void VistrelMainWindow::slotDoubleClickedTablePlotConfig(int row, int col)
{
    // Also the way of F2. The last press must have been a plain left click,
    // so F2 does nothing before the first click in the table.
    if (row < 0 || (col != TablePlotConfig::ColScale && col != TablePlotConfig::ColOffset) || running ||
        tableConfig->lastPressButtons() != int(Qt::LeftButton))
        return;
    tableConfig->slotCalcCmd(row);
}

void VistrelMainWindow::projectCalculate()
{
    int row = tableConfig->currentRow();
    if (row < 0) {
        tableConfig->setCurrentCell(0, TablePlotConfig::ColName);
        row = 0;
    }
    tableConfig->slotCalcCmd(row);
}

void VistrelMainWindow::slotTablePlotConfigMenu()
{
    // No adding or deleting of rows while a run is on.
    if (!pushButtonStartStop->isChecked())
        tableMenu->exec(QCursor::pos());
}
