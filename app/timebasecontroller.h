#ifndef TIMEBASECONTROLLER_H
#define TIMEBASECONTROLLER_H

#include <QObject>

class DataPlot;
class QLabel;
class QScrollBar;
class QSlider;
struct ProgramOptions;

// The time axis of the plot: the span that the slider chooses, the scroll
// bar over the record, the end of the record (runTime), and how the view
// follows a run, continuously or by pages. Everything that moves the view
// goes through DataPlot::setTimeScale.
class TimeBaseController : public QObject
{
    Q_OBJECT

public:
    struct Controls
    {
        QSlider* slider;
        QScrollBar* scrollBar;
        QLabel* label;
    };

    // Prepares the slider (24 spans, at 10 s) and the scroll bar (in ms).
    TimeBaseController(const Controls& controls, DataPlot* plot, const ProgramOptions& options,
                       QObject* parent = nullptr);

    // Run time of the newest data, in seconds.
    double runTime() const { return m_runTime; }
    void setRunTime(double seconds) { m_runTime = seconds; }
    // The span that the slider chooses.
    double span() const;

    // The view at Start: 0 at the right edge, or in the middle when paging.
    void setTimeAxisForStart();
    // The view that follows a run at each refresh (one replot), then the
    // scroll bar at its right end.
    void followRun();
    // The slider back at 10 s and an empty record: the view of a fresh program.
    void resetView();
    // The view on the last span of the record; the scroll bar keeps its range.
    void showRecordEnd();
    // Back to the view that the slider and the scroll bar give, after a zoom
    // or pan of the plot: the axis only, without a replot.
    void restoreView();

public slots:
    void slotTimeBaseChanged(int val);
    void slotScrollTimeChanged(int val);
    // The plot zoomed to its markers: the slider, its label and the scroll
    // bar follow once, by the direct call.
    void slotZoomedTo(int index);
    // The plot's time axis was zoomed or panned: the slider shows the nearest
    // span, the scroll bar the nearest position, without moving the view;
    // moving either then takes over.
    void slotViewZoomed();

private:
    // Every view of the controller's own goes through here.
    void showView(double end, double span);

    const Controls controls;
    DataPlot* const plot;
    const ProgramOptions& options;
    double m_runTime;
    // Run time at which paged scrolling moves the view next.
    double nextPageEnd = 0.0;
    // Right end of the view that the slider and the scroll bar give.
    double viewEnd = 0.0;
};

#endif // TIMEBASECONTROLLER_H
