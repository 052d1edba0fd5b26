#include "simulator/networks/MoPubStandIn.h"

#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

const std::vector<std::string> creativeIdPaths { "_delegate._configuration._dspCreativeId",
    "_delegate._delegate._adConfiguration.dspCreativeId", "_delegate._configuration._creativeId",
    "_delegate._delegate._adConfiguration.creativeId" };

// The new content takes the place of the old.
void loadContent(StandInAd& ad, UIView& banner, const std::shared_ptr<UIView>& content)
{
    setBehaviour(banner, [&banner, content = std::weak_ptr(content)] {
        for (const auto& old : banner.subviews())
            old->removeFromSuperview();
        banner.addSubview(content.lock());
        return nullptr;
    });
    ad.call<void>(&banner, "managerDidLoadAd:", content.get());
}

/// MoPub's own view of a web view, which knows what kind of ad it shows.
std::shared_ptr<Object> webViewDelegate(StandInAd& ad, const std::string& adFormat)
{
    const bool isBanner = adFormat == "banner";
    ad.expectProcessor(
        isBanner ? "LMMoPubBannerProcessor" : "LMMoPubInterstitialProcessor", adFormat.c_str());
    const auto configuration = standInObject("MPAdConfiguration", { { "_adType", isBanner ? 0 : 1 } });
    return ad.keep(standInObject("MPWebView",
        { { "_delegate", standInObject("MPAdConfigured", { { "_configuration", configuration } }) } }));
}

/// A creative in a container whose delegate knows its identifiers.
std::shared_ptr<UIView> identifiedContent(StandInAd& ad, CGSize size, const char* adFormat)
{
    auto content = ad.container("MPClosableView", size);
    ad.plantOneOf("creativeId", content, creativeIdPaths, "dsp-1");
    ad.expectAd("MoPub", MoPubStandIn::version, adFormat);
    ad.setDelegate(ad.adView, webViewDelegate(ad, adFormat));
    return content;
}

void showBanner(StandInAd& ad)
{
    const auto content = identifiedContent(ad, { 300, 250 }, "banner");
    const auto banner = ad.keep(MoPubStandIn::makeBanner({ 300, 250 }));
    ad.place(banner);
    loadContent(ad, *banner, content);
}

void showInterstitial(StandInAd& ad)
{
    const auto content = identifiedContent(ad, ad.fullScreen(), "interstitial");
    const auto manager = ad.keep(standInObject("MPInterstitialAdManager"));
    setBehaviour(*manager, [&ad, content] { return ad.present("MPInterstitialViewController", content); });
    ad.call<void>(manager.get(), "presentInterstitialFromViewController:", &ad.screen());
}

void showRewarded(StandInAd& ad)
{
    ad.expectAd("MoPub", MoPubStandIn::version, "interstitial");
    const auto content = ad.container("MPClosableView", ad.fullScreen());
    ad.plant("creativeId", ad.adView, "_delegate._delegate._configuration._creativeId", "mp-rewarded-1");
    ad.setDelegate(ad.adView, webViewDelegate(ad, "interstitial"));
    const auto manager = ad.keep(standInObject("MPRewardedVideoAdManager"));
    setBehaviour(*manager, [&ad, content] { return ad.present("MPRewardedVideoController", content); });
    const auto reward = ad.keep(standInObject("MPRewardedVideoReward"));
    ad.call<void>(manager.get(),
        "presentRewardedVideoAdFromViewController:withReward:customData:", &ad.screen(), reward.get(),
        std::string { "level 3" });
}

void showNative(StandInAd& ad)
{
    ad.expectAd("MoPub", MoPubStandIn::version, "native");
    ad.adView = standInView("MPNativeView", { 300, 250 });
    ad.plant("creativeId", ad.adView, "_delegate._adAdapter._adConfiguration._creativeId", "mp-native-1");
    const auto native = ad.keep(standInObject("MPNativeAd"));
    setBehaviour(*native, [&ad] { return ad.adView; });
    ad.call<std::shared_ptr<Object>>(native.get(), "retrieveAdViewWithError:", static_cast<void*>(nullptr));
    ad.place(ad.adView);
}

} // namespace

void MoPubStandIn::install()
{
    installVersion<version>("MoPub", "version", "sharedInstance");
    ClassBuilder("MPAdView", classOf<UIView>()).method("managerDidLoadAd:"_sel, &standInMethod<void, id>);
    ClassBuilder("MPInterstitialAdManager", classOf<NSObject>())
        .method("presentInterstitialFromViewController:"_sel, &standInMethod<void, id>);
    ClassBuilder("MPRewardedVideoAdManager", classOf<NSObject>())
        .method("presentRewardedVideoAdFromViewController:withReward:customData:"_sel,
            &standInMethod<void, id, id, const std::string&>);
    ClassBuilder("MPNativeAd", classOf<NSObject>())
        .method("retrieveAdViewWithError:"_sel, &standInMethod<std::shared_ptr<Object>, void*>);
}

std::shared_ptr<UIView> MoPubStandIn::makeBanner(CGSize size) { return standInView("MPAdView", size); }

void MoPubStandIn::load(UIView& banner, const Creative& creative)
{
    const auto nowhere = make<UIViewController>();
    StandInAd ad(*nowhere);
    ad.html = creative.html;
    const auto content = ad.container("MPClosableView", creative.size);
    if (!creative.dspCreativeId.empty())
        ad.plant("creativeId", content, creativeIdPaths[0], creative.dspCreativeId);
    if (!creative.creativeId.empty())
        ad.plant("creativeId", content, creativeIdPaths[2], creative.creativeId);
    loadContent(ad, banner, content);
}

const StandInNetwork& moPubStandIn()
{
    static const StandInNetwork network { "MoPub", &MoPubStandIn::install,
        { { "banner", 4, &showBanner }, { "interstitial", 4, &showInterstitial },
            { "rewarded", 1, &showRewarded }, { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
