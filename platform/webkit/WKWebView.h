#pragma once

#include "platform/uikit/UIView.h"
#include "platform/webkit/WKNavigation.h"
#include "platform/webkit/WKWebViewConfiguration.h"
#include "platform/webkit/WebEngine.h"

#include <map>

namespace lumora {

/// Takes a script's result, or nothing and an error; main queue.
using WKScriptCompletion = WebEngine::ScriptCompletion;

namespace sel {
inline constinit const TypedSelector<id(CGRect, id)> initWithFrameConfiguration {
    "initWithFrame:configuration:"
};
inline constinit const TypedSelector<std::shared_ptr<Object>()> navigationDelegate { "navigationDelegate" };
inline constinit const TypedSelector<void(id)> setNavigationDelegate { "setNavigationDelegate:" };
inline constinit const TypedSelector<id()> uiDelegate { "UIDelegate" };
inline constinit const TypedSelector<void(id)> setUIDelegate { "setUIDelegate:" };
inline constinit const TypedSelector<Value()> url { "URL" };
inline constinit const TypedSelector<std::string()> title { "title" };
inline constinit const TypedSelector<bool()> isLoading { "isLoading" };
inline constinit const TypedSelector<std::shared_ptr<Object>(std::string, std::string)> loadHTMLString {
    "loadHTMLString:baseURL:"
};
inline constinit const TypedSelector<std::shared_ptr<Object>(NSMutableURLRequest)> loadRequest {
    "loadRequest:"
};
inline constinit const TypedSelector<std::shared_ptr<Object>()> reload { "reload" };
inline constinit const TypedSelector<void()> stopLoading { "stopLoading" };
inline constinit const TypedSelector<void(std::string, WKScriptCompletion)> evaluateJavaScript {
    "evaluateJavaScript:completionHandler:"
};
}

/// A view of a web page. Its engine is made when first needed and is its own; delegates are weak. A delegate
/// may die, and so may the view, between any two messages. Points; main thread only.
class WKWebView : public UIView, private WebEngineClient {
public:
    static const ClassDescription& classDescription();
    ~WKWebView() override;

    id initWithFrame(CGRect frame);
    id initWithFrameConfiguration(CGRect frame, Object* configuration);
    WKWebViewConfiguration* configuration();

    /// Null when none is set or it is gone. Owned by the reader: the network may drop its own at any moment.
    std::shared_ptr<Object> navigationDelegate() { return m_navigationDelegate.lock(); }
    void setNavigationDelegate(Object* delegate);
    Object* UIDelegate() { return m_uiDelegate.lock().get(); }
    void setUIDelegate(Object* delegate) { m_uiDelegate = weakly(delegate); }

    /// The page's address as a URL; nothing before the first page.
    Value URL();
    std::string title() { return engine().title(); }
    bool isLoading() { return engine().isLoading(); }

    std::shared_ptr<WKNavigation> loadHTMLString(const std::string& html, const std::string& baseURL);
    std::shared_ptr<WKNavigation> loadRequest(const NSMutableURLRequest& request);
    /// Null when there is no page.
    std::shared_ptr<WKNavigation> reload();
    void stopLoading() { engine().stopLoading(); }
    /// The completion may be empty; it runs later, never inside this call.
    void evaluateJavaScript(const std::string& script, const WKScriptCompletion& completion);

    void layoutSubviews();
    void drawRect(CGContext& context);
    void touchesBegan(const Value& touches, Object* event);
    void touchesEnded(const Value& touches, Object* event);
    void touchesCancelled(const Value& touches, Object* event);

private:
    /// How far a finger may stray and still tap.
    static constexpr double tapSlop = 10;

    void decideAction(WebLoad load, const WebAction& action, Decision decision) override;
    void decideResponse(WebLoad load, const NSHTTPURLResponse& response, Decision decision) override;
    void didStart(WebLoad load) override;
    void didRedirect(WebLoad load) override;
    void didCommit(WebLoad load) override;
    void didFinish(WebLoad load) override;
    void didFail(WebLoad load, const NSError& error, bool provisional) override;
    void didRefuse(WebLoad load) override { m_navigations.erase(load); }
    void didTerminate() override;

    WebEngine& engine();
    std::shared_ptr<WKNavigation> navigation(WebLoad load);
    /// The delegate, if it answered for that message when it was set.
    std::shared_ptr<Object> delegateFor(SEL selector) const;

    std::shared_ptr<WebEngine> m_engine;
    std::shared_ptr<WKWebViewConfiguration> m_configuration;
    std::weak_ptr<Object> m_navigationDelegate;
    std::vector<SEL> m_delegateAnswers;
    std::weak_ptr<Object> m_uiDelegate;
    std::map<WebLoad, std::shared_ptr<WKNavigation>> m_navigations;
    std::optional<CGPoint> m_touchStart;
};

} // namespace lumora
