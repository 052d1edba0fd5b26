#pragma once

#include "devservice/Service.h"
#include "platform/process/Lock.h"

#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// The configuration service's stand-in. Lets in who bears the accepted key, hands out the record, and takes
/// impressions, reports and ad records. A body for the ad path that is no JSON counts as a report when it
/// starts with '[', else as an ad record. Settings that cannot be acted out throw std::invalid_argument and
/// change nothing. Any thread.
class ConfigurationService final : public Service {
public:
    static constexpr std::string_view apiPath = "/api/v1/";

    ConfigurationService(ArrivalStore&, std::string acceptedKey);

    static ArrivalKind kindOfAd(std::string_view body);
    ServiceAnswer answer(const ServiceRequest&, Arrival&) override;
    Change change(std::string_view setting, const boost::json::value&) override;
    void describeSettings(boost::json::object&) const override;

    void setAcceptedKey(std::string); ///< an empty key lets nobody in
    void setRecord(std::string jsonObject);
    void setCacheControl(std::string); ///< empty leaves the header out

    // Oldest first. These throw StoreError.
    std::vector<Arrival> configurationFetches() const
    {
        return store().oldestFirst(ArrivalKind::ConfigurationFetch);
    }
    std::vector<Arrival> impressions() const { return store().oldestFirst(ArrivalKind::Impression); }
    std::vector<Arrival> adRecords() const { return store().oldestFirst(ArrivalKind::AdRecord); }
    std::vector<Arrival> reports() const { return store().oldestFirst(ArrivalKind::Report); }

private:
    struct Settings {
        std::string acceptedKey;
        std::string record;
        std::string cacheControl;
    };
    Settings settings() const;

    mutable Lock m_lock;
    Settings m_settings LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
