// ironSource: interstitials.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id)> interstitialDidLoadIMP;
void lumora_interstititalIronSourceDidLoadAd(id self, SEL _cmd, id adsView)
{
    guardedHook(self, [&] { attachReportButton(adsView, "TDMetaclass_Ironsource_interstitial"); });
    interstitialDidLoadIMP(self, _cmd, adsView);
}

const Network& network()
{
    static const auto& ironsource = *new Network {
        .swizzler = "TDIronsourceSwizzler",
        .hooks = {
            { "SupersonicAdsPublisher", "setSupersonicAdsView:", &lumora_interstititalIronSourceDidLoadAd,
                &interstitialDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Ironsource_interstitial",
                .sdkName = "Ironsource",
                .adType = "interstitial",
                .version = Version { .classes = { "IronSource" }, .selector = "sdkVersion" },
            },
        },
    };
    return ironsource;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
