// AppLovin: banners and video interstitials.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id, id)> bannerFinishLoadIMP;
void lumora_bannerFinishLoadAd(id self, SEL _cmd, id service, id ad)
{
    guardedHook(self, [&] { attachReportButton(self, "TDMetaclass_AppLovin_banner"); });
    bannerFinishLoadIMP(self, _cmd, service, ad);
}

Slot<void(id, SEL, bool)> interstitialFinishLoadIMP;
void lumora_interstitialFinishLoadAd(id self, SEL _cmd, bool animated)
{
    guardedHook(
        self, [&] { attachReportButtonInside(self, "TDMetaclass_AppLovin_interstitial", retain(self)); });
    interstitialFinishLoadIMP(self, _cmd, animated);
}

const Network& network()
{
    static const Version version {
        .classes = { "ALSdk" }, .selector = "version", .fallback = "no available version"
    };
    static const KeyPaths creativeId { "_currentAd._adObject.ad_id" };
    static const KeyPaths zone { "_currentAd._adZone._identifier" };
    static const auto& appLovin = *new Network {
        .swizzler = "TDAppLovinSwizzler",
        .hooks = {
            { "ALAdView", "adService:didLoadAd:", &lumora_bannerFinishLoadAd, &bannerFinishLoadIMP },
            { "ALBaseVideoViewController", "viewDidAppear:", &lumora_interstitialFinishLoadAd,
                &interstitialFinishLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_AppLovin_banner",
                .sdkName = "AppLovin",
                .adType = "banner",
                .version = version,
                .creativeId = fromView(creativeId, Numbers::AsText),
                .placementId = fromView(zone),
            },
            {
                // Stands alone: its readers must not answer in the banner's form.
                .name = "TDMetaclass_AppLovin_interstitial",
                .sdkName = "AppLovin",
                .adType = "interstitial",
                .version = version,
                .creativeId = fromSupportObject(creativeId, Numbers::AsText),
                .placementId = fromSupportObject(zone),
                .screenshotView = &screenshotViewOf,
            },
        },
    };
    return appLovin;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
