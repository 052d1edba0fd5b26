#pragma once

#include "platform/avfoundation/AVPlayer.h"
#include "platform/uikit/UIViewController.h"

#include <optional>

namespace lumora {

/// A player that was seen full screen. Everything but the video's address is weak, so that a record outlives
/// what it is about and still knows which video that was. Main thread; the address from any.
class LMObservedPlayer final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<LMObservedPlayer> with(
        AVPlayer* player, AVPlayerItem* playerItem, std::optional<NSURLValue> url);

    std::shared_ptr<AVPlayer> player() const { return m_player.lock(); }
    std::shared_ptr<AVPlayerItem> playerItem() const { return m_playerItem.lock(); }
    /// Unset when there is no item, or its asset has no address.
    std::optional<NSURLValue> videoURL() const { return m_videoURL.get(); }
    /// The controller that showed the player last.
    std::shared_ptr<UIViewController> weakVC() const { return m_weakVC.lock(); }
    void setWeakVC(UIViewController* controller) { m_weakVC = weakly(controller); }

private:
    std::weak_ptr<AVPlayer> m_player;
    std::weak_ptr<AVPlayerItem> m_playerItem;
    AtomicProperty<std::optional<NSURLValue>> m_videoURL;
    std::weak_ptr<UIViewController> m_weakVC;
};

} // namespace lumora
