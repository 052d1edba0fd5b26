#pragma once

#include "platform/uikit/UIViewController.h"

namespace lumora {

/// Several controllers of which the selected one is shown; the first one at first. Without a bar. Main thread
/// only.
class UITabBarController final : public UIViewController {
public:
    static const ClassDescription& classDescription();

    const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const
    {
        return childViewControllers();
    }
    void setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers);
    /// Borrowed; null when there are none.
    UIViewController* selectedViewController() const;
    size_t selectedIndex() const { return m_selected; }
    /// An index that is too large is ignored.
    void setSelectedIndex(size_t index);

protected:
    void arrangeChildren() override;

private:
    size_t m_selected { 0 };
};

} // namespace lumora
