// A recorded log as a replay net plays it: streamed through canlogs (candump,
// ASC, TRC, BLF), one channel of it or all, each frame as a TessFrame.
#pragma once

#include "tessbus.h"

#include <canlogs/canlog_reader.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessbus {

struct LogFrame
{
    int64_t timeNs = 0; // recording time
    TessFrame frame{};
};

// The frame that a net carries for a frame of a log. False for frames that a
// TessFrame can't hold: CAN FD frames of more than 8 data bytes, bad ids.
// CAN FD frames of up to 8 bytes become classic frames.
bool toTessFrame(const canlogs::Frame& in, TessFrame* out);

class ReplayLog
{
public:
    static constexpr int kAllChannels = -1;

    // Opens nothing but a regular file: opening a FIFO would wait for a
    // writer, and a device may never end.
    ReplayLog(const std::string& path, int channel);

    // Reads up to `max` frames of the log and returns those that the net
    // replays, possibly none; at the end of the log or on damage, 0 with
    // atEnd().
    size_t read(LogFrame* out, size_t max);
    bool atEnd() const { return !reader_ || reader_->atEnd(); }
    // What ended the reading early, without the file's name ("line 7: bad
    // data bytes"); empty after a whole log.
    std::string error() const;
    uint64_t framesRead() const { return framesRead_; } // of the log, any channel
    uint64_t skippedLongFrames() const { return skippedLong_; }

private:
    const std::string path_;
    const int channel_;
    std::string openError_;
    std::unique_ptr<canlogs::LogReader> reader_;
    std::vector<canlogs::Frame> buffer_;
    uint64_t framesRead_ = 0;
    uint64_t skippedLong_ = 0;
};

enum class LogLook { HasFrames, NoFrames, Unreadable };

// Whether a log holds a frame that the net replays, reading only up to the
// first one and no further than `limit` frames of the log: a log that gives
// none among them counts as having frames, so that the look stays bounded.
// `error` tells what ended the log early: why it is Unreadable (no frame at
// all), or the damage that cut a log of NoFrames short.
LogLook lookForFrames(const std::string& path, int channel, uint64_t limit, std::string* error);

} // namespace tessbus
