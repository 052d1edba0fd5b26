#include "platform/avkit/AVPlayerViewController.h"

#include "platform/uikit/UIButton.h"

namespace lumora {

namespace {

constexpr CGRect placeOfDoneButton { { 8, 28 }, { 72, 44 } };

inline constinit const TypedSelector<void()> doneButtonTappedSelector { "doneButtonTapped" };

/// An object with one private variable.
std::shared_ptr<Object> holding(const char* variable, const std::shared_ptr<Object>& object)
{
    auto holder = make<NSObject>();
    object_setInstanceVariable(*holder, variable, Value { object });
    return holder;
}

} // namespace

const ClassDescription& AVPlayerViewController::classDescription()
{
    using Self = AVPlayerViewController;
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Self, UIViewController>("AVPlayerViewController")
                                    .method<&Self::viewDidLoad>(sel::viewDidLoad)
                                    .method<&Self::viewDidLayoutSubviews>(sel::viewDidLayoutSubviews)
                                    .method<&Self::doneButtonTapped>(doneButtonTappedSelector)
                                    .variable<&Self::m_player>("player"));
    return description;
}
static const RegisteredClass registered { &AVPlayerViewController::classDescription };

void AVPlayerViewController::setPlayer(std::shared_ptr<AVPlayer> player)
{
    m_player = std::move(player);
    if (m_playerLayer)
        m_playerLayer->setPlayer(m_player);
}

void AVPlayerViewController::viewDidLoad()
{
    UIViewController::viewDidLoad();
    view()->setBackgroundColor(UIColor::blackColor());
    m_playerLayerView = make<UIView>();
    m_videoSublayer = make<CALayer>();
    m_playerLayer = AVPlayerLayer::playerLayerWithPlayer(m_player);
    m_videoSublayer->addSublayer(m_playerLayer);
    m_playerLayerView->layer().addSublayer(m_videoSublayer);
    object_setInstanceVariable(m_playerLayerView->layer(), "videoSublayer", Value { m_videoSublayer });
    object_setInstanceVariable(*this, "_playerLayerView", Value { m_playerLayerView });
    view()->addSubview(m_playerLayerView);
    if (m_controls != AVPlayerControls::None)
        addDoneButton();
}

void AVPlayerViewController::addDoneButton()
{
    m_doneButton = make<UIButton>();
    m_doneButton->setTitle("Done");
    m_doneButton->setTitleColor(UIColor::whiteColor());
    m_doneButton->setFrame(placeOfDoneButton);
    m_doneButton->addTarget(weakly<Object>(this), doneButtonTappedSelector);
    view()->addSubview(m_doneButton);
    const auto controls = holding("_doneButton", m_doneButton);
    if (m_controls == AVPlayerControls::ViewController)
        object_setInstanceVariable(*this, "_playbackControlsViewController", Value { controls });
    else
        object_setInstanceVariable(
            *this, "_playbackControlsController", Value { holding("_playbackControlsView", controls) });
}

void AVPlayerViewController::viewDidLayoutSubviews()
{
    UIViewController::viewDidLayoutSubviews();
    const CGRect bounds = view()->bounds();
    m_playerLayerView->setFrame(bounds);
    m_videoSublayer->setFrame({ {}, bounds.size });
    m_playerLayer->setFrame({ {}, bounds.size });
}

} // namespace lumora
