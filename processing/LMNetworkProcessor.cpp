#include "processing/LMNetworkProcessor.h"

#include "interception/AdViewSearch.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/dispatch/Executor.h"
#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UIViewController.h"
#include "platform/webkit/WKWebView.h"
#include "processing/ProcessorsManager.h"
#include "support/UIViewControllerExtensions.h"
#include "support/UIViewExtensions.h"

#include <algorithm>
#include <unordered_map>

namespace lumora {

namespace {

// Filled while the descriptions are made, before any process has one of the classes.
std::unordered_map<std::string_view, const ProcessorClass*>& rows()
{
    static auto& all = *new std::unordered_map<std::string_view, const ProcessorClass*>;
    return all;
}

const ProcessorClass& rowOf(Class self)
{
    for (Class cls = self; cls; cls = cls->superclass()) {
        const auto row = rows().find(cls->name());
        if (row != rows().end())
            return *row->second;
    }
    throw NSException(NSInvalidArgumentException, NSStringFromClass(self) + " is no network's processor");
}

std::string sdkName(Class self) { return rowOf(self).sdkName; }
std::string version(Class self)
{
    return send(NSClassFromString(rowOf(self).metadataClasses.front()), sel::getVersion);
}

bool isInside(Object* ad, const char* kind)
{
    while (ad && !isKindOfClassNamed(ad, kind))
        ad = superviewOf(ad);
    return ad;
}

// The address is the key.
const char* const shownAdKey = "the processor whose ad a view shows";

std::shared_ptr<LMAdViewProcessor> shownIn(const UIView& view)
{
    return as<LMAdViewProcessor>(objc_getAssociatedObject(view, &shownAdKey).object());
}

/// The web view in the controller on top, or in one around that, if it is of that kind.
std::shared_ptr<UIView> webViewOnTop(const char* container)
{
    UIViewController* controller = currentViewController();
    while (controller && !isKindOfClassNamed(controller, container))
        controller = controller->parentViewController();
    return AdViewSearch::webViewIn(AdViewSearch::viewOf(retain(controller)));
}

const std::vector<ProcessorClass>& networks()
{
    static const auto& all = *new std::vector<ProcessorClass> {
        {
            .name = "STProcessor",
            .sdkName = "Sharethrough",
        },
        {
            .name = "LMAdColonyInterstitialProcessor",
            .sdkName = "AdColony",
            .format = LMAdFormat::Interstitial,
            .metadataClasses = { "TDMetaclass_AdColony_interstitial" },
            .container = "ADCContainer",
            // The report button has that of the ad shown last, which need not be this one.
            .creativeId = fromView({ "creativeID" }, Numbers::AsText),
        },
        {
            .name = "LMMoPubBannerProcessor",
            .sdkName = "MoPub",
            .format = LMAdFormat::Banner,
            .metadataClasses = { "TDMetaclass_MoPub_banner" },
        },
        {
            .name = "LMMoPubInterstitialProcessor",
            .sdkName = "MoPub",
            .format = LMAdFormat::Interstitial,
            .metadataClasses = { "TDMetaclass_MoPub_interstitial", "TDMetaclass_MoPub_rewarded" },
        },
        {
            .name = "LMRubiconProcessor",
            .sdkName = "Rubicon",
        },
        {
            .name = "LMFacebookProcessor",
            .sdkName = "Facebook",
            .format = LMAdFormat::Banner,
            .interstitialKinds = { "FBInterstitialAd", "FBInterstitialVideoAdContentView" },
            .metadataClasses = { "TDMetaclass_Facebook_banner", "TDMetaclass_Facebook_interstitial" },
        },
        {
            .name = "LMAmazonProcessor",
            .sdkName = "Amazon",
            .format = LMAdFormat::Banner,
            .interstitialKinds = { "AMAMraidInterstitialAdView" },
            .metadataClasses = { "TDMetaclass_Amazon_banner" },
        },
        {
            .name = "LMSmaatoProcessor",
            .sdkName = "Smaato",
            .metadataClasses = { "TDMetaclass_Smaato_banner" },
        },
        {
            .name = "LMOpenXProcessor",
            .sdkName = "OpenX",
            .metadataClasses = { "TDMetaclass_OpenX_banner", "TDMetaclass_OpenX_interstitial" },
        },
        {
            .name = "LMAOLProcessor",
            .sdkName = "AOL",
            .metadataClasses = { "TDMetaclass_AOL_banner" },
        },
        {
            .name = "LMIronSourceProcessor",
            .sdkName = "Ironsource",
            .format = LMAdFormat::Interstitial,
            .metadataClasses = { "TDMetaclass_Ironsource_interstitial" },
        },
        {
            .name = "LMInMobiProcessor",
            .sdkName = "InMobi",
            .metadataClasses = { "TDMetaclass_InMobi_interstitial" },
        },
        {
            .name = "LMAppNexusProcessor",
            .sdkName = "AppNexus",
            .metadataClasses = { "TDMetaclass_AppNexus_banner" },
        },
    };
    return all;
}

const RegisteredClasses registered { [] {
    std::vector<const ClassDescription*> descriptions;
    for (const ProcessorClass& row : networks())
        descriptions.push_back(
            new ClassDescription(LMNetworkProcessor::describe(row, LMNetworkProcessor::classDescription())));
    return descriptions;
} };

} // namespace

const ClassDescription& LMNetworkProcessor::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<LMNetworkProcessor, LMAdViewProcessor>("LMNetworkProcessor"));
    return description;
}

ClassDescription LMNetworkProcessor::describe(const ProcessorClass& row, const ClassDescription& base)
{
    rows().emplace(row.name, &row);
    ClassDescription description = ClassDescription::named(row.name, base);
    description.classMethod<&sdkName>(sel::getSDKName);
    if (!row.metadataClasses.empty())
        description.classMethod<&version>(sel::getVersion);
    return description;
}

const ProcessorClass& LMNetworkProcessor::row() const { return rowOf(isa()); }

std::string LMNetworkProcessor::ask(const TypedSelector<std::string(id)>& identifier)
{
    if (row().metadataClasses.empty())
        return "";
    // Identifiers are read from where the creative is.
    const std::shared_ptr<UIView> view = viewForTakingScreenshot();
    const std::shared_ptr<UIView> page = view ? getWebView(*view) : nullptr;
    const std::shared_ptr<UIView> creative = page ? page : view;
    for (const char* name : row().metadataClasses) {
        Class metadataClass = NSClassFromString(name);
        if (!creative || !respondsToSelector(metadataClass, identifier))
            continue;
        if (std::string answer = send(metadataClass, identifier, creative); !answer.empty())
            return answer;
    }
    return "";
}

std::string LMNetworkProcessor::getCreativeID()
{
    const ReadFromView& own = row().creativeId;
    return own ? own(adObject().get()) : ask(sel::getCreativeIDWithObject);
}

std::string LMNetworkProcessor::getPlacementID() { return ask(sel::getPlacementIDWithObject); }

LMAdFormat LMNetworkProcessor::getAdFormatId()
{
    const std::vector<const char*>& kinds = row().interstitialKinds;
    const auto ad = adObject();
    const bool isInterstitial
        = std::any_of(kinds.begin(), kinds.end(), [&](const char* kind) { return isInside(ad.get(), kind); });
    return isInterstitial ? LMAdFormat::Interstitial : row().format;
}

bool LMNetworkProcessor::isShownIn(UIView& view) const
{
    const auto shown = shownIn(view);
    if (shown && shown->adObject())
        return shown.get() == this;
    const auto processors = ProcessorsManager::sharedInstance().getAllProcessors();
    return std::none_of(processors.begin(), processors.end(), [&](const auto& other) {
        return other->isa() == isa() && other->adObject() && other->createAtTimestamp() > createAtTimestamp();
    });
}

std::shared_ptr<UIView> LMNetworkProcessor::findView()
{
    const auto ad = adObject();
    if (auto view = AdViewSearch::viewOf(ad))
        return view;
    if (auto view = AdViewSearch::webViewOwnedBy(ad))
        return view;
    auto view = ad && row().container ? webViewOnTop(row().container) : nullptr;
    return view && isShownIn(*view) ? view : nullptr;
}

void LMNetworkProcessor::listenTo(UIView& view)
{
    bool isListening = false;
    for (const auto& recognizer : std::vector { view.gestureRecognizers() }) {
        const auto listener = as<LMAdViewProcessor>(retain(recognizer->delegate()));
        isListening = isListening || listener.get() == this;
        if (listener && !listener->adObject())
            view.removeGestureRecognizer(recognizer.get());
    }
    if (isListening)
        return;
    objc_setAssociatedObject(view, &shownAdKey, Value::weak(weakly<Object>(this)));
    addGestureRecognizersToView(view);
}

std::shared_ptr<UIView> LMNetworkProcessor::viewForTakingScreenshot()
{
    auto view = findView();
    // The ad object's own taps are the base's.
    if (view && view != adObject())
        listenTo(*view);
    return view;
}

void LMNetworkProcessor::startTrackingTapEvents()
{
    if (as<UIView>(adObject()))
        return LMAdViewProcessor::startTrackingTapEvents();
    dispatch_get_main_queue().async([weakSelf = weakly(this)] {
        if (const auto self = weakSelf.lock())
            self->viewForTakingScreenshot();
    });
}

} // namespace lumora
