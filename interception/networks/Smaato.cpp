// Smaato: banners, interstitials and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id)> bannerShowIMP;
void lumora_bannerShowAd(id self, SEL _cmd, id rendered)
{
    guardedHook(self, [&] {
        // Exactly this class, kept: the interstitial's view is a subclass and has a hook of its own.
        if (object_getClassName(self) == "SOMAAdView")
            attachReportButton(
                getValueFromObject(rendered, "_webView").object(), "TDMetaclass_Smaato_banner");
    });
    bannerShowIMP(self, _cmd, rendered);
}

Slot<void(id, SEL, id)> interstitialShowIMP;
void lumora_interstitialShowAd(id self, SEL _cmd, id controller)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_Smaato_interstitial");
    interstitialShowIMP(self, _cmd, controller);
}

Slot<void(id, SEL, id)> nativeDidLoadIMP;
void lumora_smaatonative_didload(id self, SEL _cmd, id registeredView)
{
    guardedHook(self, [&] { attachReportButton(registeredView, "TDMetaclass_Smaato_native", retain(self)); });
    nativeDidLoadIMP(self, _cmd, registeredView);
}

std::string session(id adView)
{
    const id superview = superviewOf(adView);
    if (respondsToSelector(superview, "ad"_sel))
        return textFromObject(superview, { "_ad._session" });
    if (respondsToSelector(superview, "adObject"_sel))
        return textFromObject(superview, { "_adObject.session" });
    return "";
}

const Network& network()
{
    static const auto& smaato = *new Network {
        .swizzler = "TDSmaatoSwizzler",
        .hooks = {
            { "SOMAAdView", "renderedAdViewDidFinishedRendering:", &lumora_bannerShowAd, &bannerShowIMP },
            { "SOMAInterstitialAdView", "show:", &lumora_interstitialShowAd, &interstitialShowIMP },
            { "SOMANativeAd", "registerViewForUserInteraction:", &lumora_smaatonative_didload,
                &nativeDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Smaato_banner",
                .sdkName = "Smaato",
                .adType = "banner",
                // Asks another network's class, kept: the service has come to know these numbers.
                .version = Version { .classes = { "SpotX" }, .selector = "version" },
                .creativeId = &session,
            },
            {
                .name = "TDMetaclass_Smaato_interstitial",
                .base = "TDMetaclass_Smaato_banner",
                .adType = "interstitial",
            },
            {
                .name = "TDMetaclass_Smaato_native",
                .base = "TDMetaclass_Smaato_banner",
                .adType = "native",
                .creativeId = fromSupportObject({ "_ad.session" }),
            },
        },
    };
    return smaato;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
