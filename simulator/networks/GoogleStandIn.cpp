#include "simulator/networks/GoogleStandIn.h"

#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

using Completion = std::function<void(int64_t)>;

constexpr const char* bidderVersion = "3.4.6";

constexpr const char* adMob = "AdMob";
constexpr const char* adMobUnit = "ca-app-pub-3940256099942544/3986624511";
constexpr const char* adMobBanner = "GADBannerView";
constexpr const char* adMobProcessor = "LMGADViewProcessor";
constexpr const char* adMobInterstitial = "GADInterstitial";
constexpr const char* interstitialProcessor = "LMGADInterstitialProcessor";
constexpr const char* adManager = "DFP";
constexpr const char* adManagerUnit = "/6499/example/native";
constexpr const char* adManagerBanner = "DFPBannerView";
constexpr const char* adManagerProcessor = "LMDFPBannerProcessor";
constexpr const char* adManagerInterstitial = "DFPInterstitial";

// -[GADTransactionTable objectForKey:] and -[GADHTTPResponse allHeaderFields]
std::shared_ptr<Object> objectForKey(id self, SEL, id task)
{
    const bool known = object_getInstanceVariable(*self, "task").object().get() == task;
    return known ? object_getInstanceVariable(*self, "transaction").object() : nullptr;
}
Value allHeaderFields(id self, SEL) { return object_getInstanceVariable(*self, "headers"); }

/// The view in which an ad is rendered, with its web view.
std::shared_ptr<UIView> renderedView(StandInAd& ad, CGSize size)
{
    auto rendered = standInView("GADWebAdView", size);
    ad.adView = ad.creative(size);
    rendered->addSubview(ad.adView);
    return rendered;
}

/// What the SDK knows of its ad: a text for debugging, and a header bidder's targeting.
void plantIdentifiers(StandInAd& ad, const std::shared_ptr<Object>& support)
{
    const char* const texts[] = { "Ad debug\n0=987;", "Ad debug\ncrid:12345\n", "crid:12345 0=987" };
    ad.plant("creativeId", support, "_delegate._clickProtection._debugDialogString", texts[ad.placeAmong(3)]);
    ad.expect("creativeId", ad.placeAmong(3) == 1 ? "12345" : "987");

    NSDictionary targeting;
    for (const char* name : { "amzn_b", "amzn_h", "amznp", "amznrdr", "amznslots", "dc" })
        targeting.set(ad.key({ "DTB(Amazon)" }, name), "1");
    ad.plantOneOf("DTB(Amazon)", ad.adView,
        { "_slot._loadingRequest._customTargeting", "_lastRequest._customTargeting",
            "_refreshTargeting._customTargeting" },
        targeting);
    ad.expect("DTB(Amazon)", bidderVersion);
}

constexpr const char* creative = "4711";

/// The headers of the answer that brought the ad name its creative, in AdMob's words and in the others'.
void plantHeaders(StandInAd& ad)
{
    const NSDictionary headers { { "Date", "now" },
        { "x-afma-debug-dialog", "id=1&AdGroup%2BCreative%2BID%2B0%3D4711%26crid0:4711,agcid=2" } };
    if (ad.adView)
        ad.plantForProcessor(
            "creativeId", retain(ad.adView->superview()), "_delegate._ad._responseHeaders", headers);
}

void loadBanner(StandInAd& ad, const std::shared_ptr<UIView>& banner, const std::shared_ptr<UIView>& rendered)
{
    const std::string path = "_bannerView._bannerAd._adView._view._view._viewToSwap";
    ad.plant("button", banner, path, rendered);
    ad.plant("button", banner, path + "._webView", ad.adView);
    setBehaviour(*banner, [banner = std::weak_ptr(banner), rendered = std::weak_ptr(rendered)] {
        for (const auto& old : banner.lock()->subviews())
            old->removeFromSuperview();
        banner.lock()->addSubview(rendered.lock());
        return nullptr;
    });
    ad.call<void>(banner.get(), "adViewDidReceiveAd:", ad.keep(standInObject("GADAd")).get());
}

template <const char* const& className, const char* const& sdk, const char* const& processor>
void showBanner(StandInAd& ad)
{
    const auto banner = ad.keep(GoogleStandIn::makeBanner({ 320, 50 }, className));
    ad.place(banner);
    const auto rendered = renderedView(ad, { 320, 50 });
    plantIdentifiers(ad, rendered);
    ad.expectAd(sdk, GoogleStandIn::version, "banner");
    plantHeaders(ad);
    ad.expectProcessor(processor, "banner", { { "creativeId", creative } });
    ad.setDelegate(ad.adView, "GADWebKitWebViewController");
    loadBanner(ad, banner, rendered);
}

template <const char* const& className, const char* const& sdk> void showInterstitial(StandInAd& ad)
{
    const auto interstitial = ad.keep(standInObject(className));
    const auto rendered = renderedView(ad, ad.fullScreen());
    ad.hold(interstitial, "_webView", ad.adView);
    plantIdentifiers(ad, interstitial);
    ad.expectAd(sdk, GoogleStandIn::version, "interstitial");
    plantHeaders(ad);
    // Kept: Ad Manager's have no class of their own. What is no view has nothing around it to ask.
    ad.expectProcessor(interstitialProcessor, "interstitial", { { "sdk", adMob }, { "creativeId", "" } });
    ad.expectProcessorOfPage(interstitialProcessor, "interstitial", { { "creativeId", creative } });
    const auto delegate = ad.keep(standInObject("GADUIKitWebView"));
    object_setInstanceVariable(*delegate, "_delegate",
        standInObject(
            "GADWebAdController", { { "_viewController", standInObject("GADInterstitialViewController") } }));
    ad.setDelegate(ad.adView, delegate);
    ad.call<void>(interstitial.get(), "adLoadCompletedWithError:", static_cast<id>(nullptr));
    ad.present("GADInterstitialViewController", rendered);
}

/// The answer for a native ad is on its way; its headers name the creative.
void receiveResponse(StandInAd& ad)
{
    const std::pair<const char*, const char*> headers[]
        = { { "x-afma-debug-dialog", "id=1&creatives=crid0:138" },
              { "x-afma-auto-protection-configuration", "creatives%3Dcrid0%3A138%26" },
              { "x-afma-debug-dialog", "CRID0:138" } };
    const auto& [header, text] = headers[ad.placeAmong(3)];
    const auto response = ad.keep(standInObject("GADHTTPResponse"));
    object_setInstanceVariable(
        *response, "headers", NSDictionary { { "Date", "now" }, { ad.key({ "creativeId" }, header), text } });

    const auto task = ad.keep(standInObject("GADDataTask"));
    const auto transaction = standInObject("GADURLSessionTransaction");
    const Value types = ad.placeAmong(2) == 0 ? Value { "native" } : Value { NSArray { "banner", "native" } };
    ad.plant("creativeId", transaction, "_context._parent.userInfo",
        NSDictionary { { ad.key({ "creativeId" }, "ad_types"), types } });
    const auto table
        = standInObject("GADTransactionTable", { { "task", task }, { "transaction", transaction } });
    const auto monitor = ad.keep(standInObject("GADURLSessionTransactionMonitor"));
    ad.plant("creativeId", monitor, "_transactionsByTask", table);
    ad.expect("creativeId", "138");
    const auto session = ad.keep(standInObject("GADURLSession"));
    ad.call<void>(monitor.get(), "URLSession:dataTask:didReceiveResponse:completionHandler:", session.get(),
        task.get(), response.get(), Completion { [](int64_t) {} });
}

template <const char* const& adUnit, const char* const& sdk> void showNative(StandInAd& ad)
{
    receiveResponse(ad);
    const auto nativeAd = ad.keep(standInObject("GADUnifiedNativeAd"));
    const auto monitor = standInObject("GADAdExposureMonitor");
    ad.plant("sdk", nativeAd, "_internalNativeAd._monitors",
        NSArray { standInObject("GADClickMonitor"), monitor });
    ad.plant("sdk", monitor, "_adUnitID", adUnit);
    ad.expectAd(sdk, GoogleStandIn::olderVersion, "native");
    ad.expectOtherwise("sdk", "DFP");

    const auto view = standInView("GADUnifiedNativeAdView", { 320, 50 });
    view->addSubview(renderedView(ad, { 320, 50 }));
    plantHeaders(ad);
    // Kept: there is none for native ads.
    ad.expectProcessor(adMobProcessor, "banner",
        { { "sdk", adMob }, { "sdkVersion", GoogleStandIn::version }, { "creativeId", creative } });
    ad.setDelegate(ad.adView, "GADWebKitWebView");
    ad.plant("button", nativeAd, "_internalNativeAd._nativeAdContext._context._webViewController._webView",
        ad.adView);
    ad.place(view);
    ad.call<void>(view.get(), "setNativeAd:", nativeAd.get());
}

} // namespace

void GoogleStandIn::install()
{
    installVersion<version>("GADORequest", "sdkVersion");
    installVersion<olderVersion>("GADRequest", "sdkVersion");
    installVersion<bidderVersion>("DTBAds", "version");
    ClassBuilder("GADBannerView", classOf<UIView>())
        .method("adViewDidReceiveAd:"_sel, &standInMethod<void, id>);
    ClassBuilder("DFPBannerView", NSClassFromString("GADBannerView"));
    ClassBuilder("GADInterstitial", classOf<NSObject>())
        .method("adLoadCompletedWithError:"_sel, &standInMethod<void, id>);
    ClassBuilder("DFPInterstitial", NSClassFromString("GADInterstitial"));
    ClassBuilder("GADInterstitialViewController", classOf<UIViewController>());
    ClassBuilder("GADUnifiedNativeAdView", classOf<UIView>())
        .method("setNativeAd:"_sel, &standInMethod<void, id>);
    ClassBuilder("GADURLSessionTransactionMonitor", classOf<NSObject>())
        .method("URLSession:dataTask:didReceiveResponse:completionHandler:"_sel,
            &standInMethod<void, id, id, id, const Completion&>);
    ClassBuilder("GADTransactionTable", classOf<NSObject>()).method("objectForKey:"_sel, &objectForKey);
    ClassBuilder("GADHTTPResponse", classOf<NSObject>()).method("allHeaderFields"_sel, &allHeaderFields);
}

std::shared_ptr<UIView> GoogleStandIn::makeBanner(CGSize size, const std::string& className)
{
    return standInView(className, size);
}

void GoogleStandIn::load(UIView& banner, const Creative& creative)
{
    const auto nowhere = make<UIViewController>();
    StandInAd ad(*nowhere);
    ad.html = creative.html;
    const auto rendered = renderedView(ad, creative.size);
    ad.plant("creativeId", rendered, "_delegate._clickProtection._debugDialogString", creative.debugText);
    loadBanner(ad, retain(&banner), rendered);
}

const StandInNetwork& googleStandIn()
{
    static const StandInNetwork network { "Google", &GoogleStandIn::install,
        { { "banner", 3, &showBanner<adMobBanner, adMob, adMobProcessor> },
            { "DFP banner", 3, &showBanner<adManagerBanner, adManager, adManagerProcessor> },
            { "interstitial", 3, &showInterstitial<adMobInterstitial, adMob> },
            { "DFP interstitial", 3, &showInterstitial<adManagerInterstitial, adManager> },
            { "native", 3, &showNative<adMobUnit, adMob> },
            { "DFP native", 1, &showNative<adManagerUnit, adManager> } } };
    return network;
}

} // namespace lumora
