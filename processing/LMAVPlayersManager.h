#pragma once

#include "platform/dispatch/Executor.h"
#include "processing/FramePages.h"
#include "processing/LMObservedPlayer.h"

namespace lumora {

class LMAdViewProcessor;

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
    /// searched it. The videos before that one, or all if none is named, are looked for in the ad's frames.
    void checkProcessorForPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor);
    /// Raises the event, hides the ad in its place if it is a view, and leaves the player's controller: the
    /// one that showed it last, or the delegate of the controller on top.
    void disableFullscreenVideoWithProcessor(
        LMAdViewProcessor& processor, const std::shared_ptr<LMObservedPlayer>& observedPlayer);
    /// Presses the button that leaves full screen, and empties the player. Where there is no button it tries
    /// again after three seconds, three times. Keeps neither controller nor player alive in
    /// between: one that the host lets go of has ended anyway.
    void disableAVPlayerVC(const std::shared_ptr<Object>& controller, const std::shared_ptr<AVPlayer>& player,
        const std::shared_ptr<AVPlayerItem>& playerItem, int attemptCount);

private:
    using Players = std::vector<std::shared_ptr<LMObservedPlayer>>;
    bool isObserved(const std::shared_ptr<LMObservedPlayer>& observed) const;
    void stopPlayingVideo(const std::shared_ptr<LMAdViewProcessor>& processor, const Players& players,
        const std::vector<bool>& isNamed);

    Players m_avPlayers;
    std::shared_ptr<FramePages> m_framePages;
    std::shared_ptr<DispatchQueue> m_lmAVPlayerObserverQueue;
};

} // namespace lumora
