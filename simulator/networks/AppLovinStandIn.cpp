#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };
constexpr const char* version = "6.11.4";

void install()
{
    installVersion<version>("ALSdk", "version");
    ClassBuilder("ALAdView", classOf<UIView>())
        .method("adService:didLoadAd:"_sel, &standInMethod<void, id, id>);
    ClassBuilder("ALBaseVideoViewController", classOf<UIViewController>())
        .method("viewDidAppear:"_sel, &standInMethod<void, bool>);
}

void plantIn(StandInAd& ad, const std::shared_ptr<Object>& owner)
{
    ad.plant("creativeId", owner, "_currentAd._adObject.ad_id", int64_t { 4123456789 });
    ad.plant("placementId", owner, "_currentAd._adZone._identifier", "applovin-zone");
}

void showBanner(StandInAd& ad)
{
    ad.expectAd("AppLovin", version, "banner");
    const auto banner = ad.container("ALAdView", bannerSize);
    plantIn(ad, banner);
    ad.place(banner);
    ad.adView = banner;
    ad.call<void>(banner.get(), "adService:didLoadAd:", ad.keep(standInObject("ALAdService")).get(),
        ad.keep(standInObject("ALAd")).get());
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("AppLovin", version, "interstitial");
    const auto webView = ad.creative(ad.fullScreen());
    const auto controller = ad.present("ALBaseVideoViewController", webView);
    plantIn(ad, controller);
    ad.expectAnnouncement(*controller, "viewDidAppear:");
    ad.adView = webView ? webView : retain(controller->view());
}

} // namespace

const StandInNetwork& appLovinStandIn()
{
    static const StandInNetwork network { "AppLovin", &install,
        { { "banner", 1, &showBanner }, { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
