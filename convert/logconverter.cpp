#include "logconverter.h"

#include "backgroundwriter.h"
#include "csvexport.h"
#include "datafiles.h"
#include "framesorter.h"
#include "logfeed.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <optional>

namespace {

// CSV text to a stdio stream, written behind the conversion's back.
CsvWriter::Output backgroundOutput(BackgroundWriter& writer)
{
    return [&writer](const char* data, size_t size) { return writer.write(data, size); };
}

QString writeError(const QString& path, int errorNumber)
{
    return QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errorNumber)));
}

// Decodes frames in time order into the samples of their signals: `sink`
// gets (time in seconds since the origin, curve, value, raw).
template <typename Sink> class FrameDecoder : public FrameReceiver
{
public:
    FrameDecoder(const SignalGroups& groups, const QVector<ConvertCurve>& curves, const LogFeed& feed,
                 Sink sink)
        : groups(groups), feed(feed), sink(std::move(sink))
    {
        for (const ConvertCurve& c : curves)
            decoders.emplace_back(c.layout);
    }

    void take(const ConvertFrame& frame) override
    {
        const double time = double(frame.timeNs - feed.originNs()) / 1e9;
        for (const uint32_t c : groups.curvesOf(frame.group)) {
            double value = 0.0;
            double raw = 0.0;
            // As in a run: a frame that doesn't hold the value gives no sample.
            if (decoders[c].decode(frame, &value, &raw))
                sink(time, c, value, raw);
        }
    }

private:
    // decodeValue with what a bit layout needs made once rather than per
    // frame; the same arithmetic, so the same values.
    struct Decoder
    {
        explicit Decoder(const ValueLayout& layout)
            : layout(layout), fit(layout), field(layout.bitLayout ? layout.bitLayout->field : BitField())
        {}

        bool decode(const ConvertFrame& frame, double* value, double* raw) const
        {
            if (!layout.bitLayout)
                return decodeValue(layout, frame.len, frame.data, false, value, raw);
            // The frame's 8 bytes are there to read, 0 behind its length.
            if (!fit.holds(frame.len, frame.data))
                return false;
            *raw = rawOfBits(field.extract(frame.data), *layout.bitLayout);
            *value = *raw * layout.scale + layout.offset;
            return true;
        }

        ValueLayout layout;
        FrameFit fit;
        BitExtractor field;
    };

    const SignalGroups& groups;
    const LogFeed& feed;
    Sink sink;
    std::vector<Decoder> decoders;
};

class NoFrames : public FrameReceiver
{
public:
    void take(const ConvertFrame&) override {}
};

class WindowStage : public FrameStage
{
public:
    WindowStage(size_t frames, FrameReceiver& receiver) : window(frames, receiver) {}
    bool push(const ConvertFrame& frame) override { return window.push(frame); }
    ReorderWindow window;
};

class RunStage : public FrameStage
{
public:
    RunStage(size_t frames, const QString& directory)
        : sorter(frames, QFile::encodeName(directory).toStdString())
    {}
    bool push(const ConvertFrame& frame) override { return sorter.push(frame); }
    RunSorter sorter;
};

std::vector<CsvCurve> csvCurves(const QVector<ConvertCurve>& curves)
{
    std::vector<CsvCurve> out;
    for (const ConvertCurve& c : curves)
        out.push_back({c.name.toStdString(), c.unit.toStdString()});
    return out;
}

QString systemTempDirectory()
{
    const QByteArray fromEnvironment = qgetenv("TMPDIR");
    return fromEnvironment.isEmpty() ? QStringLiteral("/tmp") : QFile::decodeName(fromEnvironment);
}

} // namespace

LogConverter::LogConverter(ConvertOptions options)
    : options(std::move(options)), tempDir(systemTempDirectory())
{}

bool LogConverter::loadCurves(QString* error)
{
    const QRegularExpression filter(options.signalPattern);
    QVector<CurveLoad> loads;
    if (!options.projectFile.isEmpty())
        loads.append(loadProjectCurves(options.projectFile, filter));
    for (const QString& dbc : options.dbcFiles) {
        loads.append(loadDbcCurves(dbc, filter));
        if (loads.last().undecodable > 0)
            notes << QStringLiteral("%1: signals left out, as no frame of 8 data bytes holds them: %2")
                         .arg(dbc)
                         .arg(loads.last().undecodable);
    }
    for (const CurveLoad& load : loads) {
        if (!load.error.isEmpty()) {
            *error = load.error;
            return false;
        }
        curves += load.curves;
    }
    if (curves.isEmpty()) {
        *error = QStringLiteral("no signal to convert: none in the DBC files or the project, or none "
                                "whose name matches --signals");
        return false;
    }
    return true;
}

LogConverter::Outcome LogConverter::run(std::FILE* standardOutput)
{
    notes.clear();
    external = false;
    Outcome outcome = options.dataFileInputs ? convertDataFiles(standardOutput) : convertLogs(standardOutput);
    outcome.notes = notes;
    if (outcome.status != 0 && options.outputPath != QLatin1String("-"))
        QFile::remove(options.outputPath);
    return outcome;
}

LogConverter::Pass LogConverter::csvPass(Order order, std::FILE* out, QString* error)
{
    const SignalGroups groups(curves);
    LogFeed feed(groups, options.channelNets, options.utcColumn);
    std::optional<BackgroundWriter> background;
    if (order != Order::CheckOnly)
        background.emplace(out);
    std::optional<CsvWriter> writer;
    // Made at the first sample, when the origin is known, or at the end.
    const auto openWriter = [&] {
        if (writer || order == Order::CheckOnly)
            return;
        CsvOptions csv;
        csv.layout = options.layout;
        csv.fillWithLast = options.fillWithLast;
        if (options.utcColumn)
            csv.utcOriginNs = feed.originNs();
        writer.emplace(csvCurves(curves), csv, backgroundOutput(*background));
    };
    const auto write = [&](double time, uint32_t curve, double value, double raw) {
        openWriter();
        writer->add({time, value, raw, curve, true});
    };
    FrameDecoder<decltype(write)> decoder(groups, curves, feed, write);
    NoFrames nothing;
    FrameReceiver& receiver = order == Order::CheckOnly ? static_cast<FrameReceiver&>(nothing) : decoder;

    std::optional<WindowStage> window;
    std::optional<RunStage> runs;
    FrameStage* stage = nullptr;
    if (order == Order::External)
        stage = &runs.emplace(windowSize, tempDir);
    else
        stage = &window.emplace(windowSize, receiver);

    const int notesBefore = notes.size();
    for (const QString& input : options.inputs) {
        const LogFeed::Result result = feed.read(input, *stage);
        if (feed.longFramesLeftOut() > 0 && order != Order::CheckOnly)
            notes << QStringLiteral("%1: CAN FD frames of more than 8 data bytes left out: %2")
                         .arg(input)
                         .arg(feed.longFramesLeftOut());
        if (result == LogFeed::Result::Failed) {
            *error = feed.error();
            return Pass::Failed;
        }
        if (result == LogFeed::Result::Stopped) {
            if (runs) {
                *error = QString::fromStdString(runs->sorter.error());
                return Pass::Failed;
            }
            // The pass that follows tells again what it leaves out.
            notes.erase(notes.begin() + notesBefore, notes.end());
            return Pass::Late;
        }
    }
    if (window)
        window->window.finish();
    else if (!runs->sorter.finish(receiver)) {
        *error = QString::fromStdString(runs->sorter.error());
        return Pass::Failed;
    }
    if (order == Order::CheckOnly)
        return Pass::Done;
    openWriter();
    writer->finish();
    if (!background->finish()) {
        *error = writeError(options.outputPath, background->errorNumber());
        return Pass::Failed;
    }
    return Pass::Done;
}

LogConverter::Pass LogConverter::collectPass(QString* error)
{
    const SignalGroups groups(curves);
    LogFeed feed(groups, options.channelNets, false);
    SampleCollector collector(curves);
    const auto collect = [&](double time, uint32_t curve, double value, double) {
        collector.add(curve, time, value);
    };
    FrameDecoder<decltype(collect)> decoder(groups, curves, feed, collect);
    // Memory grows with the points anyway: the frames go straight on, and
    // the collector sorts each curve at the end.
    class Straight : public FrameStage
    {
    public:
        explicit Straight(FrameReceiver& receiver) : receiver(receiver) {}
        bool push(const ConvertFrame& frame) override
        {
            receiver.take(frame);
            return true;
        }
        FrameReceiver& receiver;
    } stage(decoder);
    for (const QString& input : options.inputs) {
        if (feed.read(input, stage) == LogFeed::Result::Failed) {
            *error = feed.error();
            return Pass::Failed;
        }
    }
    const double runTime = double(feed.latestNs() - feed.originNs()) / 1e9;
    const QVector<DataCurve> collected = collector.finish(runTime);
    DataFileHeader header;
    header.timeOrigin = feed.wallClockOrigin();
    header.runTime = runTime;
    uint32_t plotSize = 1;
    for (const DataCurve& c : collected)
        plotSize = std::max(plotSize, uint32_t(c.x.size()));
    header.plotSize = plotSize;
    header.axes = {DataAxisRecord::from(ValueAxisSettings::leftDefault()),
                   DataAxisRecord::from(ValueAxisSettings::rightDefault())};
    *error = writeDataOutput(options.outputPath, header, collected);
    return error->isEmpty() ? Pass::Done : Pass::Failed;
}

LogConverter::Outcome LogConverter::convertLogs(std::FILE* standardOutput)
{
    Outcome outcome;
    outcome.status = 1;
    if (!loadCurves(&outcome.error))
        return outcome;
    if (options.output == ConvertOptions::Output::DataFile) {
        if (collectPass(&outcome.error) == Pass::Done)
            outcome.status = 0;
        return outcome;
    }

    const bool toStandardOutput = options.outputPath == QLatin1String("-");
    Pass pass = Pass::Done;
    if (toStandardOutput) {
        pass = csvPass(Order::CheckOnly, nullptr, &outcome.error);
        if (pass == Pass::Failed)
            return outcome;
        external = pass == Pass::Late;
        pass = csvPass(external ? Order::External : Order::Window, standardOutput, &outcome.error);
        // Only a log that grew or changed since the check can be late now.
        if (pass == Pass::Late)
            outcome.error = QStringLiteral("the logs changed while they were read");
    } else {
        for (const Order order : {Order::Window, Order::External}) {
            std::FILE* out = std::fopen(QFile::encodeName(options.outputPath).constData(), "wb");
            if (!out) {
                outcome.error = writeError(options.outputPath, errno);
                return outcome;
            }
            external = order == Order::External;
            pass = csvPass(order, out, &outcome.error);
            if (std::fclose(out) != 0 && pass == Pass::Done) {
                outcome.error = writeError(options.outputPath, errno);
                return outcome;
            }
            if (pass != Pass::Late)
                break;
        }
    }
    if (pass == Pass::Done)
        outcome.status = 0;
    return outcome;
}

LogConverter::Outcome LogConverter::convertDataFiles(std::FILE* standardOutput)
{
    Outcome outcome;
    outcome.status = 1;
    if (options.utcColumn) {
        outcome.error = QStringLiteral("%1: a data file has no calendar date, which --utc needs")
                            .arg(options.inputs.first());
        return outcome;
    }
    const QRegularExpression filter(options.signalPattern);
    QVector<DataCurve> curvesOut;
    DataFileHeader header;
    for (int i = 0; i < options.inputs.size(); ++i) {
        DataInput input = readDataInput(options.inputs[i], filter);
        if (!input.error.isEmpty()) {
            outcome.error = input.error;
            return outcome;
        }
        // The first file's origin is time 0; later files keep their place.
        if (i == 0) {
            header = input.header;
            if (!input.hasAxes)
                header.axes = {DataAxisRecord::from(ValueAxisSettings::leftDefault()),
                               DataAxisRecord::from(ValueAxisSettings::rightDefault())};
        }
        const double shift = input.header.timeOrigin - header.timeOrigin;
        header.runTime = std::max(header.runTime, input.header.runTime + shift);
        for (DataCurve& c : input.curves) {
            for (double& x : c.x)
                x += shift;
            header.plotSize = std::max(header.plotSize, uint32_t(c.x.size()));
            curvesOut.append(std::move(c));
        }
    }

    if (options.output == ConvertOptions::Output::DataFile) {
        outcome.error = writeDataOutput(options.outputPath, header, curvesOut);
        outcome.status = outcome.error.isEmpty() ? 0 : 1;
        return outcome;
    }
    std::vector<CsvCurve> names;
    std::vector<CurvePoints> points;
    for (const DataCurve& c : curvesOut) {
        names.push_back({c.record.name.toStdString(), c.record.unit.toStdString()});
        CurvePoints p;
        // Element 0 is the live point, no sample.
        p.count = c.x.empty() ? 0 : c.x.size() - 1;
        p.x = c.x.data() + 1;
        p.y = c.y.data() + 1;
        c.scaling(p.scale, p.offset);
        points.push_back(p);
    }
    const bool toStandardOutput = options.outputPath == QLatin1String("-");
    std::FILE* out = toStandardOutput ? standardOutput
                                      : std::fopen(QFile::encodeName(options.outputPath).constData(), "wb");
    if (!out) {
        outcome.error = writeError(options.outputPath, errno);
        return outcome;
    }
    CsvOptions csv;
    csv.layout = options.layout;
    csv.fillWithLast = options.fillWithLast;
    BackgroundWriter background(out);
    CsvWriter writer(std::move(names), csv, backgroundOutput(background));
    CurvePointMerge merge(std::move(points));
    CsvSample sample;
    while (merge.next(sample))
        writer.add(sample);
    writer.finish();
    int failure = background.finish() ? 0 : background.errorNumber();
    if (!toStandardOutput && std::fclose(out) != 0 && failure == 0)
        failure = errno;
    if (failure != 0) {
        outcome.error = writeError(options.outputPath, failure);
        return outcome;
    }
    outcome.status = 0;
    return outcome;
}
