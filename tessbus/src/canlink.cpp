#include "canlink.h"

#include "socketcanmapping.h"
#include "tessbus.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#ifdef TESSBUS_HAVE_LIBSOCKETCAN
#include <libsocketcan.h>
#endif

namespace tessbus {

namespace {

// Closes a descriptor when it goes out of scope.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

std::string nestedKind(const rtattr* linkInfo)
{
    int len = RTA_PAYLOAD(linkInfo);
    for (const rtattr* a = static_cast<const rtattr*>(RTA_DATA(linkInfo)); RTA_OK(a, len);
         a = RTA_NEXT(a, len)) {
        if (a->rta_type == IFLA_INFO_KIND) {
            const char* text = static_cast<const char*>(RTA_DATA(a));
            return std::string(text, strnlen(text, RTA_PAYLOAD(a)));
        }
    }
    return {};
}

} // namespace

LinkInfo queryLink(const std::string& ifname)
{
    LinkInfo info;
    const unsigned index = if_nametoindex(ifname.c_str());
    if (index == 0)
        return info;
    FileDescriptor fd(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (fd.get() < 0)
        return info;

    struct
    {
        nlmsghdr header;
        ifinfomsg link;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(ifinfomsg));
    request.header.nlmsg_type = RTM_GETLINK;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.header.nlmsg_seq = 1;
    request.link.ifi_family = AF_UNSPEC;
    request.link.ifi_index = static_cast<int>(index);
    if (send(fd.get(), &request, request.header.nlmsg_len, 0) < 0)
        return info;

    alignas(nlmsghdr) char buffer[16384];
    const ssize_t received = recv(fd.get(), buffer, sizeof(buffer), 0);
    if (received <= 0)
        return info;
    int remaining = static_cast<int>(received);
    for (const nlmsghdr* h = reinterpret_cast<const nlmsghdr*>(buffer); NLMSG_OK(h, remaining);
         h = NLMSG_NEXT(h, remaining)) {
        if (h->nlmsg_type != RTM_NEWLINK)
            continue;
        const auto* link = static_cast<const ifinfomsg*>(NLMSG_DATA(h));
        info.found = true;
        info.up = (link->ifi_flags & IFF_UP) != 0;
        int len = static_cast<int>(IFLA_PAYLOAD(h));
        for (const rtattr* a = IFLA_RTA(link); RTA_OK(a, len); a = RTA_NEXT(a, len)) {
            if (a->rta_type == IFLA_LINKINFO)
                info.kind = nestedKind(a);
        }
        break;
    }
    return info;
}

#ifdef TESSBUS_HAVE_LIBSOCKETCAN
namespace {

bool setRate(const char* name, const BaudSetting& setting)
{
    if (!setting.isBtr)
        return can_set_bitrate(name, setting.bitrate) == 0;
    // The register pair's own timing first; a controller whose clock can't
    // make that quantum gets the same rate and sample point instead.
    can_bittiming bt = kernelBittiming(setting.timing);
    if (can_set_bittiming(name, &bt) == 0)
        return true;
    return can_set_bitrate_samplepoint(name, setting.bitrate, setting.timing.samplePoint) == 0;
}

} // namespace
#endif

int applyBaud(const std::string& ifname, const BaudSetting& setting)
{
    const LinkInfo link = queryLink(ifname);
    if (!link.found)
        return TESS_ERR_NO_NET;
    // Virtual CAN links have no bit timing: every rate is theirs.
    if (link.kind == "vcan" || link.kind == "vxcan")
        return TESS_OK;
#ifdef TESSBUS_HAVE_LIBSOCKETCAN
    const char* name = ifname.c_str();
    can_bittiming current{};
    if (can_get_bittiming(name, &current) == 0 && bitratesMatch(current.bitrate, setting.bitrate))
        return TESS_OK;
    if (setRate(name, setting))
        return TESS_OK;
    if (!link.up)
        return TESS_ERR_IO;
    // The kernel changes the timing of a stopped controller only.
    if (can_do_stop(name) != 0)
        return TESS_ERR_IO;
    const bool set = setRate(name, setting);
    const bool started = can_do_start(name) == 0;
    return set && started ? TESS_OK : TESS_ERR_IO;
#else
    (void)setting;
    return TESS_ERR_NOT_SUPPORTED;
#endif
}

} // namespace tessbus
