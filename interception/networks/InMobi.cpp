// InMobi: banners, and interstitials in two kinds of controller.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

constexpr const char* renderedViewClass = "IMUIView";

Slot<void(id, SEL, id)> adDidFinishLoadIMP;
void lumora_adDidFinishLoad(id self, SEL _cmd, id ad)
{
    guardedHook(self, [&] {
        if (isKindOfClassNamed(self, "IMBanner"))
            attachReportButton(self, "TDMetaclass_InMobi_banner");
    });
    adDidFinishLoadIMP(self, _cmd, ad);
}

void attachToInterstitial(id controller)
{
    attachReportButtonInside(controller, "TDMetaclass_InMobi_interstitial", nullptr,
        [cls = NSClassFromString(renderedViewClass)](UIView& view) { return isKindOfClass(&view, cls); });
}

Slot<void(id, SEL, bool)> videoDidLoadIMP;
void lumora_VideoDidLoad(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] { attachToInterstitial(self); });
    videoDidLoadIMP(self, _cmd, animated);
}

Slot<void(id, SEL, bool)> interDidLoadIMP;
void lumora_interDidLoad(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] { attachToInterstitial(self); });
    interDidLoadIMP(self, _cmd, animated);
}

id renderedViewAround(id adView)
{
    id view = adView;
    while (view && !isKindOfClassNamed(view, renderedViewClass))
        view = superviewOf(view);
    return view;
}

std::string bannerText(id adView, const char* keyPath)
{
    return isKindOfClassNamed(adView, "IMBanner") ? textFromObject(adView, { keyPath }) : "";
}

std::string bannerCreativeId(id adView)
{
    return bannerText(adView, "_bannerView._ad._manager._ad._delegate._creativeId");
}

const Network& network()
{
    static const auto& inMobi = *new Network {
        .swizzler = "TDInMobiSwizzler",
        .hooks = {
            { "IMBanner", "adDidFinishLoad:", &lumora_adDidFinishLoad, &adDidFinishLoadIMP },
            { "IMBanner", "bannerViewDidLoadAd:", &lumora_adDidFinishLoad, &adDidFinishLoadIMP,
                Hook::Kind::MethodOtherwise },
            { "IMNativeRenderViewController", "viewDidAppear:", &lumora_VideoDidLoad, &videoDidLoadIMP },
            { "IMRenderViewController", "viewDidAppear:", &lumora_interDidLoad, &interDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_InMobi_banner",
                .sdkName = "InMobi",
                .adType = "banner",
                .version = Version { .classes = { "IMSdk" }, .selector = "getVersion" },
                .creativeId = &bannerCreativeId,
                // A number here is none, unlike the interstitial's: kept, the services know banners so.
                .placementId = fromView({ "_bannerView._ad._placementId" }),
            },
            {
                .name = "TDMetaclass_InMobi_interstitial",
                .base = "TDMetaclass_InMobi_banner",
                .adType = "interstitial",
                .creativeId = from(&renderedViewAround,
                    {
                        "_creativeId",
                        "_delegate._creativeId",
                        "_properties._actionDelegate._delegate._delegate._creativeId",
                        "_delegate._bannerView._ad._manager._ad._delegate._creativeId",
                    }),
                .placementId = from(&renderedViewAround,
                    {
                        "_placementId",
                        "_delegate._placementId",
                        "_properties._actionDelegate._delegate._delegate._placementId",
                        "_ad._placementId",
                        "_delegate._delegate._delegate._delegate._placementId",
                    },
                    Numbers::AsInteger),
                .screenshotView = &screenshotViewOf,
            },
        },
    };
    return inMobi;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
