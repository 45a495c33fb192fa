#include "dataplot.h"

#include "bottomscaledraw.h"
#include "plotcanvas.h"
#include "plotcurve.h"
#include "timebase.h"

#include <qwt_legend.h>
#include <qwt_picker_machine.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_picker.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>

#include <QPainter>
#include <QPolygon>
#include <QStaticText>

#include <algorithm>
#include <cmath>

namespace {

QColor namedColor(const char* name)
{
    QColor color;
    color.setNamedColor(QLatin1String(name));
    return color;
}

QwtSymbol* markerSymbol(const QColor& color)
{
    auto* symbol = new QwtSymbol(QwtSymbol::HLine);
    symbol->setSize(6, -1);
    symbol->setColor(color);
    return symbol;
}

} // namespace

DataPlot::DataPlot(double initialSpan, QWidget* parent) : QwtPlot(parent)
{
    setCanvas(new PlotCanvas(this));
    m_grid = new QwtPlotGrid;
    m_grid->setPen(QPen(namedColor("grey")));
    m_grid->attach(this);

    setCanvasColor(namedColor("white"));

    const double span = initialSpan;
    axisWidget(QwtPlot::xBottom)->setSpacing(8);
    // Before anything is recorded the bottom axis runs from -span to 0.
    setTimeScale(0.0, span);

    setAxisScaleDraw(QwtPlot::xBottom, new BottomScaleDraw);
    setAxisScale(QwtPlot::yLeft, -100.0, 100.0, 10.0);
    setMinimumHeight(300);

    m_marker1 = insertMarker(QStringLiteral("M1"), QwtPlot::xBottom);
    setMarkerPen(m_marker1, QPen(namedColor("blue")));
    m_marker1->setSymbol(markerSymbol(namedColor("blue")));
    m_marker2 = insertMarker(QStringLiteral("M2"), QwtPlot::xBottom);
    setMarkerPen(m_marker2, QPen(namedColor("blue")));
    m_marker2->setSymbol(markerSymbol(namedColor("blue")));

    insertLegend(new QwtLegend, QwtPlot::BottomLegend, -1.0);
    replot();

    // Rubber band and tracker pens come from setPickerColor, which the
    // settings reach through setMarker1Color.
    m_picker = new QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, QwtPicker::CrossRubberBand,
                                 QwtPicker::AlwaysOn, canvas());
    m_picker->setStateMachine(new QwtPickerDragPointMachine);
    connect(m_picker, qOverload<const QPoint&>(&QwtPicker::moved), this, &DataPlot::slotPickerMoved);
    connect(m_picker, qOverload<const QPolygon&>(&QwtPicker::selected), this, &DataPlot::slotPickerSelected);
}

void DataPlot::setTimeScale(double end, double span)
{
    setAxisScale(QwtPlot::xBottom, end - span, end, span / 10);
}

void DataPlot::setCanvasColor(const QColor& color)
{
    QWidget* canvasWidget = canvas();
    QPalette palette = canvasWidget->palette();
    const QBrush brush(color);
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Disabled, QPalette::Inactive})
        palette.setBrush(group, QPalette::Window, brush);
    canvasWidget->setPalette(palette);
}

QColor DataPlot::canvasColor() const
{
    return canvas()->palette().brush(QPalette::Active, QPalette::Window).color();
}

void DataPlot::setGridPen(const QPen& pen)
{
    m_grid->setPen(pen);
}

void DataPlot::setGridAxis(int axis)
{
    m_grid->setYAxis(axis);
    if (m_picker)
        m_picker->setAxis(QwtPlot::xBottom, axis);
}

void DataPlot::setMarkerColor(QwtPlotMarker* marker, const QColor& color)
{
    setMarkerPen(marker, QPen(color));
    marker->setSymbol(markerSymbol(color));
}

void DataPlot::setMarker1Color(const QColor& color)
{
    setMarkerPen(m_marker1, QPen(color));
    setPickerColor(color);
    m_marker1->setSymbol(markerSymbol(color));
}

void DataPlot::setMarker2Color(const QColor& color)
{
    setMarkerColor(m_marker2, color);
}

QColor DataPlot::marker1Color() const
{
    return m_marker1->linePen().color();
}

QColor DataPlot::marker2Color() const
{
    return m_marker2->linePen().color();
}

void DataPlot::setPickerColor(const QColor& color)
{
    if (!m_picker)
        return;
    m_picker->setRubberBandPen(QPen(color));
    m_picker->setTrackerPen(QPen(color));
}

QwtPlotMarker* DataPlot::insertMarker(const QString& label, int axis)
{
    auto* marker = new QwtPlotMarker;
    switch (axis) {
    case QwtPlot::yLeft:
    case QwtPlot::yRight:
        marker->setAxes(QwtPlot::xBottom, axis);
        marker->setLineStyle(QwtPlotMarker::HLine);
        break;
    case QwtPlot::xBottom:
    case QwtPlot::xTop:
        marker->setAxes(axis, QwtPlot::yLeft);
        marker->setLineStyle(QwtPlotMarker::VLine);
        break;
    default:
        marker->setAxes(QwtPlot::xBottom, QwtPlot::yLeft);
        marker->setLineStyle(QwtPlotMarker::NoLine);
        break;
    }
    marker->setLabel(QwtText(label));
    marker->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    marker->attach(this);
    return marker;
}

void DataPlot::setMarkerPen(QwtPlotMarker* marker, const QPen& pen)
{
    marker->setLinePen(pen);
    QwtText text = marker->label();
    text.setColor(pen.color());
    marker->setLabel(text);
}

void DataPlot::drawCanvas(QPainter* painter)
{
    QwtPlot::drawCanvas(painter);
    // Made once, at the first paint, and kept until the program ends.
    static const QStaticText timeLabel(QStringLiteral("Time/sec"));
    const QWidget* canvasWidget = canvas();
    painter->drawStaticText(canvasWidget->width() - 65, canvasWidget->height() - 20, timeLabel);
}

double DataPlot::timeScaleStart()
{
    // A scale set without a replot reaches the scale division only here.
    updateAxes();
    return axisScaleDiv(QwtPlot::xBottom).lowerBound();
}

double DataPlot::timeScaleEnd()
{
    updateAxes();
    return axisScaleDiv(QwtPlot::xBottom).upperBound();
}

void DataPlot::setCurveStyle(PlotCurve* curve, bool visible, int style)
{
    if (curve && curve->plotItem) {
        QwtPlotCurve::CurveStyle curveStyle = QwtPlotCurve::NoCurve;
        if (visible) {
            switch (style) {
            case 0:
                curveStyle = QwtPlotCurve::Steps;
                break;
            case 1:
                curveStyle = QwtPlotCurve::Lines;
                break;
            case 2:
                curveStyle = QwtPlotCurve::Sticks;
                break;
            default:
                break;
            }
        }
        // A switched-off curve stays attached and keeps its legend entry.
        curve->plotItem->setStyle(curveStyle);
    }
    replot();
}

void DataPlot::slotMarker1()
{
    const double start = timeScaleStart();
    const double end = timeScaleEnd();
    const double width = end - start;
    setMarker1((start + end) / 2 - width / 10);
    setPickerColor(marker1Color());
}

void DataPlot::slotMarker2()
{
    const double start = timeScaleStart();
    const double end = timeScaleEnd();
    const double width = end - start;
    setMarker2((start + end) / 2 + width / 10);
    setPickerColor(marker2Color());
}

void DataPlot::setMarker1(double time)
{
    m_marker1->setXValue(time);
    emit signalMarkerMoved(1, time);
    replot();
}

void DataPlot::setMarker2(double time)
{
    m_marker2->setXValue(time);
    emit signalMarkerMoved(2, time);
    replot();
}

void DataPlot::slotDMarker()
{
    const double lo = std::min(m_marker1->xValue(), m_marker2->xValue());
    const double hi = std::max(m_marker1->xValue(), m_marker2->xValue());
    const double delta = hi - lo;
    const int index = timeBaseIndexAbove(delta);
    const double span = timeBaseTable[size_t(index)];
    // Both markers centred in the view.
    setTimeScale(hi + (span - delta) / 2, span);
    replot();

    emit signalZoomedToTimeBase(index);
}

void DataPlot::slotPickerMoved(const QPoint& pos)
{
    if (!markersMovable)
        return;
    const double time = invTransform(QwtPlot::xBottom, pos.x());
    if (!activeMarker) {
        const double d1 = std::fabs(time - m_marker1->xValue());
        const double d2 = std::fabs(time - m_marker2->xValue());
        // At equal distance marker 2 wins.
        activeMarker = d2 > d1 ? m_marker1 : m_marker2;
    }
    activeMarker->setXValue(time);
    setPickerColor(activeMarker->linePen().color());
    replot();
}

void DataPlot::slotPickerSelected(const QPolygon& points)
{
    if (!markersMovable || !activeMarker || points.size() != 1)
        return;
    const double time = invTransform(QwtPlot::xBottom, points.first().x());
    QwtPlotMarker* const released = activeMarker;
    activeMarker = nullptr;
    if (released == m_marker1)
        setMarker1(time);
    else
        setMarker2(time);
}
