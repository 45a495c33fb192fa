#include "documentcontroller.h"

#include "canlog.h"
#include "commandline.h"
#include "csvexport.h"
#include "curvelock.h"
#include "curveset.h"
#include "damagereport.h"
#include "dataplot.h"
#include "ifprompt.h"
#include "logframes.h"
#include "netlist.h"
#include "operatingmode.h"
#include "plotcurve.h"
#include "programoptions.h"
#include "rowrecords.h"
#include "runcontroller.h"
#include "tableplotconfig.h"
#include "tableplotdescription.h"
#include "timebasecontroller.h"
#include "wallclock.h"

#include <qwt_plot_curve.h>

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cmath>

namespace {

// A time of the header as the window takes it: one that no clock gives (not
// a number, infinite, or beyond a million millennia) reads as 0, so that
// the conversions of the status bar and the time axis stay defined.
double plausibleTime(double seconds)
{
    return std::isfinite(seconds) && std::abs(seconds) < 1e15 ? seconds : 0.0;
}

// The key of a row's frames: its id, with the 29-bit flag.
uint32_t frameKey(TablePlotConfig& config, int row)
{
    uint32_t key = uint32_t(config.idText(row).toInt(nullptr, 0));
    if (config.is29Bit(row))
        key += TESS_ID_29BIT;
    return key;
}

// Element 0, the live point, at the record's last time with the newest
// value. The spare elements behind the n samples repeat the oldest point, so
// that the markers' search over all elements finds nothing there.
void showSamples(PlotCurve& curve, int n, double lastTime)
{
    double* const x = curve.xValues.get();
    double* const y = curve.yValues.get();
    const size_t elements = size_t(curve.maxPoints) + 1;
    x[0] = lastTime;
    y[0] = n > 0 ? y[1] : 0.0;
    std::fill(x + n + 1, x + elements, x[n]);
    std::fill(y + n + 1, y + elements, y[n]);
    curve.plotItem->setRawSamples(x, y, n + 1);
}

// Attributes of a curve element that its row could not take as they stand:
// a number that doesn't read, an index that its list lacks ("axis" above 1
// reads as 0), an Id, Mask or Pos that the edit rules replaced. An absent or
// empty attribute reads as empty text, as the format allows. `held` is the
// row as it would be written now.
void noteRepairedAttributes(DamageReport& report, TablePlotConfig& config, TablePlotDescription& description,
                            int row, const ProjectGraph& file, const ProjectGraph& held)
{
    enum Kind { Text, Number, Index };
    const std::pair<QString, Kind> checked[] = {
        {config.columnInfo(TablePlotConfig::ColNet).key, Number},
        {config.columnInfo(TablePlotConfig::ColBaud).key, Index},
        {config.columnInfo(TablePlotConfig::ColId).key, Text},
        {config.columnInfo(TablePlotConfig::Col29Bit).key, Number},
        {config.columnInfo(TablePlotConfig::ColPos).key, Index},
        {config.columnInfo(TablePlotConfig::ColDataType).key, Index},
        {config.columnInfo(TablePlotConfig::ColMask).key, Text},
        {config.columnInfo(TablePlotConfig::ColIntMot).key, Index},
        {config.columnInfo(TablePlotConfig::ColAxis).key, Index},
        {description.columnInfo(TablePlotDescription::ColEnable).key, Number},
        {description.columnInfo(TablePlotDescription::ColStyle).key, Index}};
    for (const auto& [key, kind] : checked) {
        const QString text = file.text(key);
        if (text.isEmpty())
            continue;
        bool read = false;
        bool taken = false;
        const int number = text.toInt(&read, 10);
        const int now = held.text(key).toInt(&taken, 10);
        const bool repaired = kind == Text     ? held.text(key) != text
                              : kind == Number ? !read
                                               : !read || !taken || now != number;
        if (repaired)
            report.addRepairedValue(row, key, text, held.text(key));
    }
}

// A log's time on the window's clock: the day of the year and the time of
// day. The reader counts a start that a header states from the epoch as if
// it were UTC, so that time of day is the one written; candump's times are
// the epoch's own and are shown in local time.
double windowClockTime(int64_t ns, bool headerTime)
{
    constexpr int64_t perSecond = 1000000000;
    const int64_t seconds = ns / perSecond - (ns % perSecond < 0 ? 1 : 0);
    const QDateTime time = QDateTime::fromSecsSinceEpoch(seconds, headerTime ? Qt::UTC : Qt::LocalTime);
    return wallClockSecondsAt(time.date(), time.time()) + double(ns - seconds * perSecond) / perSecond;
}

// The instant of a date and a local time of day, in nanoseconds since the
// epoch; the time zone of this computer decides.
int64_t localTimeUtcNs(const QDate& date, int64_t nsOfDay)
{
    const int64_t ms = nsOfDay / 1000000;
    const QDateTime local(date, QTime::fromMSecsSinceStartOfDay(int(ms)), Qt::LocalTime);
    return local.toMSecsSinceEpoch() * 1000000 + (nsOfDay - ms * 1000000);
}

// The instant of a log's first frame. A time that a header states is the
// time as written, taken as local time, as the window shows it.
int64_t logOriginUtcNs(int64_t ns, bool headerTime)
{
    if (!headerTime)
        return ns;
    constexpr int64_t perDay = 86400LL * 1000000000;
    const int64_t days = ns / perDay - (ns % perDay < 0 ? 1 : 0);
    return localTimeUtcNs(QDate(1970, 1, 1).addDays(days), ns - days * perDay);
}

// Raw values of the integer types and of integer bit layouts are whole
// numbers. Recomputed from a scaled value they may miss by a rounding; the
// whole number whose scaling gives the value back is the raw value that
// made it.
bool hasWholeRaw(const PlotCurve& curve)
{
    const ValueLayout layout = curve.valueLayout();
    return layout.bitLayout ? layout.bitLayout->valueType == SignalValueType::Integer
                            : layout.dataType < DataType::Real32;
}

double wholeRaw(const CsvSample& sample, const CurvePoints& points)
{
    const double whole = std::nearbyint(sample.raw);
    // Adding 0 turns the -0 of a negative scale into 0.
    return whole * points.scale + points.offset == sample.value ? whole + 0.0 : sample.raw;
}

} // namespace

DocumentController::DocumentController(const Parts& parts, const QVector<ValueAxisSettings*>& axisSettings,
                                       ProgramOptions& options, IFPrompt& prompt, QObject* parent)
    : QObject(parent), parts(parts), axisSettings(axisSettings), options(options), prompt(prompt)
{
    connect(parts.run, &RunController::signalStartTime, this, &DocumentController::slotRunStarted);
}

void DocumentController::slotRunStarted(double timeOrigin)
{
    // The origin was read a moment ago; midnight may have passed since.
    const int day = int(std::floor(timeOrigin / 86400));
    QDate date = QDate::currentDate();
    if (date.dayOfYear() != day)
        date = date.addDays(-1);
    m_originUtcNs = localTimeUtcNs(date, std::llround((timeOrigin - day * 86400.0) * 1e6) * 1000);
}

void DocumentController::setProjectFileName(const QString& name)
{
    m_projectFileName = name;
    m_projectDamage.clear();
    emit signalFileNamesChanged();
}

void DocumentController::setDataFileName(const QString& name)
{
    m_dataFileName = name;
    m_dataDamage.clear();
    emit signalFileNamesChanged();
}

void DocumentController::reportDamage(QString& kept, const QString& report)
{
    if (report.isEmpty())
        return;
    kept = report;
    emit signalFileNamesChanged();
    prompt.showError(report);
}

void DocumentController::placeMarkers()
{
    parts.plot->slotMarker2();
    parts.plot->slotMarker1();
}

bool DocumentController::resetProject()
{
    TablePlotConfig* config = parts.config;
    if (config->rowCount() > 0 &&
        !prompt.askYesNo(tr("Do you really want to delete the actual configuration and data?\nContinue?")))
        return false;

    config->removeAllRows();
    parts.description->setRowCount(0);
    parts.curves->clear();

    parts.run->setTimeOrigin(wallClockSeconds());
    m_originUtcNs.reset();
    parts.timeBase->resetView();
    placeMarkers();

    *axisSettings[0] = ValueAxisSettings::leftDefault();
    *axisSettings[1] = ValueAxisSettings::rightDefault();
    emit signalAxisSettingsChanged();

    emit signalTimes(parts.run->timeOrigin(), parts.timeBase->runTime());
    setProjectFileName(QString());
    setDataFileName(QString());
    emit signalOperatingMode(ModeNone);
    return true;
}

void DocumentController::openCommandLineFile(const QStringList& arguments)
{
    const CommandLineFile file = commandLineFile(arguments);
    switch (file.kind) {
    case CommandLineFile::Project:
        readProjectFile(file.name);
        break;
    case CommandLineFile::Data:
        readDataFile(file.name);
        break;
    case CommandLineFile::None:
        break;
    }
}

// The project file: the tables and the value axes; the attribute names are
// the column keys of the two tables.

void DocumentController::writeProjectFile(const QString& fileName)
{
    // The name is taken before the file is tried, and stays after a failure.
    setProjectFileName(fileName);

    QVector<ProjectGraph> graphs;
    for (int row = 0; row < parts.config->rowCount(); ++row)
        graphs << graphOfRow(*parts.config, *parts.description, row);
    QVector<ValueAxisSettings> axes;
    for (const ValueAxisSettings* axis : axisSettings)
        axes << *axis;
    const QDomDocument document = buildProjectDocument(fileName, projectDateTimeNow(), graphs, axes);

    QFile file(fileName);
    if (!writeProjectDocument(document, &file))
        prompt.showError(tr("Cannot write file %1").arg(fileName));
}

void DocumentController::readProjectFile(const QString& fileName)
{
    if (!resetProject())
        return;

    QFile file(fileName);
    const ProjectReadResult result = readProjectDocument(&file);
    if (result.status != ProjectReadResult::Ok) {
        // The reset stands: the configuration and both names are empty.
        const QString text = result.status == ProjectReadResult::OpenFailed ? tr("Cannot read file %1")
                                                                            : tr("Cannot parse xml-file %1");
        prompt.showError(text.arg(fileName));
        return;
    }

    TablePlotConfig* config = parts.config;
    TablePlotDescription* description = parts.description;
    DamageReport report;
    for (const ProjectRepair& repair : result.repairs)
        report.add(repair);
    for (const ProjectElement& element : result.elements) {
        if (element.kind == ProjectElement::Axis) {
            *axisSettings[element.axisIndex] = element.axis;
            continue;
        }
        // The writer puts the curves first, so the position is the row. In a
        // file where something else stands before them the position lies
        // beyond the table: the row is then appended, which keeps the rows
        // in file order and both tables and the curves in step.
        const int row = qMin(element.position, config->rowCount());
        const ProjectGraph& graph = element.graph;
        config->addCurveRow(row);
        fillConfigRow(*config, row, graph);
        description->addCurveRow(row);
        description->syncRow(row);
        description->setCurveStyleIndex(
            row, graph.number(description->columnInfo(TablePlotDescription::ColStyle).key));
        description->setCurveEnabled(
            row, graph.number(description->columnInfo(TablePlotDescription::ColEnable).key) != 0);
        parts.curves->createCurve(row);
        noteRepairedAttributes(report, *config, *description, row, graph,
                               graphOfRow(*config, *description, row));
    }

    emit signalAxisSettingsChanged();
    setProjectFileName(fileName);
    setDataFileName(QString());
    // The mode stays ModeNone from the reset: the curves hold no data yet.
    emit signalActionsChanged();
    reportDamage(
        m_projectDamage,
        report.text(
            tr("The project file %1 was repaired on reading; what it holds was loaded:").arg(fileName)));
}

// The data file: a recording with its configuration. The reader rebuilds
// the rows through addCurveRow and writes the cells with cellChanged
// connected, so the edit rules also pass over loaded values.

void DocumentController::writeDataFile(const QString& fileName)
{
    // The name is taken before the file is tried, and stays after a failure.
    setDataFileName(fileName);

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        prompt.showError(tr("Cannot write file %1").arg(fileName));
        return;
    }

    TablePlotConfig* config = parts.config;
    DataFileHeader header;
    header.timeOrigin = parts.run->timeOrigin();
    header.runTime = parts.timeBase->runTime();
    header.plotSize = options.plotSize;
    header.curveCount = config->rowCount();
    header.axes = {DataAxisRecord::from(*axisSettings[0]), DataAxisRecord::from(*axisSettings[1])};
    // A write error after a successful open is not reported.
    writeDataHeader(file, header);

    for (int row = 0; row < config->rowCount(); ++row) {
        // After an import that was given up, a row may lack its curve (an
        // empty entry, or fewer curves than rows): it is stored with no
        // points.
        PlotCurve* curve = parts.curves->at(row);
        const int points = curve ? curve->pointCount() : 0;
        writeDataCurveRecord(file, recordOfRow(*config, *parts.description, row, points));
        if (!curve)
            continue;
        const CurveLock lock(curve->mutex);
        writeDataPoints(file, curve->xValues.get(), curve->yValues.get(), points);
    }
    file.close();
}

void DocumentController::offerPlotSize(uint32_t filePlotSize)
{
    // The curves take their capacity from their own point count, whatever
    // the answer.
    if (filePlotSize <= options.plotSize)
        return;
    if (!prompt.askYesNo(tr("Plot size (%1) in the datafile is bigger than actual plot size (%2)!\n"
                            "Should the plot size be increased?")
                             .arg(filePlotSize)
                             .arg(options.plotSize)))
        return;
    if (ProgramOptions::plotSizeFits(filePlotSize))
        options.plotSize = filePlotSize;
    else
        prompt.showError(ProgramOptions::plotSizeRefusedText(filePlotSize, options.plotSize));
}

void DocumentController::readDataFile(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        prompt.showError(tr("Cannot read file %1").arg(fileName));
        return;
    }
    // All checks come before the questions, so that a rejected file leaves
    // the configuration as it was.
    DataFileReader reader(file);
    const DataHeaderResult head = reader.readHeader();
    if (head.status == DataHeaderResult::InvalidSize) {
        prompt.showError(
            tr("Wrong file %1 - header of the file has invalid size (%2)!").arg(fileName).arg(head.found));
        return;
    }
    if (head.status == DataHeaderResult::WrongType) {
        // The number first: a "%d" in the file name stays as it is.
        prompt.showError(tr("Wrong file %1 - Wrong header type (%d)!")
                             .replace(QLatin1String("%d"), QString::number(head.found))
                             .arg(fileName));
        return;
    }
    TablePlotConfig* config = parts.config;
    TablePlotDescription* description = parts.description;
    if (config->rowCount() > 0 && !prompt.askYesNo(tr("There is already a configuration!\nContinue?")))
        return;
    if (!resetProject())
        return;

    emit signalOperatingMode(ModeData);
    setDataFileName(fileName);
    setProjectFileName(QString());
    parts.run->setTimeOrigin(plausibleTime(head.header.timeOrigin));
    parts.timeBase->setRunTime(plausibleTime(head.header.runTime));

    // The end of every record: the curve, its points, "Cnt".
    const auto finishRow = [this, &reader, description](int row) {
        const int points = reader.points();
        const QSharedPointer<PlotCurve> curve = parts.curves->curveFromRow(row, unsigned(points), false);
        if (options.antialiasing)
            curve->setAntialiased(true);
        parts.curves->insert(row, curve);
        reader.readPoints(curve->xValues.get(), curve->yValues.get(), points);
        curve->plotItem->setRawSamples(curve->xValues.get(), curve->yValues.get(), points);
        description->setCount(row, QString::asprintf("%ld", long(points)));
    };

    if (head.version == DataFileVersion::Oldest) {
        // No curve count: records follow until the end of the file.
        DataCurveRecordV1 record;
        for (int row = 0; reader.readCurveRecordV1(record); ++row) {
            offerPlotSize(record.pointCount);
            rowFromRecord(*config, *description, row, record);
            finishRow(row);
        }
    } else {
        offerPlotSize(head.header.plotSize);
        if (head.hasAxes) {
            *axisSettings[0] = head.header.axes[0].toSettings();
            *axisSettings[1] = head.header.axes[1].toSettings();
            emit signalAxisSettingsChanged();
        }
        // A count beyond the records present ends at the last whole record.
        DataCurveRecord record;
        for (int row = 0; row < head.header.curveCount && reader.readCurveRecord(record); ++row) {
            rowFromRecord(*config, *description, row, record);
            finishRow(row);
        }
    }

    // The view opens on the last span of the record; the scroll bar keeps
    // its range until the time base moves.
    parts.timeBase->showRecordEnd();
    placeMarkers();
    emit signalTimes(parts.run->timeOrigin(), parts.timeBase->runTime());

    file.close();
    config->setColumnLocked(TablePlotConfig::ColNet, true);
    config->setColumnLocked(TablePlotConfig::ColBaud, true);
    emit signalActionsChanged();

    DamageReport report;
    for (const DataFileDamage& damage : reader.damages())
        report.add(damage);
    reportDamage(m_dataDamage,
                 report.text(tr("The data file %1 is damaged; what it holds was loaded:").arg(fileName)));
}

// The import: the log of a CAN recorder becomes the points of the curves
// that the table already describes, decoded as in a run.

void DocumentController::importRecordedData(const QString& fileName)
{
    const auto critical = [this, &fileName](const QString& text) { prompt.showError(text.arg(fileName)); };

    const CanLogForm form = canLogFormOf(fileName);
    if (form == CanLogForm::Unknown) {
        critical(tr("Unknown file type %1"));
        return;
    }
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        critical(tr("Cannot read file %1"));
        return;
    }

    // What the curves held goes without a question.
    CurveSet& curves = *parts.curves;
    curves.clear();
    m_originUtcNs.reset();

    CanLog log;
    {
        const ProgressScale scale = progressScale(file.size());
        const auto progress = prompt.progress(tr("Read file ..."), tr("Abort!"), scale.steps + 1);
        log = readCanLog(form, &file, scale, progress.get());
    }
    if (log.canceled || log.frames.empty()) {
        // The curves are gone; the plot shows it.
        parts.plot->replot();
        if (!log.canceled)
            critical(tr("Cannot find CAN-data in file %1 (Unknown format)"));
        return;
    }
    parts.run->setTimeOrigin(log.timeOrigin);

    TablePlotConfig* config = parts.config;
    for (int row = 0; row < config->rowCount(); ++row) {
        const uint32_t key = frameKey(*config, row);
        const int frames = log.frameCount(key);
        const auto progress = prompt.progress(QString::asprintf("Convert data from Config(%d) ...", row),
                                              tr("Abort!"), frames == 0 ? 2 : progressScale(frames).steps);

        // From the cells, as Start would build it; the arrays are the import's.
        const QSharedPointer<PlotCurve> curve = curves.curveFromRow(row, unsigned(frames) + 2, false);
        double* const x = curve->xValues.get();
        double* const y = curve->yValues.get();
        const size_t elements = size_t(curve->maxPoints) + 1;
        // The item shows the live point from its birth on.
        x[0] = 0.0;
        y[0] = 0.0;
        curves.append(curve);
        if (options.antialiasing)
            curve->setAntialiased(true);

        // A row described bit by bit takes only the frames that hold its
        // value: fewer samples than frames.
        int samples = 0;
        if (!decodeSamples(log, key, curve->valueLayout(), x, y, progress.get(), &samples)) {
            // The row keeps a curve without samples.
            std::fill_n(x, elements, 0.0);
            std::fill_n(y, elements, 0.0);
            parts.plot->replot();
            return;
        }
        showSamples(*curve, samples, log.lastTime);
        parts.description->setCount(
            row, QString::asprintf("%lu", static_cast<unsigned long>(curve->pointCount())));
    }

    file.close();
    showLoggedRecord(fileName, log.lastTime);
}

void DocumentController::showLoggedRecord(const QString& fileName, double runTime)
{
    parts.timeBase->setRunTime(runTime);
    emit signalTimes(parts.run->timeOrigin(), parts.timeBase->runTime());
    parts.timeBase->showRecordEnd();
    placeMarkers();
    setDataFileName(fileName);
    emit signalOperatingMode(ModeImport);
}

// Opening a CAN log of another tool: the log's frames become the points of
// the rows' curves as a run would have captured them, each row taking the
// frames of its net, id and 29-bit flag. What the user had stays until the
// whole log has been read and converted: an abort or a refusal changes
// nothing.

std::optional<std::vector<int>> DocumentController::channelNets(const std::vector<std::string>& channels)
{
    // The nets of the rows, in the order of the rows.
    std::vector<int> rowNets;
    for (int row = 0; row < parts.config->rowCount(); ++row) {
        const int net = parts.config->netNumber(row);
        if (std::find(rowNets.begin(), rowNets.end(), net) == rowNets.end())
            rowNets.push_back(net);
    }
    if (channels.size() == 1 && rowNets.size() == 1)
        return rowNets;

    // Channel i is offered the i-th net of the rows.
    const QStringList entries = netListEntries(*parts.nets);
    const auto entryOf = [&entries](int net) {
        for (int entry = 0; entry < entries.size(); ++entry)
            if (netNumberFromEntry(entries[entry]) == net)
                return entry;
        return -1;
    };
    QStringList names;
    std::vector<int> proposal;
    for (size_t channel = 0; channel < channels.size(); ++channel) {
        names << QString::fromStdString(channels[channel]);
        proposal.push_back(channel < rowNets.size() ? entryOf(rowNets[channel]) : -1);
    }
    std::optional<std::vector<int>> chosen = prompt.channelNets(names, entries, proposal);
    if (chosen) {
        chosen->resize(channels.size(), -1);
        for (int& net : *chosen)
            net = net >= 0 && net < entries.size() ? netNumberFromEntry(entries[net]) : -1;
    }
    return chosen;
}

bool DocumentController::readLogFrames(canlogs::LogReader& reader, LogFrameSieve& sieve,
                                       std::vector<canlogs::Frame>& buffer)
{
    constexpr size_t batchFrames = 8192;
    const ProgressScale scale = progressScale(int64_t(reader.fileSize()));
    const auto progress = prompt.progress(tr("Read file ..."), tr("Abort!"), scale.steps + 1);
    // Shown from the first look on, at most once per step of the scale.
    for (int64_t shown = 0;; sieve.add(buffer.data(), reader.read(buffer.data(), batchFrames))) {
        const int64_t step = int64_t(reader.bytesConsumed()) / scale.step;
        if (step >= shown) {
            if (!progress->showStep(int(step)))
                return false;
            shown = step + 1;
        }
        if (reader.atEnd())
            return true;
    }
}

QVector<QSharedPointer<PlotCurve>> DocumentController::curvesOfLog(const LogFrameSieve& sieve,
                                                                   const std::vector<uint64_t>& keys)
{
    const int64_t originNs = sieve.firstTimeNs();
    const double runTime = double(sieve.lastTimeNs() - originNs) / 1e9;
    QVector<QSharedPointer<PlotCurve>> made;
    const auto progress = prompt.progress(tr("Convert data ..."), tr("Abort!"), int(keys.size()));
    for (int row = 0; row < int(keys.size()); ++row) {
        if (!progress->showStep(row))
            return {};
        const std::vector<TessFrameT>& frames = sieve.framesOf(keys[size_t(row)]);
        const QSharedPointer<PlotCurve> curve =
            parts.curves->curveFromRow(row, unsigned(frames.size()) + 2, false);
        if (options.antialiasing)
            curve->setAntialiased(true);
        // What a run stores, by the test of its capture, and decodes as its
        // refresh does: the frames that hold the row's value (gathered first
        // where some don't), at their time from the origin in nanoseconds.
        const ValueLayout layout = curve->valueLayout();
        const FrameFit fits(layout);
        const TessFrameT* held = frames.data();
        size_t n = frames.size();
        if (!std::all_of(frames.begin(), frames.end(), fits)) {
            held = curve->frameCopy.get();
            n = size_t(std::copy_if(frames.begin(), frames.end(), curve->frameCopy.get(), fits) - held);
        }
        decodeFramesNewestFirst(layout, held, unsigned(n), uint64_t(originNs), 1000000000,
                                curve->xValues.get() + 1, curve->yValues.get() + 1);
        showSamples(*curve, int(n), runTime);
        made << curve;
    }
    return made;
}

void DocumentController::openCanLog(const QString& fileName)
{
    TablePlotConfig* config = parts.config;
    CurveSet& curves = *parts.curves;
    if (config->rowCount() == 0)
        return;

    // A first look tells the channels, and whether this is a log at all,
    // before anything is asked or read in full.
    canlogs::LogReader reader(QFile::encodeName(fileName).toStdString());
    std::vector<canlogs::Frame> buffer(65536);
    const size_t looked = reader.read(buffer.data(), buffer.size());
    if (looked == 0) {
        const QString error = QFile::decodeName(reader.error().c_str());
        prompt.showError(error.isEmpty() ? tr("Cannot find CAN frames in file %1").arg(fileName) : error);
        return;
    }
    if (hasSamples() &&
        !prompt.askYesNo(tr("The curves hold points. Replace them with the frames of the log?")))
        return;
    std::optional<std::vector<int>> nets = channelNets(reader.channelNames());
    if (!nets)
        return;

    std::vector<uint64_t> keys;
    for (int row = 0; row < config->rowCount(); ++row)
        keys.push_back(LogFrameSieve::key(config->netNumber(row), frameKey(*config, row)));
    LogFrameSieve sieve(keys);
    sieve.mapChannels(std::move(*nets));
    sieve.add(buffer.data(), looked);
    if (!readLogFrames(reader, sieve, buffer))
        return;
    // The new curves take the place of the old ones once all are made.
    const QVector<QSharedPointer<PlotCurve>> made = curvesOfLog(sieve, keys);
    if (made.isEmpty()) {
        parts.plot->replot();
        return;
    }
    curves.clear();
    for (int row = 0; row < made.size(); ++row) {
        curves.append(made[row]);
        parts.description->setCount(row, QString::number(made[row]->pointCount()));
    }
    const bool headerTime = reader.format() != canlogs::LogFormat::Candump;
    parts.run->setTimeOrigin(reader.hasAbsoluteTime() ? windowClockTime(sieve.firstTimeNs(), headerTime)
                                                      : 0.0);
    m_originUtcNs.reset();
    if (reader.hasAbsoluteTime())
        m_originUtcNs = logOriginUtcNs(sieve.firstTimeNs(), headerTime);
    showLoggedRecord(fileName, double(sieve.lastTimeNs() - sieve.firstTimeNs()) / 1e9);

    // Damage ends the log: what came before it is loaded. Channels that
    // first appear after the question have no net.
    const QString error = QFile::decodeName(reader.error().c_str());
    DamageReport report;
    if (!error.isEmpty())
        report.add(
            tr("%1 frames before it were loaded").arg(DamageReport::number(int64_t(sieve.frameCount()))));
    const std::vector<uint64_t>& unmapped = sieve.unmappedFrames();
    for (size_t channel = 0; channel < unmapped.size(); ++channel)
        if (unmapped[channel] > 0)
            report.add(tr("Channel %1 appeared after the channels were chosen; frames left out: %2")
                           .arg(QString::fromStdString(reader.channelNames()[channel]),
                                DamageReport::number(int64_t(unmapped[channel]))));
    reportDamage(
        m_dataDamage,
        report.text(error.isEmpty() ? tr("Not all frames of %1 were loaded:").arg(fileName) : error));
}

bool DocumentController::hasSamples() const
{
    const QVector<QSharedPointer<PlotCurve>>& all = parts.curves->curves();
    return std::any_of(all.begin(), all.end(), [](const QSharedPointer<PlotCurve>& curve) {
        return curve && curve->pointCount() > 1;
    });
}

void DocumentController::exportCsv(const QString& fileName, const CsvExportChoice& choice)
{
    // The samples are read in place, the live point left out.
    std::vector<CsvCurve> names;
    std::vector<CurvePoints> points;
    std::vector<bool> whole;
    TablePlotConfig* config = parts.config;
    for (int row = 0; row < config->rowCount(); ++row) {
        const PlotCurve* curve = parts.curves->at(row);
        if (!curve || (choice.visibleOnly && !parts.description->curveEnabled(row)))
            continue;
        names.push_back({config->curveName(row).toStdString(), config->unitText(row).toStdString()});
        points.push_back({curve->xValues.get() + 1, curve->yValues.get() + 1,
                          size_t(std::max(curve->pointCount() - 1, 0)), curve->scale, curve->offset});
        whole.push_back(hasWholeRaw(*curve));
    }

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        prompt.showError(tr("Cannot write file %1").arg(fileName));
        return;
    }
    // A device or a pipe chosen as the file is never removed.
    const bool removable = !file.isSequential();
    const CsvOptions options{choice.layout, choice.fillWithLast,
                             choice.absoluteTime ? m_originUtcNs : std::optional<int64_t>()};
    // The writer keeps its own buffer.
    CsvWriter writer(std::move(names), options, [&file](const char* data, size_t size) {
        return file.write(data, qint64(size)) == qint64(size);
    });
    bool aborted = false;
    {
        CurvePointMerge merge(points);
        const ProgressScale scale = progressScale(int64_t(merge.total()));
        const auto progress = prompt.progress(tr("Write file ..."), tr("Abort!"), scale.steps + 1);
        // Shown from the first sample on, at most once per step of the scale.
        CsvSample sample;
        for (int64_t shownUpTo = 0; !writer.failed();) {
            const int64_t done = int64_t(merge.delivered());
            if (done >= shownUpTo) {
                const int64_t step = done / scale.step;
                if (!progress->showStep(int(step))) {
                    aborted = true;
                    break;
                }
                shownUpTo = (step + 1) * scale.step;
            }
            if (!merge.next(sample))
                break;
            if (sample.rawKnown && whole[sample.curve])
                sample.raw = wholeRaw(sample, points[sample.curve]);
            writer.add(sample);
        }
    }
    // An aborted writer is dropped without finishing: nothing more goes out.
    const bool written = !aborted && writer.finish();
    file.close();
    if (written && file.error() == QFileDevice::NoError)
        return;
    // Nothing half-written stays.
    if (removable)
        file.remove();
    if (!aborted)
        prompt.showError(tr("Cannot write file %1").arg(fileName));
}

void DocumentController::projectOpen()
{
    const QString name = prompt.openFileName(tr("Open Project"), QStringLiteral("*.vtlprj"));
    if (!name.isEmpty())
        readProjectFile(withProjectExtension(name));
}

void DocumentController::projectSave()
{
    writeProjectFile(m_projectFileName);
}

void DocumentController::projectSaveAs()
{
    const QString name = prompt.saveFileName(tr("Save Project as"), QStringLiteral("*.vtlprj"));
    if (!name.isEmpty())
        writeProjectFile(withProjectExtension(name));
}

void DocumentController::dataSave()
{
    // After an import the name is the recorder's log: never write a data
    // file over it, ask for a name instead.
    if (!m_dataFileName.endsWith(QLatin1String(".vtldat"), Qt::CaseSensitive)) {
        dataSaveAs();
        return;
    }
    writeDataFile(m_dataFileName);
}

void DocumentController::dataSaveAs()
{
    const QString name = prompt.saveFileName(tr("Save Data as"), QStringLiteral("*.vtldat"));
    if (!name.isEmpty())
        writeDataFile(withDataExtension(name));
}

void DocumentController::dataLoad()
{
    const QString name = prompt.openFileName(tr("Load Data"), QStringLiteral("*.vtldat"));
    if (!name.isEmpty())
        readDataFile(withDataExtension(name));
}

void DocumentController::dataOpenLog()
{
    // The format is told by the content, so any file may be chosen.
    if (parts.config->rowCount() == 0)
        return;
    const QString name =
        prompt.openFileName(tr("Open CAN Log"), tr("CAN logs (*.log *.asc *.trc *.blf);;All files (*)"));
    if (!name.isEmpty())
        openCanLog(name);
}

void DocumentController::dataExportCsv()
{
    const std::optional<CsvExportChoice> choice =
        prompt.csvExportChoice(m_csvChoice, m_originUtcNs.has_value());
    if (!choice)
        return;
    m_csvChoice = *choice;
    QString name = prompt.saveFileName(tr("Export CSV"), tr("CSV files (*.csv)"));
    if (name.isEmpty())
        return;
    if (!name.endsWith(QLatin1String(".csv")))
        name += QLatin1String(".csv");
    exportCsv(name, *choice);
}

void DocumentController::dataImport()
{
    const QString vbrlog = QStringLiteral("vbrlog");
    const QString txt = QStringLiteral("txt");
    QString name = prompt.openFileName(tr("Import Data"), QStringLiteral("( *.%1 *.%2 )").arg(vbrlog, txt));
    if (name.isEmpty())
        return;
    if (!name.endsWith(QLatin1Char('.') + vbrlog) && !name.endsWith(QLatin1Char('.') + txt))
        name += QLatin1Char('.') + txt;
    importRecordedData(name);
}
