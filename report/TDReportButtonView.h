#pragma once

#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UILabel.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIView.h"
#include "report/FirstLaunchTutorial.h"
#include "report/TDButtonHandler.h"

#include <string>

namespace lumora {

class NSLayoutConstraint;

/// The small control on an ad's top right corner: slides in from the right edge, opens on taps, and says "Ad
/// Reported" for a few seconds before it goes. At the first launch it explains itself over an interstitial.
/// Made from its interface file; a subview of the ad view, which owns it. It owns its handler. Main thread,
/// except `adWasReported`, which moves itself there. Delays and animations hold it weakly.
class TDReportButtonView final : public UIView {
public:
    static const ClassDescription& classDescription();

    enum class State : int64_t {
        Hidden = 0,
        Icon = 1,
        /// Icon and caption; in the short form the whole short button.
        Full = 2,
        /// Final: no slide's end changes it.
        Reported = 3,
        HiddenToFull = 4,
        FullToIcon = 5,
        IconToFull = 6,
        FullToHidden = 7,
        HiddenToIcon = 8,
    };
    enum class Form : int64_t {
        /// Interstitials: slides in as an icon, opens to icon and caption.
        Full = 1,
        /// Everything else: no caption, stays out.
        Short = 2,
        /// A short one that grew to hold "Ad Reported".
        Reported = 3,
    };

    id initWithCoder(Object* coder);

    State buttonState() const { return m_buttonState; }
    Form buttonForm() const { return m_buttonForm; }
    /// The ad ID of every report from this button.
    const std::string& adLocalId() const { return m_adLocalId; }
    const std::shared_ptr<TDButtonHandler>& buttonHandler() const { return m_buttonHandler; }
    /// How far the button is pulled left into the visible part of an ad wider than the screen; negative or 0,
    /// in points.
    double widerAdDiff() const { return m_widerAdDiff; }
    double trailingConstant() const;

    /// Attaches after 1.0 s: handler, form, taps, place, registry, impression. Owned by that delay until
    /// then; if the ad view is gone by then, the impression is still recorded.
    void addReportButtonToView(const std::shared_ptr<UIView>& adView, const NSDictionary& withMetadata);
    void configureHandlerWithView(const std::shared_ptr<UIView>& adView);
    void checkAndUpdateButtonForm();
    void updateButtonForm();
    void makeFormButtonShort();
    void makeFormButtonFull();
    void configureGestureRecognizersDependOnFormButton();
    /// Places the button and shows it; nothing when there is no ad view.
    void addReportButtonToView(const std::shared_ptr<UIView>& adView);
    /// Just outside the ad's right edge, 0.12 of its height down.
    CGRect getFrameForButtonInView(UIView& adView);
    double getButtonWidthWithDiff();
    void showButton();
    double timeForAnimation() const;

    void animateFromHiddenToFull();
    void animateFromHiddenToIcon();
    void animateFromFullToIcon();
    void animateFromIconToFull();
    void animateFromFullToHidden();

    void adWasReported();
    void makeReportedLayout();
    void sendAdInfo();
    /// Handed on to the handler; dropped while there is none, and for nil or an object that does not conform.
    void setDelegate(Object* delegate);
    /// Handed on to the handler; nothing happens while there is none.
    void sendReportWithInfo(const Value& info);

    // At the first launch, over an interstitial; see `FirstLaunchTutorial`.
    void addTutorialViewOnView(const std::shared_ptr<UIView>& adView);
    void setupPulseViewWithSuperView(const std::shared_ptr<UIView>& adView);
    void continueButtonWasPressed();

    void didMoveToSuperview();
    void layoutSubviews();
    CGSize intrinsicContentSize();
    UIBezierPath getBezierPathFor(int64_t placement) const;

private:
    void attach(const std::shared_ptr<UIView>& adView, const NSDictionary& metadata);
    void recordImpression() const;
    enum class Place { Hidden, Icon, Full };
    /// Where the trailing edge is then, from the ad's, in points.
    double trailingConstantAt(Place place);
    void slideTo(Place place, std::function<void(TDReportButtonView&, bool finished)> completion);
    void afterDelay(double seconds, void (TDReportButtonView::*action)());
    static double widerAdDiffFor(UIView& adView);
    std::shared_ptr<TDReportButtonView> self();

    // Handed to the shape, which ignores it.
    int64_t m_localPlacement { 0 };
    double m_widerAdDiff { 0 };
    std::shared_ptr<UIImageView> m_iconView;
    std::shared_ptr<UILabel> m_textLabel;
    // In the interface file, and hidden: kept, nothing closes a button yet.
    std::shared_ptr<UIView> m_closeView;
    State m_buttonState { State::Hidden };
    Form m_buttonForm { Form::Short };
    std::string m_adLocalId;
    std::shared_ptr<TDButtonHandler> m_buttonHandler;
    std::shared_ptr<NSLayoutConstraint> m_trailingConstraint;
    std::shared_ptr<NSLayoutConstraint> m_xWidthConstraint;
    std::shared_ptr<UIView> m_buttonBackground;
    // The body's border in the full form.
    std::shared_ptr<CALayer> m_rim;
    std::shared_ptr<UITapGestureRecognizer> m_singleTapGesture;
    std::shared_ptr<UITapGestureRecognizer> m_doubleTapGesture;
    // Assigned by nothing: kept, the tutorial's switching of the first has no effect.
    std::shared_ptr<UIGestureRecognizer> m_openGR;
    std::shared_ptr<UIGestureRecognizer> m_closeGR;
    std::shared_ptr<UIGestureRecognizer> m_openShortGR;
    FirstLaunchTutorial m_tutorial { *this };
};

} // namespace lumora
