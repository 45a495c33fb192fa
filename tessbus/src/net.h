// The two abstractions every backend implements: a net (one CAN interface)
// and a handle (one reader on it, with its own queue and id filter).
#pragma once

#include "bittiming.h"
#include "tessbus.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace tessbus {

// What tessStatus and the timestamp ioctls report about a net.
struct NetDescription
{
    std::string boardName;
    uint16_t features = TESS_FEATURE_FC | TESS_FEATURE_29BIT | TESS_FEATURE_TIMESTAMP;
    uint16_t hardwareVersion = 0x0100;
    uint16_t firmwareVersion = 0x0100;
    uint64_t timestampFrequency = 1000000;
};

// Parameters of tessOpen that the backends use.
struct OpenParams
{
    int rxQueue = 1;
    int rxTimeoutMs = 0; // 0: reads wait without limit
};

// Where a read puts its frames: TessFrame records (16 bytes) for tessRead,
// TessFrameT records (24 bytes) for tessReadT. A TessFrameT begins like a
// TessFrame, so the first `stride` bytes of the internal record are copied.
struct ReadTarget
{
    unsigned char* base;
    size_t stride;

    void put(int index, const TessFrameT& frame) const;
};

// Failure injection of the test interface, per net and call kind.
class FailureInjection
{
public:
    static constexpr int kOps = 7; // TESS_TEST_FAIL_* run from 1 to 6

    bool set(int op, int times);
    // True when this call is to fail; counts the failure down.
    bool shouldFail(int op);

private:
    std::mutex mutex_;
    std::array<int, kOps> remaining_{};
    std::atomic<bool> any_{false}; // spares the lock on every read
};

class Net;

class Handle
{
public:
    explicit Handle(std::shared_ptr<Net> net) : net_(std::move(net)) {}
    virtual ~Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    Net& net() const { return *net_; }

    // The caller has validated `baud` into `setting`; backends apply it and
    // remember `baud` on success.
    virtual int setBaudrate(uint32_t baud, const BaudSetting& setting) = 0;
    // `id` is validated: 11-bit, or 29-bit with TESS_ID_29BIT.
    virtual int addId(uint32_t id) = 0;
    // *count is 1.. on entry.
    virtual int read(const ReadTarget& target, int* count) = 0;
    // Makes a blocked read and every later call fail; called once.
    virtual void close() = 0;

    uint32_t lastBaud() const { return lastBaud_.load(); }

protected:
    void rememberBaud(uint32_t baud) { lastBaud_.store(baud); }

private:
    std::shared_ptr<Net> net_;
    std::atomic<uint32_t> lastBaud_{0};
};

class Net : public std::enable_shared_from_this<Net>
{
public:
    explicit Net(NetDescription description) : description_(std::move(description)) {}
    virtual ~Net() = default;
    Net(const Net&) = delete;
    Net& operator=(const Net&) = delete;

    const NetDescription& description() const { return description_; }
    bool hasTimestamps() const { return (description_.features & TESS_FEATURE_TIMESTAMP) != 0; }

    virtual int open(const OpenParams& params, std::shared_ptr<Handle>* handle) = 0;
    // The counter that frame timestamps are taken from.
    virtual uint64_t timestampNow() const = 0;
    // Frames and bits that came onto the net, for TESS_IOCTL_GET_TRAFFIC.
    virtual int traffic(TessTraffic* out) = 0;
    // Ends the net's threads; its handles are closed already.
    virtual void shutdown() {}
    // Virtual nets accept injected frames; others return false.
    virtual bool isVirtual() const { return false; }

    FailureInjection& failures() { return failures_; }

    // Reads blocked on an empty queue, for tessTestWaitForReaders.
    void readerBlocked() { ++blockedReaders_; }
    void readerUnblocked() { --blockedReaders_; }
    int blockedReaders() const { return blockedReaders_.load(); }

private:
    const NetDescription description_;
    FailureInjection failures_;
    std::atomic<int> blockedReaders_{0};
};

} // namespace tessbus
