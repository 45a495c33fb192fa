#include "socketcannet.h"

#include "canlink.h"
#include "socketcanmapping.h"

#include <linux/can/raw.h>
#include <net/if.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fstream>

namespace tessbus {

namespace {

constexpr int kArphrdCan = 280; // ARPHRD_CAN in /sys/class/net/*/type

int readSysInt(const std::string& ifname, const char* attribute)
{
    std::ifstream in("/sys/class/net/" + ifname + "/" + attribute);
    int value = -1;
    if (!(in >> value))
        return -1;
    return value;
}

} // namespace

std::vector<std::string> SocketCanNet::discoverInterfaces()
{
    std::vector<std::pair<int, std::string>> found;
    if (DIR* dir = opendir("/sys/class/net")) {
        while (const dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            if (readSysInt(name, "type") == kArphrdCan)
                found.emplace_back(readSysInt(name, "ifindex"), name);
        }
        closedir(dir);
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> names;
    for (const auto& f : found)
        names.push_back(f.second);
    return names;
}

std::shared_ptr<SocketCanNet> SocketCanNet::create(const std::string& ifname, std::string* error)
{
    const int probe = socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (probe < 0) {
        *error = std::string("CAN sockets are not available: ") + std::strerror(errno);
        return nullptr;
    }
    ::close(probe);
    if (ifname.empty() || ifname.size() >= IFNAMSIZ || if_nametoindex(ifname.c_str()) == 0) {
        *error = "no network interface '" + ifname + "'";
        return nullptr;
    }
    if (readSysInt(ifname, "type") != kArphrdCan) {
        *error = "'" + ifname + "' is not a CAN interface";
        return nullptr;
    }
    NetDescription description;
    description.boardName = ifname.substr(0, TESS_BOARD_NAME_SIZE - 1);
    description.features = TESS_FEATURE_FC | TESS_FEATURE_29BIT | TESS_FEATURE_TIMESTAMP;
    description.timestampFrequency = 1000000000;
    return std::make_shared<SocketCanNet>(ifname, description);
}

SocketCanNet::SocketCanNet(const std::string& ifname, NetDescription description)
    : Net(std::move(description)), ifname_(ifname), traffic_(ifname)
{}

uint64_t SocketCanNet::timestampNow() const
{
    // The kernel stamps received frames on the real-time clock, in ns.
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

int SocketCanNet::applyBaud(const BaudSetting& setting)
{
    std::lock_guard<std::mutex> lock(baudMutex_);
    return tessbus::applyBaud(ifname_, setting);
}

int openCanSocket(const std::string& ifname, const std::function<bool(int)>& setup, int* fd, int* wake)
{
    *fd = *wake = -1;
    const unsigned index = if_nametoindex(ifname.c_str());
    if (index == 0)
        return TESS_ERR_NO_NET;
    const int s = socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (s < 0)
        return TESS_ERR_NO_NET;
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = static_cast<int>(index);
    if (!setup(s) || bind(s, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(s);
        return TESS_ERR_IO;
    }
    const int w = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (w < 0) {
        ::close(s);
        return TESS_ERR_IO;
    }
    *fd = s;
    *wake = w;
    return TESS_OK;
}

int SocketCanNet::open(const OpenParams& params, std::shared_ptr<Handle>* handle)
{
    int fd, wake;
    const int opened = openCanSocket(
        ifname_,
        [&params](int s) {
            // No filter: the socket receives nothing until an id is admitted.
            const int one = 1;
            // The kernel counts about 1 KiB per queued frame; it doubles the value.
            const int buffer = std::clamp(params.rxQueue, 16, 8192) * 512;
            return setsockopt(s, SOL_CAN_RAW, CAN_RAW_FILTER, nullptr, 0) == 0 &&
                   setsockopt(s, SOL_SOCKET, SO_TIMESTAMPNS, &one, sizeof(one)) == 0 &&
                   setsockopt(s, SOL_SOCKET, SO_RXQ_OVFL, &one, sizeof(one)) == 0 &&
                   setsockopt(s, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer)) == 0;
        },
        &fd, &wake);
    if (opened != TESS_OK)
        return opened;
    *handle = std::make_shared<SocketCanHandle>(shared_from_this(), fd, wake, params);
    return TESS_OK;
}

SocketCanHandle::SocketCanHandle(std::shared_ptr<Net> net, int socketFd, int wakeFd, const OpenParams& params)
    : Handle(std::move(net)), socket_(socketFd), wake_(wakeFd), rxTimeoutMs_(params.rxTimeoutMs),
      messages_(kBatch), vectors_(kBatch), frames_(kBatch), control_(kBatch * kControlSize)
{}

SocketCanHandle::~SocketCanHandle()
{
    // Closed only here, when no read can use them any more, so that a
    // number the kernel gives out again never reaches a stale read.
    ::close(socket_);
    ::close(wake_);
}

int SocketCanHandle::setBaudrate(uint32_t baud, const BaudSetting& setting)
{
    if (closed_.load())
        return TESS_ERR_HANDLE;
    const int result = static_cast<SocketCanNet&>(net()).applyBaud(setting);
    if (result == TESS_OK)
        rememberBaud(baud);
    return result;
}

int SocketCanHandle::addId(uint32_t id)
{
    if (closed_.load())
        return TESS_ERR_HANDLE;
    std::lock_guard<std::mutex> lock(filterMutex_);
    const can_filter filter = filterForId(id);
    for (const can_filter& f : filters_) {
        if (f.can_id == filter.can_id && f.can_mask == filter.can_mask)
            return TESS_OK;
    }
    filters_.push_back(filter);
    if (setsockopt(socket_, SOL_CAN_RAW, CAN_RAW_FILTER, filters_.data(),
                   static_cast<socklen_t>(filters_.size() * sizeof(can_filter))) != 0) {
        filters_.pop_back();
        return TESS_ERR_IO;
    }
    return TESS_OK;
}

int SocketCanHandle::read(const ReadTarget& target, int* count)
{
    std::lock_guard<std::mutex> lock(readMutex_);
    const int capacity = *count;
    for (;;) {
        if (closed_.load())
            return TESS_ERR_HANDLE;
        pollfd fds[2] = {{socket_, POLLIN, 0}, {wake_, POLLIN, 0}};
        net().readerBlocked();
        const int ready = poll(fds, 2, rxTimeoutMs_ > 0 ? rxTimeoutMs_ : -1);
        net().readerUnblocked();
        if (closed_.load() || (fds[1].revents & POLLIN))
            return TESS_ERR_HANDLE;
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return TESS_ERR_IO;
        }
        if (ready == 0)
            return TESS_ERR_TIMEOUT;
        const int result = receive(target, capacity, count);
        // Frames that the driver does not deliver (error frames) leave the
        // read empty: wait on for real ones.
        if (result != TESS_OK || *count > 0)
            return result;
    }
}

int SocketCanHandle::receive(const ReadTarget& target, int capacity, int* count)
{
    int filled = 0;
    while (filled < capacity) {
        const int want = std::min(kBatch, capacity - filled);
        for (int i = 0; i < want; ++i) {
            vectors_[i] = {&frames_[i], sizeof(can_frame)};
            msghdr& h = messages_[i].msg_hdr;
            h = msghdr{};
            h.msg_iov = &vectors_[i];
            h.msg_iovlen = 1;
            h.msg_control = &control_[i * kControlSize];
            h.msg_controllen = kControlSize;
            messages_[i].msg_len = 0;
        }
        const int got =
            recvmmsg(socket_, messages_.data(), static_cast<unsigned>(want), MSG_DONTWAIT, nullptr);
        if (got < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                break;
            if (filled > 0)
                break;
            *count = 0;
            return TESS_ERR_IO;
        }
        for (int i = 0; i < got; ++i) {
            if (messages_[i].msg_len < sizeof(can_frame))
                continue;
            TessFrameT out{};
            if (!canFrameToTess(frames_[i], reinterpret_cast<TessFrame*>(&out)))
                continue;
            msghdr& h = messages_[i].msg_hdr;
            for (cmsghdr* c = CMSG_FIRSTHDR(&h); c; c = CMSG_NXTHDR(&h, c)) {
                if (c->cmsg_level != SOL_SOCKET)
                    continue;
                if (c->cmsg_type == SO_TIMESTAMPNS) {
                    // Seconds and nanoseconds, each a long.
                    long stamp[2];
                    std::memcpy(stamp, CMSG_DATA(c), sizeof(stamp));
                    out.timestamp =
                        static_cast<uint64_t>(stamp[0]) * 1000000000u + static_cast<uint64_t>(stamp[1]);
                } else if (c->cmsg_type == SO_RXQ_OVFL) {
                    uint32_t drops;
                    std::memcpy(&drops, CMSG_DATA(c), sizeof(drops));
                    out.lost = static_cast<uint8_t>(std::min<uint32_t>(drops - drops_, 255));
                    drops_ = drops;
                }
            }
            target.put(filled++, out);
        }
        if (got < want)
            break;
    }
    *count = filled;
    return TESS_OK;
}

void SocketCanHandle::close()
{
    closed_.store(true);
    const uint64_t one = 1;
    // A full counter still wakes the reader; nothing to do about a failure.
    [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof(one));
}

} // namespace tessbus
