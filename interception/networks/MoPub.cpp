// MoPub: banners, interstitials, rewarded videos and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

// The loaded view arrives before the network puts it on screen.
Slot<void(id, SEL, id)> bannerDidLoadIMP;
void lumora_banner_didLoad(id self, SEL _cmd, id loadedView)
{
    guardedHook(self, [&] { attachReportButtonInside(loadedView, "TDMetaclass_MoPub_banner"); });
    bannerDidLoadIMP(self, _cmd, loadedView);
}

Slot<void(id, SEL, id)> interstitialDidLoadIMP;
void lumora_interstitial_didLoad(id self, SEL _cmd, id controller)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_MoPub_interstitial");
    interstitialDidLoadIMP(self, _cmd, controller);
}

Slot<void(id, SEL, id, id, const std::string&)> rewardedDidLoadIMP;
void lumora_rewarded_didLoad(id self, SEL _cmd, id controller, id reward, const std::string& customData)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_MoPub_rewarded");
    rewardedDidLoadIMP(self, _cmd, controller, reward, customData);
}

// The ad's view is what the replaced method makes, so that one goes first here.
Slot<std::shared_ptr<Object>(id, SEL, void*)> nativeDidLoadIMP;
std::shared_ptr<Object> lumora_native_didLoad(id self, SEL _cmd, void* error)
{
    // What the replaced method may let go of.
    const auto alive = retain(self);
    auto adView = nativeDidLoadIMP(self, _cmd, error);
    if (alive)
        guardedHook(self, [&] { attachReportButton(adView, "TDMetaclass_MoPub_native"); });
    return adView;
}

const Network& network()
{
    static const auto& mopub = *new Network {
        .swizzler = "TDMoPubSwizzler",
        .hooks = {
            { "MPNativeAd", "retrieveAdViewWithError:", &lumora_native_didLoad, &nativeDidLoadIMP },
            { "MPAdView", "managerDidLoadAd:", &lumora_banner_didLoad, &bannerDidLoadIMP },
            { "MPInterstitialAdManager", "presentInterstitialFromViewController:", &lumora_interstitial_didLoad,
                &interstitialDidLoadIMP },
            { "MPRewardedVideoAdManager", "presentRewardedVideoAdFromViewController:withReward:customData:",
                &lumora_rewarded_didLoad, &rewardedDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_MoPub_banner",
                .sdkName = "MoPub",
                .adType = "banner",
                .version = Version { .classes = { "MoPub" }, .selector = "version", .instance = "sharedInstance" },
                .creativeId = fromSuperview({
                    "_delegate._configuration._dspCreativeId",
                    "_delegate._delegate._adConfiguration.dspCreativeId",
                    "_delegate._configuration._creativeId",
                    "_delegate._delegate._adConfiguration.creativeId",
                }),
                .adFormatId = 0,
            },
            {
                .name = "TDMetaclass_MoPub_interstitial",
                .base = "TDMetaclass_MoPub_banner",
                .adType = "interstitial",
            },
            {
                // Kept: there is no type of its own for rewarded videos; the service counts them here.
                .name = "TDMetaclass_MoPub_rewarded",
                .base = "TDMetaclass_MoPub_banner",
                .adType = "interstitial",
                .creativeId = fromView({ "_delegate._delegate._configuration._creativeId" }),
                .screenshotView = &screenshotViewOf,
            },
            {
                .name = "TDMetaclass_MoPub_native",
                .base = "TDMetaclass_MoPub_banner",
                .adType = "native",
                .creativeId = fromView({ "_delegate._adAdapter._adConfiguration._creativeId" }),
            },
        },
    };
    return mopub;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
