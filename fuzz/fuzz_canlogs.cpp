// The logs of other tools (candump, ASC, TRC, BLF), told by their content:
// the bytes go to a file, which a LogReader streams in small batches as the
// driver's replay does, and then readLog reads whole as the converter does.
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
    // The readers' buffers: a megabyte of lines, a sample and BLF's two.
    const fuzz::AllocationBound bound(size, 16, 4 * 1024 * 1024);
    const std::string path = fuzz::writeScratch("log", data, size);

    size_t streamed = 0;
    {
        canlogs::LogReader reader(path);
        canlogs::Frame frames[7];
        for (size_t n; (n = reader.read(frames, 7)) > 0;) {
            for (size_t i = 0; i < n; ++i)
                checkFrame(frames[i], reader.channelNames().size());
            streamed += n;
        }
        if (!reader.atEnd() || reader.read(frames, 7) != 0)
            std::abort();
    }

    const canlogs::LogContents whole = canlogs::readLog(path);
    if (whole.frames.size() != streamed)
        std::abort(); // the batch size changes nothing
    for (const canlogs::Frame& f : whole.frames)
        checkFrame(f, whole.channelNames.size());
    return 0;
}
