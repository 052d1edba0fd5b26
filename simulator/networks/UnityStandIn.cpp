#include "platform/foundation/NSJSONSerialization.h"
#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "3.4.8";

const char playerKey = 0;

// +[UADSApiVideoPlayer getVideoPlayer]
id getVideoPlayer(id self, SEL)
{
    if (objc_getAssociatedObject(*self, &playerKey).isNothing())
        objc_setAssociatedObject(*self, &playerKey, standInObject("UADSAVPlayer"));
    return objc_getAssociatedObject(*self, &playerKey).object().get();
}

void install()
{
    ClassBuilder("UnityAds", classOf<NSObject>())
        .classMethod("getVersion"_sel, &answers<version>)
        .classMethod("show:placementId:"_sel, &standInMethod<void, id, const std::string&>);
    ClassBuilder("UADSApiRequest", classOf<NSObject>())
        .classMethod("sendSuccess:url:response:responseCode:headers:"_sel,
            &standInMethod<void, const std::string&, const std::string&, const std::string&, int64_t,
                const NSDictionary&>);
    ClassBuilder("UADSApiVideoPlayer", classOf<NSObject>())
        .classMethod("WebViewExposed_play:"_sel, &standInMethod<void, id>)
        .classMethod("getVideoPlayer"_sel, &getVideoPlayer);
    ClassBuilder("UADSViewController", classOf<UIViewController>())
        .method("viewDidAppear:"_sel, &standInMethod<void, bool>);
}

/// The answer of the auction: which ad a placement shows, and the ad.
NSDictionary auctionAnswer(StandInAd& ad)
{
    const std::pair<const char*, Value> texts[]
        = { { "trailerDownloadable", "https://cdn.example/t.mp4" }, { "auctionId", "auction-1" },
              { "correlationId", "correlation-1" }, { "videoUrl", "https://cdn.example/v.mp4" } };
    NSDictionary content;
    std::vector<std::string> fields;
    for (const auto& [name, value] : texts) {
        content.set(ad.key({ name }, name), value);
        ad.expect(name, value);
        fields.emplace_back(name);
    }
    const NSDictionary media { { ad.key({ "creativeId" }, "creativeId"), "unity-creative-1" },
        { ad.key(fields, "content"), *dataWithJSONObject(content) } };
    ad.expect("creativeId", "unity-creative-1");
    ad.expect("placementId", "media-1");
    fields.emplace_back("creativeId");
    const NSDictionary placements { { ad.key({ "placementId", "creativeId" }, "video"), "media-1" } };
    return { { ad.key({ "placementId", "creativeId" }, "placements"), placements },
        { ad.key(fields, "media"), NSDictionary { { "media-1", media } } } };
}

void receive(StandInAd& ad, const std::string& url, const NSDictionary& answer)
{
    ad.call<void>(NSClassFromString("UADSApiRequest"),
        "sendSuccess:url:response:responseCode:headers:", std::string { "request-1" }, url,
        *dataWithJSONObject(answer), int64_t { 200 },
        NSDictionary { { "Content-Type", "application/json" } });
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Unity", version, "interstitial");
    receive(ad, "https://auction.unityads.unity3d.com/v4/games/1/requests", auctionAnswer(ad));
    receive(ad, "https://config.unityads.unity3d.com/webview.json", { { "placements", "none" } });
    ad.call<void>(NSClassFromString("UnityAds"), "show:placementId:", &ad.screen(), std::string { "video" });
    ad.call<void>(NSClassFromString("UADSApiVideoPlayer"),
        "WebViewExposed_play:", ad.keep(standInObject("UADSWebViewCallback")).get());
    ad.present("UADSViewController", ad.container("UADSAdView", ad.fullScreen()), "viewDidAppear:");
}

} // namespace

const StandInNetwork& unityStandIn()
{
    static const StandInNetwork network { "Unity", &install, { { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
