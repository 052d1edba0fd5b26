#pragma once

#include "platform/uikit/UIViewController.h"

namespace lumora {

/// A stack of controllers of which the top one is shown. Without a bar and without animation. Main thread
/// only.
class UINavigationController final : public UIViewController {
public:
    static const ClassDescription& classDescription();

    const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const
    {
        return childViewControllers();
    }
    /// Borrowed; null when the stack is empty.
    UIViewController* topViewController() const;
    void pushViewController(std::shared_ptr<UIViewController> controller, bool animated);
    /// The controller that was taken off; null when only the first is left.
    std::shared_ptr<UIViewController> popViewController(bool animated);

protected:
    void arrangeChildren() override;
};

} // namespace lumora
