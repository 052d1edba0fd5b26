#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "6.2.1";

void install()
{
    installVersion<version>("FBAudienceNetwork", "FB_AD_SDK_VERSION");
    ClassBuilder("FBAdEventManager", classOf<NSObject>())
        .method("dispatchEventsImmediately"_sel, &standInMethod<void>);
    ClassBuilder("FBDisplayAdController", classOf<NSObject>())
        .method("notifyAdViewPresented"_sel, &standInMethod<void>);
    ClassBuilder("FBNativeAdBase", classOf<NSObject>())
        .method("setNativeAdView:"_sel, &standInMethod<void, id>);
    ClassBuilder("FBNativeAd", NSClassFromString("FBNativeAdBase"));
}

void dispatchEvents(StandInAd& ad)
{
    const auto manager = ad.keep(standInObject("FBAdEventManager"));
    ad.plant("creativeId", manager, "_sessionID", "5f3a-session");
    ad.call<void>(manager.get(), "dispatchEventsImmediately");
}

void showBanner(StandInAd& ad)
{
    ad.expectAd("Facebook", version, "banner");
    dispatchEvents(ad);
    const auto banner = ad.container("FBAdView", { 320, 50 });
    ad.plantOneOf("placementId", banner,
        { "_delegate._delegate._placementID", "_delegate._placementID",
            "_delegate._delegate._delegate._delegate._placementID" },
        "fb-placement-1");
    ad.place(banner);
    ad.setDelegate(ad.adView, "FBAdWebKitContentContainer");
    ad.expectProcessorOfPage("LMFacebookProcessor", "banner");
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Facebook", version, "interstitial");
    dispatchEvents(ad);
    const auto content = ad.container("FBInterstitialVideoAdContentView", ad.fullScreen());
    ad.expectProcessor("LMFacebookProcessor", "interstitial");
    ad.plant("placementId", ad.adView, "_delegate._delegate._placementID", "fb-placement-2");
    const auto controller = ad.keep(standInObject("FBDisplayAdController"));
    ad.present("FBInterstitialAdViewController", content);
    ad.call<void>(controller.get(), "notifyAdViewPresented");
}

void showNative(StandInAd& ad)
{
    ad.expectAd("Facebook", version, "native");
    dispatchEvents(ad);
    const auto native = ad.keep(standInObject("FBNativeAd"));
    ad.adView = ad.keep(standInView("FBNativeAdView", { 300, 100 }));
    ad.plant("placementId", native, "_placementID", "fb-placement-3");
    ad.place(ad.adView);
    ad.call<void>(native.get(), "setNativeAdView:", ad.adView.get());
}

} // namespace

const StandInNetwork& facebookStandIn()
{
    static const StandInNetwork network { "Facebook", &install,
        { { "banner", 3, &showBanner }, { "interstitial", 1, &showInterstitial },
            { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
