#pragma once

#include "platform/webkit/WebEngine.h"

#include <webkit2/webkit2.h>

namespace lumora {

// Between the web engine's values and ours. Its thread.

/// A text that may be null.
inline std::string textOf(const char* text) { return text ? text : ""; }

/// What a script gave; nothing for what has no counterpart, such as a function.
std::optional<Value> valueOf(JSCValue* value);
/// An error of a load, in the platform's words.
NSError loadErrorOf(const GError& error);
/// Why a script gave nothing.
NSError scriptErrorOf(const GError& error);
WebAction actionOf(WebKitNavigationAction* action, WKNavigationTarget target);
NSHTTPURLResponse responseOf(WebKitURIResponse* response);

} // namespace lumora
