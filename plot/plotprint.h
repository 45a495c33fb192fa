#ifndef PLOTPRINT_H
#define PLOTPRINT_H

#include <QPrinter>
#include <QSize>
#include <QString>

class QwtPlot;
class QwtPlotRenderer;

// A grey-scale printer gets the plot without the canvas colour and with a
// frame around the canvas to which the scales are aligned; a colour
// printer gets the renderer's defaults.
void setUpPrintRenderer(QwtPlotRenderer& renderer, QPrinter::ColorMode colorMode);

// Renders the plot in its present state onto one page of the printer.
void printPlot(QwtPlot* plot, QPrinter& printer);

// Writes the plot in its present state, with legend and markers, as an
// image of `size` pixels in the scheme that a printer of colorMode gets: an
// SVG drawing when the name ends in ".svg", else a PNG image, grey in the
// grey scheme. Returns what went wrong, or an empty text.
QString exportPlotImage(QwtPlot* plot, const QString& fileName, const QSize& size,
                        QPrinter::ColorMode colorMode);

#endif // PLOTPRINT_H
