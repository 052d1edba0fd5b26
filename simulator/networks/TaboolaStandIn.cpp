#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

constexpr CGSize feedSize { 320, 250 };

std::string sdkVersion(id, SEL) { return "2.2.11"; }

void install()
{
    ClassBuilder("TaboolaView", classOf<UIView>())
        .classMethod("version"_sel, &sdkVersion)
        .method("webView:didLoadPlacementNamed:withHeight:"_sel,
            &standInMethod<void, id, const std::string&, double>);
}

void showNative(StandInAd& ad)
{
    ad.expectAd("Taboola", sdkVersion({}, {}), "native");
    const auto feed = standInView("TaboolaView", feedSize);
    const auto webView = ad.creative(feedSize);
    feed->addSubview(webView);
    ad.place(feed);
    ad.adView = webView ? webView : feed;
    ad.call<void>(feed.get(), "webView:didLoadPlacementNamed:withHeight:", webView.get(),
        std::string { "Below Article" }, feedSize.height);
}

} // namespace

const StandInNetwork& taboolaStandIn()
{
    static const StandInNetwork network { "Taboola", &install, { { "native", 1, &showNative } } };
    return network;
}

} // namespace lumora
