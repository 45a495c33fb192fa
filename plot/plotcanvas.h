#ifndef PLOTCANVAS_H
#define PLOTCANVAS_H

#include <qwt_plot_canvas.h>

#include <QImage>

// The plot's canvas with a buffer of its own that lives as long as its size:
// a replot paints background, items and frame into it once, every paint
// event copies the damaged part. Qwt's own backing store allocates a new
// pixmap with an alpha channel for every replot and blends it over the
// window, which costs more than the curves of a small plot.
class PlotCanvas : public QwtPlotCanvas
{
    Q_OBJECT

public:
    explicit PlotCanvas(QwtPlot* plot);

public Q_SLOTS:
    // Found by name from QwtPlot::replot, ahead of the base class's.
    void replot();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void paintBuffer();

    QImage buffer;
    bool stale = true;
};

#endif // PLOTCANVAS_H
