#pragma once

#include "service/EventSet.h"

namespace lumora {

/// Keeps events across launches.
class LMEventsSaverProviderProtocol {
public:
    virtual ~LMEventsSaverProviderProtocol() = default;
    /// Adds an event unless an equal one is kept. One without an event ID gets one: it could never be
    /// removed.
    virtual void saveEvent(const std::shared_ptr<TDEventModel>& event) = 0;
    virtual void removeEvent(const std::shared_ptr<TDEventModel>& event) = 0;
    /// Removes many at the cost of one.
    virtual void removeEvents(const Events& events) = 0;
    virtual Events getAllEvents() const = 0;
    virtual size_t eventsCount() const = 0;
    virtual bool containsEvent(const std::shared_ptr<TDEventModel>& event) const = 0;
};

/// The backup in the user defaults: one keyed archive of an array. Every operation reads and writes the whole
/// array, but decodes nothing that stays; what cannot be read counts as empty. Not synchronised: its owner's
/// lock makes read-modify-write one step.
class LMEventsSaverUserDefaultsProvider final : public LMEventsSaverProviderProtocol {
public:
    void saveEvent(const std::shared_ptr<TDEventModel>& event) override;
    void removeEvent(const std::shared_ptr<TDEventModel>& event) override;
    void removeEvents(const Events& events) override;
    Events getAllEvents() const override;
    size_t eventsCount() const override;
    bool containsEvent(const std::shared_ptr<TDEventModel>& event) const override;

private:
    /// An archive of our own making, and the events it holds, in order. It is worth something as long as the
    /// user defaults hold the very bytes it was made from.
    struct Known {
        Value stored;
        Value archive;
        std::vector<EventIdentity> events;
    };

    const Known& known() const;
    void store(NSData archive, std::vector<EventIdentity> events);

    mutable Known m_known;
};

} // namespace lumora
