#include "support/UIViewExtensions.h"

#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIColor.h"
#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UINavigationController.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UISplitViewController.h"
#include "platform/uikit/UITabBarController.h"
#include "platform/uikit/UIView.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIViewDrawing.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "support/UIImageExtensions.h"

namespace lumora {

UIImage takeScreenshot(UIView& view)
{
    return takeImageOfView(view, view.bounds().size, UIScreen::mainScreen().scale());
}

static UIImage frameOfPlayingVideo(CALayer& layer)
{
    const auto* const video = as<AVPlayerLayer>(&layer);
    if (video && video->player() && video->player()->currentItem())
        return imageWithAVPlayerItem(video->player()->currentItem());
    for (const std::shared_ptr<CALayer>& sublayer : layer.sublayers()) {
        UIImage frame = frameOfPlayingVideo(*sublayer);
        if (!frame.isNull())
            return frame;
    }
    return {};
}

std::shared_ptr<UIView> getVideoScreenshotView(UIView& view)
{
    UIImage frame = frameOfPlayingVideo(view.layer());
    // A video that has shown nothing yet leaves the view itself, which is more than no picture.
    if (frame.isNull())
        return retain(&view);
    auto imageView = make<UIImageView>();
    imageView->setFrame({ {}, frame.size() });
    imageView->setImage(std::move(frame));
    return imageView;
}

std::shared_ptr<WKWebView> getWebView(UIView& view)
{
    for (const std::shared_ptr<UIView>& subview : view.subviews()) {
        if (auto webView = as<WKWebView>(subview))
            return webView;
        if (auto webView = getWebView(*subview))
            return webView;
    }
    return nullptr;
}

static void collectWebViews(UIView& view, std::vector<std::shared_ptr<WKWebView>>& found)
{
    for (const std::shared_ptr<UIView>& subview : view.subviews()) {
        if (auto webView = as<WKWebView>(subview))
            found.push_back(std::move(webView));
        else
            collectWebViews(*subview, found);
    }
}

std::vector<std::shared_ptr<WKWebView>> getWebViews(UIView& view)
{
    std::vector<std::shared_ptr<WKWebView>> found;
    collectWebViews(view, found);
    return found;
}

bool containsSubview(const UIView& view, const UIView& subview)
{
    // Upwards from the wanted one: as deep as the tree, not as wide.
    for (const UIView* at = subview.superview(); at; at = at->superview()) {
        if (at->isEqual(&view))
            return true;
    }
    return false;
}

bool isSuperviewHidden(UIView& view)
{
    const CGRect frame = view.frame();
    const bool clippedAway = frame.size == CGSize {} && view.clipsToBounds();
    if (view.isHidden() || clippedAway || frame.origin.x < 0 || frame.origin.y < 0)
        return true;
    UIView* superview = view.superview();
    return superview && isSuperviewHidden(*superview);
}

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

UIColor colorWithR(double r, double g, double b, double a) { return { r / 255, g / 255, b / 255, a }; }

} // namespace lumora
