#include "processing/FramePages.h"

#include "platform/webkit/WKWebView.h"
#include "processing/LMAdViewProcessor.h"
#include "processing/PageQuestion.h"
#include "support/Guarded.h"

#include <algorithm>

namespace lumora {

namespace {

constexpr CGRect outOfSight { { -10, -10 }, { 5, 5 } };
constexpr int64_t audio = 1;
/// Seconds until a page that neither finishes nor fails, as one that is served without end, is given up.
constexpr double patience = 60;
/// A page may say that it has any number of frames.
constexpr int64_t mostFrames = 100;

/// What a script answers before the request for it returns; nothing otherwise.
Value answerAtOnce(WKWebView& page, const std::string& script)
{
    const auto answer = std::make_shared<Value>();
    guarded([&] {
        send(&page, sel::evaluateJavaScript, script,
            WKScriptCompletion {
                [answer](const Value& result, const std::optional<NSError>&) { *answer = result; } });
    });
    return *answer;
}

std::vector<std::string> framesOf(WKWebView& page)
{
    const std::string frames = "document.getElementsByTagName(\"iframe\")";
    std::vector<std::string> urls;
    const int64_t count = std::min(answerAtOnce(page, frames + ".length").integerValue(), mostFrames);
    for (int64_t i = 0; i < count; i++) {
        const Value url = answerAtOnce(page, frames + "[" + std::to_string(i) + "].src");
        if (url.string())
            urls.push_back(*url.string());
    }
    return urls;
}

} // namespace

const ClassDescription& FramePages::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<FramePages, NSObject>("FramePages")
            .method<&FramePages::didFinishNavigation>(sel::webViewDidFinishNavigation)
            .method<&FramePages::didFailNavigation>(sel::webViewDidFailNavigation)
            .method<&FramePages::didFailNavigation>(sel::webViewDidFailProvisionalNavigation)
            .method<&FramePages::giveUp>(sel::webViewWebContentProcessDidTerminate)
            .protocol("WKNavigationDelegate"));
    return description;
}
static const RegisteredClass registered { &FramePages::classDescription };

std::shared_ptr<WKWebView> FramePages::pageWithFrames(const LMAdViewProcessor& processor)
{
    return processor.html().find("<iframe") == std::string::npos ? nullptr
                                                                 : as<WKWebView>(processor.adObject());
}

void FramePages::processorIframesContainsURL(const std::shared_ptr<LMAdViewProcessor>& processor,
    const std::string& url, const std::function<void(bool)>& completionHandler)
{
    const auto page = pageWithFrames(*processor);
    if (!page)
        return callCompletion(completionHandler, false);
    dispatch_get_main_queue().async([self = retain(this), page, url, completionHandler] {
        const std::vector<std::string> frames = framesOf(*page);
        if (frames.empty())
            return callCompletion(completionHandler, false);
        const auto isFound = std::make_shared<bool>(false);
        self->m_webViewCompletionBlock
            = [isFound, url](const std::optional<std::string>& html, const std::optional<NSError>& error) {
                  if (!error && html && !url.empty() && html->find(url) != std::string::npos)
                      *isFound = true;
              };
        for (const std::string& frame : frames)
            self->getHTMLsFromLink(frame);
        self->m_tasks.notify(dispatch_get_main_queue(),
            [isFound, completionHandler] { callCompletion(completionHandler, *isFound); });
    });
}

void FramePages::getHTMLsFromLink(const std::string& url)
{
    if (url.empty())
        return;
    m_tasks.enter();
    const auto configuration = make<WKWebViewConfiguration>();
    configuration->setAllowsInlineMediaPlayback(false);
    configuration->setMediaTypesRequiringUserActionForPlayback(audio);
    auto page = alloc<WKWebView>();
    send(page, sel::initWithFrameConfiguration, outOfSight, configuration);
    page->setHidden(true);
    m_webViewArray.push_back(page);
    // Past the library's own hook: this page is no ad.
    page->setNavigationDelegate(this);
    page->loadRequest({ .url = url });
    dispatch_get_main_queue().asyncAfter(patience,
        [self = retain(this), waiting = std::weak_ptr(page)] { self->giveUp(waiting.lock().get()); });
}

void FramePages::didFinishNavigation(Object* webView, Object*)
{
    const auto page = takeHiddenWebView(webView);
    if (!page)
        return;
    askPage(page, "document.documentElement.outerHTML", [self = retain(this)](bool, const Value& html) {
        self->finishLoad(html.string() ? std::optional { *html.string() } : std::nullopt, std::nullopt);
    });
    page->setHidden(true);
    page->loadHTMLString("", "");
}

void FramePages::didFailNavigation(Object* webView, Object*, const NSError& error)
{
    if (const auto page = takeHiddenWebView(webView))
        finishLoad(std::nullopt, error);
}

void FramePages::giveUp(Object* webView)
{
    if (const auto page = takeHiddenWebView(webView))
        finishLoad(std::nullopt, std::nullopt);
}

std::shared_ptr<WKWebView> FramePages::takeHiddenWebView(Object* webView)
{
    const auto found = std::find_if(m_webViewArray.begin(), m_webViewArray.end(),
        [&](const auto& hidden) { return hidden.get() == webView; });
    if (found == m_webViewArray.end())
        return nullptr;
    auto page = *found;
    m_webViewArray.erase(found);
    page->setNavigationDelegate(nullptr);
    return page;
}

void FramePages::finishLoad(const std::optional<std::string>& html, const std::optional<NSError>& error)
{
    callCompletion(m_webViewCompletionBlock, html, error);
    m_tasks.leave();
}

} // namespace lumora
