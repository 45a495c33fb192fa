// The driver's configuration text, as loading it builds the nets, with
// replay lines that play a log written from the input. The input is the
// configuration, a NUL, then the log. The harness keeps to its own folder
// (no '/' in the configuration): there lie the log, a FIFO and a link to
// /dev/zero, which a replay line must refuse without reading. Each virtual
// net then gets a listener for a moment, so that a replay plays its first
// frames and works out when the next ones are due.
#include "config.h"
#include "fuzz_support.h"
#include "replaylog.h"
#include "virtualnet.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <set>

namespace {

// Up to eight ids that the log's frames carry, for the listener's filter.
std::set<uint32_t> idsOfLog(const std::string& path)
{
    std::set<uint32_t> ids;
    tessbus::ReplayLog log(path, tessbus::ReplayLog::kAllChannels);
    tessbus::LogFrame frames[16];
    for (int batch = 0; batch < 4 && ids.size() < 8 && !log.atEnd(); ++batch) {
        const size_t n = log.read(frames, 16);
        for (size_t i = 0; i < n && ids.size() < 8; ++i)
            ids.insert(frames[i].frame.id);
    }
    return ids;
}

void listenBriefly(tessbus::Net& net, const std::set<uint32_t>& ids)
{
    tessbus::OpenParams params;
    params.rxQueue = 64;
    params.rxTimeoutMs = 2;
    std::shared_ptr<tessbus::Handle> handle;
    if (net.open(params, &handle) != TESS_OK)
        return;
    for (const uint32_t id : ids)
        handle->addId(id);
    TessFrameT frames[64];
    const tessbus::ReadTarget target{reinterpret_cast<unsigned char*>(frames), sizeof(TessFrameT)};
    for (int i = 0; i < 2; ++i) {
        int count = 64;
        handle->read(target, &count);
    }
    handle->close();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    const std::string dir = fuzz::scratchDir();
    mkfifo((dir + "/fifo").c_str(), 0600);
    symlink("/dev/zero", (dir + "/zero").c_str());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const uint8_t* const nul = static_cast<const uint8_t*>(std::memchr(data, 0, size));
    const size_t configSize = nul ? size_t(nul - data) : size;
    if (std::memchr(data, '/', configSize))
        return 0;
    // Each net that loading looks at holds a log reader's buffer for a moment.
    const fuzz::AllocationBound bound(size, 16, 16 * 1024 * 1024);
    const std::string log =
        nul ? fuzz::writeScratch("log", nul + 1, size - configSize - 1) : fuzz::writeScratch("log", data, 0);
    const std::string config = fuzz::writeScratch("tessbus.conf", data, configSize);

    tessbus::NetTable nets;
    if (!tessbus::loadConfigFile(config, &nets))
        std::abort();
    const std::set<uint32_t> ids = idsOfLog(log);
    int listened = 0;
    for (const std::shared_ptr<tessbus::Net>& net : nets) {
        if (net && net->isVirtual() && listened++ < 4)
            listenBriefly(*net, ids);
    }
    for (std::shared_ptr<tessbus::Net>& net : nets) {
        if (net)
            net->shutdown();
    }
    return 0;
}
