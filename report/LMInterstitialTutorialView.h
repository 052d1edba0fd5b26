#pragma once

#include "platform/uikit/UIView.h"
#include "report/LMReportAdViewRoundedButton.h"

namespace lumora {

/// Lies over an interstitial at the application's first launch and explains the report button. Its continue
/// button tells the delegate, held weakly, and takes the view away. Main thread; owned by its superview.
class LMInterstitialTutorialView final : public UIView {
public:
    static const ClassDescription& classDescription();

    id initWithCoder(Object* coder);
    /// The continue button's action.
    void continueButtonWasPressed(Object* sender);
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }

private:
    std::shared_ptr<LMReportAdViewRoundedButton> m_continueButton;
    std::weak_ptr<Object> m_delegate;
};

} // namespace lumora
