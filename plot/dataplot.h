#ifndef DATAPLOT_H
#define DATAPLOT_H

#include <qwt_plot.h>

#include <QColor>
#include <QPen>

class PlotCurve;
class QPainter;
class QPoint;
class QPolygon;
class QwtPlotGrid;
class QwtPlotMarker;
class QwtPlotPicker;

// The one plot of the program: curves over run time on the bottom axis,
// values on a left and a right axis, one grid, two time markers, a legend
// and a picker. It never replots by itself: whoever changes something
// visible replots afterwards. What the markers mean for the buttons, the
// cells and the time base it tells by signals.
class DataPlot : public QwtPlot
{
    Q_OBJECT

public:
    // The bottom axis opens on -initialSpan to 0.
    explicit DataPlot(double initialSpan, QWidget* parent = nullptr);

    // Shows run time from end - span to end with ten major intervals. The
    // only way in which the bottom axis changes.
    void setTimeScale(double end, double span);

    void setCanvasColor(const QColor& color);
    QColor canvasColor() const;
    void setGridPen(const QPen& pen);
    QwtPlotGrid* grid() const { return m_grid; }
    // The grid lines and the picker's value belong to the same value axis.
    void setGridAxis(int axis);

    void setMarker1Color(const QColor& color);
    void setMarker2Color(const QColor& color);
    QColor marker1Color() const;
    QColor marker2Color() const;
    void setPickerColor(const QColor& color);

    QwtPlotMarker* insertMarker(const QString& label, int axis);
    void setMarkerPen(QwtPlotMarker* marker, const QPen& pen);

    QwtPlotMarker* marker1() const { return m_marker1; }
    QwtPlotMarker* marker2() const { return m_marker2; }
    QwtPlotPicker* picker() const { return m_picker; }

    // The bounds of the bottom axis as they stand now, also when the scale
    // was set and no replot has followed yet.
    double timeScaleStart();
    double timeScaleEnd();

    // Steps, lines or sticks by the style list of the description table;
    // nothing when the curve is switched off. Replots.
    void setCurveStyle(PlotCurve* curve, bool visible, int style);

    // Marker time in seconds of run time; each tells signalMarkerMoved,
    // then replots.
    void setMarker1(double time);
    void setMarker2(double time);

    // Whether a drag moves the markers: not while a run moves the view.
    void setMarkersMovable(bool on) { markersMovable = on; }

signals:
    // Marker 1 or 2 now stands at time, as the buttons and cells show it.
    void signalMarkerMoved(int marker, double time);
    // The view was zoomed to the markers: the time base is to show index.
    void signalZoomedToTimeBase(int index);

public slots:
    // Bring a marker into the view, at 40 % and 60 % of its width.
    void slotMarker1();
    void slotMarker2();
    // Zooms the time axis to the two markers.
    void slotDMarker();
    // Dragging: the nearer marker follows the mouse; texts change only at
    // the release. Nothing moves while the marker buttons are disabled.
    void slotPickerMoved(const QPoint& pos);
    void slotPickerSelected(const QPolygon& points);

protected:
    void drawCanvas(QPainter* painter) override;

private:
    void setMarkerColor(QwtPlotMarker* marker, const QColor& color);

    bool markersMovable = true;
    QwtPlotGrid* m_grid = nullptr;
    QwtPlotMarker* m_marker1 = nullptr;
    QwtPlotMarker* m_marker2 = nullptr;
    QwtPlotMarker* activeMarker = nullptr; // the marker that a drag moves
    QwtPlotPicker* m_picker = nullptr;
};

#endif // DATAPLOT_H
