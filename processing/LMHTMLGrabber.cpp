#include "processing/LMHTMLGrabber.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "platform/webkit/WKWebView.h"
#include "support/Guarded.h"

#include <utility>

namespace lumora {

using HTMLPurpose = LMAdViewProcessor::HTMLPurpose;

static bool isAllowed(HTMLPurpose purpose)
{
    const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig();
    switch (purpose) {
    case HTMLPurpose::Inspection:
        return config && config->inspectHTML().boolValue();
    case HTMLPurpose::Report:
        return config && config->reportHTML().boolValue();
    case HTMLPurpose::Event:
        return config && config->eventHTML().boolValue();
    case HTMLPurpose::AdRecord:
        break;
    }
    return true;
}

void LMHTMLGrabber::getNewHTMLForView(const std::shared_ptr<Object>& view, HTMLPurpose purpose,
    const LMAdViewProcessor::HTMLCompletion& completion)
{
    const auto webView = as<WKWebView>(view);
    if (!isAllowed(purpose) || !webView)
        return completion(false, "");
    dispatch_get_main_queue().async([webView, completion] {
        // Whoever hooks the web view may raise after it has taken the script, or answer twice.
        const auto once = [completion, isAnswered = std::make_shared<bool>(false)](
                              bool success, const std::string& html) {
            if (!std::exchange(*isAnswered, true))
                completion(success, html);
        };
        const bool isAsked = guarded([&] {
            send(webView, sel::evaluateJavaScript, "document.documentElement.outerHTML.toString()",
                WKScriptCompletion { [webView, once](const Value& html, const std::optional<NSError>& error) {
                    once(!error, error ? "" : html.stringOrEmpty());
                } });
        });
        if (!isAsked)
            once(false, "");
    });
}

} // namespace lumora
