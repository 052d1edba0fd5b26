#include "interception/AdViewSearch.h"

#include "interception/Extraction.h"
#include "platform/process/Process.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "support/UIViewControllerExtensions.h"
#include "support/UIViewExtensions.h"

#include <algorithm>
#include <unordered_set>

namespace lumora {

namespace {

// Bounded, because a network's objects and views are many.
constexpr size_t mostObjects = 200;

// Not searched: the host's objects, which a network's objects refer to but do not own.
bool belongsToTheHost(const std::shared_ptr<Object>& object)
{
    return as<UIViewController>(object) || as<UIWindow>(object) || as<UIApplication>(object);
}

/// The view and those below, depth first.
std::vector<std::shared_ptr<UIView>> viewsIn(const std::shared_ptr<UIView>& root)
{
    std::vector<std::shared_ptr<UIView>> views;
    std::vector<std::shared_ptr<UIView>> ahead;
    if (root)
        ahead.push_back(root);
    while (!ahead.empty() && views.size() < mostObjects) {
        views.push_back(ahead.back());
        ahead.pop_back();
        const auto subviews = views.back()->subviews();
        ahead.insert(ahead.end(), subviews.rbegin(), subviews.rend());
    }
    return views;
}

} // namespace

AdViewSearch::AdViewSearch(AdMoment moment)
    : m_moment(moment)
{
    if (m_moment != AdMoment::WillShow)
        return;
    if (Process::current().isMainThread())
        m_before = weakly(currentViewController());
    else
        m_moment = AdMoment::Loaded;
}

std::shared_ptr<UIView> AdViewSearch::viewOf(const std::shared_ptr<Object>& object)
{
    if (auto view = as<UIView>(object))
        return view;
    if (const auto controller = as<UIViewController>(object))
        return controller->isViewLoaded() ? retain(controller->view()) : nullptr;
    return as<UIView>(getValueFromObject(object.get(), "view").object());
}

std::shared_ptr<UIView> AdViewSearch::firstViewIn(const std::shared_ptr<UIView>& root, const ViewTest& isGood)
{
    if (!root || isGood(*root))
        return root;
    for (const auto& subview : root->subviews()) {
        if (auto found = firstViewIn(subview, isGood))
            return found;
    }
    return nullptr;
}

std::shared_ptr<UIView> AdViewSearch::webViewIn(const std::shared_ptr<UIView>& view)
{
    if (!view || as<WKWebView>(view))
        return view;
    return getWebView(*view);
}

std::shared_ptr<UIView> AdViewSearch::webViewOwnedBy(
    const std::shared_ptr<Object>& ad, const ViewTest& isGood)
{
    if (!ad)
        return nullptr;
    std::vector<std::shared_ptr<Object>> queue { ad };
    std::unordered_set<const Object*> seen { ad.get() };
    for (size_t i = 0; i < queue.size(); i++) {
        for (auto& object : object_copyOwnedObjects(*queue[i])) {
            if (!seen.insert(object.get()).second)
                continue;
            if (auto webView = as<WKWebView>(object); webView && (!isGood || isGood(*webView)))
                return webView;
            if (queue.size() < mostObjects && !belongsToTheHost(object))
                queue.push_back(std::move(object));
        }
    }
    return nullptr;
}

/// The view of the controller on top, if that one or a container of it is presented by another, and it is not
/// the one that was on top before.
std::shared_ptr<UIView> AdViewSearch::presentedView() const
{
    if (m_moment == AdMoment::Loaded)
        return nullptr;
    UIViewController* top = currentViewController();
    for (UIViewController* at = top != m_before.lock().get() ? top : nullptr; at;
         at = at->parentViewController()) {
        if (at->presentingViewController())
            return retain(top->view());
    }
    return nullptr;
}

std::shared_ptr<UIView> AdViewSearch::find(const std::shared_ptr<Object>& ad) const
{
    const std::shared_ptr<UIView> own = viewOf(ad);
    if (auto webView = webViewIn(own))
        return webView;
    if (auto webView = webViewOwnedBy(ad))
        return webView;
    const std::shared_ptr<UIView> presented = presentedView();
    if (auto webView = webViewIn(presented))
        return webView;
    return presented ? presented : own;
}

std::shared_ptr<UIView> AdViewSearch::find(const std::shared_ptr<Object>& ad, const ViewTest& isGood) const
{
    const std::function<std::shared_ptr<UIView>()> places[] { [&] { return viewOf(ad); },
        [&] {
            const auto good = webViewOwnedBy(ad, isGood);
            return good ? good : webViewOwnedBy(ad);
        },
        [&] { return presentedView(); } };
    for (const auto& place : places) {
        const auto views = viewsIn(place());
        const auto webView = std::find_if(views.begin(), views.end(),
            [&](const auto& view) { return as<WKWebView>(view.get()) && isGood(*view); });
        if (webView != views.end())
            return *webView;
        const auto other = std::find_if(views.begin(), views.end(),
            [&](const auto& view) { return !as<WKWebView>(view.get()) && isGood(*view); });
        if (other != views.end())
            return *other;
    }
    return find(ad);
}

} // namespace lumora
