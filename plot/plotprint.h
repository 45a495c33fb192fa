#ifndef PLOTPRINT_H
#define PLOTPRINT_H

#include <QPrinter>

class QwtPlot;
class QwtPlotRenderer;

// A grey-scale printer gets the plot without the canvas colour and with a
// frame around the canvas to which the scales are aligned; a colour
// printer gets the renderer's defaults.
void setUpPrintRenderer(QwtPlotRenderer& renderer, QPrinter::ColorMode colorMode);

// Renders the plot in its present state onto one page of the printer.
void printPlot(QwtPlot* plot, QPrinter& printer);

#endif // PLOTPRINT_H
