#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

void install()
{
    ClassBuilder("STRAdRenderer", classOf<NSObject>())
        .method("renderAd:inPlacement:"_sel, &standInMethod<void, id, id>);
    // The host's own: the SDK knows it by the protocol alone.
    ClassBuilder("HostsAdView", classOf<UIView>()).protocol("STRAdView");
}

// Gets no button.
void showNative(StandInAd& ad)
{
    const auto view = standInView("HostsAdView", { 320, 250 });
    ad.expectProcessor(
        "STProcessor", "unknown", { { "sdk", "Sharethrough" }, { "sdkVersion", "null version" } });
    ad.place(view);
    const auto placement = ad.keep(standInObject("STRAdPlacement", { { "adView", view } }));
    const auto renderer = ad.keep(standInObject("STRAdRenderer"));
    ad.call<void>(renderer.get(), "renderAd:inPlacement:", ad.keep(standInObject("STRAdvertisement")).get(),
        placement.get());
}

} // namespace

const StandInNetwork& sharethroughStandIn()
{
    static const StandInNetwork network { "Sharethrough", &install, { { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
