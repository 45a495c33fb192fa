#include "socketcantraffic.h"

#include "socketcanmapping.h"
#include "socketcannet.h"

#include <linux/can/raw.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace tessbus {

namespace {
constexpr int kBatch = 64;
constexpr int kPollMs = 1000; // how often the thread looks whether it is still wanted
} // namespace

int SocketCanTraffic::sample(TessTraffic* out)
{
    std::lock_guard<std::mutex> lock(mutex_);
    lastAsked_ = Clock::now();
    if (!running_) {
        // A thread that ended has given up the lock for good: joining waits
        // for its last instructions only.
        if (thread_.joinable())
            thread_.join();
        int fd, wake;
        const int opened = openCanSocket(
            ifname_,
            [](int s) {
                // As much room as the kernel grants, so that the thread may fall
                // behind a full bus for a while.
                const int buffer = 1 << 20;
                return setsockopt(s, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer)) == 0;
            },
            &fd, &wake);
        if (opened != TESS_OK)
            return opened;
        try {
            thread_ = std::thread(&SocketCanTraffic::run, this, fd, wake);
        } catch (...) {
            ::close(fd);
            ::close(wake);
            return TESS_ERR_IO;
        }
        socket_ = fd;
        wake_ = wake;
        running_ = true;
    }
    *out = counter_.totals();
    return TESS_OK;
}

void SocketCanTraffic::stop()
{
    std::thread ending;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (running_) {
            const uint64_t one = 1;
            [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof(one));
        }
        ending = std::move(thread_);
    }
    if (ending.joinable())
        ending.join();
}

bool SocketCanTraffic::shouldEnd(bool stopRequested)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!stopRequested && Clock::now() - lastAsked_ < kIdle)
        return false;
    ::close(socket_);
    ::close(wake_);
    socket_ = wake_ = -1;
    running_ = false;
    return true;
}

void SocketCanTraffic::run(int socketFd, int wakeFd)
{
    for (;;) {
        pollfd fds[2] = {{socketFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
        const int ready = poll(fds, 2, kPollMs);
        const bool failed = (ready < 0 && errno != EINTR) || (ready > 0 && !drain(socketFd));
        if (shouldEnd(failed || (ready > 0 && (fds[1].revents & POLLIN))))
            return;
    }
}

bool SocketCanTraffic::drain(int socketFd)
{
    can_frame frames[kBatch];
    iovec vectors[kBatch];
    mmsghdr messages[kBatch];
    for (;;) {
        for (int i = 0; i < kBatch; ++i) {
            vectors[i] = {&frames[i], sizeof(can_frame)};
            messages[i] = mmsghdr{};
            messages[i].msg_hdr.msg_iov = &vectors[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        const int got = recvmmsg(socketFd, messages, kBatch, MSG_DONTWAIT, nullptr);
        if (got < 0) {
            // An interface that went down reports it once (ENETDOWN) and
            // counts on when it comes up again.
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR || errno == ENETDOWN;
        }
        uint64_t bits = 0;
        uint64_t counted = 0;
        for (int i = 0; i < got; ++i) {
            TessFrame f;
            if (messages[i].msg_len < sizeof(can_frame) || !canFrameToTess(frames[i], &f))
                continue;
            bits += frameBitsOnWire(f.id, f.len);
            ++counted;
        }
        counter_.add(counted, bits);
        if (got < kBatch)
            return true;
    }
}

} // namespace tessbus
