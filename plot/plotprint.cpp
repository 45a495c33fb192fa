#include "plotprint.h"

#include <qwt_plot.h>
#include <qwt_plot_renderer.h>

#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QSvgGenerator>

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

QString exportPlotImage(QwtPlot* plot, const QString& fileName, const QSize& size,
                        QPrinter::ColorMode colorMode)
{
    QwtPlotRenderer renderer(nullptr);
    setUpPrintRenderer(renderer, colorMode);
    const QRectF area(QPointF(0, 0), size);

    if (fileName.endsWith(QLatin1String(".svg"))) {
        QFile file(fileName);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return file.errorString();
        QSvgGenerator generator;
        generator.setOutputDevice(&file);
        generator.setSize(size);
        generator.setViewBox(area);
        // Fonts and pens keep the proportions they have on the screen.
        generator.setResolution(plot->logicalDpiX());
        generator.setTitle(QStringLiteral("Vistrel"));
        {
            QPainter painter(&generator);
            renderer.render(plot, &painter, area);
        }
        return file.flush() && file.error() == QFileDevice::NoError ? QString() : file.errorString();
    }

    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        renderer.render(plot, &painter, area);
    }
    if (colorMode == QPrinter::GrayScale)
        image = image.convertToFormat(QImage::Format_Grayscale8);
    QImageWriter writer(fileName, "png");
    return writer.write(image) ? QString() : writer.errorString();
}
