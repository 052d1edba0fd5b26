#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };
constexpr const char* version = "5.0.2";

void install()
{
    installVersion<version>("VWAdLibrary", "sdkVersion");
    ClassBuilder("VWAdvertView", classOf<UIView>())
        .method("adViewDidFinishLoadingAd:"_sel, &standInMethod<void, id>);
    ClassBuilder("VWInterstitialAd", classOf<UIView>());
    ClassBuilder("VWFullscreenAdViewController", classOf<UIViewController>())
        .method("adViewDidFinishLoadingAd:"_sel, &standInMethod<void, id>);
}

void plantIn(StandInAd& ad, const std::shared_ptr<UIView>& view, const char* creativeId)
{
    ad.adView = view;
    view->addSubview(ad.creative(view->bounds().size));
    ad.plantOneOf("creativeId", view, { "_adView._creativeID", "_creativeID" }, creativeId);
    ad.plantOneOf("sessionId", view,
        { "_adView._iasSession._avidAdSessionId", "_iasSession._avidAdSessionId" }, "B3D1-77");
}

void showBanner(StandInAd& ad)
{
    ad.expectAd("Verve", version, "banner");
    const auto banner = standInView("VWAdvertView", bannerSize);
    plantIn(ad, banner, "verve-1");
    ad.place(banner);
    ad.call<void>(banner.get(), "adViewDidFinishLoadingAd:", banner.get());
}

void finishLoading(StandInAd& ad, const std::shared_ptr<UIView>& content)
{
    const auto controller = ad.present("VWFullscreenAdViewController", content);
    ad.call<void>(controller.get(), "adViewDidFinishLoadingAd:", content.get());
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Verve", version, "interstitial");
    const auto interstitial = standInView("VWInterstitialAd", ad.fullScreen());
    plantIn(ad, interstitial, "verve-2");
    finishLoading(ad, interstitial);
}

// Any other full-screen ad gets no button.
void showExpanded(StandInAd& ad) { finishLoading(ad, standInView("VWExpandedAd", ad.fullScreen())); }

} // namespace

const StandInNetwork& verveStandIn()
{
    static const StandInNetwork network { "Verve", &install,
        { { "banner", 2, &showBanner }, { "interstitial", 2, &showInterstitial },
            { "expanded banner", 1, &showExpanded } } };
    return network;
}

} // namespace lumora
