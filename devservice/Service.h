#pragma once

#include "devservice/ArrivalStore.h"
#include "devservice/ServiceMessages.h"

#include <boost/json/fwd.hpp>
#include <functional>
#include <string_view>
#include <vector>

namespace lumora {

/// One of the remote services, as LocalServices plays it: how it answers, and what of that can be set. The
/// store of what arrives is everybody's and must outlive it. Any thread.
class Service {
public:
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    virtual ~Service() = default;

    /// The answer to an arrival of one of its kinds, before a fault changes it. Notes in the arrival what its
    /// body turned out to be.
    virtual ServiceAnswer answer(const ServiceRequest&, Arrival&) = 0;

    /// Gives one of its settings a value that has been checked.
    using Change = std::function<void()>;
    /// Nothing when the setting is none of its own; throws std::invalid_argument when it cannot have the
    /// value.
    virtual Change change(std::string_view setting, const boost::json::value&) = 0;
    virtual void describeSettings(boost::json::object&) const = 0;

protected:
    explicit Service(ArrivalStore& store)
        : m_store(store)
    {
    }

    ArrivalStore& store() const { return m_store; }

private:
    ArrivalStore& m_store;
};

} // namespace lumora
