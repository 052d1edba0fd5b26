#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr const char* version = "12.8.0";

void install()
{
    installVersion<version>("Tapjoy", "getVersion");
    ClassBuilder("TJCViewController", classOf<UIViewController>())
        .method("setPlacementViewDelegate:"_sel, &standInMethod<void, id>);
}

void showInterstitial(StandInAd& ad)
{
    ad.expectAd("Tapjoy", version, "interstitial");
    const std::string entity = "d04baef3-7c5b", placement = "61ac0f27-0b1d";
    const std::string html = R"(<script>show({")" + ad.key({ "creativeId" }, "entity_id") + R"(":")" + entity
        + R"(", ")" + ad.key({ "placementId" }, "placement_id") + R"(":")" + placement + R"("});</script>)";
    const auto webView = ad.creative(ad.fullScreen(), "TJCWebView");
    for (const char* field : { "creativeId", "placementId" })
        ad.plant(field, webView, "_htmlString", html);
    ad.expect("creativeId", entity);
    ad.expect("placementId", placement);
    const auto controller = ad.present("TJCViewController", webView);
    ad.adView = webView ? webView : retain(controller->view());
    ad.call<void>(controller.get(), "setPlacementViewDelegate:", ad.keep(standInObject("TJPlacement")).get());
}

} // namespace

const StandInNetwork& tapjoyStandIn()
{
    static const StandInNetwork network { "Tapjoy", &install, { { "interstitial", 1, &showInterstitial } } };
    return network;
}

} // namespace lumora
