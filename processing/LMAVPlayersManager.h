#pragma once

#include "platform/dispatch/DispatchGroup.h"
#include "platform/foundation/NSError.h"
#include "processing/LMObservedPlayer.h"

namespace lumora {

class LMAdViewProcessor;
class WKWebView;

/// Ends the videos that ads start full screen by themselves. A hook shows it every system player that comes
/// on screen; a video that is named in a live ad's markup is an "autoplay" event of that ad, and is stopped.
/// Records of players stay until their video is stopped, also when the player is gone: kept, its address
/// still matches. One per process; main thread.
class LMAVPlayersManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static LMAVPlayersManager& sharedInstance();
    id init();

    /// Hooks the appearance of controllers.
    static void swizzleMethods();
    /// What the hook does a second after a controller has appeared: nothing unless that is exactly the
    /// system's player, and plays.
    void controllerAppeared(UIViewController& controller);

    /// Null is ignored.
    void addObservedPlayer(const std::shared_ptr<LMObservedPlayer>& observed);
    void removeObservedPlayer(const std::shared_ptr<LMObservedPlayer>& observed);
    /// The first record of a player; null if none, and for null.
    std::shared_ptr<LMObservedPlayer> findObservedAVPlayerWithAVPlayer(const AVPlayer* player) const;

    /// Looks at the ads of all processors, the newest first.
    void checkAllProcessors();
    /// Reads an ad's markup and stops the first observed video that it names, once a queue of its own has
    /// searched it. Of those before, looks for the address in the ad's frames.
    void checkProcessorForPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor);
    /// Raises the event, hides the ad in its place and leaves the player's controller.
    void disableFullscreenVideoWithProcessor(
        LMAdViewProcessor& processor, const std::shared_ptr<LMObservedPlayer>& observedPlayer);
    /// Presses the button that leaves full screen, and empties the player. Where there is no button it tries
    /// again after three seconds, three times. Nothing is kept alive for it.
    void disableAVPlayerVC(const std::shared_ptr<Object>& controller, const std::shared_ptr<AVPlayer>& player,
        const std::shared_ptr<AVPlayerItem>& playerItem, int attemptCount);

    // FramePages.cpp

    /// Whether a page in one of the ad's frames names the address. Kept: always no, as the number of frames
    /// is read before the ad's page has answered. Only a web view that answers at once is looked into.
    void processorIframesContainsURL(const std::shared_ptr<LMAdViewProcessor>& processor,
        const std::string& url, const std::function<void(bool)>& completionHandler);
    /// Loads a frame's page into a hidden web view of its own; an empty address is ignored. Each load ends
    /// with one answer to the block.
    void getHTMLsFromLink(const std::string& url);
    /// The markup of a frame's page, or an error, or neither. One for all checks: a newer one's takes the
    /// place of an older one's.
    using WebViewCompletion
        = std::function<void(const std::optional<std::string>& html, const std::optional<NSError>& error)>;
    void setWebViewCompletionBlock(WebViewCompletion block) { m_webViewCompletionBlock = std::move(block); }

private:
    /// The ad is a web view whose last markup has frames.
    static bool hasFrames(const LMAdViewProcessor& processor);
    using Players = std::vector<std::shared_ptr<LMObservedPlayer>>;
    void stopPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor, const Players& players,
        const std::vector<bool>& isNamed);
    void didFinishNavigation(Object* webView, Object* navigation);
    void didFailNavigation(Object* webView, Object* navigation, const NSError& error);
    /// Lets a hidden web view go and answers it; null when it was not one any more.
    std::shared_ptr<WKWebView> takeHiddenWebView(Object* webView);
    void finishLoad(const std::optional<std::string>& html, const std::optional<NSError>& error);

    Players m_avPlayers;
    std::vector<std::shared_ptr<WKWebView>> m_webViewArray;
    // The loads of frame pages that are under way.
    DispatchGroup m_tasks;
    WebViewCompletion m_webViewCompletionBlock;
    std::shared_ptr<DispatchQueue> m_lmAVPlayerObserverQueue;
};

} // namespace lumora
