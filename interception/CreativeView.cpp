#include "interception/CreativeView.h"

#include "interception/Extraction.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "support/UIViewExtensions.h"

#include <unordered_set>

namespace lumora {

namespace {

std::shared_ptr<UIView> viewOf(const std::shared_ptr<Object>& object)
{
    if (auto view = as<UIView>(object))
        return view;
    if (as<UIViewController>(object))
        return viewOfController(object.get());
    return as<UIView>(getValueFromObject(object.get(), "view").object());
}

/// A web view among an object's variables and those of the objects in them, the nearest first. Bounded,
/// because a network's objects are many and know each other.
std::shared_ptr<UIView> privateWebView(const std::shared_ptr<Object>& ad)
{
    constexpr size_t mostObjects = 200;
    std::vector<std::shared_ptr<Object>> queue { ad };
    std::unordered_set<const Object*> seen { ad.get() };
    for (size_t i = 0; i < queue.size(); i++) {
        for (const Value& value : object_copyInstanceVariables(*queue[i])) {
            auto object = value.object();
            if (auto webView = as<WKWebView>(object))
                return webView;
            if (object && queue.size() < mostObjects && seen.insert(object.get()).second)
                queue.push_back(std::move(object));
        }
    }
    return nullptr;
}

std::shared_ptr<UIView> presentedView()
{
    UIViewController* top = currentViewController();
    return top && top->presentingViewController() ? creativeViewIn(retain(top)) : nullptr;
}

/// The nearest view above that fills the window.
std::shared_ptr<UIView> fullScreenContainer(UIView& view)
{
    UIWindow* window = view.window();
    for (UIView* above = view.superview(); window && above && above != window; above = above->superview()) {
        if (above->bounds().size == window->bounds().size)
            return retain(above);
    }
    return nullptr;
}

std::shared_ptr<UIView> viewOfAd(const std::shared_ptr<Object>& ad, AdMoment moment)
{
    const std::shared_ptr<UIView> own = viewOf(ad);
    if (auto webView = own ? creativeViewIn(own) : nullptr; webView && webView != own)
        return webView;
    if (auto webView = own && own->window() ? nullptr : privateWebView(ad))
        return webView;
    if (auto presented = moment == AdMoment::Shown && !(own && own->window()) ? presentedView() : nullptr)
        return presented;
    return own;
}

} // namespace

std::shared_ptr<UIView> findView(
    const std::shared_ptr<UIView>& root, const std::function<bool(UIView&)>& isGood)
{
    if (!root || isGood(*root))
        return root;
    for (const auto& subview : root->subviews()) {
        if (auto found = findView(subview, isGood))
            return found;
    }
    return nullptr;
}

std::shared_ptr<UIView> viewOfController(id controller)
{
    auto* loaded = as<UIViewController>(controller);
    return loaded && loaded->isViewLoaded() ? retain(loaded->view()) : nullptr;
}

std::shared_ptr<UIView> creativeViewIn(const std::shared_ptr<Object>& viewOrOwner)
{
    const std::shared_ptr<UIView> view = viewOf(viewOrOwner);
    if (!view || as<WKWebView>(view))
        return view;
    if (auto webView = getWebView(*view))
        return webView;
    return view;
}

void attachReportButton(const std::shared_ptr<Object>& adView, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject)
{
    if (!as<UIView>(adView))
        return;
    NSDictionary metadata { { "metaclass", retain(NSClassFromString(metadataClass)) } };
    if (supportObject)
        metadata.set("supportview", supportObject);
    LMReportButtonHelper::addReportButtonToView(adView.get(), nullptr, metadata);
}

void attachReportButtonToAd(
    id ad, AdMoment moment, const char* metadataClass, const std::shared_ptr<Object>& supportObject)
{
    dispatch_get_main_queue().async([ad = weakly(ad), moment, metadataClass, supportObject] {
        if (const auto alive = ad.lock())
            attachReportButton(viewOfAd(alive, moment), metadataClass, supportObject);
    });
}

std::shared_ptr<Object> screenshotViewOf(id adView)
{
    const auto view = retain(as<UIView>(adView));
    if (!view)
        return nullptr;
    const std::shared_ptr<UIView> container = fullScreenContainer(*view);
    UIView& searched = container ? *container : *view;
    const std::shared_ptr<UIView> picture = getVideoScreenshotView(searched);
    if (picture.get() == &searched)
        return container;
    picture->setFrame({ {}, view->bounds().size });
    return picture;
}

} // namespace lumora
