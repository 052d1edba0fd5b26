#include "platform/webkit/PageEngine.h"

#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "platform/webkit/HTMLPainter.h"
#include "platform/webkit/HTMLTokenizer.h"

#include <charconv>

namespace lumora {

namespace {

constexpr auto npos = std::string_view::npos;
constexpr const char* blankURL = "about:blank";

std::string withoutFragment(std::string_view url) { return std::string { url.substr(0, url.find('#')) }; }

/// The scheme with its colon; empty for a relative reference.
std::string_view schemeOf(std::string_view url)
{
    const size_t colon = url.find_first_of(":/?#");
    return colon != npos && colon > 0 && url[colon] == ':' ? url.substr(0, colon + 1) : std::string_view {};
}

/// A path without its "." and ".." parts.
std::string normalizedPath(std::string_view path)
{
    std::vector<std::string_view> parts;
    bool folder = false;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(part.size());
        folder = part == "." || part == "..";
        if (part == ".." && !parts.empty())
            parts.pop_back();
        if (!folder)
            parts.push_back(part);
    }
    std::string result;
    for (std::string_view part : parts)
        result.append("/").append(part);
    return folder || result.empty() ? result + "/" : result;
}

/// The address a reference in a page means; the reference itself where the page has no address that can be
/// built on.
std::string resolved(std::string_view reference, const std::string& base)
{
    const std::string_view scheme = schemeOf(base);
    const size_t rootStart = scheme.size() + 2;
    if (!schemeOf(reference).empty() || std::string_view { base }.substr(scheme.size(), 2) != "//")
        return std::string { reference };
    if (reference.starts_with("//"))
        return std::string { scheme } + std::string { reference };
    const std::string document = withoutFragment(base);
    if (reference.empty() || reference[0] == '#')
        return document + std::string { reference };
    const size_t pathStart = std::min(document.find_first_of("/?", rootStart), document.size());
    const std::string root = document.substr(0, pathStart);
    const std::string path = document.substr(pathStart, document.find('?', pathStart) - pathStart);
    if (reference[0] == '?')
        return root + (path.empty() ? "/" : path) + std::string { reference };
    const size_t pathEnd = std::min(reference.find_first_of("?#"), reference.size());
    std::string target { reference.substr(0, pathEnd) };
    if (target[0] != '/')
        target.insert(0, path.empty() ? "/" : path.substr(0, path.rfind('/') + 1));
    return root + normalizedPath(target) + std::string { reference.substr(pathEnd) };
}

std::string escapedText(std::string_view text)
{
    std::string result;
    for (char c : text)
        result += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    return result;
}

/// The page that shows what an address answered.
std::string pageOf(const NSHTTPURLResponse& response, std::string body)
{
    const std::string* field = response.headerFields.find("Content-Type");
    const std::string type = lowercased(field ? *field : "text/html");
    if (type.find("html") != npos)
        return body;
    return type.starts_with("text/") ? "<pre>" + escapedText(body) + "</pre>" : std::string {};
}

/// A script that is a literal: its value.
std::optional<Value> literal(std::string_view script)
{
    if (script == "undefined")
        return Value {};
    if (script == "null")
        return Value { NSNull {} };
    if (script == "true" || script == "false")
        return Value { script == "true" };
    if (script.size() >= 2 && (script[0] == '"' || script[0] == '\'') && script.back() == script[0]) {
        const std::string_view content = script.substr(1, script.size() - 2);
        const bool plain = content.find_first_of(std::string { '\\', '\n', script[0] }) == npos;
        return plain ? std::optional<Value> { std::string { content } } : std::nullopt;
    }
    const bool number = !script.empty() && script.find_first_not_of("-0123456789.") == npos;
    return number ? numberFromText(script) : std::nullopt;
}

/// The text between the end of the first start tag of an element and its last end tag; nothing without the
/// start tag.
struct Extent {
    size_t tagBegin;
    size_t contentBegin;
    size_t contentEnd;
    size_t tagEnd;
};
std::optional<Extent> extentOf(std::string_view html, std::string_view element)
{
    std::optional<Extent> extent;
    HTMLTokenizer tokens(html);
    for (HTMLToken token; tokens.next(token);) {
        if (token.name != element)
            continue;
        if (token.kind == HTMLToken::Kind::StartTag && !extent)
            extent = Extent { token.begin, token.end, html.size(), html.size() };
        else if (token.kind == HTMLToken::Kind::EndTag && extent) {
            extent->contentEnd = token.begin;
            extent->tagEnd = token.end;
        }
    }
    return extent;
}

NSError notAllowed()
{
    return { WebKitErrorDomain, WebKitErrorFrameLoadInterruptedByPolicyChange, "the load was not allowed" };
}

/// Whether a link's target is none of the frames that every page has.
bool namesAnotherWindow(const std::string& target)
{
    for (std::string_view own : { "", "_self", "_parent", "_top" }) {
        if (equalIgnoringCase(target, own))
            return false;
    }
    return true;
}

} // namespace

void PageEngine::setClient(WebEngineClient* client)
{
    m_client = client;
    if (!client)
        m_load.reset();
}

WebLoad PageEngine::loadHTML(std::string html, std::string baseURL)
{
    Load load;
    load.request.url = baseURL.empty() ? blankURL : std::move(baseURL);
    load.html = std::move(html);
    return begin(std::move(load));
}

WebLoad PageEngine::loadRequest(NSMutableURLRequest request)
{
    Load load;
    load.request = std::move(request);
    if (load.request.url == blankURL)
        load.html.emplace();
    return begin(std::move(load));
}

WebLoad PageEngine::reload()
{
    if (m_page.url.empty())
        return 0;
    Load load;
    load.request.url = m_page.url;
    load.type = WKNavigationType::Reload;
    if (m_page.given)
        load.html = m_page.html;
    return begin(std::move(load));
}

void PageEngine::stopLoading() { cancelCurrent(); }

WebLoad PageEngine::begin(Load load)
{
    cancelCurrent();
    load.number = ++m_lastNumber;
    m_load = std::move(load);
    then(m_lastNumber, 0, &PageEngine::askForAction);
    return m_lastNumber;
}

void PageEngine::then(WebLoad number, double seconds, Step step)
{
    auto task = [weakSelf = weak_from_this(), number, step] {
        const auto self = weakSelf.lock();
        if (self && self->m_client && self->isCurrent(number))
            ((*self).*step)(number);
    };
    if (seconds > 0)
        dispatch_get_main_queue().asyncAfter(seconds, task);
    else
        dispatch_get_main_queue().async(task);
}

WebEngineClient::Decision PageEngine::decision(
    WebLoad number, std::function<void(PageEngine&, bool)> continuation)
{
    return [weakSelf = weak_from_this(), number, continuation = std::move(continuation)](bool allow) {
        const auto self = weakSelf.lock();
        if (self && self->m_client && self->isCurrent(number))
            continuation(*self, allow);
    };
}

void PageEngine::askForAction(WebLoad number)
{
    const WebAction action { m_load->request, m_load->type };
    m_client->decideAction(number, action, decision(number, [number](PageEngine& self, bool allow) {
        const std::string& target = self.m_load->request.url;
        const bool samePage
            = target.find('#') != npos && withoutFragment(target) == withoutFragment(self.m_page.url);
        if (allow && !(samePage && self.m_load->type == WKNavigationType::LinkActivated)) {
            self.start(number);
            return;
        }
        if (allow)
            self.m_page.url = target;
        self.m_load.reset();
        self.m_client->didRefuse(number);
    }));
}

void PageEngine::start(WebLoad number)
{
    m_client->didStart(number);
    if (!m_client || !isCurrent(number))
        return;
    if (m_load->html) {
        arrive(number, { m_load->request.url, 0, {} }, std::move(*m_load->html), true);
        return;
    }
    const std::string_view scheme = schemeOf(m_load->request.url);
    if (!equalIgnoringCase(scheme, "http:") && !equalIgnoringCase(scheme, "https:")) {
        fail(number, { NSURLErrorDomain, NSURLErrorUnsupportedURL, "unsupported URL" });
        return;
    }
    NSURLSession::sharedSession().dataTaskWithRequest(m_load->request,
        [weakSelf = weak_from_this(), number](const NSData& body,
            const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error) {
            dispatch_get_main_queue().async(
                [weakSelf, number, html = std::string { body.view() }, response, error] {
                    const auto self = weakSelf.lock();
                    if (!self || !self->m_client || !self->isCurrent(number))
                        return;
                    if (response && response->bodyIsLeftOut)
                        self->fail(number,
                            { NSURLErrorDomain, NSURLErrorDataLengthExceedsMaximum, "the page is too long" });
                    else if (response)
                        self->redirect(number, *response, pageOf(*response, html));
                    else
                        self->fail(number,
                            error.value_or(NSError { NSURLErrorDomain, NSURLErrorUnknown, "no answer" }));
                });
        });
}

void PageEngine::redirect(WebLoad number, const NSHTTPURLResponse& response, std::string html)
{
    if (response.url == m_load->request.url) {
        arrive(number, response, std::move(html), false);
        return;
    }
    auto follow = [number, response, html = std::move(html)](PageEngine& self, bool allow) {
        if (!allow) {
            self.fail(number, notAllowed());
            return;
        }
        self.m_load->request.url = response.url;
        self.m_client->didRedirect(number);
        if (self.m_client && self.isCurrent(number))
            self.arrive(number, response, html, false);
    };
    WebAction action { m_load->request };
    action.request.url = response.url;
    m_client->decideAction(number, action, decision(number, std::move(follow)));
}

void PageEngine::arrive(WebLoad number, const NSHTTPURLResponse& response, std::string html, bool given)
{
    auto commit = [number, html = std::move(html), given](PageEngine& self, bool allow) {
        if (!allow) {
            self.fail(number, notAllowed());
            return;
        }
        self.m_page = { self.m_load->request.url, html, given, std::nullopt, {}, {}, 0 };
        self.m_load->committed = true;
        self.then(number, loadingTime, &PageEngine::finish);
        self.m_client->didCommit(number);
    };
    m_client->decideResponse(number, response, decision(number, std::move(commit)));
}

void PageEngine::finish(WebLoad number)
{
    m_load.reset();
    m_client->didFinish(number);
}

void PageEngine::fail(WebLoad number, const NSError& error)
{
    const bool provisional = !m_load->committed;
    m_load.reset();
    m_client->didFail(number, error, provisional);
}

void PageEngine::cancelCurrent()
{
    if (!m_load)
        return;
    dispatch_get_main_queue().async(
        [weakSelf = weak_from_this(), number = m_load->number, provisional = !m_load->committed] {
            const auto self = weakSelf.lock();
            if (self && self->m_client)
                self->m_client->didFail(
                    number, { NSURLErrorDomain, NSURLErrorCancelled, "cancelled" }, provisional);
        });
    m_load.reset();
}

const PageEngine::Facts& PageEngine::facts()
{
    if (m_page.facts)
        return *m_page.facts;
    Facts& facts = m_page.facts.emplace();
    facts.baseURL = m_page.url;
    bool titleSeen = false;
    HTMLTokenizer tokens(m_page.html);
    for (HTMLToken token; tokens.next(token);) {
        if (token.kind != HTMLToken::Kind::StartTag)
            continue;
        const std::string_view* source = token.attribute("src");
        const std::string_view* target = token.attribute("href");
        if (token.name == "base" && target && facts.baseURL == m_page.url)
            facts.baseURL = resolved(trimmed(decodedHTML(*target)), m_page.url);
        else if (token.name == "iframe")
            facts.frameSources.push_back(
                source ? resolved(trimmed(decodedHTML(*source)), facts.baseURL) : std::string {});
        else if (token.name == "title" && !titleSeen && tokens.next(token)
            && token.kind == HTMLToken::Kind::Text) {
            facts.title = trimmed(decodedHTML(token.text));
            titleSeen = true;
        }
    }
    return facts;
}

void PageEngine::evaluate(std::string script, ScriptCompletion completion)
{
    dispatch_get_main_queue().async(
        [weakSelf = weak_from_this(), script = std::move(script), completion = std::move(completion)] {
            const auto self = weakSelf.lock();
            if (!self) {
                completion({}, NSError { WKErrorDomain, WKErrorWebViewInvalidated, "the web view is gone" });
                return;
            }
            if (const std::optional<Value> result = self->answer(script)) {
                completion(*result, std::nullopt);
                return;
            }
            constexpr size_t enough = 80;
            completion({},
                NSError { WKErrorDomain, WKErrorJavaScriptExceptionOccurred,
                    "this engine does not run: " + script.substr(0, enough) });
        });
}

std::optional<Value> PageEngine::answer(std::string_view script)
{
    std::string question = trimmed(script);
    while (question.ends_with(";"))
        question = trimmed(std::string_view { question }.substr(0, question.size() - 1));
    constexpr std::string_view toString = ".toString()";
    const bool asText = question.ends_with(toString);
    if (asText)
        question.resize(question.size() - toString.size());

    if (question == "document.documentElement.outerHTML")
        return Value { outerHTML() };
    if (question == "document.body.innerHTML")
        return Value { bodyHTML() };
    if (question == "document.title")
        return Value { title() };
    if (question == "document.readyState")
        return Value { m_load && m_load->committed ? "loading" : "complete" };
    if (question == "window.location.href" || question == "document.location.href"
        || question == "location.href" || question == "document.URL")
        return Value { m_page.url.empty() ? blankURL : m_page.url };
    if (asText)
        return std::nullopt;
    const std::optional<Value> aboutFrames = answerAboutFrames(question);
    return aboutFrames ? aboutFrames : literal(question);
}

std::optional<Value> PageEngine::answerAboutFrames(std::string_view question)
{
    constexpr std::string_view frames = "document.getElementsByTagName(\"iframe\")";
    if (!question.starts_with(frames))
        return std::nullopt;
    question.remove_prefix(frames.size());
    if (question == ".length")
        return Value { static_cast<int64_t>(facts().frameSources.size()) };
    size_t index = 0;
    const char* end = question.data() + question.size();
    if (!question.starts_with("["))
        return std::nullopt;
    const auto [rest, error] = std::from_chars(question.data() + 1, end, index);
    const bool asksForSource
        = error == std::errc {} && std::string_view { rest, size_t(end - rest) } == "].src";
    return asksForSource && index < facts().frameSources.size()
        ? std::optional<Value> { facts().frameSources[index] }
        : std::nullopt;
}

std::string PageEngine::outerHTML() const
{
    const std::optional<Extent> root = extentOf(m_page.html, "html");
    if (root)
        return m_page.html.substr(root->tagBegin, root->contentEnd - root->tagBegin) + "</html>";
    // A page always has these elements, whether it says so or not.
    if (extentOf(m_page.html, "body") || extentOf(m_page.html, "head"))
        return "<html>" + m_page.html + "</html>";
    return "<html><head></head><body>" + m_page.html + "</body></html>";
}

std::string PageEngine::bodyHTML() const
{
    if (const std::optional<Extent> body = extentOf(m_page.html, "body"))
        return m_page.html.substr(body->contentBegin, body->contentEnd - body->contentBegin);
    const std::optional<Extent> root = extentOf(m_page.html, "html");
    const std::string content
        = root ? m_page.html.substr(root->contentBegin, root->contentEnd - root->contentBegin) : m_page.html;
    const std::optional<Extent> head = extentOf(content, "head");
    return head ? content.substr(head->tagEnd) : content;
}

void PageEngine::tapAt(CGPoint point, CGSize size)
{
    const std::optional<HTMLLink> link = linkAtPoint(m_page.html, size, point);
    if (!link)
        return;
    Load load;
    load.request.url = resolved(trimmed(link->address), facts().baseURL);
    load.type = WKNavigationType::LinkActivated;
    // A link that is a script goes nowhere.
    if (equalIgnoringCase(schemeOf(load.request.url), "javascript:"))
        return;
    if (namesAnotherWindow(link->target))
        askForWindow(std::move(load.request));
    else
        begin(std::move(load));
}

void PageEngine::askForWindow(NSMutableURLRequest request)
{
    dispatch_get_main_queue().async([weakSelf = weak_from_this(), request = std::move(request)] {
        const auto self = weakSelf.lock();
        if (self && self->m_client)
            self->m_client->decideAction(
                0, { request, WKNavigationType::LinkActivated, WKNavigationTarget::NewWindow }, [](bool) {});
    });
}

UIImage PageEngine::snapshot(CGSize size, double scale)
{
    if (m_page.picture.isNull() || m_page.pictureSize != size || m_page.pictureScale != scale) {
        m_page.picture = paintHTML(m_page.html, size, scale);
        m_page.pictureSize = size;
        m_page.pictureScale = scale;
    }
    return m_page.picture;
}

} // namespace lumora
