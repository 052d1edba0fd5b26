// Verve: banners and interstitials.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id)> bannerShowIMP;
void lumora_bannerShowAd(id self, SEL _cmd, id adView)
{
    guardedHook(self, [&] { attachReportButton(self, "TDMetaclass_Verve_banner"); });
    bannerShowIMP(self, _cmd, adView);
}

Slot<void(id, SEL, id)> interstitialDidLoadIMP;
void lumora_interstitialDidLoad(id self, SEL _cmd, id ad)
{
    guardedHook(self, [&] {
        if (!isKindOfClassNamed(ad, "VWInterstitialAd"))
            return;
        // The whole view: it knows what it shows.
        attachReportButtonInside(as<UIView>(ad) ? ad : self, "TDMetaclass_Verve_interstitial", nullptr,
            [](UIView&) { return true; });
    });
    interstitialDidLoadIMP(self, _cmd, ad);
}

Value sessionOf(id adView)
{
    const Value session = getValueFromObject(
        adView, KeyPaths { "_adView._iasSession._avidAdSessionId", "_iasSession._avidAdSessionId" });
    return session.isString() ? Value { NSDictionary { { "sessionId", session } } } : Value {};
}

const Network& network()
{
    static const auto& verve = *new Network {
        .swizzler = "TDVerveSwizzler",
        .hooks = {
            { "VWAdvertView", "adViewDidFinishLoadingAd:", &lumora_bannerShowAd, &bannerShowIMP },
            { "VWFullscreenAdViewController", "adViewDidFinishLoadingAd:", &lumora_interstitialDidLoad,
                &interstitialDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Verve_banner",
                .sdkName = "Verve",
                .adType = "banner",
                .version = Version { .classes = { "VWAdLibrary" }, .selector = "sdkVersion" },
                .creativeId = fromView({ "_adView._creativeID", "_creativeID" }),
                .otherInfo = &sessionOf,
            },
            {
                .name = "TDMetaclass_Verve_interstitial",
                .base = "TDMetaclass_Verve_banner",
                .adType = "interstitial",
            },
        },
    };
    return verve;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
