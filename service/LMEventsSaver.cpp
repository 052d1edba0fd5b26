#include "service/LMEventsSaver.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/ArchivedArray.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSUserDefaults.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace lumora {

namespace {
constexpr const char* backupKey = "com.lumora.event.module.saver.ud";

EventIdentity identityOf(const TDEventModel& event)
{
    const Value ts = event.ts();
    // Not a number would not even equal itself.
    const bool isNumber = !ts.isDouble() || !std::isnan(ts.doubleValue());
    return { event.eventId(), isNumber ? ts : Value { ts.description() } };
}

/// Some events, to be asked whether others are among them.
class EventSet {
public:
    explicit EventSet(const Events& events)
    {
        for (const std::shared_ptr<TDEventModel>& event : events) {
            if (!event)
                continue;
            m_objects.insert(event.get());
            const EventIdentity identity = identityOf(*event);
            m_identities[identity.eventId.value_or("")].push_back(identity);
        }
    }
    bool contains(const EventIdentity& identity) const
    {
        const auto sameId = m_identities.find(identity.eventId.value_or(""));
        return sameId != m_identities.end()
            && std::find(sameId->second.begin(), sameId->second.end(), identity) != sameId->second.end();
    }
    bool contains(const std::shared_ptr<TDEventModel>& event) const
    {
        return m_objects.contains(event.get()) || contains(identityOf(*event));
    }

private:
    std::unordered_set<const TDEventModel*> m_objects;
    std::unordered_map<std::string, std::vector<EventIdentity>> m_identities;
};

Events eventsIn(const NSData& archive)
{
    Events events;
    const Value read = unarchivedObjectOfClass("TDEventModel", archive);
    if (const NSArray* elements = read.array()) {
        for (const Value& element : *elements) {
            if (auto event = as<TDEventModel>(element.object()))
                events.push_back(std::move(event));
        }
    }
    return events;
}
} // namespace

Events LMEventsSaverUserDefaultsProvider::getAllEvents() const
{
    const Value stored = NSUserDefaults::standardUserDefaults().objectForKey(backupKey);
    return stored.data() ? eventsIn(*stored.data()) : Events {};
}

/// What the user defaults hold now. Somebody else's archive, or an earlier launch's, is read and made anew,
/// so that no damage in it is handed on and its positions are those of the events.
const LMEventsSaverUserDefaultsProvider::Known& LMEventsSaverUserDefaultsProvider::known() const
{
    Value stored = NSUserDefaults::standardUserDefaults().objectForKey(backupKey);
    if (m_known.stored.data() && m_known.stored.data() == stored.data())
        return m_known;
    const Events events = stored.data() ? eventsIn(*stored.data()) : Events {};
    m_known = { std::move(stored), archivedDataWithRootObject(NSArray(events.begin(), events.end())), {} };
    for (const std::shared_ptr<TDEventModel>& event : events)
        m_known.events.push_back(identityOf(*event));
    return m_known;
}

void LMEventsSaverUserDefaultsProvider::store(NSData archive, std::vector<EventIdentity> events)
{
    Value stored = std::move(archive);
    m_known = { stored, stored, std::move(events) };
    NSUserDefaults::standardUserDefaults().setObject(std::move(stored), backupKey);
}

void LMEventsSaverUserDefaultsProvider::saveEvent(const std::shared_ptr<TDEventModel>& event)
{
    if (!event)
        return;
    if (!event->eventId())
        event->setEventId(newUUIDString());
    if (containsEvent(event)) {
        // In memory, at least: the disk may have been full.
        NSUserDefaults::standardUserDefaults().synchronize();
        return;
    }
    // Its producer may go on changing it: what counts is what was archived, and that it reads back.
    const NSData added = archivedDataWithRootObject(NSArray { event });
    const Events readBack = eventsIn(added);
    const auto stored = ArchivedArray::of(*known().archive.data());
    const auto array = ArchivedArray::of(added);
    if (readBack.size() != 1 || !stored || !array)
        return;
    std::vector<EventIdentity> events = m_known.events;
    events.push_back(identityOf(*readBack[0]));
    store(stored->appending(*array), std::move(events));
}

void LMEventsSaverUserDefaultsProvider::removeEvent(const std::shared_ptr<TDEventModel>& event)
{
    removeEvents({ event });
}

void LMEventsSaverUserDefaultsProvider::removeEvents(const Events& events)
{
    const EventSet gone(events);
    std::vector<size_t> positions;
    std::vector<EventIdentity> left;
    for (const EventIdentity& stored : known().events) {
        if (gone.contains(stored))
            positions.push_back(positions.size() + left.size());
        else
            left.push_back(stored);
    }
    if (positions.empty())
        return;
    if (const auto array = ArchivedArray::of(*m_known.archive.data()))
        store(array->removing(positions), std::move(left));
}

size_t LMEventsSaverUserDefaultsProvider::eventsCount() const { return known().events.size(); }

bool LMEventsSaverUserDefaultsProvider::containsEvent(const std::shared_ptr<TDEventModel>& event) const
{
    const std::vector<EventIdentity>& stored = known().events;
    return event && std::find(stored.begin(), stored.end(), identityOf(*event)) != stored.end();
}

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
