#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "4.6.1";

id playerView(id self, SEL) { return object_getInstanceVariable(*self, "_view").object().get(); }

void install()
{
    installVersion<version>("SpotX", "version");
    Class player = ClassBuilder("SpotXAdPlayerBase", classOf<NSObject>())
                       .method("view"_sel, &playerView)
                       .method("start"_sel, &standInMethod<void>)
                       .build();
    ClassBuilder("SpotXInlineAdPlayer", player);
    ClassBuilder("SpotXInterstitialAdPlayer", player);
}

std::shared_ptr<Object> makePlayer(StandInAd& ad, const char* className, CGSize size)
{
    const auto view = ad.container("SpotXPlayerView", size);
    auto player = ad.keep(standInObject(className, { { "_view", view } }));
    const auto first = standInObject("SpotXAd");
    const auto second = standInObject("SpotXAd", { { "_url", "https://video.example/second.mp4" } });
    ad.plant("videoURL", player, "_adGroup._ads", NSArray { first, second });
    ad.plant("videoURL", first, "_url", "https://video.example/first.mp4");
    return player;
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("SpotX", version, "interstitial");
    const auto player = makePlayer(ad, "SpotXInterstitialAdPlayer", ad.fullScreen());
    ad.makeReady(player, as<UIView>(object_getInstanceVariable(*player, "_view").object()));
    ad.call<void>(player.get(), "start");
}

void showNative(StandInAd& ad)
{
    ad.expectAd("SpotX", version, "native");
    const auto player = makePlayer(ad, "SpotXInlineAdPlayer", { 320, 180 });
    ad.place(as<UIView>(object_getInstanceVariable(*player, "_view").object()));
    ad.call<void>(player.get(), "start");
}

} // namespace

const StandInNetwork& spotXStandIn()
{
    static const StandInNetwork network { "SpotX", &install,
        { { "interstitial", 1, &showInterstitial }, { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
