#pragma once

#include "platform/foundation/Value.h"

#include <functional>
#include <memory>
#include <string>

namespace lumora {

class WKWebView;

/// Has a page evaluate a script. The completion hears exactly once, on the main thread, unless the process
/// ends before: what the script answers; or no success when it fails, when the page drops the question, or
/// when it has not answered after 10 seconds. Until then the page is kept. Main thread.
void askPage(const std::shared_ptr<WKWebView>& page, const std::string& script,
    const std::function<void(bool success, const Value& answer)>& completion);

} // namespace lumora
