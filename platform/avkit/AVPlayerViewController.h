#pragma once

#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIViewController.h"

namespace lumora {

class UIButton;

/// Where the releases of the player controller keep the button that leaves full screen.
enum class AVPlayerControls {
    /// `_playbackControlsViewController._doneButton`
    ViewController,
    /// `_playbackControlsController._playbackControlsView._doneButton`
    Controller,
    /// There is none.
    None,
};

/// The system's player, over the whole screen when it is presented: a video on black, and a button that
/// dismisses it. It owns its player. Private variables, which libraries read all the same:
/// `_playerLayerView`, whose layer has a `videoSublayer`, the first sublayer of which shows the player; and
/// the button's. Main thread only.
class AVPlayerViewController : public UIViewController {
public:
    static const ClassDescription& classDescription();

    const std::shared_ptr<AVPlayer>& player() const { return m_player; }
    void setPlayer(std::shared_ptr<AVPlayer> player);
    /// Which release this is. Before the view is loaded.
    void setControls(AVPlayerControls controls) { m_controls = controls; }
    /// Null before the view is loaded, and in a release without one.
    const std::shared_ptr<UIButton>& doneButton() const { return m_doneButton; }

    void viewDidLoad();
    void viewDidLayoutSubviews();

private:
    void addDoneButton();
    void doneButtonTapped() { send(this, sel::dismissViewController, true, std::function<void()> {}); }

    std::shared_ptr<AVPlayer> m_player;
    AVPlayerControls m_controls { AVPlayerControls::ViewController };
    std::shared_ptr<UIView> m_playerLayerView;
    std::shared_ptr<CALayer> m_videoSublayer;
    std::shared_ptr<AVPlayerLayer> m_playerLayer;
    std::shared_ptr<UIButton> m_doneButton;
};

} // namespace lumora
