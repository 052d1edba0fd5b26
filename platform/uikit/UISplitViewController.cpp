#include "platform/uikit/UISplitViewController.h"

namespace lumora {

const ClassDescription& UISplitViewController::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UISplitViewController, UIViewController>("UISplitViewController"));
    return description;
}
static const RegisteredClass registeredUISplitViewController { &UISplitViewController::classDescription };

void UISplitViewController::setViewControllers(
    const std::vector<std::shared_ptr<UIViewController>>& controllers)
{
    clearChildren();
    for (const auto& controller : controllers)
        addChildViewController(controller);
    arrangeChildren();
}

void UISplitViewController::arrangeChildren()
{
    showChild(viewControllers().empty() ? nullptr : viewControllers().back().get());
}

} // namespace lumora
