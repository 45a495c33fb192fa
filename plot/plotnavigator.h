#ifndef PLOTNAVIGATOR_H
#define PLOTNAVIGATOR_H

#include "valueaxissettings.h"

#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <QObject>
#include <QPoint>
#include <QVector>

#include <array>
#include <optional>

class DataPlot;
class QPolygon;
class QwtPlotPicker;

// Zoom and pan on the plot's canvas while nothing moves the view:
//
//   wheel                    the time axis, around the pointer
//   Ctrl + wheel             the value axis nearer to the pointer
//   middle or Shift + left   drag: pans the time and both value axes
//   Ctrl + left              drag: a rubber band, zooms to the box
//   double click, Escape     back to the time base's view and the axes'
//                            records
//
// Plain left drags stay the markers' picker's: none of the patterns above
// matches it. Each step moves the axes and replots once; the curves' items
// read their arrays in place, so nothing is copied. Value axes change in
// the view only, never in their records. The time base hears of each move
// of the time axis, and gives the view to go back to.
class PlotNavigator : public QObject
{
    Q_OBJECT

public:
    // Span factor of one wheel notch.
    static constexpr double wheelFactor = 1.25;

    PlotNavigator(DataPlot* plot, const QVector<ValueAxisSettings*>& axisRecords, QObject* parent = nullptr);

    // Off while a run moves the view. Turning it off ends a pan and takes a
    // zoomed view back, without a replot: the run's next refresh draws.
    void setEnabled(bool on);
    bool isEnabled() const { return enabled; }

    // The time base's view and the value axes of their records; one replot.
    void restoreView();

signals:
    // A zoom or pan moved the time axis; the plot has been replotted.
    void signalTimeViewChanged();
    // The time axis is to show the time base's view again; the receiver
    // sets it without replotting.
    void signalRestoreTimeView();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool mouseEvent(QEvent* event);
    // Span times factor, the time under the pointer staying where it is.
    void zoomTime(double x, double factor);
    void zoomValue(int axis, double y, double factor);
    void panTo(const QPoint& pos);
    void zoomToBox(const QPolygon& corners);
    // The value axis that Ctrl + wheel zooms at a canvas position.
    int valueAxisAt(double x) const;
    void setValueRecords();
    // One replot; tells the time base when the time axis moved.
    void finishStep(bool timeMoved);

    DataPlot* const plot;
    // Kept apart: the filter still hears the canvas while the plot goes.
    QWidget* const canvas;
    const QVector<ValueAxisSettings*>& axisRecords;
    QwtPlotPicker* const boxPicker;
    bool enabled = true;
    // Something was zoomed or panned since the last restore.
    bool moved = false;

    struct Pan
    {
        Qt::MouseButton button;
        QPoint origin;
        // The axes when the pan began.
        std::array<QwtScaleMap, QwtPlot::axisCnt> maps;
        std::array<double, QwtPlot::axisCnt> steps;
    };
    std::optional<Pan> pan;
};

#endif // PLOTNAVIGATOR_H
