#include "plotnavigator.h"

#include "dataplot.h"

#include <qwt_picker_machine.h>
#include <qwt_plot_picker.h>
#include <qwt_scale_div.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPolygon>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {

// Spans beyond these the scale can't label sensibly.
constexpr double shortestSpan = 1e-3;
constexpr double longestSpan = 1e7;
// A box smaller than this, in pixels, was meant as a click.
constexpr int smallestBox = 4;

constexpr int valueAxes[] = {QwtPlot::yLeft, QwtPlot::yRight};

} // namespace

PlotNavigator::PlotNavigator(DataPlot* plot, const QVector<ValueAxisSettings*>& axisRecords, QObject* parent)
    : QObject(parent), plot(plot), canvas(plot->canvas()), axisRecords(axisRecords),
      boxPicker(new QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, QwtPicker::RectRubberBand,
                                  QwtPicker::AlwaysOff, plot->canvas()))
{
    boxPicker->setStateMachine(new QwtPickerDragRectMachine);
    boxPicker->setMousePattern(QwtEventPattern::MouseSelect1, Qt::LeftButton, Qt::ControlModifier);
    connect(boxPicker, qOverload<const QPolygon&>(&QwtPicker::selected), this, &PlotNavigator::zoomToBox);
    // Installed after the pickers, so it sees the canvas's events first.
    canvas->installEventFilter(this);
}

void PlotNavigator::setEnabled(bool on)
{
    if (on == enabled)
        return;
    enabled = on;
    boxPicker->setEnabled(on);
    pan.reset();
    if (!on && moved) {
        setValueRecords();
        emit signalRestoreTimeView();
        moved = false;
    }
}

void PlotNavigator::restoreView()
{
    setValueRecords();
    emit signalRestoreTimeView();
    moved = false;
    plot->replot();
}

void PlotNavigator::setValueRecords()
{
    for (const int axis : valueAxes) {
        const ValueAxisSettings& record = *axisRecords[axis];
        plot->setAxisScale(axis, record.min, record.max, record.step);
    }
}

bool PlotNavigator::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != canvas || !enabled)
        return false;
    switch (event->type()) {
    case QEvent::Wheel: {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        const double notches = wheel->angleDelta().y() / 120.0;
        if (notches == 0.0)
            return false;
        // Up zooms in.
        const double factor = std::pow(wheelFactor, -notches);
        const QPointF pos = wheel->position();
        if (wheel->modifiers() & Qt::ControlModifier)
            zoomValue(valueAxisAt(pos.x()), pos.y(), factor);
        else
            zoomTime(pos.x(), factor);
        return true;
    }
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            restoreView();
        return false; // the pickers abort their selections on it too
    case QEvent::MouseButtonDblClick:
        if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton)
            restoreView();
        return false;
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        return mouseEvent(event);
    default:
        return false;
    }
}

bool PlotNavigator::mouseEvent(QEvent* event)
{
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (event->type() == QEvent::MouseButtonPress && !pan) {
        const Qt::KeyboardModifiers modifiers = mouse->modifiers();
        const bool panButton = mouse->button() == Qt::MiddleButton ||
                               (mouse->button() == Qt::LeftButton && (modifiers & Qt::ShiftModifier) &&
                                !(modifiers & Qt::ControlModifier));
        if (!panButton)
            return false;
        Pan start{mouse->button(), mouse->pos(), {}, {}};
        for (int axis = 0; axis < QwtPlot::axisCnt; ++axis) {
            start.maps[size_t(axis)] = plot->canvasMap(axis);
            start.steps[size_t(axis)] = plot->axisStepSize(axis);
        }
        pan = start;
        return true;
    }
    if (!pan)
        return false;
    if (event->type() == QEvent::MouseMove)
        panTo(mouse->pos());
    else if (event->type() == QEvent::MouseButtonRelease && mouse->button() == pan->button)
        pan.reset();
    return true;
}

void PlotNavigator::zoomTime(double x, double factor)
{
    const QwtScaleMap map = plot->canvasMap(QwtPlot::xBottom);
    const double span = map.s2() - map.s1();
    const double newSpan = std::clamp(span * factor, shortestSpan, longestSpan);
    if (newSpan == span)
        return;
    const double pointer = map.invTransform(x);
    plot->setTimeScale(pointer + (map.s2() - pointer) * newSpan / span, newSpan);
    finishStep(true);
}

void PlotNavigator::zoomValue(int axis, double y, double factor)
{
    const QwtScaleMap map = plot->canvasMap(axis);
    const double pointer = map.invTransform(y);
    const double low = pointer + (map.s1() - pointer) * factor;
    const double high = pointer + (map.s2() - pointer) * factor;
    if (!std::isfinite(low) || !std::isfinite(high) || !(std::fabs(high - low) > 1e-12))
        return;
    // The step is Qwt's while zoomed: the record's would crowd or thin the ticks.
    plot->setAxisScale(axis, low, high);
    finishStep(false);
}

void PlotNavigator::panTo(const QPoint& pos)
{
    for (int axis = 0; axis < QwtPlot::axisCnt; ++axis) {
        const QwtScaleMap& map = pan->maps[size_t(axis)];
        const bool horizontal = axis == QwtPlot::xBottom || axis == QwtPlot::xTop;
        const double shift = horizontal ? map.invTransform(pan->origin.x()) - map.invTransform(pos.x())
                                        : map.invTransform(pan->origin.y()) - map.invTransform(pos.y());
        if (axis == QwtPlot::xBottom)
            plot->setTimeScale(map.s2() + shift, map.s2() - map.s1());
        else if (axis != QwtPlot::xTop)
            plot->setAxisScale(axis, map.s1() + shift, map.s2() + shift, pan->steps[size_t(axis)]);
    }
    finishStep(true);
}

void PlotNavigator::zoomToBox(const QPolygon& corners)
{
    const QRect box = corners.boundingRect();
    if (!enabled || corners.size() != 2 || box.width() < smallestBox || box.height() < smallestBox)
        return;
    const QwtScaleMap timeMap = plot->canvasMap(QwtPlot::xBottom);
    const double start = timeMap.invTransform(box.left());
    const double end = timeMap.invTransform(box.right());
    plot->setTimeScale(end, std::max(end - start, shortestSpan));
    for (const int axis : valueAxes) {
        const QwtScaleMap map = plot->canvasMap(axis);
        const double bottom = map.invTransform(box.bottom());
        const double top = map.invTransform(box.top());
        plot->setAxisScale(axis, std::min(bottom, top), std::max(bottom, top));
    }
    finishStep(true);
}

int PlotNavigator::valueAxisAt(double x) const
{
    return plot->axisEnabled(QwtPlot::yRight) && x > canvas->width() / 2.0 ? int(QwtPlot::yRight)
                                                                           : int(QwtPlot::yLeft);
}

void PlotNavigator::finishStep(bool timeMoved)
{
    moved = true;
    plot->replot();
    if (timeMoved)
        emit signalTimeViewChanged();
}
