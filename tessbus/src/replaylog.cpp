#include "replaylog.h"

#include "idfilter.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace tessbus {

bool toTessFrame(const canlogs::Frame& in, TessFrame* out)
{
    const bool remote = (in.flags & canlogs::FrameRemote) != 0;
    if (in.length > 8 && !remote)
        return false;
    TessFrame f{};
    f.id = in.id | ((in.flags & canlogs::FrameExtended) ? TESS_ID_29BIT : 0u);
    if (!isValidId(f.id))
        return false;
    // A remote frame's length is the requested one; it carries no data.
    f.len = static_cast<uint8_t>(std::min<unsigned>(in.length, 8)) | (remote ? TESS_FRAME_RTR : 0);
    if (!remote)
        std::memcpy(f.data, in.data, in.length);
    *out = f;
    return true;
}

ReplayLog::ReplayLog(const std::string& path, int channel) : path_(path), channel_(channel)
{
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        openError_ = std::strerror(errno);
    else if (!S_ISREG(st.st_mode))
        openError_ = "not a regular file";
    else
        reader_ = std::make_unique<canlogs::LogReader>(path);
}

size_t ReplayLog::read(LogFrame* out, size_t max)
{
    if (atEnd())
        return 0;
    buffer_.resize(std::max(buffer_.size(), max));
    const size_t got = reader_->read(buffer_.data(), max);
    framesRead_ += got;
    size_t n = 0;
    for (size_t i = 0; i < got; ++i) {
        const canlogs::Frame& in = buffer_[i];
        if (channel_ != kAllChannels && in.channel != channel_)
            continue;
        if (toTessFrame(in, &out[n].frame))
            out[n++].timeNs = in.timeNs;
        else if (in.length > 8)
            ++skippedLong_; // an 11-bit id above 0x7FF (BLF can hold one) is left out quietly
    }
    return n;
}

std::string ReplayLog::error() const
{
    if (!reader_)
        return openError_;
    // canlogs names the file first: "PATH, line 7: ..." or "PATH: ...".
    std::string error = reader_->error();
    if (error.compare(0, path_.size(), path_) == 0) {
        error.erase(0, path_.size());
        error.erase(0, error.compare(0, 2, ", ") == 0 || error.compare(0, 2, ": ") == 0 ? 2 : 0);
    }
    return error;
}

LogLook lookForFrames(const std::string& path, int channel, uint64_t limit, std::string* error)
{
    ReplayLog log(path, channel);
    LogFrame frames[64];
    while (!log.atEnd() && log.framesRead() < limit) {
        if (log.read(frames, std::size(frames)) > 0)
            return LogLook::HasFrames;
    }
    *error = log.error();
    if (!log.atEnd())
        return LogLook::HasFrames;
    return error->empty() || log.framesRead() > 0 ? LogLook::NoFrames : LogLook::Unreadable;
}

} // namespace tessbus
