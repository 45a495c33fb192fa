// A net on a Linux CAN interface: one CAN_RAW socket per handle, with a
// kernel filter for the admitted ids and kernel receive timestamps.
#pragma once

#include "net.h"
#include "socketcantraffic.h"

#include <linux/can.h>
#include <sys/socket.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace tessbus {

// A CAN_RAW socket bound to the interface into *fd, with the options that
// `setup` sets before the bind, so that no frame slips past them; and an
// eventfd into *wake, whose write ends the poll of the socket's reader.
int openCanSocket(const std::string& ifname, const std::function<bool(int)>& setup, int* fd, int* wake);

class SocketCanNet : public Net
{
public:
    // Null, with `error` set, when CAN sockets or the interface are missing.
    static std::shared_ptr<SocketCanNet> create(const std::string& ifname, std::string* error);
    // The SocketCAN interfaces of the machine in interface-index order.
    static std::vector<std::string> discoverInterfaces();

    SocketCanNet(const std::string& ifname, NetDescription description);

    int open(const OpenParams& params, std::shared_ptr<Handle>* handle) override;
    // Nanoseconds of CLOCK_REALTIME, the clock of SO_TIMESTAMPNS.
    uint64_t timestampNow() const override;
    int traffic(TessTraffic* out) override { return traffic_.sample(out); }
    void shutdown() override { traffic_.stop(); }

    int applyBaud(const BaudSetting& setting);
    const std::string& interfaceName() const { return ifname_; }

private:
    const std::string ifname_;
    std::mutex baudMutex_; // handles of one net must not change the rate at once
    SocketCanTraffic traffic_;
};

class SocketCanHandle : public Handle
{
public:
    SocketCanHandle(std::shared_ptr<Net> net, int socketFd, int wakeFd, const OpenParams& params);
    ~SocketCanHandle() override;

    int setBaudrate(uint32_t baud, const BaudSetting& setting) override;
    int addId(uint32_t id) override;
    int read(const ReadTarget& target, int* count) override;
    void close() override;

private:
    static constexpr int kBatch = 64;
    // Room for a timestamp and a drop counter.
    static constexpr size_t kControlSize = 64;

    int receive(const ReadTarget& target, int capacity, int* count);

    const int socket_;
    const int wake_; // eventfd that close() writes, so a blocked poll returns
    const int rxTimeoutMs_;
    std::atomic<bool> closed_{false};

    std::mutex filterMutex_;
    std::vector<can_filter> filters_;

    std::mutex readMutex_; // the receive buffers below belong to one read at a time
    std::vector<mmsghdr> messages_;
    std::vector<iovec> vectors_;
    std::vector<can_frame> frames_;
    std::vector<unsigned char> control_;
    uint32_t drops_ = 0; // the kernel's drop counter at the last delivered frame
};

} // namespace tessbus
