#include "cosmeticstroke.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace {

// Qt's 26.6 fixed point, truncated.
int toFixed6(double v)
{
    return static_cast<int>(v * 64.0);
}

// 16.16 quotient, truncated, as Qt divides.
int fixedDiv16(int a, int b)
{
    if (std::abs(a) > 0x7fff)
        return static_cast<int>(static_cast<int64_t>(a) * (1 << 16) / b);
    return a * (1 << 16) / b;
}

} // namespace

CosmeticStroke::CosmeticStroke(const QRect& device, bool squareCaps)
    : xmin(device.left() - 1), xmax(device.right() + 2), ymin(device.top() - 1), ymax(device.bottom() + 2),
      squareCaps(squareCaps)
{}

void CosmeticStroke::moveTo(const QPointF& p, bool start)
{
    at = p;
    first = start;
    lastPixel = QPoint(INT_MIN, INT_MIN);
    lastDir = NoDirection;
    lastAxisAligned = false;
}

void CosmeticStroke::lineTo(const QPointF& p, bool end, int top, int bottom, std::vector<QPoint>* out)
{
    const int caps = (squareCaps && first ? CapBegin : NoCaps) | (squareCaps && end ? CapEnd : NoCaps);
    const bool moved = line(at.x(), at.y(), p.x(), p.y(), caps, top, bottom, out);
    // A line that sets no pixel leaves the next one starting where it
    // started, unless it is the first or the last.
    if (moved || first || end)
        at = p;
    first = false;
}

bool CosmeticStroke::cut(double& x1, double& y1, double& x2, double& y2)
{
    if (!std::isfinite(x1) || !std::isfinite(y1) || !std::isfinite(x2) || !std::isfinite(y2))
        return true;
    const auto gone = [this]() {
        lastPixel.rx() = INT_MIN;
        return true;
    };
    if (x1 < xmin) {
        if (x2 <= xmin)
            return gone();
        y1 += (y2 - y1) / (x2 - x1) * (xmin - x1);
        x1 = xmin;
    } else if (x1 > xmax) {
        if (x2 >= xmax)
            return gone();
        y1 += (y2 - y1) / (x2 - x1) * (xmax - x1);
        x1 = xmax;
    }
    if (x2 < xmin) {
        lastPixel.rx() = INT_MIN;
        y2 += (y2 - y1) / (x2 - x1) * (xmin - x2);
        x2 = xmin;
    } else if (x2 > xmax) {
        lastPixel.rx() = INT_MIN;
        y2 += (y2 - y1) / (x2 - x1) * (xmax - x2);
        x2 = xmax;
    }
    if (y1 < ymin) {
        if (y2 <= ymin)
            return gone();
        x1 += (x2 - x1) / (y2 - y1) * (ymin - y1);
        y1 = ymin;
    } else if (y1 > ymax) {
        if (y2 >= ymax)
            return gone();
        x1 += (x2 - x1) / (y2 - y1) * (ymax - y1);
        y1 = ymax;
    }
    if (y2 < ymin) {
        lastPixel.rx() = INT_MIN;
        x2 += (x2 - x1) / (y2 - y1) * (ymin - y2);
        y2 = ymin;
    } else if (y2 > ymax) {
        lastPixel.rx() = INT_MIN;
        x2 += (x2 - x1) / (y2 - y1) * (ymax - y2);
        y2 = ymax;
    }
    return false;
}

bool CosmeticStroke::line(double rx1, double ry1, double rx2, double ry2, int caps, int top, int bottom,
                          std::vector<QPoint>* out)
{
    bool didDraw = std::abs(rx2 - rx1) + std::abs(ry2 - ry1) >= 1.0;
    if (cut(rx1, ry1, rx2, ry2))
        return true;

    // A steep line is walked row by row, a flat one column by column; the
    // two are the same with the axes swapped. Along is the axis walked.
    const bool steep = std::abs(toFixed6(rx2) - toFixed6(rx1)) < std::abs(toFixed6(ry2) - toFixed6(ry1));
    int a1 = toFixed6(steep ? ry1 : rx1);
    int a2 = toFixed6(steep ? ry2 : rx2);
    int c1 = toFixed6(steep ? rx1 : ry1);
    int c2 = toFixed6(steep ? rx2 : ry2);
    if (!steep && a1 == a2)
        return true;
    const auto pixel = [steep](int along, int across) {
        return steep ? QPoint(across, along) : QPoint(along, across);
    };
    const auto alongOf = [steep](const QPoint& p) { return steep ? p.y() : p.x(); };

    int dir = steep ? Down : Right;
    bool swapped = false;
    if (a1 > a2) {
        swapped = true;
        std::swap(a1, a2);
        std::swap(c1, c2);
        caps = ((caps & CapBegin) << 1) | ((caps & CapEnd) >> 1);
        dir = steep ? Up : Left;
    }
    const int inc = fixedDiv16(c2 - c1, a2 - a1);
    int c = c1 * (1 << 10);

    // Turning back on the line before starts this one with a cap.
    const int mask = steep ? Vertical : Horizontal;
    if ((lastDir ^ mask) == dir)
        caps |= swapped ? CapEnd : CapBegin;
    if (caps & CapBegin) {
        a1 -= 32;
        c -= inc >> 1;
    }
    if (caps & CapEnd)
        a2 += 32;

    int a = (a1 + 32) >> 6;
    int as = (a2 + 32) >> 6;
    const int round = inc > 0 ? 32 : 0;
    if ((caps & CapBegin) && alongOf(lastPixel) == a + 1)
        ++a;

    QPoint lastOfLine = lastPixel;
    if (a != as) {
        c += ((a * (1 << 6)) + round - a1) * inc >> 6;

        QPoint firstOfLine = pixel(a, c >> 16);
        lastOfLine = pixel(as - 1, (c + (as - a - 1) * inc) >> 16);
        if (swapped)
            std::swap(firstOfLine, lastOfLine);

        const bool axisAligned = std::abs(inc) < (1 << 14);
        if (lastPixel.x() > INT_MIN) {
            if (firstOfLine == lastPixel) {
                // Drawn already by the line before.
                if (swapped) {
                    --as;
                } else {
                    ++a;
                    c += inc;
                }
            } else if (lastDir != dir &&
                       ((axisAligned && lastAxisAligned && lastPixel.x() != firstOfLine.x() &&
                         lastPixel.y() != firstOfLine.y()) ||
                        std::abs(lastPixel.x() - firstOfLine.x()) > 1 ||
                        std::abs(lastPixel.y() - firstOfLine.y()) > 1)) {
                // A gap at the join: one more pixel.
                if (swapped) {
                    ++as;
                } else {
                    --a;
                    c -= inc;
                }
            } else if (lastDir == dir && std::abs(lastPixel.x() - firstOfLine.x()) <= 1 &&
                       std::abs(lastPixel.y() - firstOfLine.y()) > 1) {
                c += inc >> 1;
                lastOfLine = swapped ? pixel(alongOf(lastOfLine), c >> 16)
                                     : pixel(alongOf(lastOfLine), (c + (as - a - 1) * inc) >> 16);
            }
        }
        lastDir = dir;
        lastAxisAligned = axisAligned;

        // At least one pixel, also where the join took the only one away.
        const int end = std::max(a, as - 1);
        if (steep) {
            // Only the rows asked for.
            const int from = std::max(a, top);
            const int to = std::min(end, bottom);
            for (int row = from; row <= to; ++row)
                out->push_back(QPoint((c + (row - a) * inc) >> 16, row));
        } else {
            for (int column = a; column <= end; ++column) {
                const int row = (c + (column - a) * inc) >> 16;
                if (row >= top && row <= bottom)
                    out->push_back(QPoint(column, row));
            }
        }
        didDraw = true;
    }
    lastPixel = lastOfLine;
    return didDraw;
}

int CosmeticStroke::steepColumn(const QPoint& top, const QPoint& bottom, int row, bool capped)
{
    int a1 = top.y() * 64;
    const int inc = fixedDiv16((bottom.x() - top.x()) * 64, (bottom.y() - top.y()) * 64);
    int c = top.x() * 64 * (1 << 10);
    if (capped) {
        a1 -= 32;
        c -= inc >> 1;
    }
    const int a = (a1 + 32) >> 6;
    c += ((a * (1 << 6)) + (inc > 0 ? 32 : 0) - a1) * inc >> 6;
    return (c + (row - a) * inc) >> 16;
}

bool CosmeticStroke::nearlyVertical(const QPoint& top, const QPoint& bottom)
{
    return std::abs(fixedDiv16((bottom.x() - top.x()) * 64, (bottom.y() - top.y()) * 64)) < (1 << 14);
}
