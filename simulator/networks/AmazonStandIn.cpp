#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "2.2.17";

void install()
{
    installVersion<version>("AmazonAdRegistration", "version", "sharedRegistration");
    standInClass("AMMRAdView", classOf<UIView>());
    standInClass("AMAMraidInterstitialAdView", classOf<UIView>());
}

const char* const creatives[] = { R"({"crId":"4711"})", R"({"cid" : 4711})", R"({"cid":"1","crId":"4711"})" };

void setDelegate(StandInAd& ad, const std::shared_ptr<Object>& delegate)
{
    if (const auto webView = as<WKWebView>(ad.adView))
        send(webView, sel::setNavigationDelegate, delegate);
}

void plantData(
    StandInAd& ad, const std::shared_ptr<Object>& root, const std::string& path, const char* adFormat)
{
    ad.plant("creativeId", root, path, NSData::fromText(creatives[ad.placeAmong(3)]));
    ad.expect("creativeId", "4711");
    ad.expectAd("Amazon", version, adFormat);
}

void showBanner(StandInAd& ad)
{
    const auto view = ad.container("AMMRAdView", { 320, 50 });
    plantData(ad, view, "_displayController._mraidView._delegate._delegate._data", "banner");
    ad.place(view);
    setDelegate(ad, view);
}

void showInterstitial(StandInAd& ad)
{
    const auto view = ad.container("AMAMraidInterstitialAdView", ad.fullScreen());
    plantData(ad, view, "_browsingController._adView._delegate._delegate._data", "interstitial");
    ad.present("AMAInterstitialViewController", view);
    setDelegate(ad, view);
}

} // namespace

const StandInNetwork& amazonStandIn()
{
    static const StandInNetwork network { "Amazon", &install,
        { { "banner", 3, &showBanner }, { "interstitial", 3, &showInterstitial } } };
    return network;
}

} // namespace lumora
