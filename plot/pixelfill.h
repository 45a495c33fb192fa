#ifndef PIXELFILL_H
#define PIXELFILL_H

#include <QPoint>
#include <QRect>
#include <QRgb>

#include <vector>

class QImage;
class QPainter;

// Sets the pixels of rectangles to one opaque colour straight in the image
// a raster painter paints on: what QPainter::drawRects sets with that colour
// as brush and no pen. Qt fills a rectangle row by row, with a call and a
// clip per row; for the tall, one pixel wide rectangles of a dense curve's
// columns that is most of the cost of drawing it.
//
// Only where the painter would set exactly those pixels: a raster engine on
// a 32-bit RGB image, opaque source-over painting, a translation by whole
// pixels, and clips that are rectangles. What the rectangles cover beyond
// the clips is left to the painter, which clips it exactly as it would have.
class PixelFill
{
public:
    // Whether this painter's pixels can be set directly. The painter's
    // state must stay as it is until the last fill.
    bool begin(QPainter* painter, QRgb color);

    // Sets what lies in the region that is safe to write and appends the
    // rest of each rectangle, in the painter's coordinates, to rest.
    void fill(const QRect* rects, int count, std::vector<QRect>* rest);

    // Sets single pixels, given in the image's own pixels, and appends
    // those outside the region that is safe to write to rest, as one-pixel
    // rectangles in the painter's coordinates.
    void setPixels(const QPoint* points, int count, std::vector<QRect>* rest);

private:
    // Where and within which pixels to write.
    struct Target
    {
        uchar* bits;
        qsizetype stride;
        int left;
        int right;
        int top;
        int bottom;
    };
    Target target() const;

    QImage* image = nullptr;
    QRect safe;      // in the image's pixels
    QPoint toDevice; // from the painter's coordinates to the image's
    quint32 pixel = 0;
};

#endif // PIXELFILL_H
