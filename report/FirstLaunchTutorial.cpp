#include "report/FirstLaunchTutorial.h"

#include "platform/dispatch/Executor.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "report/BrandColor.h"
#include "report/InterfaceFiles.h"
#include "report/LMInterstitialTutorialView.h"
#include "report/LMPulseAnimationView.h"
#include "report/TDReportButtonView.h"
#include "support/Guarded.h"

#include <utility>

namespace lumora {

namespace {
// Seconds.
constexpr double appearanceDelay = 2.0;
constexpr double fadeTime = 0.7;

// An ad that raises while it is laid out costs it no tutorial.
void layOut(UIView& adView)
{
    guarded([&] { adView.layoutIfNeeded(); });
}
} // namespace

std::weak_ptr<FirstLaunchTutorial> FirstLaunchTutorial::weakSelf()
{
    return std::shared_ptr<FirstLaunchTutorial>(retain(&m_button), this);
}

void FirstLaunchTutorial::scheduleOn(const std::shared_ptr<UIView>& adView)
{
    dispatch_get_main_queue().asyncAfter(
        appearanceDelay, [weakTutorial = weakSelf(), weakAd = std::weak_ptr(adView)] {
            const auto tutorial = weakTutorial.lock();
            const auto ad = weakAd.lock();
            if (tutorial && ad && tutorial->m_button.superview() == ad.get())
                tutorial->showOn(*ad);
        });
}

void FirstLaunchTutorial::showOn(UIView& adView)
{
    m_tutorialView = as<LMInterstitialTutorialView>(loadInterface("LMInterstitialTutorialView", &m_button));
    if (!m_tutorialView)
        return;
    m_tutorialView->setDelegate(retain(&m_button));
    m_tutorialView->setTranslatesAutoresizingMaskIntoConstraints(false);
    adView.addSubview(m_tutorialView);
    using Attribute = NSLayoutAttribute;
    for (const Attribute edge :
        { Attribute::Top, Attribute::Trailing, Attribute::Bottom, Attribute::Leading })
        NSLayoutConstraint::constraintWithItem(m_tutorialView.get(), edge, &adView, edge, 1, 0)
            ->setActive(true);
    layOut(adView);
    m_tutorialView->setAlpha(0);
    UIView::animateWithDuration(
        fadeTime, [&] { m_tutorialView->setAlpha(1); },
        [weakTutorial = weakSelf(), weakAd = weakly(&adView)](bool) {
            // Dismissed or removed while it came, it needs no pulse that nobody would end.
            const auto tutorial = weakTutorial.lock();
            const auto ad = weakAd.lock();
            if (tutorial && ad && tutorial->m_tutorialView
                && tutorial->m_tutorialView->superview() == ad.get())
                tutorial->m_button.setupPulseViewWithSuperView(ad);
        });
}

void FirstLaunchTutorial::pulseAround(UIView& icon, const std::shared_ptr<UIView>& adView)
{
    if (!adView || m_button.superview() != adView.get())
        return;
    m_pulseView = make<LMPulseAnimationView>();
    m_pulseView->setTrackedView(adView);
    m_pulseView->setPulseColor(brandColor());
    m_pulseView->setSmallLayer_size(50);
    m_pulseView->setSmallLayer_expandingValue(10);
    m_pulseView->setBigLayer_expandingSize(200);
    m_pulseView->setSmallLayer_expandingTime(0.35);
    m_pulseView->setSmallLayer_silenceTimeAfterExpanding(0.2);
    m_pulseView->setSmallLayer_backingToNormalTime(0.35);
    m_pulseView->setSmallLayer_silenceTimeAfterBackingToNormal(0.55);
    m_pulseView->setBigLayer_blowingTime(0.7);
    m_pulseView->setTranslatesAutoresizingMaskIntoConstraints(false);
    adView->insertSubviewAboveSubview(m_pulseView, m_tutorialView.get());
    using Attribute = NSLayoutAttribute;
    auto constraint = [&](Attribute attribute, UIView* other) {
        return NSLayoutConstraint::constraintWithItem(
            m_pulseView.get(), attribute, other, other ? attribute : Attribute::NotAnAttribute, 1, 0);
    };
    NSLayoutConstraint::activateConstraints(
        { constraint(Attribute::Width, nullptr), constraint(Attribute::Height, nullptr),
            constraint(Attribute::CenterX, &icon), constraint(Attribute::CenterY, &m_button) });
    layOut(*adView);
    m_pulseView->startAnimation();
}

void FirstLaunchTutorial::dismiss()
{
    m_tutorialView.reset();
    UIView::animateWithDuration(
        fadeTime,
        [&] {
            if (m_pulseView)
                m_pulseView->setAlpha(0);
        },
        [weakTutorial = weakSelf()](bool) {
            if (const auto tutorial = weakTutorial.lock())
                tutorial->removePulse();
        });
}

void FirstLaunchTutorial::removePulse()
{
    if (const auto pulse = std::exchange(m_pulseView, nullptr))
        send(pulse, sel::removeFromSuperview);
}

} // namespace lumora
