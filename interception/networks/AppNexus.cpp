// AppNexus: banners, interstitials and native ads. A native ad's identifiers are in the answer that brought
// it, so the hook on the request keeps them until the ad is shown.

#include "interception/CreativeView.h"
#include "interception/Network.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/process/ProcessLocal.h"
#include "support/Guarded.h"

#include <algorithm>

namespace lumora {

namespace {

/// A native ad that was answered and not shown yet. The response belongs to the host; one that it let go of
/// is never shown, and its entry goes.
struct PendingNative {
    Value adFetcher;
    std::weak_ptr<Object> response;
};
struct Pending {
    Lock lock;
    std::vector<PendingNative> dicts LUMORA_GUARDED_BY(lock);
};
ProcessLocal<Pending> s_pending;

NSDictionary entryOf(const PendingNative& pending)
{
    return { { "adFetcher", pending.adFetcher }, { "response", Value { pending.response.lock() } } };
}

void addPending(id fetcher, const std::shared_ptr<Object>& response)
{
    if (!response)
        return;
    Pending& pending = s_pending.get();
    // What goes may be the last reference to a fetcher, which must not die under the lock.
    std::vector<PendingNative> dead;
    Locker hold(pending.lock);
    auto& dicts = pending.dicts;
    const auto alive = std::stable_partition(
        dicts.begin(), dicts.end(), [](const PendingNative& entry) { return !entry.response.expired(); });
    dead.assign(alive, dicts.end());
    dicts.erase(alive, dicts.end());
    dicts.push_back({ Value { retain(fetcher) }, response });
}

/// The entry for a response, which leaves the list: the second time there is none.
Value getDictionaryByResponseWithDeleting(id, SEL, id response)
{
    Pending& pending = s_pending.get();
    std::vector<std::pair<std::shared_ptr<Object>, PendingNative>> snapshot;
    {
        Locker hold(pending.lock);
        for (const PendingNative& entry : pending.dicts)
            snapshot.emplace_back(entry.response.lock(), entry);
    }
    // A response says itself what equals it, so it is asked without the lock.
    const auto found = std::find_if(snapshot.begin(), snapshot.end(),
        [&](const auto& entry) { return entry.first && response && entry.first->isEqual(response); });
    if (found == snapshot.end())
        return {};
    Locker hold(pending.lock);
    const auto erased = std::erase_if(pending.dicts,
        [&](const PendingNative& entry) { return refersTo(entry.response, found->first.get()); });
    // None when another thread was faster.
    return erased ? Value { entryOf(found->second) } : Value {};
}

Value dicts(id, SEL)
{
    Pending& pending = s_pending.get();
    NSArray entries;
    Locker hold(pending.lock);
    for (const PendingNative& entry : pending.dicts)
        entries.emplace_back(entryOf(entry));
    return entries;
}

Slot<void(id, SEL, id, id)> bannerDisplayIMP;
void lumora_bannerDisplayAd(id self, SEL _cmd, id fetcher, id response)
{
    guardedHook(self, [&] { attachReportButtonToAd(self, AdMoment::Loaded, "TDMetaclass_AppNexus_banner"); });
    bannerDisplayIMP(self, _cmd, fetcher, response);
}

Slot<void(id, SEL, id)> interstitialDisplayIMP;
void lumora_interstitialDisplayAd(id self, SEL _cmd, id controller)
{
    guardedHook(
        self, [&] { attachReportButtonToAd(self, AdMoment::WillShow, "TDMetaclass_AppNexus_interstitial"); });
    interstitialDisplayIMP(self, _cmd, controller);
}

Slot<void(id, SEL, id, id)> nativeRequestFinishIMP;
void lumora_annative_requestFinish(id self, SEL _cmd, id fetcher, id response)
{
    guardedHook(self, [&] { addPending(fetcher, getValueFromObject(response, "_adObject").object()); });
    nativeRequestFinishIMP(self, _cmd, fetcher, response);
}

Slot<bool(id, SEL, id, id, const Value&, void*)> nativeFinishLoadIMP;
bool lumora_annative_finishLoad(
    id self, SEL _cmd, id trackedView, id controller, const Value& clickableViews, void* error)
{
    guardedHook(self, [&] {
        const Value entry = send<Value>(
            NSClassFromString("TDAppNexusSwizzler"), "getDictionaryByResponseWithDeleting:"_sel, self);
        // Without an entry, as when it is shown again, the button comes all the same, without identifiers.
        attachReportButton(trackedView, "TDMetaclass_AppNexus_native",
            entry.dictionary() ? (*entry.dictionary())["adFetcher"].object() : nullptr);
    });
    return nativeFinishLoadIMP(self, _cmd, trackedView, controller, clickableViews, error);
}

std::string creativeIdInMarkup(id adView)
{
    const std::string markup
        = textFromObject(superviewOf(adView), { "_loadingDelegate._adObjectHandler._content" });
    const auto comment = firstMatch(markup, "<!-- Creative (?<crId>(\\d+))");
    return comment ? firstMatch(*comment, "\\d+").value_or(*comment) : "";
}

// The support object is the entry as it was kept, or, from our own hook, the fetcher alone: the paths go on
// from there. Numbers are read as the banner's are; answers and SDK write the same ID in both ways.
std::string nativePlacementId(id, id supportObject)
{
    return textFromObject(supportObject, { "adFetcher._delegate.__placementId", "_delegate.__placementId" },
        Numbers::AsInteger);
}

/// The first creative of the tag of that ID in an answer.
std::string creativeIdInAnswer(const Value& data, const std::string& tagId)
{
    if (tagId.empty())
        return "";
    const auto answer
        = data.data() ? JSONObjectWithData(data.data()->view()) : JSONObjectWithData(data.stringOrEmpty());
    const Value tags = answer ? readKeyPath(*answer, "tags") : Value {};
    for (const Value& tag : tags.array() ? *tags.array() : NSArray {}) {
        if (textOf(readKeyPath(tag, "tag_id"), Numbers::AsText) != tagId)
            continue;
        const Value ads = readKeyPath(tag, "ads");
        const bool hasAd = ads.array() && !ads.array()->empty();
        return hasAd ? textOf(readKeyPath(ads.array()->front(), "creative_id"), Numbers::AsText) : "";
    }
    return "";
}

std::string nativeCreativeId(id adView, id supportObject)
{
    const Value data = getValueFromObject(supportObject, KeyPaths { "adFetcher._data", "_data" });
    const std::string found = creativeIdInAnswer(data, nativePlacementId(adView, supportObject));
    return found.empty() ? textFromObject(supportObject, { "response._creativeId" }) : found;
}

const Network& network()
{
    static const auto& appNexus = *new Network {
        .swizzler = "TDAppNexusSwizzler",
        .hooks = {
            { "ANBannerAdView", "universalAdFetcher:didFinishRequestWithResponse:", &lumora_bannerDisplayAd,
                &bannerDisplayIMP },
            { "ANInterstitialAd", "displayAdFromViewController:", &lumora_interstitialDisplayAd,
                &interstitialDisplayIMP },
            { "ANNativeAdRequest", "universalAdFetcher:didFinishRequestWithResponse:",
                &lumora_annative_requestFinish, &nativeRequestFinishIMP },
            { "ANNativeAdResponse", "registerViewForTracking:withRootViewController:clickableViews:error:",
                &lumora_annative_finishLoad, &nativeFinishLoadIMP },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_AppNexus_banner",
                .sdkName = "AppNexus",
                .adType = "banner",
                .version = Version { .classes = { "ANUniversalTagRequestBuilder" },
                    .selector = "version",
                    .instance = "new",
                    .fallback = "no available version" },
                .creativeId = &creativeIdInMarkup,
                .placementId = fromSuperview(
                    { "_webViewController._adViewANJAMDelegate.__placementId" }, Numbers::AsInteger),
            },
            {
                .name = "TDMetaclass_AppNexus_interstitial",
                .base = "TDMetaclass_AppNexus_banner",
                .adType = "interstitial",
            },
            {
                // Has no type of its own, kept: native ads are counted as banners.
                .name = "TDMetaclass_AppNexus_native",
                .base = "TDMetaclass_AppNexus_banner",
                .creativeId = &nativeCreativeId,
                .placementId = &nativePlacementId,
            },
        },
        .operations = {
            { "dicts"_sel, &dicts },
            { "getDictionaryByResponseWithDeleting:"_sel, &getDictionaryByResponseWithDeleting },
        },
    };
    return appNexus;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
