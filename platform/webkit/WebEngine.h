#pragma once

#include "platform/uikit/UIImage.h"
#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

/// Names one load of an engine; never 0, never twice.
using WebLoad = uint64_t;

/// Somewhere a page wants to go.
struct WebAction {
    NSMutableURLRequest request;
    WKNavigationType type { WKNavigationType::Other };
    WKNavigationTarget target { WKNavigationTarget::MainFrame };
};

/// What an engine tells its web view, on the main queue and never inside one of its operations. In this
/// order: decideAction, didStart, decideResponse, didCommit, didFinish; or didFail at any point after
/// didStart, or of a load that another one or `stopLoading` replaced. After didFinish, didFail or didRefuse
/// nothing more comes of that load.
class WebEngineClient {
public:
    using Decision = std::function<void(bool allow)>;

    /// The decision may come later, and on the main thread only; the load waits for it. One of a load that is
    /// over is ignored. A load that was started is asked about again wherever its server redirects it,
    /// didRedirect following the leave. Frames and new windows are of load 0; a new window never opens,
    /// whatever the decision.
    virtual void decideAction(WebLoad load, const WebAction& action, Decision decision) = 0;
    virtual void decideResponse(WebLoad load, const NSHTTPURLResponse& response, Decision decision) = 0;
    virtual void didStart(WebLoad load) = 0;
    virtual void didRedirect(WebLoad load) = 0;
    /// The engine's page is now the new one.
    virtual void didCommit(WebLoad load) = 0;
    virtual void didFinish(WebLoad load) = 0;
    virtual void didFail(WebLoad load, const NSError& error, bool provisional) = 0;
    /// The load ended before it started: its action was not allowed, or it went to another place in the same
    /// page.
    virtual void didRefuse(WebLoad load) = 0;
    /// What ran the page has ended, and the page with it; a load under way has failed before. `reload` brings
    /// it back.
    virtual void didTerminate() = 0;

protected:
    ~WebEngineClient() = default;
};

/// What loads, keeps and draws the page of one web view. The web view owns it and takes itself off before it
/// goes. Main thread only. Whatever a page does wrong ends in a failed load or a script's error.
class WebEngine {
public:
    /// Gets what the script gave, or nothing and an error. Called once, on the main queue, also when the
    /// engine is gone by then.
    using ScriptCompletion = std::function<void(const Value& result, const std::optional<NSError>& error)>;

    virtual ~WebEngine() = default;
    /// Null for nobody, which ends a load under way.
    virtual void setClient(WebEngineClient* client) = 0;
    /// The size in points at which pages are laid out from now on; an empty one changes nothing.
    virtual void setSize(CGSize size) = 0;

    virtual WebLoad loadHTML(std::string html, std::string baseURL) = 0;
    virtual WebLoad loadRequest(NSMutableURLRequest request) = 0;
    /// Loads the page again; 0 when there is none.
    virtual WebLoad reload() = 0;
    virtual void stopLoading() = 0;
    virtual bool isLoading() const = 0;

    /// Of the page that is there, not of one that is on its way; empty before the first.
    virtual const std::string& url() const = 0;
    virtual std::string title() = 0;
    virtual void evaluate(std::string script, ScriptCompletion completion) = 0;
    /// A finger was put down and up at a point of a page laid out at that size.
    virtual void tapAt(CGPoint point, CGSize size) = 0;
    /// The page at a size in points; white before the first. An engine that draws elsewhere gives what it
    /// drew last, and draws afresh for the next question: nobody waits for it.
    virtual UIImage snapshot(CGSize size, double scale) = 0;
};

using WebEngineFactory = std::function<std::shared_ptr<WebEngine>()>;
/// What the web views that the current process makes from now on are driven by; the page engine unless set.
void setWebEngineFactory(WebEngineFactory factory);
std::shared_ptr<WebEngine> makeWebEngine();

inline constexpr const char* WKErrorDomain = "WKErrorDomain";
inline constexpr int WKErrorWebContentProcessTerminated = 2;
inline constexpr int WKErrorWebViewInvalidated = 3;
inline constexpr int WKErrorJavaScriptExceptionOccurred = 4;
inline constexpr int WKErrorJavaScriptResultTypeIsUnsupported = 5;
inline constexpr const char* WebKitErrorDomain = "WebKitErrorDomain";
/// The answer to a load's request was not allowed.
inline constexpr int WebKitErrorFrameLoadInterruptedByPolicyChange = 102;
/// The address names a port of another kind of service.
inline constexpr int WebKitErrorCannotUseRestrictedPort = 103;

} // namespace lumora
