#include "core/TDDeviceInformation.h"

#include "core/Reachability.h"
#include "platform/foundation/NSBundle.h"
#include "platform/foundation/NSString.h"
#include "platform/uikit/UIDevice.h"

namespace lumora {

namespace {
constexpr const char* libraryBundleIdentifier = "com.lumora.framework";

std::string infoText(const std::optional<NSBundle>& bundle, std::string_view key)
{
    const Value value = bundle ? bundle->objectForInfoDictionaryKey(key) : Value {};
    return value.isNothing() ? std::string {} : value.description();
}
} // namespace

std::string TDDeviceInformation::getUUID() { return UIDevice::currentDevice().identifierForVendor(); }
std::string TDDeviceInformation::getOSVersion() { return UIDevice::currentDevice().systemVersion(); }
std::string TDDeviceInformation::getDeviceName() { return UIDevice::currentDevice().model(); }
std::string TDDeviceInformation::getBundleID() { return NSBundle::mainBundle().bundleIdentifier(); }
std::string TDDeviceInformation::getAppVersion()
{
    return infoText(NSBundle::mainBundle(), "CFBundleVersion");
}
std::string TDDeviceInformation::getBuildNumber()
{
    return infoText(NSBundle::mainBundle(), "CFBundleShortVersionString");
}
std::string TDDeviceInformation::getCarrierName()
{
    return CTTelephonyNetworkInfo::carrierName().value_or("No Carrier");
}
bool TDDeviceInformation::isAdTrackingEnabled()
{
    return ASIdentifierManager::isAdvertisingTrackingEnabled();
}
std::string TDDeviceInformation::getIDFA()
{
    return ASIdentifierManager::advertisingIdentifier().value_or("");
}

std::string TDDeviceInformation::getConnectionType()
{
    // Kept: nobody stops the notifier, so every request leaves one more object that is told of changes.
    const auto reachability = Reachability::reachabilityForInternetConnection();
    reachability->startNotifier();
    switch (reachability->currentReachabilityStatus()) {
    case Reachability::NotReachable:
        return "no internet";
    case Reachability::ReachableViaWWAN:
        return "mobile internet";
    case Reachability::ReachableViaWiFi:
        return "WIFI";
    }
    return "no access to connection type";
}

std::string TDDeviceInformation::getLMVersion()
{
    const std::optional<NSBundle> bundle = NSBundle::bundleWithIdentifier(libraryBundleIdentifier);
    return stringWithFormat("%@:%@", { getLMVersionWithoutBuild(), infoText(bundle, "CFBundleVersion") });
}

std::string TDDeviceInformation::getLMVersionWithoutBuild()
{
    return infoText(NSBundle::bundleWithIdentifier(libraryBundleIdentifier), "CFBundleShortVersionString");
}

} // namespace lumora
