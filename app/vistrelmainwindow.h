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

class CurveSet;
class DataPlot;
class DbcSignalController;
class DocumentController;
class FormStatusBar_ResourcesReparent;
class IFPrompt;
class MFormAbout;
class MFormConfig;
class PlotCurve;
class PlotNavigator;
class QMenu;
class QTimer;
class RunController;
class SettingsController;
class TablePlotConfig;
class TablePlotDescription;
class TimeBaseController;
class TrafficMonitor;
struct ProgramOptions;

// The hub of the program: builds the form, the plot, the tables and the
// status bar labels, and wires them to the controllers that own the state:
// the run (RunController), the time axis (TimeBaseController), the curves
// (CurveSet), the files (DocumentController) and the settings
// (SettingsController). All user actions arrive here as slots and are
// forwarded. What the window itself keeps: the record of every net, the two
// value axes, the operating mode and the enabling of the actions.
class VistrelMainWindow : public QMainWindow, private Ui_VistrelMainWindowBase
{
    Q_OBJECT

public:
    explicit VistrelMainWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~VistrelMainWindow() override;

    // Opens the file that the command line names, if any.
    void openCommandLineFile(const QStringList& arguments);

    // What the plot, the tables and the curves share.
    DataPlot* plot() const { return m_plot; }
    const QVector<QSharedPointer<PlotCurve>>& curves() const;
    TablePlotConfig* tableConfig() const { return m_tableConfig; }
    TablePlotDescription* tableDescription() const { return m_tableDescription; }
    const NetTable& nets() const { return m_nets; }
    const QVector<ValueAxisSettings*>& axisSettings() const { return m_axisSettings; }
    QTimer* refreshTimer() const;
    // refreshTime, plotSize, lineWidth, continuousScroll, antialiasing.
    const ProgramOptions& options() const;
    // The numbers as the options dialog's Apply sets them; the curves take
    // the line width and the antialiasing at once.
    void setOptions(const ProgramOptions& options);
    bool isRunning() const;
    FormStatusBar_ResourcesReparent* statusBarLabels() const { return statusBarForm.get(); }
    MFormConfig* optionsDialog() const;

    // Clock and time state.
    double elapsedSeconds() const;
    double timeOrigin() const;
    void setTimeOrigin(double origin);
    double runTime() const;
    void setRunTime(double seconds);

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
    const QString& currentProjectFileName() const;
    const QString& currentDataFileName() const;

    // Curves: a curve exists as a row of each table and as curves()[row].
    void createCurve(int row);
    void eraseCurve(int row);

    // Files.
    void writeProjectFile(const QString& fileName);
    void readProjectFile(const QString& fileName);
    void writeDataFile(const QString& fileName);
    void readDataFile(const QString& fileName);
    void importRecordedData(const QString& fileName);
    void openCanLog(const QString& fileName);

    // The value axes: the viewport dialog on the left or right axis's tab.
    void openAxisDialog(int tab);

public slots:
    void projectNew();
    void projectOpen();
    void projectSave();
    void projectSaveAs();
    void projectAddCurve();
    void projectAddDbcSignals();
    void projectDeleteCurve();
    void projectCalculate();
    void projectOptions();
    void projectPrint();
    // The plot as a PNG or SVG file, as printing would render it.
    void projectExportImage();
    void projectExit();
    void dataSave();
    void dataSaveAs();
    void dataLoad();
    void dataImport();
    void dataOpenLog();
    void dataExportCsv();
    void slotFormConfigOkClicked();
    void slotFormConfigCancelClicked();
    void slotFormConfigApplyClicked();
    void helpAbout();
    void helpContents();
    void helpIndex();
    void slotValueChangedTablePlotConfig(int row, int col);
    void slotClickedTablePlotConfig(int row, int col);
    void slotDoubleClickedTablePlotConfig(int row, int col);
    void slotValueChangedTablePlotDescription(int row, int col);
    void slotStartStop();
    void slotPause();
    void slotTimeBaseChanged(int val);
    void slotTimeout();
    void slotScrollTimeChanged(int val);
    void slotTablePlotConfigMenu();
    void on_projectCustom_AxisAction_triggered(bool checked);
    void slotAxisSettingsUpdated();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private slots:
    void slotCurveError(QString s);
    // The texts of the marker buttons.
    void slotMarkerMoved(int marker, double time);
    void slotFileNamesChanged();
    void slotCurveCreated();
    void slotCurveErased();

private:
    void createTables();
    void createControllers();
    void dressSplitterHandle();
    void moveLabelsIntoStatusBar();
    void connectSignals();

    std::unique_ptr<IFPrompt> prompt;
    NetTable m_nets;
    std::array<std::unique_ptr<ValueAxisSettings>, 2> axisRecords;
    QVector<ValueAxisSettings*> m_axisSettings; // left, right
    bool fitScaleToViewport = false;
    int operatingMode = 0;
    std::unique_ptr<FormStatusBar_ResourcesReparent> statusBarForm;
    DataPlot* m_plot = nullptr;
    TablePlotConfig* m_tableConfig = nullptr;
    TablePlotDescription* m_tableDescription = nullptr;
    QMenu* tableMenu = nullptr;
    // The about box while it is open, null otherwise.
    MFormAbout* aboutDialog = nullptr;

    // Children of the window, made in this order: each knows only those before it.
    SettingsController* settings = nullptr;
    CurveSet* curveSet = nullptr;
    TimeBaseController* timeBase = nullptr;
    RunController* run = nullptr;
    DocumentController* documents = nullptr;
    DbcSignalController* dbcSignals = nullptr;
    PlotNavigator* navigator = nullptr;
    TrafficMonitor* traffic = nullptr;
};

#endif // VISTRELMAINWINDOW_H
