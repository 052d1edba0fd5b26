#include "platform/webkit/WebKitEngine.h"

#include "platform/foundation/NSString.h"
#include "platform/linux/WebKitPage.h"
#include "platform/process/ProcessLocal.h"

#include <cmath>

namespace lumora {

namespace {

struct SharedSession {
    std::shared_ptr<WebKitSession> session { std::make_shared<WebKitSession>() };
};
const ProcessLocal<SharedSession> s_session;
const ProcessOnce s_saidUnshielded;

constexpr const char* blankURL = "about:blank";

NSError notAllowed()
{
    return { WebKitErrorDomain, WebKitErrorFrameLoadInterruptedByPolicyChange, "the load was not allowed" };
}

UIImage whiteImage(CGSize size)
{
    constexpr double longestSide = 4096;
    const auto width = static_cast<int>(std::clamp(std::ceil(size.width), 1.0, longestSide));
    const auto height = static_cast<int>(std::clamp(std::ceil(size.height), 1.0, longestSide));
    return { width, height, std::vector<uint8_t>(size_t(width) * size_t(height) * 4, 255) };
}

/// The side of the real engine that its web view meets: it knows how far a load is, asks for leave, and takes
/// what its page on the engine's thread tells when it still matters. Main thread only.
class WebKitEngine final : public WebEngine,
                           private WebKitPageHost,
                           public std::enable_shared_from_this<WebKitEngine> {
public:
    static std::shared_ptr<WebKitEngine> open();
    ~WebKitEngine() override;

    void setClient(WebEngineClient* client) override;
    void setSize(CGSize size) override;
    WebLoad loadHTML(std::string html, std::string baseURL) override;
    WebLoad loadRequest(NSMutableURLRequest request) override;
    WebLoad reload() override;
    void stopLoading() override;
    bool isLoading() const override { return m_load.has_value(); }
    const std::string& url() const override { return m_page.request.url; }
    std::string title() override { return m_title; }
    void evaluate(std::string script, ScriptCompletion completion) override;
    void tapAt(CGPoint point, CGSize size) override;
    UIImage snapshot(CGSize size, double scale) override;

private:
    struct Load {
        WebLoad number { 0 };
        WebKitPage::Source source;
        WKNavigationType type { WKNavigationType::Other };
        bool started { false };
        bool answered { false };
        bool committed { false };
    };

    WebLoad begin(Load load);
    void askForAction();
    /// The answer of a client to something about a load; ignored when that is over.
    WebEngineClient::Decision decision(WebLoad number, std::function<void(WebKitEngine&, bool)> continuation);
    void startGiven(WebLoad number);
    void send(WebLoad number);
    void expectAnswer(WebLoad number);
    void fail(const NSError& error);
    void cancelCurrent();
    void tellCancelled(const Load& load);
    bool isCurrent(WebLoad number) const { return m_load && m_load->number == number; }
    void toPage(std::function<void(WebKitPage&)> task);
    void askForPicture();
    void endScripts(int code, const char* why);
    void endEverything();

    void actionAsked(Question question, WebLoad load, const WebAction& action) override;
    void redirectAsked(Question question, WebLoad load, const WebAction& action);
    void responseAsked(Question question, WebLoad load, const NSHTTPURLResponse& response) override;
    void started(WebLoad load) override;
    void redirected(WebLoad load) override;
    void committed(WebLoad load, const std::string& url) override;
    void finished(WebLoad load) override;
    void failed(WebLoad load, const NSError& error) override;
    void refused(WebLoad load) override;
    void moved(const std::string& url) override;
    void titled(const std::string& title) override { m_title = title; }
    void scriptAnswered(uint64_t script, const Value& result, const std::optional<NSError>& error) override;
    void drawn(const UIImage& picture) override;
    void terminated() override;

    WebEngineClient* m_client { nullptr };
    std::shared_ptr<WebKitHostLink> m_link;
    std::shared_ptr<WebKitPage> m_webPage;
    // The page that is there, and what it came from.
    WebKitPage::Source m_page;
    std::string m_title;
    std::optional<Load> m_load;
    // The page's own load that was allowed and has yet to start.
    Load m_allowed;
    std::map<uint64_t, ScriptCompletion> m_scripts;
    uint64_t m_lastScript { 0 };
    CGSize m_size;
    UIImage m_picture;
    bool m_awaitsPicture { false };
    // Asked for while another was on its way.
    bool m_wantsPicture { false };
};

std::shared_ptr<WebKitEngine> WebKitEngine::open()
{
    auto engine = std::make_shared<WebKitEngine>();
    engine->m_link = std::make_shared<WebKitHostLink>(
        Process::current(), std::shared_ptr<WebKitPageHost>(engine, engine.get()));
    engine->m_webPage = std::make_shared<WebKitPage>(s_session.get().session, engine->m_link);
    engine->toPage([](WebKitPage& page) { page.open(); });
    return engine;
}

WebKitEngine::~WebKitEngine()
{
    m_link->cut();
    toPage([](WebKitPage& page) { page.close(); });
    endScripts(WKErrorWebViewInvalidated, "the web view is gone");
}

void WebKitEngine::toPage(std::function<void(WebKitPage&)> task)
{
    if (WebKitThread::instance().post([page = m_webPage, task = std::move(task)] { task(*page); }))
        return;
    // The engine is gone for good.
    dispatch_get_main_queue().async([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock())
            self->endEverything();
    });
}

void WebKitEngine::endScripts(int code, const char* why)
{
    for (auto& [script, completion] : std::exchange(m_scripts, {}))
        dispatch_get_main_queue().async([completion = std::move(completion), code, why] {
            completion({}, NSError { WKErrorDomain, code, why });
        });
}

void WebKitEngine::setClient(WebEngineClient* client)
{
    m_client = client;
    if (client)
        return;
    m_load.reset();
    m_allowed = {};
    toPage([](WebKitPage& page) { page.stop(); });
}

void WebKitEngine::setSize(CGSize size)
{
    if (size == m_size || !(size.width > 0 && size.height > 0))
        return;
    m_size = size;
    toPage([size](WebKitPage& page) { page.setSize(size); });
}

WebLoad WebKitEngine::loadHTML(std::string html, std::string baseURL)
{
    Load load;
    load.source.request.url = baseURL.empty() ? blankURL : repairedUTF8(baseURL);
    load.source.html = std::make_shared<const std::string>(std::move(html));
    return begin(std::move(load));
}

WebLoad WebKitEngine::loadRequest(NSMutableURLRequest request)
{
    Load load;
    load.source.request = std::move(request);
    load.source.request.url = repairedUTF8(load.source.request.url);
    if (load.source.request.url == blankURL)
        load.source.html = std::make_shared<const std::string>();
    return begin(std::move(load));
}

WebLoad WebKitEngine::reload()
{
    if (url().empty())
        return 0;
    Load load;
    load.source = m_page;
    load.type = WKNavigationType::Reload;
    return begin(std::move(load));
}

void WebKitEngine::stopLoading() { cancelCurrent(); }

WebLoad WebKitEngine::begin(Load load)
{
    cancelCurrent();
    load.number = m_link->nextLoad();
    m_load = std::move(load);
    dispatch_get_main_queue().async([weakSelf = weak_from_this(), number = m_load->number] {
        const auto self = weakSelf.lock();
        if (self && self->m_client && self->isCurrent(number))
            self->askForAction();
    });
    return m_load->number;
}

WebEngineClient::Decision WebKitEngine::decision(
    WebLoad number, std::function<void(WebKitEngine&, bool)> continuation)
{
    return [weakSelf = weak_from_this(), number, continuation = std::move(continuation)](bool allow) {
        const auto self = weakSelf.lock();
        if (self && self->m_client && self->isCurrent(number))
            continuation(*self, allow);
    };
}

void WebKitEngine::askForAction()
{
    const WebLoad number = m_load->number;
    const WebAction action { m_load->source.request, m_load->type };
    m_client->decideAction(number, action, decision(number, [number](WebKitEngine& self, bool allow) {
        if (!allow) {
            self.m_load.reset();
            self.m_client->didRefuse(number);
        } else if (self.m_load->source.html) {
            self.startGiven(number);
        } else {
            self.send(number);
        }
    }));
}

/// What needs no server starts at once, and its answer is asked about here: the engine would not.
void WebKitEngine::startGiven(WebLoad number)
{
    m_load->started = true;
    m_client->didStart(number);
    if (!m_client || !isCurrent(number))
        return;
    m_client->decideResponse(number, { m_load->source.request.url, 0, {} },
        decision(number, [number](WebKitEngine& self, bool allow) {
            if (allow)
                self.send(number);
            else
                self.fail(notAllowed());
        }));
}

void WebKitEngine::send(WebLoad number)
{
    toPage([number, source = m_load->source](WebKitPage& page) { page.load(number, source); });
    expectAnswer(number);
}

/// Some addresses give neither a page nor a failure.
void WebKitEngine::expectAnswer(WebLoad number)
{
    dispatch_get_main_queue().asyncAfter(
        m_load->source.request.timeoutInterval, [weakSelf = weak_from_this(), number] {
            const auto self = weakSelf.lock();
            if (!self || !self->isCurrent(number) || self->m_load->answered || self->m_load->committed)
                return;
            self->toPage([](WebKitPage& page) { page.stop(); });
            self->fail({ NSURLErrorDomain, NSURLErrorTimedOut, "the page did not answer in time" });
        });
}

void WebKitEngine::fail(const NSError& error)
{
    const Load load = *std::exchange(m_load, std::nullopt);
    if (m_client)
        m_client->didFail(load.number, error, !load.committed);
}

void WebKitEngine::cancelCurrent()
{
    if (!m_load && m_allowed.number == 0)
        return;
    m_allowed = {};
    toPage([](WebKitPage& page) { page.stop(); });
    if (m_load)
        tellCancelled(*std::exchange(m_load, std::nullopt));
}

void WebKitEngine::tellCancelled(const Load& load)
{
    dispatch_get_main_queue().async(
        [weakSelf = weak_from_this(), number = load.number, provisional = !load.committed] {
            const auto self = weakSelf.lock();
            if (self && self->m_client)
                self->m_client->didFail(
                    number, { NSURLErrorDomain, NSURLErrorCancelled, "cancelled" }, provisional);
        });
}

void WebKitEngine::actionAsked(Question question, WebLoad load, const WebAction& action)
{
    if (isCurrent(load)) {
        redirectAsked(question, load, action);
        return;
    }
    if (!m_client) {
        toPage([question](WebKitPage& page) { page.answer(question, false); });
        return;
    }
    m_client->decideAction(load, action, [weakSelf = weak_from_this(), question, load, action](bool allow) {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        if (load && allow) {
            self->m_allowed = {};
            self->m_allowed.number = load;
            self->m_allowed.source.request = action.request;
            self->m_allowed.type = action.type;
        }
        self->toPage([question, allow](WebKitPage& page) { page.answer(question, allow); });
        if (load && !allow && self->m_client)
            self->m_client->didRefuse(load);
    });
}

void WebKitEngine::redirectAsked(Question question, WebLoad load, const WebAction& action)
{
    if (!m_client)
        return;
    m_client->decideAction(load, action, decision(load, [question, action](WebKitEngine& self, bool allow) {
        self.m_load->source.request.url = action.request.url;
        self.toPage([question, allow](WebKitPage& page) { page.answer(question, allow); });
        if (!allow)
            self.fail(notAllowed());
    }));
}

void WebKitEngine::responseAsked(Question question, WebLoad load, const NSHTTPURLResponse& response)
{
    if (!m_client || !isCurrent(load))
        return;
    m_load->answered = true;
    m_client->decideResponse(load, response, decision(load, [question](WebKitEngine& self, bool allow) {
        self.toPage([question, allow](WebKitPage& page) { page.answer(question, allow); });
        if (!allow)
            self.fail(notAllowed());
    }));
}

void WebKitEngine::started(WebLoad load)
{
    if (load == m_allowed.number) {
        // One that the page began takes the place of what was under way.
        if (m_load)
            fail({ NSURLErrorDomain, NSURLErrorCancelled, "cancelled" });
        if (load != m_allowed.number)
            return;
        m_load = std::exchange(m_allowed, {});
        expectAnswer(load);
    }
    if (!isCurrent(load) || std::exchange(m_load->started, true))
        return;
    if (m_client)
        m_client->didStart(load);
}

void WebKitEngine::redirected(WebLoad load)
{
    if (m_client && isCurrent(load))
        m_client->didRedirect(load);
}

void WebKitEngine::committed(WebLoad load, const std::string& url)
{
    if (!isCurrent(load))
        return;
    m_load->committed = true;
    m_page = m_load->source;
    // A page that was given keeps the address as it was given.
    if (!m_page.html)
        m_page.request.url = url;
    if (m_client)
        m_client->didCommit(load);
}

void WebKitEngine::finished(WebLoad load)
{
    if (!isCurrent(load))
        return;
    m_load.reset();
    askForPicture();
    if (m_client)
        m_client->didFinish(load);
}

void WebKitEngine::failed(WebLoad load, const NSError& error)
{
    if (isCurrent(load))
        fail(error);
}

void WebKitEngine::refused(WebLoad load)
{
    if (load == m_allowed.number)
        m_allowed = {};
    if (m_client && !isCurrent(load))
        m_client->didRefuse(load);
}

void WebKitEngine::moved(const std::string& url)
{
    if (!m_page.request.url.empty() && (!m_load || m_load->committed))
        m_page.request.url = url;
}

void WebKitEngine::evaluate(std::string script, ScriptCompletion completion)
{
    const uint64_t number = ++m_lastScript;
    m_scripts[number] = std::move(completion);
    toPage([number, text = repairedUTF8(script)](WebKitPage& page) { page.evaluate(number, text); });
}

void WebKitEngine::scriptAnswered(uint64_t script, const Value& result, const std::optional<NSError>& error)
{
    const auto found = m_scripts.find(script);
    if (found == m_scripts.end())
        return;
    const ScriptCompletion completion = std::move(found->second);
    m_scripts.erase(found);
    completion(result, error);
}

void WebKitEngine::tapAt(CGPoint point, CGSize size)
{
    setSize(size);
    toPage([point](WebKitPage& page) { page.tapAt(point); });
}

UIImage WebKitEngine::snapshot(CGSize size, double)
{
    setSize(size);
    askForPicture();
    return m_picture.isNull() ? whiteImage(size) : m_picture;
}

void WebKitEngine::askForPicture()
{
    m_wantsPicture = m_awaitsPicture;
    if (std::exchange(m_awaitsPicture, true))
        return;
    toPage([](WebKitPage& page) { page.draw(); });
}

void WebKitEngine::drawn(const UIImage& picture)
{
    if (!picture.isNull())
        m_picture = picture;
    m_awaitsPicture = false;
    if (std::exchange(m_wantsPicture, false))
        askForPicture();
}

void WebKitEngine::endEverything()
{
    const char* why = "the page's process ended";
    endScripts(WKErrorWebContentProcessTerminated, why);
    if (m_load)
        fail({ WKErrorDomain, WKErrorWebContentProcessTerminated, why });
}

void WebKitEngine::terminated()
{
    m_allowed = {};
    m_awaitsPicture = m_wantsPicture = false;
    endEverything();
    if (m_client)
        m_client->didTerminate();
}

} // namespace

const std::string& webKitEngineProblem() { return WebKitThread::instance().problem(); }

std::shared_ptr<WebEngine> makeWebKitEngine()
{
    if (!WebKitThread::instance().isRunning())
        return nullptr;
    s_saidUnshielded.run([] {
        if (!WebKitThread::instance().isSandboxed())
            Process::current().log(
                "web pages run without a sandbox: bubblewrap or xdg-dbus-proxy does not work");
    });
    return WebKitEngine::open();
}

} // namespace lumora
