#include "lumora/Lumora.h"

#include "core/TDActivationManager.h"
#include "core/TDDeviceInformation.h"
#include "interception/Swizzling.h"
#include "lumora/LMLog.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSString.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIApplication.h"
#include "processing/AdProcessingManager.h"
#include "processing/ProcessorsManager.h"
#include "report/TDReportButtonPlacement.h"
#include "service/LMAdMonitor.h"
#include "service/LMEventsManager.h"
#include "service/TDAPI.h"
#include "support/Guarded.h"

#include <functional>

extern "C" {
const char LumoraVersionString[] = "@(#)PROGRAM:Lumora  PROJECT:Lumora-3\n";
const double LumoraVersionNumber = 3.0;
}

namespace lumora {

namespace {

constexpr size_t shortestKey = 30;
ProcessOnce s_automaticMode;

// In the order in which their hooks go in. A class that is not there gets no message.
constexpr const char* swizzledClasses[] = {
    "WKWebView",
    "NSObject",
    "TDGoogleV42Swizzler",
    "TDInMobiSwizzler",
    "TDFacebookSwizzler",
    "TDMoPubSwizzler",
    "TDAdColonySwizzler",
    "TDUnitySwizzler",
    "TDAOLSwizzler",
    "TDSmaatoSwizzler",
    "TDVungleSwizzler",
    "TDTapjoySwizzler",
    "TDVerizonSwizzler",
    "TDOpenXSwizzler",
    "TDIronsourceSwizzler",
    "TDAppNexusSwizzler",
    "TDVerveSwizzler",
    "TDTeadsSwizzler",
    "TDTaboolaSwizzler",
    "TDSpotXSwizzler",
    "TDAppLovinSwizzler",
};

struct PlacementRule {
    uint64_t placement;
    TDAdNetworkType network;
};
// All for interstitials; whatever has no rule keeps the registry's default.
constexpr PlacementRule placementRules[] = {
    { 4, TDAdNetworkType::Facebook },
    { 1, TDAdNetworkType::AdMob },
    { 1, TDAdNetworkType::DFP },
    { 4, TDAdNetworkType::MoPub },
    { 4, TDAdNetworkType::InMobi },
    { 4, TDAdNetworkType::Unity },
    { 4, TDAdNetworkType::AOL },
    { 4, TDAdNetworkType::Smaato },
    { 4, TDAdNetworkType::Vungle },
    { 4, TDAdNetworkType::Tapjoy },
    { 4, TDAdNetworkType::Ironsource },
    { 4, TDAdNetworkType::Verve },
    { 4, TDAdNetworkType::Teads },
};

} // namespace

void Lumora::initiateTrackerWithKey(std::string_view key)
{
    guarded([&] {
        const std::string trimmedKey = trimmed(key);
        if (utf16Length(trimmedKey) < shortestKey) {
            // Straight to the console: said whatever the library's own log settings are.
            NSLog("[Lumora] authKey is not valid (incorrect length). Init failed.");
            return;
        }
        TDAPI::setNewAuthKey(trimmedKey);
        initAutomaticMode();
    });
}

void Lumora::initAutomaticMode()
{
    s_automaticMode.run([] {
        // Each step on its own: one that fails must not take the rest of the library with it.
        for (const auto& step : std::initializer_list<std::function<void()>> {
                 [] { TDActivationManager::sharedInstance().activate(); },
                 [] { TDActivationManager::sharedInstance().getNewConfig(); },
                 &setupSwizzlers,
                 &setupPlacements,
                 &enableDB,
                 [] { AdProcessingManager::sharedInstance().frameworkWasInitialised(); },
                 [] { ProcessorsManager::sharedInstance(); },
                 [] {
                     TDActivationManager::sharedInstance().addNewConfigListener(
                         retain(&LMEventsManager::shared()));
                 },
                 [] { LMEventsManager::shared().configTimer(); },
                 [] { LMAdMonitor::sharedInstance().configTimer(); },
             })
            guarded(step);
    });
}

void Lumora::setupSwizzlers()
{
    for (const char* name : swizzledClasses)
        guarded([&] { send(NSClassFromString(name), sel::swizzleMethods); });
}

void Lumora::setupPlacements()
{
    for (const PlacementRule& rule : placementRules) {
        TDReportButtonPlacement::sharedInstance().setNewButtonPlacement(
            rule.placement, rule.network, TDAdFormatType::Interstitial);
    }
}

void Lumora::enableDB()
{
    LMLog::logImportantMessage("initialize the Lumora...");
    LMLog::logMessage(
        stringWithFormat("P_APPLICATION %@", { UIApplication::sharedApplication().description() }));
    // The check never calls what it is given, so this line is never written: kept so on purpose.
    AdProcessingManager::checkTtlWithCompletion([](bool active) {
        if (active) {
            LMLog::logImportantMessage(stringWithFormat(
                "Lumora Framework was initiated! Version %@", { TDDeviceInformation::getLMVersion() }));
        }
    });
}

} // namespace lumora
