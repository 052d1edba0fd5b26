// AdColony: interstitials. Their report button comes with the web view's delegate.

#include "interception/CreativeView.h"
#include "interception/Network.h"
#include "platform/process/ProcessLocal.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

/// What the interstitial shown last is called.
struct LastShown {
    Lock lock;
    NSDictionary interstitialIDs LUMORA_GUARDED_BY(lock);
};
ProcessLocal<LastShown> s_lastShown;

Value getInterstitial()
{
    LastShown& last = s_lastShown.get();
    Locker hold(last.lock);
    return last.interstitialIDs.empty() ? Value {} : Value { last.interstitialIDs };
}

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
        LastShown& last = s_lastShown.get();
        Locker hold(last.lock);
        std::swap(last.interstitialIDs, ids);
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

std::string creativeId(id) { return textOf(valueForKeyPath(getInterstitial(), "creativeID")); }

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
        .operations = { { "getInterstitial"_sel, +[](id, SEL) { return getInterstitial(); } } },
    };
    return adColony;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
