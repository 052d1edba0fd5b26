#include "service/LMEventsSaver.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/ArchivedArray.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSUserDefaults.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace lumora {

namespace {
constexpr const char* backupKey = "com.lumora.event.module.saver.ud";

EventIdentity identityOf(const TDEventModel& event) { return { event.eventId(), event.ts() }; }

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

/// What the user defaults hold now. Somebody else's archive is read, and written anew when it is not one of
/// events alone, so that its positions are those of the events.
const LMEventsSaverUserDefaultsProvider::Known& LMEventsSaverUserDefaultsProvider::known() const
{
    Value stored = NSUserDefaults::standardUserDefaults().objectForKey(backupKey);
    if (m_known.archive.data() && m_known.archive.data() == stored.data())
        return m_known;
    const Events events = getAllEvents();
    m_known = { std::move(stored), {} };
    for (const std::shared_ptr<TDEventModel>& event : events)
        m_known.events.push_back(identityOf(*event));
    const auto array = m_known.archive.data() ? ArchivedArray::of(*m_known.archive.data()) : std::nullopt;
    if (!array || array->count() != events.size())
        m_known.archive = archivedDataWithRootObject(NSArray(events.begin(), events.end()));
    return m_known;
}

void LMEventsSaverUserDefaultsProvider::store(NSData archive, std::vector<EventIdentity> events)
{
    if (archive.bytes.empty())
        return;
    m_known = { std::move(archive), std::move(events) };
    NSUserDefaults::standardUserDefaults().setObject(m_known.archive, backupKey);
}

void LMEventsSaverUserDefaultsProvider::saveEvent(const std::shared_ptr<TDEventModel>& event)
{
    if (!event || containsEvent(event))
        return;
    // Its producer may go on changing it: what is remembered is what was archived.
    EventIdentity identity;
    NSData added;
    do {
        identity = identityOf(*event);
        added = archivedDataWithRootObject(NSArray { event });
    } while (identity.eventId != event->eventId() || !(identity.ts == event->ts()));
    const auto stored = ArchivedArray::of(*known().archive.data());
    const auto array = ArchivedArray::of(added);
    if (!stored || !array)
        return;
    std::vector<EventIdentity> events = m_known.events;
    events.push_back(std::move(identity));
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
    if (!std::exchange(m_isLoaded, true))
        m_pendingEvents = m_dataProvider->getAllEvents();
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
    loadLocked();
    // Another pass may have some too.
    m_takenEvents.insert(m_takenEvents.end(), m_pendingEvents.begin(), m_pendingEvents.end());
    return std::exchange(m_pendingEvents, {});
}

} // namespace lumora
