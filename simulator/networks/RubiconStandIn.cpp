#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* bannerClass = "RFMAdView";

void install()
{
    ClassBuilder(bannerClass, classOf<UIView>())
        .method(sel::didMoveToWindow, &standInDidMoveToWindow<bannerClass>);
}

// Gets no button.
void showBanner(StandInAd& ad)
{
    const auto banner = ad.container(bannerClass, { 320, 50 });
    ad.adView = nullptr;
    ad.expectProcessor(
        "LMRubiconProcessor", "unknown", { { "sdk", "Rubicon" }, { "sdkVersion", "null version" } });
    ad.expectMessage(banner.get(), "didMoveToWindow");
    ad.place(banner);
}

} // namespace

const StandInNetwork& rubiconStandIn()
{
    static const StandInNetwork network { "Rubicon", &install, { { "banner", 1, &showBanner } } };
    return network;
}

} // namespace lumora
