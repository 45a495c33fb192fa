// Rectangles and single pixels set straight into a painter's image must
// come out as the painter's own drawRects sets them, whatever clips and
// translations the painter has; where the pixels can't be written directly,
// nothing is.

#include "pixelfill.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QtTest>

#include <functional>
#include <vector>

using Setup = std::function<void(QPainter&)>;
Q_DECLARE_METATYPE(QImage::Format)
Q_DECLARE_METATYPE(Setup)

namespace {

// Rectangles of all shapes: columns, rows, blocks, single pixels, some
// across the image's edges, some wholly outside, one of negative size.
std::vector<QRect> someRects()
{
    std::vector<QRect> rects;
    for (int x = -3; x < 125; x += 7)
        rects.emplace_back(x, (x * 13) % 70 - 5, 1, 1 + (x * 7) % 40);
    for (int y = -2; y < 85; y += 9)
        rects.emplace_back((y * 11) % 90 - 10, y, 5 + y % 30, 1);
    rects.emplace_back(30, 30, 12, 9);
    rects.emplace_back(0, 0, 1, 1);
    rects.emplace_back(119, 79, 1, 1);
    rects.emplace_back(-20, -20, 5, 5);
    rects.emplace_back(60, 50, -6, -4);
    return rects;
}

// Single pixels in the painter's coordinates, inside and across the edges.
std::vector<QRect> somePixels()
{
    std::vector<QRect> pixels;
    for (int y = -4; y < 86; y += 3) {
        for (int x = -6 + y % 5; x < 126; x += 4)
            pixels.emplace_back(x, y, 1, 1);
    }
    return pixels;
}

QImage paint(QImage::Format format, const QRegion& systemClip, const Setup& setup, bool direct,
             bool* wroteDirectly = nullptr, bool single = false)
{
    QImage image(120, 80, format);
    image.fill(Qt::white);
    if (!systemClip.isEmpty())
        image.paintEngine()->setSystemClip(systemClip);
    const QColor color(20, 90, 200);
    const std::vector<QRect> rects = single ? somePixels() : someRects();
    {
        QPainter painter(&image);
        setup(painter);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        PixelFill fill;
        std::vector<QRect> rest;
        const bool writes = direct && fill.begin(&painter, color.rgba());
        if (wroteDirectly)
            *wroteDirectly = writes;
        if (writes && single) {
            // Given in the image's pixels.
            const QTransform toImage = painter.deviceTransform();
            std::vector<QPoint> points;
            for (const QRect& r : rects)
                points.push_back(toImage.map(r.topLeft()));
            fill.setPixels(points.data(), int(points.size()), &rest);
        } else if (writes) {
            fill.fill(rects.data(), int(rects.size()), &rest);
        }
        const std::vector<QRect>& painted = writes ? rest : rects;
        painter.drawRects(painted.data(), int(painted.size()));
    }
    image.paintEngine()->setSystemClip(QRegion());
    return image;
}

} // namespace

class TestPixelFill : public QObject
{
    Q_OBJECT

private slots:
    void setsWhatDrawRectsSets_data();
    void setsWhatDrawRectsSets();
    void setsSinglePixels_data() { setsWhatDrawRectsSets_data(); }
    void setsSinglePixels();

private:
    // Sets the rectangles, or single pixels, both ways and compares.
    void compareWithPainter(bool single);
};

void TestPixelFill::setsWhatDrawRectsSets_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QRegion>("systemClip");
    QTest::addColumn<Setup>("setup");
    QTest::addColumn<bool>("direct");

    const Setup none = [](QPainter&) {};
    // A clip path of a rectangle or of the ellipse within it.
    const auto clipPath = [](const QRectF& r, bool ellipse) {
        return Setup([r, ellipse](QPainter& p) {
            QPainterPath path;
            if (ellipse)
                path.addEllipse(r);
            else
                path.addRect(r);
            p.setClipPath(path);
        });
    };
    const QRegion noClip;
    QTest::newRow("plain image") << QImage::Format_RGB32 << noClip << none << true;
    QTest::newRow("premultiplied") << QImage::Format_ARGB32_Premultiplied << noClip << none << true;
    QTest::newRow("alpha") << QImage::Format_ARGB32 << noClip << none << true;
    QTest::newRow("translated") << QImage::Format_RGB32 << noClip
                                << Setup([](QPainter& p) { p.translate(13, -6); }) << true;
    QTest::newRow("clip rectangle") << QImage::Format_RGB32 << noClip
                                    << Setup([](QPainter& p) { p.setClipRect(QRect(10, 8, 70, 50)); })
                                    << true;
    QTest::newRow("clip between pixels, translated")
        << QImage::Format_RGB32 << noClip << Setup([](QPainter& p) {
               p.translate(4, 3);
               p.setClipRect(QRectF(10.5, 7.4, 70.6, 50.5));
           })
        << true;
    QTest::newRow("clip path of a rectangle")
        << QImage::Format_RGB32 << noClip << clipPath(QRectF(20.7, 5.2, 60.1, 40.6), false) << true;
    QTest::newRow("system clip") << QImage::Format_RGB32 << QRegion(15, 10, 80, 60) << none << true;
    QTest::newRow("system and painter clips")
        << QImage::Format_ARGB32_Premultiplied << QRegion(15, 10, 80, 60)
        << Setup([](QPainter& p) { p.setClipRect(QRect(40, 0, 100, 40)); }) << true;

    QTest::newRow("clip path on half pixels")
        << QImage::Format_RGB32 << noClip << clipPath(QRectF(20.5, 5.5, 60.5, 40.5), false) << true;
    QTest::newRow("clip on half pixels")
        << QImage::Format_RGB32 << noClip
        << Setup([](QPainter& p) { p.setClipRect(QRectF(19.5, 4.5, 61, 41)); }) << true;
    // Left to the painter.
    QTest::newRow("clip ellipse") << QImage::Format_RGB32 << noClip << clipPath(QRectF(10, 10, 90, 60), true)
                                  << false;
    QTest::newRow("system clip of two pieces")
        << QImage::Format_RGB32 << (QRegion(0, 0, 50, 40) + QRegion(60, 30, 40, 40)) << none << false;
    QTest::newRow("scaled") << QImage::Format_RGB32 << noClip << Setup([](QPainter& p) { p.scale(1.5, 1.0); })
                            << false;
    QTest::newRow("translated between pixels")
        << QImage::Format_RGB32 << noClip << Setup([](QPainter& p) { p.translate(0.5, 0); }) << false;
    QTest::newRow("half opaque") << QImage::Format_RGB32 << noClip
                                 << Setup([](QPainter& p) { p.setOpacity(0.5); }) << false;
    QTest::newRow("other composition")
        << QImage::Format_RGB32 << noClip
        << Setup([](QPainter& p) { p.setCompositionMode(QPainter::CompositionMode_Multiply); }) << false;
    QTest::newRow("16 bits") << QImage::Format_RGB16 << noClip << none << false;
}

void TestPixelFill::setsWhatDrawRectsSets()
{
    compareWithPainter(false);
}

void TestPixelFill::setsSinglePixels()
{
    compareWithPainter(true);
}

void TestPixelFill::compareWithPainter(bool single)
{
    QFETCH(QImage::Format, format);
    QFETCH(QRegion, systemClip);
    QFETCH(Setup, setup);
    QFETCH(bool, direct);

    const QImage expected = paint(format, systemClip, setup, false, nullptr, single);
    bool wroteDirectly = false;
    const QImage actual = paint(format, systemClip, setup, true, &wroteDirectly, single);
    QCOMPARE(wroteDirectly, direct);
    QCOMPARE(actual, expected);
    // What is set leaves a mark, also within the clips.
    QImage blank(expected.size(), format);
    blank.fill(Qt::white);
    QVERIFY(expected != blank);
}

QTEST_MAIN(TestPixelFill)
#include "tst_pixelfill.moc"
