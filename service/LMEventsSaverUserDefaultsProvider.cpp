#include "service/LMEventsSaverUserDefaultsProvider.h"

#include "platform/foundation/ArchivedArray.h"
#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSUserDefaults.h"

#include <algorithm>

namespace lumora {

namespace {

constexpr const char* backupKey = "com.lumora.event.module.saver.ud";

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
        m_known.events.push_back(EventIdentity::of(*event));
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
    events.push_back(EventIdentity::of(*readBack[0]));
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
    return event && std::find(stored.begin(), stored.end(), EventIdentity::of(*event)) != stored.end();
}

} // namespace lumora
