#ifndef LOGFEED_H
#define LOGFEED_H

#include "convertcurves.h"
#include "framesorter.h"

#include <QMap>
#include <QString>
#include <QVector>

#include <cstdint>
#include <unordered_map>
#include <vector>

// The signals that listen to each net and id, as groups: a frame carries
// the group of its net and id, so that after sorting it goes straight to
// its signals.
class SignalGroups
{
public:
    explicit SignalGroups(const QVector<ConvertCurve>& curves);

    static constexpr uint32_t none = UINT32_MAX;
    // The group of a net and an id (with TESS_ID_29BIT), none when no signal listens.
    uint32_t find(int net, uint32_t canId) const
    {
        if (!(canId & ~uint32_t(standardIds - 1))) {
            const auto& table = standard[size_t(net & 0xFF)];
            return table.empty() ? none : table[canId];
        }
        const auto it = others.find(uint64_t(net) << 32 | canId);
        return it == others.end() ? none : it->second;
    }
    const std::vector<uint32_t>& curvesOf(uint32_t group) const { return groups[group]; }

private:
    static constexpr uint32_t standardIds = 0x800;
    std::vector<std::vector<uint32_t>> groups;     // curve indexes
    std::vector<std::vector<uint32_t>> standard;   // by net, then by 11-bit id
    std::unordered_map<uint64_t, uint32_t> others; // net << 32 | id
};

// Where read frames go; false stops the reading.
class FrameStage
{
public:
    virtual ~FrameStage() = default;
    virtual bool push(const ConvertFrame& frame) = 0;
};

// Reads the inputs one after the other onto one time line and hands on the
// frames that a signal listens to. Time 0 (the origin) is the first frame of
// the first input, on any channel. Logs with calendar times keep them as
// long as every log before had them too; any other log is placed so that its
// first frame comes at the latest time read before it. Channels go to nets by the map (empty:
// all to net 0, otherwise channels not in it are left out); CAN FD frames
// of more than 8 data bytes are left out, as no net carries them.
class LogFeed
{
public:
    enum class Result { Done, Stopped, Failed };

    LogFeed(const SignalGroups& groups, const QMap<int, int>& channelNets, bool needCalendar);

    // Candump, ASC, TRC and BLF by their content; .vbrlog and .txt that is
    // none of those as the recorder's logs.
    Result read(const QString& path, FrameStage& stage);
    // "FILE, line N: ...", "FILE, byte N: ..." or "FILE: ..." after Failed.
    const QString& error() const { return failure; }
    // Frames of more than 8 data bytes left out of the last input.
    uint64_t longFramesLeftOut() const { return longFrames; }

    bool hasOrigin() const { return started; }
    int64_t originNs() const { return origin; }
    int64_t latestNs() const { return latest; }
    // Whether the time line counts from the Unix epoch.
    bool calendar() const { return onCalendar; }
    // The origin on the window's clock (day of the year times 86400 plus the
    // seconds of the local day): for calendar times that day and time, for
    // the recorder's logs the time of day alone, else 0.
    double wallClockOrigin() const { return wallOrigin; }

private:
    Result readCanlogs(const QString& path, FrameStage& stage);
    Result readRecorderLog(const QString& path, bool binary, FrameStage& stage);
    // Places an input at its first frame; false when it can't be (--utc
    // without calendar times).
    bool startInput(const QString& path, int64_t firstNs, bool hasCalendar, double recorderOrigin);
    int netOf(int channel) const;
    Result fail(const QString& message);

    const SignalGroups& groups;
    std::vector<int> channelNet; // by channel; -1 left out
    const bool allOnNetZero;
    const bool needCalendar;
    bool started = false;
    bool onCalendar = false;
    int64_t origin = 0;
    int64_t latest = 0;
    int64_t offset = 0; // of the input being read
    double wallOrigin = 0.0;
    uint64_t longFrames = 0;
    QString failure;
};

#endif // LOGFEED_H
