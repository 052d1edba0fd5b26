#pragma once

#include "platform/objc/Object.h"
#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

class ProxyDelegate;
class UIView;
class WKWebView;

/// The library's own observer behind a `ProxyDelegate`: hears what an ad's web view tells its delegate before
/// the network's delegate does. Makes "redirect" events of links that nobody tapped, "alert" and "confirm"
/// events of what a finished page holds, and reports the page as an ad that is seen. Owned by the proxy,
/// which it holds weakly; main thread.
class FakeAdController final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Spelled so, as whoever reads the key knows it.
    std::shared_ptr<ProxyDelegate> parrent() const;
    void setParrent(Object* proxy);

    /// Decides itself, and allows, only when the network has no delegate any more.
    void decidePolicyForNavigationAction(
        Object* webView, Object* action, const WKDecisionHandler& decisionHandler);
    void didFinishNavigation(Object* webView, Object* navigation);
    void didCommitNavigation(Object*, Object*) { }

    /// Reads the page's markup and raises an event for each call of a dialog in it; of each kind in
    /// one page so many at most, as each takes a picture of the ad.
    static constexpr size_t mostDialogsOfAKind = 16;
    void checkForAlertsWithView(WKWebView& view, const Value& url);
    /// Whether a link is only how a network tells its own view something.
    static bool isUnsupportedURL(std::string_view url);
    /// Whether MoPub would open the address itself though its user has touched nothing.
    static bool didMoPubDetectRedirectWith(WKWebView& view, WKNavigationType type, const std::string& url);

private:
    std::weak_ptr<Object> m_parrent;
};

} // namespace lumora
