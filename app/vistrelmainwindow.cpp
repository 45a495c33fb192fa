// Construction of the main window, its accessors and the window-level events.
#include "vistrelmainwindow.h"

#include "commandline.h"
#include "dataplot.h"
#include "formstatusbar_resourcesreparent.h"
#include "plotcurve.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"
#include "timestampedread.h"
#include "wallclock.h"

#include <algorithm>
#include <qwt_plot_marker.h>

#include <qwt_plot_canvas.h>
#include <qwt_scale_widget.h>

#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QSplitterHandle>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTimer>

VistrelMainWindow::VistrelMainWindow(QWidget* parent, Qt::WindowFlags flags) : QMainWindow(parent, flags)
{
    // The pictures live in a static library: register them before the form
    // asks for its icons.
    Q_INIT_RESOURCE(vistrel);

    axisSettings = {nullptr, nullptr};
    setupUi(this);

    axisRecords[0] = std::make_unique<ValueAxisSettings>(ValueAxisSettings::leftDefault());
    axisRecords[1] = std::make_unique<ValueAxisSettings>(ValueAxisSettings::rightDefault());
    axisSettings = {axisRecords[0].get(), axisRecords[1].get()};

    // The plot takes all new height.
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 0);
    dressSplitterHandle();

    timestampedReadStatus = lookUpTimestampedRead();
    settingsDir = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    scanNets();
    moveLabelsIntoStatusBar();

    plotSize = 5000;
    refreshTime = 250;
    prepareRunControls();

    // The plot reads the slider in its constructor, so the slider is ready.
    plot = new DataPlot(timeBaseTable[size_t(sliderTimeBase->value())], this);
    m_runTime = timeBaseTable[size_t(sliderTimeBase->value())];
    widgetStackPlot->addWidget(plot);
    widgetStackPlot->setCurrentWidget(plot);
    widgetStackPlot->removeWidget(page_3);
    delete page_3;
    page_3 = nullptr;
    if (auto* canvasFrame = qobject_cast<QFrame*>(plot->canvas())) {
        canvasFrame->setFrameShadow(QFrame::Sunken);
        canvasFrame->setFrameShape(QFrame::Box);
        canvasFrame->setLineWidth(1);
    }
    plot->setContentsMargins(5, 10, 13, 8);

    // Rows are as high as a combo box wants to be, so that the combo boxes
    // in the cells fit.
    const int rowHeight = QComboBox().minimumSizeHint().height() + 2;

    tableConfig = new TablePlotConfig(nets, axisSettings);
    tableConfig->horizontalHeader()->setHighlightSections(false);
    tableConfig->verticalHeader()->setHighlightSections(false);
    tableConfig->verticalHeader()->setDefaultSectionSize(rowHeight);
    widgetStackConfig->addWidget(tableConfig);
    widgetStackConfig->setCurrentWidget(tableConfig);

    tableDescription = new TablePlotDescription(tableConfig);
    tableDescription->horizontalHeader()->setHighlightSections(false);
    tableDescription->verticalHeader()->setHighlightSections(false);
    tableDescription->verticalHeader()->setDefaultSectionSize(rowHeight);
    widgetStackDescription->addWidget(tableDescription);
    widgetStackDescription->setCurrentWidget(tableDescription);

    tableMenu = new QMenu(tableConfig->verticalHeader());
    tableMenu->addAction(projectAdd_CurveAction);
    tableMenu->addAction(projectCalculateAction);
    tableMenu->addAction(projectDelete_CurveAction);
    tableConfig->setContextMenuPolicy(Qt::CustomContextMenu);

    refreshTimer = new QTimer(this);
    connectSignals();

    for (const int axis : {int(QwtPlot::yLeft), int(QwtPlot::yRight)}) {
        QwtScaleWidget* axisWidget = plot->axisWidget(axis);
        if (!axisWidget)
            continue;
        axisWidget->setToolTip(tr("Click to set viewport."));
        axisWidget->setCursor(Qt::PointingHandCursor);
        axisWidget->installEventFilter(this);
    }

    resetProject();
    // The settings file overrides the defaults.
    applyDefaultSettings();
    readSettings();
    updateActions();
}

VistrelMainWindow::~VistrelMainWindow()
{
    // An open cell editor commits when the dying window hides; the edit
    // rules must not run on a window that is half gone.
    QObject::disconnect(tableConfig, nullptr, this, nullptr);
    // Curves end first: their destructors stop their threads and detach
    // their items from the plot, which still exists here.
    curves.clear();
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

void VistrelMainWindow::scanNets()
{
    for (int net = 0; net < int(nets.size()); ++net)
        scanNet(nets[size_t(net)], net, timestampedReadStatus);
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
                           static_cast<QWidget*>(statusBarForm->textLabelMode),
                           static_cast<QWidget*>(statusBarForm->textLabelModePicture)})
        bar->addPermanentWidget(label, 0);
}

void VistrelMainWindow::prepareRunControls()
{
    pushButtonStartStop->setText(tr("Start"));
    pushButtonStartStop->setCheckable(true);
    pushButtonPause->setText(tr("Pause"));
    pushButtonPause->setCheckable(true);
    pushButtonPause->setEnabled(false);
    running = false;

    sliderTimeBase->setMinimum(0);
    sliderTimeBase->setMaximum(timeBaseCount - 1);
    sliderTimeBase->setTickInterval(1);
    sliderTimeBase->setTickPosition(QSlider::TicksBelow);
    sliderTimeBase->setValue(9);
    textLabelTimeBase->setText(timeBaseLabel(timeBaseTable[9]));
    textLabelTimeBase->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    scrollBarTime->setMinimum(0);
    scrollBarTime->setMaximum(0);
    scrollBarTime->setSingleStep(1);
    scrollBarTime->setPageStep(1000);
    scrollBarTime->setValue(scrollBarTime->maximum());
    scrollBarTime->setEnabled(true);
}

void VistrelMainWindow::connectSignals()
{
    // Connections of the tables, the run controls and the markers join here
    // as their slots come into being.
    connect(tableConfig, &QWidget::customContextMenuRequested, this,
            &VistrelMainWindow::slotTablePlotConfigMenu);
    connect(tableConfig, &QTableWidget::cellChanged, this,
            &VistrelMainWindow::slotValueChangedTablePlotConfig);
    connect(tableConfig, &QTableWidget::cellClicked, this, &VistrelMainWindow::slotClickedTablePlotConfig);
    connect(tableConfig, &QTableWidget::cellDoubleClicked, this,
            &VistrelMainWindow::slotDoubleClickedTablePlotConfig);
    connect(tableDescription, &QTableWidget::cellChanged, this,
            &VistrelMainWindow::slotValueChangedTablePlotDescription);
    connect(refreshTimer, &QTimer::timeout, this, &VistrelMainWindow::slotTimeout);
    connect(pushButtonStartStop, &QPushButton::clicked, this, &VistrelMainWindow::slotStartStop);
    connect(sliderTimeBase, &QSlider::valueChanged, this, &VistrelMainWindow::slotTimeBaseChanged);
    connect(scrollBarTime, &QScrollBar::valueChanged, this, &VistrelMainWindow::slotScrollTimeChanged);
    connect(pushButtonPause, &QPushButton::clicked, this, &VistrelMainWindow::slotPause);
    connect(pushButtonMarker1, &QPushButton::clicked, plot, &DataPlot::slotMarker1);
    connect(pushButtonMarker2, &QPushButton::clicked, plot, &DataPlot::slotMarker2);
    connect(pushButtonDMarker, &QPushButton::clicked, plot, &DataPlot::slotDMarker);
    connect(plot, &DataPlot::signalMarkerMoved, this, &VistrelMainWindow::slotMarkerMoved);
    connect(plot, &DataPlot::signalZoomedToTimeBase, this, [this](int index) {
        // The label and the scroll bar follow once, by the direct call.
        const QSignalBlocker blocker(sliderTimeBase);
        sliderTimeBase->setValue(index);
        slotTimeBaseChanged(index);
    });
}

void VistrelMainWindow::openCommandLineFile(const QStringList& arguments)
{
    const CommandLineFile file = commandLineFile(arguments);
    switch (file.kind) {
    case CommandLineFile::Project:
        readProjectFile(file.name);
        break;
    case CommandLineFile::Data:
        readDataFile(file.name);
        break;
    case CommandLineFile::None:
        break;
    }
}

double VistrelMainWindow::elapsedSeconds() const
{
    return wallClockSeconds() - m_timeOrigin;
}

void VistrelMainWindow::projectExit()
{
    // Quitting takes the way of closeEvent, which asks during a run.
    close();
}

bool VistrelMainWindow::eventFilter(QObject* watched, QEvent* event)
{
    // Installed on the two value axes: a left click opens the viewport
    // dialog on the axis's tab. The press is never consumed.
    if (event->type() == QEvent::MouseButtonPress &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        QwtScaleWidget* leftAxis = plot->axisWidget(QwtPlot::yLeft);
        if (watched == leftAxis || watched == plot->axisWidget(QwtPlot::yRight))
            openAxisDialog(watched == leftAxis ? QwtPlot::yLeft : QwtPlot::yRight);
    }
    return QMainWindow::eventFilter(watched, event);
}

bool VistrelMainWindow::askYesNo(const QString& text)
{
    QMessageBox box(QMessageBox::Warning, tr("Warning!"), text, QMessageBox::Yes | QMessageBox::No, this);
    box.setDefaultButton(QMessageBox::Yes);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

void VistrelMainWindow::slotMarkerMoved(int marker, double time)
{
    (marker == 1 ? pushButtonMarker1 : pushButtonMarker2)
        ->setText(QString::asprintf("M%d: %0.3f s", marker, time));
    pushButtonDMarker->setText(
        QString::asprintf("dM: %0.3f s", plot->marker2()->xValue() - plot->marker1()->xValue()));
    for (int row = 0; row < curves.size(); ++row) {
        const PlotCurve* curve = curves[row].data();
        if (!curve || curve->maxPoints == 0)
            continue;
        const double* x = curve->xValues.get();
        const double* found = std::find_if(x, x + curve->maxPoints, [time](double t) { return t < time; });
        if (found == x + curve->maxPoints)
            continue;
        const size_t i = size_t(found - x);
        const double value = curve->yValues[i];
        const double raw = curve->scale != 0.0 ? (value - curve->offset) / curve->scale : 0.0;
        const QString text = QString::asprintf("%0.3f/%0.3f   [%0.3f s]", value, raw, x[i]);
        if (marker == 1)
            tableDescription->setM1(row, text);
        else
            tableDescription->setM2(row, text);
    }
}
