#include "processing/LMHTMLGrabber.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "platform/webkit/WKWebView.h"
#include "support/Guarded.h"

#include <atomic>
#include <utility>

namespace lumora {

using HTMLCompletion = LMAdViewProcessor::HTMLCompletion;
using HTMLPurpose = LMAdViewProcessor::HTMLPurpose;

namespace {

/// Seconds until a page that does not answer, because its scripts never end, counts as one without markup.
constexpr double patience = 10;

bool isAllowed(HTMLPurpose purpose)
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

/// One question to a page. It is answered once: by the page, by its patience, or when whoever has taken the
/// script drops it; until then it keeps the page's view. Any thread; the completion runs on the main thread.
class Question {
public:
    Question(std::shared_ptr<WKWebView> page, HTMLCompletion completion)
        : m_page(std::move(page))
        , m_completion(std::move(completion))
    {
    }
    ~Question() { answer(false, ""); }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    void answer(bool success, const std::string& html)
    {
        if (m_isAnswered.exchange(true))
            return;
        // The view dies on the main thread, also when this was the last reference.
        auto tell = [page = std::move(m_page), completion = std::move(m_completion), success, html] {
            callCompletion(completion, success, html);
        };
        onMainThread(std::move(tell));
    }

private:
    std::shared_ptr<WKWebView> m_page;
    HTMLCompletion m_completion;
    std::atomic<bool> m_isAnswered { false };
};

void ask(const std::shared_ptr<WKWebView>& page, const HTMLCompletion& completion)
{
    const auto question = std::make_shared<Question>(page, completion);
    guarded([&] {
        send(page, sel::evaluateJavaScript, "document.documentElement.outerHTML.toString()",
            WKScriptCompletion { [question](const Value& html, const std::optional<NSError>& error) {
                question->answer(!error, error ? "" : html.stringOrEmpty());
            } });
    });
    dispatch_get_main_queue().asyncAfter(patience, [waiting = std::weak_ptr(question)] {
        if (const auto unanswered = waiting.lock())
            unanswered->answer(false, "");
    });
}

} // namespace

void LMHTMLGrabber::getNewHTMLForView(
    const std::shared_ptr<Object>& view, HTMLPurpose purpose, const HTMLCompletion& completion)
{
    const auto page = as<WKWebView>(view);
    if (!isAllowed(purpose) || !page)
        return callCompletion(completion, false, std::string {});
    dispatch_get_main_queue().async([page, completion] { ask(page, completion); });
}

} // namespace lumora
