#include "platform/systemconfiguration/NetworkPath.h"

namespace lumora {

uint32_t NetworkPath::linkLocalFlags()
{
    const uint32_t toInternet = flags();
    if (!(toInternet & kSCNetworkReachabilityFlagsReachable))
        return toInternet;
    return toInternet & kSCNetworkReachabilityFlagsIsWWAN ? 0
                                                          : toInternet | kSCNetworkReachabilityFlagsIsDirect;
}

std::shared_ptr<void> NetworkPath::addListener(Listener listener)
{
    auto held = std::make_shared<Listener>(std::move(listener));
    bool isFirst = false;
    {
        Locker hold(m_listenersLock);
        std::erase_if(m_listeners, [](const auto& other) { return other.expired(); });
        isFirst = m_listeners.empty();
        m_listeners.push_back(held);
    }
    if (isFirst)
        watch();
    return held;
}

bool NetworkPath::changed()
{
    std::vector<std::weak_ptr<Listener>> listeners;
    {
        Locker hold(m_listenersLock);
        listeners = m_listeners;
    }
    bool haveAllHeard = true;
    for (const auto& listener : listeners) {
        try {
            if (auto held = listener.lock())
                (*held)();
        } catch (...) {
            haveAllHeard = false;
        }
    }
    return haveAllHeard;
}

} // namespace lumora
