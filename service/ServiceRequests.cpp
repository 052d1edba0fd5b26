#include "service/ServiceRequests.h"

#include "core/TDDeviceInformation.h"

namespace lumora {

NSDictionary commonDeviceFields()
{
    return {
        { "idfa", TDDeviceInformation::getIDFA() },
        { "model", TDDeviceInformation::getDeviceName() },
        { "osVersion", TDDeviceInformation::getOSVersion() },
        { "cellNetwork", TDDeviceInformation::getCarrierName() },
        { "bundleId", TDDeviceInformation::getBundleID() },
        { "appVersion", TDDeviceInformation::getAppVersion() },
        { "buildNumber", TDDeviceInformation::getBuildNumber() },
    };
}

NSMutableURLRequest jsonRequest(const std::string& url, const std::string& method)
{
    NSMutableURLRequest request;
    request.url = url;
    request.httpMethod = method;
    request.timeoutInterval = 15.0;
    request.cachePolicy = NSMutableURLRequest::CachePolicy::ReloadIgnoringLocalCacheData;
    request.addValue("application/json", "Content-Type");
    return request;
}

} // namespace lumora
