#ifndef SCALING_H
#define SCALING_H

#include <QString>

// The straight line from a raw number to a plotted value:
// value = raw * scale + offset.

// Raw range of a data type index; an unknown type counts as 0 to 1, and so
// do the two real types, whose values are taken as they stand.
struct RawRange
{
    double min;
    double max;
};
RawRange dataTypeRawRange(int dataType);

// Scale and offset that map the raw range onto the scaled range; the raw
// maximum lands exactly on the scaled maximum.
void scalingFrom(double rawMin, double rawMax, double valueMin, double valueMax, double& scale,
                 double& offset);

// The same, where the ranges give a finite pair; otherwise scale and offset
// keep what they hold (a file's own pair, for equal raw bounds).
void scalingFromRangesIfFinite(double rawMin, double rawMax, double valueMin, double valueMax, double& scale,
                               double& offset);

// The raw range that scale and offset map onto the scaled range.
void rawRangeFrom(double valueMin, double valueMax, double scale, double offset, double& rawMin,
                  double& rawMax);

// A number as the scaling cells hold it: 'g' with 16 digits, always with a
// point as decimal sign.
QString scalingText(double value);

#endif // SCALING_H
