#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/linux/WebKitThread.h"
#include "platform/process/Lock.h"
#include "platform/webkit/WebEngine.h"

#include <atomic>
#include <map>

using GtkWidget = struct _GtkWidget;
using WebKitPolicyDecision = struct _WebKitPolicyDecision;
using WebKitWebContext = struct _WebKitWebContext;
using WebKitWebView = struct _WebKitWebView;

namespace lumora {

/// What a page tells, on the main queue of the process it belongs to. Loads that the page began itself have
/// numbers from the same row as those it was given.
class WebKitPageHost {
public:
    /// Wants an answer by `WebKitPage::answer`; 0 wants none.
    using Question = uint64_t;

    virtual void actionAsked(Question question, WebLoad load, const WebAction& action) = 0;
    virtual void responseAsked(Question question, WebLoad load, const NSHTTPURLResponse& response) = 0;
    virtual void started(WebLoad load) = 0;
    virtual void redirected(WebLoad load) = 0;
    virtual void committed(WebLoad load, const std::string& url) = 0;
    virtual void finished(WebLoad load) = 0;
    virtual void failed(WebLoad load, const NSError& error) = 0;
    /// What was asked about and allowed did not become a load.
    virtual void refused(WebLoad load) = 0;
    /// The page is at another address without a load.
    virtual void moved(const std::string& url) = 0;
    virtual void titled(const std::string& title) = 0;
    virtual void scriptAnswered(uint64_t script, const Value& result, const std::optional<NSError>& error)
        = 0;
    /// A null picture when it could not be drawn.
    virtual void drawn(const UIImage& picture) = 0;
    virtual void terminated() = 0;

protected:
    ~WebKitPageHost() = default;
};

/// The way from the engine's thread to a page's host. Any thread.
class WebKitHostLink {
public:
    WebKitHostLink(Process& process, std::weak_ptr<WebKitPageHost> host)
        : m_process(&process)
        , m_host(std::move(host))
    {
    }
    /// Posts; nothing once the link is cut or the host has gone.
    void tell(std::function<void(WebKitPageHost&)> event);
    /// By the host when it goes, as its process may go next.
    void cut();
    WebLoad nextLoad() { return ++m_lastLoad; }

private:
    Lock m_lock;
    Process* m_process LUMORA_GUARDED_BY(m_lock);
    std::weak_ptr<WebKitPageHost> m_host;
    std::atomic<WebLoad> m_lastLoad { 0 };
};

/// What the pages of one process share: cookies and caches, in memory only. Made and let go on any thread.
class WebKitSession {
public:
    ~WebKitSession();
    /// Engine's thread.
    WebKitWebContext* context();

private:
    WebKitWebContext* m_context { nullptr };
};

/// One page in the real engine, with a process of its own. It belongs to its engine object; what it is asked
/// comes through the engine's thread and nowhere else. After `close` it does nothing.
class WebKitPage : public std::enable_shared_from_this<WebKitPage> {
public:
    /// What is to be loaded: markup at an address, or, without any, the address. Markup may be long, so it is
    /// shared.
    struct Source {
        NSMutableURLRequest request;
        std::shared_ptr<const std::string> html;
    };

    WebKitPage(std::shared_ptr<WebKitSession> session, std::shared_ptr<WebKitHostLink> host)
        : m_session(std::move(session))
        , m_host(std::move(host))
    {
    }
    void open();
    void close();
    /// Replaces a load under way without a word. Leave for its address has been given.
    void load(WebLoad number, const Source& source);
    void stop();
    void answer(WebKitPageHost::Question question, bool allow);
    void evaluate(uint64_t script, const std::string& text);
    void setSize(CGSize size);
    /// With a mouse, as this engine knows no fingers off-screen.
    void tapAt(CGPoint point);
    void draw();

private:
    struct Signals;
    struct Asked {
        WebLoad load;
        std::string url;
        WebKitPolicyDecision* decision;
    };
    struct Expected {
        WebLoad load;
        std::string url;
    };

    void decideAction(WebKitPolicyDecision* decision);
    void decideResponse(WebKitPolicyDecision* decision);
    void refuseWindow(WebKitPolicyDecision* decision);
    /// Whether the action is the beginning of a load that the host asked for; decides it then.
    bool decideExpected(WebKitPolicyDecision* decision, const std::string& url);
    void askWhetherFrame(WebKitPolicyDecision* decision, const WebAction& action);
    void ask(WebKitPolicyDecision* decision, WebLoad load, const WebAction& action);
    WebKitPageHost::Question keep(WebKitPolicyDecision* decision, WebLoad load, const std::string& url);
    void forgetApproved();
    void loadStarted();
    void loadCommitted();
    void loadFinished();
    void loadFailed(const NSError& error);
    void processTerminated();
    void addressChanged();
    std::string address() const;

    std::shared_ptr<WebKitSession> m_session;
    std::shared_ptr<WebKitHostLink> m_host;
    GtkWidget* m_window { nullptr };
    WebKitWebView* m_view { nullptr };
    std::map<WebKitPageHost::Question, Asked> m_questions;
    WebKitPageHost::Question m_lastQuestion { 0 };
    // Loads that the host asked for and whose action has yet to come; stale ones among them, as a load that
    // was stopped may ask or not.
    std::vector<Expected> m_expected;
    // The host's last load until it starts; then the one under way.
    WebLoad m_wanted { 0 };
    WebLoad m_current { 0 };
    bool m_isCommitted { false };
    // The one under way was given its markup, so that no answer comes; or its server must answer before it
    // commits.
    bool m_isGiven { false };
    bool m_awaitsServer { false };
    // The page's own load that was allowed and has yet to start.
    Expected m_approved { 0, {} };
};

} // namespace lumora
