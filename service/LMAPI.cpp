#include "service/LMAPI.h"

#include "core/TDActivationManager.h"
#include "core/TDDeviceInformation.h"
#include "lumora/LMLog.h"
#include "lumora/LMLogManager.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "platform/security/arc4random.h"
#include "service/ServiceConfiguration.h"
#include "service/ServiceRequests.h"
#include "service/StoredDataAnswer.h"
#include "support/Guarded.h"
#include "support/NSDataExtensions.h"
#include "support/NSStringExtensions.h"

#include <algorithm>

namespace lumora {

namespace {

// Bytes of an answer to a batch, which is a line for each ad. What is read of it may take sixty times its
// size in memory, hence the bound.
constexpr size_t longestShortAnswer = size_t { 256 } << 10;
constexpr size_t longestLine = 256;
constexpr size_t longestAnswer = size_t { 512 } << 10;

constexpr const char* eventKey = "tallowMeridianVextallowMeridianV";
constexpr const char* complaintPrefix = "tallowMeridianVextallowMeridianVex";
constexpr int64_t saltLength = 32;
constexpr int64_t vectorLength = 16;

ProcessLocal<AtomicProperty<std::optional<std::string>>> s_key;
ProcessLocal<AtomicProperty<std::optional<std::string>>> s_testBundle;

using Handler = NSURLSession::Completion;

NSDictionary deviceFields()
{
    NSDictionary fields = commonDeviceFields();
    fields.set("uuid", TDDeviceInformation::getUUID());
    fields.set("lmSdkVersion", TDDeviceInformation::getLMVersion());
    fields.set("ts", saturatingInteger(timeIntervalSince1970Now() * 1000));
    return fields;
}

/// The fields of an upload that also says how the device is connected.
NSDictionary deviceFieldsWithConnection()
{
    NSDictionary fields = deviceFields();
    fields.set("connection", TDDeviceInformation::getConnectionType());
    return fields;
}

/// "%@" in the path are the collector, the bundle identifier and what else is given, which comes last.
NSMutableURLRequest postRequest(const char* path, const Value& more = {})
{
    NSMutableURLRequest request = LMAPI::createURLRequestWithURL(
        stringWithFormat(path, { LUMORA_COLLECTOR_SERVICE, TDDeviceInformation::getBundleID(), more }),
        "POST");
    // Nobody reads what the service has to say, but for the answer to a batch.
    request.longestBody = 0;
    return request;
}

std::shared_ptr<NSURLSessionDataTask> start(NSMutableURLRequest request, Handler handler)
{
    return NSURLSession::sharedSession().dataTaskWithRequest(std::move(request), std::move(handler));
}

template <typename F> void whenActive(F&& work)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock(
        [work = std::forward<F>(work)](bool active) {
            if (active)
                work();
        });
}

bool isOK(const std::optional<NSHTTPURLResponse>& response)
{
    return response && response->statusCode == 200;
}

void logError(const NSError& error) { LMLog::logError(NSErrorObject::of(error).get()); }

std::string encrypted(
    const std::optional<std::string>& plain, const std::optional<std::string>& key, const std::string& vector)
{
    const auto cipher
        = plain && key ? AES256EncryptWithKey(NSData::fromText(*plain), *key, vector) : std::nullopt;
    return cipher ? base64Encoded(*cipher) : "";
}

/// Screenshots and source hashes go the same way.
void sendContent(const char* path, const char* name, const Value& content, LMAPI::Completion completion,
    LMAPI::Failure failure)
{
    whenActive([=] {
        NSMutableURLRequest request = postRequest(path);
        NSDictionary body = deviceFieldsWithConnection();
        if (!content.isNothing())
            body.set(name, content);
        request.httpBody = dataWithJSONObject(body).value_or("");
        start(std::move(request), [=](const NSData&, const auto& response, const auto& error) {
            if (error) {
                logError(*error);
                callCompletion(failure, NSDictionary {});
            }
            if (isOK(response))
                callCompletion(completion, true, NSDictionary {});
        });
    });
}

/// Who waits for the answer to a batch.
struct BatchCallbacks {
    LMAPI::Summary successSimple;
    LMAPI::Summary successComplete;
    LMAPI::StoredDataFailure failure;
    LMAPI::Completion successCompleteDeleteAll;
};

void batchFailed(const BatchCallbacks& callbacks, const NSError& error, bool wasEncoded)
{
    constexpr int64_t notFound = 404;
    logError(error);
    if (error.code == notFound) {
        if (!callbacks.successSimple)
            return;
        LMLog::logErrorMessage("[LMAPI][sendStoredData] response from server is 404");
        callCompletion(callbacks.successSimple, missingItems(std::nullopt, wasEncoded), NSDictionary {});
    } else if (callbacks.failure) {
        LMLog::logErrorMessage("[LMAPI][sendStoredData] response from server is error");
        callCompletion(callbacks.failure, error, NSDictionary {});
    } else {
        LMLog::logErrorMessage("[LMAPI][sendStoredData] something wrong with server");
    }
}

void batchAnswered(
    const BatchCallbacks& callbacks, int status, std::optional<std::string_view> body, bool wasEncoded)
{
    constexpr int multiStatus = 207;
    if (status == 200) {
        LMLog::logMessage("[LMAPI][sendStoredData] response from server is 200");
        callCompletion(callbacks.successCompleteDeleteAll, true, NSDictionary {});
    } else if (status == multiStatus) {
        if (!callbacks.successComplete)
            return;
        LMLog::logMessage("[LMAPI][sendStoredData] response from server is 207");
        callCompletion(callbacks.successComplete, missingItems(body, wasEncoded), NSDictionary {});
    } else if (callbacks.failure) {
        LMLog::logErrorMessage("[LMAPI][sendStoredData] strange response from server");
        callCompletion(callbacks.failure, std::nullopt, NSDictionary {});
    }
}

} // namespace

void LMAPI::setNewAuthKey(const std::optional<std::string>& key)
{
    if (key)
        s_key.get().set(key);
}

void LMAPI::setBundleForTest(const std::optional<std::string>& bundle)
{
    if (bundle)
        s_testBundle.get().set(bundle);
}

NSMutableURLRequest LMAPI::createURLRequestWithURL(const std::string& url, const std::string& andMethod)
{
    NSMutableURLRequest request = jsonRequest(url, andMethod);
    if (std::optional<std::string> key = s_key.get().get())
        request.addValue(*std::move(key), "Authorization");
    return request;
}

NSDictionary LMAPI::prepareResponseInfoWith(const std::optional<NSData>& body,
    const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error)
{
    const std::optional<Value> parsed = body ? JSONObjectWithData(body->view()) : std::nullopt;
    return {
        { "dictionaryFromData", parsed.value_or(NSDictionary {}) },
        { "urlResponse", response ? Value { NSHTTPURLResponseObject::of(*response) } : Value { "" } },
        { "error", error ? Value { NSErrorObject::of(*error) } : Value { "" } },
    };
}

std::string LMAPI::randomStringWithLength(int64_t length, bool numbersOnly)
{
    constexpr std::string_view digits = "0123456789";
    constexpr std::string_view all = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const std::string_view alphabet = numbersOnly ? digits : all;
    std::string text;
    for (int64_t i = 0; i < length; i++)
        text += alphabet[arc4random_uniform(static_cast<uint32_t>(alphabet.size()))];
    return text;
}

void LMAPI::sendScreenshot(const Value& screenshots, Completion completion, Failure failure)
{
    sendContent("%@/ads/ios/%@/i", "screenshots", screenshots, std::move(completion), std::move(failure));
}

void LMAPI::sendSourceHash(const Value& sources, Completion completion, Failure failure)
{
    sendContent("%@/ads/ios/%@/h", "sources", sources, std::move(completion), std::move(failure));
}

void LMAPI::sendComplaintInfo(const std::optional<NSDictionary>& complaint, Delivered completion)
{
    whenActive([complaint, completion = std::move(completion)] {
        if (!complaint)
            return;
        NSMutableURLRequest request = postRequest("%@/complaints/ios/%@/");
        NSDictionary body = deviceFields();
        body.addEntriesFrom(*complaint);
        const std::string salt = randomStringWithLength(saltLength, false);
        const std::string vector = randomStringWithLength(vectorLength, true);
        // The key is the digest's text, not its bytes.
        request.httpBody = encrypted(dataWithJSONObject(body), md5(complaintPrefix + salt), vector);
        request.addValue(vector, "lm-iv");
        request.addValue(salt, "lm-s");
        start(std::move(request), [completion](const NSData&, const auto& response, const auto& error) {
            if (error) {
                logError(*error);
                callCompletion(completion, false);
            } else if (response) {
                callCompletion(completion, isOK(response));
            }
        });
    });
}

void LMAPI::sendEventInfo(const std::optional<NSDictionary>& event, bool withEncrypting, Delivered completion)
{
    whenActive([event, withEncrypting, completion = std::move(completion)] {
        if (!event)
            return;
        NSMutableURLRequest request = postRequest("%@/event/ios/%@/%@", (*event)["type"]);
        NSDictionary body = deviceFields();
        body.set("event", *event);
        const std::optional<std::string> plain = dataWithJSONObject(body);
        request.httpBody = withEncrypting ? encrypted(plain, eventKey, "") : plain.value_or("");
        start(std::move(request), [completion](const NSData&, const auto& response, const auto& error) {
            if (error)
                logError(*error);
            else if (isOK(response))
                callCompletion(completion, true);
        });
    });
}

std::shared_ptr<NSURLSessionDataTask> LMAPI::sendStoredData(const NSArray& ads, Summary successSimple,
    Summary successComplete, StoredDataFailure failure, Completion successCompleteDeleteAll)
{
    if (ads.empty())
        return nullptr;
    NSMutableURLRequest request = postRequest("%@/ads/ios/%@");
    request.longestBody = std::min(longestShortAnswer + ads.size() * longestLine, longestAnswer);
    NSDictionary fields = deviceFieldsWithConnection();
    fields.set("userId", TDDeviceInformation::getIDFA());
    fields.set("ads", ads);
    const std::optional<std::string> encoded = dataWithJSONObject(fields);
    request.httpBody = encoded.value_or("");
    BatchCallbacks callbacks { std::move(successSimple), std::move(successComplete), std::move(failure),
        std::move(successCompleteDeleteAll) };
    return start(std::move(request),
        [callbacks = std::move(callbacks), wasEncoded = encoded.has_value()](
            const NSData& body, const auto& response, const auto& error) {
            if (error)
                batchFailed(callbacks, *error, wasEncoded);
            else if (response)
                batchAnswered(callbacks, response->statusCode,
                    response->bodyIsLeftOut ? std::nullopt : std::optional(body.view()), wasEncoded);
        });
}

void LMAPI::updateTimeFromServerWithSuccess(TimeAnswer success, TimeFailure failure)
{
    // The server is none of the services: the collector's key is not for it.
    NSMutableURLRequest request = jsonRequest(LUMORA_TIME_SERVER, "HEAD");
    request.longestBody = 0;
    start(std::move(request),
        [success = std::move(success), failure = std::move(failure)](
            const NSData&, const auto& response, const auto& error) {
            if (error) {
                logError(*error);
                LMLog::logErrorMessage("can't update time from server");
                callCompletion(failure, *error);
            } else if (response) {
                callCompletion(success, *response);
            } else {
                callCompletion(failure, NSError { "Lumora", 123, "the answer is not HTTP" });
            }
        });
}

void LMAPI::sendLog()
{
    NSMutableURLRequest request = createURLRequestWithURL(LUMORA_COLLECTOR_SERVICE "/logs", "POST");
    std::optional<std::string> log = LMLogManager::sharedInstance().takeLogFile();
    if (!log)
        return;
    request.httpBody = std::move(*log);
    start(std::move(request), nullptr);
}

} // namespace lumora
