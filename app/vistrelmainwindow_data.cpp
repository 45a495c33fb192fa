// The data file: a recording with its configuration, between the window's
// tables, value axes and curves and the records of files/datafile.h. The
// reader rebuilds the rows through addCurveRow and writes the cells with
// cellChanged connected, so the edit rules also pass over loaded values.
#include "vistrelmainwindow.h"

#include "curvelock.h"
#include "datafile.h"
#include "dataplot.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "scaling.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebase.h"

#include <qwt_plot_curve.h>

#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

#include <cmath>

namespace {

// A time of the header as the window takes it: one that no clock gives (not
// a number, infinite, or beyond a million millennia) reads as 0, so that
// the conversions of the status bar and the time axis stay defined.
double plausibleTime(double seconds)
{
    return std::isfinite(seconds) && std::abs(seconds) < 1e15 ? seconds : 0.0;
}

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
    return record;
}

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
    if (record.rawValueMax - record.rawValueMin != 0.0) {
        double fromRanges = 0.0;
        double offsetFromRanges = 0.0;
        scalingFrom(record.rawValueMin, record.rawValueMax, record.valueMin, record.valueMax, fromRanges,
                    offsetFromRanges);
        if (std::isfinite(fromRanges) && std::isfinite(offsetFromRanges)) {
            scale = fromRanges;
            offset = offsetFromRanges;
        }
    }
    config.setOffsetText(row, scalingText(offset));
    config.setScaleText(row, scalingText(scale));
}

// The curve of a finished row, for `points` points that its creator fills.
QSharedPointer<PlotCurve> curveOfRow(VistrelMainWindow* window, int row, int points)
{
    TablePlotConfig& config = *window->tableConfig;
    TablePlotDescription& description = *window->tableDescription;
    int canId = config.idText(row).toInt(nullptr, 0);
    if (config.is29Bit(row))
        canId += TESS_ID_29BIT;
    return QSharedPointer<PlotCurve>(new PlotCurve(
        window->plot, window->lineWidth, QColor(config.curveColor(row)), config.curveName(row),
        config.netNumber(row), config.baud(row), canId, config.positionText(row).toInt(nullptr, 0),
        config.dataType(row), config.maskText(row).toInt(nullptr, 0), config.byteOrder(row),
        config.valueAxis(row), config.scaleText(row).toDouble(), config.offsetText(row).toDouble(),
        config.unitText(row), description.curveStyle(row), description.curveEnabled(row), unsigned(points),
        false));
}

} // namespace

void VistrelMainWindow::writeDataFile(const QString& fileName)
{
    // The name is taken before the file is tried, and stays after a failure.
    setDataFileName(fileName);

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        QMessageBox::critical(this, tr("Critical Error"), tr("Cannot write file %1").arg(fileName),
                              QMessageBox::Ok);
        return;
    }

    DataFileHeader header;
    header.timeOrigin = m_timeOrigin;
    header.runTime = m_runTime;
    header.plotSize = plotSize;
    header.curveCount = tableConfig->rowCount();
    header.axes = {DataAxisRecord::from(*axisSettings[0]), DataAxisRecord::from(*axisSettings[1])};
    // A write error after a successful open is not reported.
    writeDataHeader(file, header);

    for (int row = 0; row < tableConfig->rowCount(); ++row) {
        // After an import that was given up, a row may lack its curve (an
        // empty entry, or fewer curves than rows): it is stored with no
        // points.
        PlotCurve* curve = row < curves.size() ? curves[row].data() : nullptr;
        const int points = curve ? curve->pointCount() : 0;
        writeDataCurveRecord(file, recordOfRow(*tableConfig, *tableDescription, row, points));
        if (!curve)
            continue;
        const CurveLock lock(curve->mutex);
        writeDataPoints(file, curve->xValues.get(), curve->yValues.get(), points);
    }
    file.close();
}

void VistrelMainWindow::readDataFile(const QString& fileName)
{
    const auto critical = [this](const QString& text) {
        QMessageBox::critical(this, tr("Critical Error"), text, QMessageBox::Ok);
    };

    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        critical(tr("Cannot read file %1").arg(fileName));
        return;
    }
    // All checks come before the questions, so that a rejected file leaves
    // the configuration as it was.
    DataFileReader reader(file);
    const DataHeaderResult head = reader.readHeader();
    if (head.status == DataHeaderResult::InvalidSize) {
        critical(
            tr("Wrong file %1 - header of the file has invalid size (%2)!").arg(fileName).arg(head.found));
        return;
    }
    if (head.status == DataHeaderResult::WrongType) {
        // The number first: a "%d" in the file name stays as it is.
        critical(tr("Wrong file %1 - Wrong header type (%d)!")
                     .replace(QLatin1String("%d"), QString::number(head.found))
                     .arg(fileName));
        return;
    }
    if (tableConfig->rowCount() > 0 && !askYesNo(tr("There is already a configuration!\nContinue?")))
        return;
    if (!resetProject())
        return;

    setOperatingMode(ModeData);
    setDataFileName(fileName);
    setProjectFileName(QString());
    m_timeOrigin = plausibleTime(head.header.timeOrigin);
    m_runTime = plausibleTime(head.header.runTime);

    // The curves take their capacity from their own point count, whatever
    // the answer.
    const auto offerPlotSize = [this](uint32_t filePlotSize) {
        if (filePlotSize <= plotSize || filePlotSize > largestPlotSize)
            return;
        if (askYesNo(tr("Plot size (%1) in the datafile is bigger than actual plot size (%2)!\n"
                        "Should the plot size be increased?")
                         .arg(filePlotSize)
                         .arg(plotSize)))
            plotSize = filePlotSize;
    };
    // The end of every record: the curve, its points, "Cnt".
    const auto finishRow = [this, &reader](int row) {
        const int points = reader.points();
        const QSharedPointer<PlotCurve> curve = curveOfRow(this, row, points);
        if (antialiasing)
            curve->setAntialiased(true);
        curves.insert(row, curve);
        reader.readPoints(curve->xValues.get(), curve->yValues.get(), points);
        curve->plotItem->setRawSamples(curve->xValues.get(), curve->yValues.get(), points);
        tableDescription->setCount(row, QString::asprintf("%ld", long(points)));
    };

    TablePlotConfig& config = *tableConfig;
    TablePlotDescription& description = *tableDescription;
    if (head.version == DataFileVersion::Oldest) {
        // No curve count: records follow until the end of the file.
        DataCurveRecordV1 record;
        for (int row = 0; reader.readCurveRecordV1(record); ++row) {
            offerPlotSize(record.pointCount);
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
            finishRow(row);
        }
    } else {
        offerPlotSize(head.header.plotSize);
        if (head.hasAxes) {
            *axisSettings[0] = head.header.axes[0].toSettings();
            *axisSettings[1] = head.header.axes[1].toSettings();
            slotAxisSettingsUpdated();
        }
        // A count beyond the records present ends at the last whole record.
        DataCurveRecord record;
        for (int row = 0; row < head.header.curveCount && reader.readCurveRecord(record); ++row) {
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
            finishRow(row);
        }
    }

    // The view opens on the last span of the record; the scroll bar keeps
    // its range until the time base moves.
    plot->setTimeScale(m_runTime, timeBaseTable[size_t(sliderTimeBase->value())]);
    plot->replot();
    plot->slotMarker2();
    plot->slotMarker1();
    showTimes(m_timeOrigin, m_runTime);

    file.close();
    tableConfig->setColumnLocked(TablePlotConfig::ColNet, true);
    tableConfig->setColumnLocked(TablePlotConfig::ColBaud, true);
    updateActions();
}

void VistrelMainWindow::dataSave()
{
    // After an import the name is the recorder's log: never write a data
    // file over it, ask for a name instead.
    if (!dataFileName.endsWith(QLatin1String(".vtldat"), Qt::CaseSensitive)) {
        dataSaveAs();
        return;
    }
    writeDataFile(dataFileName);
}

void VistrelMainWindow::dataSaveAs()
{
    const QString name =
        QFileDialog::getSaveFileName(this, tr("Save Data as"), QString(), QStringLiteral("*.vtldat"));
    if (name.isEmpty())
        return;
    writeDataFile(withDataExtension(name));
}

void VistrelMainWindow::dataLoad()
{
    const QString name =
        QFileDialog::getOpenFileName(this, tr("Load Data"), QString(), QStringLiteral("*.vtldat"));
    if (name.isEmpty())
        return;
    readDataFile(withDataExtension(name));
}
