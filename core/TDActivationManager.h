#pragma once

#include "core/TDConfig.h"
#include "platform/foundation/NSHashTable.h"
#include "platform/process/Lock.h"

#include <functional>

namespace lumora {

namespace sel {
/// What a configuration listener answers: a TDConfig, on the thread that delivered it.
inline constinit const TypedSelector<void(id)> newConfigArrived { "newConfigArrived:" };
}

/// Owns the current remote configuration: fetches it at start-up, refreshes it when its time to live ends,
/// falls back to defaults, tells listeners, and answers the gate that everything else asks. One per process;
/// any thread.
///
/// The gate's answers: false before start-up and while a request is in flight; the record's `active` while it
/// is fresh; else a fetch of its own decides. Callers asking during a fetch are not queued.
class TDActivationManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static TDActivationManager& sharedInstance();

    using Answer = std::function<void(bool active)>;

    /// Marks the library as started.
    void activate();
    /// The current record; null before the first answer or failure.
    std::shared_ptr<TDConfig> getConfig() const;
    /// The gate. An answer that is known is given at once on the calling thread; one that waited for a fetch
    /// comes on the main queue. Without a callback a fetch may be started even before start-up: kept, a host
    /// can warm the record up this way.
    void checkActivationWithBlock(const Answer& callback);
    /// A fetch that arms no timer, tells no listener and disables no button. A failed or stale answer is
    /// replaced by a default record that says no for 300 seconds.
    void checkConfigWithoutRepeatedUpdatingWithSuccess(const Answer& callback);
    /// A fetch that arms the refresh timer and tells the listeners; a failed one disables all buttons and
    /// retries in 60 s.
    void getNewConfig();
    void makeDefaultValuesForConfig();
    void makeMaxAgeForRetrievingConfig();
    /// Re-arms the one refresh timer, on the main queue.
    void setupTimer();
    /// Held weakly; adding twice keeps one entry, null none. One added during a walk waits for the next
    /// record.
    void addNewConfigListener(const std::shared_ptr<Object>& listener);
    void sendMessageToAllListenersWithConfig(const std::shared_ptr<TDConfig>& config);

private:
    /// One exchange with the service; the record is kept before `succeeded` hears of it. The instance
    /// outlives the exchange.
    void fetch(const std::function<void(const std::shared_ptr<TDConfig>&)>& succeeded,
        const std::function<void()>& failed);
    void setLoading(bool loading);
    void setConfig(std::shared_ptr<TDConfig> config);

    mutable Lock m_lock;
    std::shared_ptr<TDConfig> m_config LUMORA_GUARDED_BY(m_lock);
    bool m_activationStatus LUMORA_GUARDED_BY(m_lock) { false };
    bool m_isLoadingConfig LUMORA_GUARDED_BY(m_lock) { false };
    NSHashTable<Object> m_listeners LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
