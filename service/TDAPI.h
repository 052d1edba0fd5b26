#pragma once

#include "core/TDConfig.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURLSession.h"

#include <functional>

namespace lumora {

/// The client of the configuration service; the one place that knows its wire form. Stateless but for the
/// authorisation key. Any thread. Callbacks come once, on the HTTP session's queue, never on the main thread;
/// nothing is retried here.
class TDAPI {
public:
    /// What a request is for. Carried in the interface; every kind goes to the same base address.
    enum class EndpointType { Configuration = 0, Impression = 1, AdRecord = 2, Report = 3 };

    using ConfigCompletion = std::function<void(const std::shared_ptr<TDConfig>&)>;
    using ConfigFailure = std::function<void(const NSError&)>;
    using Completion = std::function<void(bool delivered, const NSDictionary&)>;
    using Failure = std::function<void(const NSDictionary&)>;

    static std::string getURLWithType(EndpointType type);
    /// Replaces the key of all requests built from now on; an absent one is ignored.
    static void setNewAuthKey(const std::optional<std::string>& key);
    /// "Bearer " and the key; "Bearer (null)" without one.
    static std::string getBearer();
    /// A request with a time-out of 15 s that ignores local caches and carries content type and
    /// authorisation.
    static NSMutableURLRequest createURLRequestWithURL(const std::string& url, const std::string& andMethod);
    /// The first run of decimal digits in a text.
    static std::optional<std::string> getIntNumbersFromString(std::string_view text);

    /// Fetches the configuration. Every HTTP answer gives a record, inactive unless a 200 says otherwise; a
    /// body of more than 256 KiB adds nothing to it, like one that is no JSON. `failure` hears of transport
    /// errors and of an address that is no URL.
    static void activateTindalWithCompletion(ConfigCompletion completion, ConfigFailure failure);
    /// Records an impression; fire and forget. The library's own fields win over the caller's.
    static void recordImpression(const NSDictionary& fields);
    /// Sends an ad record. The caller's fields win over the device's. Any HTTP answer counts as delivered.
    static void sendAdInfo(const NSDictionary& record, Completion completion, Failure failure);
    /// Sends a report or an event: a JSON array of one object. The caller's fields win. Any HTTP answer
    /// counts as delivered.
    static void sendReport(const NSDictionary& report, Completion completion, Failure failure);
};

}
