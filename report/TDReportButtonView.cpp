#include "report/TDReportButtonView.h"

#include "core/TDActivationManager.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSString.h"
#include "platform/quartzcore/CAShapeLayer.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIDevice.h"
#include "platform/uikit/UILayoutGuide.h"
#include "platform/uikit/UIScreen.h"
#include "report/InterfaceFiles.h"
#include "report/LMInterstitialTutorialView.h"
#include "report/LMPulseAnimationView.h"
#include "report/ReportProtocols.h"
#include "report/TDButtonManager.h"
#include "service/LMFirstTimeLaunchDetector.h"
#include "service/TDAPI.h"
#include "support/Guarded.h"

#include <algorithm>

namespace lumora {

namespace {
// Seconds and points.
constexpr double attachDelay = 1.0;
constexpr double stayTime = 3.0;
constexpr double fullFormSlideTime = 0.25;
constexpr double otherFormSlideTime = 0.01;
constexpr double topFraction = 0.12;
constexpr double shortFormWidthCorrection = 14.0;
constexpr double captionPadding = 14.0;
constexpr double aboveAdContent = 50;

// Since version 11 of the system.
bool hasSafeArea()
{
    const std::string& version = UIDevice::currentDevice().systemVersion();
    return numberFromText(version.substr(0, version.find('.'))).value_or(11).integerValue() >= 11;
}

// An ad that raises while it is laid out costs neither the button nor its impression.
void layOut(UIView& view)
{
    guarded([&] { view.layoutIfNeeded(); });
}
} // namespace

const ClassDescription& TDReportButtonView::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<TDReportButtonView, UIView>("TDReportButtonView")
            .protocol(TutorialDelegate)
            .method<&TDReportButtonView::initWithCoder>(sel::initWithCoder)
            .method<&TDReportButtonView::layoutSubviews>(sel::layoutSubviews)
            .method<&TDReportButtonView::intrinsicContentSize>(sel::intrinsicContentSize)
            .method<&TDReportButtonView::setDelegate>(sel::setDelegate)
            .method<&TDReportButtonView::sendReportWithInfo>(sel::sendReportWithInfo)
            .method<&TDReportButtonView::continueButtonWasPressed>(sel::continueButtonWasPressed)
            .method<&TDReportButtonView::didMoveToSuperview>(sel::didMoveToSuperview)
            .variable<&TDReportButtonView::m_buttonHandler>("buttonHandler")
            .variable<&TDReportButtonView::m_iconView>("iconView")
            .variable<&TDReportButtonView::m_textLabel>("textLabel")
            .variable<&TDReportButtonView::m_closeView>("closeView")
            .variable<&TDReportButtonView::m_buttonBackground>("buttonBackground")
            .variable<&TDReportButtonView::m_xWidthConstraint>("xWidthConstraint")
            .variable<&TDReportButtonView::m_openGR>("openGR")
            .variable<&TDReportButtonView::m_closeGR>("closeGR")
            .variable<&TDReportButtonView::m_openShortGR>("openShortGR")
            .variable("pulseView",
                [](Object& button) {
                    return Value(static_cast<TDReportButtonView&>(button).m_tutorial.pulseView());
                })
            .variable("tutorialView", [](Object& button) {
                return Value(static_cast<TDReportButtonView&>(button).m_tutorial.tutorialView());
            }));
    return description;
}
static const RegisteredClass registered { &TDReportButtonView::classDescription };

std::shared_ptr<TDReportButtonView> TDReportButtonView::self()
{
    return std::static_pointer_cast<TDReportButtonView>(shared_from_this());
}

id TDReportButtonView::initWithCoder(Object* coder)
{
    sendSuper(classOf<TDReportButtonView>(), this, sel::initWithCoder, coder);
    m_buttonState = State::Hidden;
    m_adLocalId = newUUIDString();
    return this;
}

double TDReportButtonView::trailingConstant() const
{
    return m_trailingConstraint ? m_trailingConstraint->constant() : 0;
}

void TDReportButtonView::addReportButtonToView(
    const std::shared_ptr<UIView>& adView, const NSDictionary& withMetadata)
{
    dispatch_get_main_queue().asyncAfter(
        attachDelay, [button = self(), adView = std::weak_ptr(adView), withMetadata] {
            button->attach(adView.lock(), withMetadata);
        });
}

void TDReportButtonView::attach(const std::shared_ptr<UIView>& adView, const NSDictionary& metadata)
{
    configureHandlerWithView(adView);
    m_buttonHandler->saveAndGetInfoFromMetadataDict(metadata);
    const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig();
    if (config && config->sdks() && m_buttonHandler->metadataClass()) {
        // Looks the network up in the list and changes nothing by it: kept, the list does not gate buttons.
        const std::string name = m_buttonHandler->ad().metadataText(sel::getSDKName);
        static_cast<void>(std::any_of(config->sdks()->begin(), config->sdks()->end(),
            [&](const std::string& listed) { return equalIgnoringCase(listed, name); }));
    }
    checkAndUpdateButtonForm();
    configureGestureRecognizersDependOnFormButton();
    addReportButtonToView(adView);
    TDButtonManager::sharedInstance().addButton(self());
    if (config && config->hideButton().boolValue())
        setHidden(true);
    else
        addTutorialViewOnView(adView);
    recordImpression();
}

void TDReportButtonView::recordImpression() const
{
    const ReportedAd& ad = m_buttonHandler->ad();
    if (!ad.metadataClass())
        return TDAPI::recordImpression({ { "sdk", "user_defined" } });
    TDAPI::recordImpression({
        { "sdk", ad.metadataText(sel::getSDKName) },
        { "sdkVersion", ad.metadataText(sel::getVersion) },
        { "adType", ad.metadataText(sel::adType) },
        { "creativeId", m_buttonHandler->getCreativeId() },
    });
}

void TDReportButtonView::configureHandlerWithView(const std::shared_ptr<UIView>& adView)
{
    m_buttonHandler = make<TDButtonHandler>();
    m_buttonHandler->setButtonView(self());
    m_buttonHandler->setAdView(adView);
}

void TDReportButtonView::checkAndUpdateButtonForm()
{
    m_buttonForm = m_buttonHandler->ad().isInterstitial() ? Form::Full : Form::Short;
    updateButtonForm();
}

void TDReportButtonView::updateButtonForm()
{
    if (m_buttonForm == Form::Full)
        makeFormButtonFull();
    else
        makeFormButtonShort();
}

void TDReportButtonView::makeFormButtonShort()
{
    if (m_xWidthConstraint)
        m_xWidthConstraint->setConstant(shortFormWidthCorrection);
    if (m_textLabel)
        m_textLabel->setText("");
}

void TDReportButtonView::makeFormButtonFull()
{
    onMainThread([button = self()] {
        if (button->m_xWidthConstraint)
            button->m_xWidthConstraint->setConstant(0);
    });
}

void TDReportButtonView::configureGestureRecognizersDependOnFormButton()
{
    auto recognizer = [&](int taps) {
        auto tap = make<UITapGestureRecognizer>();
        tap->addTarget(m_buttonHandler, sel::handleButtonTapAction);
        tap->setNumberOfTapsRequired(taps);
        tap->setDelaysTouchesBegan(true);
        tap->setDelegate(m_buttonHandler);
        return tap;
    };
    // A single tap waits until it cannot become a double one, also where one is configured: kept, a double
    // tap must never open twice.
    m_doubleTapGesture = recognizer(2);
    m_singleTapGesture = recognizer(1);
    m_singleTapGesture->requireGestureRecognizerToFail(m_doubleTapGesture);
    setUserInteractionEnabled(true);
    addGestureRecognizer(m_doubleTapGesture);
    addGestureRecognizer(m_singleTapGesture);
}

void TDReportButtonView::addReportButtonToView(const std::shared_ptr<UIView>& adView)
{
    if (!adView)
        return;
    // The slides count in the width that the caption's font and the form give, not in the interface file's.
    setFrame({ this->frame().origin, send(this, sel::intrinsicContentSize) });
    const CGRect frame = getFrameForButtonInView(*adView);
    if (frame == CGRectZero)
        return;
    setFrame(frame);
    // A button that has slid out must not show beside the ad.
    adView->setClipsToBounds(true);
    setTranslatesAutoresizingMaskIntoConstraints(false);
    adView->addSubview(self());
    m_widerAdDiff = widerAdDiffFor(*adView);

    using Attribute = NSLayoutAttribute;
    const double top = m_buttonForm == Form::Short ? 0 : adView->bounds().size.height * topFraction;
    Object* topItem = hasSafeArea() ? static_cast<Object*>(adView->safeAreaLayoutGuide()) : adView.get();
    m_trailingConstraint = NSLayoutConstraint::constraintWithItem(
        this, Attribute::Trailing, adView.get(), Attribute::Trailing, 1, getButtonWidthWithDiff());
    NSLayoutConstraint::activateConstraints({
        m_trailingConstraint,
        NSLayoutConstraint::constraintWithItem(this, Attribute::Top, topItem, Attribute::Top, 1, top),
        NSLayoutConstraint::constraintWithItem(
            this, Attribute::Height, nullptr, Attribute::NotAnAttribute, 1, this->frame().size.height),
    });
    // The slide starts from the hidden place, and goes sideways only.
    layOut(*adView);
    showButton();
}

double TDReportButtonView::widerAdDiffFor(UIView& adView)
{
    // An ad as wide as the screen is high is a full-screen one in landscape.
    const CGSize screen = UIScreen::mainScreen().bounds().size;
    const double width = adView.frame().size.width;
    return width > screen.width && width != screen.height ? screen.width - width : 0;
}

CGRect TDReportButtonView::getFrameForButtonInView(UIView& adView)
{
    return CGRectMake(adView.frame().size.width, adView.bounds().size.height * topFraction,
        frame().size.width, frame().size.height);
}

double TDReportButtonView::getButtonWidthWithDiff() { return frame().size.width + m_widerAdDiff; }

double TDReportButtonView::trailingConstantAt(Place place)
{
    if (place == Place::Hidden)
        return getButtonWidthWithDiff();
    if (place == Place::Full)
        return m_widerAdDiff;
    return bounds().size.width - (m_textLabel ? m_textLabel->frame().origin.x : 0) + m_widerAdDiff;
}

void TDReportButtonView::showButton()
{
    if (m_buttonForm == Form::Full)
        animateFromHiddenToIcon();
    else
        animateFromHiddenToFull();
}

double TDReportButtonView::timeForAnimation() const
{
    return m_buttonForm == Form::Full ? fullFormSlideTime : otherFormSlideTime;
}

void TDReportButtonView::slideTo(
    Place place, std::function<void(TDReportButtonView&, bool finished)> completion)
{
    onMainThread([button = self(), place, completion = std::move(completion)] {
        if (button->m_trailingConstraint)
            button->m_trailingConstraint->setConstant(button->trailingConstantAt(place));
        UIView::animateWithDuration(
            button->timeForAnimation(),
            [&] {
                if (UIView* superview = button->superview())
                    layOut(*superview);
            },
            [weakButton = std::weak_ptr(button), completion](bool finished) {
                if (const auto alive = weakButton.lock())
                    completion(*alive, finished);
            });
    });
}

void TDReportButtonView::afterDelay(double seconds, void (TDReportButtonView::*action)())
{
    dispatch_get_main_queue().asyncAfter(seconds, [button = std::weak_ptr(self()), action] {
        if (const auto alive = button.lock())
            (alive.get()->*action)();
    });
}

void TDReportButtonView::animateFromHiddenToFull()
{
    if (m_buttonState != State::Reported)
        m_buttonState = State::HiddenToFull;
    slideTo(Place::Full, [](TDReportButtonView& button, bool) {
        if (button.m_buttonState == State::Reported)
            return button.afterDelay(stayTime, &TDReportButtonView::animateFromFullToHidden);
        button.m_buttonState = State::Full;
        // A short button stays out.
        if (button.m_buttonForm != Form::Short)
            button.afterDelay(stayTime, &TDReportButtonView::animateFromFullToIcon);
    });
}

void TDReportButtonView::animateFromHiddenToIcon()
{
    if (m_buttonState != State::Reported)
        m_buttonState = State::HiddenToIcon;
    slideTo(Place::Icon, [](TDReportButtonView& button, bool) {
        if (button.m_buttonState != State::Reported)
            button.m_buttonState = State::Icon;
    });
}

void TDReportButtonView::animateFromFullToIcon()
{
    if (m_buttonState != State::Full)
        return;
    m_buttonState = State::FullToIcon;
    // The one slide whose interruption is heeded: kept, what interrupted it sets the state that counts.
    slideTo(Place::Icon, [](TDReportButtonView& button, bool finished) {
        if (finished && button.m_buttonState != State::Reported)
            button.m_buttonState = State::Icon;
    });
}

void TDReportButtonView::animateFromIconToFull()
{
    // The one slide whose start does not spare the reported state: kept, taps reach it from an icon only.
    m_buttonState = State::IconToFull;
    slideTo(Place::Full, [](TDReportButtonView& button, bool) {
        if (button.m_buttonState != State::Reported)
            button.m_buttonState = State::Full;
        button.afterDelay(stayTime, &TDReportButtonView::animateFromFullToIcon);
    });
}

void TDReportButtonView::animateFromFullToHidden()
{
    if (m_buttonState != State::Reported)
        m_buttonState = State::FullToHidden;
    slideTo(Place::Hidden, [](TDReportButtonView& button, bool) {
        if (button.m_buttonState == State::Reported)
            send(&button, sel::removeFromSuperview);
        else
            button.m_buttonState = State::Hidden;
    });
}

void TDReportButtonView::adWasReported()
{
    onMainThread([button = self()] {
        button->makeReportedLayout();
        button->m_buttonState = State::Reported;
        if (button->m_buttonForm == Form::Short) {
            button->m_buttonForm = Form::Reported;
            button->makeFormButtonFull();
        }
        button->animateFromHiddenToFull();
    });
}

void TDReportButtonView::makeReportedLayout()
{
    onMainThread([button = self()] {
        if (button->m_iconView)
            button->m_iconView->setImage(libraryImage("iconConfirmation"));
        if (button->m_textLabel)
            button->m_textLabel->setText("Ad Reported");
    });
}

void TDReportButtonView::sendAdInfo()
{
    if (m_buttonHandler)
        m_buttonHandler->getAdInfo();
}

void TDReportButtonView::setDelegate(Object* delegate)
{
    if (m_buttonHandler && conformsToProtocol(delegate, ReportButtonDelegateProtocol))
        m_buttonHandler->setDelegate(retain(delegate));
}

void TDReportButtonView::sendReportWithInfo(const Value& info)
{
    if (m_buttonHandler)
        m_buttonHandler->sendReportWithInfo(info);
}

// The first launch is asked for last: the question uses it up.
void TDReportButtonView::addTutorialViewOnView(const std::shared_ptr<UIView>& adView)
{
    if (!adView || !m_buttonHandler->ad().isInterstitial()
        || !LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch())
        return;
    if (m_openGR)
        m_openGR->setEnabled(false);
    m_tutorial.scheduleOn(adView);
}

void TDReportButtonView::setupPulseViewWithSuperView(const std::shared_ptr<UIView>& adView)
{
    m_tutorial.pulseAround(m_iconView ? *m_iconView : static_cast<UIView&>(*this), adView);
}

void TDReportButtonView::continueButtonWasPressed()
{
    if (m_openGR)
        m_openGR->setEnabled(true);
    m_tutorial.dismiss();
}

void TDReportButtonView::didMoveToSuperview()
{
    sendSuper(classOf<TDReportButtonView>(), this, sel::didMoveToSuperview);
    // Without a button there is no icon to pulse around.
    if (!superview())
        m_tutorial.removePulse();
}

CGSize TDReportButtonView::intrinsicContentSize()
{
    if (!m_textLabel || !m_xWidthConstraint)
        return frame().size;
    const double caption = send(m_textLabel, sel::intrinsicContentSize).width;
    return { m_textLabel->frame().origin.x + caption + captionPadding - m_xWidthConstraint->constant(),
        frame().size.height };
}

// The same shape for every placement: kept, the button always comes from the right edge.
UIBezierPath TDReportButtonView::getBezierPathFor(int64_t) const
{
    const double radius = m_buttonBackground->frame().size.height / 2;
    return UIBezierPath::bezierPathWithRoundedRect(
        m_buttonBackground->bounds(), UIRectCornerTopLeft | UIRectCornerBottomLeft, { radius, radius });
}

void TDReportButtonView::layoutSubviews()
{
    sendSuper(classOf<TDReportButtonView>(), this, sel::layoutSubviews);
    if (m_buttonForm != Form::Full || !m_buttonBackground)
        return;
    CALayer& body = m_buttonBackground->layer();
    const CGRect bounds = body.bounds();
    auto mask = make<CAShapeLayer>();
    mask->setFrame(bounds);
    mask->setPath(getBezierPathFor(m_localPlacement));
    body.setMask(std::move(mask));
    // The mask alone rounds: a pill's border goes on beyond the straight side, which lies on the ad's edge.
    if (!m_rim) {
        m_rim = make<CALayer>();
        m_rim->setCornerRadius(body.cornerRadius());
        m_rim->setBorderWidth(body.borderWidth());
        m_rim->setBorderColor(body.borderColor());
        body.setCornerRadius(0);
        body.setBorderWidth(0);
        body.addSublayer(m_rim);
    }
    m_rim->setFrame(CGRectMake(0, 0, bounds.size.width + bounds.size.height, bounds.size.height));
    layer().setZPosition(aboveAdContent);
}

} // namespace lumora
