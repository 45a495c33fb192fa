#include "rowrecords.h"

#include "qcombotablesupportitem.h"
#include "scaling.h"
#include "signalcell.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"

ProjectGraph graphOfRow(TablePlotConfig& config, TablePlotDescription& description, int row)
{
    ProjectGraph graph;
    // The columns every row has; those of a bit layout follow below.
    for (int col = 0; col < TablePlotConfig::ColSignal; ++col) {
        const QString& key = config.columnInfo(col).key;
        switch (col) {
        case TablePlotConfig::ColColor:
            graph.set(key, config.curveColor(row));
            break;
        case TablePlotConfig::ColNet:
            // The position in the Net list, not the net number.
            graph.set(key, config.comboSave(row, col)->comboBox->currentIndex());
            break;
        case TablePlotConfig::ColBaud:
            // Carries "BTR/hex" too: negative in BTR mode.
            graph.set(key, config.baud(row));
            break;
        case TablePlotConfig::ColBtr:
            break;
        case TablePlotConfig::Col29Bit:
            graph.set(key, config.is29Bit(row) ? 1 : 0);
            break;
        case TablePlotConfig::ColDataType:
            graph.set(key, config.dataType(row));
            break;
        case TablePlotConfig::ColIntMot:
            graph.set(key, config.byteOrder(row));
            break;
        case TablePlotConfig::ColAxis:
            graph.set(key, config.valueAxis(row));
            break;
        default:
            // Text cells, and "Pos" by its entry text "1" to "8".
            graph.set(key, config.cellText(row, col));
            break;
        }
    }
    graph.set(QLatin1String(projectNetTextAttribute), config.netText(row));
    graph.set(description.columnInfo(TablePlotDescription::ColEnable).key,
              description.curveEnabled(row) ? 1 : 0);
    graph.set(description.columnInfo(TablePlotDescription::ColStyle).key, description.curveStyle(row));
    // A row described bit by bit carries its layout and value names as two
    // more attributes, so that other rows are written as they always were.
    for (const int col : {TablePlotConfig::ColSignal, TablePlotConfig::ColValueTable}) {
        const QString text = config.cellText(row, col);
        if (!text.isEmpty() && !config.signalText(row).isEmpty())
            graph.set(config.columnInfo(col).key, text);
    }
    return graph;
}

// The data type and the axis come after Scale and Offset without
// recomputing them.
void fillConfigRow(TablePlotConfig& config, int row, const ProjectGraph& graph)
{
    const auto text = [&config, &graph](int col) { return graph.text(config.columnInfo(col).key); };
    const auto number = [&config, &graph](int col) { return graph.number(config.columnInfo(col).key); };

    config.setCurveColor(row, text(TablePlotConfig::ColColor));
    config.setCurveName(row, text(TablePlotConfig::ColName));
    config.setIdText(row, text(TablePlotConfig::ColId));
    config.set29Bit(row, number(TablePlotConfig::Col29Bit) != 0);
    // A missing "pos" gives index -1: no entry selected.
    config.setPosition(row, text(TablePlotConfig::ColPos));
    config.setScaleText(row, text(TablePlotConfig::ColScale));
    config.setRawValueMinText(row, text(TablePlotConfig::ColRawValueMin));
    config.setRawValueMaxText(row, text(TablePlotConfig::ColRawValueMax));
    config.setValueMinText(row, text(TablePlotConfig::ColValueMin));
    config.setValueMaxText(row, text(TablePlotConfig::ColValueMax));
    config.setOffsetText(row, text(TablePlotConfig::ColOffset));
    config.setUnitText(row, text(TablePlotConfig::ColUnit));
    // An index beyond the nets present selects nothing.
    config.setNetIndex(row, number(TablePlotConfig::ColNet));
    config.setBaud(row, number(TablePlotConfig::ColBaud));
    config.setByteOrder(row, number(TablePlotConfig::ColIntMot));
    config.setValueAxis(row, number(TablePlotConfig::ColAxis));
    config.setDataType(row, number(TablePlotConfig::ColDataType));
    config.setMaskText(row, text(TablePlotConfig::ColMask));
    // Absent in rows without a bit layout; a layout that doesn't read leaves
    // the row to its byte-level cells, without value names.
    setBitLevelCells(config, row, text(TablePlotConfig::ColSignal), text(TablePlotConfig::ColValueTable));
}

void setBitLevelCells(TablePlotConfig& config, int row, const QString& signal, const QString& valueTable)
{
    config.setSignalText(row, signal);
    if (!config.signalText(row).isEmpty())
        config.setValueTableCell(row, valueTable);
}

namespace {

// What every version does first for a record: the row in both tables,
// colour, name and unit in both, then Id, 29-Bit and Pos.
void startRow(TablePlotConfig& config, TablePlotDescription& description, int row, const QString& color,
              const QString& name, const QString& unit, int32_t id, int32_t pos)
{
    config.addCurveRow(row);
    description.addCurveRow(row);
    config.setCurveColor(row, color);
    description.setCurveColor(row, color);
    config.setCurveName(row, name);
    description.setCurveName(row, name);
    config.setUnitText(row, unit);
    description.setUnit(row, unit);
    config.setIdText(row, QString::number(uint32_t(id) & 0x1FFFFFFFu));
    config.set29Bit(row, (uint32_t(id) & uint32_t(TESS_ID_29BIT)) != 0);
    config.setPosition(row, QString::number(pos));
}

// Scale and Offset as "%f" of the stored doubles, and the raw range from
// them: for records without valid ranges.
void setStoredScaling(TablePlotConfig& config, int row, double scale, double offset)
{
    config.setOffsetText(row, QString::asprintf("%f", offset));
    config.setScaleText(row, QString::asprintf("%f", scale));
    config.deriveRawRange(row);
}

// The four ranges, and Scale and Offset computed from them. The stored
// doubles stand in where the ranges give no scaling: an empty raw range
// (raw minimum equal to raw maximum) or a result that isn't finite.
void setRangeScaling(TablePlotConfig& config, int row, const DataCurveRecord& record)
{
    config.setValueMinText(row, scalingText(record.valueMin));
    config.setValueMaxText(row, scalingText(record.valueMax));
    config.setRawValueMinText(row, scalingText(record.rawValueMin));
    config.setRawValueMaxText(row, scalingText(record.rawValueMax));
    double scale = record.scale;
    double offset = record.offset;
    scalingFromRangesIfFinite(record.rawValueMin, record.rawValueMax, record.valueMin, record.valueMax, scale,
                              offset);
    config.setOffsetText(row, scalingText(offset));
    config.setScaleText(row, scalingText(scale));
}

} // namespace

DataCurveRecord recordOfRow(TablePlotConfig& config, TablePlotDescription& description, int row,
                            int pointCount)
{
    DataCurveRecord record;
    record.color = config.curveColor(row);
    record.name = config.curveName(row);
    // The net number, not the position in the Net list.
    record.net = config.netNumber(row);
    record.baud = config.baud(row);
    record.id = config.idText(row).toInt(nullptr, 0);
    if (config.is29Bit(row))
        record.id += TESS_ID_29BIT;
    record.pos = config.positionText(row).toInt(nullptr, 0);
    record.dataType = config.dataType(row);
    record.mask = config.maskText(row).toInt(nullptr, 0);
    record.byteOrder = config.byteOrder(row);
    record.scale = config.scaleText(row).toDouble();
    record.offset = config.offsetText(row).toDouble();
    record.unit = config.unitText(row);
    record.style = description.curveStyle(row);
    record.enable = description.curveEnabled(row) ? 1 : 0;
    record.pointCount = pointCount;
    record.flags = DataCurveRecord::rangesValid;
    record.valueMin = config.valueMinText(row).toDouble();
    record.valueMax = config.valueMaxText(row).toDouble();
    record.rawValueMin = config.rawValueMinText(row).toDouble();
    record.rawValueMax = config.rawValueMaxText(row).toDouble();
    record.axis = config.valueAxis(row);
    record.bitLayout = config.signalLayout(row);
    if (record.bitLayout)
        record.valueTable = config.valueTableCell(row);
    return record;
}

void rowFromRecord(TablePlotConfig& config, TablePlotDescription& description, int row,
                   const DataCurveRecordV1& record)
{
    startRow(config, description, row, record.color, record.name, record.unit, record.id, record.pos);
    setStoredScaling(config, row, record.scale, record.offset);
    config.setBaud(row, record.baud);
    config.setDataType(row, record.dataType);
    config.setMaskText(row, QStringLiteral("0xFF"));
    config.setByteOrder(row, record.byteOrder);
    config.setValueAxis(row, 0);
    // The stored net number goes to the list as a position.
    config.setNetIndex(row, record.net);
    description.setCurveEnabled(row, true);
    description.setCurveStyleIndex(row, record.style);
}

void rowFromRecord(TablePlotConfig& config, TablePlotDescription& description, int row,
                   const DataCurveRecord& record)
{
    const bool rangesValid = (record.flags & DataCurveRecord::rangesValid) != 0;
    startRow(config, description, row, record.color, record.name, record.unit, record.id, record.pos);
    if (rangesValid)
        setRangeScaling(config, row, record);
    else
        setStoredScaling(config, row, record.scale, record.offset);
    config.setBaud(row, record.baud);
    config.setDataType(row, record.dataType);
    config.setMaskText(row, QString::number(record.mask));
    config.setByteOrder(row, record.byteOrder);
    // Anything but the right axis is the left one.
    config.setValueAxis(row, rangesValid && record.axis == 1 ? 1 : 0);
    config.setNetIndex(row, record.net);
    description.setCurveEnabled(row, record.enable != 0);
    description.setCurveStyleIndex(row, record.style);
    if (record.bitLayout)
        setBitLevelCells(config, row, signalCellText(*record.bitLayout), record.valueTable);
}
