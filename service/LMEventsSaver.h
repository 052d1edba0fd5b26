#pragma once

#include "platform/foundation/NSHashTable.h"
#include "platform/process/Lock.h"
#include "service/LMEventsSaverUserDefaultsProvider.h"

#include <string>
#include <vector>

namespace lumora {

/// The lists of events that wait, and their backup. Ready events wait to be sent or sent again; unfilled ones
/// wait for the metadata of their ad view, which is held weakly. Any thread.
class LMEventsSaverProtocol {
public:
    virtual ~LMEventsSaverProtocol() = default;
    /// Keeps an event, ready when there is no view, else parked for it. A missing event is refused.
    virtual void saveEvent(const std::shared_ptr<TDEventModel>& event, const Object* forView) = 0;
    virtual void removeEvent(const std::shared_ptr<TDEventModel>& event) = 0;
    virtual void removeEvents(const Events& events) = 0;
    /// Takes the events parked for a view, in the order in which they were parked.
    virtual Events getEventsForView(const Object* view) = 0;
    /// Takes all ready events. Each is to be given back by `keepTakenEvent`, or dropped by `removeEvents`.
    virtual Events getPendingEventsForRetrySending() = 0;
    /// Makes a taken event ready again; false when it was delivered, and removed, meanwhile.
    virtual bool keepTakenEvent(const std::shared_ptr<TDEventModel>& event) = 0;
    /// Makes everything in the backup ready. It is read in the background, or by whoever needs it sooner.
    virtual void loadBackupEvents() = 0;
    virtual Events getUnfilledEventsWithEventsIdArray(const std::vector<std::string>& eventIds) = 0;
};

class LMEventsSaver final : public LMEventsSaverProtocol, public std::enable_shared_from_this<LMEventsSaver> {
public:
    /// The backup is ready from the first question on.
    explicit LMEventsSaver(std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider);

    std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider() const;
    void setDataProvider(std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider);

    void saveEvent(const std::shared_ptr<TDEventModel>& event, const Object* forView) override;
    void removeEvent(const std::shared_ptr<TDEventModel>& event) override;
    void removeEvents(const Events& events) override;
    Events getEventsForView(const Object* view) override;
    Events getPendingEventsForRetrySending() override;
    bool keepTakenEvent(const std::shared_ptr<TDEventModel>& event) override;
    void loadBackupEvents() override;
    Events getUnfilledEventsWithEventsIdArray(const std::vector<std::string>& eventIds) override;

private:
    void loadLocked() LUMORA_REQUIRES(m_lock);
    Events takeUnfilledLocked(const std::vector<std::string>& eventIds) LUMORA_REQUIRES(m_lock);

    // One lock for the lists and the backup's read-modify-write.
    mutable Lock m_lock;
    bool m_isLoaded LUMORA_GUARDED_BY(m_lock) { false };
    NSMapTable<std::string, Object> m_pendingUnfilledEvents LUMORA_GUARDED_BY(m_lock);
    Events m_unfilledEvents LUMORA_GUARDED_BY(m_lock);
    Events m_pendingEvents LUMORA_GUARDED_BY(m_lock);
    // In the hands of a resend pass; an answer to an earlier send may still remove them.
    Events m_takenEvents LUMORA_GUARDED_BY(m_lock);
    std::shared_ptr<LMEventsSaverProviderProtocol> m_dataProvider LUMORA_GUARDED_BY(m_lock);
};

}
