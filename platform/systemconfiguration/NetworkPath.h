#pragma once

#include "platform/process/Lock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace lumora {

/// The bits of a network path.
enum SCNetworkReachabilityFlags : uint32_t {
    kSCNetworkReachabilityFlagsTransientConnection = 1,
    kSCNetworkReachabilityFlagsReachable = 2,
    kSCNetworkReachabilityFlagsConnectionRequired = 4,
    kSCNetworkReachabilityFlagsConnectionOnTraffic = 8,
    kSCNetworkReachabilityFlagsInterventionRequired = 16,
    kSCNetworkReachabilityFlagsConnectionOnDemand = 32,
    kSCNetworkReachabilityFlagsIsLocalAddress = 0x10000,
    kSCNetworkReachabilityFlagsIsDirect = 0x20000,
    kSCNetworkReachabilityFlagsIsWWAN = 0x40000,
};

/// The ways out of this machine. Any thread; asked at every request, so an answer does not wait.
class NetworkPath {
public:
    using Listener = std::function<void()>;

    virtual ~NetworkPath() = default;
    /// The flag bits of the way to the internet at this moment; 0 when there is none. Listeners ask under
    /// their locks: neither this nor `linkLocalFlags` may call `changed` on its own thread.
    virtual uint32_t flags() = 0;
    /// The same for the network of the link itself, which no cellular link leads to. Unless an implementation
    /// knows better, it is there when the internet is.
    virtual uint32_t linkLocalFlags();

    /// Calls the listener after every change of either flags, on any thread, until the answered handle is
    /// dropped. A call that is under way then may still end later, so a listener holds what it needs weakly.
    [[nodiscard]] std::shared_ptr<void> addListener(Listener listener);

protected:
    /// For implementations: the flags are others than before, or may be. False when a listener threw, and has
    /// perhaps not told all that it should: to be called again, soon.
    bool changed();
    /// Called when the first listener comes, and again when one comes after all have gone: time to watch.
    virtual void watch() { }

private:
    Lock m_listenersLock;
    std::vector<std::weak_ptr<Listener>> m_listeners LUMORA_GUARDED_BY(m_listenersLock);
};

} // namespace lumora
