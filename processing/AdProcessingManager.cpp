#include "processing/AdProcessingManager.h"

#include "core/TDActivationManager.h"
#include "interception/Swizzling.h"
#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMLog.h"
#include "platform/dispatch/Executor.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMAdViewProcessorsFactory.h"
#include "processing/ProcessorsManager.h"
#include "support/Guarded.h"
#include "support/NSDateExtensions.h"
#include "support/UIViewExtensions.h"

#include <algorithm>

namespace lumora {

namespace {

ProcessLocal<AdProcessingManager> s_sharedInstance;
ProcessOnce s_initialised;

/// Asked in every host. Classes without hooks of their own answer with the root's `swizzleMethods`, which
/// does nothing.
constexpr const char* generalClasses[]
    = { "NSObject", "UIAlertView", "UIApplication", "UIWindow", "openURLSwizzler" };
constexpr const char* networkClasses[] = {
    "LMGoogleCommonSwizzler",
    "LMFacebookSwizzler",
    "LMMoPubSwizzler",
    "LMAmazonSwizzler",
    "LMSmaatoSwizzer",
    "LMInMobiSwizzler",
    "LMAppNexusSwizzler",
    "LMRubiconSwizzler",
    "LMAOLSwizzler",
    "LMOpenXSwizzler",
    "STSwizzler",
    "LMIronSourceSwizzler",
    "LMVerveSwizzler",
    "LMAdColonySwizzler",
    "LMVungleSwizzler",
    "LMTapJoySwizzler",
    "LMUnitySwizzler",
    "LMVerizonSwizzler",
    "LMAVPlayersManager",
};
/// In place of the networks, which AATKit wraps, and of the video players.
constexpr const char* mediatorClass = "AATKit";
constexpr const char* mediatorClasses[] = { "AATKitSwizzler" };

template <size_t Count> void swizzle(const char* const (&names)[Count])
{
    for (const char* name : names)
        guarded([&] { send(NSClassFromString(name), sel::swizzleMethods); });
}

std::vector<std::shared_ptr<LMAdViewProcessor>> allProcessors()
{
    return ProcessorsManager::sharedInstance().getAllProcessors();
}

/// The platform's equality, which a network may have given its own views. One that raises is another ad's.
bool isOf(const LMAdViewProcessor& processor, const Object* view)
{
    const auto ad = processor.adObject();
    bool isEqual = false;
    guarded([&] { isEqual = view && ad && ad->isEqual(view); });
    return isEqual;
}

bool isOnScreen(LMAdViewProcessor& processor)
{
    const auto view = processor.adView();
    UIWindow* const window = view ? view->window() : nullptr;
    return window && !window->isHidden() && !isSuperviewHidden(*view);
}

} // namespace

const ClassDescription& AdProcessingManager::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<AdProcessingManager, NSObject>("AdProcessingManager"));
    return description;
}
static const RegisteredClass registered { &AdProcessingManager::classDescription };

AdProcessingManager& AdProcessingManager::sharedInstance() { return s_sharedInstance.get(); }

void AdProcessingManager::frameworkWasInitialised()
{
    s_initialised.run([this] {
        swizzle(generalClasses);
        if (NSClassFromString(mediatorClass))
            swizzle(mediatorClasses);
        else
            swizzle(networkClasses);
        handleExistingAds();
    });
}

void AdProcessingManager::handleExistingAds()
{
    dispatch_get_main_queue().async([] {
        std::vector<std::shared_ptr<WKWebView>> webViews;
        for (const std::shared_ptr<UIWindow>& window : UIApplication::sharedApplication().windows()) {
            for (auto& webView : getWebViews(*window))
                webViews.push_back(std::move(webView));
        }
        for (const auto& webView : webViews) {
            guarded(
                [&] { send(webView, sel::setNavigationDelegate, send(webView, sel::navigationDelegate)); });
            guarded([&] { logAd(webView, false); });
        }
    });
}

// Seeing an ad

void AdProcessingManager::logAd(const std::shared_ptr<Object>& view, bool withTtlCheck)
{
    if (withTtlCheck)
        sharedInstance().logAdWithTTLCheck(view);
    else
        sharedInstance().logAd(view);
    LMLog::logMessage("[Lumora] User sees an AD");
}

void AdProcessingManager::logAdWithTTLCheck(const std::shared_ptr<Object>& view)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock([self = retain(this), view](bool active) {
        if (active)
            onMainThread([self, view] { self->logAd(view); });
    });
}

void AdProcessingManager::logAd(const std::shared_ptr<Object>& view)
{
    const auto processors = allProcessors();
    if (std::any_of(processors.begin(), processors.end(),
            [&](const auto& known) { return view && known->adObject() == view; }))
        return setNewTimestampForProcessorByAdView(view.get());
    const auto processor = LMAdViewProcessorsFactory::getProcessorForObject(view.get());
    if (!processor)
        return LMLog::logMessage("Processor is nil");
    LMLog::logMessage("We have a processor");
    // Asked anew: what made it may have met the ad once more.
    const auto knownNow = allProcessors();
    if (std::none_of(knownNow.begin(), knownNow.end(),
            [&](const auto& known) { return known->isEqual(processor.get()) || known->adObject() == view; }))
        ProcessorsManager::sharedInstance().addProcessor(processor);
}

void AdProcessingManager::setNewTimestampForProcessorByAdView(const Object* view)
{
    for (const auto& processor : allProcessors()) {
        if (isOf(*processor, view))
            guarded([&] { processor->setCreateAtTimestamp(serverTimeIntervalSince1970()); });
    }
}

// Looking an ad up

std::shared_ptr<LMAdViewProcessor> AdProcessingManager::getProcessorBy(const Object* view) const
{
    const auto processors = allProcessors();
    const auto found = std::find_if(
        processors.begin(), processors.end(), [&](const auto& known) { return isOf(*known, view); });
    return found == processors.end() ? nullptr : *found;
}

std::shared_ptr<LMAdViewProcessor> AdProcessingManager::getProcessorReversedBy(const Object* view) const
{
    const auto processors = allProcessors();
    const auto* wanted = dynamic_cast<const UIView*>(view);
    const auto isRelated = [&](const auto& processor) {
        if (isOf(*processor, view))
            return true;
        // An ad object that is no view is known by the one that shows it: what is reported is that view.
        bool isAround = false;
        guarded([&] {
            const auto adView = wanted ? processor->adView() : nullptr;
            isAround = adView
                && (adView.get() == wanted || containsSubview(*adView, *wanted)
                    || containsSubview(*wanted, *adView));
        });
        return isAround;
    };
    const auto found = std::find_if(processors.rbegin(), processors.rend(), isRelated);
    return found == processors.rend() ? nullptr : *found;
}

bool AdProcessingManager::isAdvertShowingOnScreenByCreativeId(std::string_view creativeId,
    std::string_view placementId, int64_t createTS, std::string_view sdkName) const
{
    const auto processors = allProcessors();
    return std::any_of(processors.begin(), processors.end(), [&](const auto& processor) {
        bool isShowing = false;
        guarded([&] {
            isShowing = saturatingInteger(processor->createAtTimestamp()) == createTS / 1000
                && send(processor->isa(), sel::getSDKName) == sdkName && isOnScreen(*processor)
                && processor->getCreativeID() == creativeId && processor->getPlacementID() == placementId;
        });
        return isShowing;
    });
}

bool AdProcessingManager::didUserTapOnView(const Object* view) const
{
    const auto processors = allProcessors();
    const auto last = std::find_if(
        processors.rbegin(), processors.rend(), [&](const auto& known) { return isOf(*known, view); });
    return last != processors.rend() && (*last)->tapTimestamp() >= (*last)->createAtTimestamp();
}

void AdProcessingManager::appDidOpenURL(const std::string&)
{
    constexpr double shortlyAfter = 2.0;
    TDActivationManager::sharedInstance().checkActivationWithBlock([](bool active) {
        if (!active)
            return;
        onMainThread([] {
            const double now = serverTimeIntervalSince1970();
            for (const auto& processor : allProcessors()) {
                if (now - processor->tapTimestamp() < shortlyAfter)
                    LMLog::logMessage("We found tapped ad and redirection");
            }
        });
    });
}

void AdProcessingManager::checkTtlWithCompletion(const std::function<void(bool)>&)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock([](bool) {});
}

} // namespace lumora
