#pragma once

#include "platform/process/Lock.h"
#include "service/LMEventsSaver.h"
#include "service/LMEventsSender.h"

#include <atomic>
#include <functional>

namespace lumora {

class LMAdViewProcessor;
class NSTimer;

/// The one way an event takes to the service: stored first, sent when the gate allows, removed once
/// delivered, and sent again on a timer while tries are left. One per process; any thread. Timers run on the
/// main thread.
class LMEventsManager final : public NSObject {
public:
    using Completion = std::function<void(bool delivered)>;

    static const ClassDescription& classDescription();
    static LMEventsManager& shared();
    id init();

    /// Stores, gates and sends an event. The completion may be absent; it hears true when delivered, false
    /// when the transport failed, and nothing while the gate is closed: the event then waits in memory and in
    /// the backup.
    void handleEvent(const std::shared_ptr<TDEventModel>& event, const Completion& withCompletion);
    /// Parks an event until the metadata of its ad view is known; without a view it is stored as ready.
    void handleEventAsPending(const std::shared_ptr<TDEventModel>& event, const Object* forView);
    /// Fills and sends what is parked for the processor's ad.
    void checkProcessorForPendingEvents(LMAdViewProcessor& processor);
    /// Re-arms the resend timer and runs a pass when there is a configuration; on the main queue.
    void configTimer();
    /// One pass over what is ready. Spends a try if it found any; with none left, what it found is dropped
    /// for good.
    void sendBackupEvents();
    /// A new record sets the number of tries for the whole pipeline.
    void newConfigArrived(Object* config);

private:
    /// How often one event object was handed over for sending. It leaves the store when all of that was
    /// delivered: the answer to an earlier one must not take a later one along, which may still fail.
    struct HandOvers {
        explicit HandOvers(int count)
            : left(count)
        {
        }
        std::atomic<int> left;
        std::atomic<bool> hasFailed { false };
    };

    /// Gates and sends what is stored already.
    void sendStored(const std::shared_ptr<TDEventModel>& event, const Completion& completion,
        const std::shared_ptr<HandOvers>& handOvers);
    /// Hands over what waited for an ad's metadata; without an answer from the ad's processor, as it is.
    void handleParked(const Events& parked, const std::shared_ptr<TDEventModel>& filled);

    Lock m_lock;
    std::shared_ptr<NSTimer> m_sendRetryingTimer LUMORA_GUARDED_BY(m_lock);
    // Passes that may still resend; negative is unlimited.
    int32_t m_leftTries LUMORA_GUARDED_BY(m_lock) { -1 };
    std::shared_ptr<LMEventsSaverProtocol> m_eventsSaver;
    LMEventsSender m_eventsSender;
};

}
