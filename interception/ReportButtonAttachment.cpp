#include "interception/ReportButtonAttachment.h"

#include "interception/Extraction.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "support/Guarded.h"
#include "support/UIViewControllerExtensions.h"
#include "support/UIViewExtensions.h"

#include <exception>
#include <unordered_set>

namespace lumora {

namespace {

std::shared_ptr<UIView> viewOf(const std::shared_ptr<Object>& object)
{
    if (auto view = as<UIView>(object))
        return view;
    if (const auto controller = as<UIViewController>(object))
        return controller->isViewLoaded() ? retain(controller->view()) : nullptr;
    return as<UIView>(getValueFromObject(object.get(), "view").object());
}

std::shared_ptr<UIView> findView(
    const std::shared_ptr<UIView>& root, const std::function<bool(UIView&)>& isGood)
{
    if (isGood(*root))
        return root;
    for (const auto& subview : root->subviews()) {
        if (auto found = findView(subview, isGood))
            return found;
    }
    return nullptr;
}

/// The first web view in a view, itself included.
std::shared_ptr<UIView> webViewIn(const std::shared_ptr<UIView>& view)
{
    if (!view || as<WKWebView>(view))
        return view;
    return getWebView(*view);
}

// Not searched: the host's objects, which a network's objects refer to but do not own.
bool belongsToTheHost(const std::shared_ptr<Object>& object)
{
    return as<UIViewController>(object) || as<UIWindow>(object) || as<UIApplication>(object);
}

/// A web view among the objects that an ad owns and those that they own, the nearest first. Bounded, because
/// a network's objects are many.
std::shared_ptr<UIView> ownedWebView(const std::shared_ptr<Object>& ad)
{
    constexpr size_t mostObjects = 200;
    std::vector<std::shared_ptr<Object>> queue { ad };
    std::unordered_set<const Object*> seen { ad.get() };
    for (size_t i = 0; i < queue.size(); i++) {
        for (auto& object : object_copyOwnedObjects(*queue[i])) {
            if (auto webView = as<WKWebView>(object))
                return webView;
            if (queue.size() < mostObjects && !belongsToTheHost(object) && seen.insert(object.get()).second)
                queue.push_back(std::move(object));
        }
    }
    return nullptr;
}

/// What is in the controller on top, if that one or a container of it is presented by another, and it is not
/// the one that was on top before.
std::shared_ptr<UIView> presentedView(const UIViewController* before)
{
    UIViewController* top = currentViewController();
    for (UIViewController* at = top != before ? top : nullptr; at; at = at->parentViewController()) {
        if (at->presentingViewController()) {
            const auto whole = retain(top->view());
            const auto webView = webViewIn(whole);
            return webView ? webView : whole;
        }
    }
    return nullptr;
}

} // namespace

void attachReportButton(const std::shared_ptr<Object>& adView, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject)
{
    if (!as<UIView>(adView))
        return;
    NSDictionary metadata { { LMReportButtonHelper::metaclassKey,
        retain(NSClassFromString(metadataClass)) } };
    if (supportObject)
        metadata.set(LMReportButtonHelper::supportviewKey, supportObject);
    LMReportButtonHelper::addReportButtonToView(adView.get(), nullptr, metadata);
}

void attachReportButtonInside(id viewOrOwner, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject, std::function<bool(UIView&)> isGood)
{
    auto look = [owner = weakly(viewOrOwner), metadataClass, supportObject, isGood] {
        const std::shared_ptr<UIView> whole = viewOf(owner.lock());
        if (!whole)
            return false;
        auto found = isGood ? findView(whole, isGood) : nullptr;
        if (!found)
            found = webViewIn(whole);
        attachReportButton(found ? found : whole, metadataClass, supportObject);
        return true;
    };
    if (!Process::current().isMainThread() || !look())
        dispatch_get_main_queue().async([look] { look(); });
}

ReportButtonForAd::ReportButtonForAd(
    id ad, AdMoment moment, const char* metadataClass, const std::shared_ptr<Object>& supportObject) noexcept
    : m_moment(moment)
    , m_metadataClass(metadataClass)
    , m_supportObject(supportObject)
    , m_exceptions(std::uncaught_exceptions())
{
    guardedHook(ad, [&] {
        m_process = &Process::current();
        m_ad = weakly(ad);
        if (m_moment != AdMoment::WillShow)
            return;
        if (m_process->isMainThread())
            m_before = retain(currentViewController());
        else
            m_moment = AdMoment::Loaded;
    });
}

ReportButtonForAd::~ReportButtonForAd()
{
    if (!m_process || std::uncaught_exceptions() > m_exceptions)
        return;
    Process::Scope scope(*m_process);
    dispatch_get_main_queue().async([ad = m_ad, moment = m_moment, before = m_before,
                                        metadataClass = m_metadataClass, support = m_supportObject] {
        const auto alive = ad.lock();
        if (!alive)
            return;
        const std::shared_ptr<UIView> own = viewOf(alive);
        std::shared_ptr<UIView> found = webViewIn(own);
        if (!found)
            found = ownedWebView(alive);
        if (!found && moment != AdMoment::Loaded)
            found = presentedView(before.get());
        attachReportButton(found ? found : own, metadataClass, support);
    });
}

} // namespace lumora
