#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };

id ad(id self, SEL) { return object_getInstanceVariable(*self, "_ad").object().get(); }
id adObject(id self, SEL) { return object_getInstanceVariable(*self, "_adObject").object().get(); }

void finishedRendering(id self, SEL _cmd, id rendered)
{
    noteReceived(self, _cmd, { retain(rendered) });
    static_cast<UIView*>(self)->addSubview(retain(as<UIView>(rendered)));
}

void install()
{
    Class adView = ClassBuilder("SOMAAdView", classOf<UIView>())
                       .method("renderedAdViewDidFinishedRendering:"_sel, &finishedRendering)
                       .build();
    ClassBuilder("SOMAMediatedAdView", adView);
    ClassBuilder("SOMAInterstitialAdView", classOf<UIView>()).method("show:"_sel, &standInMethod<void, id>);
    ClassBuilder("SOMANativeAd", classOf<NSObject>())
        .method("registerViewForUserInteraction:"_sel, &standInMethod<void, id>);
    // What is rendered by an older SDK, and by a newer one.
    ClassBuilder("SOMARenderedAdView", classOf<UIView>()).method("ad"_sel, &ad);
    ClassBuilder("SOMARenderedView", classOf<UIView>()).method("adObject"_sel, &adObject);
}

void expectSDK(StandInAd& ad, const char* adFormat)
{
    // It asks another network's class for its version: kept.
    Class spotX = NSClassFromString("SpotX");
    ad.expectAd("Smaato", spotX ? send<std::string>(spotX, "version"_sel) : "version param is not available",
        adFormat);
}

std::shared_ptr<UIView> rendered(StandInAd& ad, const char* className, CGSize size)
{
    auto view = standInView(className, size);
    const auto webView = ad.creative(size);
    view->addSubview(webView);
    ad.adView = webView;
    return view;
}

void expectProcessor(StandInAd& ad)
{
    ad.setDelegate(ad.adView, "SOMAAdRenderer");
    ad.expectProcessor("LMSmaatoProcessor", "unknown");
}

void load(StandInAd& ad, const char* className, const std::shared_ptr<UIView>& content)
{
    const auto banner = standInView(className, bannerSize);
    ad.place(banner);
    ad.call<void>(banner.get(), "renderedAdViewDidFinishedRendering:", content.get());
}

void showBanner(StandInAd& ad)
{
    expectSDK(ad, "banner");
    const auto content = rendered(ad, "SOMARenderedAdView", bannerSize);
    ad.plant("button", content, "_webView", Value { ad.adView });
    ad.plant("creativeId", content, "_ad._session", "smaato-session-1");
    expectProcessor(ad);
    load(ad, "SOMAAdView", content);
}

void showNewerBanner(StandInAd& ad)
{
    expectSDK(ad, "banner");
    const auto content = rendered(ad, "SOMARenderedView", bannerSize);
    ad.plant("button", content, "_webView", Value { ad.adView });
    ad.plant("creativeId", content, "_adObject.session", "smaato-session-2");
    expectProcessor(ad);
    load(ad, "SOMAAdView", content);
}

// A subclass belongs to somebody else, and gets no button.
void showMediatedBanner(StandInAd& ad)
{
    const auto content = rendered(ad, "SOMARenderedAdView", bannerSize);
    object_setInstanceVariable(*content, "_webView", Value::weak(ad.adView));
    ad.adView = nullptr;
    load(ad, "SOMAMediatedAdView", content);
}

void showInterstitial(StandInAd& ad)
{
    expectSDK(ad, "interstitial");
    const auto interstitial = standInView("SOMAInterstitialAdView", ad.fullScreen());
    const auto content = rendered(ad, "SOMARenderedAdView", ad.fullScreen());
    interstitial->addSubview(content);
    ad.plant("creativeId", content, "_ad._session", "smaato-session-3");
    expectProcessor(ad);
    ad.makeReady(interstitial, interstitial);
    if (!ad.adView)
        ad.adView = interstitial;
    ad.call<void>(interstitial.get(), "show:", &ad.screen());
}

void showNative(StandInAd& ad)
{
    expectSDK(ad, "native");
    const auto nativeAd = ad.keep(standInObject("SOMANativeAd"));
    ad.plant("creativeId", nativeAd, "_ad.session", "smaato-session-4");
    ad.adView = standInView("HostsNativeView", { 320, 250 });
    ad.place(ad.adView);
    ad.call<void>(nativeAd.get(), "registerViewForUserInteraction:", ad.adView.get());
}

} // namespace

const StandInNetwork& smaatoStandIn()
{
    static const StandInNetwork network { "Smaato", &install,
        { { "banner", 1, &showBanner }, { "newer banner", 1, &showNewerBanner },
            { "mediated banner", 1, &showMediatedBanner }, { "interstitial", 1, &showInterstitial },
            { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
