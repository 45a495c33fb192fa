#include "vistrelmainwindow.h"

#include "curveset.h"
#include "dataplot.h"
#include "dbcsignalcontroller.h"
#include "documentcontroller.h"
#include "formstatusbar_resourcesreparent.h"
#include "manualpath.h"
#include "mdialogcustomaxis.h"
#include "mdialogexportimage.h"
#include "messageboxprompt.h"
#include "mformabout.h"
#include "operatingmode.h"
#include "plotnavigator.h"
#include "plotprint.h"
#include "qlabelcompat.h"
#include "runcontroller.h"
#include "settingscontroller.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"
#include "timebasecontroller.h"
#include "timestampedread.h"
#include "trafficmonitor.h"

#include <qwt_plot_marker.h>
#include <qwt_scale_widget.h>

#include <QCloseEvent>
#include <QColorDialog>
#include <QComboBox>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPrintDialog>
#include <QPrinter>
#include <QSplitterHandle>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTimer>
#include <QUrl>

#include <cmath>
#include <tuple>

namespace {

// The time of day of a time on the wallClockSeconds() scale.
QString startTimeText(double time)
{
    // A damaged file may bring anything; such a time shows as midnight.
    if (!std::isfinite(time) || qAbs(time) > 1e15)
        time = 0.0;
    const long long dayPart = static_cast<long long>(time) / 86400 * 86400;
    const double rest = time - double(dayPart);
    const int s = static_cast<int>(rest);
    const int hours = s / 3600;
    const int minutes = (s % 3600) / 60;
    const int seconds = (s % 3600) % 60;
    const int milliseconds = static_cast<int>(rest * 1000) - (hours * 3600 + minutes * 60 + seconds) * 1000;
    return QString::asprintf("Start: %02d:%02d:%02d.%03d", hours, minutes, seconds, milliseconds);
}

} // namespace

VistrelMainWindow::VistrelMainWindow(QWidget* parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags), prompt(std::make_unique<MessageBoxPrompt>(this))
{
    // The pictures live in a static library: register them before the form
    // asks for its icons.
    Q_INIT_RESOURCE(vistrel);
    setupUi(this);

    axisRecords[0] = std::make_unique<ValueAxisSettings>(ValueAxisSettings::leftDefault());
    axisRecords[1] = std::make_unique<ValueAxisSettings>(ValueAxisSettings::rightDefault());
    m_axisSettings = {axisRecords[0].get(), axisRecords[1].get()};

    // The plot takes all new height.
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 0);
    dressSplitterHandle();

    timestampedReadStatus = lookUpTimestampedRead();
    for (int net = 0; net < int(m_nets.size()); ++net)
        scanNet(m_nets[size_t(net)], net, timestampedReadStatus);
    moveLabelsIntoStatusBar();

    m_plot = new DataPlot(timeBaseTable[9], this);
    widgetStackPlot->addWidget(m_plot);
    widgetStackPlot->setCurrentWidget(m_plot);
    widgetStackPlot->removeWidget(page_3);
    delete page_3;
    page_3 = nullptr;
    if (auto* canvasFrame = qobject_cast<QFrame*>(m_plot->canvas())) {
        canvasFrame->setFrameShadow(QFrame::Sunken);
        canvasFrame->setFrameShape(QFrame::Box);
        canvasFrame->setLineWidth(1);
    }
    m_plot->setContentsMargins(5, 10, 13, 8);

    createTables();
    createControllers();
    connectSignals();

    for (const int axis : {int(QwtPlot::yLeft), int(QwtPlot::yRight)}) {
        QwtScaleWidget* axisWidget = m_plot->axisWidget(axis);
        if (!axisWidget)
            continue;
        axisWidget->setToolTip(tr("Click to set viewport."));
        axisWidget->setCursor(Qt::PointingHandCursor);
        axisWidget->installEventFilter(this);
    }

    resetProject();
    // The settings file overrides the defaults.
    settings->applyDefaultSettings();
    settings->readSettings();
    updateActions();
}

VistrelMainWindow::~VistrelMainWindow()
{
    // An open cell editor commits when the dying window hides; the edit
    // rules must not run on a window that is half gone.
    QObject::disconnect(m_tableConfig, nullptr, this, nullptr);
    // Curves end first: their destructors stop their threads and detach
    // their items from the plot, which still exists here.
    curveSet->clear();
}

void VistrelMainWindow::createTables()
{
    // Rows are as high as a combo box wants to be, so that the combo boxes
    // in the cells fit.
    const int rowHeight = QComboBox().minimumSizeHint().height() + 2;
    m_tableConfig = new TablePlotConfig(m_nets, m_axisSettings);
    m_tableDescription = new TablePlotDescription(m_tableConfig);
    const std::pair<QTableWidget*, QStackedWidget*> homes[] = {{m_tableConfig, widgetStackConfig},
                                                               {m_tableDescription, widgetStackDescription}};
    for (const auto& [table, stack] : homes) {
        table->horizontalHeader()->setHighlightSections(false);
        table->verticalHeader()->setHighlightSections(false);
        table->verticalHeader()->setDefaultSectionSize(rowHeight);
        stack->addWidget(table);
        stack->setCurrentWidget(table);
    }

    tableMenu = new QMenu(m_tableConfig->verticalHeader());
    tableMenu->addAction(projectAdd_CurveAction);
    tableMenu->addAction(projectCalculateAction);
    tableMenu->addAction(projectDelete_CurveAction);
    m_tableConfig->setContextMenuPolicy(Qt::CustomContextMenu);
}

void VistrelMainWindow::createControllers()
{
    settings = new SettingsController(
        m_plot, *prompt, QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation), this, this);
    const ProgramOptions& options = settings->options();
    curveSet = new CurveSet(m_tableConfig, m_tableDescription, m_plot, m_axisSettings, options, this);
    timeBase =
        new TimeBaseController({sliderTimeBase, scrollBarTime, textLabelTimeBase}, m_plot, options, this);
    run = new RunController({pushButtonStartStop, pushButtonPause, scrollBarTime},
                            {m_tableConfig, m_tableDescription, m_plot, curveSet, timeBase}, m_nets,
                            m_axisSettings, options, *prompt, this);
    documents =
        new DocumentController({m_tableConfig, m_tableDescription, m_plot, curveSet, run, timeBase, &m_nets},
                               m_axisSettings, settings->options(), *prompt, this);
    dbcSignals = new DbcSignalController(m_tableConfig, curveSet, *prompt, this, this);
    navigator = new PlotNavigator(m_plot, m_axisSettings, this);
    traffic = new TrafficMonitor(m_nets, m_tableConfig, m_tableDescription, curveSet,
                                 statusBarForm->textLabelTraffic, this);
    m_tableConfig->setTrafficMeter(&traffic->meter());
}

void VistrelMainWindow::dressSplitterHandle()
{
    QSplitterHandle* handle = splitter->handle(1);
    auto* layout = new QHBoxLayout(handle);
    layout->setSpacing(0);
    layout->setContentsMargins(1, 0, 2, 0);

    const auto addRule = [handle, layout] {
        auto* rule = new QFrame(handle);
        rule->setFrameShape(QFrame::HLine);
        rule->setFrameShadow(QFrame::Raised);
        layout->addWidget(rule, 0);
    };
    addRule();
    auto* grip = new QLabel(handle);
    grip->setPixmap(QPixmap(QStringLiteral(":/MainWndPic/png/HorizGrip.png")));
    grip->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    layout->addWidget(grip, 0);
    addRule();
}

void VistrelMainWindow::moveLabelsIntoStatusBar()
{
    // The status bar takes the labels over; the form stays hidden.
    statusBarForm = std::make_unique<FormStatusBar_ResourcesReparent>();
    statusBarForm->setVisible(false);
    QStatusBar* bar = statusBar();
    for (QWidget* label : {static_cast<QWidget*>(statusBarForm->textLabelProjectFile),
                           static_cast<QWidget*>(statusBarForm->textLabelDataFile),
                           static_cast<QWidget*>(statusBarForm->textLabelStartTime),
                           static_cast<QWidget*>(statusBarForm->textLabelRunTime),
                           static_cast<QWidget*>(statusBarForm->textLabelTraffic),
                           static_cast<QWidget*>(statusBarForm->textLabelMode),
                           static_cast<QWidget*>(statusBarForm->textLabelModePicture)})
        bar->addPermanentWidget(label, 0);
}

void VistrelMainWindow::connectSignals()
{
    connect(m_tableConfig, &QWidget::customContextMenuRequested, this,
            &VistrelMainWindow::slotTablePlotConfigMenu);
    connect(m_tableConfig, &QTableWidget::cellChanged, this,
            &VistrelMainWindow::slotValueChangedTablePlotConfig);
    connect(m_tableConfig, &QTableWidget::cellClicked, this, &VistrelMainWindow::slotClickedTablePlotConfig);
    connect(m_tableConfig, &QTableWidget::cellDoubleClicked, this,
            &VistrelMainWindow::slotDoubleClickedTablePlotConfig);
    connect(m_tableDescription, &QTableWidget::cellChanged, this,
            &VistrelMainWindow::slotValueChangedTablePlotDescription);
    connect(pushButtonStartStop, &QPushButton::clicked, this, &VistrelMainWindow::slotStartStop);
    connect(sliderTimeBase, &QSlider::valueChanged, this, &VistrelMainWindow::slotTimeBaseChanged);
    connect(scrollBarTime, &QScrollBar::valueChanged, this, &VistrelMainWindow::slotScrollTimeChanged);
    connect(pushButtonPause, &QPushButton::clicked, this, &VistrelMainWindow::slotPause);
    connect(pushButtonMarker1, &QPushButton::clicked, m_plot, &DataPlot::slotMarker1);
    connect(pushButtonMarker2, &QPushButton::clicked, m_plot, &DataPlot::slotMarker2);
    connect(pushButtonDMarker, &QPushButton::clicked, m_plot, &DataPlot::slotDMarker);

    connect(m_plot, &DataPlot::signalMarkerMoved, this, &VistrelMainWindow::slotMarkerMoved);
    connect(m_plot, &DataPlot::signalMarkerMoved, curveSet, &CurveSet::slotMarkerMoved);
    connect(m_plot, &DataPlot::signalZoomedToTimeBase, timeBase, &TimeBaseController::slotZoomedTo);
    connect(navigator, &PlotNavigator::signalTimeViewChanged, timeBase, &TimeBaseController::slotViewZoomed);
    connect(navigator, &PlotNavigator::signalRestoreTimeView, timeBase, &TimeBaseController::restoreView);
    connect(curveSet, &CurveSet::signalThreadErrorMessage, this, &VistrelMainWindow::slotCurveError);
    connect(curveSet, &CurveSet::signalCurveCreated, this, &VistrelMainWindow::slotCurveCreated);
    connect(curveSet, &CurveSet::signalCurveErased, this, &VistrelMainWindow::slotCurveErased);
    // Behind the axis cell's own signal, whose rescaling of the row comes first.
    connect(curveSet, &CurveSet::signalAxisSettingsChanged, this, &VistrelMainWindow::slotAxisSettingsUpdated,
            Qt::QueuedConnection);
    connect(settings, &SettingsController::signalPenOptionsChanged, curveSet, &CurveSet::applyPenOptions);
    connect(run, &RunController::signalOperatingMode, this, &VistrelMainWindow::setOperatingMode);
    connect(run, &RunController::signalStartTime, this, &VistrelMainWindow::showStartTime);
    connect(run, &RunController::signalRunTime, this, &VistrelMainWindow::showRunTime);
    connect(run, &RunController::signalRunStateChanged, this, &VistrelMainWindow::updateActions);
    connect(run, &RunController::signalRunStateChanged, traffic,
            [this] { run->isRunning() ? traffic->start() : traffic->stop(); });
    connect(documents, &DocumentController::signalOperatingMode, this, &VistrelMainWindow::setOperatingMode);
    connect(documents, &DocumentController::signalTimes, this, &VistrelMainWindow::showTimes);
    connect(documents, &DocumentController::signalFileNamesChanged, this,
            &VistrelMainWindow::slotFileNamesChanged);
    connect(documents, &DocumentController::signalAxisSettingsChanged, this,
            &VistrelMainWindow::slotAxisSettingsUpdated);
    connect(documents, &DocumentController::signalActionsChanged, this, &VistrelMainWindow::updateActions);
}

const QVector<QSharedPointer<PlotCurve>>& VistrelMainWindow::curves() const
{
    return curveSet->curves();
}

QTimer* VistrelMainWindow::refreshTimer() const
{
    return run->refreshTimer();
}

const ProgramOptions& VistrelMainWindow::options() const
{
    return settings->options();
}

void VistrelMainWindow::setOptions(const ProgramOptions& options)
{
    settings->options() = options;
    curveSet->applyPenOptions();
}

bool VistrelMainWindow::isRunning() const
{
    return run->isRunning();
}

MFormConfig* VistrelMainWindow::optionsDialog() const
{
    return settings->optionsDialog();
}

double VistrelMainWindow::elapsedSeconds() const
{
    return run->elapsedSeconds();
}

double VistrelMainWindow::timeOrigin() const
{
    return run->timeOrigin();
}

void VistrelMainWindow::setTimeOrigin(double origin)
{
    run->setTimeOrigin(origin);
}

double VistrelMainWindow::runTime() const
{
    return timeBase->runTime();
}

void VistrelMainWindow::setRunTime(double seconds)
{
    timeBase->setRunTime(seconds);
}

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
        for (QPushButton* button : {pushButtonMarker1, pushButtonMarker2, pushButtonDMarker})
            button->setEnabled(on);
        m_plot->setMarkersMovable(on);
        // Zoom and pan too, so the view is the run's while it follows it.
        navigator->setEnabled(on);
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
    const bool timerActive = run && run->refreshTimer()->isActive();
    const bool hasRows = m_tableConfig && m_tableConfig->rowCount() > 0;
    const bool startChecked = pushButtonStartStop->isChecked();
    const bool hasProjectName = documents && !documents->projectFileName().isEmpty();
    const bool hasDataName = documents && !documents->dataFileName().isEmpty();

    for (QAction* action : {projectNewAction, projectOpenAction, projectOptionsAction, projectAdd_CurveAction,
                            projectAddDbcSignalsAction, dataLoadAction})
        action->setEnabled(!timerActive);
    projectSaveAction->setEnabled(!timerActive && hasProjectName);
    projectSaveAsAction->setEnabled(!timerActive && hasRows);
    projectDelete_CurveAction->setEnabled(hasRows && !startChecked);
    projectCalculateAction->setEnabled(hasRows && !startChecked);
    dataSave_AsAction->setEnabled(!timerActive && hasRows);
    dataSaveAction->setEnabled(!timerActive && hasDataName);
    dataImportAction->setEnabled(!timerActive && hasRows);
    dataOpenLogAction->setEnabled(!timerActive && hasRows);
    // While paused the points stand still, and the export writes what the plot shows.
    const bool standing = !timerActive || pushButtonPause->isChecked();
    dataExportCsvAction->setEnabled(standing && documents && documents->hasSamples());
}

bool VistrelMainWindow::resetProject()
{
    return documents->resetProject();
}

void VistrelMainWindow::showStartTime(double time)
{
    statusBarForm->textLabelStartTime->setText(startTimeText(time));
}

void VistrelMainWindow::showRunTime(double seconds)
{
    statusBarForm->textLabelRunTime->setText(QString::asprintf("Run: %0.3f s", seconds));
}

void VistrelMainWindow::showTimes(double time, double seconds)
{
    showStartTime(time);
    showRunTime(seconds);
}

void VistrelMainWindow::setProjectFileName(const QString& name)
{
    documents->setProjectFileName(name);
}

void VistrelMainWindow::setDataFileName(const QString& name)
{
    documents->setDataFileName(name);
}

const QString& VistrelMainWindow::currentProjectFileName() const
{
    return documents->projectFileName();
}

const QString& VistrelMainWindow::currentDataFileName() const
{
    return documents->dataFileName();
}

void VistrelMainWindow::slotFileNamesChanged()
{
    // A file that was loaded although damaged shows the report instead.
    const std::tuple<QLabel*, QString, QString> labels[] = {
        {statusBarForm->textLabelProjectFile, QStringLiteral("Prj: ") + documents->projectFileName(),
         documents->projectFileDamage()},
        {statusBarForm->textLabelDataFile, QStringLiteral("Data: ") + documents->dataFileName(),
         documents->dataFileDamage()}};
    for (const auto& [label, text, damage] : labels) {
        label->setText(text);
        label->setToolTip(damage.isEmpty() ? text : damage);
    }
    updateActions();
}

void VistrelMainWindow::slotMarkerMoved(int marker, double time)
{
    (marker == 1 ? pushButtonMarker1 : pushButtonMarker2)
        ->setText(QString::asprintf("M%d: %0.3f s", marker, time));
    pushButtonDMarker->setText(
        QString::asprintf("dM: %0.3f s", m_plot->marker2()->xValue() - m_plot->marker1()->xValue()));
}

void VistrelMainWindow::createCurve(int row)
{
    curveSet->createCurve(row);
}

void VistrelMainWindow::eraseCurve(int row)
{
    curveSet->eraseCurve(row);
}

void VistrelMainWindow::slotCurveCreated()
{
    pushButtonStartStop->setEnabled(true);
    updateActions();
}

void VistrelMainWindow::slotCurveErased()
{
    if (m_tableConfig->rowCount() == 0)
        pushButtonStartStop->setEnabled(false);
    updateActions();
}

void VistrelMainWindow::openCommandLineFile(const QStringList& arguments)
{
    documents->openCommandLineFile(arguments);
}

void VistrelMainWindow::writeProjectFile(const QString& fileName)
{
    documents->writeProjectFile(fileName);
}

void VistrelMainWindow::readProjectFile(const QString& fileName)
{
    documents->readProjectFile(fileName);
}

void VistrelMainWindow::writeDataFile(const QString& fileName)
{
    documents->writeDataFile(fileName);
}

void VistrelMainWindow::readDataFile(const QString& fileName)
{
    documents->readDataFile(fileName);
}

void VistrelMainWindow::importRecordedData(const QString& fileName)
{
    documents->importRecordedData(fileName);
}

void VistrelMainWindow::projectNew()
{
    // A refused question leaves everything as it was; nothing to report.
    documents->resetProject();
}

void VistrelMainWindow::projectOpen()
{
    documents->projectOpen();
}

void VistrelMainWindow::projectSave()
{
    documents->projectSave();
}

void VistrelMainWindow::projectSaveAs()
{
    documents->projectSaveAs();
}

void VistrelMainWindow::dataSave()
{
    documents->dataSave();
}

void VistrelMainWindow::dataSaveAs()
{
    documents->dataSaveAs();
}

void VistrelMainWindow::dataLoad()
{
    documents->dataLoad();
}

void VistrelMainWindow::dataImport()
{
    documents->dataImport();
}

void VistrelMainWindow::dataOpenLog()
{
    documents->dataOpenLog();
}

void VistrelMainWindow::dataExportCsv()
{
    documents->dataExportCsv();
}

void VistrelMainWindow::openCanLog(const QString& fileName)
{
    documents->openCanLog(fileName);
}

void VistrelMainWindow::projectAddCurve()
{
    curveSet->addCurve();
}

void VistrelMainWindow::projectAddDbcSignals()
{
    dbcSignals->addSignalsFromDbc();
}

void VistrelMainWindow::projectDeleteCurve()
{
    if (m_tableConfig->rowCount() > 0 &&
        prompt->askYesNo(tr("Do you really want to delete the curve(s)?\nContinue?")))
        curveSet->deleteSelectedCurves();
}

void VistrelMainWindow::projectCalculate()
{
    int row = m_tableConfig->currentRow();
    if (row < 0) {
        m_tableConfig->setCurrentCell(0, TablePlotConfig::ColName);
        row = 0;
    }
    m_tableConfig->slotCalcCmd(row);
}

void VistrelMainWindow::slotValueChangedTablePlotConfig(int row, int col)
{
    // The table's own checks, then what the edit copies to the other table
    // and the curve.
    m_tableConfig->repairCell(row, col);
    curveSet->slotValueChangedTablePlotConfig(row, col);
}

void VistrelMainWindow::slotClickedTablePlotConfig(int row, int col)
{
    if (col != TablePlotConfig::ColColor || row < 0 || run->isRunning() ||
        m_tableConfig->lastPressButtons() != int(Qt::LeftButton))
        return;
    const QColor color =
        QColorDialog::getColor(QColor(m_tableConfig->curveColor(row)), this, tr("Select Curve Color"));
    if (color.isValid())
        curveSet->setCurveColor(row, color);
}

void VistrelMainWindow::slotDoubleClickedTablePlotConfig(int row, int col)
{
    // Also the way of F2. The last press must have been a plain left click,
    // so F2 does nothing before the first click in the table.
    if (row < 0 || (col != TablePlotConfig::ColScale && col != TablePlotConfig::ColOffset) ||
        run->isRunning() || m_tableConfig->lastPressButtons() != int(Qt::LeftButton))
        return;
    m_tableConfig->slotCalcCmd(row);
}

void VistrelMainWindow::slotValueChangedTablePlotDescription(int row, int col)
{
    curveSet->slotValueChangedTablePlotDescription(row, col);
}

void VistrelMainWindow::slotTablePlotConfigMenu()
{
    // No adding or deleting of rows while a run is on.
    if (!pushButtonStartStop->isChecked())
        tableMenu->exec(QCursor::pos());
}

void VistrelMainWindow::slotStartStop()
{
    run->slotStartStop();
}

void VistrelMainWindow::slotPause()
{
    run->slotPause();
}

void VistrelMainWindow::slotTimeout()
{
    run->slotTimeout();
}

void VistrelMainWindow::slotTimeBaseChanged(int val)
{
    timeBase->slotTimeBaseChanged(val);
}

void VistrelMainWindow::slotScrollTimeChanged(int val)
{
    timeBase->slotScrollTimeChanged(val);
}

void VistrelMainWindow::closeEvent(QCloseEvent* event)
{
    // Nothing asks about unsaved work while no run is on.
    if (run->isRunning() &&
        !prompt->askYesNo(tr("Vistrel is running!\nDo you really want to close the program?"))) {
        event->ignore();
        return;
    }
    if (run->isRunning())
        run->slotStartStop();
    event->accept();
}

void VistrelMainWindow::slotCurveError(QString s)
{
    // The run goes on; the curve simply gets no points.
    QMessageBox::critical(this, tr("Plot Curve Error"), s + QStringLiteral("\n\n") + tr("Curve disabled!"),
                          QMessageBox::Ok);
}

void VistrelMainWindow::projectOptions()
{
    settings->openOptionsDialog();
}

void VistrelMainWindow::slotFormConfigOkClicked()
{
    settings->slotFormConfigOkClicked();
}

void VistrelMainWindow::slotFormConfigCancelClicked()
{
    settings->slotFormConfigCancelClicked();
}

void VistrelMainWindow::slotFormConfigApplyClicked()
{
    settings->slotFormConfigApplyClicked();
}

bool VistrelMainWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Installed on the two value axes: a left click opens the viewport
    // dialog on the axis's tab. The press is never consumed.
    if (event->type() == QEvent::MouseButtonPress &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        QwtScaleWidget* leftAxis = m_plot->axisWidget(QwtPlot::yLeft);
        if (watched == leftAxis || watched == m_plot->axisWidget(QwtPlot::yRight))
            openAxisDialog(watched == leftAxis ? QwtPlot::yLeft : QwtPlot::yRight);
    }
    return QMainWindow::eventFilter(watched, event);
}

void VistrelMainWindow::openAxisDialog(int tab)
{
    MDialogCustomAxis dialog(this, &m_axisSettings, &fitScaleToViewport);
    if (tab > 0)
        dialog.initialTab = 1;
    // Nothing to recalculate without rows, and curves keep their scaling
    // while they record.
    if (run->isRunning() || m_tableConfig->rowCount() == 0)
        dialog.openFlags |= MDialogCustomAxis::RecalculationLocked;
    for (int row = 0; row < m_tableConfig->rowCount(); ++row) {
        if (m_tableConfig->valueAxis(row) > 0) {
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
    const ValueAxisSettings& left = *m_axisSettings[QwtPlot::yLeft];
    const ValueAxisSettings& right = *m_axisSettings[QwtPlot::yRight];
    // The hidden right axis keeps its viewport too, ready for when it shows.
    m_plot->setAxisScale(QwtPlot::yLeft, left.min, left.max, left.step);
    m_plot->setAxisScale(QwtPlot::yRight, right.min, right.max, right.step);
    m_plot->enableAxis(QwtPlot::yRight, right.visible);
    // Only the right record decides: a hidden right axis can't carry the grid.
    m_plot->setGridAxis(right.grid && right.visible ? QwtPlot::yRight : QwtPlot::yLeft);

    if (fitScaleToViewport && !run->isRunning()) {
        // Each curve's data type fills its axis again; during a run the
        // curves keep the scaling they were started with.
        for (int row = 0; row < m_tableConfig->rowCount(); ++row)
            m_tableConfig->slotDataTypeCurveSelection(row);
    }
    m_plot->replot();
}

void VistrelMainWindow::projectPrint()
{
    QPrinter printer(QPrinter::ScreenResolution);
    printer.setCreator(QStringLiteral("Vistrel"));
    printer.setPageOrientation(QPageLayout::Landscape);
    // No document name: the plot has no title to give it.
    QPrintDialog dialog(&printer, nullptr);
    if (dialog.exec() == QDialog::Accepted)
        printPlot(m_plot, printer);
}

void VistrelMainWindow::projectExportImage()
{
    QString filter;
    QString name = prompt->saveFileNameWithFilter(
        tr("Export Image"), QStringLiteral("PNG image (*.png);;SVG image (*.svg)"), &filter);
    if (name.isEmpty())
        return;
    // A name with either extension keeps it; others get the chosen filter's.
    if (!name.endsWith(QLatin1String(".png")) && !name.endsWith(QLatin1String(".svg")))
        name += filter.contains(QLatin1String("*.svg")) ? QLatin1String(".svg") : QLatin1String(".png");

    MDialogExportImage dialog(m_plot->size(), this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString failure = exportPlotImage(m_plot, name, dialog.imageSize(), dialog.colorMode());
    if (!failure.isEmpty())
        prompt->showError(tr("Cannot write the image %1:\n%2").arg(name, failure));
}

void VistrelMainWindow::projectExit()
{
    // Quitting takes the way of closeEvent, which asks during a run.
    close();
}

void VistrelMainWindow::helpAbout()
{
    // A new dialog each time, so that it always shows its texts afresh.
    aboutDialog = new MFormAbout(this);
    aboutDialog->exec();
    delete aboutDialog;
    aboutDialog = nullptr;
}

void VistrelMainWindow::helpContents()
{
    const QString path = manualPath(QCoreApplication::applicationDirPath(), QLocale::system().name());
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        QMessageBox::information(this, tr("Vistrel"), tr("Cannot open pdf manual!"), QMessageBox::Ok);
}

void VistrelMainWindow::helpIndex()
{
    helpContents();
}
