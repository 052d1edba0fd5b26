#include "platform/linux/LinuxNetworkPath.h"

#include <array>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace lumora {

namespace {

bool isModem(std::string_view name)
{
    return name.starts_with("wwan") || name.starts_with("rmnet") || name.starts_with("ppp");
}

/// An address that leads beyond the link it is on.
bool isRoutable(const sockaddr* address)
{
    if (!address)
        return false;
    if (address->sa_family == AF_INET) {
        const auto* ip = reinterpret_cast<const sockaddr_in*>(address);
        return ntohl(ip->sin_addr.s_addr) >> 16 != 0xA9FE;
    }
    const auto* ip = reinterpret_cast<const sockaddr_in6*>(address);
    return address->sa_family == AF_INET6 && !IN6_IS_ADDR_LINKLOCAL(&ip->sin6_addr);
}

class LinuxNetworkPath final : public NetworkPath {
public:
    ~LinuxNetworkPath() override
    {
        std::thread watcher;
        {
            Locker hold(m_lock);
            watcher.swap(m_watcher);
        }
        if (watcher.joinable()) {
            eventfd_write(m_stop, 1);
            watcher.join();
        }
        for (const int file : { m_notices, m_stop }) {
            if (file >= 0)
                close(file);
        }
    }

    uint32_t flags() override
    {
        ifaddrs* interfaces = nullptr;
        if (getifaddrs(&interfaces) != 0)
            return 0;
        bool isReachable = false;
        bool isOnlyModems = true;
        for (const ifaddrs* at = interfaces; at; at = at->ifa_next) {
            constexpr unsigned usable = IFF_UP | IFF_RUNNING;
            if ((at->ifa_flags & usable) != usable || (at->ifa_flags & IFF_LOOPBACK)
                || !isRoutable(at->ifa_addr))
                continue;
            isReachable = true;
            isOnlyModems &= isModem(at->ifa_name);
        }
        freeifaddrs(interfaces);
        uint32_t flags = isReachable ? kSCNetworkReachabilityFlagsReachable : 0u;
        if (isReachable && isOnlyModems)
            flags |= kSCNetworkReachabilityFlagsIsWWAN;
        return flags;
    }

protected:
    /// Without a kernel that sends notices nobody is ever told; `flags` answers all the same.
    void watch() override
    {
        Locker hold(m_lock);
        if (m_watcher.joinable())
            return;
        if (m_notices < 0)
            m_notices = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
        if (m_stop < 0)
            m_stop = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        sockaddr_nl address {};
        address.nl_family = AF_NETLINK;
        address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
        if (m_notices < 0 || m_stop < 0
            || bind(m_notices, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            return;
        m_watcher = std::thread([this, notices = m_notices, stop = m_stop] { run(notices, stop); });
    }

private:
    void run(int notices, int stop)
    {
        uint32_t known = flags();
        for (;;) {
            std::array<pollfd, 2> files { pollfd { notices, POLLIN, 0 }, pollfd { stop, POLLIN, 0 } };
            if (poll(files.data(), files.size(), -1) < 0 && errno != EINTR)
                return;
            if (files[1].revents)
                return;
            // What the notices say does not matter: the flags are read afresh.
            std::array<char, 8192> ignored {};
            while (recv(notices, ignored.data(), ignored.size(), 0) > 0) { }
            if (const uint32_t now = flags(); now != known) {
                known = now;
                changed();
            }
        }
    }

    Lock m_lock;
    // Opened before the watcher starts, closed after it has ended.
    int m_notices { -1 };
    int m_stop { -1 };
    std::thread m_watcher LUMORA_GUARDED_BY(m_lock);
};

} // namespace

std::unique_ptr<NetworkPath> makeLinuxNetworkPath() { return std::make_unique<LinuxNetworkPath>(); }

} // namespace lumora
