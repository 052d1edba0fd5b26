#include "service/EventSet.h"

#include <algorithm>
#include <cmath>

namespace lumora {

EventIdentity EventIdentity::of(const TDEventModel& event)
{
    const Value ts = event.ts();
    // Not a number would not even equal itself.
    const bool isNumber = !ts.isDouble() || !std::isnan(ts.doubleValue());
    return { event.eventId(), isNumber ? ts : Value { ts.description() } };
}

EventSet::EventSet(const Events& events)
{
    for (const std::shared_ptr<TDEventModel>& event : events) {
        if (!event)
            continue;
        m_objects.insert(event.get());
        const EventIdentity identity = EventIdentity::of(*event);
        m_identities[identity.eventId.value_or("")].push_back(identity);
    }
}

bool EventSet::contains(const EventIdentity& identity) const
{
    const auto sameId = m_identities.find(identity.eventId.value_or(""));
    return sameId != m_identities.end()
        && std::find(sameId->second.begin(), sameId->second.end(), identity) != sameId->second.end();
}

bool EventSet::contains(const std::shared_ptr<TDEventModel>& event) const
{
    return m_objects.contains(event.get()) || contains(EventIdentity::of(*event));
}

} // namespace lumora
