// When the networks show their ads: the hook classes by which the processors pipeline is told. What is hooked
// is the method that a network calls at that moment, in most rows the one that the report button's hook
// stands on too; its type is the same to the letter, or the method would be left alone.

#include "interception/Extraction.h"
#include "interception/Swizzling.h"
#include "platform/objc/ClassDescription.h"
#include "platform/uikit/UIView.h"
#include "processing/ShownAd.h"

#include <tuple>

namespace lumora {

namespace {

using Part = ShownAd::Part;
using Candidate = ShownAd::Candidate;
using Circumstances = ShownAd::Circumstances;
using Moment = ShownAd::Moment;

constexpr Candidate itself(Part part) { return { part }; }
constexpr Candidate at(Part part, const char* keyPath) { return { part, keyPath }; }
constexpr Candidate foundIn(Part part) { return { part, nullptr, true }; }

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

using enum ShownAd::Part;

// In the order in which the classes are asked to install their hooks, those of a class together. Never
// destroyed: networks may call from threads of their own until the very end.
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
