#include "service/TDAPI.h"

#include "core/TDDeviceInformation.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSRegularExpression.h"
#include "platform/foundation/NSString.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "service/ServiceConfiguration.h"
#include "service/ServiceRequests.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

// A record is some hundred bytes; what is read of it may take sixty times its size in memory.
constexpr size_t longestRecord = size_t { 256 } << 10;

ProcessLocal<AtomicProperty<std::optional<std::string>>> s_authKey;

NSDictionary deviceFields()
{
    NSDictionary fields = commonDeviceFields();
    fields.set("uuid", lowercased(TDDeviceInformation::getUUID()));
    fields.set("os", "ios");
    fields.set("connection", TDDeviceInformation::getConnectionType());
    fields.set("lmVersion", TDDeviceInformation::getLMVersion());
    return fields;
}

using EndpointType = TDAPI::EndpointType;

// A body that cannot be encoded is sent empty; the service's answer decides.
NSMutableURLRequest postRequest(EndpointType type, const std::string& path, const Value& body)
{
    NSMutableURLRequest request
        = TDAPI::createURLRequestWithURL(stringWithFormat(path, { TDAPI::getURLWithType(type) }), "POST");
    request.httpBody = dataWithJSONObject(body).value_or("");
    // Nobody reads what the service has to say.
    request.longestBody = 0;
    return request;
}

void start(NSMutableURLRequest request, NSURLSession::Completion completion)
{
    NSURLSession::sharedSession().dataTaskWithRequest(std::move(request), std::move(completion));
}

NSURLSession::Completion deliveryHandler(TDAPI::Completion completion, TDAPI::Failure failure)
{
    return [completion = std::move(completion), failure = std::move(failure)](const NSData&,
               const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error) {
        if (error)
            callCompletion(failure, NSDictionary {});
        else if (response)
            callCompletion(completion, true, NSDictionary {});
    };
}

std::shared_ptr<TDConfig> configFrom(const NSData& body, const NSHTTPURLResponse& response)
{
    NSDictionary entries;
    guarded([&] {
        const std::optional<Value> parsed
            = response.statusCode == 200 ? JSONObjectWithData(body.view()) : std::nullopt;
        if (parsed && parsed->isDictionary())
            entries = *parsed->dictionary();
    });
    guarded([&] {
        // The body's own time to live wins over the header's.
        const std::string* cacheControl
            = entries.find("ttlConfig") ? nullptr : response.headerFields.find("cache-control");
        if (std::optional<std::string> seconds
            = cacheControl ? TDAPI::getIntNumbersFromString(*cacheControl) : std::nullopt)
            entries.set("ttlConfig", *seconds);
    });
    return TDConfig::initWithDictionary(&entries);
}

} // namespace

std::string TDAPI::getURLWithType(EndpointType) { return LUMORA_CONFIGURATION_SERVICE; }

void TDAPI::setNewAuthKey(const std::optional<std::string>& key)
{
    if (key)
        s_authKey.get().set(key);
}

std::string TDAPI::getBearer()
{
    const std::optional<std::string> key = s_authKey.get().get();
    return stringWithFormat("Bearer %@", { key ? Value { *key } : Value {} });
}

NSMutableURLRequest TDAPI::createURLRequestWithURL(const std::string& url, const std::string& andMethod)
{
    NSMutableURLRequest request = jsonRequest(url, andMethod);
    request.addValue(getBearer(), "Authorization");
    return request;
}

std::optional<std::string> TDAPI::getIntNumbersFromString(std::string_view text)
{
    static const auto& digits
        = *new std::shared_ptr(NSRegularExpression::regularExpressionWithPattern("\\d+", false));
    const auto match = digits->firstMatchInString(text);
    return match ? std::optional(match->text) : std::nullopt;
}

void TDAPI::activateTindalWithCompletion(ConfigCompletion completion, ConfigFailure failure)
{
    // The versions go in as they are: the service reads them unescaped.
    const std::string url = stringWithFormat("%@sdk/config?platform_version=%@&sdk_version=%@",
        { getURLWithType(EndpointType::Configuration), TDDeviceInformation::getOSVersion(),
            TDDeviceInformation::getLMVersionWithoutBuild() });
    NSMutableURLRequest request = createURLRequestWithURL(url, "GET");
    request.longestBody = longestRecord;
    start(std::move(request),
        [completion = std::move(completion), failure = std::move(failure)](const NSData& body,
            const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error) {
            if (error)
                callCompletion(failure, *error);
            else if (response && completion)
                callCompletion(completion, configFrom(body, *response));
        });
}

void TDAPI::recordImpression(const NSDictionary& fields)
{
    NSDictionary body = fields;
    body.set("platform_version", TDDeviceInformation::getOSVersion());
    body.set("sdk_version", TDDeviceInformation::getLMVersion());
    body.set("app_build", TDDeviceInformation::getBuildNumber());
    body.set("app_version", TDDeviceInformation::getAppVersion());
    start(postRequest(EndpointType::Impression, "%@sdk/impression", body), nullptr);
}

void TDAPI::sendAdInfo(const NSDictionary& record, Completion completion, Failure failure)
{
    NSDictionary body = deviceFields();
    body.set("ts", stringWithFormat("%f", { timeIntervalSince1970Now() }));
    body.addEntriesFrom(record);
    start(postRequest(EndpointType::AdRecord, "%@ad", body),
        deliveryHandler(std::move(completion), std::move(failure)));
}

void TDAPI::sendReport(const NSDictionary& report, Completion completion, Failure failure)
{
    NSDictionary body = deviceFields();
    body.addEntriesFrom(report);
    // A report has no path of its own: kept, the service tells it from an ad record by the array.
    NSMutableURLRequest request = postRequest(EndpointType::Report, "%@ad", NSArray { body });
    request.setValue(getBearer(), "Authorization");
    start(std::move(request), deliveryHandler(std::move(completion), std::move(failure)));
}

} // namespace lumora
