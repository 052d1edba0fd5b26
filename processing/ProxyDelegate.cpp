#include "processing/ProxyDelegate.h"

#include "lumora/LMLog.h"
#include "platform/webkit/WKNavigationDelegate.h"
#include "support/Guarded.h"

namespace lumora {

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
    const auto origin = originDelegate();
    return origin && delegateAnswers(*origin, selector);
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
    NSInvocation observed = invocation;
    if (m_fakeDelegate && delegateAnswers(*m_fakeDelegate, invocation.selector()))
        guarded([&, observer = m_fakeDelegate] { observed.invokeWithTarget(observer.get()); });
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
    invocation.invokeWithTarget(origin.get());
}

} // namespace lumora
