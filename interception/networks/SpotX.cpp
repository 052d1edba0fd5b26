// SpotX: video interstitials, and players inside the host's content.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

Slot<void(id, SEL)> startPlayIMP;
void lumora_spotx_startplay(id self, SEL _cmd)
{
    // Inside the host's content nothing is presented.
    const bool isInline = isKindOfClassNamed(self, "SpotXInlineAdPlayer");
    const ReportButtonForAd afterwards(self, isInline ? AdMoment::Loaded : AdMoment::WillShow,
        isInline ? "TDMetaclass_SpotX_native" : "TDMetaclass_SpotX_interstitial", retain(self));
    startPlayIMP(self, _cmd);
}

Value videoOf(id, id player)
{
    const Value ads = getValueFromObject(player, "_adGroup._ads");
    if (!ads.array() || ads.array()->empty())
        return {};
    const Value url = readKeyPath(ads.array()->front(), "_url");
    if (url.url())
        return NSDictionary { { "videoURL", url.url()->absoluteString } };
    return url.isString() ? Value { NSDictionary { { "videoURL", url } } } : Value {};
}

const Network& network()
{
    static const auto& spotX = *new Network {
        .swizzler = "TDSpotXSwizzler",
        .hooks = { { "SpotXAdPlayerBase", "start", &lumora_spotx_startplay, &startPlayIMP } },
        .metadataClasses = {
            {
                .name = "TDMetaclass_SpotX_interstitial",
                .sdkName = "SpotX",
                .adType = "interstitial",
                .version = Version { .classes = { "SpotX" }, .selector = "version" },
                .otherInfo = &videoOf,
                .screenshotView = &screenshotViewOf,
            },
            {
                .name = "TDMetaclass_SpotX_native",
                .base = "TDMetaclass_SpotX_interstitial",
                .adType = "native",
            },
        },
    };
    return spotX;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
