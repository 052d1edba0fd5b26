#include "processing/PageQuestion.h"

#include "platform/dispatch/Executor.h"
#include "platform/webkit/WKWebView.h"
#include "support/Guarded.h"

#include <atomic>
#include <utility>

namespace lumora {

namespace {

/// Seconds until a page that does not answer, because its scripts never end, counts as one that cannot.
constexpr double patience = 10;

using Completion = std::function<void(bool success, const Value& answer)>;

/// One question to a page. It is answered once: by the page, by its patience, or when whoever has taken the
/// script drops it; until then it keeps the page's view. Any thread; the completion runs on the main thread.
class Question {
public:
    Question(std::shared_ptr<WKWebView> page, Completion completion)
        : m_page(std::move(page))
        , m_completion(std::move(completion))
    {
    }
    ~Question() { answer(false, {}); }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    void answer(bool success, const Value& value)
    {
        if (m_isAnswered.exchange(true))
            return;
        // The view dies on the main thread, also when this was the last reference.
        auto tell = [page = std::move(m_page), completion = std::move(m_completion), success, value] {
            callCompletion(completion, success, value);
        };
        onMainThread(std::move(tell));
    }

private:
    std::shared_ptr<WKWebView> m_page;
    Completion m_completion;
    std::atomic<bool> m_isAnswered { false };
};

} // namespace

void askPage(const std::shared_ptr<WKWebView>& page, const std::string& script, const Completion& completion)
{
    const auto question = std::make_shared<Question>(page, completion);
    guarded([&] {
        send(page, sel::evaluateJavaScript, script,
            WKScriptCompletion { [question](const Value& answer, const std::optional<NSError>& error) {
                question->answer(!error, error ? Value {} : answer);
            } });
    });
    dispatch_get_main_queue().asyncAfter(patience, [waiting = std::weak_ptr(question)] {
        if (const auto unanswered = waiting.lock())
            unanswered->answer(false, {});
    });
}

} // namespace lumora
