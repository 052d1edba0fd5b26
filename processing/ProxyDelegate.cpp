#include "processing/ProxyDelegate.h"

#include "lumora/LMLog.h"
#include "platform/webkit/WKNavigation.h"
#include "processing/AdProcessingManager.h"
#include "processing/FakeAdController.h"
#include "support/Guarded.h"

namespace lumora {

namespace {

// The address is the key.
const char* const proxiesKey = "proxies of a network's delegate";

/// The proxies in front of one network's delegate, which owns this: one for each web view that lives.
class ProxiesOfOrigin final : public NSObject {
public:
    void keep(const std::shared_ptr<Object>& webView, const std::shared_ptr<ProxyDelegate>& proxy)
    {
        std::erase_if(m_proxies, [&](const auto& known) {
            const auto view = known.first.lock();
            return !view || view == webView;
        });
        m_proxies.emplace_back(webView, proxy);
    }

private:
    std::vector<std::pair<std::weak_ptr<Object>, std::shared_ptr<ProxyDelegate>>> m_proxies;
};

/// A proxy asks its origin whether it answers, or tells it something about some objects; these form a chain
/// on the thread's stack.
class Passing {
public:
    enum class What { Question, Message };
    Passing(const ProxyDelegate* proxy, SEL selector, What what, std::vector<id> about = {})
        : m_proxy(proxy)
        , m_selector(selector)
        , m_what(what)
        , m_about(std::move(about))
        , m_outer(t_innermost)
    {
        t_innermost = this;
    }
    ~Passing() { t_innermost = m_outer; }
    Passing(const Passing&) = delete;
    Passing& operator=(const Passing&) = delete;

    /// Whether this very thing is on its way already; so many of its kind are one as well, of a delegate that
    /// sends it on about something new each time.
    bool comesRound() const
    {
        constexpr size_t most = 32;
        size_t count = 0;
        for (const Passing* at = m_outer; at; at = at->m_outer) {
            if (at->m_proxy != m_proxy || at->m_selector != m_selector || at->m_what != m_what)
                continue;
            if (at->m_about == m_about || ++count == most)
                return true;
        }
        return false;
    }

private:
    static thread_local const Passing* t_innermost;
    const ProxyDelegate* m_proxy;
    SEL m_selector;
    What m_what;
    // For comparison only.
    std::vector<id> m_about;
    const Passing* m_outer;
};
thread_local const Passing* Passing::t_innermost = nullptr;

} // namespace

const ClassDescription& ProxyDelegate::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<ProxyDelegate, NSProxy>("ProxyDelegate")
                                    .method<&ProxyDelegate::initWithDelegate>("initWithDelegate:"_sel)
                                    .method<&ProxyDelegate::originDelegate>("originDelegate"_sel)
                                    .method<&ProxyDelegate::setOriginDelegate>("setOriginDelegate:"_sel)
                                    .method<&ProxyDelegate::fakeDelegate>("fakeDelegate"_sel)
                                    .method<&ProxyDelegate::setFakeDelegate>("setFakeDelegate:"_sel)
                                    .method<&ProxyDelegate::respondsToSelector>("respondsToSelector:"_sel));
    return description;
}
static const RegisteredClass registered { &ProxyDelegate::classDescription };

id ProxyDelegate::initWithDelegate(Object* delegate)
{
    setOriginDelegate(delegate);
    const auto observer = make<FakeAdController>();
    observer->setParrent(this);
    m_fakeDelegate = observer;
    return this;
}

void ProxyDelegate::setOriginDelegate(Object* delegate)
{
    const auto inner = retain(as<ProxyDelegate>(delegate));
    for (auto at = inner; at; at = as<ProxyDelegate>(at->originDelegate())) {
        if (at.get() == this)
            return setOriginDelegate(nullptr);
    }
    m_originDelegate = weakly(delegate);
    m_innerProxy = inner;
}

void ProxyDelegate::setFakeDelegate(Object* observer) { m_fakeDelegate = retain(observer); }

bool ProxyDelegate::respondsToSelector(SEL selector)
{
    const auto self = retain(this);
    const auto origin = originDelegate();
    const Passing passing(this, selector, Passing::What::Question);
    return origin && !passing.comesRound() && delegateAnswers(*origin, selector);
}

size_t ProxyDelegate::layers(Object* delegate)
{
    size_t count = 0;
    for (auto at = retain(as<ProxyDelegate>(delegate)); at; at = as<ProxyDelegate>(at->originDelegate()))
        count++;
    return count;
}

void ProxyDelegate::liveAsLongAsOrigin(Object* webView)
{
    auto origin = originDelegate();
    while (const auto proxy = as<ProxyDelegate>(origin))
        origin = proxy->originDelegate();
    if (!origin)
        return;
    auto proxies = as<ProxiesOfOrigin>(objc_getAssociatedObject(*origin, &proxiesKey).object());
    if (!proxies) {
        proxies = std::make_shared<ProxiesOfOrigin>();
        objc_setAssociatedObject(*origin, &proxiesKey, Value { proxies });
    }
    proxies->keep(retain(webView), retain(this));
}

Value ProxyDelegate::valueForKey(std::string_view key)
{
    const auto origin = originDelegate();
    try {
        return NSProxy::valueForKey(key);
    } catch (const NSException& exception) {
        if (!origin || exception.name() != NSUndefinedKeyException)
            throw;
    }
    return origin->valueForKey(key);
}

/// Nobody is left to decide: an unanswered navigation would wait for ever.
static void allowNavigation(const NSInvocation& invocation)
{
    for (SEL decision : std::initializer_list<SEL> {
             sel::webViewDecidePolicyForNavigationAction, sel::webViewDecidePolicyForNavigationResponse }) {
        if (invocation.selector() == decision)
            guarded([&] { invocation.argument<WKDecisionHandler>(2)(WKNavigationPolicyAllow); });
    }
}

void ProxyDelegate::forwardInvocation(NSInvocation& invocation)
{
    // The delegate may take this proxy off its web view in the middle.
    const auto self = retain(this);
    const auto origin = originDelegate();
    const Passing passing(this, invocation.selector(), Passing::What::Message, invocation.objectArguments());
    if (passing.comesRound())
        return allowNavigation(invocation);
    NSInvocation observed = invocation;
    const auto observer = m_fakeDelegate;
    const bool isObserved = observer && delegateAnswers(*observer, invocation.selector())
        && guarded([&] { observed.invokeWithTarget(observer.get()); });
    // Where there is no origin the observer has decided.
    if (!origin && isObserved)
        return;
    if (!origin || !delegateAnswers(*origin, invocation.selector()))
        return allowNavigation(invocation);
    if (invocation.selector() == "webView:shouldStartLoadWithRequest:navigationType:"_sel) {
        LMLog::logMessage("Should start method");
        bool wanted = false;
        guarded([&] { wanted = observed.returnValue<bool>(); });
        // Kept: an observer without this operation wants nothing loaded, and the answer is no.
        if (!wanted)
            return;
    }
    if (invocation.selector() == sel::webViewDecidePolicyForNavigationAction) {
        guarded([&] {
            const auto* const action = as<WKNavigationAction>(observed.argument<id>(1));
            // Kept: the question is asked once more, and its answer left.
            if (action && action->navigationType() == WKNavigationType::LinkActivated)
                AdProcessingManager::sharedInstance().didUserTapOnView(observed.argument<id>(0));
        });
    }
    invocation.invokeWithTarget(origin.get());
}

} // namespace lumora
