#include "service/LMEventsSaver.h"

#include "platform/foundation/ArchivedArray.h"
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

bool LMEventsSaverUserDefaultsProvider::isEqual(const Identity& identity, const TDEventModel& event)
{
    // What is unset equals nothing.
    return identity.eventId && !identity.ts.isNothing() && identity.eventId == event.eventId()
        && identity.ts == event.ts();
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
        m_known.events.push_back({ event->eventId(), event->ts() });
    const auto array = m_known.archive.data() ? ArchivedArray::of(*m_known.archive.data()) : std::nullopt;
    if (!array || array->count() != events.size())
        m_known.archive = archivedDataWithRootObject(NSArray(events.begin(), events.end()));
    return m_known;
}

void LMEventsSaverUserDefaultsProvider::store(NSData archive, std::vector<Identity> events)
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
    Identity identity;
    NSData added;
    do {
        identity = { event->eventId(), event->ts() };
        added = archivedDataWithRootObject(NSArray { event });
    } while (identity.eventId != event->eventId() || !(identity.ts == event->ts()));
    const auto stored = ArchivedArray::of(*known().archive.data());
    const auto array = ArchivedArray::of(added);
    if (!stored || !array)
        return;
    std::vector<Identity> events = m_known.events;
    events.push_back(std::move(identity));
    store(stored->appending(*array), std::move(events));
}

void LMEventsSaverUserDefaultsProvider::removeEvent(const std::shared_ptr<TDEventModel>& event)
{
    removeEvents({ event });
}

void LMEventsSaverUserDefaultsProvider::removeEvents(const Events& events)
{
    std::vector<size_t> positions;
    std::vector<Identity> left;
    const std::vector<Identity>& stored = known().events;
    for (size_t i = 0; i < stored.size(); i++) {
        const bool isGone = std::any_of(events.begin(), events.end(),
            [&](const std::shared_ptr<TDEventModel>& event) { return event && isEqual(stored[i], *event); });
        if (isGone)
            positions.push_back(i);
        else
            left.push_back(stored[i]);
    }
    if (positions.empty())
        return;
    if (const auto array = ArchivedArray::of(*m_known.archive.data()))
        store(array->removing(positions), std::move(left));
}

size_t LMEventsSaverUserDefaultsProvider::eventsCount() const { return known().events.size(); }

bool LMEventsSaverUserDefaultsProvider::containsEvent(const std::shared_ptr<TDEventModel>& event) const
{
    const std::vector<Identity>& stored = known().events;
    return event && std::any_of(stored.begin(), stored.end(), [&](const Identity& identity) {
        return isEqual(identity, *event);
    });
}

LMEventsSaver::LMEventsSaver(std::shared_ptr<LMEventsSaverProviderProtocol> dataProvider)
    : m_dataProvider(std::move(dataProvider))
{
    loadBackupEvents();
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
    m_takenEvents = std::exchange(m_pendingEvents, {});
    return m_takenEvents;
}

} // namespace lumora
