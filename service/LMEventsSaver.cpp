#include "service/LMEventsSaver.h"

#include "platform/dispatch/Executor.h"

#include <algorithm>
#include <unordered_map>

namespace lumora {

LMEventsSaver::LMEventsSaver(std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider)
    : m_dataProvider(std::move(dataProvider))
{
}

std::shared_ptr<LMEventsSaverProviderProtocol> LMEventsSaver::dataProvider() const
{
    Locker hold(m_lock);
    return m_dataProvider;
}

void LMEventsSaver::setDataProvider(std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider)
{
    // What was there goes after the lock.
    Locker hold(m_lock);
    m_dataProvider.swap(dataProvider);
}

void LMEventsSaver::loadBackupEvents()
{
    {
        Locker hold(m_lock);
        m_isLoaded = false;
    }
    dispatch_get_global_queue().async([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            Locker hold(self->m_lock);
            self->loadLocked();
        }
    });
}

void LMEventsSaver::loadLocked()
{
    if (m_isLoaded)
        return;
    m_pendingEvents = m_dataProvider->getAllEvents();
    m_isLoaded = true;
}

void LMEventsSaver::saveEvent(const std::shared_ptr<TDEventModel>& event, const Object* forView)
{
    if (!event)
        return;
    const std::shared_ptr<Object> view = retain(const_cast<Object*>(forView));
    Locker hold(m_lock);
    loadLocked();
    if (view)
        m_pendingUnfilledEvents.setObject(event->eventId().value_or(""), view);
    // A view that is dying right now still had its event parked for it.
    (forView ? m_unfilledEvents : m_pendingEvents).push_back(event);
    m_dataProvider->saveEvent(event);
}

bool LMEventsSaver::keepTakenEvent(const std::shared_ptr<TDEventModel>& event)
{
    Locker hold(m_lock);
    const auto taken = std::find_if(m_takenEvents.begin(), m_takenEvents.end(),
        [&](const std::shared_ptr<TDEventModel>& other) { return event->isEqual(other.get()); });
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
    loadLocked();
    const EventSet gone(events);
    for (Events* list : { &m_pendingEvents, &m_unfilledEvents, &m_takenEvents }) {
        const auto end = std::stable_partition(list->begin(), list->end(),
            [&](const std::shared_ptr<TDEventModel>& event) { return !gone.contains(event); });
        removed.insert(removed.end(), end, list->end());
        list->erase(end, list->end());
    }
    m_dataProvider->removeEvents(events);
}

Events LMEventsSaver::getEventsForView(const Object* view)
{
    // Compared outside the lock: equality may be a view's own.
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
    // A view dies on the main thread, also when these references are the last ones.
    dispatch_get_main_queue().async([held = std::move(parked)] {});
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
    std::unordered_map<std::string_view, Events> wanted;
    for (const std::string& eventId : eventIds)
        wanted[eventId];
    std::erase_if(m_unfilledEvents, [&](const std::shared_ptr<TDEventModel>& event) {
        const auto place = wanted.find(event->eventId().value_or(""));
        if (place != wanted.end())
            place->second.push_back(event);
        return place != wanted.end();
    });
    Events taken;
    for (const std::string& eventId : eventIds) {
        const Events events = std::exchange(wanted[eventId], {});
        taken.insert(taken.end(), events.begin(), events.end());
    }
    return taken;
}

Events LMEventsSaver::getPendingEventsForRetrySending()
{
    Locker hold(m_lock);
    loadLocked();
    // Another pass may have some too.
    m_takenEvents.insert(m_takenEvents.end(), m_pendingEvents.begin(), m_pendingEvents.end());
    return std::exchange(m_pendingEvents, {});
}

} // namespace lumora
