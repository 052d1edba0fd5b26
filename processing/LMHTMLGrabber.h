#pragma once

#include "platform/objc/Object.h"

#include <functional>
#include <string>

namespace lumora {

/// What the markup is read for; the configuration switches the first three.
enum class HTMLPurpose { Inspection = 0, Report = 1, Event = 2, AdRecord = 3 };
/// Whether the markup could be read, and the markup.
using HTMLCompletion = std::function<void(bool success, const std::string& html)>;

/// The one way to an ad's markup. Stateless; main thread.
class LMHTMLGrabber {
public:
    /// Reads the markup of a web view on the main queue's next turn; the view is kept until its page has
    /// answered. The completion hears exactly once, unless the process ends before: false and an empty text,
    /// at once, when the configuration does not allow the purpose or the view is no web view, and later when
    /// the page does not answer. An answer that is no text is an empty one and a success.
    static void getNewHTMLForView(
        const std::shared_ptr<Object>& view, HTMLPurpose purpose, const HTMLCompletion& completion);
};

} // namespace lumora
