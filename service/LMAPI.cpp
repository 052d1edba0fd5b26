#include "service/LMAPI.h"

#include "lumora/LMLogManager.h"
#include "platform/process/Lock.h"
#include "platform/process/ProcessLocal.h"
#include "service/ServiceConfiguration.h"

namespace lumora {

namespace {
struct CollectorKey {
    Lock lock;
    std::optional<std::string> text LUMORA_GUARDED_BY(lock);
};
ProcessLocal<CollectorKey> s_key;
} // namespace

void LMAPI::setNewAuthKey(const std::optional<std::string>& key)
{
    if (!key)
        return;
    CollectorKey& stored = s_key.get();
    Locker hold(stored.lock);
    stored.text = *key;
}

NSMutableURLRequest LMAPI::createURLRequestWithURL(const std::string& url, const std::string& andMethod)
{
    CollectorKey& stored = s_key.get();
    Locker hold(stored.lock);
    NSMutableURLRequest request;
    request.url = url;
    request.httpMethod = andMethod;
    request.timeoutInterval = 15.0;
    request.cachePolicy = NSMutableURLRequest::CachePolicy::ReloadIgnoringLocalCacheData;
    request.addValue("application/json", "Content-Type");
    request.addValue(stored.text.value_or("(null)"), "Authorization");
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
