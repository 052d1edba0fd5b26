#include "processing/FakeAdController.h"

#include "interception/Extraction.h"
#include "lumora/LMLog.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSString.h"
#include "platform/webkit/WKNavigation.h"
#include "platform/webkit/WKWebView.h"
#include "processing/AdProcessingManager.h"
#include "processing/AlertScan.h"
#include "processing/LMHTMLGrabber.h"
#include "processing/ProcessorsManager.h"
#include "processing/ProxyDelegate.h"
#include "service/TDEventModel.h"
#include "support/Guarded.h"

#include <map>

namespace lumora {

namespace {

const TypedSelector<bool(Value, int64_t)> shouldIntercept { "shouldIntercept:navigationType:" };

/// The delegate that the network gave a web view, behind the proxy; null when there is no proxy.
std::shared_ptr<Object> originOf(WKWebView& view)
{
    std::shared_ptr<Object> origin;
    guarded([&] {
        if (const auto proxy = as<ProxyDelegate>(send(&view, sel::navigationDelegate)))
            origin = proxy->originDelegate();
    });
    return origin;
}

/// What MoPub numbers as the phone's older web view did.
int64_t typeForMoPub(WKNavigationType type)
{
    const auto number = static_cast<int64_t>(type);
    return number >= 0 && number <= 4 ? number : -1;
}

void reportRedirect(WKWebView& view, const WKNavigationAction& action)
{
    LMLog::logMessage("Clicked action");
    const std::string& url = action.request().url;
    if (FakeAdController::isUnsupportedURL(url))
        return;
    const auto event = make<TDEventModel>();
    event->setType("redirect");
    event->setRedirectUrl(url);
    if (isKindOfClassNamed(originOf(view).get(), "MPWebView")) {
        event->addAdditionalInfo({ { "sdkDetected",
            FakeAdController::didMoPubDetectRedirectWith(view, action.navigationType(), url) } });
    }
    ProcessorsManager::sharedInstance().eventFired(event, retain<Object>(&view));
}

} // namespace

const ClassDescription& FakeAdController::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<FakeAdController, NSObject>("FakeAdController")
            .method<&FakeAdController::decidePolicyForNavigationAction>(
                sel::webViewDecidePolicyForNavigationAction)
            .method<&FakeAdController::didFinishNavigation>(sel::webViewDidFinishNavigation)
            .method<&FakeAdController::didCommitNavigation>(sel::webViewDidCommitNavigation)
            .method<&FakeAdController::parrent>("parrent"_sel)
            .method<&FakeAdController::setParrent>("setParrent:"_sel)
            .protocol("WKNavigationDelegate")
            .variable<&FakeAdController::m_parrent>("parrent"));
    return description;
}
static const RegisteredClass registered { &FakeAdController::classDescription };

std::shared_ptr<ProxyDelegate> FakeAdController::parrent() const
{
    return as<ProxyDelegate>(m_parrent.lock());
}

void FakeAdController::setParrent(Object* proxy) { m_parrent = weakly(proxy); }

void FakeAdController::decidePolicyForNavigationAction(
    Object* webView, Object* action, const WKDecisionHandler& decisionHandler)
{
    auto* const view = as<WKWebView>(webView);
    const auto* const going = as<WKNavigationAction>(action);
    // Kept: it asks whether the ad was tapped in this showing, and one that was stays silent.
    if (view && going && going->navigationType() == WKNavigationType::LinkActivated
        && !AdProcessingManager::sharedInstance().didUserTapOnView(view))
        guarded([&] { reportRedirect(*view, *going); });
    const auto proxy = parrent();
    if (!(proxy && proxy->originDelegate()))
        callCompletion(decisionHandler, int64_t { WKNavigationPolicyAllow });
}

bool FakeAdController::isUnsupportedURL(std::string_view url) { return url == "fbad://markup_impression"; }

bool FakeAdController::didMoPubDetectRedirectWith(
    WKWebView& view, WKNavigationType type, const std::string& url)
{
    const auto origin = originOf(view);
    if (!isKindOfClassNamed(origin.get(), "MPWebView"))
        return false;
    const bool hasInteracted
        = getValueFromObject(origin.get(), "_delegate._userInteractedWithWebView").boolValue();
    const auto delegate = getValueFromObject(origin.get(), "_delegate").object();
    bool wouldIntercept = false;
    if (respondsToSelector(delegate.get(), shouldIntercept)) {
        guarded([&] {
            wouldIntercept
                = send(delegate, shouldIntercept, Value { NSURLValue { url } }, typeForMoPub(type));
        });
    }
    return wouldIntercept && !hasInteracted;
}

void FakeAdController::didFinishNavigation(Object* webView, Object*)
{
    auto* const view = as<WKWebView>(webView);
    if (!view)
        return;
    guarded([&] { AdProcessingManager::logAd(retain<Object>(view), true); });
    Value url;
    guarded([&] { url = send(view, sel::url); });
    LMLog::logMessage(url.isNothing() ? std::string {} : stringWithFormat("%@", { url }));
    checkForAlertsWithView(*view, url);
}

void FakeAdController::checkForAlertsWithView(WKWebView& view, const Value&)
{
    const auto raiseEvents = [page = retain<Object>(&view)](bool success, const std::string& html) {
        if (!success)
            return;
        std::map<std::string_view, size_t> seen;
        size_t leftOut = 0;
        for (const ScriptDialog& dialog : scriptDialogsIn(html)) {
            // A page full of them must not keep the host busy.
            if (++seen[dialog.type] > mostDialogsOfAKind) {
                leftOut++;
                continue;
            }
            LMLog::logMessage(stringWithFormat("needle: %@", { std::string { dialog.message } }));
            // Each takes a picture of the ad: the host gets its turn between them.
            dispatch_get_main_queue().async([page, type = std::string { dialog.type }] {
                const auto event = make<TDEventModel>();
                event->setType(type);
                ProcessorsManager::sharedInstance().eventFired(event, page);
            });
        }
        if (leftOut)
            LMLog::logMessage(
                stringWithFormat("[FakeAdController][checkForAlertsWithView] %@ dialogs are left out",
                    { static_cast<int64_t>(leftOut) }));
    };
    LMHTMLGrabber::getNewHTMLForView(retain<Object>(&view), HTMLPurpose::Inspection, raiseEvents);
}

} // namespace lumora
