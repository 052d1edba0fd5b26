#include "processing/LMAdViewProcessorsFactory.h"

#include "interception/Extraction.h"
#include "lumora/LMLog.h"
#include "platform/foundation/NSString.h"
#include "platform/webkit/WKWebView.h"
#include "processing/ProxyDelegate.h"
#include "support/Guarded.h"

#include <algorithm>
#include <cstdlib>
#include <span>

namespace lumora {

namespace {

struct Row {
    const char* kind;
    const char* processor;
};

// Tests on the object itself. Subclasses stand before what they derive from.
constexpr Row objectRows[] = {
    { "GADInterstitial", "LMGADInterstitialProcessor" },
    { "AdColonyInterstitial", "LMAdColonyInterstitialProcessor" },
    { "MPAdView", "LMMoPubBannerProcessor" },
    { "MPInterstitialAdController", "LMMoPubInterstitialProcessor" },
    { "DFPBannerView", "LMDFPBannerProcessor" },
    { "GADBannerView", "LMGADViewProcessor" },
    { "RFMAdView", "LMRubiconProcessor" },
    { "RFMWebView", "LMRubiconProcessor" },
    { "FBAdView", "LMFacebookProcessor" },
    { "FBInterstitialAd", "LMFacebookProcessor" },
    { "FBInterstitialVideoAdContentView", "LMFacebookProcessor" },
    { "SSWVWKWebView", "LMIronSourceProcessor" },
    { "SOMAWKWebView", "LMSmaatoProcessor" },
    { "MMWebView", "LMAOLProcessor" },
    { "MMWebComponent", "LMAOLProcessor" },
    { "IMUIView", "LMInMobiProcessor" },
};

// Tests on the network's own delegate of the web view, after MoPub's and before Google's.
constexpr Row delegateRows[] = {
    { "FBAdWebKitContentContainer", "LMFacebookProcessor" },
    { "AMMRAdView", "LMAmazonProcessor" },
    { "AMAMraidInterstitialAdView", "LMAmazonProcessor" },
    { "SOMAAdRenderer", "LMSmaatoProcessor" },
    { "OXMWebView", "LMOpenXProcessor" },
    { "MMWebComponent", "LMAOLProcessor" },
    { "SSWVWKWebView", "LMIronSourceProcessor" },
    { "ISInterstitialDelegate", "LMIronSourceProcessor" },
    { "INMMoatWebViewAndBridge", "LMInMobiProcessor" },
    { "IMWKWebViewController", "LMInMobiProcessor" },
    { "IMUIWebViewController", "LMInMobiProcessor" },
    { "ANAdWebViewController", "LMAppNexusProcessor" },
};

constexpr const char* googleDelegates[] = {
    "GADUIKitWebView",
    "GADWebKitWebView",
    "GADUIWebViewDelegateProxy",
    "GADWebViewDelegateProxy",
    "GADWebKitWebViewController",
};

const char* matchIn(std::span<const Row> rows, const Object* object)
{
    const auto row = std::find_if(
        rows.begin(), rows.end(), [&](const Row& each) { return isKindOfClassNamed(object, each.kind); });
    return row == rows.end() ? nullptr : row->processor;
}

const char* matchForObject(const Object* object)
{
    return conformsToProtocol(object, "STRAdView") ? "STProcessor" : matchIn(objectRows, object);
}

// A text counts by the number that it begins with, as the platform's own conversion has it.
int64_t integerOf(const Value& value)
{
    return value.string() ? std::strtoll(value.string()->c_str(), nullptr, 10) : value.integerValue();
}

// What MoPub's configuration says the ad is. An ad type that cannot be read counts as 0, a banner.
const char* matchForMoPub(const Object* delegate)
{
    if (!isKindOfClassNamed(delegate, "MPWebView"))
        return nullptr;
    switch (integerOf(getValueFromObject(delegate, "_delegate._configuration._adType"))) {
    case 0:
        return "LMMoPubBannerProcessor";
    case 1:
        return "LMMoPubInterstitialProcessor";
    default:
        return nullptr;
    }
}

std::string classNameAt(const Object* object, const char* keyPath)
{
    return object_getClassName(getValueFromObject(object, keyPath).object().get());
}

// A Google web view sits inside the banner or interstitial that decides; one that stands alone is told by its
// delegate.
Class googleProcessor(Object* object, const Object* delegate)
{
    const auto* view = as<UIView>(object);
    for (const UIView* at = view ? view->superview() : nullptr; at; at = at->superview()) {
        if (const char* match = matchForObject(at)) {
            if (Class cls = NSClassFromString(match))
                return cls;
            break;
        }
    }
    const bool fullScreen = isKindOfClassNamed(delegate, "GADUIKitWebView")
        && (classNameAt(delegate, "_delegate._viewController") == "GADInterstitialViewController"
            || classNameAt(delegate, "_delegate._videoController") == "GADAdViewVideoController");
    return NSClassFromString(fullScreen ? "LMGADInterstitialProcessor" : "LMGADViewProcessor");
}

} // namespace

Class LMAdViewProcessorsFactory::getProcessorClassForObject(Object* object, Object* andWebViewDelegate)
{
    if (const char* match = matchForObject(object))
        return NSClassFromString(match);
    if (!andWebViewDelegate) {
        LMLog::logDebug(stringWithFormat(
            "[LMAdViewProcessorsFactory][getProcessorClassForObject] NO PROCESSOR FOR: %@ class",
            { object ? Value { object_getClassName(object) } : Value {} }));
        return nullptr;
    }
    if (const char* match = matchForMoPub(andWebViewDelegate))
        return NSClassFromString(match);
    if (const char* match = matchIn(delegateRows, andWebViewDelegate))
        return NSClassFromString(match);
    for (const char* kind : googleDelegates) {
        if (isKindOfClassNamed(andWebViewDelegate, kind))
            return googleProcessor(object, andWebViewDelegate);
    }
    LMLog::logDebug("We don't have processor!");
    return nullptr;
}

Class LMAdViewProcessorsFactory::getProcessorClassForAd(Object* object)
{
    std::shared_ptr<Object> delegate;
    // Exactly a web view: a network's subclass is known by itself, or not at all.
    if (object && object->isa() == classOf<WKWebView>()) {
        guarded([&] {
            if (const auto proxy = as<ProxyDelegate>(send(object, sel::navigationDelegate)))
                delegate = proxy->originDelegate();
        });
    }
    return getProcessorClassForObject(object, delegate.get());
}

std::shared_ptr<LMAdViewProcessor> LMAdViewProcessorsFactory::getProcessorForObject(Object* object)
{
    Class cls = getProcessorClassForAd(object);
    if (!cls)
        return nullptr;
    std::shared_ptr<LMAdViewProcessor> processor;
    guarded([&] {
        const auto allocated = class_createInstance(cls);
        const SEL initialiser = "initWithAdObject:"_sel;
        if (respondsToSelector(allocated.get(), initialiser))
            processor = as<LMAdViewProcessor>(retain(send<id>(allocated.get(), initialiser, object)));
    });
    if (!processor)
        LMLog::logMessage("[ProcessorFactory] class is supporting, but failed when creating AdViewProcessor");
    return processor;
}

} // namespace lumora
