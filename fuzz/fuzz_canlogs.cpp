// The logs of other tools (candump, ASC, TRC, BLF), told by their content:
// the bytes go to a file, which a LogReader streams in small batches as the
// driver's replay does.
#include "fuzz_support.h"

#include <canlogs/canlog_reader.h>

#include <cstring>

namespace {

void checkFrame(const canlogs::Frame& f, size_t channels)
{
    const bool fd = f.flags & canlogs::FrameFd;
    if (f.length > (fd ? 64 : 8) || f.channel >= channels || f.id > 0x1FFFFFFFu)
        std::abort();
    for (size_t i = (f.flags & canlogs::FrameRemote) ? 0 : f.length; i < sizeof f.data; ++i) {
        if (f.data[i] != 0)
            std::abort(); // bytes beyond the length are 0
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The readers' buffers: a megabyte of lines, a sample and BLF's two; and
    // the names of numbered channels, of which a frame on channel 65535
    // makes all 65536 (2 MB, and half as much again while the list grows).
    const fuzz::AllocationBound bound(size, 16, 8 * 1024 * 1024);
    const std::string path = fuzz::writeScratch("log", data, size);

    canlogs::LogReader reader(path);
    canlogs::Frame frames[7];
    for (size_t n; (n = reader.read(frames, 7)) > 0;) {
        for (size_t i = 0; i < n; ++i)
            checkFrame(frames[i], reader.channelNames().size());
    }
    if (!reader.atEnd() || reader.read(frames, 7) != 0)
        std::abort();
    return 0;
}
