// The refresh cycle: at each tick the frames of every curve's ring become
// points, the online values are written, the view follows the run, and
// curves that leave their viewport are flagged.
#include "vistrelmainwindow.h"

#include "cellaccess.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

#include <qwt_plot_curve.h>

#include <QBrush>

void VistrelMainWindow::slotTimeout()
{
    double elapsed = elapsedSeconds();
    // A pause leaves plot, cells and runTime alone; only the run time label
    // goes on.
    if (!pushButtonPause->isChecked()) {
        const int count = curves.size();
        // Sized at Start; only curves made outside a run can outnumber them.
        if (curveLowest.size() != size_t(count)) {
            curveLowest.resize(size_t(count));
            curveHighest.resize(size_t(count));
        }
        for (int row = 0; row < count; ++row) {
            PlotCurve& curve = *curves[row];
            const PlotCurve::Points points = curve.updatePoints();
            const unsigned n = points.count;
            double* const x = curve.xValues.get();
            double* const y = curve.yValues.get();
            curveLowest[size_t(row)] = points.lowest;
            curveHighest[size_t(row)] = points.highest;

            // Each curve runs on flat to the present of its own moment, and
            // time never runs backwards inside the array.
            elapsed = elapsedSeconds();
            if (n == 0) {
                y[0] = 0.0;
                x[0] = elapsed;
            } else {
                y[0] = y[1];
                x[0] = qMax(elapsed, x[1]);
            }
            curve.plotItem->setRawSamples(x, y, int(n) + 1);
            curve.describePointsToItem();

            tableDescription->setRawValue(row, QString::asprintf("%0.3f", points.rawNewest));
            tableDescription->setCurrentValue(row, QString::asprintf("%0.3f", y[0]));
            tableDescription->setTime(row, QString::asprintf("%0.3f", x[1]));
            tableDescription->setCount(row, QString::asprintf("%d", int(n)));
        }
        m_runTime = elapsed;
        followRun();

        for (int row = 0; row < count; ++row) {
            const ValueAxisSettings& axis = *axisSettings[tableConfig->valueAxis(row) > 0 ? 1 : 0];
            const bool outOfRange =
                axis.min > curveLowest[size_t(row)] || curveHighest[size_t(row)] > axis.max;
            QTableWidgetItem* cell = itemSave(tableDescription, row, TablePlotDescription::ColCurrentValue);
            if (outOfRange) {
                cell->setData(Qt::BackgroundRole, QBrush(Qt::red));
                cell->setData(Qt::ToolTipRole, tr("curve has values out of viewport range"));
            } else {
                cell->setData(Qt::BackgroundRole, QVariant());
                cell->setData(Qt::ToolTipRole, QString());
            }
        }
    }
    showRunTime(elapsed);
}
