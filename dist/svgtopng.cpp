// Renders an SVG picture into a square PNG file of the given size, so that
// the icon theme's PNG sizes are made from the one drawing at build time:
//   svgtopng PICTURE.svg SIZE OUT.png
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    bool sizeOk = false;
    const int size = arguments.size() == 4 ? arguments.at(2).toInt(&sizeOk) : 0;
    if (!sizeOk || size <= 0) {
        std::fprintf(stderr, "usage: svgtopng PICTURE.svg SIZE OUT.png\n");
        return 2;
    }
    QSvgRenderer renderer(arguments.at(1));
    if (!renderer.isValid()) {
        std::fprintf(stderr, "svgtopng: cannot read %s\n", qPrintable(arguments.at(1)));
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
    }
    if (!image.save(arguments.at(3), "PNG")) {
        std::fprintf(stderr, "svgtopng: cannot write %s\n", qPrintable(arguments.at(3)));
        return 1;
    }
    return 0;
}
