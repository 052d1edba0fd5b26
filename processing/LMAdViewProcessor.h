#pragma once

#include "platform/dispatch/DispatchGroup.h"
#include "platform/foundation/Value.h"
#include "platform/objc/Message.h"
#include "processing/LMHTMLGrabber.h"
#include "processing/StoreLinks.h"

#include <functional>
#include <optional>

namespace lumora {

class CALayer;
class TDEventModel;
class UIView;
class WKWebView;

namespace sel {
inline constinit const TypedSelector<id(id)> initWithAdObject { "initWithAdObject:" };
/// The network's numeric code; class-level, as are its name and version, `getSDKName` and `getVersion`.
inline constinit const TypedSelector<int64_t()> libNumber { "libNumber" };
}

/// A processor of this protocol answers the key "customTargeting": a dictionary, or nothing.
inline constexpr const char* CustomTargetingProtocol = "CustomTargetingProtocol";

/// What the services call the formats by number.
enum class LMAdFormat : uint64_t { Banner = 0, Interstitial = 1, Video = 2, Native = 3, Unknown = 4 };

/// One object per live ad of the processors pipeline. It remembers the ad object, weakly, when it began to be
/// shown and when it was last tapped, and answers for it: identity, markup, store links, whether it is on
/// screen. The networks' own processors derive from it and override who they are. Owned by
/// `ProcessorsManager`; main thread, but for the store links. Times are seconds since 1970. An ad object that
/// is gone is no error: its processor then reports nothing found.
///
/// Nothing in the library sets the hashes, the blocked creative, the blank-ad state or the disposal, and
/// nothing calls `htmlUpdater`, `getAVLayerWith` or `sendingEventsDispatchGroup`: kept for networks' own
/// processors.
class LMAdViewProcessor : public NSObject {
public:
    static const ClassDescription& classDescription();

    using EventCompletion = std::function<void(const std::shared_ptr<TDEventModel>&)>;

    /// Calls `startTrackingTapEvents`, `logAd` and `getURLsFromAdObject` on the way: overrides meet a
    /// processor whose counters and time are not set yet.
    id initWithAdObject(Object* adObject);

    std::shared_ptr<Object> adObject() const { return m_adObject.lock(); }
    /// The ad's last fetched markup; empty until one was.
    const std::string& html() const { return m_html; }
    void setHtml(std::string html) { m_html = std::move(html); }
    /// The creative that the service has blocked in this ad; unset until it does.
    const std::optional<std::string>& lumoraCrId() const { return m_lumoraCrId; }
    void setLumoraCrId(std::optional<std::string> creativeId) { m_lumoraCrId = std::move(creativeId); }
    bool isMarkedAsBlankAd() const { return m_isMarkedAsBlankAd; }
    void setMarkedAsBlankAd(bool isBlank) { m_isMarkedAsBlankAd = isBlank; }
    /// 0 until the ad is tapped.
    double tapTimestamp() const { return m_tapTimestamp; }
    void setTapTimestampToZero() { m_tapTimestamp = 0; }
    /// When this ad, or its current creative, began to be shown; of an ad on screen that nobody has tapped,
    /// when it was looked at last.
    double createAtTimestamp() const { return m_createAtTimestamp; }
    /// Begins a new showing: reads the markup first, then restarts the age, forgets hashes and blocked state,
    /// and reads the store links anew. A page at about:blank is no new showing, but of four networks.
    void setCreateAtTimestamp(double secondsSince1970);
    /// Ticks in a row that the ad was hidden or too old; 0 is on screen, negative is never again until a new
    /// showing.
    int64_t offlineStateCounter() const { return m_offlineStateCounter; }
    void setOfflineStateCounter(int64_t ticks) { m_offlineStateCounter = ticks; }
    /// 2 outlives a new showing, as does -1 of a blocked creative.
    int64_t blankAdCounter() const { return m_blankAdCounter; }
    void setBlankAdCounter(int64_t count) { m_blankAdCounter = count; }
    /// Kept for the manager; nobody changes it.
    int64_t deallocCounter() const { return m_deallocCounter; }
    /// For whoever sends events of this ad.
    const std::shared_ptr<DispatchGroup>& sendingEventsDispatchGroup() const
    {
        return m_sendingEventsDispatchGroup;
    }
    /// A disposed processor is not looked at any more.
    void setDisposed(bool isDisposed) { m_isDisposed = isDisposed; }
    /// Lets the markup and links go that only a living ad needs.
    void forgetMarkup();

    /// For networks to override: something new was registered. Called twice, by the initialiser and by the
    /// registration.
    virtual void logAd() { }
    virtual std::string getCreativeID() { return ""; }
    virtual std::string getPlacementID() { return ""; }
    virtual LMAdFormat getAdFormatId() { return LMAdFormat::Unknown; }
    std::string getAdFormatInString();
    virtual std::string getAdTypeInString();
    /// Facts that only this network knows.
    virtual NSDictionary getOtherInfo() { return {}; }
    /// The click addresses of an ad whose markup has none to find.
    virtual std::vector<std::string> getURLForCustomView() { return {}; }
    /// Kept: nobody asks, as the hooks of URL opening only look on.
    virtual bool shouldDetectClickWithOpenURLSwizzler() { return false; }
    /// The view whose size and pixels stand for the ad; of an ad object that is no view, also the one that is
    /// asked for its window. Null when there is none yet.
    virtual std::shared_ptr<UIView> viewForTakingScreenshot();
    /// The ad object if it is a view, else what stands for it.
    std::shared_ptr<UIView> adView();

    /// On the main queue's next turn: one tap recognizer on the ad object, if it takes one.
    virtual void startTrackingTapEvents();
    /// Taps of one, two and three fingers, and a swipe.
    void addGestureRecognizersToView(UIView& view);
    /// The ad's own recognizers go on working.
    bool gestureRecognizerShouldRecognizeSimultaneously(Object*, Object*) { return true; }
    void saveTapEvent();

    /// The first web view inside the ad; null if none.
    std::shared_ptr<WKWebView> webView();
    /// Reads the markup of the ad object, or of the page inside it; the completion hears once, at once when
    /// the configuration forbids it or there is no page.
    virtual void getNewHTMLWithPurpose(HTMLPurpose purpose, const HTMLCompletion& completion);
    /// Reads the markup into `html`, which stays as it was when that fails.
    void updateHTMLWithSuccess(const std::function<void(bool)>& completion);
    /// Reads the markup if there is none to speak of, and hands it on. Works once in a processor's life.
    void htmlUpdater(const std::function<void(const std::string& html)>& completion);

    /// Fills an event with what is known of the ad and hands it to the completion.
    virtual void updateEventInfo(
        const std::shared_ptr<TDEventModel>& event, const EventCompletion& completion);
    /// Exactly seven entries: creative, metadata, network, format, type, version, picture.
    NSDictionary getBaseInfoAboutAd();

    /// Asks the gate, and looks at the ad on the main queue's next turn if it agrees.
    void takeScreenshot();
    /// Whether the ad is on screen and young enough: counts it off or on line. Takes no picture.
    void screenshotProcessing();

    /// Both hashes of the ad's last picture, or the text "error".
    Value getLastHash() const;
    void setLastHash(std::optional<NSDictionary> hashes) { m_lastHash = std::move(hashes); }

    /// The links found in the ad that lead to the app store; unset until some were looked for and any link
    /// was found. Any thread.
    std::optional<std::vector<std::string>> URLsFromAd() const { return m_storeLinks->links(); }
    /// Looks for store links: the network's own, else those in the markup, in the background.
    virtual void getURLsFromAdObject();

    /// The first video layer below, the deepest of a branch first.
    static std::shared_ptr<CALayer> getAVLayerWith(CALayer& layer);

    /// Same ad object, same beginning, and of this class or one below.
    bool isEqual(const Object* other) const override;
    /// Equal processors have equal hashes. Changes with each showing, so it is no key of a table.
    size_t hash() const;

protected:
    /// What is known of the ad: "info", as indented JSON, and "sdk", its "name" and "version".
    NSDictionary describeAd();

private:
    void htmlUpdaterRecursive(const std::function<void()>& completion);
    void beginShowing(double secondsSince1970);
    bool isHidden(UIView* view);

    std::weak_ptr<Object> m_adObject;
    bool m_isDisposed { false };
    std::optional<NSDictionary> m_lastHash;
    const std::shared_ptr<StoreLinks> m_storeLinks { std::make_shared<StoreLinks>() };
    std::shared_ptr<DispatchGroup> m_sendingEventsDispatchGroup;
    std::string m_linksHash;
    int64_t m_htmlUpdatesAttempts { 0 };
    bool m_isMarkedAsBlankAd { false };
    std::string m_html;
    std::optional<std::string> m_lumoraCrId;
    double m_tapTimestamp { 0 };
    double m_createAtTimestamp { 0 };
    int64_t m_deallocCounter { 0 };
    int64_t m_offlineStateCounter { 0 };
    int64_t m_blankAdCounter { 0 };
};

} // namespace lumora
