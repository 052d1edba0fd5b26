#include "interception/WKWebViewSwizzling.h"

#include "core/TDActivationManager.h"
#include "interception/Extraction.h"
#include "interception/TDMetadataClassesFactory.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/process/Lock.h"
#include "platform/process/ProcessLocal.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMAdViewProcessorsFactory.h"
#include "processing/ProxyDelegate.h"
#include "processing/WebViewTracker.h"
#include "support/Guarded.h"

#include <atomic>

namespace lumora {

Slot<void(id, SEL, id)> setNavigationDelegateIMP;
Slot<void(id, SEL, id)> webViewSetDelegateIMP;

namespace {

// The addresses are the keys, so the two properties stay apart.
const char* const swizzlingKey = "special.key.for.reference";
const char* const referenceKey = "special.key.for.reference2";

std::shared_ptr<Object> proxyOn(const Object& webView)
{
    return objc_getAssociatedObject(webView, &swizzlingKey).object();
}

// Borrowed from the web view, as a message answers it; who may meet another thread reads `proxyOn`.
id swizzlingProxyController(id self, SEL) { return proxyOn(*self).get(); }

void setSwizzlingProxyController(id self, SEL, id controller)
{
    objc_setAssociatedObject(*self, &swizzlingKey, Value { retain(controller) });
}

/// What the two hooks differ in. Its address is the key under which a web view keeps the order of its calls.
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
                self, nullptr, { { LMReportButtonHelper::metaclassKey, retain(metaclass) } });
    });
}

std::shared_ptr<Object> currentNavigationDelegate(id self)
{
    std::shared_ptr<Object> current;
    guardedHook(self, [&] { current = send(self, sel::navigationDelegate); });
    return current;
}

// Held while a web view gets its order: two threads' first calls must share one.
ProcessLocal<Lock> s_callOrderCreation;

/// The calls of one hook on one web view, counted. The web view owns it; any thread.
class CallOrder final : public Object {
public:
    static std::shared_ptr<CallOrder> of(const DelegateHook& hook, id self)
    {
        Locker hold(s_callOrderCreation.get(self->isa()->registry().process()));
        auto order = as<CallOrder>(objc_getAssociatedObject(*self, &hook).object());
        if (!order) {
            order = std::make_shared<CallOrder>();
            objc_setAssociatedObject(*self, &hook, Value { std::shared_ptr<Object> { order } });
        }
        return order;
    }
    /// Answers the number of a new call; whatever began before is older from now on.
    uint64_t begin()
    {
        m_unfinished++;
        return ++m_newest;
    }
    void end() { m_unfinished--; }
    bool isNewest(uint64_t number) const { return m_newest == number; }
    bool hasOthers() const { return m_unfinished > 1; }

private:
    std::atomic<uint64_t> m_newest { 0 };
    std::atomic<uint64_t> m_unfinished { 0 };
};

/// The place of one call among the others; held until the call has run or was dropped.
class Turn {
public:
    Turn(const DelegateHook& hook, id self)
        : m_order(CallOrder::of(hook, self))
        , m_number(m_order->begin())
    {
    }
    ~Turn() { m_order->end(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool isNewest() const { return m_order->isNewest(m_number); }
    /// Whether another call of the web view waits or runs.
    bool hasOthers() const { return m_order->hasOthers(); }

private:
    std::shared_ptr<CallOrder> m_order;
    uint64_t m_number;
};

// A proxy in front of the delegate if the ad has a processor. Null: the delegate goes on as it is.
std::shared_ptr<ProxyDelegate> makeProxy(const DelegateHook& hook, id self, id delegate, id lookupDelegate)
{
    std::shared_ptr<ProxyDelegate> made;
    guardedHook(self, [&] {
        if (!LMAdViewProcessorsFactory::getProcessorClassForObject(self, lookupDelegate))
            return;
        if (hook.clearsContainers && !delegate
            && (isKindOfClassNamed(self, "MMWebComponent") || isKindOfClassNamed(self, "RFMCreativeView")))
            return;
        // A host that sets what it reads, again and again, would nest proxies until a message fills the
        // stack.
        constexpr size_t mostLayers = 32;
        if (ProxyDelegate::layers(delegate) >= mostLayers)
            return;
        const auto proxy = alloc<ProxyDelegate>();
        proxy->initWithDelegate(delegate);
        made = proxy;
    });
    return made;
}

// The former proxy stays until the new one is in place, and comes back if that fails.
void forwardProxy(const DelegateHook& hook, id self, SEL _cmd, const std::shared_ptr<ProxyDelegate>& proxy)
{
    const auto former = proxyOn(*self);
    // The web view owns it before anything else may fail: nobody else does.
    guardedHook(self, [&] { setSwizzlingProxyController(self, sel::setProxyController, proxy.get()); });
    guardedHook(self, [&] {
        proxy->liveAsLongAsOrigin(self);
        WebViewTracker::sharedTracker().addWebView(self);
    });
    try {
        hook.previous(self, _cmd, proxy.get());
    } catch (...) {
        if (proxyOn(*self) == proxy)
            setSwizzlingProxyController(self, sel::setProxyController, former.get());
        throw;
    }
}

// The features may run. The work before each forward may have met host code, and so a newer call. Main
// thread.
void setObservedDelegate(const DelegateHook& hook, const Turn& turn, id self, SEL _cmd, id delegate)
{
    addReportButton(self, delegate);
    std::shared_ptr<Object> lookupDelegate = delegate ? retain(delegate) : currentNavigationDelegate(self);
    if (isExactlyProxy(lookupDelegate.get())) {
        // Kept: a proxy that is set again, or taken off, is passed on here and once more below, and may end
        // up inside a new proxy.
        if (turn.isNewest())
            hook.previous(self, _cmd, delegate);
        lookupDelegate = nullptr;
    }
    const auto proxy = turn.isNewest() ? makeProxy(hook, self, delegate, lookupDelegate.get()) : nullptr;
    if (!turn.isNewest())
        return;
    if (proxy)
        forwardProxy(hook, self, _cmd, proxy);
    else
        hook.previous(self, _cmd, delegate);
}

/// One call of a hook while the configuration is asked. Once it is `kept` for later it holds web view and
/// delegate, and lets them go on the main thread, in `resume`.
class DelegateCall {
public:
    DelegateCall(const DelegateHook& hook, id self, SEL selector)
        : m_hook(hook)
        , m_selector(selector)
        , m_turn(hook, self)
    {
    }
    const Turn& turn() const { return m_turn; }

    /// Keeps an answer for the hook, which still asks; false when the hook has returned without one.
    bool note(bool active)
    {
        Locker hold(m_lock);
        if (m_asking)
            m_answer = active;
        return m_asking;
    }
    /// The answer, if it has come; else the call is kept for it.
    std::optional<bool> answerOrKeep(id self, id delegate)
    {
        Locker hold(m_lock);
        m_asking = false;
        if (!m_answer)
            keep(self, delegate);
        return m_answer;
    }
    void keep(id self, id delegate)
    {
        m_webView = retain(self);
        m_delegate = retain(delegate);
    }

    /// The rest of a call whose hook has returned. What the replaced implementation raises then meets no
    /// caller of the network's; the queue logs it. Main thread.
    void resume(bool active)
    {
        const auto webView = std::exchange(m_webView, nullptr);
        const auto delegate = std::exchange(m_delegate, nullptr);
        if (!webView || !m_turn.isNewest())
            return;
        if (active)
            setObservedDelegate(m_hook, m_turn, webView.get(), m_selector, delegate.get());
        else
            m_hook.previous(webView.get(), m_selector, delegate.get());
    }

private:
    const DelegateHook& m_hook;
    SEL m_selector;
    const Turn m_turn;
    // Written by the hook before anyone else may resume the call.
    std::shared_ptr<Object> m_webView;
    std::shared_ptr<Object> m_delegate;
    Lock m_lock;
    bool m_asking LUMORA_GUARDED_BY(m_lock) { true };
    std::optional<bool> m_answer LUMORA_GUARDED_BY(m_lock);
};

void setDelegate(const DelegateHook& hook, id self, SEL _cmd, id delegate)
{
    enum class Next { Forward, Observe, Later } next = Next::Forward;
    std::shared_ptr<DelegateCall> call;
    guardedHook(self, [&] {
        call = std::make_shared<DelegateCall>(hook, self, _cmd);
        if (delegate && delegate->weak_from_this().expired())
            return; // Nobody can wait with a delegate that is being destroyed.
        TDActivationManager::sharedInstance().checkActivationWithBlock([call](bool active) {
            if (!call->note(active))
                onMainThread([call, active] { call->resume(active); });
        });
        const std::optional<bool> active = call->answerOrKeep(self, delegate);
        if (!active) {
            next = Next::Later;
            return;
        }
        if (Process::current().isMainThread()) {
            next = *active ? Next::Observe : Next::Forward;
            return;
        }
        // With the features off a thread goes on by itself, unless it would overtake a call on its way.
        if (!*active && !call->turn().hasOthers())
            return;
        call->keep(self, delegate);
        if (dispatch_get_main_queue().async(
                [call = std::exchange(call, nullptr), active = *active] { call->resume(active); }))
            next = Next::Later;
    });
    if (next == Next::Forward)
        hook.previous(self, _cmd, delegate);
    else if (next == Next::Observe)
        setObservedDelegate(hook, call->turn(), self, _cmd, delegate);
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

id ReferenceCategory::proxyController(id self, SEL)
{
    return objc_getAssociatedObject(*self, &referenceKey).object().get();
}

void ReferenceCategory::setProxyController(id self, SEL, id controller)
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
        .method(sel::proxyController, &ReferenceCategory::proxyController)
        .method(sel::setProxyController, &ReferenceCategory::setProxyController);
    return categories;
}
const RegisteredCategory registered { &WKWebView::classDescription, &webViewCategories };

} // namespace

} // namespace lumora
