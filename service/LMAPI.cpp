#include "service/LMAPI.h"

#include "lumora/LMLogManager.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "service/ServiceConfiguration.h"

namespace lumora {

namespace {
ProcessLocal<AtomicProperty<std::optional<std::string>>> s_key;
} // namespace

void LMAPI::setNewAuthKey(const std::optional<std::string>& key)
{
    if (key)
        s_key.get().set(key);
}

NSMutableURLRequest LMAPI::createURLRequestWithURL(const std::string& url, const std::string& andMethod)
{
    NSMutableURLRequest request;
    request.url = url;
    request.httpMethod = andMethod;
    request.timeoutInterval = 15.0;
    request.cachePolicy = NSMutableURLRequest::CachePolicy::ReloadIgnoringLocalCacheData;
    request.addValue("application/json", "Content-Type");
    request.addValue(s_key.get().get().value_or("(null)"), "Authorization");
    return request;
}

void LMAPI::sendLog()
{
    NSMutableURLRequest request = createURLRequestWithURL(LUMORA_COLLECTOR_SERVICE "/logs", "POST");
    std::optional<std::string> log = LMLogManager::sharedInstance().takeLogFile();
    if (!log)
        return;
    request.httpBody = std::move(*log);
    NSURLSession::sharedSession().dataTaskWithRequest(std::move(request), nullptr);
}

} // namespace lumora
