// OpenX: banners and interstitials.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

constexpr const char* adUnit = "_delegate._oxmCreativeModel._adConfiguration._auid";

Slot<void(id, SEL)> bannerDidLoadIMP;
void lumora_bannerDidLoadAd1(id self, SEL _cmd)
{
    const ReportButtonForAd afterwards(self, AdMoment::Loaded, "TDMetaclass_OpenX_banner");
    bannerDidLoadIMP(self, _cmd);
}

Slot<void(id, SEL)> interstitialDidLoadIMP;
void lumora_interstitialNewDidLoadAd(id self, SEL _cmd)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_OpenX_interstitial");
    interstitialDidLoadIMP(self, _cmd);
}

const Network& network()
{
    static const auto& openX = *new Network {
        .swizzler = "TDOpenXSwizzler",
        .hooks = {
            { "OXMBannerView", "adDidDisplay", &lumora_bannerDidLoadAd1, &bannerDidLoadIMP },
            { "OXMInterstitialController", "show", &lumora_interstitialNewDidLoadAd, &interstitialDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_OpenX_banner",
                .sdkName = "OpenX",
                .adType = "banner",
                .version = Version { .classes = { "OXMFunctions" }, .selector = "sdkVersion" },
                .creativeId = fromView({ adUnit }),
            },
            {
                .name = "TDMetaclass_OpenX_interstitial",
                .base = "TDMetaclass_OpenX_banner",
                .adType = "interstitial",
                .creativeId = fromSuperview({ adUnit }),
            },
        },
    };
    return openX;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
