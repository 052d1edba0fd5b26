#include "platform/linux/LinuxNetworkPath.h"

#include "platform/linux/NetlinkReader.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace lumora {

namespace {

using Socket = std::unique_ptr<mnl_socket, int (*)(mnl_socket*)>;

template <typename Address> bool findsRoute(const Address& address, int family)
{
    const int file = socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (file < 0)
        return false;
    // Sends nothing: the kernel only looks for a route.
    const bool found = connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(file);
    return found;
}

/// For machines that refuse netlink. The addresses are those set aside for documents.
NetworkFlags flagsByTrying()
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(9);
    address.sin_addr.s_addr = htonl(0xC0000201);
    sockaddr_in6 address6 {};
    address6.sin6_family = AF_INET6;
    address6.sin6_port = htons(9);
    address6.sin6_addr.s6_addr[0] = 0x20;
    address6.sin6_addr.s6_addr[1] = 0x01;
    address6.sin6_addr.s6_addr[2] = 0x0D;
    address6.sin6_addr.s6_addr[3] = 0xB8;
    if (!findsRoute(address, AF_INET) && !findsRoute(address6, AF_INET6))
        return {};
    return { kSCNetworkReachabilityFlagsReachable,
        kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsDirect };
}

/// Whether a notice is about what the flags are made of.
bool matters(const nlmsghdr& notice)
{
    switch (notice.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return true;
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
        return mnl_nlmsg_get_payload_len(&notice) >= sizeof(rtmsg)
            && static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&notice))->rtm_dst_len == 0;
    default:
        return false;
    }
}

/// Takes all notices that wait; true when one matters, or some were lost.
bool takeNotices(const mnl_socket& notices)
{
    std::array<char, 32768> buffer {};
    bool isChanged = false;
    for (;;) {
        const ssize_t received = mnl_socket_recvfrom(&notices, buffer.data(), buffer.size());
        if (received < 0 && (errno == EINTR || errno == ENOBUFS || errno == ENOSPC)) {
            isChanged |= errno != EINTR;
            continue;
        }
        if (received <= 0)
            return isChanged;
        int left = static_cast<int>(received);
        const auto* notice = reinterpret_cast<const nlmsghdr*>(buffer.data());
        for (; mnl_nlmsg_ok(notice, left); notice = mnl_nlmsg_next(notice, &left))
            isChanged |= matters(*notice);
    }
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
        if (m_stop >= 0)
            close(m_stop);
    }

    uint32_t flags() override { return now().internet; }
    uint32_t linkLocalFlags() override { return now().linkLocal; }

protected:
    void watch() override { start(); }

private:
    NetworkFlags now()
    {
        start();
        if (m_isWatched.load(std::memory_order_acquire))
            return m_flags.load(std::memory_order_relaxed);
        if (const auto flags = NetlinkReader().read())
            return *flags;
        return flagsByTrying();
    }

    void start()
    {
        if (m_isStarted.load(std::memory_order_acquire))
            return;
        Locker hold(m_lock);
        if (m_isStarted.load(std::memory_order_relaxed))
            return;
        if (open()) {
            m_isWatched.store(true, std::memory_order_release);
            try {
                m_watcher = std::thread([this] { run(); });
            } catch (const std::system_error&) {
                m_isWatched.store(false, std::memory_order_release);
            }
        }
        m_isStarted.store(true, std::memory_order_release);
    }

    /// Notices first, then the first reading: no change falls between them.
    bool open()
    {
        constexpr unsigned groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
        m_notices.reset(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK));
        m_stop = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (!m_notices || m_stop < 0 || mnl_socket_bind(m_notices.get(), groups, MNL_SOCKET_AUTOPID) < 0)
            return false;
        m_reader.emplace();
        const auto first = m_reader->read();
        m_flags.store(first.value_or(NetworkFlags {}), std::memory_order_relaxed);
        return first.has_value();
    }

    void run()
    {
        // After a reading that failed, another is tried; what was known stands until then.
        constexpr int untilNextTry = 1000;
        bool isStale = false;
        for (;;) {
            std::array<pollfd, 2> files { pollfd { mnl_socket_get_fd(m_notices.get()), POLLIN, 0 },
                pollfd { m_stop, POLLIN, 0 } };
            if (poll(files.data(), files.size(), isStale ? untilNextTry : -1) < 0 && errno != EINTR)
                break;
            if (files[1].revents)
                return;
            // A host that closed what it did not open.
            if (files[0].revents & POLLNVAL)
                break;
            isStale |= takeNotices(*m_notices);
            const auto now = isStale ? m_reader->read() : std::nullopt;
            if (!now)
                continue;
            isStale = false;
            if (m_flags.exchange(*now, std::memory_order_relaxed) != *now)
                changed();
        }
        m_isWatched.store(false, std::memory_order_release);
    }

    std::atomic<bool> m_isStarted { false };
    // The flags are current while a watcher runs.
    std::atomic<bool> m_isWatched { false };
    std::atomic<NetworkFlags> m_flags { NetworkFlags {} };
    static_assert(std::atomic<NetworkFlags>::is_always_lock_free);
    // Opened before the watcher starts, the watcher's own while it runs.
    Socket m_notices { nullptr, &mnl_socket_close };
    int m_stop { -1 };
    std::optional<NetlinkReader> m_reader;
    Lock m_lock;
    std::thread m_watcher LUMORA_GUARDED_BY(m_lock);
};

} // namespace

std::unique_ptr<NetworkPath> makeLinuxNetworkPath() { return std::make_unique<LinuxNetworkPath>(); }

} // namespace lumora
