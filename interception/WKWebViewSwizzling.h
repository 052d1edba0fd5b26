#pragma once

#include "interception/Swizzling.h"

namespace lumora {

/// The hooks on web views, and what they add to `WKWebView`. A network that gives its web view a delegate is
/// recognised by that delegate: the view gets a report button, and a `ProxyDelegate` goes in between.
///
/// A hook may be called on any thread. When features may run, the rest of it happens on the main thread, at
/// once if it is called there and the answer of the configuration is known; until then the call holds web
/// view and delegate. A call is dropped once the web view got a newer one, even from inside its own work:
/// nothing may bring an older delegate back. When features may not run, the replaced implementation runs with
/// the delegate unchanged. Only the hooks' own work is guarded; what the replaced implementation raises
/// passes through, but from a late call only as far as the main queue, which logs it.
///
/// Kept: a host reads the proxy, not its own object, back from `navigationDelegate`; the proxy answers for
/// it.

extern Slot<void(id, SEL, id)> setNavigationDelegateIMP;
extern Slot<void(id, SEL, id)> webViewSetDelegateIMP;

void lumora_setNavigationDelegate(id self, SEL _cmd, id delegate);
/// The same for a web view's plain `setDelegate:`. Kept, and kept out: both hooks are installed by an
/// operation named `swizzleMethods`, of which the first answers.
void lumora_webViewSetDelegate(id self, SEL _cmd, id delegate);

namespace sel {
/// What the hooks put on a web view, which owns it, as the network's delegate does too. Borrowed: main
/// thread.
inline constinit const TypedSelector<id()> proxyController { "proxyController" };
inline constinit const TypedSelector<void(id)> setProxyController { "setProxyController:" };
} // namespace sel

/// The web view's other property of the same name: a value of its own, which messages do not reach because
/// the hooks' one is listed first.
namespace ReferenceCategory {
id proxyController(id self, SEL _cmd);
void setProxyController(id self, SEL _cmd, id controller);
} // namespace ReferenceCategory

} // namespace lumora
