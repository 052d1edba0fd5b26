#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "6.8.2";

// -[MMInlineAd view]
id inlineView(id self, SEL) { return object_getInstanceVariable(*self, "inlineView").object().get(); }

void install()
{
    installVersion<version>("MMSDK", "version", "sharedInstance");
    ClassBuilder("MMInlineAd", classOf<NSObject>())
        .method("contentLoadSucceeded"_sel, &standInMethod<void>)
        .method("view"_sel, &inlineView);
    ClassBuilder("MMInterstitialAd", classOf<NSObject>()).method("willDisplay"_sel, &standInMethod<void>);
    ClassBuilder("MMNativeAd", classOf<NSObject>())
        .method("loadIntoLayoutFromBundle:"_sel, &standInMethod<std::shared_ptr<Object>, id>);
}

std::vector<std::string> identifierPaths(const std::string& key)
{
    return { "_webComponent._inlineEventForwarder." + key, "_webComponent._interstitialEventForwarder." + key,
        "_inlineEventForwarder." + key, "_interstitialEventForwarder." + key };
}

std::shared_ptr<UIView> identifiedContent(StandInAd& ad, CGSize size, const char* adFormat)
{
    auto content = ad.container("MMCreativeView", size);
    ad.plantOneOf("creativeId", content, identifierPaths("_creativeId"), "aol-creative-1");
    ad.plantOneOf("placementId", content, identifierPaths("_placementId"), "aol-placement-1");
    ad.expectAd("AOL", version, adFormat);
    ad.setDelegate(ad.adView, "MMWebComponent");
    ad.expectProcessor("LMAOLProcessor", "unknown");
    return content;
}

void showBanner(StandInAd& ad)
{
    const auto view = standInView("MMInlineAdView", { 320, 50 });
    view->addSubview(identifiedContent(ad, { 320, 50 }, "banner"));
    ad.place(view);
    const auto banner = ad.keep(standInObject("MMInlineAd", { { "inlineView", view } }));
    ad.call<void>(banner.get(), "contentLoadSucceeded");
}

void showInterstitial(StandInAd& ad)
{
    const auto content = identifiedContent(ad, ad.fullScreen(), "interstitial");
    const auto interstitial = ad.keep(standInObject("MMInterstitialAd"));
    setBehaviour(
        *interstitial, [&ad, content] { return ad.present("MMInterstitialViewController", content); });
    ad.call<void>(interstitial.get(), "willDisplay");
}

void showNative(StandInAd& ad)
{
    ad.expectAd("AOL", version, "interstitial");
    const auto native = ad.keep(standInObject("MMNativeAd"));
    ad.adView = ad.keep(standInView("MMNativeAdView", { 300, 100 }));
    ad.plant("creativeId", native, "_creativeId", "aol-creative-2");
    ad.plant("placementId", native, "_placementId", "aol-placement-2");
    setBehaviour(*native, [&ad] { return ad.adView; });
    ad.call<std::shared_ptr<Object>>(
        native.get(), "loadIntoLayoutFromBundle:", ad.keep(standInObject("MMBundle")).get());
    ad.place(ad.adView);
}

} // namespace

const StandInNetwork& aolStandIn()
{
    static const StandInNetwork network { "AOL", &install,
        { { "banner", 4, &showBanner }, { "interstitial", 4, &showInterstitial },
            { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
