#include "report/TDButtonHandler.h"

#include "core/TDActivationManager.h"
#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIViewController.h"
#include "report/InterfaceFiles.h"
#include "report/LMReportAdView.h"
#include "report/ReportProtocols.h"
#include "report/TDReportButtonView.h"
#include "report/TDSwipableReportViewController.h"
#include "service/LMEventsManager.h"
#include "support/Guarded.h"
#include "support/UIViewControllerExtensions.h"

namespace lumora {

namespace {
constexpr double overlayFadeTime = 0.3;

Value configuredButtonTap()
{
    const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig();
    return config ? config->buttonTap() : Value {};
}
} // namespace

const ClassDescription& TDButtonHandler::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<TDButtonHandler, NSObject>("TDButtonHandler")
            .protocol(LMSwipableReportViewControllerDelegate)
            .protocol(LMReportAdViewDelegate)
            .protocol("UIGestureRecognizerDelegate")
            .method<&TDButtonHandler::handleButtonTapAction>(sel::handleButtonTapAction)
            .method<&TDButtonHandler::sendReportWithInfo>(sel::sendReportWithInfo)
            .method<&TDButtonHandler::swipableReportViewControllerDidClosed>(
                sel::swipableReportViewControllerDidClosed)
            .method<&TDButtonHandler::swipableReportViewControllerDidCanceled>(
                sel::swipableReportViewControllerDidCanceled)
            .method<&TDButtonHandler::reportAdViewDidCanceled>(sel::reportAdViewDidCanceled)
            .method<&TDButtonHandler::reportAdViewDidTouchReportButton>(sel::reportAdViewDidTouchReportButton)
            .method<&TDButtonHandler::shouldRequireFailure>(sel::gestureRecognizerShouldRequireFailureOf)
            .method<&TDButtonHandler::shouldBeRequiredToFail>(
                sel::gestureRecognizerShouldBeRequiredToFailBy));
    return description;
}
static const RegisteredClass registered { &TDButtonHandler::classDescription };

std::shared_ptr<TDButtonHandler> TDButtonHandler::self()
{
    return std::static_pointer_cast<TDButtonHandler>(shared_from_this());
}

std::string TDButtonHandler::adLocalId() const
{
    const auto button = m_buttonView.lock();
    return button ? button->adLocalId() : "";
}

void TDButtonHandler::saveAndGetInfoFromMetadataDict(const NSDictionary& metadata)
{
    m_metadata = metadata;
    m_ad.setMetadataClass(metadata[LMReportButtonHelper::metaclassKey].object());
    m_ad.setSupportObject(metadata[LMReportButtonHelper::supportviewKey].object());
    m_metadata.remove(LMReportButtonHelper::metaclassKey);
    m_metadata.remove(LMReportButtonHelper::supportviewKey);
}

bool TDButtonHandler::shouldRequireFailure(Object*, Object*) { return false; }
bool TDButtonHandler::shouldBeRequiredToFail(Object*, Object*) { return true; }

void TDButtonHandler::handleButtonTapAction(Object* recognizer)
{
    const auto button = m_buttonView.lock();
    const auto* tap = as<UITapGestureRecognizer>(recognizer);
    if (!button)
        return;
    if (button->buttonState() == TDReportButtonView::State::Full) {
        if (m_vcState != FlowState::Idle)
            return;
        m_vcState = FlowState::ScreenShown;
        if (m_ad.isInterstitial())
            presentReportForIntersitialAdType();
        else
            presentReportAdForBannersAndNativeAdType();
    } else if (button->buttonState() == TDReportButtonView::State::Icon) {
        if (tap && tap->numberOfTapsRequired() == configuredButtonTap().integerValue())
            button->animateFromIconToFull();
    }
}

void TDButtonHandler::reportButtonWasClosed()
{
    if (const auto button = m_buttonView.lock())
        button->animateFromFullToHidden();
}

// Without a controller or an interface file the flow stays where it is, and further taps do nothing: kept so.
void TDButtonHandler::presentReportForIntersitialAdType()
{
    UIViewController* presenter = currentViewController();
    if (!presenter)
        return;
    const auto sheet = loadInterface<TDSwipableReportViewController>("TDSwipableReportViewController");
    if (!sheet)
        return;
    sheet->setDelegate(self());
    sheet->view()->setBackgroundColor(UIColor::clearColor());
    sheet->setModalPresentationStyle(UIModalPresentationStyle::OverCurrentContext);
    sheet->setModalTransitionStyle(UIModalTransitionStyle::CrossDissolve);
    if (!guarded([&] { send(presenter, sel::presentViewController, sheet, true, nullptr); }))
        return;
    if (const auto button = m_buttonView.lock())
        button->animateFromFullToHidden();
}

void TDButtonHandler::presentReportAdForBannersAndNativeAdType()
{
    const auto adView = m_ad.view();
    if (!currentViewController() || !adView)
        return;
    const CGSize size = adView->frame().size;
    const auto overlay = LMReportAdView::initFromNibForAdSize(size);
    if (!overlay)
        return;
    overlay->setup();
    overlay->setFrame({ {}, size });
    overlay->setTranslatesAutoresizingMaskIntoConstraints(false);
    adView->addSubview(overlay);
    std::vector<std::shared_ptr<NSLayoutConstraint>> edges;
    using Attribute = NSLayoutAttribute;
    for (const Attribute edge : { Attribute::Top, Attribute::Bottom, Attribute::Left, Attribute::Right })
        edges.push_back(
            NSLayoutConstraint::constraintWithItem(overlay.get(), edge, adView.get(), edge, 1, 0));
    NSLayoutConstraint::activateConstraints(edges);
    overlay->setDelegate(self());
    overlay->setAlpha(0);
    guarded([&] { adView->layoutIfNeeded(); });
    UIView::animateWithDuration(
        overlayFadeTime, [&] { overlay->setAlpha(1); }, nullptr);
    if (const auto button = m_buttonView.lock())
        button->animateFromFullToHidden();
}

static void takeOff(const std::shared_ptr<UIView>& view)
{
    guarded([&] { send(view, sel::removeFromSuperview); });
}

static void fadeOut(Object* overlay, std::function<void(const std::shared_ptr<UIView>&)> then)
{
    const auto view = retain(as<UIView>(overlay));
    if (!view)
        return then(nullptr);
    UIView::animateWithDuration(
        overlayFadeTime, [&] { view->setAlpha(0); },
        [weakOverlay = std::weak_ptr(view), then = std::move(then)](bool) { then(weakOverlay.lock()); });
}

// Cancelling the overlay takes the button off this ad for good, cancelling the sheet brings it back: kept,
// hosts have come to expect the difference.
void TDButtonHandler::reportAdViewDidCanceled(Object* overlay)
{
    fadeOut(overlay, [weakHandler = std::weak_ptr(self())](const std::shared_ptr<UIView>& faded) {
        const auto handler = weakHandler.lock();
        if (handler)
            handler->m_vcState = FlowState::Idle;
        takeOff(faded);
        if (handler)
            takeOff(handler->m_buttonView.lock());
    });
}

void TDButtonHandler::reportAdViewDidTouchReportButton(Object* overlay, const std::string& info)
{
    fadeOut(overlay, [weakHandler = std::weak_ptr(self()), info](const std::shared_ptr<UIView>& faded) {
        takeOff(faded);
        if (const auto handler = weakHandler.lock())
            handler->swipableReportViewControllerDidClosed(info);
    });
}

void TDButtonHandler::swipableReportViewControllerDidClosed(const Value& userInfo)
{
    m_vcState = FlowState::Idle;
    if (const std::string* reason = userInfo.string()) {
        m_userReport = *reason;
        reportThisAd();
    }
}

void TDButtonHandler::swipableReportViewControllerDidCanceled()
{
    m_vcState = FlowState::Idle;
    if (const auto button = m_buttonView.lock())
        button->showButton();
}

void TDButtonHandler::sendReportWithInfo(const Value& info)
{
    const std::string* reason = info.string();
    if (!reason)
        return;
    m_userReport = *reason;
    reportThisAd();
}

void TDButtonHandler::reportThisAd()
{
    m_vcState = FlowState::Sending;
    m_ad.resumePlayer();
    auto event = make<TDEventModel>();
    event->setAdId(adLocalId());
    m_ad.addFactsTo(*event);
    event->setType(m_userReport);
    const Value buttonTap = configuredButtonTap();
    event->addAdditionalInfo({ { "config",
        buttonTap.isNothing() ? NSDictionary {} : NSDictionary { { "buttonTap", buttonTap } } } });
    m_ad.addMarkupTo(event, [handler = self(), event] { handler->sendEvent(event); });
}

// The host is told before delivery and whatever comes of it: kept, it may act on the report at once. With the
// gate closed there is no outcome, and the button stays hidden: kept, an inactive library shows nothing.
void TDButtonHandler::sendEvent(const std::shared_ptr<TDEventModel>& event)
{
    if (const auto report = event->getEventAsMutableDictionary())
        tellDelegate(*report);
    LMEventsManager::shared().handleEvent(event, [weakHandler = std::weak_ptr(self())](bool delivered) {
        // Views are looked at, and may die, on the main thread only.
        onMainThread([weakHandler, delivered] {
            if (const auto handler = weakHandler.lock())
                handler->deliveryEnded(delivered);
        });
    });
}

void TDButtonHandler::tellDelegate(const NSDictionary& report) const
{
    const auto delegate = m_delegate.lock();
    const auto adView = m_ad.view();
    if (!adView || !conformsToProtocol(delegate.get(), ReportButtonDelegateProtocol))
        return;
    guarded([&] { send(delegate, sel::reportButtonWasClickedInView, adView, report); });
}

void TDButtonHandler::deliveryEnded(bool delivered) const
{
    const auto button = m_buttonView.lock();
    if (!button)
        return;
    if (!delivered)
        send(button, sel::removeFromSuperview);
    else if (m_ad.view())
        button->adWasReported();
}

void TDButtonHandler::getAdInfo() { m_ad.gatherInfo(adLocalId()); }

std::string TDButtonHandler::getCreativeId() const { return m_ad.creativeId(); }

} // namespace lumora
