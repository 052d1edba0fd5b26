// When the networks show their ads: the hook classes by which the processors pipeline is told. What is hooked
// is the method that a network calls at that moment, in most rows the one that the report button's hook
// stands on too; its type is the same to the letter, or the method would be left alone.

#include "interception/AdViewSearch.h"
#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "platform/dispatch/Executor.h"
#include "platform/objc/ClassDescription.h"
#include "platform/process/Process.h"
#include "platform/uikit/UIView.h"
#include "processing/AdProcessingManager.h"
#include "processing/LMAdViewProcessorsFactory.h"
#include "support/Guarded.h"

#include <array>
#include <tuple>

namespace lumora {

namespace {

/// What takes part in a call: its receiver, the objects among its arguments, and what it answers.
enum class Part { Receiver, First, Second, Answer };
constexpr size_t parts = 4;

/// An object that may be the ad object, told by a part of the call.
struct Candidate {
    Part part;
    /// From the part to the object; the part itself if there is none.
    const char* keyPath { nullptr };
    /// Whether the ad object is looked for inside of it.
    bool isSearched { false };
    /// What it has to be of; anything if unset.
    const char* kind { nullptr };
};
constexpr Candidate itself(Part part) { return { part }; }
constexpr Candidate at(Part part, const char* keyPath) { return { part, keyPath }; }
constexpr Candidate foundIn(Part part) { return { part, nullptr, true }; }

/// What is special about a moment.
struct Circumstances {
    /// Where the receiver is looked for besides in itself.
    AdMoment moment { AdMoment::Loaded };
    /// Whether an ad comes on screen by this call, from the receiver and the first argument; always if unset.
    bool (*isShown)(id self, id argument) { nullptr };
    Hook::Kind kind { Hook::Kind::Method };
};

/// One hooked method. One that answers no has shown nothing.
struct Moment {
    /// The class whose `swizzleMethods` installs the hook.
    const char* swizzler;
    const char* className;
    const char* selector;
    /// The first that a processor understands is handed over; else the first that is there.
    std::vector<Candidate> candidates;
    Circumstances circumstances;
};

bool isUnderstood(Object* object)
{
    return LMAdViewProcessorsFactory::getProcessorClassForAd(object) != nullptr;
}

/// One call of a hooked method, on any thread. Holds nothing of the network's, which may let go of all of it.
class ShownAd {
public:
    ShownAd(const Moment& moment, id self, std::initializer_list<id> arguments) noexcept
        : m_moment(moment)
    {
        guardedHook(self, [&] {
            const id first = arguments.size() ? *arguments.begin() : nullptr;
            if (const auto isShown = moment.circumstances.isShown; isShown && !isShown(self, first))
                return;
            m_search = AdViewSearch(moment.circumstances.moment);
            keep(Part::Receiver, weakly(self));
            for (size_t i = 0; i < arguments.size() && i < 2; i++)
                keep(i ? Part::Second : Part::First, weakly(arguments.begin()[i]));
            m_process = &Process::current();
        });
    }
    /// Hands the ad over on the main queue's next turn, when the network has put its view where it belongs.
    void handOver(const std::shared_ptr<Object>& answer = nullptr) noexcept
    {
        if (!m_process)
            return;
        keep(Part::Answer, answer);
        Process::Scope scope(*m_process);
        guarded([this] { dispatch_get_main_queue().async([shown = *this] { shown.logAd(); }); });
    }

private:
    void keep(Part part, const std::weak_ptr<Object>& object) { m_parts[static_cast<size_t>(part)] = object; }
    std::shared_ptr<Object> find(const Candidate& candidate) const
    {
        auto object = m_parts[static_cast<size_t>(candidate.part)].lock();
        if (candidate.keyPath)
            object = getValueFromObject(object.get(), candidate.keyPath).object();
        // Also of one that is gone: what it presents is there.
        if (candidate.isSearched)
            object = m_search.find(object, [](UIView& view) { return isUnderstood(&view); });
        return !candidate.kind || isKindOfClassNamed(object.get(), candidate.kind) ? object : nullptr;
    }
    void logAd() const
    {
        std::shared_ptr<Object> ad;
        for (const Candidate& candidate : m_moment.candidates) {
            auto found = find(candidate);
            const bool understood = found && isUnderstood(found.get());
            if (!ad || understood)
                ad = std::move(found);
            if (understood)
                break;
        }
        if (ad)
            AdProcessingManager::logAd(ad, true);
    }

    const Moment& m_moment;
    Process* m_process { nullptr };
    AdViewSearch m_search;
    std::array<std::weak_ptr<Object>, parts> m_parts;
};

bool isWithoutError(id, id error) { return !error; }
bool isWithArgument(id, id argument) { return argument; }
bool isInWindow(id self, id)
{
    auto* view = as<UIView>(self);
    return view && view->window();
}
// Exactly this class: the interstitial's view is a subclass and has a moment of its own.
bool isSmaatosOwn(id self, id) { return object_getClassName(self) == "SOMAAdView"; }
bool isVervesInterstitial(id, id ad) { return isKindOfClassNamed(ad, "VWInterstitialAd"); }

/// A moment with the type of its method, receiver and selector left out.
template <typename F> struct Row : Moment {
};
template <typename F>
Row<F> row(const char* swizzler, const char* className, const char* selector,
    std::initializer_list<Candidate> candidates, const Circumstances& circumstances = {})
{
    return { { swizzler, className, selector, candidates, circumstances } };
}

using enum Part;

// In the order in which the classes are asked to install their hooks. Never destroyed: networks may call from
// threads of their own until the very end.
const auto& rows = *new const std::tuple {
    row<void(id)>("LMGoogleCommonSwizzler", "GADBannerView", "adViewDidReceiveAd:",
        { at(Receiver, "_bannerView._bannerAd._adView._view._view._viewToSwap._webView"), itself(Receiver) }),
    row<void(id)>("LMGoogleCommonSwizzler", "GADInterstitial",
        "adLoadCompletedWithError:", { itself(Receiver) }, { .isShown = &isWithoutError }),
    row<void(id)>("LMGoogleCommonSwizzler", "GADUnifiedNativeAdView", "setNativeAd:",
        { at(First, "_internalNativeAd._nativeAdContext._context._webViewController._webView"),
            itself(Receiver) },
        { .isShown = &isWithArgument }),

    row<void()>("LMFacebookSwizzler", "FBDisplayAdController", "notifyAdViewPresented", { foundIn(Receiver) },
        { .moment = AdMoment::DidShow }),
    row<void(id)>("LMFacebookSwizzler", "FBNativeAdBase", "setNativeAdView:", { foundIn(First) }),

    row<void(id)>("LMMoPubSwizzler", "MPAdView", "managerDidLoadAd:", { foundIn(First), itself(Receiver) }),
    row<void(id)>("LMMoPubSwizzler", "MPInterstitialAdManager", "presentInterstitialFromViewController:",
        { foundIn(Receiver), { Receiver, "_delegate", false, "MPInterstitialAdController" } },
        { .moment = AdMoment::WillShow }),
    row<void(id, id, const std::string&)>("LMMoPubSwizzler", "MPRewardedVideoAdManager",
        "presentRewardedVideoAdFromViewController:withReward:customData:", { foundIn(Receiver) },
        { .moment = AdMoment::WillShow }),
    row<std::shared_ptr<Object>(void*)>(
        "LMMoPubSwizzler", "MPNativeAd", "retrieveAdViewWithError:", { foundIn(Answer) }),

    row<void()>("LMAmazonSwizzler", "AMMRAdView", "didMoveToWindow", { foundIn(Receiver) },
        { .isShown = &isInWindow }),
    row<void()>("LMAmazonSwizzler", "AMAMraidInterstitialAdView", "didMoveToWindow", { foundIn(Receiver) },
        { .isShown = &isInWindow }),

    row<void(id)>("LMSmaatoSwizzer", "SOMAAdView", "renderedAdViewDidFinishedRendering:",
        { at(First, "_webView"), foundIn(First) }, { .isShown = &isSmaatosOwn }),
    row<void(id)>("LMSmaatoSwizzer", "SOMAInterstitialAdView", "show:", { foundIn(Receiver) },
        { .moment = AdMoment::WillShow }),
    row<void(id)>("LMSmaatoSwizzer", "SOMANativeAd", "registerViewForUserInteraction:", { foundIn(First) }),

    row<void(id)>("LMInMobiSwizzler", "IMBanner", "adDidFinishLoad:", { foundIn(Receiver) }),
    row<void(id)>("LMInMobiSwizzler", "IMBanner", "bannerViewDidLoadAd:", { foundIn(Receiver) },
        { .kind = Hook::Kind::MethodOtherwise }),
    row<void(bool)>(
        "LMInMobiSwizzler", "IMNativeRenderViewController", "viewDidAppear:", { foundIn(Receiver) }),
    row<void(bool)>("LMInMobiSwizzler", "IMRenderViewController", "viewDidAppear:", { foundIn(Receiver) }),

    row<void(id, id)>("LMAppNexusSwizzler", "ANBannerAdView",
        "universalAdFetcher:didFinishRequestWithResponse:", { foundIn(Receiver) }),
    row<void(id)>("LMAppNexusSwizzler", "ANInterstitialAd",
        "displayAdFromViewController:", { foundIn(Receiver) }, { .moment = AdMoment::WillShow }),
    row<bool(id, id, const Value&, void*)>("LMAppNexusSwizzler", "ANNativeAdResponse",
        "registerViewForTracking:withRootViewController:clickableViews:error:", { foundIn(First) }),

    row<void()>("LMRubiconSwizzler", "RFMAdView", "didMoveToWindow", { itself(Receiver) },
        { .isShown = &isInWindow }),

    row<void()>("LMAOLSwizzler", "MMInlineAd", "contentLoadSucceeded", { foundIn(Receiver) }),
    row<void()>("LMAOLSwizzler", "MMInterstitialAd", "willDisplay", { foundIn(Receiver) },
        { .moment = AdMoment::WillShow }),
    row<std::shared_ptr<Object>(id)>(
        "LMAOLSwizzler", "MMNativeAd", "loadIntoLayoutFromBundle:", { foundIn(Answer) }),

    row<void()>("LMOpenXSwizzler", "OXMBannerView", "adDidDisplay", { foundIn(Receiver) }),
    row<void()>("LMOpenXSwizzler", "OXMInterstitialController", "show", { foundIn(Receiver) },
        { .moment = AdMoment::WillShow }),

    row<void(id, id)>("STSwizzler", "STRAdRenderer", "renderAd:inPlacement:", { at(Second, "adView") }),

    row<void(id)>(
        "LMIronSourceSwizzler", "SupersonicAdsPublisher", "setSupersonicAdsView:", { foundIn(First) }),

    row<void(id)>("LMVerveSwizzler", "VWAdvertView", "adViewDidFinishLoadingAd:", { foundIn(Receiver) }),
    row<void(id)>("LMVerveSwizzler", "VWFullscreenAdViewController", "adViewDidFinishLoadingAd:",
        { foundIn(First), foundIn(Receiver) }, { .isShown = &isVervesInterstitial }),

    row<bool(id)>("LMAdColonySwizzler", "AdColonyInterstitial",
        "showWithPresentingViewController:", { itself(Receiver) }),

    row<void(bool)>("LMVungleSwizzler", "VungleAdViewController", "viewWillAppear:", { foundIn(Receiver) }),
    row<void(bool)>(
        "LMVungleSwizzler", "VungleMRAIDViewController", "viewWillAppear:", { foundIn(Receiver) }),

    row<void(id)>(
        "LMTapJoySwizzler", "TJCViewController", "setPlacementViewDelegate:", { foundIn(Receiver) }),

    // Its class methods are the report button's: the first hook of one leaves a second nothing to see.
    row<void(bool)>("LMUnitySwizzler", "UADSViewController", "viewDidAppear:", { foundIn(Receiver) }),

    row<void(id)>("LMVerizonSwizzler", "VASInlineAdView",
        "setupAndStartWatchingView:", { at(First, "_wkWebView"), at(Receiver, "_wkWebView") }),
    row<void()>("LMVerizonSwizzler", "VASInterstitialAd", "adDidShow",
        { at(Receiver, "_ad._adAdapter._webController._webView._wkWebView") }),

    row<std::shared_ptr<Object>(id)>("AATKitSwizzler", "AATKit", "getPlacementView:", { foundIn(Answer) },
        { .kind = Hook::Kind::ClassMethod }),
    row<bool(id)>("AATKitSwizzler", "AATKit", "showPlacement:", { foundIn(Receiver) },
        { .moment = AdMoment::WillShow, .kind = Hook::Kind::ClassMethod }),
};
using Rows = std::remove_reference_t<decltype(rows)>;
constexpr size_t countOfRows = std::tuple_size_v<Rows>;

template <typename T> id objectIn(const T& argument)
{
    if constexpr (std::is_same_v<T, id>)
        return argument;
    else
        return nullptr;
}

/// What stands in for the method of a row, and what it replaced there.
template <size_t Index, typename F> struct Replacement;
template <size_t Index, typename R, typename... A> struct Replacement<Index, const Row<R(A...)>> {
    static inline Slot<R(id, SEL, A...)> replacedIMP;
    static R lumora_logShownAd(id self, SEL _cmd, A... arguments)
    {
        ShownAd shown(std::get<Index>(rows), self, { objectIn<A>(arguments)... });
        if constexpr (std::is_void_v<R>) {
            replacedIMP(self, _cmd, arguments...);
            shown.handOver();
        } else {
            R answer = replacedIMP(self, _cmd, arguments...);
            if constexpr (!std::is_same_v<R, bool>)
                shown.handOver(answer);
            else if (answer)
                shown.handOver();
            return answer;
        }
    }
};

template <size_t Index> Hook hookOf()
{
    using Here = Replacement<Index, std::tuple_element_t<Index, Rows>>;
    const Moment& moment = std::get<Index>(rows);
    return { moment.className, moment.selector, &Here::lumora_logShownAd, &Here::replacedIMP,
        moment.circumstances.kind };
}

/// Every row's hook with the class that installs it.
template <size_t... Index> std::vector<std::pair<const char*, Hook>> makeHooks(std::index_sequence<Index...>)
{
    return { { std::get<Index>(rows).swizzler, hookOf<Index>() }... };
}
const std::vector<std::pair<const char*, Hook>>& allHooks()
{
    static const auto& hooks = *new auto(makeHooks(std::make_index_sequence<countOfRows> {}));
    return hooks;
}

void swizzleMethods(Class self)
{
    std::vector<Hook> own;
    for (const auto& [swizzler, hook] : allHooks()) {
        if (self->name() == swizzler)
            own.push_back(hook);
    }
    installHooks(own);
}

std::vector<const ClassDescription*> describeSwizzlers()
{
    std::vector<const ClassDescription*> descriptions;
    for (const auto& [swizzler, hook] : allHooks()) {
        if (descriptions.empty() || descriptions.back()->name() != swizzler)
            descriptions.push_back(
                new ClassDescription(ClassDescription::named(swizzler, NSObject::classDescription())
                                         .classMethod<&swizzleMethods>(sel::swizzleMethods)));
    }
    return descriptions;
}
const RegisteredClasses registered { &describeSwizzlers };

} // namespace

} // namespace lumora
