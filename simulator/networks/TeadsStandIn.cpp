#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* interstitialClass = "TeadsSDK.TFAInterstitialAd";
constexpr const char* customAdViewClass = "TeadsSDK.TFACustomAdView";
// The same for every SDK: it cannot be asked.
constexpr const char* version = "4.2.1";

void didMoveToSuperview(id self, SEL _cmd)
{
    noteReceived(self, _cmd);
    sendSuper(NSClassFromString(customAdViewClass), self, sel::didMoveToSuperview);
}

void install()
{
    ClassBuilder(interstitialClass, classOf<UIView>())
        .method("didReceiveAd:adRatio:"_sel, &standInMethod<void, id, double>);
    ClassBuilder(customAdViewClass, classOf<UIView>()).method(sel::didMoveToSuperview, &didMoveToSuperview);
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Teads", version, "interstitial");
    const auto interstitial = ad.container(interstitialClass, ad.fullScreen());
    ad.makeReady(interstitial, interstitial);
    ad.call<void>(
        interstitial.get(), "didReceiveAd:adRatio:", ad.keep(standInObject("TeadsSDK.TFAAd")).get(), 1.78);
}

void showNative(StandInAd& ad)
{
    ad.expectAd("Teads", version, "native");
    const auto view = ad.container(customAdViewClass, { 320, 180 });
    ad.expectMessage(view.get(), "didMoveToSuperview");
    ad.place(view);
}

} // namespace

const StandInNetwork& teadsStandIn()
{
    static const StandInNetwork network { "Teads", &install,
        { { "interstitial", 1, &showInterstitial }, { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
