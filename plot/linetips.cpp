#include "linetips.h"

#include <algorithm>
#include <cmath>

bool clipAsQwt(QPointF& a, QPointF& b, const QRectF& rect)
{
    const double left = rect.x();
    const double right = rect.x() + rect.width();
    const double top = rect.y();
    const double bottom = rect.y() + rect.height();
    // Qwt intersects from the later point p1 back to the earlier p2.
    const auto atX = [](const QPointF& p1, const QPointF& p2, double x) {
        const double dy = (p1.y() - p2.y()) / double(p1.x() - p2.x());
        return QPointF(x, p2.y() + (x - p2.x()) * dy);
    };
    const auto atY = [](const QPointF& p1, const QPointF& p2, double y) {
        const double dx = (p1.x() - p2.x()) / double(p1.y() - p2.y());
        return QPointF(p2.x() + (y - p2.y()) * dx, y);
    };
    for (int edge = 0; edge < 4; ++edge) {
        const auto inside = [edge, left, right, top, bottom](const QPointF& p) {
            switch (edge) {
            case 0:
                return p.x() >= left;
            case 1:
                return p.x() <= right;
            case 2:
                return p.y() >= top;
            default:
                return p.y() <= bottom;
            }
        };
        const bool aInside = inside(a);
        const bool bInside = inside(b);
        if (aInside && bInside)
            continue;
        if (!aInside && !bInside)
            return false;
        const QPointF cut = edge == 0   ? atX(b, a, left)
                            : edge == 1 ? atX(b, a, right)
                            : edge == 2 ? atY(b, a, top)
                                        : atY(b, a, bottom);
        (aInside ? b : a) = cut;
    }
    return true;
}

LineTips::LineTips(const PixelColumns& columns, const QRect& device, const QPoint& toDevice,
                   const QRectF* clipRect, bool squareCaps, int first, int last, Buffers& buffers)
    : columns(columns), device(device.translated(-toDevice)), toDevice(toDevice), clipRect(clipRect),
      first(first), last(last), stroke(device, squareCaps), traced(buffers.traced),
      tipsDrawn(buffers.tipsDrawn), openTips(buffers.openTips), outside(buffers.outside)
{}

bool LineTips::inside(const QPointF& p) const
{
    return !clipRect || (p.x() >= clipRect->left() && p.x() <= clipRect->right() &&
                         p.y() >= clipRect->top() && p.y() <= clipRect->bottom());
}

int LineTips::previousVertex(const double* x, const double* y, int i, const QPointF& at) const
{
    // Samples on the same pixel add no line.
    for (int k = i - 1; k >= first; --k) {
        if (columns.lineVertex(x[k], y[k]) != at)
            return k;
    }
    return -1;
}

int LineTips::nextVertex(const double* x, const double* y, int i, const QPointF& at) const
{
    for (int k = i + 1; k <= last; ++k) {
        if (columns.lineVertex(x[k], y[k]) != at)
            return k;
    }
    return -1;
}

bool LineTips::settle(const double* y, const std::vector<ColumnRun>& runs, int r, int from, int to, bool top,
                      bool atStart)
{
    const ColumnRun& run = runs[size_t(r)];
    const int count = int(runs.size());
    // The vertex of sample i, where it ends or starts column k.
    const auto vertexOf = [&runs](int k, bool last) {
        const ColumnRun& c = runs[size_t(k)];
        return QPointF(c.x, last ? c.last : c.first);
    };
    // At the start of a column the line from the column before comes in
    // and one within the column goes on; at its end the other way round.
    const int inner = atStart ? to + 1 : from - 1;
    const int outer = atStart ? from - 1 : to + 1;
    if (inner < run.begin || inner > run.end || outer <= first || outer >= last || (atStart && r == 0) ||
        (!atStart && r + 1 >= count))
        return false;
    const QPointF tipAt(run.x, top ? run.low : run.high);
    // The columns lie side by side in the order of the samples.
    const QPointF outerAt = atStart ? vertexOf(r - 1, true) : vertexOf(r + 1, false);
    const auto onDevice = [this](const QPointF& p) {
        return p.x() > device.left() && p.x() < device.right() && p.y() > device.top() &&
               p.y() < device.bottom();
    };
    // The tip lies in the canvas, and so within the cut and the device.
    if (!inside(outerAt) || !onDevice(outerAt))
        return false;
    const QPoint tip = tipAt.toPoint();
    const QPoint other = outerAt.toPoint();
    // A line of one row down to a bottom may set the bottom after all,
    // when the line before it ended on its first pixel.
    if (!top && !atStart && std::abs(int(columns.lineRow(y[inner])) - tip.y()) < 2)
        return false;

    traced.clear();
    const int dx = other.x() - tip.x();
    const int dy = other.y() - tip.y();
    if (std::abs(dx) >= std::abs(dy)) {
        // A flat line to the column beside sets one pixel, in the column
        // it starts from going right and in the one it ends in going left.
        // Farther columns are left to the trace.
        if (std::abs(dx) != 1)
            return false;
        if (atStart) {
            // From the right, its pixel is the tip, unless the line before
            // it ran flat leftwards too, which may shift it by half a row.
            if (dx != 1 || outer - 1 < first)
                return false;
            const ColumnRun& beside = runs[size_t(r - 1)];
            QPointF before;
            if (outer - 1 >= beside.begin)
                before = QPointF(beside.x, columns.lineRow(y[outer - 1]));
            else if (r >= 2)
                before = vertexOf(r - 2, true);
            else
                return false;
            if (before == outerAt || std::abs(before.x() - outerAt.x()) >= std::abs(before.y() - outerAt.y()))
                return false;
            traced.push_back(tip);
            return true;
        }
        // Out of the column: going right it starts on the tip; going left
        // it sets the other column only, and Qt adds the tip as a missing
        // pixel unless the bottom's line came down right beside it.
        if (dx == 1 || top || dy != -1)
            traced.push_back(tip);
        return true;
    }
    // The top of a column, and a bottom that the line from the other
    // column reaches going up or leaves going down: Qt sets the tip and
    // nothing beyond it.
    if (top || other.y() > tip.y()) {
        traced.push_back(tip);
        return true;
    }
    // A bottom where the line turns back up to the other column. Qt looks
    // at the pixel where the line down ended and the one where the line up
    // starts; where they aren't in line it adds a pixel below the tip.
    const bool vertical = CosmeticStroke::nearlyVertical(other, tip);
    const auto gap = [vertical](int above, int below) {
        return (vertical && above != below) || std::abs(above - below) > 1;
    };
    if (atStart) {
        // Down from the other column; whether that line started with a cap
        // depends on the line before it, which may move its last pixel.
        const int above = CosmeticStroke::steepColumn(other, tip, tip.y() - 1, false);
        if (above != CosmeticStroke::steepColumn(other, tip, tip.y() - 1, true))
            return false;
        traced.push_back(tip);
        if (gap(above, tip.x()))
            traced.push_back(tip + QPoint(0, 1));
    } else {
        // Down within the column, then up to the other one, which starts in
        // the tip's row wherever its steps put it.
        const int start = CosmeticStroke::steepColumn(other, tip, tip.y(), false);
        traced.push_back(QPoint(start, tip.y()));
        if (gap(tip.x(), start))
            traced.push_back(
                QPoint(CosmeticStroke::steepColumn(other, tip, tip.y() + 1, false), tip.y() + 1));
    }
    return true;
}

void LineTips::trace(const double* x, const double* y, int i, int row)
{
    const int deviceRow = row + toDevice.y();
    traceAround(x, y, i, deviceRow - 1, deviceRow + 1, deviceRow - 1, deviceRow + 1);
}

void LineTips::traceLeaving(const double* x, const double* y, int i, std::vector<QPoint>* out)
{
    traceAround(x, y, i, 1, 0, INT_MIN, INT_MAX);
    out->insert(out->end(), traced.cbegin(), traced.cend());
}

void LineTips::traceAround(const double* x, const double* y, int i, int intoTop, int intoBottom, int outTop,
                           int outBottom)
{
    traced.clear();
    const QPointF tip = columns.lineVertex(x[i], y[i]);
    if (!inside(tip))
        return;

    // The line before the one to the tip tells Qt the pixel and direction
    // it comes from; earlier lines change nothing near the tip.
    QPointF chain[4];
    int count = 0;
    bool start = false;
    chain[count++] = tip;
    int k = i;
    for (int n = 0; n < 2; ++n) {
        const int before = previousVertex(x, y, k, chain[count - 1]);
        if (before < 0) {
            start = true;
            break;
        }
        QPointF from = columns.lineVertex(x[before], y[before]);
        if (!inside(from)) {
            // Qwt's cut polygon enters here; what comes before runs
            // outside the canvas.
            QPointF to = chain[count - 1];
            if (clipAsQwt(from, to, *clipRect))
                chain[count++] = from;
            break;
        }
        chain[count++] = from;
        k = before;
    }
    std::reverse(chain, chain + count);
    const int tipAt = count - 1;

    bool end = false;
    const int after = nextVertex(x, y, i, tip);
    if (after < 0) {
        end = true;
    } else {
        QPointF from = tip;
        QPointF to = columns.lineVertex(x[after], y[after]);
        if (inside(to)) {
            // Where the polyline ends there, its cap lengthens the line.
            chain[count++] = to;
            end = nextVertex(x, y, after, to) < 0;
        } else if (clipAsQwt(from, to, *clipRect)) {
            chain[count++] = to;
        } else {
            end = true;
        }
    }

    const QPointF shift(toDevice);
    stroke.moveTo(chain[0] + shift, start);
    for (int n = 1; n < count; ++n) {
        const bool lineEnd = n == count - 1 && end;
        if (n < tipAt)
            stroke.lineTo(chain[n] + shift, lineEnd, 1, 0, &traced);
        else if (n == tipAt)
            stroke.lineTo(chain[n] + shift, lineEnd, intoTop, intoBottom, &traced);
        else
            stroke.lineTo(chain[n] + shift, lineEnd, outTop, outBottom, &traced);
    }
    for (QPoint& pixel : traced)
        pixel -= toDevice;
}

void LineTips::apply(const double* x, const double* y, std::vector<ColumnRun>& runs, const QRect& visible,
                     std::vector<QPoint>* extra)
{
    outside.clear();
    const int count = int(runs.size());
    // Qt sets a column's tip unless a line leaves the column right there:
    // only tips on the column's first or last sample may be left out or
    // have pixels beside them, and of those, the joins with a steep line
    // that a top tip has, or a bottom one whose line goes on downwards,
    // set the tip and nothing else. The other tips start out not drawn and
    // are looked at below. Which are which depends on the data from one
    // column to the next, so this pass decides without branching.
    const double clipLeft = clipRect ? clipRect->left() : -HUGE_VAL;
    const double clipRight = clipRect ? clipRect->right() : HUGE_VAL;
    const double clipTop = clipRect ? clipRect->top() : -HUGE_VAL;
    const double clipBottom = clipRect ? clipRect->bottom() : HUGE_VAL;
    const double deviceLeft = std::max(double(device.left()), std::nextafter(clipLeft, -HUGE_VAL));
    const double deviceRight = std::min(double(device.right()), std::nextafter(clipRight, HUGE_VAL));
    const double deviceTop = std::max(double(device.top()), std::nextafter(clipTop, -HUGE_VAL));
    const double deviceBottom = std::min(double(device.bottom()), std::nextafter(clipBottom, HUGE_VAL));
    // Within the cut and strictly within the device.
    const auto inView = [&](double px, double py) {
        return (px > deviceLeft) & (px < deviceRight) & (py > deviceTop) & (py < deviceBottom);
    };
    const auto steep = [](double dx, double rise) { return std::abs(dx) < std::abs(rise); };
    // A flat line to the column beside, at most a row up or down.
    const auto beside = [](double dx, double rise) {
        return (std::abs(dx) == 1.0) & (std::abs(rise) <= 1.0);
    };
    tipsDrawn.resize(runs.size());
    openTips.resize(runs.size());
    size_t open = 0;
    for (int r = 0; r < count; ++r) {
        const ColumnRun& run = runs[size_t(r)];
        const ColumnRun& before = runs[size_t(std::max(r - 1, 0))];
        const ColumnRun& after = runs[size_t(std::min(r + 1, count - 1))];
        const bool spans = run.low != run.high;
        const bool fromBefore = spans & (r > 0) & (run.begin - 1 > first) & inView(before.x, before.last);
        const bool toAfter = spans & (r + 1 < count) & (run.end + 1 < last) & inView(after.x, after.first);
        const double dxBefore = before.x - run.x;
        const double dxAfter = after.x - run.x;
        // A flat line to or from the column beside sets the tip and nothing
        // beyond it as well; not so at a bottom tip where the line comes in
        // from the column on the left, or leaves for the left one a row
        // higher, nor near the ends of the polyline, where the trace of a
        // column beside may be what sets the tip. Worked out by tracing
        // every tip of many thousands of random curves both ways round.
        const bool inner = (r >= 2) & (r + 3 < count);
        const bool plainTopStart = fromBefore & (steep(dxBefore, before.last - run.low) |
                                                 (inner & beside(dxBefore, before.last - run.low)));
        const bool plainTopEnd = toAfter & (steep(dxAfter, after.first - run.low) |
                                            (inner & beside(dxAfter, after.first - run.low)));
        const bool plainBottomStart =
            fromBefore & ((steep(dxBefore, before.last - run.high) & (before.last > run.high)) |
                          (inner & beside(dxBefore, before.last - run.high) & (dxBefore == 1.0)));
        const bool plainBottomEnd =
            toAfter & ((steep(dxAfter, after.first - run.high) & (after.first > run.high)) |
                       (inner & beside(dxAfter, after.first - run.high) &
                        !((dxAfter == -1.0) & (after.first - run.high == -1.0))));
        const bool column = (run.x >= visible.left()) & (run.x <= visible.right());
        const bool lowSeen = column & (run.low >= visible.top()) & (run.low <= visible.bottom());
        const bool highSeen = column & spans & (run.high >= visible.top()) & (run.high <= visible.bottom());
        const bool lowOpen =
            lowSeen & (((run.first == run.low) & !plainTopStart) | ((run.last == run.low) & !plainTopEnd));
        const bool highOpen = highSeen & (((run.first == run.high) & !plainBottomStart) |
                                          ((run.last == run.high) & !plainBottomEnd));
        const unsigned char tips = (lowOpen ? LowDrawn : 0) | (highOpen ? HighDrawn : 0);
        tipsDrawn[size_t(r)] = (LowDrawn | HighDrawn) & ~tips;
        openTips[open] = {r, tips};
        open += tips != 0;
    }
    openTips.resize(open);
    // What the lines around a tip of column r set: the tips of r and of
    // the columns beside it, pixels within r, which it has anyway, and
    // maybe pixels beyond.
    const auto take = [&](int r) {
        // Mostly just the tip itself.
        const ColumnRun& own = runs[size_t(r)];
        if (traced.size() == 1 && traced.front().x() == own.x &&
            (traced.front().y() == own.low || traced.front().y() == own.high)) {
            tipsDrawn[size_t(r)] |= traced.front().y() == own.low ? LowDrawn : HighDrawn;
            if (own.low == own.high)
                tipsDrawn[size_t(r)] |= HighDrawn;
            return;
        }
        for (const QPoint& p : traced) {
            bool known = false;
            for (int k = std::max(0, r - 1); k <= std::min(count - 1, r + 1); ++k) {
                const ColumnRun& run = runs[size_t(k)];
                if (run.x != p.x())
                    continue;
                if (p.y() == run.low)
                    tipsDrawn[size_t(k)] |= LowDrawn;
                if (p.y() == run.high)
                    tipsDrawn[size_t(k)] |= HighDrawn;
                known = known || (p.y() >= run.low && p.y() <= run.high);
            }
            if (!known)
                outside.push_back({p, r});
        }
    };

    const auto rowOf = [&](int i) { return columns.lineRow(y[i]); };
    for (const OpenTips& tips : openTips) {
        const int r = tips.run;
        const ColumnRun& run = runs[size_t(r)];
        for (int end = 0; end < (run.low == run.high ? 1 : 2); ++end) {
            const double row = end == 0 ? run.low : run.high;
            const double value = end == 0 ? run.lowValue : run.highValue;
            const unsigned char flag = end == 0 ? LowDrawn : HighDrawn;
            if ((tips.tips & flag) == 0)
                continue;
            // Lines within the column are vertical; one that comes to the
            // tip turns back there, and Qt then always sets the tip and
            // nothing beyond it. Only where a line to or from the tip
            // leaves the column is there more to find out.
            int i = run.begin;
            if (run.first == row) {
                int to = i;
                while (to < run.end && rowOf(to + 1) == row)
                    ++to;
                if (!settle(y, runs, r, i, to, end == 0, true))
                    trace(x, y, i, int(row));
                take(r);
                i = to;
            }
            int k = run.end;
            if (k > i && run.last == row) {
                while (k - 1 > i && rowOf(k - 1) == row)
                    --k;
                if (!settle(y, runs, r, k, run.end, end == 0, false))
                    trace(x, y, k, int(row));
                take(r);
            }
            // Mostly the extreme value itself lies in between; otherwise
            // another value on the same row may.
            const auto onTip = [&](int from, int to, auto test) {
                for (int j = from; j < to; ++j) {
                    if (test(j))
                        return true;
                }
                return false;
            };
            if ((tipsDrawn[size_t(r)] & flag) == 0 &&
                (onTip(i + 1, k, [&](int j) { return y[j] == value; }) ||
                 onTip(i + 1, k, [&](int j) { return rowOf(j) == row; })))
                tipsDrawn[size_t(r)] |= flag;
        }
    }

    // Only tips looked at may have been left out.
    for (const OpenTips& tips : openTips) {
        const int r = tips.run;
        ColumnRun& run = runs[size_t(r)];
        const bool lowDrawn = tipsDrawn[size_t(r)] & LowDrawn;
        const bool highDrawn = tipsDrawn[size_t(r)] & HighDrawn;
        if (run.low == run.high) {
            if (!lowDrawn)
                run.low = run.high + 1.0;
            continue;
        }
        if (!lowDrawn)
            run.low += 1.0;
        if (!highDrawn)
            run.high -= 1.0;
    }

    // What lay beyond the tips may still lie within a column beside.
    for (const TipPixel& tip : outside) {
        bool covered = false;
        for (int k = std::max(0, tip.run - 1); k <= std::min(count - 1, tip.run + 1); ++k) {
            const ColumnRun& run = runs[size_t(k)];
            covered =
                covered || (run.x == tip.pixel.x() && tip.pixel.y() >= run.low && tip.pixel.y() <= run.high);
        }
        if (!covered)
            extra->push_back(tip.pixel);
    }
}
