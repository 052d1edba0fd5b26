#include "platform/webkit/WKWebView.h"

#include "platform/process/Process.h"
#include "platform/uikit/UITouch.h"

#include <cmath>

namespace lumora {

const ClassDescription& WKWebViewConfiguration::classDescription()
{
    using Self = WKWebViewConfiguration;
    static const auto& description = *new ClassDescription(
        ClassDescription::of<Self, NSObject>("WKWebViewConfiguration")
            .method<&Self::allowsInlineMediaPlayback>("allowsInlineMediaPlayback"_sel)
            .method<&Self::setAllowsInlineMediaPlayback>("setAllowsInlineMediaPlayback:"_sel)
            .method<&Self::mediaTypesRequiringUserActionForPlayback>(
                "mediaTypesRequiringUserActionForPlayback"_sel)
            .method<&Self::setMediaTypesRequiringUserActionForPlayback>(
                "setMediaTypesRequiringUserActionForPlayback:"_sel));
    return description;
}
static const RegisteredClass registeredWKWebViewConfiguration { &WKWebViewConfiguration::classDescription };

const ClassDescription& WKWebView::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<WKWebView, UIView>("WKWebView")
            .method<&WKWebView::initWithFrame>(sel::initWithFrame)
            .method<&WKWebView::initWithFrameConfiguration>(sel::initWithFrameConfiguration)
            .method<&WKWebView::configuration>("configuration"_sel)
            .method<&WKWebView::navigationDelegate>(sel::navigationDelegate)
            .method<&WKWebView::setNavigationDelegate>(sel::setNavigationDelegate)
            .method<&WKWebView::UIDelegate>(sel::uiDelegate)
            .method<&WKWebView::setUIDelegate>(sel::setUIDelegate)
            .method<&WKWebView::URL>(sel::url)
            .method<&WKWebView::title>(sel::title)
            .method<&WKWebView::isLoading>(sel::isLoading)
            .method<&WKWebView::loadHTMLString>(sel::loadHTMLString)
            .method<&WKWebView::loadRequest>(sel::loadRequest)
            .method<&WKWebView::reload>(sel::reload)
            .method<&WKWebView::stopLoading>(sel::stopLoading)
            .method<&WKWebView::evaluateJavaScript>(sel::evaluateJavaScript)
            .method<&WKWebView::layoutSubviews>(sel::layoutSubviews)
            .method<&WKWebView::drawRect>(sel::drawRect)
            .method<&WKWebView::touchesBegan>(sel::touchesBegan)
            .method<&WKWebView::touchesEnded>(sel::touchesEnded)
            .method<&WKWebView::touchesCancelled>(sel::touchesCancelled)
            .variable("loading", [](Object& view) { return Value { send<bool>(&view, sel::isLoading) }; }));
    return description;
}
static const RegisteredClass registeredWKWebView { &WKWebView::classDescription };

WKWebView::~WKWebView()
{
    if (m_engine)
        m_engine->setClient(nullptr);
}

id WKWebView::initWithFrame(CGRect frame)
{
    return send(this, sel::initWithFrameConfiguration, frame, make<WKWebViewConfiguration>());
}

id WKWebView::initWithFrameConfiguration(CGRect frame, Object* configuration)
{
    m_configuration = retain(as<WKWebViewConfiguration>(configuration));
    return UIView::initWithFrame(frame);
}

WKWebViewConfiguration* WKWebView::configuration()
{
    if (!m_configuration)
        m_configuration = make<WKWebViewConfiguration>();
    return m_configuration.get();
}

WebEngine& WKWebView::engine()
{
    if (!m_engine) {
        m_engine = makeWebEngine();
        m_engine->setClient(this);
    }
    return *m_engine;
}

bool delegateAnswers(Object& delegate, SEL selector)
{
    const SEL question = "respondsToSelector:"_sel;
    return respondsToSelector(&delegate, question) ? send<bool>(&delegate, question, selector)
                                                   : respondsToSelector(&delegate, selector);
}

void WKWebView::setNavigationDelegate(Object* delegate)
{
    m_navigationDelegate = weakly(delegate);
    m_delegateAnswers.clear();
    if (!delegate)
        return;
    for (SEL selector : std::initializer_list<SEL> { sel::webViewDecidePolicyForNavigationAction,
             sel::webViewDidStartProvisionalNavigation, sel::webViewDidReceiveServerRedirect,
             sel::webViewDidFailProvisionalNavigation, sel::webViewDecidePolicyForNavigationResponse,
             sel::webViewDidCommitNavigation, sel::webViewDidFinishNavigation, sel::webViewDidFailNavigation,
             sel::webViewWebContentProcessDidTerminate }) {
        if (delegateAnswers(*delegate, selector))
            m_delegateAnswers.push_back(selector);
    }
}

std::shared_ptr<Object> WKWebView::delegateFor(SEL selector) const
{
    const bool answered
        = std::find(m_delegateAnswers.begin(), m_delegateAnswers.end(), selector) != m_delegateAnswers.end();
    return answered ? m_navigationDelegate.lock() : nullptr;
}

Value WKWebView::URL()
{
    const std::string& url = engine().url();
    return url.empty() ? Value {} : Value { NSURLValue { url } };
}

std::shared_ptr<WKNavigation> WKWebView::navigation(WebLoad load)
{
    if (load == 0)
        return nullptr;
    std::shared_ptr<WKNavigation>& navigation = m_navigations[load];
    if (!navigation)
        navigation = make<WKNavigation>();
    return navigation;
}

std::shared_ptr<WKNavigation> WKWebView::loadHTMLString(const std::string& html, const std::string& baseURL)
{
    engine().setSize(bounds().size);
    return navigation(engine().loadHTML(html, baseURL));
}

std::shared_ptr<WKNavigation> WKWebView::loadRequest(const NSMutableURLRequest& request)
{
    engine().setSize(bounds().size);
    return navigation(engine().loadRequest(request));
}

std::shared_ptr<WKNavigation> WKWebView::reload() { return navigation(engine().reload()); }

void WKWebView::evaluateJavaScript(const std::string& script, const WKScriptCompletion& completion)
{
    engine().evaluate(
        script, completion ? completion : [](const Value&, const std::optional<NSError>&) {});
}

/// What a delegate is handed to decide with.
static WKDecisionHandler handlerFor(WebEngineClient::Decision decision)
{
    auto waiting = std::make_shared<std::atomic<bool>>(true);
    return [waiting, decision = std::move(decision)](int64_t policy) {
        if (waiting->exchange(false))
            onMainThread([decision, allow = policy == WKNavigationPolicyAllow] { decision(allow); });
    };
}

void WKWebView::decideAction(WebLoad load, const WebAction& action, Decision decision)
{
    const auto self = retain(this);
    navigation(load);
    if (const auto delegate = delegateFor(sel::webViewDecidePolicyForNavigationAction))
        send(delegate, sel::webViewDecidePolicyForNavigationAction, this,
            WKNavigationAction::with(action.request, action.type, action.target),
            handlerFor(std::move(decision)));
    else
        decision(true);
}

void WKWebView::decideResponse(WebLoad, const NSHTTPURLResponse& response, Decision decision)
{
    const auto self = retain(this);
    if (const auto delegate = delegateFor(sel::webViewDecidePolicyForNavigationResponse))
        send(delegate, sel::webViewDecidePolicyForNavigationResponse, this,
            WKNavigationResponse::with(response), handlerFor(std::move(decision)));
    else
        decision(true);
}

void WKWebView::didStart(WebLoad load)
{
    const auto self = retain(this);
    send(delegateFor(sel::webViewDidStartProvisionalNavigation), sel::webViewDidStartProvisionalNavigation,
        this, navigation(load));
}

void WKWebView::didRedirect(WebLoad load)
{
    const auto self = retain(this);
    send(delegateFor(sel::webViewDidReceiveServerRedirect), sel::webViewDidReceiveServerRedirect, this,
        navigation(load));
}

void WKWebView::didCommit(WebLoad load)
{
    const auto self = retain(this);
    send(delegateFor(sel::webViewDidCommitNavigation), sel::webViewDidCommitNavigation, this,
        navigation(load));
}

void WKWebView::didFinish(WebLoad load)
{
    const auto self = retain(this);
    const auto finished = navigation(load);
    m_navigations.erase(load);
    send(delegateFor(sel::webViewDidFinishNavigation), sel::webViewDidFinishNavigation, this, finished);
}

void WKWebView::didFail(WebLoad load, const NSError& error, bool provisional)
{
    const auto self = retain(this);
    const auto failed = navigation(load);
    m_navigations.erase(load);
    const auto& selector
        = provisional ? sel::webViewDidFailProvisionalNavigation : sel::webViewDidFailNavigation;
    send(delegateFor(selector), selector, this, failed, error);
}

void WKWebView::didTerminate()
{
    const auto self = retain(this);
    send(delegateFor(sel::webViewWebContentProcessDidTerminate), sel::webViewWebContentProcessDidTerminate,
        this);
}

void WKWebView::layoutSubviews()
{
    UIView::layoutSubviews();
    if (m_engine)
        m_engine->setSize(bounds().size);
}

void WKWebView::drawRect(CGContext& context)
{
    const double scale = Process::current().configuration().screen.scale;
    const CGRect rect { {}, bounds().size };
    context.drawImage(engine().snapshot(rect.size, scale), rect);
}

static UITouch* firstTouch(const Value& touches)
{
    const NSArray* array = touches.array();
    return array && !array->empty() ? as<UITouch>(array->front().object().get()) : nullptr;
}

void WKWebView::touchesBegan(const Value& touches, Object*)
{
    const UITouch* touch = firstTouch(touches);
    m_touchStart = touch ? std::optional(touch->locationInView(this)) : std::nullopt;
}

void WKWebView::touchesEnded(const Value& touches, Object*)
{
    const UITouch* touch = firstTouch(touches);
    if (!touch || !m_touchStart)
        return;
    const CGPoint start = *std::exchange(m_touchStart, std::nullopt);
    const CGPoint end = touch->locationInView(this);
    if (std::hypot(end.x - start.x, end.y - start.y) <= tapSlop)
        engine().tapAt(end, bounds().size);
}

void WKWebView::touchesCancelled(const Value&, Object*) { m_touchStart.reset(); }

} // namespace lumora
