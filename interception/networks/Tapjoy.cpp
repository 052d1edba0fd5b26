// Tapjoy: interstitials. What an ad is stands in its markup.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

constexpr const char* markup = "_htmlString";

Slot<void(id, SEL, id)> setPlacementViewDelegateIMP;
void lumora_sesionTestPlacement2(id self, SEL _cmd, id delegate)
{
    guardedHook(self, [&] {
        attachReportButtonInside(self, "TDMetaclass_Tapjoy_interstitial", nullptr,
            [](UIView& view) { return !textFromObject(&view, { markup }).empty(); });
    });
    setPlacementViewDelegateIMP(self, _cmd, delegate);
}

ReadFromView markupValue(std::string key)
{
    // As it stands in JSON, up to the opening quote of the value.
    return [prefix = "\"" + key + "\":\""](id adView) {
        return textAfterPrefix(textFromObject(adView, { markup }), { prefix }, "[0-9a-zA-Z-]*").value_or("");
    };
}

const Network& network()
{
    static const auto& tapjoy = *new Network {
        .swizzler = "TDTapjoySwizzler",
        .hooks = {
            { "TJCViewController", "setPlacementViewDelegate:", &lumora_sesionTestPlacement2,
                &setPlacementViewDelegateIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Tapjoy_interstitial",
                .sdkName = "Tapjoy",
                .adType = "interstitial",
                .version = Version { .classes = { "Tapjoy" }, .selector = "getVersion" },
                .creativeId = markupValue("entity_id"),
                .placementId = markupValue("placement_id"),
                .screenshotView = &screenshotViewOf,
            },
        },
    };
    return tapjoy;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
