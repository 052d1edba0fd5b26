// Vungle: interstitials in two kinds of controller, which know what they show: their own view is the ad.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

void attachToWhole(id controller)
{
    attachReportButtonInside(
        controller, "TDMetaclass_Vungle_interstitial", nullptr, [](UIView&) { return true; });
}

Slot<void(id, SEL, bool)> adWillAppearIMP;
void lumora_sesionTest1(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] { attachToWhole(self); });
    adWillAppearIMP(self, _cmd, animated);
}

Slot<void(id, SEL, bool)> richMediaWillAppearIMP;
void lumora_sesionTest2(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] { attachToWhole(self); });
    richMediaWillAppearIMP(self, _cmd, animated);
}

const Network& network()
{
    static const auto& vungle = *new Network {
        .swizzler = "TDVungleSwizzler",
        .hooks = {
            { "VungleAdViewController", "viewWillAppear:", &lumora_sesionTest1, &adWillAppearIMP },
            { "VungleMRAIDViewController", "viewWillAppear:", &lumora_sesionTest2, &richMediaWillAppearIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Vungle_interstitial",
                .sdkName = "Vungle",
                .adType = "interstitial",
                // Kept: the SDK tells none, and the services expect the empty text of it.
                .version = Version::constant(""),
                .creativeId = fromNextResponder({ "_placement._uniqueID" }),
                .placementId = fromNextResponder({ "_placement._referenceID" }),
                .screenshotView = &screenshotViewOf,
            },
        },
    };
    return vungle;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
