// AdColony: interstitials. Their report button comes with the web view's delegate.

#include "interception/Network.h"
#include "interception/ScreenshotView.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

/// What the interstitial shown last is called: a dictionary, or nothing.
ProcessLocal<AtomicProperty<Value>> s_interstitialIDs;

Value getInterstitial(id, SEL) { return s_interstitialIDs.get().get(); }

Slot<bool(id, SEL, id)> showIMP;
bool lumora_adColonyShow(id self, SEL _cmd, id presenter)
{
    guardedHook(self, [&] {
        NSDictionary ids;
        for (const char* key : { "sessionID", "zoneID", "adID", "creativeID" }) {
            const Value value = getValueFromObject(self, key);
            if (!value.isNothing())
                ids.set(key, value.isNumber() ? Value { textOf(value, Numbers::AsText) } : value);
        }
        s_interstitialIDs.get().set(std::move(ids));
    });
    return showIMP(self, _cmd, presenter);
}

// Two hooks without work of their own: kept, other libraries count on the order of who hooked.
Slot<void(id, SEL, bool)> viewDidAppearIMP;
void lumora_adColonyViewDidAppear(id self, SEL _cmd, bool animated)
{
    viewDidAppearIMP(self, _cmd, animated);
}

Slot<void(id, SEL, bool)> setPresentingIMP;
void lumora_adColonyViewDidAppear1(id self, SEL _cmd, bool presenting)
{
    setPresentingIMP(self, _cmd, presenting);
}

std::string creativeId(id) { return textOf(readKeyPath(getInterstitial(nullptr, nullptr), "creativeID")); }

const Network& network()
{
    static const auto& adColony = *new Network {
        .swizzler = "TDAdColonySwizzler",
        .hooks = {
            { "ADCContainer", "viewDidAppear:", &lumora_adColonyViewDidAppear, &viewDidAppearIMP },
            { "ADCContainer", "setPresenting:", &lumora_adColonyViewDidAppear1, &setPresentingIMP },
            { "AdColonyInterstitial", "showWithPresentingViewController:", &lumora_adColonyShow, &showIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_AdColony_interstitial",
                .sdkName = "AdColony",
                .adType = "interstitial",
                .version = Version { .classes = { "AdColony" }, .selector = "getSDKVersion" },
                .creativeId = &creativeId,
                .screenshotView = &screenshotViewOf,
            },
        },
        .operations = { { "getInterstitial"_sel, &getInterstitial } },
    };
    return adColony;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
