#include "simulator/networks/GoogleStandIn.h"

#include "simulator/networks/StandIn.h"

namespace lumora {

namespace {

std::string sdkVersion(id, SEL) { return GoogleStandIn::version; }

// -[GADBannerView adViewDidReceiveAd:]: shows what was rendered.
void adViewDidReceiveAd(id self, SEL, id)
{
    auto& banner = static_cast<UIView&>(*self);
    const auto rendered
        = self->valueForKeyPath("_bannerView._bannerAd._adView._view._view._viewToSwap").object();
    for (const auto& old : banner.subviews())
        old->removeFromSuperview();
    banner.addSubview(as<UIView>(rendered));
}

} // namespace

void GoogleStandIn::install()
{
    ClassBuilder("GADRequest", classOf<NSObject>()).classMethod("sdkVersion"_sel, &sdkVersion);
    ClassBuilder("GADBannerView", classOf<UIView>()).method("adViewDidReceiveAd:"_sel, &adViewDidReceiveAd);
    ClassBuilder("DFPBannerView", NSClassFromString("GADBannerView"));
    ClassBuilder("GADWebAdView", classOf<UIView>());
}

std::shared_ptr<UIView> GoogleStandIn::makeBanner(CGSize size, const std::string& className)
{
    auto banner = alloc<UIView>(NSClassFromString(className));
    send(banner, sel::initWithFrame, CGRect { {}, size });
    return banner;
}

void GoogleStandIn::load(UIView& banner, const Creative& creative)
{
    auto webView = creativeView(creative.html, creative.size);
    auto webAdView = alloc<UIView>(NSClassFromString("GADWebAdView"));
    send(webAdView, sel::initWithFrame, CGRect { {}, creative.size });
    webAdView->addSubview(webView);
    auto protection = standInObject("GADClickProtection", { { "_debugDialogString", creative.debugText } });
    auto webAdDelegate = standInObject("GADWebViewController", { { "_clickProtection", protection } });
    object_setInstanceVariable(*webAdView, "_webView", webView);
    object_setInstanceVariable(*webAdView, "_delegate", Value::weak(webAdDelegate));

    auto inner = standInObject("GADAdView", { { "_viewToSwap", webAdView } });
    auto outer = standInObject("GADAdView", { { "_view", inner } });
    auto adView = standInObject("GADBannerAdView", { { "_view", outer }, { "_controller", webAdDelegate } });
    auto ad = standInObject("GADBannerAd", { { "_adView", adView } });
    auto implementation = standInObject("GADOBannerView", { { "_bannerAd", ad } });
    object_setInstanceVariable(banner, "_bannerView", implementation);
    object_setInstanceVariable(*webView, "_lastRequest",
        standInObject("GADRequestParameters", { { "_customTargeting", creative.customTargeting } }));
    send<void>(&banner, "adViewDidReceiveAd:"_sel, static_cast<id>(ad.get()));
}

} // namespace lumora
