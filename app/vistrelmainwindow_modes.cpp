// Operating modes, the enabling of actions, and the reset to an empty project.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "operatingmode.h"
#include "qlabelcompat.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"
#include "wallclock.h"

#include <QTimer>

void VistrelMainWindow::setOperatingMode(int mode)
{
    operatingMode = mode;

    QLabel* modeLabel = statusBarForm->textLabelMode;
    QLabelCompat* modePicture = statusBarForm->textLabelModePicture;
    modeLabel->setText(operatingModeText(mode));
    if (mode == ModeNone) {
        // Back to the look of the status bar itself.
        const QPalette& palette = modeLabel->palette();
        modePicture->setBackgroundColor(palette.brush(palette.currentColorGroup(), backgroundRole()).color());
    } else if (const QColor color = operatingModeColor(mode); color.isValid()) {
        modePicture->setBackgroundColor(color);
    }

    // Markers may move when nothing is moving, and not during a run.
    const auto setMarkerButtons = [this](bool on) {
        pushButtonMarker1->setEnabled(on);
        pushButtonMarker2->setEnabled(on);
        pushButtonDMarker->setEnabled(on);
        plot->setMarkersMovable(on);
    };
    switch (mode) {
    case ModeNone:
        pushButtonStartStop->setEnabled(false);
        pushButtonPause->setEnabled(false);
        break;
    case ModeRun:
        pushButtonStartStop->setEnabled(true);
        pushButtonPause->setEnabled(true);
        setMarkerButtons(false);
        break;
    case ModeStopped:
        pushButtonStartStop->setEnabled(true);
        pushButtonPause->setEnabled(false);
        setMarkerButtons(true);
        break;
    case ModePause:
        setMarkerButtons(true);
        break;
    default:
        break;
    }

    modeLabel->setToolTip(modeLabel->text());
    modePicture->setToolTip(modeLabel->text());
    updateActions();
}

void VistrelMainWindow::updateActions()
{
    const bool timerActive = refreshTimer && refreshTimer->isActive();
    const bool hasRows = tableConfig && tableConfig->rowCount() > 0;
    const bool startChecked = pushButtonStartStop->isChecked();
    const bool hasProjectName = !projectFileName.isEmpty();
    const bool hasDataName = !dataFileName.isEmpty();

    projectNewAction->setEnabled(!timerActive);
    projectOpenAction->setEnabled(!timerActive);
    projectOptionsAction->setEnabled(!timerActive);
    projectAdd_CurveAction->setEnabled(!timerActive);
    projectSaveAction->setEnabled(!timerActive && hasProjectName);
    projectSaveAsAction->setEnabled(!timerActive && hasRows);
    projectDelete_CurveAction->setEnabled(hasRows && !startChecked);
    projectCalculateAction->setEnabled(hasRows && !startChecked);
    dataSave_AsAction->setEnabled(!timerActive && hasRows);
    dataSaveAction->setEnabled(!timerActive && hasDataName);
    dataLoadAction->setEnabled(!timerActive);
    dataImportAction->setEnabled(!timerActive && hasRows);
}

bool VistrelMainWindow::resetProject()
{
    if (tableConfig->rowCount() > 0 &&
        !askYesNo(tr("Do you really want to delete the actual configuration and data?\nContinue?")))
        return false;

    tableConfig->removeAllRows();
    tableDescription->setRowCount(0);
    curves.clear();

    m_timeOrigin = wallClockSeconds();

    sliderTimeBase->setValue(9);
    m_runTime = 0.0;
    slotTimeBaseChanged(sliderTimeBase->value());
    plot->setTimeScale(0.0, timeBaseTable[size_t(sliderTimeBase->value())]);
    plot->replot();
    plot->slotMarker2();
    plot->slotMarker1();

    *axisSettings[0] = ValueAxisSettings::leftDefault();
    *axisSettings[1] = ValueAxisSettings::rightDefault();
    slotAxisSettingsUpdated();

    showTimes(m_timeOrigin, m_runTime);
    setProjectFileName(QString());
    setDataFileName(QString());
    setOperatingMode(ModeNone);
    return true;
}

void VistrelMainWindow::projectNew()
{
    // A refused question leaves everything as it was; nothing to report.
    resetProject();
}
