// AppNexus: banners, interstitials and native ads. A native ad's identifiers are in the answer that brought
// it, so the hook on the request keeps them until the ad is shown.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
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
    /// What a host asks for and never shows does not fill the memory.
    static constexpr size_t most = 100;
    Lock lock;
    std::vector<PendingNative> dicts LUMORA_GUARDED_BY(lock);
};
ProcessLocal<Pending> s_pending;

NSDictionary entryOf(const PendingNative& pending)
{
    return { { "adFetcher", pending.adFetcher }, { "response", Value { pending.response.lock() } } };
}

/// Works on the list, from which the dead have gone. What leaves it dies after the lock was given back: it
/// may be the last reference to a fetcher.
template <typename Work> void withPending(const Work& work)
{
    Pending& pending = s_pending.get();
    std::vector<PendingNative> gone;
    Locker hold(pending.lock);
    auto& dicts = pending.dicts;
    gone = dicts;
    std::erase_if(dicts, [](const PendingNative& entry) { return entry.response.expired(); });
    work(dicts);
}

void addPending(id fetcher, const std::shared_ptr<Object>& response)
{
    if (!response)
        return;
    withPending([&](auto& dicts) {
        dicts.push_back({ Value { retain(fetcher) }, response });
        if (dicts.size() > Pending::most)
            dicts.erase(dicts.begin());
    });
}

std::vector<PendingNative> pendingNatives()
{
    std::vector<PendingNative> snapshot;
    withPending([&](auto& dicts) { snapshot = dicts; });
    return snapshot;
}

/// The entry for a response, which leaves the list: the second time there is none.
Value getDictionaryByResponseWithDeleting(id, SEL, id response)
{
    // A response says itself what equals it, so it is asked without the lock.
    for (const PendingNative& entry : pendingNatives()) {
        const auto alive = entry.response.lock();
        if (!alive || !response || !alive->isEqual(response))
            continue;
        size_t erased = 0;
        withPending([&](auto& dicts) {
            erased = std::erase_if(
                dicts, [&](const PendingNative& other) { return refersTo(other.response, alive.get()); });
        });
        // None when another thread was faster.
        return erased ? Value { entryOf(entry) } : Value {};
    }
    return {};
}

Value dicts(id, SEL)
{
    NSArray entries;
    for (const PendingNative& entry : pendingNatives())
        entries.emplace_back(entryOf(entry));
    return entries;
}

/// The fetcher that a response was answered by, also when it is registered again, as in a list that reuses
/// its rows.
std::shared_ptr<Object> fetcherOf(id response)
{
    static const char fetcherKey = 0;
    const Value entry = send<Value>(
        NSClassFromString("TDAppNexusSwizzler"), "getDictionaryByResponseWithDeleting:"_sel, response);
    if (const NSDictionary* found = entry.dictionary()) {
        auto fetcher = (*found)["adFetcher"].object();
        objc_setAssociatedObject(*response, &fetcherKey, Value::weak(fetcher));
        return fetcher;
    }
    return objc_getAssociatedObject(*response, &fetcherKey).object();
}

Slot<void(id, SEL, id, id)> bannerDisplayIMP;
void lumora_bannerDisplayAd(id self, SEL _cmd, id fetcher, id response)
{
    const ReportButtonForAd afterwards(self, AdMoment::Loaded, "TDMetaclass_AppNexus_banner");
    bannerDisplayIMP(self, _cmd, fetcher, response);
}

Slot<void(id, SEL, id)> interstitialDisplayIMP;
void lumora_interstitialDisplayAd(id self, SEL _cmd, id controller)
{
    const ReportButtonForAd afterwards(self, AdMoment::WillShow, "TDMetaclass_AppNexus_interstitial");
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
    guardedHook(
        self, [&] { attachReportButton(trackedView, "TDMetaclass_AppNexus_native", fetcherOf(self)); });
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
