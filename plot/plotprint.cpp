#include "plotprint.h"

#include <qwt_plot.h>
#include <qwt_plot_renderer.h>

void setUpPrintRenderer(QwtPlotRenderer& renderer, QPrinter::ColorMode colorMode)
{
    if (colorMode == QPrinter::GrayScale) {
        renderer.setDiscardFlag(QwtPlotRenderer::DiscardCanvasBackground, true);
        renderer.setLayoutFlag(QwtPlotRenderer::FrameWithScales, true);
    }
}

void printPlot(QwtPlot* plot, QPrinter& printer)
{
    QwtPlotRenderer renderer(nullptr);
    setUpPrintRenderer(renderer, printer.colorMode());
    renderer.renderTo(plot, printer);
}
