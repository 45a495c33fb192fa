#include "logfeed.h"

#include "canlog.h"
#include "wallclock.h"

#include <canlogs/canlog_reader.h>

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

constexpr size_t batchFrames = 4096;

// Parses a log on a thread of its own, a few batches ahead of the
// conversion, which then costs the time of the slower of the two.
class ReadAhead
{
public:
    struct Batch
    {
        std::vector<canlogs::Frame> frames = std::vector<canlogs::Frame>(batchFrames);
        size_t count = 0;
        bool absoluteTime = false; // as the reader knew it after this batch
    };

    explicit ReadAhead(canlogs::LogReader& reader) : reader(reader), thread([this] { parse(); }) {}

    ~ReadAhead()
    {
        reader.stop();
        {
            const std::lock_guard<std::mutex> lock(mutex);
            quit = true;
        }
        changed.notify_all();
        thread.join();
    }

    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // The next batch, null at the end. It stays valid until the next call.
    const Batch* next()
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (taken) {
            filled.erase(filled.begin());
            ++freeBatches;
            taken = false;
            changed.notify_all();
        }
        changed.wait(lock, [this] { return !filled.empty() || ended; });
        if (filled.empty())
            return nullptr;
        taken = true;
        return &batches[filled.front()];
    }

private:
    static constexpr size_t depth = 4;

    void parse()
    {
        for (size_t slot = 0;; slot = (slot + 1) % depth) {
            {
                std::unique_lock<std::mutex> lock(mutex);
                changed.wait(lock, [this] { return freeBatches > 0 || quit; });
                if (quit)
                    break;
                --freeBatches;
            }
            Batch& batch = batches[slot];
            batch.count = reader.read(batch.frames.data(), batch.frames.size());
            batch.absoluteTime = reader.hasAbsoluteTime();
            const std::lock_guard<std::mutex> lock(mutex);
            if (batch.count == 0)
                break;
            filled.push_back(slot);
            changed.notify_all();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        changed.notify_all();
    }

    canlogs::LogReader& reader;
    Batch batches[depth];
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<size_t> filled; // slots in the order read
    size_t freeBatches = depth;
    bool taken = false;
    bool ended = false;
    bool quit = false;
    std::thread thread; // last: starts when everything else is made
};

int64_t floorDiv(int64_t a, int64_t b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

} // namespace

SignalGroups::SignalGroups(const QVector<ConvertCurve>& curves) : standard(256)
{
    for (int c = 0; c < curves.size(); ++c) {
        const ConvertCurve& curve = curves[c];
        const int net = curve.net & 0xFF;
        uint32_t group = find(net, curve.canId);
        if (group == none) {
            group = uint32_t(groups.size());
            groups.emplace_back();
            if (curve.canId < standardIds) {
                auto& table = standard[size_t(net)];
                if (table.empty())
                    table.assign(standardIds, none);
                table[curve.canId] = group;
            } else {
                others.emplace(uint64_t(net) << 32 | curve.canId, group);
            }
        }
        groups[group].push_back(uint32_t(c));
    }
}

LogFeed::LogFeed(const SignalGroups& groups, const QMap<int, int>& channelNets, bool needCalendar)
    : groups(groups), allOnNetZero(channelNets.isEmpty()), needCalendar(needCalendar)
{
    for (auto it = channelNets.cbegin(); it != channelNets.cend(); ++it) {
        if (it.key() >= int(channelNet.size()))
            channelNet.resize(size_t(it.key()) + 1, -1);
        channelNet[size_t(it.key())] = it.value();
    }
}

int LogFeed::netOf(int channel) const
{
    if (allOnNetZero)
        return 0;
    return channel < int(channelNet.size()) ? channelNet[size_t(channel)] : -1;
}

LogFeed::Result LogFeed::fail(const QString& message)
{
    failure = message;
    return Result::Failed;
}

bool LogFeed::startInput(const QString& path, int64_t firstNs, bool hasCalendar, double recorderOrigin)
{
    if (!started) {
        started = true;
        onCalendar = hasCalendar;
        origin = firstNs;
        latest = firstNs;
        offset = 0;
        if (hasCalendar) {
            const QDateTime local = QDateTime::fromMSecsSinceEpoch(floorDiv(firstNs, 1000000));
            wallOrigin = wallClockSecondsAt(local.date(), local.time());
        } else {
            wallOrigin = recorderOrigin;
        }
    } else if (onCalendar && hasCalendar) {
        offset = 0;
    } else {
        onCalendar = false;
        offset = latest - firstNs;
    }
    if (needCalendar && !onCalendar) {
        failure = QStringLiteral("%1: this log has no calendar times, which --utc needs").arg(path);
        return false;
    }
    return true;
}

LogFeed::Result LogFeed::read(const QString& path, FrameStage& stage)
{
    longFrames = 0;
    if (path.endsWith(QLatin1String(".vbrlog")))
        return readRecorderLog(path, true, stage);
    if (path.endsWith(QLatin1String(".txt"))) {
        // A candump or ASC log may end in .txt too: the content decides first.
        const canlogs::LogReader probe(QFile::encodeName(path).toStdString());
        if (probe.format() == canlogs::LogFormat::Unknown)
            return readRecorderLog(path, false, stage);
    }
    return readCanlogs(path, stage);
}

LogFeed::Result LogFeed::readCanlogs(const QString& path, FrameStage& stage)
{
    canlogs::LogReader reader(QFile::encodeName(path).toStdString());
    bool first = true;
    {
        ReadAhead ahead(reader);
        while (const ReadAhead::Batch* batch = ahead.next()) {
            for (size_t i = 0; i < batch->count; ++i) {
                const canlogs::Frame& in = batch->frames[i];
                // Every frame counts for the time line, whatever its channel.
                if (first) {
                    if (!startInput(path, in.timeNs, batch->absoluteTime, 0.0))
                        return Result::Failed;
                    first = false;
                }
                const int64_t t = in.timeNs + offset;
                latest = std::max(latest, t);
                const int net = netOf(in.channel);
                if (net < 0)
                    continue;
                const bool remote = (in.flags & canlogs::FrameRemote) != 0;
                if (in.length > 8 && !remote) {
                    ++longFrames;
                    continue;
                }
                const uint32_t canId =
                    in.id | ((in.flags & canlogs::FrameExtended) ? uint32_t(TESS_ID_29BIT) : 0u);
                const uint32_t group = groups.find(net, canId);
                if (group == SignalGroups::none)
                    continue;
                ConvertFrame frame;
                frame.timeNs = t;
                frame.group = group;
                // A remote frame's length is the requested one; it carries no data.
                frame.len = uint8_t(std::min<unsigned>(in.length, 8)) | (remote ? TESS_FRAME_RTR : 0);
                if (!remote)
                    std::memcpy(frame.data, in.data, 8);
                if (!stage.push(frame))
                    return Result::Stopped;
            }
        }
    }
    if (!reader.error().empty())
        return fail(QString::fromStdString(reader.error()));
    return Result::Done;
}

LogFeed::Result LogFeed::readRecorderLog(const QString& path, bool binary, FrameStage& stage)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("%1: %2").arg(path, file.errorString()));
    // The recorder's logs are small: read whole, as the window's import does.
    const CanLog log = binary ? readBinaryCanLog(&file, progressScale(file.size()), nullptr)
                              : readTextCanLog(&file, progressScale(file.size()), nullptr);
    if (log.frames.empty())
        return fail(QStringLiteral("%1: no CAN frames found").arg(path));
    const auto nanoseconds = [](double seconds) { return std::llround(seconds * 1e9); };
    if (!startInput(path, nanoseconds(log.frames.front().time), false, log.timeOrigin))
        return Result::Failed;
    // The recorder logs one channel.
    const int net = netOf(0);
    for (const ImportFrame& in : log.frames) {
        const int64_t t = nanoseconds(in.time) + offset;
        latest = std::max(latest, t);
        if (net < 0)
            continue;
        const uint32_t group = groups.find(net, in.frame.id);
        if (group == SignalGroups::none)
            continue;
        ConvertFrame frame;
        frame.timeNs = t;
        frame.group = group;
        frame.len = in.frame.len;
        std::memcpy(frame.data, in.frame.data, 8);
        if (!stage.push(frame))
            return Result::Stopped;
    }
    return Result::Done;
}
