// Verizon Media: banners, interstitials and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

constexpr const char* interstitialWebView = "_ad._adAdapter._webController._webView._wkWebView";

Slot<void(id, SEL, id)> bannerDidFinishIMP;
void lumora_verizon_bannerDidFinish1(id self, SEL _cmd, id watchedView)
{
    guardedHook(self, [&] {
        auto webView = getValueFromObject(watchedView, "_wkWebView").object();
        if (!webView)
            webView = getValueFromObject(self, "_wkWebView").object();
        attachReportButton(webView, "TDMetaclass_Verizon_banner", retain(self));
    });
    bannerDidFinishIMP(self, _cmd, watchedView);
}

// This one and the native ad's only look, kept: neither has anything on screen yet.
Slot<void(id, SEL, id)> interstitialDidFinishIMP;
void lumora_verizon_interstitialDidFinish(id self, SEL _cmd, id controller)
{
    guardedHook(self, [&] { getValueFromObject(self, interstitialWebView); });
    interstitialDidFinishIMP(self, _cmd, controller);
}

Slot<void(id, SEL)> interstitialDidShowIMP;
void lumora_verizon_interstitialDidFinish1(id self, SEL _cmd)
{
    guardedHook(self, [&] {
        attachReportButton(getValueFromObject(self, interstitialWebView).object(),
            "TDMetaclass_Verizon_interstitial", retain(self));
    });
    interstitialDidShowIMP(self, _cmd);
}

Slot<id(id, SEL, const std::string&, id, id, id)> nativeDidFinishIMP;
id lumora_verizon_nativeDidFinish(
    id self, SEL _cmd, const std::string& placementId, id ad, id vasAds, id delegate)
{
    guardedHook(self, [&] { getValueFromObject(self, "_ad._adAdapter._webController._webView"); });
    return nativeDidFinishIMP(self, _cmd, placementId, ad, vasAds, delegate);
}

const Network& network()
{
    static const auto& verizon = *new Network {
        .swizzler = "TDVerizonSwizzler",
        .hooks = {
            { "VASInlineAdView", "setupAndStartWatchingView:", &lumora_verizon_bannerDidFinish1,
                &bannerDidFinishIMP },
            { "VASInterstitialAd", "showFromViewController:", &lumora_verizon_interstitialDidFinish,
                &interstitialDidFinishIMP },
            { "VASInterstitialAd", "adDidShow", &lumora_verizon_interstitialDidFinish1,
                &interstitialDidShowIMP },
            { "VASNativeAd", "initWithPlacementId:ad:vasAds:delegate:", &lumora_verizon_nativeDidFinish,
                &nativeDidFinishIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Verizon_banner",
                .sdkName = "Verizon",
                .adType = "banner",
                .version = Version { .classes = { "VASAds" }, .selector = "sdkInfo" },
                .placementId = fromSupportObject({ "_placementId" }),
            },
            {
                .name = "TDMetaclass_Verizon_interstitial",
                .base = "TDMetaclass_Verizon_banner",
                .adType = "interstitial",
            },
            {
                .name = "TDMetaclass_Verizon_native",
                .base = "TDMetaclass_Verizon_banner",
                .adType = "native",
            },
        },
    };
    return verizon;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
