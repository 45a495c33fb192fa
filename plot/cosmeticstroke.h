#ifndef COSMETICSTROKE_H
#define COSMETICSTROKE_H

#include <QPoint>
#include <QPointF>
#include <QRect>

#include <climits>
#include <vector>

// The pixels that Qt's raster engine sets for a polyline drawn with a solid
// one-pixel pen without antialiasing. Qt draws such a pen line by line,
// one pixel per row of a steep line and one per column of a flat one, each
// line on from the last without its far end. Where a line turns back on the
// one before, or starts beside the pixel that one ended on, Qt adds or
// drops a pixel at the join. Those rules decide whether the tip of a spike
// is drawn, which the extremes of a pixel column alone can't tell.
//
// Coordinates are those of the device, in pixels; lines go through the
// same fixed-point steps as in Qt 5.15.
class CosmeticStroke
{
public:
    // device: the pixels of the paint device; lines are cut a pixel
    // beyond it, as Qt cuts them. squareCaps: the pen's caps are not flat,
    // so that the polyline's end pixels are drawn.
    CosmeticStroke(const QRect& device, bool squareCaps);

    // Goes on from p, which starts the polyline if start is set, and is a
    // vertex of it somewhere along otherwise: what went before is forgotten.
    void moveTo(const QPointF& p, bool start);

    // The next line of the polyline, to p; end: p ends the polyline.
    // Appends the pixels it sets in rows top to bottom to out.
    void lineTo(const QPointF& p, bool end, int top, int bottom, std::vector<QPoint>* out);

    // For a steep line between whole pixels, top above bottom: the column
    // of its pixel in row, before a join moves it. capped: the line starts
    // at top with a cap, as after a line that went the other way.
    static int steepColumn(const QPoint& top, const QPoint& bottom, int row, bool capped);
    // Whether Qt counts that line as vertical when it looks for gaps at a
    // join.
    static bool nearlyVertical(const QPoint& top, const QPoint& bottom);

private:
    enum Direction { NoDirection = 0, Down = 1, Up = 2, Vertical = 3, Right = 4, Left = 8, Horizontal = 12 };
    enum Caps { NoCaps = 0, CapBegin = 1, CapEnd = 2 };

    bool cut(double& x1, double& y1, double& x2, double& y2);
    bool line(double x1, double y1, double x2, double y2, int caps, int top, int bottom,
              std::vector<QPoint>* out);

    const double xmin;
    const double xmax;
    const double ymin;
    const double ymax;
    const bool squareCaps;
    bool first = false;
    QPointF at;
    QPoint lastPixel{INT_MIN, INT_MIN};
    int lastDir = NoDirection;
    bool lastAxisAligned = false;
};

#endif // COSMETICSTROKE_H
