#pragma once

#include "processing/LMAdViewProcessor.h"

namespace lumora {

/// The one way to an ad's markup. Stateless; main thread.
class LMHTMLGrabber {
public:
    /// Reads the markup of a web view on the main queue's next turn; the view is kept until its page has
    /// answered. The completion hears exactly once: false and an empty text, at once, when the configuration
    /// does not allow the purpose or the view is no web view, and later when its script fails or has not
    /// ended after 10 seconds. A page without a document is an empty text and a success.
    static void getNewHTMLForView(const std::shared_ptr<Object>& view, LMAdViewProcessor::HTMLPurpose purpose,
        const LMAdViewProcessor::HTMLCompletion& completion);
};

} // namespace lumora
