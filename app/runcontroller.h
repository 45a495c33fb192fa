#ifndef RUNCONTROLLER_H
#define RUNCONTROLLER_H

#include "netinfo.h"
#include "valueaxissettings.h"

#include <QObject>
#include <QVector>

#include <vector>

class CurveSet;
class DataPlot;
class IFPrompt;
class QPushButton;
class QScrollBar;
class QTimer;
class TablePlotConfig;
class TablePlotDescription;
class TimeBaseController;
struct ProgramOptions;

// Run control and the refresh cycle: the checks at Start, the curves'
// capture threads, the refresh timer and its tick, Pause and Stop.
//
// The state of a run is three things that change together: isRunning(),
// the active refresh timer and the checked Start button. The time origin
// and the net records are written only while no capture thread runs.
class RunController : public QObject
{
    Q_OBJECT

public:
    struct Controls
    {
        QPushButton* startStop;
        QPushButton* pause;
        QScrollBar* scrollBar;
    };
    struct Parts
    {
        TablePlotConfig* config;
        TablePlotDescription* description;
        DataPlot* plot;
        CurveSet* curves;
        TimeBaseController* timeBase;
    };

    RunController(const Controls& controls, const Parts& parts, NetTable& nets,
                  const QVector<ValueAxisSettings*>& axisSettings, const ProgramOptions& options,
                  IFPrompt& prompt, QObject* parent = nullptr);

    bool isRunning() const { return running; }
    QTimer* refreshTimer() const { return timer; }

    // Absolute time (the scale of wallClockSeconds) at which run time is 0.
    double timeOrigin() const { return m_timeOrigin; }
    void setTimeOrigin(double origin) { m_timeOrigin = origin; }
    double elapsedSeconds() const;

public slots:
    // Starts when not running, stops when running.
    void slotStartStop();
    void slotPause();
    // One refresh tick: the rings become points, cells and the view.
    void slotTimeout();

signals:
    void signalOperatingMode(int mode);
    void signalStartTime(double time);
    void signalRunTime(double seconds);
    // Start or Stop has ended: the actions follow.
    void signalRunStateChanged();

private:
    // The first failing check at Start, or an empty text.
    QString startCheckFailure();
    void startRun();
    void stopRun();
    // What Start and Stop share at their end: Calc buttons, actions.
    void finishStartStop();
    // The "Current Value" cell of a curve out of its axis's viewport is red.
    void flagOutOfViewport(int count);

    const Controls controls;
    const Parts parts;
    NetTable& nets;
    const QVector<ValueAxisSettings*>& axisSettings;
    const ProgramOptions& options;
    IFPrompt& prompt;
    QTimer* const timer;
    bool running = false;
    double m_timeOrigin = 0.0;
    // Lowest and highest value of each curve at the last refresh; sized at
    // Start so that the refresh allocates nothing.
    std::vector<double> curveLowest;
    std::vector<double> curveHighest;
};

#endif // RUNCONTROLLER_H
