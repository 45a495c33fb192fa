#include "pixelfill.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <cmath>

bool PixelFill::begin(QPainter* painter, QRgb color)
{
    image = nullptr;
    if (!painter || !painter->isActive() || qAlpha(color) != 255)
        return false;
    QPaintEngine* engine = painter->paintEngine();
    if (!engine || engine->type() != QPaintEngine::Raster)
        return false;
    QPaintDevice* target = engine->paintDevice();
    if (!target || target->devType() != QInternal::Image)
        return false;
    auto* const targetImage = static_cast<QImage*>(target);
    const QImage::Format format = targetImage->format();
    if (format != QImage::Format_RGB32 && format != QImage::Format_ARGB32 &&
        format != QImage::Format_ARGB32_Premultiplied)
        return false;
    if (painter->opacity() != 1.0 || painter->compositionMode() != QPainter::CompositionMode_SourceOver)
        return false;
    const QTransform transform = painter->deviceTransform();
    if (transform.type() > QTransform::TxTranslate || transform.dx() != std::floor(transform.dx()) ||
        transform.dy() != std::floor(transform.dy()))
        return false;
    toDevice = QPoint(int(transform.dx()), int(transform.dy()));

    safe = targetImage->rect();
    // The clip of the device (for a widget, the region being repainted) is
    // given in its pixels, the painter's in the painter's coordinates.
    const QRegion systemClip = engine->systemClip();
    if (!systemClip.isEmpty()) {
        if (systemClip.rectCount() != 1)
            return false;
        safe &= systemClip.boundingRect();
    }
    if (painter->hasClipping()) {
        const QRegion clip = painter->clipRegion();
        if (clip.rectCount() != 1)
            return false;
        // Of a clip between pixels, the region holds those the painter
        // rounds to or fewer.
        safe &= clip.boundingRect().translated(toDevice);
    }
    if (safe.isEmpty())
        return false;
    image = targetImage;
    pixel = color;
    return true;
}

PixelFill::Target PixelFill::target() const
{
    // The engine paints into this very memory; bits() would detach a copy
    // that someone took while painting.
    return {const_cast<uchar*>(image->constBits()),
            image->bytesPerLine(),
            safe.left(),
            safe.right(),
            safe.top(),
            safe.bottom()};
}

void PixelFill::fill(const QRect* rects, int count, std::vector<QRect>* rest)
{
    const Target t = target();
    for (int n = 0; n < count; ++n) {
        // Rectangles of negative size, which drawRects turns round, go to
        // the painter as they are.
        const QRect& r = rects[n];
        const int left = r.left() + toDevice.x();
        const int right = r.right() + toDevice.x();
        const int top = r.top() + toDevice.y();
        const int bottom = r.bottom() + toDevice.y();
        const int x0 = std::max(left, t.left);
        const int x1 = std::min(right, t.right);
        const int y0 = std::max(top, t.top);
        const int y1 = std::min(bottom, t.bottom);
        if (x0 > x1 || y0 > y1) {
            rest->push_back(r);
            continue;
        }
        uchar* line = t.bits + y0 * t.stride;
        if (x0 == x1) {
            for (int y = y0; y <= y1; ++y, line += t.stride)
                reinterpret_cast<quint32*>(line)[x0] = pixel;
        } else {
            for (int y = y0; y <= y1; ++y, line += t.stride)
                std::fill(reinterpret_cast<quint32*>(line) + x0, reinterpret_cast<quint32*>(line) + x1 + 1,
                          pixel);
        }
        if (x0 == left && x1 == right && y0 == top && y1 == bottom)
            continue;
        // What lies beyond: the rows above and below, and beside in between,
        // back in the painter's coordinates.
        const auto beyond = [&](int l, int t, int rgt, int btm) {
            rest->push_back(QRect(QPoint(l, t) - toDevice, QPoint(rgt, btm) - toDevice));
        };
        if (top < y0)
            beyond(left, top, right, y0 - 1);
        if (bottom > y1)
            beyond(left, y1 + 1, right, bottom);
        if (left < x0)
            beyond(left, y0, x0 - 1, y1);
        if (right > x1)
            beyond(x1 + 1, y0, right, y1);
    }
}

void PixelFill::setPixels(const QPoint* points, int count, std::vector<QRect>* rest)
{
    const Target t = target();
    for (int n = 0; n < count; ++n) {
        const QPoint& p = points[n];
        if (p.x() >= t.left && p.x() <= t.right && p.y() >= t.top && p.y() <= t.bottom)
            reinterpret_cast<quint32*>(t.bits + p.y() * t.stride)[p.x()] = pixel;
        else
            rest->push_back(QRect(p - toDevice, QSize(1, 1)));
    }
}
