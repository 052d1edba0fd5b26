#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize feedSize { 320, 250 };
constexpr const char* version = "2.2.11";

void install()
{
    ClassBuilder("TaboolaView", classOf<UIView>())
        .classMethod("version"_sel, &answers<version>)
        .method("webView:didLoadPlacementNamed:withHeight:"_sel,
            &standInMethod<void, id, const std::string&, double>);
}

void showNative(StandInAd& ad)
{
    ad.expectAd("Taboola", version, "native");
    const auto feed = ad.container("TaboolaView", feedSize);
    ad.place(feed);
    ad.call<void>(feed.get(), "webView:didLoadPlacementNamed:withHeight:", as<WKWebView>(ad.adView).get(),
        std::string { "Below Article" }, feedSize.height);
}

} // namespace

const StandInNetwork& taboolaStandIn()
{
    static const StandInNetwork network { "Taboola", &install, { { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
