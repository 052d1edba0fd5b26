#include "platform/uikit/UITabBarController.h"

namespace lumora {

const ClassDescription& UITabBarController::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UITabBarController, UIViewController>("UITabBarController")
            .method<&UITabBarController::selectedViewController>("selectedViewController"_sel));
    return description;
}
static const RegisteredClass registeredUITabBarController { &UITabBarController::classDescription };

void UITabBarController::setViewControllers(const std::vector<std::shared_ptr<UIViewController>>& controllers)
{
    clearChildren();
    for (const auto& controller : controllers)
        addChildViewController(controller);
    m_selected = 0;
    arrangeChildren();
}

UIViewController* UITabBarController::selectedViewController() const
{
    return m_selected < viewControllers().size() ? viewControllers()[m_selected].get() : nullptr;
}

void UITabBarController::setSelectedIndex(size_t index)
{
    if (index >= viewControllers().size())
        return;
    m_selected = index;
    arrangeChildren();
}

void UITabBarController::arrangeChildren() { showChild(selectedViewController()); }

} // namespace lumora
