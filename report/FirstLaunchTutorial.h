#pragma once

#include "platform/uikit/UIView.h"

#include <memory>

namespace lumora {

class LMInterstitialTutorialView;
class LMPulseAnimationView;
class TDReportButtonView;

/// What explains a report button at the application's first launch: a tutorial over the whole interstitial,
/// and, once that is there, a pulse around the button's icon. A member of the button, which lives as long;
/// the ad view holds both views too, as its subviews. Main thread. Whichever of ad, button and tutorial
/// leaves first ends the rest.
class FirstLaunchTutorial {
public:
    explicit FirstLaunchTutorial(TDReportButtonView& button)
        : m_button(button)
    {
    }

    const std::shared_ptr<LMInterstitialTutorialView>& tutorialView() const { return m_tutorialView; }
    /// There while the pulse runs.
    const std::shared_ptr<LMPulseAnimationView>& pulseView() const { return m_pulseView; }

    /// Fades the tutorial in, 2.0 s from now; nothing when its interface file is missing.
    void scheduleOn(const std::shared_ptr<UIView>& adView);
    /// Starts the pulse just above the tutorial, if the button is on this ad.
    void pulseAround(UIView& icon, const std::shared_ptr<UIView>& adView);
    /// The user has read it: the pulse fades out. The tutorial takes itself away.
    void dismiss();
    void removePulse();

private:
    void showOn(UIView& adView);
    /// For delays and animations to come back to: they keep neither it nor the button alive.
    std::weak_ptr<FirstLaunchTutorial> weakSelf();

    TDReportButtonView& m_button;
    std::shared_ptr<LMInterstitialTutorialView> m_tutorialView;
    std::shared_ptr<LMPulseAnimationView> m_pulseView;
};

} // namespace lumora
