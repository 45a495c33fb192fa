// Run control: the checks at Start, going online, Pause, Stop, closing during
// a run, and the messages of failing capture threads.
#include "vistrelmainwindow.h"

#include "cellaccess.h"
#include "dataplot.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timestampedread.h"
#include "wallclock.h"

#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <array>

void VistrelMainWindow::slotStartStop()
{
    if (running)
        stopRun();
    else
        startRun();
}

QString VistrelMainWindow::startCheckFailure()
{
    // Baud code of each net as the first row using it set it; -1: unused.
    // No baud code is -1: BTR codes have their top bit set and a zero high word.
    std::array<int, TESS_MAX_NETS> netBaud;
    netBaud.fill(-1);

    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        const int net = tableConfig->netNumber(row);
        const int code = tableConfig->baud(row);
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

        int id = tableConfig->idText(row).toInt(nullptr, 0);
        const bool is29Bit = tableConfig->is29Bit(row);
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

void VistrelMainWindow::startRun()
{
    const QString failure = startCheckFailure();
    if (!failure.isEmpty()) {
        QMessageBox::critical(this, tr("Critical Error"), failure, QMessageBox::Ok);
        pushButtonStartStop->setChecked(false);
        return;
    }

    setTimeAxisForStart();
    setOperatingMode(ModeRun);
    m_timeOrigin = wallClockSeconds();
    showStartTime(m_timeOrigin);

    pushButtonStartStop->setText(tr("Stop"));
    pushButtonStartStop->setChecked(true);
    pushButtonPause->setChecked(false);
    pushButtonPause->setEnabled(true);
    scrollBarTime->setEnabled(false);

    // The last run's curves and points go without a question.
    curves.clear();
    for (int row = 0; row < tableDescription->rowCount(); ++row)
        itemSave(tableDescription, row, TablePlotDescription::ColCurrentValue)
            ->setData(Qt::BackgroundRole, QVariant());
    for (int col = 0; col < TablePlotConfig::ColumnCount; ++col)
        tableConfig->setColumnLocked(col, true);

    const int rows = tableConfig->rowCount();
    for (int row = 0; row < rows; ++row)
        createCurve(row);
    curveLowest.assign(size_t(rows), 0.0);
    curveHighest.assign(size_t(rows), 0.0);

    for (int row = 0; row < rows; ++row)
        refreshNetStatus(nets[size_t(tableConfig->netNumber(row))], timestampedReadStatus);
    // This reading counts: it comes right after the interfaces' counters and
    // before the first thread starts.
    m_timeOrigin = wallClockSeconds();
    showStartTime(m_timeOrigin);

    for (const QSharedPointer<PlotCurve>& curve : qAsConst(curves)) {
        const bool knownNet = curve->net >= 0 && curve->net < int(nets.size());
        curve->startCapture(knownNet ? nets[size_t(curve->net)] : NetInfo(), m_timeOrigin);
    }
    refreshTimer->start(int(refreshTime));
    running = true;
    finishStartStop();
}

void VistrelMainWindow::stopRun()
{
    refreshTimer->stop();
    setOperatingMode(ModeStopped);
    // One thread after the other, in row order.
    for (const QSharedPointer<PlotCurve>& curve : qAsConst(curves)) {
        curve->stopCapture();
        if (antialiasing)
            curve->setAntialiased(true);
    }
    // Brings the points that came in since the last tick; moves nothing
    // while paused.
    slotTimeout();

    // "29-Bit", "Scale" and "Offset" stay locked.
    for (int col = 0; col < TablePlotConfig::ColumnCount; ++col) {
        if (col != TablePlotConfig::Col29Bit && col != TablePlotConfig::ColScale &&
            col != TablePlotConfig::ColOffset)
            tableConfig->setColumnLocked(col, false);
    }

    pushButtonStartStop->setText(tr("Start"));
    pushButtonStartStop->setChecked(false);
    pushButtonPause->setChecked(false);
    pushButtonPause->setEnabled(false);
    scrollBarTime->setEnabled(true);
    running = false;
    finishStartStop();
}

void VistrelMainWindow::finishStartStop()
{
    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        if (QWidget* calcButton = tableConfig->cellWidget(row, TablePlotConfig::ColCalc))
            calcButton->setEnabled(!running);
    }
    updateActions();
}

void VistrelMainWindow::slotPause()
{
    if (pushButtonPause->isChecked()) {
        scrollBarTime->setEnabled(true);
        setOperatingMode(ModePause);
        if (antialiasing) {
            for (const QSharedPointer<PlotCurve>& curve : qAsConst(curves))
                curve->setAntialiased(true);
            plot->replot();
        }
    } else {
        if (antialiasing) {
            for (const QSharedPointer<PlotCurve>& curve : qAsConst(curves))
                curve->setAntialiased(false);
        }
        scrollBarTime->setEnabled(false);
        setOperatingMode(ModeRun);
    }
}

void VistrelMainWindow::closeEvent(QCloseEvent* event)
{
    // Nothing asks about unsaved work while no run is on.
    if (!running) {
        event->accept();
        return;
    }
    if (!askYesNo(tr("Vistrel is running!\nDo you really want to close the program?"))) {
        event->ignore();
        return;
    }
    slotStartStop();
    event->accept();
}

void VistrelMainWindow::slotCurveError(QString s)
{
    // The run goes on; the curve simply gets no points.
    QMessageBox::critical(this, tr("Plot Curve Error"), s + QStringLiteral("\n\n") + tr("Curve disabled!"),
                          QMessageBox::Ok);
}
