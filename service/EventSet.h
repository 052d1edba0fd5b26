#pragma once

#include "service/TDEventModel.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace lumora {

using Events = std::vector<std::shared_ptr<TDEventModel>>;

/// What tells two events of the backup apart.
struct EventIdentity {
    static EventIdentity of(const TDEventModel& event);
    bool operator==(const EventIdentity& other) const = default;

    TDEventModel::Text eventId;
    Value ts;
};

/// Some events, to be asked whether others are among them. A plain value.
class EventSet {
public:
    explicit EventSet(const Events& events);
    bool contains(const EventIdentity& identity) const;
    /// Also by being the same object.
    bool contains(const std::shared_ptr<TDEventModel>& event) const;

private:
    std::unordered_set<const TDEventModel*> m_objects;
    std::unordered_map<std::string, std::vector<EventIdentity>> m_identities;
};

} // namespace lumora
