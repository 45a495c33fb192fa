#include "plotcanvas.h"

#include <qwt_plot.h>

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

PlotCanvas::PlotCanvas(QwtPlot* plot) : QwtPlotCanvas(plot)
{
    setPaintAttribute(QwtPlotCanvas::BackingStore, false);
    // Every pixel comes from the buffer: Qt need not clear behind it.
    setAttribute(Qt::WA_OpaquePaintEvent, true);
}

void PlotCanvas::replot()
{
    stale = true;
    if (testPaintAttribute(QwtPlotCanvas::ImmediatePaint))
        repaint(rect());
    else
        update(rect());
}

void PlotCanvas::paintBuffer()
{
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = size() * ratio;
    if (buffer.size() != pixels) {
        buffer = QImage(pixels, QImage::Format_RGB32);
        buffer.setDevicePixelRatio(ratio);
    }
    QPainter painter(&buffer);
    // Any clip, even the whole buffer, keeps the raster engine's lines on
    // its fast path; unclipped they cost fifty times as much.
    painter.setClipRect(rect());
    painter.fillRect(rect(), palette().brush(QPalette::Window));
    if (QwtPlot* owner = plot()) {
        painter.save();
        painter.setClipRect(contentsRect(), Qt::IntersectClip);
        owner->drawCanvas(&painter);
        painter.restore();
    }
    if (frameWidth() > 0)
        drawBorder(&painter);
    stale = false;
}

void PlotCanvas::paintEvent(QPaintEvent* event)
{
    if (stale || buffer.size() != size() * devicePixelRatioF())
        paintBuffer();
    QPainter painter(this);
    painter.setClipRegion(event->region());
    painter.drawImage(QPointF(0, 0), buffer);
}

void PlotCanvas::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::EnabledChange)
        stale = true;
    QwtPlotCanvas::changeEvent(event);
}
