#include "timebasecontroller.h"

#include "dataplot.h"
#include "programoptions.h"
#include "timebase.h"

#include <QLabel>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>

#include <algorithm>
#include <climits>

namespace {

constexpr int initialTimeBase = 9; // 10 s

// The scroll bar counts in an int, and its unit is the millisecond: that
// reaches 2147483647 ms, about 24.8 days. A longer record counts in coarser
// steps of 10 ms, 100 ms, ..., as few as keep its end within the bar, so
// that every part of it stays reachable. The step follows the run time,
// which stands still whenever the bar can be moved; the axis itself works
// in doubles and knows no such limit.
double scrollStepMs(double runTime)
{
    double step = 1.0;
    while (runTime * 1000.0 / step > INT_MAX && step < 1e15)
        step *= 10.0;
    return step;
}

// A run time in steps of the scroll bar, cut to a whole number.
int toScrollValue(double seconds, double stepMs)
{
    const double steps = seconds * 1000.0 / stepMs;
    if (!(steps > 0.0))
        return 0;
    if (steps >= INT_MAX)
        return INT_MAX;
    return static_cast<int>(steps);
}

// The same, rounded to the nearest step.
int nearestScrollValue(double seconds, double stepMs)
{
    return toScrollValue(seconds + stepMs / 2000.0, stepMs);
}

} // namespace

TimeBaseController::TimeBaseController(const Controls& controls, DataPlot* plot,
                                       const ProgramOptions& options, QObject* parent)
    : QObject(parent), controls(controls), plot(plot), options(options),
      m_runTime(timeBaseTable[initialTimeBase])
{
    QSlider* slider = controls.slider;
    slider->setMinimum(0);
    slider->setMaximum(timeBaseCount - 1);
    slider->setTickInterval(1);
    slider->setTickPosition(QSlider::TicksBelow);
    slider->setValue(initialTimeBase);
    controls.label->setText(timeBaseLabel(timeBaseTable[initialTimeBase]));
    controls.label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    QScrollBar* bar = controls.scrollBar;
    bar->setMinimum(0);
    bar->setMaximum(0);
    bar->setSingleStep(1);
    bar->setPageStep(1000);
    bar->setValue(bar->maximum());
    bar->setEnabled(true);
}

double TimeBaseController::span() const
{
    return timeBaseTable[size_t(controls.slider->value())];
}

void TimeBaseController::slotTimeBaseChanged(int val)
{
    if (val > controls.slider->maximum() || val < 0 || val >= timeBaseCount)
        return;
    // Paged scrolling moves the view at its next refresh.
    nextPageEnd = 0.0;

    const double span = timeBaseTable[size_t(val)];
    double end = plot->timeScaleEnd();
    int scrollMaximum = 0;
    int scrollValue = 0;
    if (m_runTime > span) {
        const double stepMs = scrollStepMs(m_runTime);
        scrollMaximum = toScrollValue(m_runTime, stepMs);
        scrollValue = toScrollValue(end, stepMs);
    } else {
        // The record fits the view.
        end = m_runTime;
    }

    controls.label->setText(timeBaseLabel(span));
    showView(end, span);
    plot->replot();

    controls.scrollBar->setMaximum(scrollMaximum);
    controls.scrollBar->setValue(scrollValue);
}

void TimeBaseController::slotScrollTimeChanged(int val)
{
    showView(m_runTime > span() ? val * scrollStepMs(m_runTime) / 1000.0 : m_runTime, span());
    plot->replot();
}

void TimeBaseController::slotZoomedTo(int index)
{
    const QSignalBlocker blocker(controls.slider);
    controls.slider->setValue(index);
    slotTimeBaseChanged(index);
}

void TimeBaseController::setTimeAxisForStart()
{
    if (options.continuousScroll) {
        // 0 at the right edge.
        showView(0.0, span());
    } else {
        // 0 in the middle.
        nextPageEnd = span() / 2;
        showView(span() / 2, span());
    }
    plot->replot();
}

void TimeBaseController::followRun()
{
    if (followsEveryRefresh(options.continuousScroll, span(), options.refreshTime)) {
        showView(m_runTime, span());
    } else if (m_runTime > nextPageEnd) {
        // The present in the middle; it runs to the right edge before the
        // next jump.
        nextPageEnd = m_runTime + span() / 2;
        showView(nextPageEnd, span());
    }
    plot->replot();

    // At its right end with a growing range; blocked, so that it doesn't
    // move the view.
    const QSignalBlocker blocker(controls.scrollBar);
    const int position = m_runTime > span() ? toScrollValue(m_runTime, scrollStepMs(m_runTime)) : 0;
    controls.scrollBar->setMaximum(position);
    controls.scrollBar->setValue(position);
}

void TimeBaseController::resetView()
{
    controls.slider->setValue(initialTimeBase);
    m_runTime = 0.0;
    slotTimeBaseChanged(controls.slider->value());
    showView(0.0, span());
    plot->replot();
}

void TimeBaseController::showRecordEnd()
{
    showView(m_runTime, span());
    plot->replot();
}

void TimeBaseController::showView(double end, double span)
{
    viewEnd = end;
    plot->setTimeScale(end, span);
}

void TimeBaseController::restoreView()
{
    plot->setTimeScale(viewEnd, span());
}

void TimeBaseController::slotViewZoomed()
{
    const double end = plot->timeScaleEnd();
    const int index = timeBaseIndexNearest(end - plot->timeScaleStart());
    if (index != controls.slider->value()) {
        // As after a move of the slider, paged scrolling places the view anew.
        nextPageEnd = 0.0;
        const QSignalBlocker blocker(controls.slider);
        controls.slider->setValue(index);
    }
    const double span = timeBaseTable[size_t(index)];
    controls.label->setText(timeBaseLabel(span));

    int scrollMaximum = 0;
    int scrollValue = 0;
    viewEnd = m_runTime;
    if (m_runTime > span) {
        const double stepMs = scrollStepMs(m_runTime);
        scrollMaximum = toScrollValue(m_runTime, stepMs);
        scrollValue = std::clamp(nearestScrollValue(end, stepMs), 0, scrollMaximum);
        viewEnd = scrollValue * stepMs / 1000.0;
    }
    const QSignalBlocker blocker(controls.scrollBar);
    controls.scrollBar->setMaximum(scrollMaximum);
    controls.scrollBar->setValue(scrollValue);
}
