// Facebook Audience Network: banners (met by their web view's delegate), interstitials and native ads.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

/// The network tells no creative ID; the session stands in for it. Written on the network's own thread.
ProcessLocal<AtomicProperty<Value>> s_sessionId;

void setSessionId(id, SEL, const Value& sessionId) { s_sessionId.get().set(sessionId); }
Value getSessionId(id, SEL) { return s_sessionId.get().get(); }

std::string creativeId(id) { return textOf(getSessionId(nullptr, nullptr)); }

Slot<void(id, SEL)> beforeSessionIdIMP;
void lumora_beforeSessionId(id self, SEL _cmd)
{
    guardedHook(self, [&] {
        // Replaced, never cleared: a dispatch without a session leaves the last one.
        const Value sessionId = getValueFromObject(self, LUMORA_FACEBOOK_SESSION_KEY_PATH);
        if (!sessionId.isNothing())
            send<void>(NSClassFromString("TDMetaclass_Facebook_banner"), "setSessionId:"_sel, sessionId);
    });
    beforeSessionIdIMP(self, _cmd);
}

Slot<void(id, SEL)> interstitialVCLoadIMP;
void lumora_interstitialVCloadAd2(id self, SEL _cmd)
{
    const ReportButtonForAd afterwards(self, AdMoment::DidShow, "TDMetaclass_Facebook_interstitial");
    interstitialVCLoadIMP(self, _cmd);
}

Slot<void(id, SEL, id)> nativeDidLoadIMP;
void lumora_fbnative_didload(id self, SEL _cmd, id nativeAdView)
{
    guardedHook(self, [&] { attachReportButton(nativeAdView, "TDMetaclass_Facebook_native", retain(self)); });
    nativeDidLoadIMP(self, _cmd, nativeAdView);
}

const Network& network()
{
    static const auto& facebook = *new Network {
        .swizzler = "TDFacebookSwizzler",
        .hooks = {
            { "FBAdEventManager", "dispatchEventsImmediately", &lumora_beforeSessionId, &beforeSessionIdIMP },
            { "FBDisplayAdController", "notifyAdViewPresented", &lumora_interstitialVCloadAd2,
                &interstitialVCLoadIMP },
            { "FBNativeAdBase", "setNativeAdView:", &lumora_fbnative_didload, &nativeDidLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Facebook_banner",
                .sdkName = "Facebook",
                .adType = "banner",
                .version = Version { .classes = { "FBAudienceNetwork" }, .selector = "FB_AD_SDK_VERSION" },
                .creativeId = &creativeId,
                .placementId = fromSuperview({
                    "_delegate._delegate._placementID",
                    "_delegate._placementID",
                    "_delegate._delegate._delegate._delegate._placementID",
                }),
                .operations = {
                    { "setSessionId:"_sel, &setSessionId },
                    { "getSessionId"_sel, &getSessionId },
                },
            },
            {
                .name = "TDMetaclass_Facebook_interstitial",
                .base = "TDMetaclass_Facebook_banner",
                .adType = "interstitial",
                .placementId = fromView({ "_delegate._delegate._placementID" }),
            },
            {
                .name = "TDMetaclass_Facebook_native",
                .base = "TDMetaclass_Facebook_banner",
                .adType = "native",
                .placementId = fromSupportObject({ "_placementID" }),
            },
        },
    };
    return facebook;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
