#include "runcontroller.h"

#include "cellaccess.h"
#include "curveset.h"
#include "dataplot.h"
#include "ifprompt.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebasecontroller.h"
#include "timestampedread.h"
#include "wallclock.h"

#include <qwt_plot_curve.h>

#include <QBrush>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>

#include <array>

RunController::RunController(const Controls& controls, const Parts& parts, NetTable& nets,
                             const QVector<ValueAxisSettings*>& axisSettings, const ProgramOptions& options,
                             IFPrompt& prompt, QObject* parent)
    : QObject(parent), controls(controls), parts(parts), nets(nets), axisSettings(axisSettings),
      options(options), prompt(prompt), timer(new QTimer(this))
{
    controls.startStop->setText(tr("Start"));
    controls.startStop->setCheckable(true);
    controls.pause->setText(tr("Pause"));
    controls.pause->setCheckable(true);
    controls.pause->setEnabled(false);
    connect(timer, &QTimer::timeout, this, &RunController::slotTimeout);
}

double RunController::elapsedSeconds() const
{
    return wallClockSeconds() - m_timeOrigin;
}

void RunController::slotStartStop()
{
    if (running)
        stopRun();
    else
        startRun();
}

QString RunController::startCheckFailure()
{
    TablePlotConfig* config = parts.config;
    // Baud code of each net as the first row using it set it; -1: unused.
    // No baud code is -1: BTR codes have their top bit set and a zero high word.
    std::array<int, TESS_MAX_NETS> netBaud;
    netBaud.fill(-1);

    for (int row = 0; row < config->rowCount(); ++row) {
        const int net = config->netNumber(row);
        const int code = config->baud(row);
        if (net < 0 || net >= TESS_MAX_NETS)
            return tr("Can not open interface in row %1").arg(row + 1);
        int& netCode = netBaud[size_t(net)];
        if (netCode == -1)
            netCode = code;
        else if (netCode != code)
            return tr("Interface of net %1 have different baudrates!").arg(net);

        NetInfo& info = nets[size_t(net)];
        if (tessStatus(info.infoHandle, &info.status) != 0)
            return tr("Can not open interface in row %1").arg(row + 1);

        int id = config->idText(row).toInt(nullptr, 0);
        const bool is29Bit = config->is29Bit(row);
        if (id > 0x7FE && !is29Bit)
            return tr("Interface in row %1 has 29-bit identifier,but 29-bit is not enabled (Id: %2)!")
                .arg(row + 1)
                .arg(id);
        if (is29Bit)
            id += TESS_ID_29BIT;
        if ((id & TESS_ID_29BIT) && !hasFeature(info.status, TESS_FEATURE_29BIT))
            return tr("Interface in row %1 does not support 29-bit identifier (Id: %2)!")
                .arg(row + 1)
                .arg(id & ~TESS_ID_29BIT);
    }
    return QString();
}

void RunController::startRun()
{
    const QString failure = startCheckFailure();
    if (!failure.isEmpty()) {
        prompt.showError(failure);
        controls.startStop->setChecked(false);
        return;
    }

    parts.timeBase->setTimeAxisForStart();
    emit signalOperatingMode(ModeRun);
    m_timeOrigin = wallClockSeconds();
    emit signalStartTime(m_timeOrigin);

    controls.startStop->setText(tr("Stop"));
    controls.startStop->setChecked(true);
    controls.pause->setChecked(false);
    controls.pause->setEnabled(true);
    controls.scrollBar->setEnabled(false);

    // The last run's curves and points go without a question.
    CurveSet& curves = *parts.curves;
    curves.clear();
    TablePlotDescription* description = parts.description;
    for (int row = 0; row < description->rowCount(); ++row)
        itemSave(description, row, TablePlotDescription::ColCurrentValue)
            ->setData(Qt::BackgroundRole, QVariant());
    TablePlotConfig* config = parts.config;
    for (int col = 0; col < TablePlotConfig::ColumnCount; ++col)
        config->setColumnLocked(col, true);

    const int rows = config->rowCount();
    for (int row = 0; row < rows; ++row)
        curves.createCurve(row);
    curveLowest.assign(size_t(rows), 0.0);
    curveHighest.assign(size_t(rows), 0.0);

    for (int row = 0; row < rows; ++row)
        refreshNetStatus(nets[size_t(config->netNumber(row))], timestampedReadStatus);
    // This reading counts: it comes right after the interfaces' counters and
    // before the first thread starts.
    m_timeOrigin = wallClockSeconds();
    emit signalStartTime(m_timeOrigin);

    for (const QSharedPointer<PlotCurve>& curve : curves.curves()) {
        const bool knownNet = curve->net >= 0 && curve->net < int(nets.size());
        curve->startCapture(knownNet ? nets[size_t(curve->net)] : NetInfo(), m_timeOrigin);
    }
    timer->start(int(options.refreshTime));
    running = true;
    finishStartStop();
}

void RunController::stopRun()
{
    timer->stop();
    emit signalOperatingMode(ModeStopped);
    // One thread after the other, in row order.
    for (const QSharedPointer<PlotCurve>& curve : parts.curves->curves()) {
        curve->stopCapture();
        if (options.antialiasing)
            curve->setAntialiased(true);
    }
    // Brings the points that came in since the last tick; moves nothing
    // while paused.
    slotTimeout();

    // "29-Bit", "Scale" and "Offset" stay locked.
    for (int col = 0; col < TablePlotConfig::ColumnCount; ++col) {
        if (col != TablePlotConfig::Col29Bit && col != TablePlotConfig::ColScale &&
            col != TablePlotConfig::ColOffset)
            parts.config->setColumnLocked(col, false);
    }

    controls.startStop->setText(tr("Start"));
    controls.startStop->setChecked(false);
    controls.pause->setChecked(false);
    controls.pause->setEnabled(false);
    controls.scrollBar->setEnabled(true);
    running = false;
    finishStartStop();
}

void RunController::finishStartStop()
{
    for (int row = 0; row < parts.config->rowCount(); ++row) {
        if (QWidget* calcButton = parts.config->cellWidget(row, TablePlotConfig::ColCalc))
            calcButton->setEnabled(!running);
    }
    emit signalRunStateChanged();
}

void RunController::slotPause()
{
    if (controls.pause->isChecked()) {
        controls.scrollBar->setEnabled(true);
        emit signalOperatingMode(ModePause);
        if (options.antialiasing) {
            parts.curves->setAntialiased(true);
            parts.plot->replot();
        }
    } else {
        if (options.antialiasing)
            parts.curves->setAntialiased(false);
        controls.scrollBar->setEnabled(false);
        emit signalOperatingMode(ModeRun);
    }
}

void RunController::slotTimeout()
{
    double elapsed = elapsedSeconds();
    // A pause leaves plot, cells and runTime alone; only the run time label
    // goes on.
    if (!controls.pause->isChecked()) {
        const QVector<QSharedPointer<PlotCurve>>& curves = parts.curves->curves();
        TablePlotDescription* description = parts.description;
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

            description->setRawValue(row, QString::asprintf("%0.3f", points.rawNewest));
            description->setCurrentValue(row, n > 0 ? curve.valueText(y[0], points.rawNewest)
                                                    : QString::asprintf("%0.3f", y[0]));
            description->setTime(row, QString::asprintf("%0.3f", x[1]));
            description->setCount(row, QString::asprintf("%d", int(n)));
        }
        parts.timeBase->setRunTime(elapsed);
        parts.timeBase->followRun();
        flagOutOfViewport(count);
    }
    emit signalRunTime(elapsed);
}

void RunController::flagOutOfViewport(int count)
{
    for (int row = 0; row < count; ++row) {
        const ValueAxisSettings& axis = *axisSettings[parts.config->valueAxis(row) > 0 ? 1 : 0];
        const bool outOfRange = axis.min > curveLowest[size_t(row)] || curveHighest[size_t(row)] > axis.max;
        QTableWidgetItem* cell = itemSave(parts.description, row, TablePlotDescription::ColCurrentValue);
        if (outOfRange) {
            cell->setData(Qt::BackgroundRole, QBrush(Qt::red));
            cell->setData(Qt::ToolTipRole, tr("curve has values out of viewport range"));
        } else {
            cell->setData(Qt::BackgroundRole, QVariant());
            cell->setData(Qt::ToolTipRole, QString());
        }
    }
}
