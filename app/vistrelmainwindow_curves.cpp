// Adding and deleting curves. A curve exists three times at one index: row r
// of tableConfig, row r of tableDescription and curves[r]; these functions
// keep the three in step.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <QItemSelectionModel>

void VistrelMainWindow::projectAddCurve()
{
    // Directly below the current row; without one, at the top.
    const int row = tableConfig->currentRow() + 1;
    tableConfig->addCurveRow(row);
    tableDescription->addCurveRow(row);
    createCurve(row);
    tableConfig->setCurrentCell(row, TablePlotConfig::ColName);
}

void VistrelMainWindow::projectDeleteCurve()
{
    if (tableConfig->rowCount() == 0)
        return;
    if (!askYesNo(tr("Do you really want to delete the curve(s)?\nContinue?")))
        return;

    QVector<int> rows;
    const QItemSelectionModel* selection = tableConfig->selectionModel();
    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        if (selection->isRowSelected(row, QModelIndex()))
            rows << row;
    }
    if (rows.isEmpty())
        rows << qMax(tableConfig->currentRow(), 0);

    // From the last to the first, so that the rows still to come keep their
    // indices.
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        tableConfig->removeCurveRow(*it);
        tableDescription->removeRow(*it);
        eraseCurve(*it);
    }
    plot->replot();
}

void VistrelMainWindow::createCurve(int row)
{
    // After an aborted import the rows above may have no curve yet: give
    // them one first, so that row r and curves[r] stay one curve.
    while (curves.size() < row)
        curves.append(curveFromRow(curves.size()));
    curves.insert(row, curveFromRow(row));

    pushButtonStartStop->setEnabled(true);
    updateActions();
}

QSharedPointer<PlotCurve> VistrelMainWindow::curveFromRow(int row)
{
    // The cells are the only store of a curve's configuration.
    int canId = tableConfig->idText(row).toInt(nullptr, 0);
    if (tableConfig->is29Bit(row))
        canId += TESS_ID_29BIT;
    const QColor color(tableConfig->curveColor(row));
    const QString name = tableConfig->curveName(row);
    const int net = tableConfig->netNumber(row);
    const int baud = tableConfig->baud(row);
    const int pos = tableConfig->positionText(row).toInt(nullptr, 0);
    const int mask = tableConfig->maskText(row).toInt(nullptr, 0);
    const int dataType = tableConfig->dataType(row);
    const int byteOrder = tableConfig->byteOrder(row);
    const int axis = tableConfig->valueAxis(row);
    const double scale = tableConfig->scaleText(row).toDouble();
    const double offset = tableConfig->offsetText(row).toDouble();
    const QString unit = tableConfig->unitText(row);
    const int style = tableDescription->curveStyle(row);
    const bool visible = tableDescription->curveEnabled(row);

    QSharedPointer<PlotCurve> curve(new PlotCurve(plot, lineWidth, color, name, net, baud, canId, pos,
                                                  dataType, mask, byteOrder, axis, scale, offset, unit, style,
                                                  visible, plotSize, true));
    // Emitted on the capture thread, delivered here as a queued call.
    connect(curve.data(), &PlotCurve::signalThreadErrorMessage, this, &VistrelMainWindow::slotCurveError);
    return curve;
}

void VistrelMainWindow::eraseCurve(int row)
{
    // The curve's destructor detaches its plot item.
    if (row >= 0 && row < curves.size())
        curves.remove(row);
    if (tableConfig->rowCount() == 0)
        pushButtonStartStop->setEnabled(false);
    updateActions();
}

void VistrelMainWindow::slotValueChangedTablePlotDescription(int row, int col)
{
    // "En" and "Style" act on the curve at once; a row without a curve yet
    // gives them to the curve when it is built.
    if ((col != TablePlotDescription::ColEnable && col != TablePlotDescription::ColStyle) || row < 0 ||
        row >= curves.size())
        return;
    plot->setCurveStyle(curves[row].data(), tableDescription->curveEnabled(row),
                        tableDescription->curveStyle(row));
}
