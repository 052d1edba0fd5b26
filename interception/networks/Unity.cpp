// Unity Ads: interstitials and videos in one controller. What an ad is stands in the auction's last answer.

#include "interception/Network.h"
#include "interception/ReportButtonAttachment.h"
#include "interception/ScreenshotView.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "platform/process/AtomicProperty.h"
#include "platform/process/ProcessLocal.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

// What the hooks saw last. Requests are answered on the network's own queue. The player belongs to the ad and
// dies with it.
ProcessLocal<AtomicProperty<Value>> s_response;
ProcessLocal<AtomicProperty<Value>> s_lastPlacement;
ProcessLocal<AtomicProperty<std::weak_ptr<Object>>> s_lastPlayingPlayer;

Value getResponse(id, SEL) { return s_response.get().get(); }
Value getLastPlacement(id, SEL) { return s_lastPlacement.get().get(); }
std::shared_ptr<Object> lastPlayingPlayer() { return s_lastPlayingPlayer.get().get().lock(); }
std::shared_ptr<Object> getLastPlayingPlayer(id, SEL) { return lastPlayingPlayer(); }

void tellPlayer(SEL selector)
{
    const auto player = lastPlayingPlayer();
    if (respondsToSelector(player.get(), selector))
        guarded([&] { send<void>(player.get(), selector); });
}
void enablePlayer(id, SEL) { tellPlayer("play"_sel); }
void disablePlayer(id, SEL) { tellPlayer("pause"_sel); }

Slot<void(id, SEL, bool)> didAppearIMP;
void lumora_sesionTest1(id self, SEL _cmd, bool animated)
{
    guardedHook(self, [&] { attachReportButtonInside(self, "TDMetaclass_Unity_interstitial"); });
    didAppearIMP(self, _cmd, animated);
}

Slot<void(id, SEL, const std::string&, const std::string&, const std::string&, int64_t, const NSDictionary&)>
    sendSuccessIMP;
void lumora_sesionTest2(id self, SEL _cmd, const std::string& request, const std::string& url,
    const std::string& response, int64_t responseCode, const NSDictionary& headers)
{
    guardedHook(self, [&] {
        const auto address = parseURL(url);
        if (!address || lowercased(address->host) != LUMORA_UNITY_AUCTION_HOST)
            return;
        auto parsed = JSONObjectWithData(response);
        if (parsed && parsed->isDictionary())
            s_response.get().set(std::move(*parsed));
    });
    sendSuccessIMP(self, _cmd, request, url, response, responseCode, headers);
}

Slot<void(id, SEL, id, const std::string&)> showIMP;
void lumora_sesionTest3(id self, SEL _cmd, id controller, const std::string& placementId)
{
    guardedHook(self, [&] { s_lastPlacement.get().set(placementId); });
    showIMP(self, _cmd, controller, placementId);
}

Slot<void(id, SEL, id)> playIMP;
void lumora_playVideo(id self, SEL _cmd, id callback)
{
    guardedHook(
        self, [&] { s_lastPlayingPlayer.get().set(getValueFromObject(self, "getVideoPlayer").object()); });
    playIMP(self, _cmd, callback);
}

// The identifiers are parts of the key path, so one with a dot in it finds nothing: kept, the services know
// these ads without one.
Value mediaOfPlacement()
{
    return readKeyPath(
        getResponse(nullptr, nullptr), "placements." + getLastPlacement(nullptr, nullptr).description());
}

std::string placementId(id) { return textOf(mediaOfPlacement()); }

std::string creativeId(id)
{
    return textOf(readKeyPath(
        getResponse(nullptr, nullptr), "media." + mediaOfPlacement().description() + ".creativeId"));
}

Value otherInfo(id)
{
    const Value response = getResponse(nullptr, nullptr);
    const Value media = readKeyPath(response, "media");
    if (!media.dictionary() || media.dictionary()->empty())
        return {};
    const std::string first = media.dictionary()->begin()->first;
    const auto content
        = JSONObjectWithData(readKeyPath(response, "media." + first + ".content").stringOrEmpty());
    if (!content || !content->isDictionary())
        return {};
    NSDictionary info;
    for (const char* key : { "trailerDownloadable", "auctionId", "correlationId", "videoUrl" }) {
        if (const Value* value = content->dictionary()->find(key))
            info.set(key, *value);
    }
    return info;
}

// The player that a report resumes.
std::shared_ptr<Object> getPlayer(id, SEL) { return lastPlayingPlayer(); }
bool havePlayer(id, SEL) { return lastPlayingPlayer() != nullptr; }
void tellSwizzler(SEL selector)
{
    if (lastPlayingPlayer())
        send<void>(NSClassFromString("TDUnitySwizzler"), selector);
}
// Nobody pauses: kept, the pair belongs to the protocol.
void pausePlayer(id, SEL) { tellSwizzler("disablePlayer"_sel); }
void playPlayer(id, SEL) { tellSwizzler("enablePlayer"_sel); }

const Network& network()
{
    static const auto& unity = *new Network {
        .swizzler = "TDUnitySwizzler",
        .hooks = {
            { "UADSViewController", "viewDidAppear:", &lumora_sesionTest1, &didAppearIMP },
            { "UADSApiRequest", "sendSuccess:url:response:responseCode:headers:", &lumora_sesionTest2,
                &sendSuccessIMP, Hook::Kind::ClassMethod },
            { "USRVApiRequest", "sendSuccess:url:response:responseCode:headers:", &lumora_sesionTest2,
                &sendSuccessIMP, Hook::Kind::ClassMethodOtherwise },
            { "UnityAds", "show:placementId:", &lumora_sesionTest3, &showIMP, Hook::Kind::ClassMethod },
            { "UADSApiVideoPlayer", "WebViewExposed_play:", &lumora_playVideo, &playIMP,
                Hook::Kind::ClassMethod },
        },
        .metadataClasses = {
            {
                .name = "TDMetaclass_Unity_interstitial",
                .sdkName = "Unity",
                .adType = "interstitial",
                .version = Version { .classes = { "UnityAds" }, .selector = "getVersion" },
                .creativeId = &creativeId,
                .placementId = &placementId,
                .otherInfo = &otherInfo,
                .screenshotView = &screenshotViewOf,
                .protocols = { TDMetadataClassPlayerManipulateSupportProtocol },
                .operations = {
                    { sel::getPlayer, &getPlayer },
                    { sel::havePlayer, &havePlayer },
                    { sel::pausePlayer, &pausePlayer },
                    { sel::playPlayer, &playPlayer },
                },
            },
        },
        .operations = {
            { "getResponse"_sel, &getResponse },
            { "getLastPlacement"_sel, &getLastPlacement },
            { "getLastPlayingPlayer"_sel, &getLastPlayingPlayer },
            { "enablePlayer"_sel, &enablePlayer },
            { "disablePlayer"_sel, &disablePlayer },
        },
    };
    return unity;
}
const RegisteredNetwork registered { &network };

} // namespace

} // namespace lumora
