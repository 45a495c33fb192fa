// The C interface: checks arguments, finds the handle or net and hands the
// call to the backend. No exception leaves the library.
#include "idfilter.h"
#include "registry.h"
#include "tessbus.h"
#include "tessbus_test.h"
#include "virtualnet.h"

#include <chrono>
#include <cstring>
#include <new>
#include <thread>

using namespace tessbus;

namespace {

constexpr int kMaxQueue = 1 << 20;

template <typename Call> int guarded(Call call)
{
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return TESS_ERR_NO_MEMORY;
    } catch (...) {
        return TESS_ERR_IO;
    }
}

int readFrames(int handle, void* frames, size_t stride, int* count)
{
    if (!count)
        return TESS_ERR_PARAM;
    const int capacity = *count;
    *count = 0;
    if (!frames || capacity < 1)
        return TESS_ERR_PARAM;
    const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
    if (!h)
        return TESS_ERR_HANDLE;
    if (h->net().failures().shouldFail(TESS_TEST_FAIL_READ))
        return TESS_ERR_INJECTED;
    int n = capacity;
    const int result = h->read(ReadTarget{static_cast<unsigned char*>(frames), stride}, &n);
    *count = result == TESS_OK ? n : 0;
    return result;
}

std::shared_ptr<VirtualNet> virtualNet(int net, int* error)
{
    const std::shared_ptr<Net> n = Registry::instance().net(net);
    *error = !n ? TESS_ERR_NO_NET : !n->isVirtual() ? TESS_ERR_NOT_SUPPORTED : TESS_OK;
    return *error == TESS_OK ? std::static_pointer_cast<VirtualNet>(n) : nullptr;
}

} // namespace

extern "C" {

TESSBUS_API int tessOpen(int net, int /*flags*/, int /*txQueue*/, int rxQueue, int /*txTimeout*/,
                         int rxTimeout, int* handle)
{
    return guarded([&] {
        if (!handle)
            return TESS_ERR_PARAM;
        *handle = -1;
        if (net < 0 || net >= TESS_MAX_NETS)
            return TESS_ERR_NO_NET;
        if (rxQueue < 1 || rxQueue > kMaxQueue || rxTimeout < 0)
            return TESS_ERR_PARAM;
        OpenParams params;
        params.rxQueue = rxQueue;
        params.rxTimeoutMs = rxTimeout;
        return Registry::instance().open(net, params, handle);
    });
}

TESSBUS_API int tessClose(int handle)
{
    return guarded([&] { return Registry::instance().close(handle); });
}

TESSBUS_API int tessStatus(int handle, TessStatus* status)
{
    return guarded([&] {
        if (!status)
            return TESS_ERR_PARAM;
        const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
        if (!h)
            return TESS_ERR_HANDLE;
        if (h->net().failures().shouldFail(TESS_TEST_FAIL_STATUS))
            return TESS_ERR_INJECTED;
        const NetDescription& d = h->net().description();
        TessStatus s{};
        s.hardwareVersion = d.hardwareVersion;
        s.firmwareVersion = d.firmwareVersion;
        s.driverVersion = 0x0100;
        s.libraryVersion = 0x0100;
        s.boardStatus = 0;
        std::strncpy(s.boardName, d.boardName.c_str(), TESS_BOARD_NAME_SIZE - 1);
        s.features = d.features;
        *status = s;
        return TESS_OK;
    });
}

TESSBUS_API int tessIoctl(int handle, int code, void* out)
{
    return guarded([&] {
        if (!out)
            return TESS_ERR_PARAM;
        const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
        if (!h)
            return TESS_ERR_HANDLE;
        Net& net = h->net();
        if (net.failures().shouldFail(TESS_TEST_FAIL_IOCTL))
            return TESS_ERR_INJECTED;
        if (code == TESS_IOCTL_GET_TRAFFIC) {
            TessTraffic traffic;
            const int result = net.traffic(&traffic);
            if (result == TESS_OK)
                std::memcpy(out, &traffic, sizeof(traffic));
            return result;
        }
        if ((code != TESS_IOCTL_GET_TIMESTAMP_FREQ && code != TESS_IOCTL_GET_TIMESTAMP) ||
            !net.hasTimestamps())
            return TESS_ERR_NOT_SUPPORTED;
        const uint64_t value =
            code == TESS_IOCTL_GET_TIMESTAMP ? net.timestampNow() : net.description().timestampFrequency;
        std::memcpy(out, &value, sizeof(value)); // the caller's buffer need not be aligned
        return TESS_OK;
    });
}

TESSBUS_API int tessSetBaudrate(int handle, uint32_t baud)
{
    return guarded([&] {
        const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
        if (!h)
            return TESS_ERR_HANDLE;
        BaudSetting setting;
        if (!parseBaud(baud, &setting))
            return TESS_ERR_PARAM;
        if (h->net().failures().shouldFail(TESS_TEST_FAIL_SET_BAUDRATE))
            return TESS_ERR_INJECTED;
        return h->setBaudrate(baud, setting);
    });
}

TESSBUS_API int tessIdAdd(int handle, int32_t id)
{
    return guarded([&] {
        const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
        if (!h)
            return TESS_ERR_HANDLE;
        const auto raw = static_cast<uint32_t>(id);
        if (!isValidId(raw))
            return TESS_ERR_PARAM;
        if ((raw & TESS_ID_29BIT) && !(h->net().description().features & TESS_FEATURE_29BIT))
            return TESS_ERR_NOT_SUPPORTED;
        if (h->net().failures().shouldFail(TESS_TEST_FAIL_ID_ADD))
            return TESS_ERR_INJECTED;
        return h->addId(raw);
    });
}

TESSBUS_API int tessRead(int handle, TessFrame* frames, int* count, void* /*reserved*/)
{
    return guarded([&] { return readFrames(handle, frames, sizeof(TessFrame), count); });
}

TESSBUS_API int tessReadT(int handle, TessFrameT* frames, int* count, void* /*reserved*/)
{
    return guarded([&] { return readFrames(handle, frames, sizeof(TessFrameT), count); });
}

TESSBUS_API int tessTestReload(void)
{
    return guarded([] {
        Registry::instance().reload();
        return TESS_OK;
    });
}

TESSBUS_API int tessTestInject(int net, const TessFrame* frames, int count)
{
    return guarded([&] {
        if (!frames || count < 1)
            return TESS_ERR_PARAM;
        int error;
        const auto n = virtualNet(net, &error);
        return n ? n->inject(frames, count) : error;
    });
}

TESSBUS_API int tessTestInjectT(int net, const TessFrameT* frames, int count)
{
    return guarded([&] {
        if (!frames || count < 1)
            return TESS_ERR_PARAM;
        int error;
        const auto n = virtualNet(net, &error);
        return n ? n->injectT(frames, count) : error;
    });
}

TESSBUS_API int tessTestSetTimestamp(int net, uint64_t counter)
{
    return guarded([&] {
        int error;
        const auto n = virtualNet(net, &error);
        if (!n)
            return error;
        n->pinTimestamp(counter);
        return TESS_OK;
    });
}

TESSBUS_API int tessTestSetFailure(int net, int op, int times)
{
    return guarded([&] {
        const std::shared_ptr<Net> n = Registry::instance().net(net);
        if (!n)
            return TESS_ERR_NO_NET;
        return n->failures().set(op, times) ? TESS_OK : TESS_ERR_PARAM;
    });
}

TESSBUS_API int tessTestOpenHandles(int net)
{
    try {
        return Registry::instance().openHandles(net);
    } catch (...) {
        return -1;
    }
}

TESSBUS_API int tessTestHandleBaud(int handle, uint32_t* baud)
{
    return guarded([&] {
        if (!baud)
            return TESS_ERR_PARAM;
        const std::shared_ptr<Handle> h = Registry::instance().handle(handle);
        if (!h)
            return TESS_ERR_HANDLE;
        *baud = h->lastBaud();
        return TESS_OK;
    });
}

TESSBUS_API int tessTestWaitForReaders(int net, int readers, int timeoutMs)
{
    return guarded([&] {
        const std::shared_ptr<Net> n = Registry::instance().net(net);
        if (!n)
            return TESS_ERR_NO_NET;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (n->blockedReaders() < readers) {
            if (std::chrono::steady_clock::now() >= deadline)
                return TESS_ERR_TIMEOUT;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return TESS_OK;
    });
}

} // extern "C"
