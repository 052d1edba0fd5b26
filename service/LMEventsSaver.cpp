#include "service/LMEventsSaver.h"

#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSUserDefaults.h"

#include <algorithm>
#include <functional>

namespace lumora {

namespace {
constexpr const char* backupKey = "com.lumora.event.module.saver.ud";

auto equalTo(const std::shared_ptr<TDEventModel>& event)
{
    return
        [event](const std::shared_ptr<TDEventModel>& other) { return event && event->isEqual(other.get()); };
}
} // namespace

Events LMEventsSaverUserDefaultsProvider::getAllEvents() const
{
    Events events;
    const Value stored = NSUserDefaults::standardUserDefaults().objectForKey(backupKey);
    if (!stored.data())
        return events;
    const Value unarchived = unarchiveObjectWithData(*stored.data());
    if (const NSArray* elements = unarchived.array()) {
        for (const Value& element : *elements) {
            if (auto event = as<TDEventModel>(element.object()))
                events.push_back(std::move(event));
        }
    }
    return events;
}

void LMEventsSaverUserDefaultsProvider::write(const Events& events)
{
    const NSData archive = archivedDataWithRootObject(NSArray(events.begin(), events.end()));
    if (!archive.bytes.empty())
        NSUserDefaults::standardUserDefaults().setObject(archive, backupKey);
}

void LMEventsSaverUserDefaultsProvider::saveEvent(const std::shared_ptr<TDEventModel>& event)
{
    if (!event)
        return;
    Events events = getAllEvents();
    if (std::any_of(events.begin(), events.end(), equalTo(event)))
        return;
    events.push_back(event);
    write(events);
}

void LMEventsSaverUserDefaultsProvider::removeEvent(const std::shared_ptr<TDEventModel>& event)
{
    Events events = getAllEvents();
    std::erase_if(events, equalTo(event));
    write(events);
}

size_t LMEventsSaverUserDefaultsProvider::eventsCount() const { return getAllEvents().size(); }

bool LMEventsSaverUserDefaultsProvider::containsEvent(const std::shared_ptr<TDEventModel>& event) const
{
    const Events events = getAllEvents();
    return std::any_of(events.begin(), events.end(), equalTo(event));
}

LMEventsSaver::LMEventsSaver(std::unique_ptr<LMEventsSaverProviderProtocol> dataProvider)
    : m_dataProvider(std::move(dataProvider))
{
    loadBackupEvents();
}

void LMEventsSaver::loadBackupEvents()
{
    Locker hold(m_lock);
    m_pendingEvents = m_dataProvider->getAllEvents();
}

void LMEventsSaver::saveEvent(const std::shared_ptr<TDEventModel>& event, const Object* forView)
{
    if (!event)
        return;
    const std::shared_ptr<Object> view = retain(const_cast<Object*>(forView));
    Locker hold(m_lock);
    if (view)
        m_pendingUnfilledEvents.setObject(event->eventId().value_or(""), view);
    // A view that is dying right now still had its event parked for it.
    (forView ? m_unfilledEvents : m_pendingEvents).push_back(event);
    m_dataProvider->saveEvent(event);
}

bool LMEventsSaver::keepTakenEvent(const std::shared_ptr<TDEventModel>& event)
{
    Locker hold(m_lock);
    const auto taken = std::find_if(m_takenEvents.begin(), m_takenEvents.end(), equalTo(event));
    if (taken == m_takenEvents.end())
        return false;
    m_takenEvents.erase(taken);
    m_pendingEvents.push_back(event);
    m_dataProvider->saveEvent(event);
    return true;
}

void LMEventsSaver::removeEvent(const std::shared_ptr<TDEventModel>& event) { removeEvents({ event }); }

void LMEventsSaver::removeEvents(const Events& events)
{
    // What goes, goes after the lock.
    Events removed;
    Locker hold(m_lock);
    for (const std::shared_ptr<TDEventModel>& event : events) {
        for (Events* list : { &m_pendingEvents, &m_unfilledEvents, &m_takenEvents }) {
            const auto gone = std::stable_partition(list->begin(), list->end(), std::not_fn(equalTo(event)));
            removed.insert(removed.end(), gone, list->end());
            list->erase(gone, list->end());
        }
        if (m_dataProvider->containsEvent(event))
            m_dataProvider->removeEvent(event);
    }
}

Events LMEventsSaver::getEventsForView(const Object* view)
{
    // Compared outside the lock: equality may be a view's own, and these references may be the last ones.
    std::vector<NSMapTable<std::string, Object>::Entry> parked;
    {
        Locker hold(m_lock);
        parked = m_pendingUnfilledEvents.allEntries();
    }
    std::vector<std::string> eventIds;
    for (const auto& [eventId, parkedFor] : parked) {
        if (view && parkedFor->isEqual(view))
            eventIds.push_back(eventId);
    }
    Locker hold(m_lock);
    for (const std::string& eventId : eventIds)
        m_pendingUnfilledEvents.removeObject(eventId);
    return takeUnfilledLocked(eventIds);
}

Events LMEventsSaver::getUnfilledEventsWithEventsIdArray(const std::vector<std::string>& eventIds)
{
    Locker hold(m_lock);
    return takeUnfilledLocked(eventIds);
}

Events LMEventsSaver::takeUnfilledLocked(const std::vector<std::string>& eventIds)
{
    Events taken;
    for (const std::string& eventId : eventIds) {
        std::erase_if(m_unfilledEvents, [&](const std::shared_ptr<TDEventModel>& event) {
            const bool wanted = event->eventId().value_or("") == eventId;
            if (wanted)
                taken.push_back(event);
            return wanted;
        });
    }
    return taken;
}

Events LMEventsSaver::getPendingEventsForRetrySending()
{
    Locker hold(m_lock);
    m_takenEvents = std::exchange(m_pendingEvents, {});
    return m_takenEvents;
}

} // namespace lumora
