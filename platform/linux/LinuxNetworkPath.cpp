#include "platform/linux/LinuxNetworkPath.h"

#include "platform/linux/NetlinkReader.h"
#include "platform/linux/OwnFile.h"
#include "platform/linux/RouteProbe.h"
#include "platform/process/SignalsBlocked.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>

namespace lumora {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds untilNextTry { 1 };

constexpr uint32_t reachable = kSCNetworkReachabilityFlagsReachable;
constexpr NetworkFlags everything { reachable, reachable | kSCNetworkReachabilityFlagsIsDirect };

/// For machines that refuse netlink.
std::optional<NetworkFlags> flagsByTrying()
{
    const std::optional<bool> found = findsRoute(AF_INET);
    const std::optional<bool> found6 = found.value_or(false) ? found : findsRoute(AF_INET6);
    if (!found6)
        return std::nullopt;
    return *found6 ? everything : NetworkFlags {};
}

/// The kernel's notices of links and routes.
OwnFile openNotices()
{
    OwnFile file { socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE) };
    sockaddr_nl groups {};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    return bind(file.number(), reinterpret_cast<const sockaddr*>(&groups), sizeof groups) == 0
        ? std::move(file)
        : OwnFile {};
}

enum class Notices { None, Changes, Closed };

/// Takes the notices that wait, or the first of very many. Lost ones count as changes.
Notices takeNotices(int file)
{
    constexpr int mostAtOnce = 64;
    std::array<char, 32768> buffer {};
    auto found = Notices::None;
    for (int i = 0; i < mostAtOnce; i++) {
        const ssize_t received = recv(file, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (received < 0 && errno == EAGAIN)
            break;
        if (received < 0 && errno == ENOBUFS)
            found = Notices::Changes;
        if (received < 0 && (errno == ENOBUFS || errno == EINTR))
            continue;
        if (received <= 0)
            return Notices::Closed;
        int left = static_cast<int>(received);
        const auto* notice = reinterpret_cast<const nlmsghdr*>(buffer.data());
        for (; mnl_nlmsg_ok(notice, left); notice = mnl_nlmsg_next(notice, &left)) {
            if (NetlinkReader::concerns(*notice))
                found = Notices::Changes;
        }
    }
    return found;
}

class LinuxNetworkPath final : public NetworkPath {
public:
    ~LinuxNetworkPath() override
    {
        // A fork's child leaves alone what is its parent's.
        if (isInChild()) {
            static_cast<void>(m_watcher.release());
            return;
        }
        Locker hold(m_lock);
        stop();
    }

    uint32_t flags() override { return now().internet; }
    uint32_t linkLocalFlags() override { return now().linkLocal; }

protected:
    void watch() override
    {
        if (!isWatched())
            start();
    }

private:
    /// What is open for one watcher, and its thread.
    struct Watcher {
        OwnFile notices;
        // The watcher ends when the other end is shut, or gone.
        OwnFile stop;
        OwnFile stopped;
        std::thread thread;
    };

    NetworkFlags now()
    {
        return isWatched() || start() ? m_flags.load(std::memory_order_relaxed) : readAfresh();
    }

    /// A fork's child has no watcher, whatever it remembers, and its locks may be held for ever.
    bool isInChild() const { return getpid() != m_process; }
    bool isWatched() const { return m_isWatched.load(std::memory_order_acquire) && !isInChild(); }

    /// Without a watcher. What fails in passing leaves what was known.
    NetworkFlags readAfresh()
    {
        std::optional<NetworkFlags> flags;
        if (!m_isRefused)
            flags = readNetlink();
        if (m_isRefused)
            flags = flagsByTrying();
        if (flags)
            m_lastKnown = *flags;
        return m_lastKnown;
    }

    std::optional<NetworkFlags> readNetlink()
    {
        NetlinkReader reader;
        const auto flags = reader.read();
        if (reader.isRefused())
            m_isRefused = true;
        return flags;
    }

    /// True when a watcher runs. Tries to start one at most once a second.
    bool start()
    {
        if (m_isRefused || isInChild() || Clock::now() < m_nextTry.load())
            return false;
        Locker hold(m_lock);
        if (m_isWatched || Clock::now() < m_nextTry.load())
            return m_isWatched;
        const bool isFirst = m_nextTry.exchange(Clock::now() + untilNextTry) == Clock::time_point {};
        try {
            stop();
            open(!isFirst);
        } catch (const std::exception&) {
            // No memory or no thread: as if nothing could be opened.
            m_isWatched = false;
        }
        return m_isWatched;
    }

    /// Notices first, then the first reading: no change falls between them.
    void open(bool isAgain) LUMORA_REQUIRES(m_lock)
    {
        std::array<int, 2> ends { -1, -1 };
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            return;
        auto watcher = std::make_unique<Watcher>();
        watcher->stop = OwnFile { ends[0] };
        watcher->stopped = OwnFile { ends[1] };
        watcher->notices = openNotices();
        const auto first = watcher->notices.isOpen() ? readNetlink() : std::nullopt;
        if (!first)
            return;
        m_flags = *first;
        m_isWatched = true;
        const SignalsBlocked blocked;
        watcher->thread = std::thread([this, isAgain, &files = *watcher] { run(files, isAgain); });
        m_watcher = std::move(watcher);
    }

    void stop() LUMORA_REQUIRES(m_lock)
    {
        if (!m_watcher)
            return;
        // If the host closed this end, the watcher has noticed; unless a fork's child keeps it open, which
        // must then end first.
        if (m_watcher->stop.isOpen())
            shutdown(m_watcher->stop.number(), SHUT_RDWR);
        m_watcher->thread.join();
        m_watcher.reset();
    }

    void run(const Watcher& files, bool isAgain)
    {
        try {
            follow(files, isAgain);
        } catch (...) { // NOLINT(bugprone-empty-catch): a later question starts another
        }
        m_lastKnown = m_flags.load();
        m_isWatched = false;
    }

    /// Until it is stopped, or the host has closed what it did not open.
    void follow(const Watcher& files, bool isAgain)
    {
        // After a reading or a telling that failed, another is tried; what was known stands until then.
        bool isStale = false;
        bool isUntold = isAgain && !changed();
        for (;;) {
            std::array<pollfd, 2> polled { pollfd { files.notices.number(), POLLIN, 0 },
                pollfd { files.stopped.number(), POLLIN, 0 } };
            const auto longest = std::chrono::milliseconds(untilNextTry).count();
            if (poll(polled.data(), polled.size(), isStale || isUntold ? static_cast<int>(longest) : -1) < 0
                && errno != EINTR)
                return;
            if (polled[1].revents || !files.stopped.isOpen() || !files.notices.isOpen())
                return;
            const Notices notices = takeNotices(files.notices.number());
            if (notices == Notices::Closed)
                return;
            isStale |= notices == Notices::Changes;
            if (const auto now = isStale ? readNetlink() : std::nullopt) {
                isStale = false;
                isUntold |= m_flags.exchange(*now) != *now;
            }
            if (m_isRefused)
                return;
            if (isUntold)
                isUntold = !changed();
        }
    }

    const pid_t m_process { getpid() };
    // The flags are the watcher's, and current while it runs.
    std::atomic<NetworkFlags> m_flags { NetworkFlags {} };
    static_assert(std::atomic<NetworkFlags>::is_always_lock_free);
    std::atomic<bool> m_isWatched { false };
    // Without a watcher. Before anything is known: a request that is tried in vain loses nothing.
    std::atomic<NetworkFlags> m_lastKnown { everything };
    // For good.
    std::atomic<bool> m_isRefused { false };
    std::atomic<Clock::time_point> m_nextTry { Clock::time_point {} };
    Lock m_lock;
    std::unique_ptr<Watcher> m_watcher LUMORA_GUARDED_BY(m_lock);
};

} // namespace

std::unique_ptr<NetworkPath> makeLinuxNetworkPath() { return std::make_unique<LinuxNetworkPath>(); }

} // namespace lumora
