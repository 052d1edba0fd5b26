#include "platform/uikit/UINavigationController.h"

namespace lumora {

const ClassDescription& UINavigationController::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UINavigationController, UIViewController>("UINavigationController")
            .method<&UINavigationController::topViewController>("topViewController"_sel));
    return description;
}
static const RegisteredClass registeredUINavigationController { &UINavigationController::classDescription };

UIViewController* UINavigationController::topViewController() const
{
    return viewControllers().empty() ? nullptr : viewControllers().back().get();
}

void UINavigationController::pushViewController(std::shared_ptr<UIViewController> controller, bool)
{
    addChildViewController(std::move(controller));
    arrangeChildren();
}

std::shared_ptr<UIViewController> UINavigationController::popViewController(bool)
{
    if (viewControllers().size() < 2)
        return nullptr;
    auto popped = viewControllers().back();
    popped->removeFromParentViewController();
    arrangeChildren();
    return popped;
}

void UINavigationController::arrangeChildren() { showChild(topViewController()); }

} // namespace lumora
