#include "scaling.h"

#include "framedecode.h"

#include <cmath>

RawRange dataTypeRawRange(int dataType)
{
    switch (dataType) {
    case DataType::Integer8:
        return {-128.0, 127.0};
    case DataType::Unsigned8:
        return {0.0, 255.0};
    case DataType::Integer16:
        return {-32768.0, 32767.0};
    case DataType::Unsigned16:
        return {0.0, 65535.0};
    case DataType::Integer32:
        return {-2147483648.0, 2147483647.0};
    case DataType::Unsigned32:
        return {0.0, 4294967295.0};
    default:
        return {0.0, 1.0};
    }
}

void scalingFrom(double rawMin, double rawMax, double valueMin, double valueMax, double& scale,
                 double& offset)
{
    scale = (valueMax - valueMin) / (rawMax - rawMin);
    offset = valueMax - rawMax * scale;
}

void scalingFromRangesIfFinite(double rawMin, double rawMax, double valueMin, double valueMax, double& scale,
                               double& offset)
{
    if (rawMax - rawMin == 0.0)
        return;
    double fromRanges = 0.0;
    double offsetFromRanges = 0.0;
    scalingFrom(rawMin, rawMax, valueMin, valueMax, fromRanges, offsetFromRanges);
    if (std::isfinite(fromRanges) && std::isfinite(offsetFromRanges)) {
        scale = fromRanges;
        offset = offsetFromRanges;
    }
}

void rawRangeFrom(double valueMin, double valueMax, double scale, double offset, double& rawMin,
                  double& rawMax)
{
    rawMin = (valueMin - offset) / scale;
    rawMax = (valueMax - offset) / scale;
}

QString scalingText(double value)
{
    QString text;
    text.setNum(value, 'g', 16);
    return text;
}
