#pragma once

#include "platform/uikit/UIView.h"

#include <memory>

namespace lumora {

class LMInterstitialTutorialView;
class LMPulseAnimationView;
class TDReportButtonView;

/// What explains a report button at the application's first launch: a tutorial over the whole interstitial,
/// and, once that is there, a pulse around the button's icon. A member of the button and as long-lived; both
/// views belong to the ad's as well. Main thread. Whoever of ad, button and tutorial leaves first ends the
/// rest of it.
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
    /// Weak, like the delays and animations that come back to it.
    std::weak_ptr<FirstLaunchTutorial> weakSelf();

    TDReportButtonView& m_button;
    std::shared_ptr<LMInterstitialTutorialView> m_tutorialView;
    std::shared_ptr<LMPulseAnimationView> m_pulseView;
};

}
