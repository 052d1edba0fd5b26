#pragma once

#include "platform/foundation/NSURLSession.h"
#include "platform/objc/Message.h"

namespace lumora {

LUMORA_ENCODE(NSError, const NSError&, "@\"NSError\"");
LUMORA_ENCODE(NSMutableURLRequest, const NSMutableURLRequest&, "@\"NSURLRequest\"");
LUMORA_ENCODE(std::optional<NSError>, const std::optional<NSError>&, "@\"NSError?\"");

/// Why a page goes somewhere.
enum class WKNavigationType : int64_t {
    LinkActivated = 0,
    FormSubmitted = 1,
    BackForward = 2,
    Reload = 3,
    FormResubmitted = 4,
    Other = -1,
};

/// Where a navigation would be shown: in the page's place, in a frame of the page, or in a window of its own.
enum class WKNavigationTarget { MainFrame, SubFrame, NewWindow };

/// What a delegate answers when it is asked for leave.
enum WKNavigationPolicy : int64_t { WKNavigationPolicyCancel = 0, WKNavigationPolicyAllow = 1 };

/// Takes a policy, once, on any thread; later calls are ignored. Until it is called the navigation waits.
using WKDecisionHandler = std::function<void(int64_t policy)>;

/// The operations of the protocol "WKNavigationDelegate", all optional: (web view, navigation, ...). Main
/// thread. In this order: leave for the action, started, leave for the response, committed, finished; or
/// failed, provisionally before the commit. Leave is also asked, after the start, for each place that a
/// server redirects to, and at any time for frames of the page and for new windows, which never open. Which
/// of them a delegate answers is asked once, when it is set.
namespace sel {
inline constinit const TypedSelector<void(id, id, WKDecisionHandler)> webViewDecidePolicyForNavigationAction {
    "webView:decidePolicyForNavigationAction:decisionHandler:"
};
inline constinit const TypedSelector<void(id, id)> webViewDidStartProvisionalNavigation {
    "webView:didStartProvisionalNavigation:"
};
inline constinit const TypedSelector<void(id, id)> webViewDidReceiveServerRedirect {
    "webView:didReceiveServerRedirectForProvisionalNavigation:"
};
inline constinit const TypedSelector<void(id, id, NSError)> webViewDidFailProvisionalNavigation {
    "webView:didFailProvisionalNavigation:withError:"
};
inline constinit const TypedSelector<void(id, id, WKDecisionHandler)>
    webViewDecidePolicyForNavigationResponse { "webView:decidePolicyForNavigationResponse:decisionHandler:" };
inline constinit const TypedSelector<void(id, id)> webViewDidCommitNavigation {
    "webView:didCommitNavigation:"
};
inline constinit const TypedSelector<void(id, id)> webViewDidFinishNavigation {
    "webView:didFinishNavigation:"
};
inline constinit const TypedSelector<void(id, id, NSError)> webViewDidFailNavigation {
    "webView:didFailNavigation:withError:"
};
/// The process that ran the page has ended; (web view).
inline constinit const TypedSelector<void(id)> webViewWebContentProcessDidTerminate {
    "webViewWebContentProcessDidTerminate:"
};
} // namespace sel

/// Whether a delegate answers a message: its own word where its class has one, as that of a stand-in for
/// another object does, else its class's.
bool delegateAnswers(Object& delegate, SEL selector);

} // namespace lumora
