#include "dbcsignalrow.h"

#include "scaling.h"
#include "signalcell.h"
#include "tableplotconfig.h"

#include <cmath>
#include <utility>

namespace {

// The smallest and largest raw value of a layout; floats, like the real
// data types, count as 0 to 1.
RawRange layoutRawRange(const BitLayout& layout)
{
    if (layout.valueType != SignalValueType::Integer)
        return {0.0, 1.0};
    const double span = std::ldexp(1.0, layout.field.length); // 2^length
    if (layout.isSigned)
        return {-span / 2.0, span / 2.0 - 1.0};
    return {0.0, span - 1.0};
}

} // namespace

bool fillSignalRow(TablePlotConfig& config, int row, const DbcMessage& message, const DbcSignal& signal,
                   int netIndex)
{
    const std::optional<BitLayout> layout = dbcSignalLayout(message, signal);
    if (!layout)
        return false;

    config.setCurveName(row, signal.name);
    config.setNetIndex(row, netIndex);
    // Rows of one net must agree on the bit rate when Start comes.
    for (int other = 0; other < config.rowCount(); ++other) {
        if (other != row && config.netNumber(other) == config.netNumber(row)) {
            config.setBaud(row, config.baud(other));
            break;
        }
    }
    config.setIdText(row, QString::number(message.id));
    config.set29Bit(row, message.extended);
    config.setSignalText(row, signalCellText(*layout));
    config.setUnitText(row, signal.unit);

    const double scale = signal.factor;
    const double offset = signal.offset;
    double valueMin = signal.minimum;
    double valueMax = signal.maximum;
    double rawMin = 0.0;
    double rawMax = 0.0;
    if (valueMin < valueMax && scale != 0.0) {
        rawRangeFrom(valueMin, valueMax, scale, offset, rawMin, rawMax);
    } else {
        const RawRange raw = layoutRawRange(*layout);
        rawMin = raw.min;
        rawMax = raw.max;
        // The raw end that gives the smaller value first.
        if (scale < 0.0)
            std::swap(rawMin, rawMax);
        valueMin = rawMin * scale + offset;
        valueMax = rawMax * scale + offset;
    }
    config.setRawValueMinText(row, scalingText(rawMin));
    config.setRawValueMaxText(row, scalingText(rawMax));
    config.setValueMinText(row, scalingText(valueMin));
    config.setValueMaxText(row, scalingText(valueMax));
    config.setOffsetText(row, scalingText(offset));
    config.setScaleText(row, scalingText(scale));
    config.setValueTableCell(row, valueTableText(signal.values));
    return true;
}
