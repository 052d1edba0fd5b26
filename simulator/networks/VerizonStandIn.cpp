#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };
constexpr const char* version = "1.8.2";

// Nothing is presented here.
void adDidShow(id self, SEL _cmd) { noteReceived(self, _cmd); }

id initWithPlacementId(id self, SEL _cmd, const std::string& placementId, id ad, id vasAds, id delegate)
{
    noteReceived(self, _cmd, { placementId, retain(ad), retain(vasAds), retain(delegate) });
    object_setInstanceVariable(*self, "_placementId", placementId);
    return self;
}

void install()
{
    installVersion<version>("VASAds", "sdkInfo");
    ClassBuilder("VASInlineAdView", classOf<UIView>())
        .method("setupAndStartWatchingView:"_sel, &standInMethod<void, id>);
    ClassBuilder("VASInterstitialAd", classOf<NSObject>())
        .method("showFromViewController:"_sel, &standInMethod<void, id>)
        .method("adDidShow"_sel, &adDidShow);
    ClassBuilder("VASNativeAd", classOf<NSObject>())
        .method("initWithPlacementId:ad:vasAds:delegate:"_sel, &initWithPlacementId);
}

// The web view stands with the watched view, or with the banner.
void showBanner(StandInAd& ad, bool watchedViewHasIt)
{
    ad.expectAd("Verizon", version, "banner");
    const auto banner = standInView("VASInlineAdView", bannerSize);
    const auto watched = standInView("VASWebView", bannerSize);
    const auto webView = ad.creative(bannerSize);
    watched->addSubview(webView);
    banner->addSubview(watched);
    ad.plant("button", watchedViewHasIt ? watched : banner, "_wkWebView", Value::weak(webView));
    ad.plant("placementId", banner, "_placementId", "verizon-banner");
    ad.place(banner);
    ad.adView = webView;
    ad.call<void>(banner.get(), "setupAndStartWatchingView:", watched.get());
}
void showWatchedBanner(StandInAd& ad) { showBanner(ad, true); }
void showOwnBanner(StandInAd& ad) { showBanner(ad, false); }

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Verizon", version, "interstitial");
    const auto interstitial = ad.keep(standInObject("VASInterstitialAd"));
    const auto content = standInView("VASWebView", ad.fullScreen());
    const auto webView = ad.creative(ad.fullScreen());
    content->addSubview(webView);
    ad.plant("button", interstitial, "_ad._adAdapter._webController._webView._wkWebView", Value { webView });
    ad.plant("placementId", interstitial, "_placementId", "verizon-interstitial");
    ad.makeReady(interstitial, content);
    ad.adView = webView;
    ad.call<void>(interstitial.get(), "showFromViewController:", &ad.screen());
    ad.call<void>(interstitial.get(), "adDidShow");
}

// Gets no button.
void showNative(StandInAd& ad)
{
    const auto content = standInObject("VASAd");
    const auto nativeAd = ad.keep(alloc<Object>(NSClassFromString("VASNativeAd")));
    ad.call<id>(nativeAd.get(), "initWithPlacementId:ad:vasAds:delegate:", std::string { "verizon-native" },
        content.get(), static_cast<id>(nullptr), &ad.screen());
}

} // namespace

const StandInNetwork& verizonStandIn()
{
    static const StandInNetwork network { "Verizon", &install,
        { { "banner", 1, &showWatchedBanner }, { "banner with its own web view", 1, &showOwnBanner },
            { "interstitial", 1, &showInterstitial }, { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
