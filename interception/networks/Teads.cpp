// Teads: interstitials and native ads in the host's own view.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL, id, double)> interstitialFinishLoadIMP;
void lumora_teadsInterstitial_didFinishLoad(id self, SEL _cmd, id ad, double adRatio)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_Teads_interstitial");
    interstitialFinishLoadIMP(self, _cmd, ad, adRatio);
}

Slot<void(id, SEL)> bannerFinishLoadIMP;
void lumora_teadsBanner_didFinishLoad(id self, SEL _cmd)
{
    guardedHook(self, [&] {
        // Also called when the view leaves its superview. A view's own message: on the main thread.
        if (superviewOf(self))
            attachReportButtonInside(self, "TDMetaclass_Teads_native");
    });
    bannerFinishLoadIMP(self, _cmd);
}

const Network& network()
{
    static const auto& teads = *new Network {
        .swizzler = "TDTeadsSwizzler",
        .hooks = {
            { "TeadsSDK.TFAInterstitialAd", "didReceiveAd:adRatio:", &lumora_teadsInterstitial_didFinishLoad,
                &interstitialFinishLoadIMP },
            { "TeadsSDK.TFACustomAdView", "didMoveToSuperview", &lumora_teadsBanner_didFinishLoad,
                &bannerFinishLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Teads_native",
                .sdkName = "Teads",
                .adType = "native",
                // The SDK tells none.
                .version = Version::constant("4.2.1"),
                .screenshotView = &screenshotViewOf,
            },
            {
                .name = "TDMetaclass_Teads_interstitial",
                .base = "TDMetaclass_Teads_native",
                .adType = "interstitial",
            },
        },
    };
    return teads;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
