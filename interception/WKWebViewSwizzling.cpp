#include "interception/WKWebViewSwizzling.h"

#include "core/TDActivationManager.h"
#include "interception/Extraction.h"
#include "interception/TDMetadataClassesFactory.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMAdViewProcessorsFactory.h"
#include "processing/ProxyDelegate.h"
#include "processing/WebViewTracker.h"
#include "support/Guarded.h"

namespace lumora {

Slot<void(id, SEL, id)> setNavigationDelegateIMP;
Slot<void(id, SEL, id)> webViewSetDelegateIMP;

namespace {

// The addresses are the keys, so the two properties stay apart.
const char* const swizzlingKey = "special.key.for.reference";
const char* const referenceKey = "special.key.for.reference2";

id swizzlingProxyController(id self, SEL)
{
    return objc_getAssociatedObject(*self, &swizzlingKey).object().get();
}

void setSwizzlingProxyController(id self, SEL, id controller)
{
    objc_setAssociatedObject(*self, &swizzlingKey, Value { retain(controller) });
}

/// What the two hooks differ in. Its address is the key under which a web view keeps its newest call.
struct DelegateHook {
    const Slot<void(id, SEL, id)>& previous;
    // AOL's and Rubicon's views lose their delegate without a proxy taking its place.
    bool clearsContainers;
};
const DelegateHook navigationDelegateHook { setNavigationDelegateIMP, false };
const DelegateHook delegateHook { webViewSetDelegateIMP, true };

bool isExactlyProxy(const Object* object)
{
    return object && object->isa() == object->isa()->registry().classFor(ProxyDelegate::classDescription());
}

void addReportButton(id self, id delegate)
{
    guardedHook(self, [&] {
        if (Class metaclass = TDMetadataClassesFactory::getMetadataClassForObject(self, delegate))
            LMReportButtonHelper::addReportButtonToView(
                self, nullptr, { { "metaclass", retain(metaclass) } });
    });
}

std::shared_ptr<Object> currentNavigationDelegate(id self)
{
    std::shared_ptr<Object> current;
    guardedHook(self, [&] { current = retain(send(self, sel::navigationDelegate)); });
    return current;
}

// Puts a proxy on the web view if its ad has a processor. Null: the delegate goes on as it is.
std::shared_ptr<Object> instrument(const DelegateHook& hook, id self, id delegate, id lookupDelegate)
{
    std::shared_ptr<Object> installed;
    guardedHook(self, [&] {
        if (!LMAdViewProcessorsFactory::getProcessorClassForObject(self, lookupDelegate))
            return;
        if (hook.clearsContainers && !delegate
            && (isKindOfClassNamed(self, "MMWebComponent") || isKindOfClassNamed(self, "RFMCreativeView")))
            return;
        WebViewTracker::sharedTracker().addWebView(self);
        const auto proxy = alloc<ProxyDelegate>();
        proxy->initWithDelegate(delegate);
        setSwizzlingProxyController(self, sel::setProxyController, proxy.get());
        installed = proxy;
    });
    return installed;
}

// The features may run. Main thread.
void setObservedDelegate(const DelegateHook& hook, id self, SEL _cmd, id delegate)
{
    addReportButton(self, delegate);
    std::shared_ptr<Object> lookupDelegate = delegate ? retain(delegate) : currentNavigationDelegate(self);
    if (isExactlyProxy(lookupDelegate.get())) {
        // Kept: a proxy that is set again, or taken off, is passed on here and once more below, and may end
        // up inside a new proxy.
        hook.previous(self, _cmd, delegate);
        lookupDelegate = nullptr;
    }
    const auto proxy = instrument(hook, self, delegate, lookupDelegate.get());
    hook.previous(self, _cmd, proxy ? proxy.get() : delegate);
}

/// One call of a hook while the configuration is asked. Holds web view and delegate, and lets them go on the
/// main thread: in `resume`, or because the hook hands the call over.
class DelegateCall {
public:
    DelegateCall(const DelegateHook& hook, id self, SEL selector, id delegate)
        : m_hook(hook)
        , m_selector(selector)
        , m_webView(retain(self))
        , m_delegate(retain(delegate))
        , m_token(markNewest(hook, self))
    {
    }

    /// Whatever waits for an answer is older from now on.
    static std::shared_ptr<Object> markNewest(const DelegateHook& hook, id self)
    {
        const auto token = make<NSObject>();
        objc_setAssociatedObject(*self, &hook, Value { token });
        return token;
    }

    /// Keeps an answer for the hook, which still asks; false when the hook has returned without one.
    bool note(bool active)
    {
        Locker hold(m_lock);
        if (m_asking)
            m_answer = active;
        return m_asking;
    }
    /// The answer, if it has come.
    std::optional<bool> stopAsking()
    {
        Locker hold(m_lock);
        m_asking = false;
        return m_answer;
    }

    /// The rest of a call whose hook has returned. Main thread.
    void resume(bool active)
    {
        const auto webView = std::exchange(m_webView, nullptr);
        const auto delegate = std::exchange(m_delegate, nullptr);
        if (!webView || objc_getAssociatedObject(*webView, &m_hook).object() != m_token)
            return;
        if (active)
            setObservedDelegate(m_hook, webView.get(), m_selector, delegate.get());
        else
            m_hook.previous(webView.get(), m_selector, delegate.get());
    }

private:
    const DelegateHook& m_hook;
    SEL m_selector;
    std::shared_ptr<Object> m_webView;
    std::shared_ptr<Object> m_delegate;
    std::shared_ptr<Object> m_token;
    Lock m_lock;
    bool m_asking LUMORA_GUARDED_BY(m_lock) { true };
    std::optional<bool> m_answer LUMORA_GUARDED_BY(m_lock);
};

void setDelegate(const DelegateHook& hook, id self, SEL _cmd, id delegate)
{
    enum class Next { Forward, Observe, Later } next = Next::Forward;
    std::shared_ptr<DelegateCall> call;
    guardedHook(self, [&] {
        if (delegate && delegate->weak_from_this().expired()) {
            // Nobody can wait with a delegate that is being destroyed.
            DelegateCall::markNewest(hook, self);
            return;
        }
        call = std::make_shared<DelegateCall>(hook, self, _cmd, delegate);
        TDActivationManager::sharedInstance().checkActivationWithBlock([call](bool active) {
            if (!call->note(active))
                onMainThread([call, active] { call->resume(active); });
        });
        const std::optional<bool> active = call->stopAsking();
        if (!active)
            next = Next::Later;
        else if (Process::current().isMainThread())
            next = *active ? Next::Observe : Next::Forward;
        else if (dispatch_get_main_queue().async([call = std::exchange(call, nullptr), resumes = *active] {
                     if (resumes)
                         call->resume(true);
                 }))
            next = *active ? Next::Later : Next::Forward;
    });
    if (next == Next::Forward)
        hook.previous(self, _cmd, delegate);
    else if (next == Next::Observe)
        setObservedDelegate(hook, self, _cmd, delegate);
}

void swizzleNavigationDelegate()
{
    installHooks({ { "WKWebView", "setNavigationDelegate:", &lumora_setNavigationDelegate,
        &setNavigationDelegateIMP } });
}

void swizzleDelegate()
{
    installHooks({ { "WKWebView", "setDelegate:", &lumora_webViewSetDelegate, &webViewSetDelegateIMP } });
}

} // namespace

void lumora_setNavigationDelegate(id self, SEL _cmd, id delegate)
{
    setDelegate(navigationDelegateHook, self, _cmd, delegate);
}

void lumora_webViewSetDelegate(id self, SEL _cmd, id delegate)
{
    setDelegate(delegateHook, self, _cmd, delegate);
}

id WKWebViewReference::proxyController(id self, SEL)
{
    return objc_getAssociatedObject(*self, &referenceKey).object().get();
}

void WKWebViewReference::setProxyController(id self, SEL, id controller)
{
    objc_setAssociatedObject(*self, &referenceKey, Value { retain(controller) });
}

namespace {

// WKWebView(Swizzling) and, behind it, WKWebView(Reference). Of two methods of one name the first answers.
ClassDescription webViewCategories()
{
    ClassDescription categories;
    categories.classMethod<&swizzleNavigationDelegate>(sel::swizzleMethods)
        .classMethod<&swizzleDelegate>(sel::swizzleMethods)
        .method(sel::proxyController, &swizzlingProxyController)
        .method(sel::setProxyController, &setSwizzlingProxyController)
        .method(sel::proxyController, &WKWebViewReference::proxyController)
        .method(sel::setProxyController, &WKWebViewReference::setProxyController);
    return categories;
}
const RegisteredCategory registered { &WKWebView::classDescription, &webViewCategories };

} // namespace

} // namespace lumora
