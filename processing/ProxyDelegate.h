#pragma once

#include "platform/objc/Object.h"

namespace lumora {

/// Stands between a web view and the navigation delegate that the network gave it: an observer of the
/// library's own hears every message first, then the network's delegate gets it unchanged. The web view owns
/// it, as its `proxyController`, and hands it out as its `navigationDelegate`; the network's delegate owns it
/// too, for whoever has read it there and keeps it weakly. Main thread.
///
/// Keys that it does not know are read from the network's delegate. Asked for its class it answers its own,
/// by which the hooks know it.
///
/// The network's delegate is held weakly. Once it is gone the proxy answers nothing any more and forwards
/// nothing; a navigation that then still asks for leave gets it, as it would without a delegate.
class ProxyDelegate : public NSProxy {
public:
    static const ClassDescription& classDescription();

    id initWithDelegate(Object* delegate);

    std::shared_ptr<Object> originDelegate() const { return m_originDelegate.lock(); }
    /// A proxy in the place of a delegate is owned besides: nobody else does, once the web view has this one.
    /// One that leads back here counts as none.
    void setOriginDelegate(Object* delegate);
    /// How many proxies lie in front of each other from this delegate on; 0 for any other object.
    static size_t layers(Object* delegate);
    /// Lets the network's delegate, behind all layers, own this as well: one proxy for each web view, until
    /// the next call after that has gone.
    void liveAsLongAsOrigin(Object* webView);

    /// The observer, owned; a `FakeAdController` from the start. What it raises stays with it. One that
    /// hears of decisions makes them when the network's delegate is gone.
    std::shared_ptr<Object> fakeDelegate() const { return m_fakeDelegate; }
    void setFakeDelegate(Object* observer);

    /// The origin's own answer; the observer is not asked.
    bool respondsToSelector(SEL selector);
    /// A message that comes round, about the same objects, because the network's delegate sends it back here,
    /// ends.
    void forwardInvocation(NSInvocation& invocation) override;
    Value valueForKey(std::string_view key) override;

private:
    std::weak_ptr<Object> m_originDelegate;
    std::shared_ptr<Object> m_innerProxy;
    std::shared_ptr<Object> m_fakeDelegate;
};

} // namespace lumora
