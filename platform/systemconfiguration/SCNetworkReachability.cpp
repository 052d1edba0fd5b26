#include "platform/systemconfiguration/SCNetworkReachability.h"

#include "platform/process/ProcessLocal.h"
#include "platform/systemconfiguration/HostAddress.h"
#include "platform/systemconfiguration/NetworkPath.h"

#include <algorithm>
#include <array>
#include <map>

namespace lumora {

class SCNetworkReachability {
public:
    enum class Target { Internet, LinkLocal, ThisMachine };

    SCNetworkReachability(std::shared_ptr<NetworkPath> path, Target target)
        : m_path(std::move(path))
        , m_target(target)
    {
    }

    Target target() const { return m_target; }
    uint32_t flags() const { return flagsOf(m_target, *m_path); }
    static uint32_t flagsOf(Target target, NetworkPath& path)
    {
        switch (target) {
        case Target::Internet:
            return path.flags();
        case Target::LinkLocal:
            return path.linkLocalFlags();
        case Target::ThisMachine:
            break;
        }
        return kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsLocalAddress;
    }

    SCNetworkReachabilityCallBack callback() const
    {
        Locker hold(m_lock);
        return m_callback;
    }
    void setCallback(SCNetworkReachabilityCallBack callback)
    {
        // What was there goes after the lock.
        Locker hold(m_lock);
        std::swap(m_callback, callback);
    }

    /// Where the watchers keep it; belongs to their lock.
    uint64_t place { 0 };

private:
    std::shared_ptr<NetworkPath> m_path;
    Target m_target;
    mutable Lock m_lock;
    SCNetworkReachabilityCallBack m_callback LUMORA_GUARDED_BY(m_lock);
};

namespace {

using Target = SCNetworkReachability::Target;

/// The targets that are told of changes, in the order in which they came. There may be very many of them, and
/// they come one at each request: coming and going is quick, and a change is told a few at a time, so that
/// nobody waits for it. Outlives its process only as long as a notice is under way, and is closed by then.
class Watchers {
public:
    explicit Watchers(NetworkPath& path)
        : m_path(path)
    {
    }

    /// What the path says before anybody watches.
    void start()
    {
        Locker walk(m_walkLock);
        const Flags now = flagsNow();
        Locker hold(m_lock);
        m_flags = now;
    }
    /// False when the process is going.
    bool set(const SCNetworkReachabilityRef& target, std::shared_ptr<DispatchQueue> queue)
    {
        Watched former;
        Locker hold(m_lock);
        if (m_isClosed)
            return false;
        if (auto entry = m_watched.find(target->place);
            entry != m_watched.end() && entry->second.target == target) {
            former = std::move(entry->second);
            m_watched.erase(entry);
        }
        if (queue) {
            target->place = ++m_lastPlace;
            m_watched.emplace_hint(
                m_watched.end(), m_lastPlace, Watched { target, std::move(queue), m_flags });
        }
        return true;
    }
    void pathChanged()
    {
        // One change after the other, read in here: every target hears all of them in order, the last as it
        // is. What throws in the middle goes on where it was when it is called again.
        Locker walk(m_walkLock);
        const Flags now = flagsNow();
        uint64_t last = 0;
        {
            Locker hold(m_lock);
            if (now == m_flags && m_isTold)
                return;
            m_flags = now;
            m_isTold = false;
            last = m_lastPlace;
        }
        for (uint64_t next = 0; next <= last;)
            next = tellSome(next, last, now);
        Locker hold(m_lock);
        m_isTold = true;
    }
    void close()
    {
        std::map<uint64_t, Watched> former;
        {
            Locker hold(m_lock);
            m_isClosed = true;
            former.swap(m_watched);
        }
        // A callback may hold what holds its target.
        for (const auto& [place, watched] : former)
            watched.target->setCallback(nullptr);
    }

private:
    /// The flags of every kind of target that can change.
    using Flags = std::array<uint32_t, 2>;
    struct Watched {
        SCNetworkReachabilityRef target;
        std::shared_ptr<DispatchQueue> queue;
        Flags told;
    };

    Flags flagsNow() const
    {
        return { SCNetworkReachability::flagsOf(Target::Internet, m_path),
            SCNetworkReachability::flagsOf(Target::LinkLocal, m_path) };
    }
    /// Tells a few from that place on, and answers where to go on.
    uint64_t tellSome(uint64_t next, uint64_t last, const Flags& now)
    {
        constexpr int atATime = 128;
        // Posting under the lock keeps the process from going meanwhile; nothing is called here.
        Locker hold(m_lock);
        auto entry = m_watched.lower_bound(next);
        for (int i = 0; i < atATime; i++, ++entry) {
            if (entry == m_watched.end() || entry->first > last)
                return last + 1;
            Watched& watched = entry->second;
            const auto kind = static_cast<size_t>(watched.target->target());
            if (kind >= now.size() || now.at(kind) == watched.told.at(kind))
                continue;
            watched.queue->async([weakly = std::weak_ptr(watched.target), flags = now.at(kind)] {
                const SCNetworkReachabilityRef target = weakly.lock();
                if (const auto callback = target ? target->callback() : nullptr)
                    callback(target, flags);
            });
            watched.told = now;
        }
        return entry == m_watched.end() ? last + 1 : entry->first;
    }

    // Not held: its own thread may be the last to let go of the watchers. Whoever calls keeps it.
    NetworkPath& m_path;
    Lock m_walkLock;
    Lock m_lock;
    // What is told to those who are there, and is no news to those who come.
    Flags m_flags LUMORA_GUARDED_BY(m_lock) {};
    bool m_isTold LUMORA_GUARDED_BY(m_lock) { true };
    std::map<uint64_t, Watched> m_watched LUMORA_GUARDED_BY(m_lock);
    uint64_t m_lastPlace LUMORA_GUARDED_BY(m_lock) { 0 };
    bool m_isClosed LUMORA_GUARDED_BY(m_lock) { false };
};

struct ProcessWatchers {
    ProcessWatchers()
    {
        m_handle
            = Process::current().configuration().network->addListener([weakly = std::weak_ptr(watchers)] {
                  if (auto held = weakly.lock())
                      held->pathChanged();
              });
        watchers->start();
    }
    ~ProcessWatchers() { watchers->close(); }

    std::shared_ptr<Watchers> watchers { std::make_shared<Watchers>(
        *Process::current().configuration().network) };

private:
    std::shared_ptr<void> m_handle;
};
const ProcessLocal<ProcessWatchers> s_watchers;

SCNetworkReachabilityRef targetOf(Target target)
{
    return std::make_shared<SCNetworkReachability>(Process::current().configuration().network, target);
}

Target targetAt(const HostAddress& address)
{
    constexpr HostAddress loopback { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 };
    constexpr std::array<uint8_t, 12> beforeIPv4 { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF };
    if (!std::equal(beforeIPv4.begin(), beforeIPv4.end(), address.begin())) {
        if (address == loopback)
            return Target::ThisMachine;
        return address[0] == 0xFE && (address[1] & 0xC0) == 0x80 ? Target::LinkLocal : Target::Internet;
    }
    if (address[12] == 127)
        return Target::ThisMachine;
    return address[12] == 169 && address[13] == 254 ? Target::LinkLocal : Target::Internet;
}

} // namespace

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(std::string_view nodename)
{
    constexpr size_t longestName = 253;
    auto mayStand = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-'
            || c == '.' || c == '_';
    };
    if (SCNetworkReachabilityRef numeric = SCNetworkReachabilityCreateWithAddress(nodename))
        return numeric;
    if (nodename.empty() || nodename.size() > longestName
        || !std::all_of(nodename.begin(), nodename.end(), mayStand))
        return nullptr;
    return targetOf(nodename == "localhost" ? Target::ThisMachine : Target::Internet);
}

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(std::string_view address)
{
    const auto numbers = hostAddressFromText(address);
    return numbers ? targetOf(targetAt(*numbers)) : nullptr;
}

std::optional<uint32_t> SCNetworkReachabilityGetFlags(const SCNetworkReachabilityRef& target)
{
    return target ? std::optional(target->flags()) : std::nullopt;
}

bool SCNetworkReachabilitySetCallback(
    const SCNetworkReachabilityRef& target, SCNetworkReachabilityCallBack callout)
{
    if (target)
        target->setCallback(std::move(callout));
    return target != nullptr;
}

bool SCNetworkReachabilitySetDispatchQueue(
    const SCNetworkReachabilityRef& target, std::shared_ptr<DispatchQueue> queue)
{
    try {
        return target && s_watchers.get().watchers->set(target, std::move(queue));
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace lumora
