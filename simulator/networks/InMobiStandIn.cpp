#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "9.1.5";

void install()
{
    installVersion<version>("IMSdk", "getVersion");
    ClassBuilder("IMBanner", classOf<UIView>()).method("adDidFinishLoad:"_sel, &standInMethod<void, id>);
    for (const char* name : { "IMNativeRenderViewController", "IMRenderViewController" })
        ClassBuilder(name, classOf<UIViewController>())
            .method("viewDidAppear:"_sel, &standInMethod<void, bool>);
}

void expectProcessor(StandInAd& ad)
{
    ad.setDelegate(ad.adView, "IMWKWebViewController");
    ad.expectProcessor("LMInMobiProcessor", "unknown");
}

void showBanner(StandInAd& ad)
{
    ad.expectAd("InMobi", version, "banner");
    const auto banner = standInView("IMBanner", { 320, 50 });
    const auto rendered = ad.container("IMUIView", { 320, 50 });
    banner->addSubview(rendered);
    expectProcessor(ad);
    ad.plantForProcessor("creativeId", rendered, "_creativeId", "im-creative-1");
    ad.plantForProcessor("placementId", rendered, "_placementId", "im-placement-1");
    ad.adView = banner;
    ad.plant("creativeId", banner, "_bannerView._ad._manager._ad._delegate._creativeId", "im-creative-1");
    ad.plant("placementId", banner, "_bannerView._ad._placementId", "im-placement-1");
    ad.place(banner);
    ad.call<void>(banner.get(), "adDidFinishLoad:", ad.keep(standInObject("IMAd")).get());
}

void showInterstitial(StandInAd& ad, const char* controllerClass)
{
    ad.expectAd("InMobi", version, "interstitial");
    const auto view = ad.container("IMUIView", ad.fullScreen());
    expectProcessor(ad);
    ad.adView = view;
    ad.plantOneOf("creativeId", view,
        { "_creativeId", "_delegate._creativeId",
            "_properties._actionDelegate._delegate._delegate._creativeId",
            "_delegate._bannerView._ad._manager._ad._delegate._creativeId" },
        "im-creative-2");
    ad.plantOneOf("placementId", view,
        { "_placementId", "_delegate._placementId",
            "_properties._actionDelegate._delegate._delegate._placementId", "_ad._placementId",
            "_delegate._delegate._delegate._delegate._placementId" },
        int64_t { 1469137441636 });
    ad.present(controllerClass, view, "viewDidAppear:");
}
void showNativeRendered(StandInAd& ad) { showInterstitial(ad, "IMNativeRenderViewController"); }
void showRendered(StandInAd& ad) { showInterstitial(ad, "IMRenderViewController"); }

} // namespace

const StandInNetwork& inMobiStandIn()
{
    static const StandInNetwork network { "InMobi", &install,
        { { "banner", 1, &showBanner }, { "native interstitial", 5, &showNativeRendered },
            { "interstitial", 5, &showRendered } } };
    return network;
}

} // namespace lumora
