// AOL: banners, interstitials and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL)> bannerFinishLoadIMP;
void lumora_bannerFinishLoadAd(id self, SEL _cmd)
{
    const ReportButtonForAd afterwards(self, AdMoment::Loaded, "TDMetaclass_AOL_banner");
    bannerFinishLoadIMP(self, _cmd);
}

Slot<void(id, SEL)> interstitialFinishLoadIMP;
void lumora_interstitialFinishLoadAd(id self, SEL _cmd)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_AOL_interstitial");
    interstitialFinishLoadIMP(self, _cmd);
}

// The ad's view is what the replaced method makes, so that one goes first here.
Slot<std::shared_ptr<Object>(id, SEL, id)> nativeLoadIMP;
std::shared_ptr<Object> lumora_aolNative_loadAdViewFromBundle(id self, SEL _cmd, id bundle)
{
    // What the replaced method may let go of.
    const auto alive = retain(self);
    auto adView = nativeLoadIMP(self, _cmd, bundle);
    if (alive)
        guardedHook(self, [&] { attachReportButton(adView, "TDMetaclass_AOL_native", alive); });
    return adView;
}

const Network& network()
{
    static const auto& aol = *new Network {
        .swizzler = "TDAOLSwizzler",
        .hooks = {
            { "MMInlineAd", "contentLoadSucceeded", &lumora_bannerFinishLoadAd, &bannerFinishLoadIMP },
            { "MMInterstitialAd", "willDisplay", &lumora_interstitialFinishLoadAd, &interstitialFinishLoadIMP },
            { "MMNativeAd", "loadIntoLayoutFromBundle:", &lumora_aolNative_loadAdViewFromBundle,
                &nativeLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_AOL_banner",
                .sdkName = "AOL",
                .adType = "banner",
                .version = Version { .classes = { "MMSDK" }, .selector = "version", .instance = "sharedInstance" },
                .creativeId = fromSuperview({
                    "_webComponent._inlineEventForwarder._creativeId",
                    "_webComponent._interstitialEventForwarder._creativeId",
                    "_inlineEventForwarder._creativeId",
                    "_interstitialEventForwarder._creativeId",
                }),
                .placementId = fromSuperview({
                    "_webComponent._inlineEventForwarder._placementId",
                    "_webComponent._interstitialEventForwarder._placementId",
                    "_inlineEventForwarder._placementId",
                    "_interstitialEventForwarder._placementId",
                }),
            },
            {
                .name = "TDMetaclass_AOL_interstitial",
                .base = "TDMetaclass_AOL_banner",
                .adType = "interstitial",
            },
            {
                // Kept: these ads are counted as interstitials.
                .name = "TDMetaclass_AOL_native",
                .base = "TDMetaclass_AOL_banner",
                .adType = "interstitial",
                .creativeId = fromSupportObject({ "_creativeId" }),
                .placementId = fromSupportObject({ "_placementId" }),
            },
        },
    };
    return aol;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
