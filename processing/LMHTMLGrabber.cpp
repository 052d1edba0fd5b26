#include "processing/LMHTMLGrabber.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "platform/webkit/WKWebView.h"
#include "processing/PageQuestion.h"
#include "support/Guarded.h"

namespace lumora {

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

void LMHTMLGrabber::getNewHTMLForView(
    const std::shared_ptr<Object>& view, HTMLPurpose purpose, const HTMLCompletion& completion)
{
    const auto page = as<WKWebView>(view);
    if (!isAllowed(purpose) || !page)
        return callCompletion(completion, false, std::string {});
    dispatch_get_main_queue().async([page, completion] {
        askPage(page, "document.documentElement.outerHTML.toString()",
            [completion](bool success, const Value& html) {
                callCompletion(completion, success, html.stringOrEmpty());
            });
    });
}

} // namespace lumora
