// AdMob and Google Ad Manager ("DFP"): banners, interstitials and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "platform/foundation/NSString.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "processing/CustomTargetingFactory.h"
#include "support/Guarded.h"

#include <algorithm>

namespace lumora {

namespace {

/// The headers of the last answer to a request for native ads: which creatives it brought. Written on the
/// network's own queue.
ProcessLocal<AtomicProperty<Value>> s_lastNativeAnswer;

Value getAd(id, SEL) { return s_lastNativeAnswer.get().get(); }

// AdMob's own classes carry its prefix; Ad Manager's subclasses do not. A test on the name, kept: a subclass
// of the host's own counts as Ad Manager.
bool isAdMob(const Object* receiver)
{
    return object_getClassName(receiver).find("GAD") != std::string::npos;
}

Slot<void(id, SEL, id)> bannerShowIMP;
void lumora_bannerShowOctagon(id self, SEL _cmd, id ad)
{
    guardedHook(self, [&] {
        const Value support
            = getValueFromObject(self, "_bannerView._bannerAd._adView._view._view._viewToSwap");
        const Value webView
            = getValueFromObject(self, "_bannerView._bannerAd._adView._view._view._viewToSwap._webView");
        attachReportButton(webView.object(),
            isAdMob(self) ? "TDMetaclass_AdMobV42_banner" : "TDMetaclass_DFPV42_banner", support.object());
    });
    bannerShowIMP(self, _cmd, ad);
}

Slot<void(id, SEL, id)> interstitialLoadIMP;
void lumora_interstitialAdLoadFailedWithErrorOctagon(id self, SEL _cmd, id error)
{
    const ReportButtonForAd afterwards(self, AdMoment::Loaded,
        isAdMob(self) ? "TDMetaclass_AdMobV42_interstitial" : "TDMetaclass_DFPV42_interstitial",
        retain(self));
    interstitialLoadIMP(self, _cmd, error);
}

std::string adUnitIdOf(id nativeAd)
{
    const Value monitors = getValueFromObject(nativeAd, "_internalNativeAd._monitors");
    for (const Value& monitor : monitors.array() ? *monitors.array() : NSArray {}) {
        const auto object = monitor.object();
        if (isKindOfClassNamed(object.get(), "GADAdExposureMonitor"))
            return textFromObject(object.get(), { "_adUnitID" });
    }
    return "";
}

Slot<void(id, SEL, id)> setNativeAdIMP;
void lumora_nativeWillPresent(id self, SEL _cmd, id nativeAd)
{
    guardedHook(self, [&] {
        const Value webView = getValueFromObject(
            nativeAd, "_internalNativeAd._nativeAdContext._context._webViewController._webView");
        const bool isAdMobUnit = adUnitIdOf(nativeAd).find("ca-app-pub") != std::string::npos;
        attachReportButton(
            webView.object(), isAdMobUnit ? "TDMetaclass_AdMobV42_native" : "TDMetaclass_DFPV42_native");
    });
    setNativeAdIMP(self, _cmd, nativeAd);
}

bool holdsNative(const Value& adTypes)
{
    if (const NSArray* types = adTypes.array())
        return std::any_of(types->begin(), types->end(), &holdsNative);
    return adTypes.stringOrEmpty().find("native") != std::string::npos;
}

// Of the headers, "x-afma-debug-dialog" and "x-afma-auto-protection-configuration" name the creatives.
Slot<void(id, SEL, id, id, id, const std::function<void(int64_t)>&)> transactionReceivedIMP;
void lumora_transactionRecievedData(id self, SEL _cmd, id session, id dataTask, id response,
    const std::function<void(int64_t)>& completionHandler)
{
    guardedHook(self, [&] {
        const auto transactions = getValueFromObject(self, "_transactionsByTask").object();
        const auto transaction
            = send<std::shared_ptr<Object>>(transactions.get(), "objectForKey:"_sel, dataTask);
        if (!holdsNative(getValueFromObject(transaction.get(), "_context._parent.userInfo.ad_types")))
            return;
        const Value headers = getValueFromObject(response, "allHeaderFields");
        if (!headers.isDictionary())
            return;
        s_lastNativeAnswer.get().set(NSDictionary { { "_responseHeaders", headers } });
    });
    transactionReceivedIMP(self, _cmd, session, dataTask, response, completionHandler);
}

std::string debugCreativeId(id, id supportObject)
{
    const std::string debugText
        = textFromObject(supportObject, { "_delegate._clickProtection._debugDialogString" });
    return digitsAfterPrefix(debugText, { "0=", "crid:" }).value_or("");
}

std::string nativeCreativeId(id)
{
    const Value headers = readKeyPath(getAd(nullptr, nullptr), "_responseHeaders");
    if (!headers.dictionary())
        return "";
    for (const char* header : { "x-afma-debug-dialog", "x-afma-auto-protection-configuration" }) {
        for (const auto& [name, value] : *headers.dictionary()) {
            if (!equalIgnoringCase(name, header))
                continue;
            if (auto digits = digitsAfterPrefix(
                    value.stringOrEmpty(), { "creatives=crid0:", "creatives%3Dcrid0%3A", "crid0:" }))
                return *digits;
        }
    }
    return "";
}

const Network& network()
{
    static const auto& google = *new Network {
        .swizzler = "TDGoogleV42Swizzler",
        .hooks = {
            { "GADBannerView", "adViewDidReceiveAd:", &lumora_bannerShowOctagon, &bannerShowIMP },
            { "GADInterstitial", "adLoadCompletedWithError:", &lumora_interstitialAdLoadFailedWithErrorOctagon,
                &interstitialLoadIMP },
            { "GADUnifiedNativeAdView", "setNativeAd:", &lumora_nativeWillPresent, &setNativeAdIMP },
            { "GADURLSessionTransactionMonitor", "URLSession:dataTask:didReceiveResponse:completionHandler:",
                &lumora_transactionRecievedData, &transactionReceivedIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_AdMobV42_banner",
                .sdkName = "AdMob",
                .adType = "banner",
                .version = Version { .classes = { "GADORequest", "GADRequest" }, .selector = "sdkVersion" },
                .creativeId = &debugCreativeId,
                .otherInfo = &CustomTargetingFactory::checkObjectForAmazon,
                .adFormatId = 0,
            },
            {
                .name = "TDMetaclass_AdMobV42_interstitial",
                .base = "TDMetaclass_AdMobV42_banner",
                .adType = "interstitial",
                .screenshotView = &screenshotViewOf,
            },
            {
                .name = "TDMetaclass_DFPV42_banner",
                .base = "TDMetaclass_AdMobV42_banner",
                .sdkName = "DFP",
                .adType = "banner",
            },
            {
                .name = "TDMetaclass_DFPV42_interstitial",
                .base = "TDMetaclass_AdMobV42_interstitial",
                .sdkName = "DFP",
                .adType = "interstitial",
            },
            {
                .name = "TDMetaclass_AdMobV42_native",
                .sdkName = "AdMob",
                .adType = "native",
                .version = Version {
                    .classes = { "GADRequest", "GADORequest", "GADNRequest" }, .selector = "sdkVersion" },
                .creativeId = &nativeCreativeId,
                .screenshotView = &screenshotViewOf,
            },
            {
                .name = "TDMetaclass_DFPV42_native",
                .base = "TDMetaclass_AdMobV42_native",
                .sdkName = "DFP",
            },
        },
        .operations = { { "getAd"_sel, &getAd } },
    };
    return google;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
