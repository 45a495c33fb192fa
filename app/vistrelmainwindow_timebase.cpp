// Time base and scrolling: the span of the view, the scroll bar, and how the
// view follows a run.
#include "vistrelmainwindow.h"

#include "dataplot.h"
#include "timebase.h"

#include <QSignalBlocker>

#include <climits>

namespace {

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

} // namespace

void VistrelMainWindow::slotTimeBaseChanged(int val)
{
    if (val > sliderTimeBase->maximum() || val < 0 || val >= timeBaseCount)
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

    textLabelTimeBase->setText(timeBaseLabel(span));
    plot->setTimeScale(end, span);
    plot->replot();

    scrollBarTime->setMaximum(scrollMaximum);
    scrollBarTime->setValue(scrollValue);
}

void VistrelMainWindow::slotScrollTimeChanged(int val)
{
    const double span = timeBaseTable[size_t(sliderTimeBase->value())];
    if (m_runTime > span)
        plot->setTimeScale(val * scrollStepMs(m_runTime) / 1000.0, span);
    else
        plot->setTimeScale(m_runTime, span);
    plot->replot();
}

void VistrelMainWindow::setTimeAxisForStart()
{
    const double span = timeBaseTable[size_t(sliderTimeBase->value())];
    if (continuousScroll) {
        // 0 at the right edge.
        plot->setTimeScale(0.0, span);
    } else {
        // 0 in the middle.
        nextPageEnd = span / 2;
        plot->setTimeScale(span / 2, span);
    }
    plot->replot();
}

void VistrelMainWindow::followRun()
{
    const double span = timeBaseTable[size_t(sliderTimeBase->value())];
    if (followsEveryRefresh(continuousScroll, span, refreshTime)) {
        plot->setTimeScale(m_runTime, span);
    } else if (m_runTime > nextPageEnd) {
        // The present in the middle; it runs to the right edge before the
        // next jump.
        nextPageEnd = m_runTime + span / 2;
        plot->setTimeScale(nextPageEnd, span);
    }
    plot->replot();

    // At its right end with a growing range; blocked, so that it doesn't
    // move the view.
    const QSignalBlocker blocker(scrollBarTime);
    const int position = m_runTime > span ? toScrollValue(m_runTime, scrollStepMs(m_runTime)) : 0;
    scrollBarTime->setMaximum(position);
    scrollBarTime->setValue(position);
}
