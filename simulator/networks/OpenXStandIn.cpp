#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };
constexpr const char* version = "4.13.0";

void install()
{
    installVersion<version>("OXMFunctions", "sdkVersion");
    ClassBuilder("OXMBannerView", classOf<UIView>()).method("adDidDisplay"_sel, &standInMethod<void>);
    ClassBuilder("OXMInterstitialController", classOf<NSObject>()).method("show"_sel, &standInMethod<void>);
}

constexpr const char* creativePath = "_delegate._oxmCreativeModel._adConfiguration._auid";

void showBanner(StandInAd& ad)
{
    ad.expectAd("OpenX", version, "banner");
    const auto banner = standInView("OXMBannerView", bannerSize);
    const auto webView = ad.creative(bannerSize);
    banner->addSubview(webView);
    ad.plant("creativeId", webView, creativePath, "538562284");
    ad.place(banner);
    ad.adView = webView ? webView : banner;
    ad.setDelegate(webView, "OXMWebView");
    ad.expectProcessor("LMOpenXProcessor", "unknown");
    ad.call<void>(banner.get(), "adDidDisplay");
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("OpenX", version, "interstitial");
    const auto controller = ad.keep(standInObject("OXMInterstitialController"));
    const auto container = standInView("OXMContainerView", ad.fullScreen());
    const auto webView = ad.creative(ad.fullScreen());
    container->addSubview(webView);
    ad.plant("creativeId", container, creativePath, "538562285");
    ad.makeReady(controller, container);
    ad.adView = webView ? webView : retain(container->superview());
    ad.setDelegate(webView, "OXMWebView");
    ad.expectProcessor("LMOpenXProcessor", "unknown");
    ad.call<void>(controller.get(), "show");
}

} // namespace

const StandInNetwork& openXStandIn()
{
    static const StandInNetwork network { "OpenX", &install,
        { { "banner", 1, &showBanner }, { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
