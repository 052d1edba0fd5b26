#pragma once

#include "platform/uikit/UIViewController.h"
#include "report/LMReportAdViewRoundedButton.h"

namespace lumora {

/// The sheet over the current screen on which a user picks what is wrong with an interstitial. A tap on the
/// dimmed area around it cancels. Main thread; tells its delegate, held weakly, once it is gone.
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
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }

private:
    /// Dismisses the sheet, then tells a delegate that conforms.
    void dismissAndTell(std::function<void(const std::shared_ptr<Object>& delegate)> tell);

    std::weak_ptr<Object> m_delegate;
    std::shared_ptr<UIView> m_overlayView;
    std::shared_ptr<UIView> m_menuView;
    std::shared_ptr<LMReportAdViewRoundedButton> m_offensiveButton;
    std::shared_ptr<LMReportAdViewRoundedButton> m_repetitiveButton;
    std::shared_ptr<LMReportAdViewRoundedButton> m_fraudButton;
    std::shared_ptr<UIView> m_safeAreaRootView;
};

}
