#include "platform/systemconfiguration/SCNetworkReachability.h"

#include "platform/process/ProcessLocal.h"
#include "platform/systemconfiguration/NetworkPath.h"

#include <algorithm>
#include <charconv>

namespace lumora {

class SCNetworkReachability {
public:
    enum class Target { Internet, LinkLocal, ThisMachine };

    SCNetworkReachability(std::shared_ptr<NetworkPath> path, Target target)
        : m_path(std::move(path))
        , m_target(target)
    {
    }

    uint32_t flags() const
    {
        if (m_target == Target::ThisMachine)
            return kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsLocalAddress;
        const uint32_t flags = m_path->flags();
        if (m_target == Target::Internet || !(flags & kSCNetworkReachabilityFlagsReachable))
            return flags;
        return flags & kSCNetworkReachabilityFlagsIsWWAN ? 0 : flags | kSCNetworkReachabilityFlagsIsDirect;
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

private:
    std::shared_ptr<NetworkPath> m_path;
    Target m_target;
    mutable Lock m_lock;
    SCNetworkReachabilityCallBack m_callback LUMORA_GUARDED_BY(m_lock);
};

namespace {

using Target = SCNetworkReachability::Target;
using Watched = std::pair<SCNetworkReachabilityRef, std::shared_ptr<DispatchQueue>>;

/// The targets that are told of changes. Outlives its process only as long as a notice is under way, and is
/// closed by then.
class Watchers : public std::enable_shared_from_this<Watchers> {
public:
    void set(const SCNetworkReachabilityRef& target, std::shared_ptr<DispatchQueue> queue)
    {
        std::vector<Watched> former;
        Locker hold(m_lock);
        if (m_isClosed)
            return;
        for (auto& watched : m_watched) {
            if (watched.first == target)
                former.push_back(std::move(watched));
        }
        std::erase_if(m_watched, [](const Watched& watched) { return !watched.first; });
        if (queue)
            m_watched.emplace_back(target, std::move(queue));
    }
    void pathChanged()
    {
        // Posting under the lock keeps the process from going meanwhile; nothing is called here.
        Locker hold(m_lock);
        for (const auto& [target, queue] : m_watched) {
            queue->async([weakly = std::weak_ptr(target)] {
                const SCNetworkReachabilityRef target = weakly.lock();
                if (const auto callback = target ? target->callback() : nullptr)
                    callback(target, target->flags());
            });
        }
    }
    void close()
    {
        std::vector<Watched> former;
        Locker hold(m_lock);
        m_isClosed = true;
        former.swap(m_watched);
    }

private:
    Lock m_lock;
    std::vector<Watched> m_watched LUMORA_GUARDED_BY(m_lock);
    bool m_isClosed LUMORA_GUARDED_BY(m_lock) { false };
};

struct ProcessWatchers {
    ProcessWatchers()
        : m_handle(
            Process::current().configuration().network->addListener([watchers = std::weak_ptr(watchers)] {
                if (auto held = watchers.lock())
                    held->pathChanged();
            }))
    {
    }
    ~ProcessWatchers() { watchers->close(); }

    std::shared_ptr<Watchers> watchers { std::make_shared<Watchers>() };

private:
    std::shared_ptr<void> m_handle;
};
const ProcessLocal<ProcessWatchers> s_watchers;

SCNetworkReachabilityRef targetOf(Target target)
{
    return std::make_shared<SCNetworkReachability>(Process::current().configuration().network, target);
}

/// The four numbers of an IPv4 address.
std::optional<std::vector<int>> numbersOf(std::string_view address)
{
    std::vector<int> numbers;
    const char* end = address.data() + address.size();
    for (const char* at = address.data(); at < end; at++) {
        int number = -1;
        const auto read = std::from_chars(at, end, number);
        if (read.ec != std::errc {} || number < 0 || number > 255 || (read.ptr != end && *read.ptr != '.'))
            return std::nullopt;
        numbers.push_back(number);
        at = read.ptr;
    }
    return numbers.size() == 4 && !address.ends_with('.') ? std::optional(numbers) : std::nullopt;
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
    if (address == "::")
        return targetOf(Target::Internet);
    if (address == "::1")
        return targetOf(Target::ThisMachine);
    const auto numbers = numbersOf(address);
    if (!numbers)
        return nullptr;
    if ((*numbers)[0] == 127)
        return targetOf(Target::ThisMachine);
    return targetOf((*numbers)[0] == 169 && (*numbers)[1] == 254 ? Target::LinkLocal : Target::Internet);
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
    if (target)
        s_watchers.get().watchers->set(target, std::move(queue));
    return target != nullptr;
}

} // namespace lumora
