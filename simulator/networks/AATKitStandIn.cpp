#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

void install()
{
    ClassBuilder("AATKit", classOf<NSObject>())
        .classMethod("getPlacementView:"_sel, &standInMethod<std::shared_ptr<Object>, id>)
        .classMethod("showPlacement:"_sel, &standInMethod<bool, id>);
}

/// An ad of a network that the placement got it from.
std::shared_ptr<UIView> mediatedAd(StandInAd& ad, CGSize size)
{
    auto content = standInView("AATPlacementView", size);
    content->addSubview(ad.creative(size, "SOMAWKWebView"));
    ad.expectProcessor("LMSmaatoProcessor", "unknown",
        { { "sdk", "Smaato" }, { "sdkVersion", "version param is not available" } });
    return content;
}

// Neither gets a button: no network tells of the ad.
void showBanner(StandInAd& ad)
{
    Class kit = NSClassFromString("AATKit");
    const auto view = ad.keep(mediatedAd(ad, { 320, 50 }));
    setBehaviour(*kit, [view = std::weak_ptr(view)] { return view.lock(); });
    const auto placement = ad.keep(standInObject("AATPlacement"));
    ad.place(as<UIView>(ad.call<std::shared_ptr<Object>>(kit, "getPlacementView:", placement.get())));
}

void showInterstitial(StandInAd& ad)
{
    Class kit = NSClassFromString("AATKit");
    ad.makeReady(retain(kit), mediatedAd(ad, ad.fullScreen()));
    ad.call<bool>(kit, "showPlacement:", ad.keep(standInObject("AATPlacement")).get());
}

} // namespace

const StandInNetwork& aatKitStandIn()
{
    static const StandInNetwork network { "AATKit", &install,
        { { "banner", 1, &showBanner }, { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
