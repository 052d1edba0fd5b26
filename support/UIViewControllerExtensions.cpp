#include "support/UIViewControllerExtensions.h"

#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UINavigationController.h"
#include "platform/uikit/UISplitViewController.h"
#include "platform/uikit/UITabBarController.h"
#include "platform/uikit/UIWindow.h"

namespace lumora {

UIViewController* findBestViewController(UIViewController* controller)
{
    if (!controller)
        return nullptr;
    auto inside = [&](UIViewController* next) { return next ? findBestViewController(next) : controller; };
    if (UIViewController* presented = controller->presentedViewController())
        return findBestViewController(presented);
    if (auto* split = as<UISplitViewController>(controller))
        return inside(split->viewControllers().empty() ? nullptr : split->viewControllers().back().get());
    if (auto* navigation = as<UINavigationController>(controller))
        return inside(navigation->topViewController());
    if (auto* tabs = as<UITabBarController>(controller))
        return inside(tabs->selectedViewController());
    return controller;
}

UIViewController* currentViewController()
{
    const auto window = UIApplication::sharedApplication().keyWindow();
    return window ? findBestViewController(window->rootViewController().get()) : nullptr;
}

std::vector<UIViewController*> currentViewControllers()
{
    std::vector<UIViewController*> controllers;
    for (const std::shared_ptr<UIWindow>& window : UIApplication::sharedApplication().windows()) {
        if (UIViewController* controller = findBestViewController(window->rootViewController().get()))
            controllers.push_back(controller);
    }
    return controllers;
}

} // namespace lumora
