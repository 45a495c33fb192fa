#include "virtualnet.h"

#include "idfilter.h"
#include "queuehandle.h"

#include <algorithm>
#include <cstring>

namespace tessbus {

VirtualNet::VirtualNet(NetDescription description)
    : Net(std::move(description)), clock_(this->description().timestampFrequency)
{}

VirtualNet::~VirtualNet()
{
    shutdown();
}

int VirtualNet::open(const OpenParams& params, std::shared_ptr<Handle>* handle)
{
    auto queue = std::make_shared<QueueHandle>(shared_from_this(), bus_, params);
    bus_.attach(queue);
    *handle = queue;
    return TESS_OK;
}

void VirtualNet::shutdown()
{
    bus_.stop();
    source_.reset();
}

bool isValidInjectedFrame(const TessFrame& frame)
{
    return isValidId(frame.id) && (frame.len & TESS_FRAME_LEN_MASK) <= 8 &&
           (frame.len & ~(TESS_FRAME_LEN_MASK | TESS_FRAME_RTR)) == 0;
}

int VirtualNet::inject(const TessFrame* frames, int count)
{
    for (int i = 0; i < count; ++i) {
        if (!isValidInjectedFrame(frames[i]))
            return TESS_ERR_PARAM;
    }
    const uint64_t stamp = clock_.now();
    // Converted in slices on the stack: injection allocates nothing.
    constexpr int kSlice = 256;
    TessFrameT slice[kSlice];
    for (int done = 0; done < count; done += kSlice) {
        const int n = std::min(kSlice, count - done);
        for (int i = 0; i < n; ++i) {
            std::memcpy(&slice[i], &frames[done + i], sizeof(TessFrame));
            slice[i].timestamp = stamp;
        }
        bus_.deliver(slice, n);
    }
    return TESS_OK;
}

int VirtualNet::injectT(const TessFrameT* frames, int count)
{
    for (int i = 0; i < count; ++i) {
        TessFrame head;
        std::memcpy(&head, &frames[i], sizeof(head));
        if (!isValidInjectedFrame(head))
            return TESS_ERR_PARAM;
    }
    bus_.deliver(frames, count);
    return TESS_OK;
}

} // namespace tessbus
