#pragma once

#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIView.h"
#include "report/LMReportAdViewRoundedButton.h"

namespace lumora {

/// The overlay inside a banner or native ad on which a user picks what is wrong with it. Main thread; its
/// delegate, the report flow, takes it away. Tells only a delegate that conforms.
class LMReportAdView final : public UIView {
public:
    static const ClassDescription& classDescription();

    /// The overlay for an ad of that size in points: the roomy layout from 230 points of height on. Null
    /// without its file.
    static std::shared_ptr<LMReportAdView> initFromNibForAdSize(CGSize size);
    /// Gives the buttons their reasons and the close control its tap; twice is harmless.
    void setup();
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }

    /// Keeps what the overlay holds in the part of the ad that is on the screen, and its buttons no wider
    /// than the interface file wants them.
    void layoutSubviews();
    void onButtonClose();
    void reportButtonDidTouched(Object* button, const std::string& userDescription);

private:
    /// The delegate, if it conforms and answers.
    std::shared_ptr<Object> delegateFor(SEL selector) const;
    CGRect visibleBounds();

    std::shared_ptr<LMReportAdViewRoundedButton> m_buttonOffensiveContent;
    std::shared_ptr<LMReportAdViewRoundedButton> m_buttonRepetitiveAd;
    std::shared_ptr<LMReportAdViewRoundedButton> m_buttonFraud;
    std::weak_ptr<Object> m_delegate;
    std::shared_ptr<UIView> m_buttonClose;
    std::shared_ptr<UIView> m_content;
    std::shared_ptr<NSLayoutConstraint> m_columnWidth;
    double m_widestColumn { 0 };
    double m_columnMargins { 0 };
};

} // namespace lumora
