#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "2.2.17";

constexpr const char* bannerClass = "AMMRAdView";
constexpr const char* interstitialClass = "AMAMraidInterstitialAdView";

void install()
{
    installVersion<version>("AmazonAdRegistration", "version", "sharedRegistration");
    ClassBuilder(bannerClass, classOf<UIView>())
        .method(sel::didMoveToWindow, &standInDidMoveToWindow<bannerClass>);
    ClassBuilder(interstitialClass, classOf<UIView>())
        .method(sel::didMoveToWindow, &standInDidMoveToWindow<interstitialClass>);
}

const char* const creatives[] = { R"({"crId":"4711"})", R"({"cid" : 4711})", R"({"cid":"1","crId":"4711"})" };

void plantData(
    StandInAd& ad, const std::shared_ptr<Object>& root, const std::string& path, const char* adFormat)
{
    ad.plant("creativeId", root, path, NSData::fromText(creatives[ad.placeAmong(3)]));
    ad.expect("creativeId", "4711");
    ad.expectAd("Amazon", version, adFormat);
}

void showBanner(StandInAd& ad)
{
    const auto view = ad.container(bannerClass, { 320, 50 });
    plantData(ad, view, "_displayController._mraidView._delegate._delegate._data", "banner");
    ad.expectProcessor("LMAmazonProcessor", "banner");
    ad.expectMessage(view.get(), "didMoveToWindow");
    ad.place(view);
    ad.setDelegate(ad.adView, view);
}

void showInterstitial(StandInAd& ad)
{
    const auto view = ad.container(interstitialClass, ad.fullScreen());
    plantData(ad, view, "_browsingController._adView._delegate._delegate._data", "interstitial");
    ad.expectProcessor("LMAmazonProcessor", "interstitial");
    ad.expectMessage(view.get(), "didMoveToWindow");
    ad.present("AMAInterstitialViewController", view);
    ad.setDelegate(ad.adView, view);
}

} // namespace

const StandInNetwork& amazonStandIn()
{
    static const StandInNetwork network { "Amazon", &install,
        { { "banner", 3, &showBanner }, { "interstitial", 3, &showInterstitial } } };
    return network;
}

} // namespace lumora
