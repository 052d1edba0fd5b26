#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize bannerSize { 320, 50 };
constexpr const char* requestFinish = "universalAdFetcher:didFinishRequestWithResponse:";
constexpr const char* trackView = "registerViewForTracking:withRootViewController:clickableViews:error:";

constexpr const char* version = "7.4.1";

void bannerDidFinish(id self, SEL _cmd, id fetcher, id response)
{
    noteReceived(self, _cmd, { retain(fetcher), retain(response) });
    const auto content = object_getInstanceVariable(*response, "_contentView").object();
    static_cast<UIView*>(self)->addSubview(as<UIView>(content));
}

void install()
{
    ClassBuilder("ANUniversalTagRequestBuilder", classOf<NSObject>())
        .method("version"_sel, &answers<version>);
    ClassBuilder("ANBannerAdView", classOf<UIView>())
        .method(sel_registerName(requestFinish), &bannerDidFinish);
    ClassBuilder("ANInterstitialAd", classOf<UIView>())
        .method("displayAdFromViewController:"_sel, &standInMethod<void, id>);
    ClassBuilder("ANNativeAdRequest", classOf<NSObject>())
        .method(sel_registerName(requestFinish), &standInMethod<void, id, id>);
    ClassBuilder("ANNativeAdResponse", classOf<NSObject>())
        .method(sel_registerName(trackView), &standInMethod<bool, id, id, const Value&, void*>);
}

// The view that holds the web view of a banner or an interstitial.
std::shared_ptr<UIView> makeContent(StandInAd& ad, CGSize size, const std::string& creativeId)
{
    auto content = standInView("ANMRAIDContainerView", size);
    const auto webView = ad.creative(size);
    content->addSubview(webView);
    ad.plant("creativeId", content, "_loadingDelegate._adObjectHandler._content",
        ad.key({ "creativeId" }, "<!-- Creative ") + creativeId + " served by member 958 --><p>An ad</p>");
    ad.expect("creativeId", creativeId);
    ad.plant("placementId", content, "_webViewController._adViewANJAMDelegate.__placementId", 10433394);
    ad.adView = webView;
    ad.setDelegate(webView, "ANAdWebViewController");
    ad.expectProcessor("LMAppNexusProcessor", "unknown");
    return content;
}

void showBanner(StandInAd& ad)
{
    ad.expectAd("AppNexus", version, "banner");
    const auto banner = standInView("ANBannerAdView", bannerSize);
    const auto fetcher = ad.keep(standInObject("ANUniversalAdFetcher"));
    const auto response = ad.keep(
        standInObject("ANAdFetcherResponse", { { "_contentView", makeContent(ad, bannerSize, "68034") } }));
    ad.place(banner);
    if (!ad.adView)
        ad.adView = banner;
    ad.call<void>(banner.get(), requestFinish, fetcher.get(), response.get());
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("AppNexus", version, "interstitial");
    const auto interstitial = ad.keep(standInView("ANInterstitialAd", ad.fullScreen()));
    const auto content = makeContent(ad, ad.fullScreen(), "68035");
    ad.makeReady(interstitial, content);
    if (!ad.adView)
        ad.adView = retain(content->superview());
    ad.call<void>(interstitial.get(), "displayAdFromViewController:", &ad.screen());
}

void showNative(StandInAd& ad)
{
    // Says "banner" of its native ads: kept.
    ad.expectAd("AppNexus", version, "banner");
    const auto request = ad.keep(standInObject("ANNativeAdRequest"));
    const auto fetcher = ad.keep(standInObject("ANUniversalAdFetcher"));
    const auto response = ad.keep(standInObject("ANAdFetcherResponse"));
    const auto nativeAd = ad.keep(standInObject("ANNativeAdResponse"));
    const std::string tag = ad.key({ "creativeId" }, "tag_id");
    const std::string ads = ad.key({ "creativeId" }, "ads");
    const std::string creative = ad.key({ "creativeId" }, "creative_id");
    const std::string json = R"({")" + ad.key({ "creativeId" }, "tags") + R"(":[{")" + tag + R"(":1,")" + ads
        + R"(":[{")" + creative + R"(":"1"}]},{")" + tag + R"(":10433395,")" + ads + R"(":[{")" + creative
        + R"(":"68036"},{")" + creative + R"(":"2"}]}]})";
    // The tag with the ad's placement is the one that counts.
    for (const char* field : { "creativeId", "placementId" }) {
        ad.plant(field, response, "_adObject", nativeAd);
        ad.plant(field, fetcher, "_delegate.__placementId", "10433395");
    }
    ad.plant("creativeId", fetcher, "_data", NSData::fromText(json));
    ad.expect("creativeId", "68036");
    ad.call<void>(request.get(), requestFinish, fetcher.get(), response.get());

    ad.adView = standInView("HostsNativeView", { 320, 250 });
    ad.place(ad.adView);
    ad.call<bool>(nativeAd.get(), trackView, ad.adView.get(), &ad.screen(), Value { NSArray { ad.adView } },
        static_cast<void*>(nullptr));
}

} // namespace

const StandInNetwork& appNexusStandIn()
{
    static const StandInNetwork network { "AppNexus", &install,
        { { "banner", 1, &showBanner }, { "interstitial", 1, &showInterstitial },
            { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
