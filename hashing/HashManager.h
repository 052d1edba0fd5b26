#pragma once

#include "platform/objc/Object.h"

namespace lumora {

class NSTimer;

/// How many recent ads are kept, and for how long. One a process; main thread only.
class HashManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static HashManager& sharedInstance();
    id init();

    /// 3 from the start.
    uint64_t maxAdsCount() const { return m_maxAdsCount; }
    void setMaxAdsCount(uint64_t count) { m_maxAdsCount = count; }

    /// The lifetime of a kept ad in seconds; 100 from the start.
    int64_t adsTTL() const { return m_adsTTL; }
    /// Another lifetime ends a running expiry timer and lets it go, for whoever keeps ads next to schedule
    /// one anew. The same one again leaves it alone.
    void setAdsTTL(int64_t ttl);

    /// The repeating timer that expires kept ads; null while nobody has handed one in.
    const std::shared_ptr<NSTimer>& expiryTimer() const { return m_expiryTimer; }
    /// Takes a timer that was scheduled with the present lifetime. One that is displaced runs on: it is its
    /// maker's to end.
    void setExpiryTimer(std::shared_ptr<NSTimer> timer);

private:
    uint64_t m_maxAdsCount { 0 };
    int64_t m_adsTTL { 0 };
    std::shared_ptr<NSTimer> m_expiryTimer;
};

} // namespace lumora
