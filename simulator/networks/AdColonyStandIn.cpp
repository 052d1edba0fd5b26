#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "4.4.1";

void install()
{
    installVersion<version>("AdColony", "getSDKVersion");
    ClassBuilder("AdColonyInterstitial", classOf<NSObject>())
        .method("showWithPresentingViewController:"_sel, &standInMethod<bool, id>);
    ClassBuilder("ADCContainer", classOf<UIViewController>())
        .method("viewDidAppear:"_sel, &standInMethod<void, bool>)
        .method("setPresenting:"_sel, &standInMethod<void, bool>);
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("AdColony", version, "interstitial");
    ad.expectProcessor("LMAdColonyInterstitialProcessor", "interstitial");
    const auto interstitial = ad.keep(standInObject("AdColonyInterstitial",
        { { "sessionID", "session-1" }, { "zoneID", "vz-zone-1" }, { "adID", int64_t { 77 } } }));
    ad.plant("creativeId", interstitial, "creativeID", int64_t { 4711 });
    const auto content = ad.container("ADCView", ad.fullScreen());
    std::shared_ptr<UIViewController> controller;
    setBehaviour(*interstitial, [&] {
        controller = ad.present("ADCContainer", content);
        return nullptr;
    });
    ad.call<bool>(interstitial.get(), "showWithPresentingViewController:", &ad.screen());
    ad.call<void>(controller.get(), "setPresenting:", true);
    ad.expectAnnouncement(*controller, "viewDidAppear:");
    ad.setDelegate(ad.adView, "ADCWebViewModule");
}

} // namespace

const StandInNetwork& adColonyStandIn()
{
    static const StandInNetwork network { "AdColony", &install,
        { { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
