#pragma once

#include "platform/objc/Object.h"
#include "platform/process/Lock.h"
#include "platform/systemconfiguration/SCNetworkReachability.h"

#include <atomic>

namespace lumora {

/// Posted on the main queue, with the Reachability as sender, after every change that a notifier is told of.
inline constexpr const char* kReachabilityChangedNotification = "kReachabilityChangedNotification";

/// Whether a target can be reached, and over which link. Reads the flags afresh on every question; flags that
/// cannot be read count as 0. Any thread.
///
/// While its notifier runs an object holds itself, until `stopNotifier` or the end of the process. It then
/// costs memory alone: no thread and no descriptor. A block that throws is stopped there, and the next step
/// follows.
class Reachability final : public NSObject {
public:
    static const ClassDescription& classDescription();

    enum Status : uint64_t { NotReachable = 0, ReachableViaWWAN = 1, ReachableViaWiFi = 2 };
    using Block = std::function<void(const std::shared_ptr<Reachability>&)>;
    using FlagsBlock = std::function<void(const std::shared_ptr<Reachability>&, uint32_t flags)>;

    /// Null when the platform refuses the name.
    static std::shared_ptr<Reachability> reachabilityWithHostName(std::string_view hostname);
    static std::shared_ptr<Reachability> reachabilityWithHostname(std::string_view hostname);
    /// From an IPv4 or IPv6 address in numbers; null when it is none.
    static std::shared_ptr<Reachability> reachabilityWithAddress(std::string_view hostAddress);
    /// Any route to the internet.
    static std::shared_ptr<Reachability> reachabilityForInternetConnection();
    /// The network of the link.
    static std::shared_ptr<Reachability> reachabilityForLocalWiFi();
    /// Follows `alloc`, once.
    Reachability* initWithReachabilityRef(SCNetworkReachabilityRef ref);

    /// Called on the serial queue: when the target becomes reachable, when it no longer is, and on every
    /// change. May be empty.
    void setReachableBlock(Block block);
    void setUnreachableBlock(Block block);
    void setReachabilityBlock(FlagsBlock block);
    /// When false, a path that is only cellular counts as unreachable.
    bool reachableOnWWAN() const { return m_reachableOnWWAN; }
    void setReachableOnWWAN(bool value) { m_reachableOnWWAN = value; }
    const SCNetworkReachabilityRef& reachabilityRef() const { return m_reachabilityRef; }
    const std::shared_ptr<DispatchQueue>& reachabilitySerialQueue() const
    {
        return m_reachabilitySerialQueue;
    }
    /// The object itself while its notifier runs, else null.
    std::shared_ptr<Reachability> reachabilityObject() const;

    /// True also when it runs already; false when the platform refuses.
    bool startNotifier();
    void stopNotifier();

    bool isReachable() const { return isReachableWithFlags(reachabilityFlags()); }
    bool isReachableViaWWAN() const;
    bool isReachableViaWiFi() const;
    bool isConnectionRequired() const { return connectionRequired(); }
    bool connectionRequired() const;
    bool isConnectionOnDemand() const;
    bool isInterventionRequired() const;
    Status currentReachabilityStatus() const;
    uint32_t reachabilityFlags() const;
    /// "Cellular", "WiFi" or "No Connection", as the main bundle translates it, if it has texts.
    std::string currentReachabilityString() const;
    /// A picture of the flags: "WR ctiCDld", a hyphen for each that is not set.
    std::string currentReachabilityFlags() const;
    std::string description() const override;

private:
    bool isReachableWithFlags(uint32_t flags) const;
    void reachabilityChanged(uint32_t flags);

    SCNetworkReachabilityRef m_reachabilityRef;
    std::shared_ptr<DispatchQueue> m_reachabilitySerialQueue;
    std::atomic<bool> m_reachableOnWWAN { true };
    mutable Lock m_lock;
    bool m_isNotifying LUMORA_GUARDED_BY(m_lock) { false };
    std::shared_ptr<const Block> m_reachableBlock LUMORA_GUARDED_BY(m_lock);
    std::shared_ptr<const Block> m_unreachableBlock LUMORA_GUARDED_BY(m_lock);
    std::shared_ptr<const FlagsBlock> m_reachabilityBlock LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
