#pragma once

#include "platform/uikit/UIViewController.h"
#include "report/LMReportAdViewRoundedButton.h"

namespace lumora {

/// The sheet over the current screen on which a user picks what is wrong with an interstitial. A tap on the
/// dimmed area around it cancels, except while a chosen reason lights up. Main thread; tells its delegate,
/// held weakly, once it is gone.
class TDSwipableReportViewController final : public UIViewController {
public:
    static const ClassDescription& classDescription();

    void viewDidLoad();
    void viewDidLayoutSubviews();
    void prepareButtons();
    /// Rounds the sheet's bottom corners by 30 points.
    void prepareView();
    void closeView();
    void reportButtonDidTouched(Object* button, const std::string& userDescription);
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }

private:
    /// Dismisses the sheet, then tells a delegate that conforms and answers.
    void dismissAndTell(SEL selector, std::function<void(const std::shared_ptr<Object>& delegate)> tell);

    std::weak_ptr<Object> m_delegate;
    std::shared_ptr<UIView> m_overlayView;
    std::shared_ptr<UIView> m_menuView;
    std::shared_ptr<LMReportAdViewRoundedButton> m_offensiveButton;
    std::shared_ptr<LMReportAdViewRoundedButton> m_repetitiveButton;
    std::shared_ptr<LMReportAdViewRoundedButton> m_fraudButton;
    std::shared_ptr<UIView> m_safeAreaRootView;
    // A sheet that could not go then, because the host presents on it, can still be tapped away.
    bool m_reasonArrived { false };
};

} // namespace lumora
