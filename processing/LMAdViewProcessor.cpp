#include "processing/LMAdViewProcessor.h"

#include "core/TDActivationManager.h"
#include "hashing/UIImageCapture.h"
#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMLog.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "platform/uikit/UISwipeGestureRecognizer.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIWindow.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMDefaultConfig.h"
#include "processing/MediationDetector.h"
#include "service/TDEventModel.h"
#include "support/Guarded.h"
#include "support/NSDateExtensions.h"
#include "support/UIViewExtensions.h"

#include <algorithm>

namespace lumora {

namespace {

/// Characters. A shorter markup is the empty page that a web view has before the ad arrives.
constexpr size_t shortestMarkup = 50;
/// How many times the markup may have been read anew before `htmlUpdater` gives up.
constexpr int64_t maxHTMLUpdatesAttemts = 0;

std::string getVersion() { return "null version"; }
std::string getSDKName() { return "sdk name"; }
int64_t libNumber() { return -1; }

bool isShort(const std::string& markup)
{
    constexpr size_t mostBytesOfACharacter = 3;
    return markup.size() < shortestMarkup * mostBytesOfACharacter && utf16Length(markup) < shortestMarkup;
}

bool hasSize(UIView& view)
{
    const CGSize size = view.bounds().size;
    return size.width > 0 && size.height > 0;
}

const char* yesOrNo(bool value) { return value ? "YES" : "NO"; }

/// "name" and ":key" of the first entry, "version" and ":value" of it.
void appendTargeting(NSDictionary& sdk, LMAdViewProcessor& processor)
{
    if (!conformsToProtocol(&processor, CustomTargetingProtocol))
        return;
    const Value targeting = processor.valueForKey("customTargeting");
    if (!targeting.dictionary() || targeting.dictionary()->empty())
        return;
    const auto& [key, value] = *targeting.dictionary()->begin();
    sdk.set("name", sdk["name"].stringOrEmpty() + ":" + key);
    sdk.set("version", sdk["version"].stringOrEmpty() + stringWithFormat(":%@", { value }));
}

} // namespace

const ClassDescription& LMAdViewProcessor::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMAdViewProcessor, NSObject>("LMAdViewProcessor")
            .method<&LMAdViewProcessor::initWithAdObject>(sel::initWithAdObject)
            .method<&LMAdViewProcessor::saveTapEvent>("saveTapEvent"_sel)
            .method<&LMAdViewProcessor::gestureRecognizerShouldRecognizeSimultaneously>(
                sel::gestureRecognizerShouldRecognizeSimultaneouslyWith)
            .protocol("UIGestureRecognizerDelegate")
            .classMethod<&lumora::getVersion>(sel::getVersion)
            .classMethod<&lumora::getSDKName>(sel::getSDKName)
            .classMethod<&lumora::libNumber>(sel::libNumber));
    return description;
}
static const RegisteredClass registered { &LMAdViewProcessor::classDescription };

id LMAdViewProcessor::initWithAdObject(Object* adObject)
{
    m_adObject = weakly(adObject);
    m_html.clear();
    m_linksHash.clear();
    // What an override raises must not cost the ad its processor.
    guarded([this] { startTrackingTapEvents(); });
    guarded([this] { logAd(); });
    m_isDisposed = false;
    m_offlineStateCounter = 0;
    m_blankAdCounter = 0;
    m_lumoraCrId.reset();
    m_isMarkedAsBlankAd = false;
    guarded([this] { getURLsFromAdObject(); });
    m_createAtTimestamp = serverTimeIntervalSince1970();
    m_sendingEventsDispatchGroup = std::make_shared<DispatchGroup>();
    return this;
}

// Identity

std::string LMAdViewProcessor::getAdFormatInString()
{
    switch (getAdFormatId()) {
    case LMAdFormat::Banner:
        return "banner";
    case LMAdFormat::Interstitial:
        return "interstitial";
    case LMAdFormat::Video:
        return "video";
    case LMAdFormat::Native:
        return "native";
    case LMAdFormat::Unknown:
        break;
    }
    return "unknown";
}

std::string LMAdViewProcessor::getAdTypeInString()
{
    return getAdFormatId() == LMAdFormat::Video ? "video" : "html";
}

std::shared_ptr<UIView> LMAdViewProcessor::viewForTakingScreenshot() { return as<UIView>(adObject()); }

std::shared_ptr<UIView> LMAdViewProcessor::adView()
{
    auto view = as<UIView>(adObject());
    return view ? view : viewForTakingScreenshot();
}

bool LMAdViewProcessor::isEqual(const Object* other) const
{
    const auto* processor = dynamic_cast<const LMAdViewProcessor*>(other);
    return processor && isKindOfClass(processor, isa())
        && processor->m_createAtTimestamp == m_createAtTimestamp
        // Also of ads that are gone.
        && !processor->m_adObject.owner_before(m_adObject) && !m_adObject.owner_before(processor->m_adObject);
}

size_t LMAdViewProcessor::hash() const
{
    return std::hash<double> {}(m_createAtTimestamp) ^ std::hash<const Object*> {}(adObject().get());
}

// Taps

/// Tells the processor, which it holds weakly, and takes nothing from the ad.
static void listen(
    const std::weak_ptr<LMAdViewProcessor>& processor, Object* ad, UIGestureRecognizer& recognizer)
{
    recognizer.addTarget(processor, "saveTapEvent"_sel);
    recognizer.setDelegate(processor);
    recognizer.setCancelsTouchesInView(false);
    recognizer.setDelaysTouchesEnded(false);
    send(ad, sel::addGestureRecognizer, &recognizer);
}

void LMAdViewProcessor::startTrackingTapEvents()
{
    dispatch_get_main_queue().async([weakSelf = weakly(this)] {
        const auto self = weakSelf.lock();
        const auto ad = self ? self->adObject() : nullptr;
        if (respondsToSelector(ad.get(), sel::addGestureRecognizer))
            listen(weakSelf, ad.get(), *make<UITapGestureRecognizer>());
    });
}

void LMAdViewProcessor::addGestureRecognizersToView(UIView& view)
{
    for (const int fingers : { 1, 2, 3 }) {
        const auto tap = make<UITapGestureRecognizer>();
        tap->setNumberOfTouchesRequired(fingers);
        listen(weakly(this), &view, *tap);
    }
    listen(weakly(this), &view, *make<UISwipeGestureRecognizer>());
}

void LMAdViewProcessor::saveTapEvent() { m_tapTimestamp = serverTimeIntervalSince1970(); }

// Markup

std::shared_ptr<WKWebView> LMAdViewProcessor::webView()
{
    const auto view = adView();
    return view ? getWebView(*view) : nullptr;
}

void LMAdViewProcessor::getNewHTMLWithPurpose(HTMLPurpose purpose, const HTMLCompletion& completion)
{
    // Only web views have markup: of a banner around one it is that of the page inside, without which a
    // report of the banner would carry none.
    const std::shared_ptr<Object> shown = adView();
    const auto inside = as<WKWebView>(shown) ? nullptr : webView();
    LMHTMLGrabber::getNewHTMLForView(inside ? inside : shown, purpose, completion);
}

void LMAdViewProcessor::updateHTMLWithSuccess(const std::function<void(bool)>& completion)
{
    if (!adObject())
        return completion(false);
    getNewHTMLWithPurpose(
        HTMLPurpose::Inspection, [self = retain(this), completion](bool success, const std::string& html) {
            if (success)
                self->m_html = html;
            completion(success);
        });
}

void LMAdViewProcessor::htmlUpdater(const std::function<void(const std::string& html)>& completion)
{
    htmlUpdaterRecursive([self = retain(this), completion] { completion(self->m_html); });
}

void LMAdViewProcessor::htmlUpdaterRecursive(const std::function<void()>& completion)
{
    if (m_htmlUpdatesAttempts > maxHTMLUpdatesAttemts)
        return completion();
    m_htmlUpdatesAttempts++;
    if (!isShort(m_html))
        return completion();
    updateHTMLWithSuccess([self = retain(this), completion](bool) {
        if (isShort(self->m_html))
            self->htmlUpdaterRecursive(completion);
        else
            completion();
    });
}

void LMAdViewProcessor::forgetMarkup()
{
    m_html = std::string {};
    m_storeLinks->begin();
}

void LMAdViewProcessor::getURLsFromAdObject()
{
    const StoreLinks::Search search = m_storeLinks->begin();
    if (std::vector<std::string> own = getURLForCustomView(); !own.empty())
        return m_storeLinks->end(search, std::move(own));
    if (!adObject())
        return;
    getNewHTMLWithPurpose(HTMLPurpose::Event,
        [links = std::weak_ptr(m_storeLinks), search](bool success, const std::string& html) {
            if (success && !html.empty())
                StoreLinks::find(links, search, html);
        });
}

// Events

NSDictionary LMAdViewProcessor::getBaseInfoAboutAd()
{
    const auto view = adView();
    const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig();
    const NSDictionary sdk = MediationDetector::getFinalSDKNameAndVersion(adObject().get(), isa());
    std::string screenshot;
    guarded([&] {
        // Kept: the first picture only makes the layers draw what they have pending.
        if (view && hasSize(*view))
            captureScreenWithView(view.get());
        if (const auto pictured = viewForTakingScreenshot())
            screenshot = base64Encoded(UIImagePNGRepresentation(lumora::takeScreenshot(*pictured)));
    });
    return {
        { "creativeId", getCreativeID() },
        { "metadata",
            NSDictionary { { "placementId", getPlacementID() },
                { "config", NSDictionary { { "buttonTap", config ? config->buttonTap() : Value {} } } } } },
        { "sdk", sdk["name"] },
        { "adFormat", getAdFormatInString() },
        { "adType", getAdTypeInString() },
        { "sdkVersion", sdk["version"] },
        { "screenshot", screenshot },
    };
}

void LMAdViewProcessor::updateEventInfo(
    const std::shared_ptr<TDEventModel>& event, const EventCompletion& completion)
{
    const NSDictionary info = getBaseInfoAboutAd();
    event->setCreativeId(info["creativeId"].stringOrEmpty());
    // Kept: replaces what the event's finder has put there.
    event->setAdditionalInfo(*info["metadata"].dictionary());
    event->setSdk(info["sdk"].stringOrEmpty());
    event->setAdFormat(info["adFormat"].stringOrEmpty());
    event->setAdType(info["adType"].stringOrEmpty());
    event->setSdkVersion(info["sdkVersion"].stringOrEmpty());
    event->setScreenshot(info["screenshot"].stringOrEmpty());
    getNewHTMLWithPurpose(HTMLPurpose::Event, [event, completion](bool, const std::string& html) {
        event->setHtml(html);
        completion(event);
    });
}

// On screen or not

void LMAdViewProcessor::takeScreenshot()
{
    TDActivationManager::sharedInstance().checkActivationWithBlock([self = retain(this)](bool active) {
        if (active)
            dispatch_get_main_queue().async([self] { self->screenshotProcessing(); });
    });
}

bool LMAdViewProcessor::isHidden(UIView* view)
{
    UIWindow* const window = view ? view->window() : nullptr;
    const bool isWindowHidden = window && window->isHidden();
    const bool isInHidden = view && isSuperviewHidden(*view);
    if (window && !isWindowHidden && !isInHidden)
        return false;
    const auto say = [&](const char* format, const char* what) {
        LMLog::logDebug(stringWithFormat(format, { description(), what }));
    };
    const auto ad = adObject();
    say("[LMAdViewProcessor][screenshotProcessing] %@ checking his webview (%@ class)",
        object_getClassName(ad.get()).c_str());
    say("[LMAdViewProcessor][screenshotProcessing] %@ window exists (should be YES): %@", yesOrNo(window));
    say("[LMAdViewProcessor][screenshotProcessing] %@ window hidden (should be NO): %@",
        yesOrNo(isWindowHidden));
    say("[LMAdViewProcessor][screenshotProcessing] %@ window superview hidden (should be NO): %@",
        yesOrNo(isInHidden));
    say("[LMAdViewProcessor][screenshotProcessing] %@ ad view is hidden", "");
    return true;
}

void LMAdViewProcessor::screenshotProcessing()
{
    // A suspended one may still have a look pending: nothing may wake it by this.
    const bool isSuspended = m_offlineStateCounter < 0;
    const auto ad = adObject();
    const auto view = adView();
    if (isHidden(view.get())) {
        m_offlineStateCounter += isSuspended ? 0 : 1;
        return;
    }
    const double now = serverTimeIntervalSince1970();
    if (!m_lastHash) {
        // Nobody sets the hashes, so an untapped ad on screen stays young and its identity changes: kept.
        if (m_tapTimestamp == 0)
            m_createAtTimestamp = now;
        else
            LMLog::logDebug("race condition!");
    }
    if (!ad || m_isDisposed)
        return;
    if (now - m_createAtTimestamp > static_cast<double>(LMDefaultConfig::maxScreenshotTime())) {
        LMLog::logDebug(stringWithFormat(
            "[LMAdViewProcessor][screenshotProcessing] %@ advert on view is more than max screenshot time",
            { description() }));
        m_offlineStateCounter += isSuspended ? 0 : 1;
        return;
    }
    const auto pictured = viewForTakingScreenshot();
    if (!hasSize(*view) || !pictured || !hasSize(*pictured))
        return;
    // Kept: nothing is done with it, but it asks the network's overrides for their facts.
    guarded([this] { describeAd(); });
    if (!isSuspended)
        m_offlineStateCounter = 0;
    // Kept: said although none is.
    LMLog::logMessage("[LMAdViewProcessor][takeScreenshot] screenshot is taken");
}

NSDictionary LMAdViewProcessor::describeAd()
{
    NSDictionary other = getOtherInfo();
    if (m_lumoraCrId && !m_isMarkedAsBlankAd)
        other.set("blocked", true);
    NSDictionary sdk = MediationDetector::getFinalSDKNameAndVersion(adObject().get(), isa());
    appendTargeting(sdk, *this);
    if (m_isMarkedAsBlankAd)
        sdk.set("name", sdk["name"].stringOrEmpty() + ":Lumora");
    const auto info = dataWithJSONObject(
        NSDictionary { { "other", std::move(other) } }, NSJSONWritingOptions::PrettyPrinted);
    return { { "info", info ? Value { *info } : Value {} }, { "sdk", std::move(sdk) } };
}

// A new showing

void LMAdViewProcessor::setCreateAtTimestamp(double secondsSince1970)
{
    updateHTMLWithSuccess(
        [self = retain(this), secondsSince1970](bool) { self->beginShowing(secondsSince1970); });
}

void LMAdViewProcessor::beginShowing(double secondsSince1970)
{
    const auto ad = as<WKWebView>(adObject());
    if (ad && stringWithFormat("%@", { send(ad, sel::url) }) == "about:blank") {
        // The ads of these legitimately sit on a blank page; of others it is the page before the ad.
        constexpr const char* onBlankPages[] = { "Amazon", "InMobi", "AOL", "Rubicon" };
        const std::string name = send(isa(), sel::getSDKName);
        if (std::find(std::begin(onBlankPages), std::end(onBlankPages), name) == std::end(onBlankPages))
            return;
    }
    m_createAtTimestamp = secondsSince1970;
    m_lastHash.reset();
    m_offlineStateCounter = 0;
    const bool staysBlocked = m_blankAdCounter == 2 || (m_blankAdCounter == -1 && m_lumoraCrId);
    if (!staysBlocked) {
        m_lumoraCrId.reset();
        m_blankAdCounter = 0;
        m_isMarkedAsBlankAd = false;
    }
    guarded([this] { getURLsFromAdObject(); });
}

Value LMAdViewProcessor::getLastHash() const
{
    const Value* const p = m_lastHash ? m_lastHash->find("pHash") : nullptr;
    const Value* const a = m_lastHash ? m_lastHash->find("aHash") : nullptr;
    if (!p || !a)
        return "error";
    return NSDictionary { { "pHash", *p }, { "aHash", *a } };
}

std::shared_ptr<CALayer> LMAdViewProcessor::getAVLayerWith(CALayer& layer)
{
    const Class player = NSClassFromString("AVPlayerLayer");
    for (const std::shared_ptr<CALayer>& sublayer : layer.sublayers()) {
        if (auto below = getAVLayerWith(*sublayer))
            return below;
        if (player && isKindOfClass(sublayer.get(), player))
            return sublayer;
    }
    return nullptr;
}

} // namespace lumora
