#pragma once

#include "platform/uikit/UIButton.h"
#include "platform/uikit/UITapGestureRecognizer.h"

#include <string>

namespace lumora {

/// One reason on a report screen: a capsule that lights up when it is chosen and tells its screen a second
/// later, so that the user sees it. Single-shot: later taps are ignored. Main thread; holds its delegate
/// weakly.
class LMReportAdViewRoundedButton final : public UIButton {
public:
    static const ClassDescription& classDescription();

    id initWithFrame(CGRect frame);
    id initWithCoder(Object* coder);
    void setupView();
    void makeActive();
    void makeInactive();
    void didTouchUpInside();
    void layoutSubviews();
    void prepareForInterfaceBuilder();
    void setNeedsLayout();

    bool didSelected() const { return m_didSelected; }
    std::shared_ptr<Object> delegate() const { return m_delegate.lock(); }
    void setDelegate(const std::shared_ptr<Object>& delegate) { m_delegate = delegate; }
    /// The reason that is sent.
    const std::string& userDescription() const { return m_userDescription; }
    void setUserDescription(std::string reason) { m_userDescription = std::move(reason); }

private:
    bool m_didSelected { false };
    std::shared_ptr<UITapGestureRecognizer> m_tapGestureRecognizer;
    std::weak_ptr<Object> m_delegate;
    std::string m_userDescription;
};

} // namespace lumora
