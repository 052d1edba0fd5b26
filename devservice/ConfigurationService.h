#pragma once

#include "devservice/ArrivalStore.h"
#include "devservice/Fault.h"
#include "devservice/ServiceMessages.h"
#include "platform/process/Lock.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// The configuration service's stand-in, without sockets: a LoopbackServer or a simulated network carries
/// requests to handle(). Any thread may call anything; calls are serialised. Bad requests get a 4xx answer
/// with a JSON "error", a failing store a 500 answer; settings that cannot be acted out throw
/// std::invalid_argument and change nothing.
///
/// Everything sent to the service is kept, refused or not, with the status it was answered. A body for the ad
/// path that is no JSON counts as a report when it starts with '[', else as an ad record.
class ConfigurationService {
public:
    static constexpr std::string_view apiPath = "/api/v1/";

    /// `database` is a file or ":memory:". Throws StoreError when it cannot be opened.
    explicit ConfigurationService(std::string acceptedKey, const std::string& database = ":memory:");

    ServiceAnswer handle(const ServiceRequest&) noexcept;

    void setAcceptedKey(std::string); ///< an empty key lets nobody in
    void setRecord(std::string jsonObject);
    void setCacheControl(std::string); ///< empty leaves the header out
    /// Of the faults for a path the oldest is acted out, until it is used up.
    void addFault(Fault);
    void clearFaults();

    // Oldest first. These throw StoreError.
    std::vector<Arrival> configurationFetches() const { return arrivals(ArrivalKind::ConfigurationFetch); }
    std::vector<Arrival> impressions() const { return arrivals(ArrivalKind::Impression); }
    std::vector<Arrival> adRecords() const { return arrivals(ArrivalKind::AdRecord); }
    std::vector<Arrival> reports() const { return arrivals(ArrivalKind::Report); }

private:
    struct Settings {
        std::string acceptedKey;
        std::string record;
        std::string cacheControl;
        std::deque<Fault> faults;
    };

    ServiceAnswer dispatch(const ServiceRequest&);
    ServiceAnswer exchange(ArrivalKind, const ServiceRequest&);
    ServiceAnswer judge(const Arrival&, std::string_view complaint) const LUMORA_REQUIRES(m_lock);
    std::optional<Fault> takeFault(std::string_view path) LUMORA_REQUIRES(m_lock);
    ServiceAnswer control(const std::string& body);
    ServiceAnswer settings() const;
    ServiceAnswer list(ArrivalKind) const;
    ServiceAnswer page() const;
    std::vector<Arrival> arrivals(ArrivalKind) const;

    mutable Lock m_lock;
    mutable ArrivalStore m_store LUMORA_GUARDED_BY(m_lock);
    Settings m_settings LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
