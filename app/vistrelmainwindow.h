#ifndef VISTRELMAINWINDOW_H
#define VISTRELMAINWINDOW_H

#include "netinfo.h"
#include "ui_vistrelmainwindowbase.h"
#include "valueaxissettings.h"

#include <QMainWindow>
#include <QSharedPointer>
#include <QString>
#include <QVector>

#include <array>
#include <memory>
#include <vector>

class DataPlot;
class FormStatusBar_ResourcesReparent;
class MFormAbout;
class MFormConfig;
class PlotCurve;
class QMenu;
class QTimer;
class TablePlotConfig;
class TablePlotDescription;
struct Settings;

// The hub of the program: owns the tables, the plot, the status bar labels,
// the refresh timer, the curves and the record of every CAN net. All user
// actions arrive here as slots; the member functions are spread over
// several files by concern (vistrelmainwindow_*.cpp).
class VistrelMainWindow : public QMainWindow, public Ui_VistrelMainWindowBase
{
    Q_OBJECT

public:
    explicit VistrelMainWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~VistrelMainWindow() override;

    // Opens the file that the command line names, if any.
    void openCommandLineFile(const QStringList& arguments);

    // Clock and time state.
    double elapsedSeconds() const;
    double timeOrigin() const { return m_timeOrigin; }
    void setTimeOrigin(double origin) { m_timeOrigin = origin; }
    double runTime() const { return m_runTime; }
    void setRunTime(double seconds) { m_runTime = seconds; }

    // Modes and actions.
    int currentOperatingMode() const { return operatingMode; }
    void setOperatingMode(int mode);
    void updateActions();
    bool resetProject();

    // Status bar.
    void showStartTime(double time);
    void showRunTime(double seconds);
    void showTimes(double time, double seconds);
    void setProjectFileName(const QString& name);
    void setDataFileName(const QString& name);
    const QString& currentProjectFileName() const { return projectFileName; }
    const QString& currentDataFileName() const { return dataFileName; }
    FormStatusBar_ResourcesReparent* statusBarLabels() const { return statusBarForm.get(); }

    // Value axes and the viewport dialog.
    void openAxisDialog(int tab);

    // Time base and scrolling: the view at Start, and the view that follows
    // a run at each refresh (one replot, then the scroll bar).
    void setTimeAxisForStart();
    void followRun();

    // Curves: a curve exists as a row of each table and as curves[row].
    void createCurve(int row);
    void eraseCurve(int row);

    // Project file: the configuration of both tables and the value axes.
    void writeProjectFile(const QString& fileName);
    void readProjectFile(const QString& fileName);

    // Data file: a recording with its configuration.
    void writeDataFile(const QString& fileName);
    void readDataFile(const QString& fileName);

    // Import of recorded CAN data: turns the frames of a recorder's log into
    // the points of the rows' curves.
    void importRecordedData(const QString& fileName);

    // Settings file: plot colours and the numbers below.
    void applyDefaultSettings();
    void readSettings();
    void writeSettings();

    // What the plot, the tables and the curves share with the window. They
    // are written on the user interface thread only while no capture thread
    // runs.
    DataPlot* plot = nullptr;
    QVector<QSharedPointer<PlotCurve>> curves;
    TablePlotConfig* tableConfig = nullptr;
    TablePlotDescription* tableDescription = nullptr;
    NetTable nets;
    QVector<ValueAxisSettings*> axisSettings; // left, right
    unsigned refreshTime = 250;               // ms
    unsigned plotSize = 5000;                 // points of a new curve
    // The largest plotSize a file may set: ten times the options dialog's
    // limit. Bigger values only come from damaged files, and would make
    // every new curve allocate an absurd amount.
    static constexpr unsigned largestPlotSize = 1000000;
    bool continuousScroll = true;
    int lineWidth = 1;
    bool antialiasing = false;
    bool fitScaleToViewport = false;
    bool running = false;
    QTimer* refreshTimer = nullptr;

    // Printing, the about box and the manual: the about box while it is
    // open, null otherwise.
    MFormAbout* aboutDialog = nullptr;

public slots:
    void projectNew();
    // Project file.
    void projectOpen();
    void projectSave();
    void projectSaveAs();
    void projectExit();
    // Data file.
    void dataSave();
    void dataSaveAs();
    void dataLoad();
    // Import of recorded CAN data.
    void dataImport();
    // Value axes and the viewport dialog.
    void on_projectCustom_AxisAction_triggered(bool checked);
    void slotAxisSettingsUpdated();
    // Time base and scrolling.
    void slotTimeBaseChanged(int val);
    void slotScrollTimeChanged(int val);
    // Curves: adding, deleting, "En" and "Style".
    void projectAddCurve();
    void projectDeleteCurve();
    void slotValueChangedTablePlotDescription(int row, int col);
    // Cell editing rules of the configuration table and the scaling dialog.
    void projectCalculate();
    void slotValueChangedTablePlotConfig(int row, int col);
    void slotClickedTablePlotConfig(int row, int col);
    void slotDoubleClickedTablePlotConfig(int row, int col);
    void slotTablePlotConfigMenu();

    // Run control and the refresh cycle.
    void slotStartStop();
    void slotPause();
    void slotTimeout();

    // Settings file and the options dialog.
    void projectOptions();
    void slotFormConfigOkClicked();
    void slotFormConfigCancelClicked();
    void slotFormConfigApplyClicked();

    // Printing, the about box and the manual.
    void projectPrint();
    void helpAbout();
    void helpContents();
    void helpIndex();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private slots:
    void slotCurveError(QString s);
    void slotMarkerMoved(int marker, double time);

private:
    // Import of recorded CAN data: a row's curve, sized for the frames of
    // its id.
    QSharedPointer<PlotCurve> importCurve(int row, unsigned points);

    // The curve that a row's cells describe, not yet in curves.
    QSharedPointer<PlotCurve> curveFromRow(int row);
    // Run control: the first failing check at Start, or an empty text.
    QString startCheckFailure();
    void startRun();
    void stopRun();
    // What Start and Stop share at their end: Calc buttons, actions.
    void finishStartStop();

    void dressSplitterHandle();
    void scanNets();
    void moveLabelsIntoStatusBar();
    void prepareRunControls();
    void connectSignals();
    // Asks a Yes/No question with the program's "Warning!" box; Yes is the
    // default button, No the escape button.
    bool askYesNo(const QString& text);

    std::array<std::unique_ptr<ValueAxisSettings>, 2> axisRecords;
    std::unique_ptr<FormStatusBar_ResourcesReparent> statusBarForm;
    QMenu* tableMenu = nullptr;
    int operatingMode = 0;
    double m_timeOrigin = 0.0;
    double m_runTime = 0.0;
    double nextPageEnd = 0.0;
    // Lowest and highest value of each curve at the last refresh; sized at
    // Start so that the refresh allocates nothing.
    std::vector<double> curveLowest;
    std::vector<double> curveHighest;
    QString projectFileName;
    QString dataFileName;
    QString settingsDir;

    // Settings file and the options dialog.
    Settings currentSettings() const;
    void applySettings(const Settings& settings);
    void showSettingsError(const QString& text);
    MFormConfig* optionsDialog = nullptr; // made at first use, kept
};

#endif // VISTRELMAINWINDOW_H
