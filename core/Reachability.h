#pragma once

#include "platform/objc/Object.h"

#include <atomic>
#include <cstdint>

namespace lumora {

/// Whether the network can be reached, and over which link. Reads the flags of the path afresh on every
/// question; flags that cannot be read count as 0. Any thread.
class Reachability final : public NSObject {
public:
    static const ClassDescription& classDescription();

    enum Status : uint64_t { NotReachable = 0, ReachableViaWWAN = 1, ReachableViaWiFi = 2 };

    /// Any route to the internet.
    static std::shared_ptr<Reachability> reachabilityForInternetConnection();

    /// When false, a path that is only cellular counts as unreachable.
    bool reachableOnWWAN() const { return m_reachableOnWWAN; }
    void setReachableOnWWAN(bool value) { m_reachableOnWWAN = value; }

    bool isReachable() const { return isReachableWithFlags(reachabilityFlags()); }
    bool isReachableViaWWAN() const;
    bool isReachableViaWiFi() const;
    bool isConnectionRequired() const { return connectionRequired(); }
    bool connectionRequired() const;
    bool isConnectionOnDemand() const;
    bool isInterventionRequired() const;
    Status currentReachabilityStatus() const;
    uint32_t reachabilityFlags() const;
    /// "Cellular", "WiFi" or "No Connection", in the host's language.
    std::string currentReachabilityString() const;
    /// A picture of the flags: "WR ctiCDld", a hyphen for each that is not set.
    std::string currentReachabilityFlags() const;
    std::string description() const override;

private:
    bool isReachableWithFlags(uint32_t flags) const;

    std::atomic<bool> m_reachableOnWWAN { true };
};

}
