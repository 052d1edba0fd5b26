#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "6.17.0";

void install()
{
    installVersion<version>("IronSource", "sdkVersion");
    ClassBuilder("SupersonicAdsPublisher", classOf<NSObject>())
        .method("setSupersonicAdsView:"_sel, &standInMethod<void, id>);
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Ironsource", version, "interstitial");
    ad.expectProcessor("LMIronSourceProcessor", "interstitial");
    const auto publisher = ad.keep(standInObject("SupersonicAdsPublisher"));
    ad.adView = standInView("SupersonicAdsView", ad.fullScreen());
    ad.adView->addSubview(ad.creative(ad.fullScreen(), "SSWVWKWebView"));
    ad.makeReady(publisher, ad.adView);
    ad.call<void>(publisher.get(), "setSupersonicAdsView:", ad.adView.get());
}

} // namespace

const StandInNetwork& ironsourceStandIn()
{
    static const StandInNetwork network { "ironSource", &install,
        { { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
