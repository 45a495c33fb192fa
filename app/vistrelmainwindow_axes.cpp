// The value axes: the viewport dialog and bringing the plot in line with
// the two axis records.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "mdialogcustomaxis.h"
#include "tableplotconfig.h"

void VistrelMainWindow::openAxisDialog(int tab)
{
    MDialogCustomAxis dialog(this, &axisSettings, &fitScaleToViewport);
    if (tab > 0)
        dialog.initialTab = 1;
    // Nothing to recalculate without rows, and curves keep their scaling
    // while they record.
    if (running || tableConfig->rowCount() == 0)
        dialog.openFlags |= MDialogCustomAxis::RecalculationLocked;
    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        if (tableConfig->valueAxis(row) > 0) {
            dialog.openFlags |= MDialogCustomAxis::RightAxisInUse;
            break;
        }
    }
    connect(&dialog, &MDialogCustomAxis::signalApplyAxisSettings, this,
            &VistrelMainWindow::slotAxisSettingsUpdated);
    dialog.exec();
}

void VistrelMainWindow::on_projectCustom_AxisAction_triggered(bool)
{
    openAxisDialog(QwtPlot::yLeft);
}

void VistrelMainWindow::slotAxisSettingsUpdated()
{
    const ValueAxisSettings& left = *axisSettings[QwtPlot::yLeft];
    const ValueAxisSettings& right = *axisSettings[QwtPlot::yRight];
    // The hidden right axis keeps its viewport too, ready for when it shows.
    plot->setAxisScale(QwtPlot::yLeft, left.min, left.max, left.step);
    plot->setAxisScale(QwtPlot::yRight, right.min, right.max, right.step);
    plot->enableAxis(QwtPlot::yRight, right.visible);
    // Only the right record decides: a hidden right axis can't carry the grid.
    plot->setGridAxis(right.grid && right.visible ? QwtPlot::yRight : QwtPlot::yLeft);

    if (fitScaleToViewport && !running) {
        // Each curve's data type fills its axis again; during a run the
        // curves keep the scaling they were started with.
        for (int row = 0; row < tableConfig->rowCount(); ++row)
            tableConfig->slotDataTypeCurveSelection(row);
    }
    plot->replot();
}
