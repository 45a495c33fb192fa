// The traffic counters of a SocketCAN interface. The handles' sockets see
// only the ids they admit, so counting needs a CAN_RAW socket of its own
// without filter and a thread that reads it. Both exist only while somebody
// asks for the counters: they end when nobody has asked for kIdle, so an
// interface that nobody watches costs nothing. Meanwhile the counters
// pause, and go on from where they stood when asked again.
#pragma once

#include "traffic.h"

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

namespace tessbus {

class SocketCanTraffic
{
public:
    static constexpr std::chrono::seconds kIdle{10};

    explicit SocketCanTraffic(std::string ifname) : ifname_(std::move(ifname)) {}
    ~SocketCanTraffic() { stop(); }
    SocketCanTraffic(const SocketCanTraffic&) = delete;
    SocketCanTraffic& operator=(const SocketCanTraffic&) = delete;

    // Starts counting unless it runs; the totals so far.
    int sample(TessTraffic* out);
    void stop();

private:
    using Clock = std::chrono::steady_clock;

    void run(int socketFd, int wakeFd);
    // Counts what the socket holds; false when the socket failed for good.
    bool drain(int socketFd);
    // Ends the thread's run when asked to stop or left idle; closes the
    // descriptors then.
    bool shouldEnd(bool stopRequested);

    const std::string ifname_;
    TrafficCounter counter_;

    std::mutex mutex_; // guards what follows
    std::thread thread_;
    bool running_ = false;
    int socket_ = -1;
    int wake_ = -1; // eventfd that stop() writes, so the thread's poll returns
    Clock::time_point lastAsked_;
};

} // namespace tessbus
