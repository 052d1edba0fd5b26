#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

void install()
{
    for (const char* name : { "VungleAdViewController", "VungleMRAIDViewController" })
        ClassBuilder(name, classOf<UIViewController>())
            .method("viewWillAppear:"_sel, &standInMethod<void, bool>);
}

void show(StandInAd& ad, const char* className)
{
    ad.expectAd("Vungle", "", "interstitial");
    const auto controller = ad.present(className, ad.creative(ad.fullScreen()), "viewWillAppear:");
    ad.plant("creativeId", controller, "_placement._uniqueID", "vungle-unique");
    ad.plant("placementId", controller, "_placement._referenceID", "DEFAULT-2304");
    ad.adView = retain(controller->view());
}

void showVideo(StandInAd& ad) { show(ad, "VungleAdViewController"); }
void showMRAID(StandInAd& ad) { show(ad, "VungleMRAIDViewController"); }

} // namespace

const StandInNetwork& vungleStandIn()
{
    static const StandInNetwork network { "Vungle", &install,
        { { "interstitial", 1, &showVideo }, { "MRAID interstitial", 1, &showMRAID } } };
    return network;
}

} // namespace lumora
