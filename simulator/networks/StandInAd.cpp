#include "simulator/networks/StandInAd.h"

#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

namespace {

void decidePolicy(id, SEL, id, id, const WKDecisionHandler& decisionHandler)
{
    decisionHandler(WKNavigationPolicyAllow);
}
void didFinish(id, SEL, id, id) { }

} // namespace

StandInAd::StandInAd(UIViewController& screen, int place, StandInFault fault)
    : StandInFacts(place, std::move(fault))
    , m_screen(screen)
{
}

StandInAd::~StandInAd()
{
    for (const auto& view : m_placed)
        view->removeFromSuperview();
    if (const auto presented = m_presented.lock(); presented && presented->presentingViewController())
        presented->presentingViewController()->dismissViewController(false);
}

std::shared_ptr<WKWebView> StandInAd::creative(CGSize size, const std::string& className)
{
    if (fault().noCreative)
        return nullptr;
    auto webView = alloc<WKWebView>(standInClass(className, classOf<WKWebView>()));
    send(webView, sel::initWithFrame, CGRect { {}, size });
    webView->loadHTMLString(html, "");
    return keep(webView);
}

std::shared_ptr<UIView> StandInAd::container(const std::string& className, CGSize size)
{
    auto view = standInView(className, size);
    const auto webView = creative(size);
    if (webView)
        view->addSubview(webView);
    adView = webView ? webView : view;
    return view;
}

void StandInAd::place(const std::shared_ptr<UIView>& view)
{
    view->setFrame({ { 20, 200 }, view->bounds().size });
    m_screen.view()->addSubview(view);
    m_placed.push_back(view);
}

std::shared_ptr<UIViewController> StandInAd::present(
    const std::string& className, const std::shared_ptr<UIView>& content, const char* announcement)
{
    auto controller = alloc<UIViewController>(standInClass(className, classOf<UIViewController>()));
    send(controller, sel::init);
    if (content) {
        content->setFrame(controller->view()->bounds());
        controller->view()->addSubview(content);
    }
    m_presented = controller;
    if (announcement)
        expectAnnouncement(*controller, announcement);
    m_screen.presentViewController(keep(controller), false);
    return controller;
}

void StandInAd::makeReady(const std::shared_ptr<Object>& owner, const std::shared_ptr<UIView>& content)
{
    const auto controller = keep(make<UIViewController>());
    content->setFrame(controller->view()->bounds());
    controller->view()->addSubview(content);
    // Weak: the content may be the owner.
    setBehaviour(*owner, [screen = weakly(&m_screen), ready = std::weak_ptr(controller)] {
        if (const auto host = screen.lock())
            host->presentViewController(ready.lock(), false);
        return nullptr;
    });
    m_presented = controller;
}

void StandInAd::setDelegate(const std::shared_ptr<UIView>& webView, const std::shared_ptr<Object>& delegate)
{
    if (!as<WKWebView>(webView))
        return;
    if (!fault().silentDelegates) {
        class_addMethod(delegate->isa(), sel::webViewDecidePolicyForNavigationAction, &decidePolicy);
        class_addMethod(delegate->isa(), sel::webViewDidFinishNavigation, &didFinish);
    }
    send(webView, sel::setNavigationDelegate, delegate);
}

void StandInAd::expectMessage(id receiver, const char* selector, const std::vector<Value>& arguments)
{
    m_sent.push_back(messageText(receiver, sel_registerName(selector), arguments));
}

void StandInAd::expectAnnouncement(UIViewController& controller, const char* announcement)
{
    expectMessage(&controller, announcement, { false });
}

} // namespace lumora
