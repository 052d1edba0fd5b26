#include "interception/Swizzling.h"
#include "interception/TDMetadataClassProtocol.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandIns.h"

#include <gtest/gtest.h>
#include <tuple>

// Metadata classes asked directly, about objects that no stand-in has.

namespace lumora {
namespace {

const std::string unavailable = "version param is not available";

Class metadataClass(const std::string& name) { return NSClassFromString("TDMetaclass_" + name); }

/// An object with values under key paths.
std::shared_ptr<UIView> holding(const NSDictionary& values, const std::string& className = "Holder")
{
    const auto nowhere = make<UIViewController>();
    StandInAd ad(*nowhere);
    auto root = standInView(className, { 10, 10 });
    for (const auto& [keyPath, value] : values)
        ad.plant("", root, keyPath, value);
    return root;
}

// Ways to ask about such an object.
using Ask = std::string (*)(Class, UIView&);
std::string creative(Class cls, UIView& view) { return send(cls, sel::getCreativeIDWithObject, &view); }
std::string placement(Class cls, UIView& view) { return send(cls, sel::getPlacementIDWithObject, &view); }
template <Ask ask> std::string below(Class cls, UIView& view)
{
    view.addSubview(make<UIView>());
    return ask(cls, *view.subviews().back());
}
std::string creativeOfObject(Class cls, UIView& object)
{
    return send(cls, sel::getCreativeIDWithObject_withSupportObject, nullptr, &object);
}
std::string infoOfView(Class cls, UIView& view)
{
    return Value { NSArray { send(cls, sel::getOtherInfoForView, &view) } }.description();
}

/// What a class answers, all in one, to every question that it takes.
std::string answersAbout(Class cls, id view, id object)
{
    std::string found;
    auto ask = [&](const auto& selector, auto... arguments) {
        if (!respondsToSelector(cls, selector))
            return;
        const auto answer = send(cls, selector, arguments...);
        if constexpr (std::is_same_v<decltype(answer), const std::string>)
            found += answer;
        else
            found += answer != decltype(answer) {} ? "something" : "";
    };
    ask(sel::getCreativeIDWithObject, view);
    ask(sel::getCreativeIDWithObject_withSupportObject, view, object);
    ask(sel::getPlacementIDWithObject, view);
    ask(sel::getPlacementIDWithObject_withSupportObject, view, object);
    ask(sel::getOtherInfoForView, view);
    ask(sel::getOtherInfoForView_andForSupportObject, view, object);
    ask(sel::getOtherViewForScreenshotWithView, view);
    return found;
}

TEST(MetadataClassTest, ThereIsNoAnswerAboutWhatItCannotKnow)
{
    const Phone phone { {} };
    const auto classless = std::make_shared<Object>();
    int asked = 0, photographed = 0;
    for (const std::string network : { "AOL", "AdColony", "AdMobV42", "Amazon", "AppLovin", "AppNexus",
             "DFPV42", "Facebook", "InMobi", "Ironsource", "MoPub", "OpenX", "Smaato", "SpotX", "Taboola",
             "Tapjoy", "Teads", "Unity", "Verizon", "Verve", "Vungle" }) {
        for (const char* format : { "_banner", "_interstitial", "_native", "_rewarded" }) {
            const Class cls = metadataClass(network + format);
            if (!cls)
                continue;
            asked++;
            photographed += respondsToSelector(cls, sel::getOtherViewForScreenshotWithView);
            EXPECT_TRUE(class_conformsToProtocol(cls, TDMetadataClassProtocol)) << cls->name();
            EXPECT_EQ(answersAbout(cls, nullptr, nullptr), "") << cls->name();
            EXPECT_EQ(answersAbout(cls, make<UIView>().get(), make<NSObject>().get()), "") << cls->name();
            EXPECT_EQ(answersAbout(cls, classless.get(), classless.get()), "") << cls->name();
        }
    }
    EXPECT_EQ(asked, 45);
    EXPECT_EQ(photographed, 15);
}

std::string text(id, SEL) { return "1.2"; }
int64_t number(id, SEL) { return 12; }
std::shared_ptr<Object> none(id, SEL) { return nullptr; }
std::shared_ptr<Object> mute(id, SEL) { return make<NSObject>(); }
std::string raise(id, SEL) { throw std::runtime_error("the SDK's own trouble"); }

TEST(MetadataClassTest, VersionsOfSDKsThatAnswerInTheirOwnWay)
{
    const std::tuple<const char*, const char*, SEL, IMP, std::string> rows[] = {
        { "AdMobV42_banner", "GADRequest", "sdkVersion"_sel, &text, "1.2" },
        { "AdMobV42_native", "GADNRequest", "sdkVersion"_sel, &text, "1.2" },
        { "Smaato_banner", "SpotX", "version"_sel, &text, "1.2" },
        { "InMobi_banner", "IMSdk", "anotherSelector"_sel, &text, unavailable },
        { "OpenX_banner", "OXMFunctions", "sdkVersion"_sel, &raise, unavailable },
        { "Verizon_banner", "VASAds", "sdkInfo"_sel, &number, unavailable },
        { "MoPub_banner", "MoPub", "sharedInstance"_sel, &none, unavailable },
        { "AOL_banner", "MMSDK", "sharedInstance"_sel, &mute, unavailable },
        { "AppNexus_banner", "ANUniversalTagRequestBuilder", "new"_sel, &raise, "no available version" },
    };
    for (const auto& [name, sdkClass, selector, accessor, version] : rows) {
        const Phone phone { {} };
        ClassBuilder(sdkClass, classOf<NSObject>()).classMethod(selector, accessor);
        EXPECT_EQ(send(metadataClass(name), sel::getVersion), version) << name;
    }
}

TEST(MetadataClassTest, ReadsValuesAsTheyStand)
{
    struct Row {
        const char* name;
        Ask ask;
        NSDictionary values;
        const char *answer, *holder { "Holder" };
    };
    const char *const dsp = "_delegate._configuration._dspCreativeId",
                      *const own = "_delegate._configuration._creativeId", *const far = "_delegate._delegate",
                      *const near = "_delegate._placementID", *const session = "_iasSession._avidAdSessionId",
                      *const anjam = "_webViewController._adViewANJAMDelegate.__placementId",
                      *const markup = "_displayController._mraidView._delegate._delegate._data",
                      *const debug = "_delegate._clickProtection._debugDialogString",
                      *const targeting = "_lastRequest._customTargeting";
    auto bytes = [](const char* content) { return NSData::fromText(content); };
    const NSDictionary bid { { "amzn_b", 1 }, { "amzn_h", 1 }, { "amznp", 1 }, { "amznrdr", 1 },
        { "amznslots", 1 }, { "dc", 1 } };
    NSDictionary noBid = bid;
    noBid.remove("dc");
    const Row rows[] = {
        // Whatever stands first wins.
        { "MoPub_banner", &below<creative>, { { dsp, NSNull {} }, { own, "x" } }, "" },
        { "MoPub_banner", &below<creative>, { { dsp, 4 }, { own, "x" } }, "" },
        // What leads nowhere is passed over.
        { "Facebook_banner", &below<placement>, { { far, NSNull {} }, { near, "x" } }, "x" },
        { "Facebook_banner", &below<placement>, { { far, "text" }, { near, "x" } }, "x" },
        { "Facebook_banner", &below<placement>, { { far, std::make_shared<Object>() }, { near, "x" } }, "x" },
        { "Facebook_banner", &below<placement>, { { far, NSArray { bid } }, { near, "x" } }, "" },
        { "InMobi_banner", &placement, { { "_bannerView._ad._placementId", 7 } }, "", "IMBanner" },
        { "InMobi_interstitial", &below<placement>, { { "_placementId", 7.9 } }, "7", "IMUIView" },
        { "InMobi_interstitial", &creative, { { "_creativeId", 7 } }, "", "IMUIView" },
        { "InMobi_interstitial", &creative, { { "_creativeId", "x" } }, "" },
        { "AppNexus_banner", &below<placement>, { { anjam, -3 } }, "-3" },
        { "AppLovin_banner", &creative, { { "_currentAd._adObject.ad_id", 1.5 } }, "1.5" },
        { "Verve_banner", &infoOfView, { { session, 1 } }, "((null))" },
        { "Amazon_banner", &below<creative>, { { markup, bytes("CRID    5") } }, "5" },
        { "Amazon_banner", &below<creative>, { { markup, bytes("cid:6 crId     5") } }, "6" },
        { "Amazon_banner", &below<creative>, { { markup, bytes("crId:5\xff") } }, "" },
        { "Amazon_banner", &below<creative>, { { markup, "crId:5" } }, "" },
        { "Tapjoy_interstitial", &creative, { { "_htmlString", R"({"Entity_ID":"a-1_b"})" } }, "a-1" },
        { "Tapjoy_interstitial", &placement, { { "_htmlString", R"("placement_id": "a")" } }, "" },
        { "AdMobV42_banner", &creativeOfObject, { { debug, "x crid:1 0=987" } }, "987" },
        { "DFPV42_banner", &creativeOfObject, { { debug, "0=abc CRID:5x" } }, "5" },
        { "AdMobV42_banner", &infoOfView, { { targeting, bid } }, "({ DTB(Amazon) = ; })" },
        { "AdMobV42_banner", &infoOfView, { { targeting, noBid } }, "((null))" },
    };
    const Phone phone { {} };
    for (const auto& [name, ask, values, answer, holder] : rows)
        EXPECT_EQ(ask(metadataClass(name), *holding(values, holder)), answer)
            << name << " of " << Value { values }.description();
}

TEST(MetadataClassTest, AppNexusNativeAdsFindTheirTag)
{
    const std::tuple<const char*, Value, const char*> rows[] = {
        { R"({"tags":[{"tag_id":"2","ads":[{"creative_id":"a"}]}]})", 2, "a" },
        { R"({"tags":[{"tag_id":2,"ads":[{"creative_id":5},{"creative_id":6}]}]})", "2", "5" },
        { R"({"tags":[null,{"tag_id":1},{"tag_id":2,"ads":[{"creative_id":"b"}]}]})", 2, "b" },
        { R"({"tags":[{"tag_id":1,"ads":[{"creative_id":"a"}]}]})", 2, "own" },
        { R"({"tags":[{"tag_id":2,"ads":[]}]})", 2, "own" },
        { R"({"tags":[{"tag_id":2,"ads":[{"creative_id":"a"}]})", 2, "own" },
        { R"({"tags":[{"ads":[{"creative_id":"a"}]}]})", {}, "own" },
    };
    const Phone phone { {} };
    for (const auto& [answer, placementId, creativeId] : rows) {
        for (const std::string fetcher : { "adFetcher.", "" }) {
            const auto support = holding({ { fetcher + "_data", NSData::fromText(answer) },
                { fetcher + "_delegate.__placementId", placementId }, { "response._creativeId", "own" } });
            EXPECT_EQ(creativeOfObject(metadataClass("AppNexus_native"), *support), creativeId) << answer;
        }
    }
}

// What the hooks keep for the metadata classes.

TEST(KeptByHooksTest, FacebooksLastSessionStays)
{
    const Phone phone { { .onBoot = facebookStandIn().install } };
    send(NSClassFromString("TDFacebookSwizzler"), sel::swizzleMethods);
    for (const auto& manager : { standInObject("FBAdEventManager", { { "_sessionID", "session-1" } }),
             standInObject("FBAdEventManager") })
        send<void>(manager.get(), "dispatchEventsImmediately"_sel);
    EXPECT_EQ(send(metadataClass("Facebook_native"), sel::getCreativeIDWithObject, nullptr), "session-1");
}

TEST(KeptByHooksTest, AppNexusAnswersAreTakenOnceAndDieWithTheirAd)
{
    const Phone phone { { .onBoot = appNexusStandIn().install } };
    const Class swizzler = NSClassFromString("TDAppNexusSwizzler");
    send(swizzler, sel::swizzleMethods);
    const auto request = standInObject("ANNativeAdRequest"), fetcher = standInObject("ANUniversalAdFetcher");
    std::vector<std::shared_ptr<Object>> ads;
    for (int i = 0; i < 103; i++) {
        ads.push_back(standInObject("ANNativeAdResponse"));
        send<void>(request.get(), "universalAdFetcher:didFinishRequestWithResponse:"_sel, fetcher.get(),
            standInObject("ANAdFetcherResponse", { { "_adObject", ads.back() } }).get());
    }
    auto take = [&](id ad) { return send<Value>(swizzler, "getDictionaryByResponseWithDeleting:"_sel, ad); };
    EXPECT_TRUE(take(ads[2].get()).isNothing()) << "the oldest make room";
    EXPECT_EQ(take(ads[3].get()), (NSDictionary { { "adFetcher", fetcher }, { "response", ads[3] } }));
    EXPECT_TRUE(take(ads[3].get()).isNothing());
    EXPECT_EQ(send<Value>(swizzler, "dicts"_sel).array()->size(), 99u);
    ads.resize(50);
    EXPECT_EQ(send<Value>(swizzler, "dicts"_sel).array()->size(), 46u);
}

std::shared_ptr<Object> s_player;

/// An application with an older Unity SDK.
class UnityTest : public testing::Test {
protected:
    static void install()
    {
        ClassBuilder("UnityAds", classOf<NSObject>())
            .classMethod("show:placementId:"_sel, &standInMethod<void, id, const std::string&>);
        ClassBuilder("USRVApiRequest", classOf<NSObject>())
            .classMethod("sendSuccess:url:response:responseCode:headers:"_sel,
                &standInMethod<void, const std::string&, const std::string&, const std::string&, int64_t,
                    const NSDictionary&>);
        ClassBuilder("UADSApiVideoPlayer", classOf<NSObject>())
            .classMethod("WebViewExposed_play:"_sel, &standInMethod<void, id>)
            .classMethod(
                "getVideoPlayer"_sel, +[](id, SEL) { return s_player.get(); });
        ClassBuilder("Player", classOf<NSObject>())
            .method("play"_sel, &standInMethod<void>)
            .method("pause"_sel, &standInMethod<void>);
    }
    UnityTest() { send(NSClassFromString("TDUnitySwizzler"), sel::swizzleMethods); }

    const Phone phone { { .onBoot = &install } };
    const Class unity = metadataClass("Unity_interstitial");
};

TEST_F(UnityTest, ReadsTheLastAuction)
{
    const char* const rows[][5] = {
        { "v",
            R"({"placements":{"v":"m"},"media":{"m":{"creativeId":"c","content":"{\"auctionId\":\"a\"}"}}})",
            "m", "c", "({ auctionId = a; })" },
        { "v", "{", "m", "c", "({ auctionId = a; })" },
        { "a.b", R"({"placements":{"a.b":"m"},"media":{"m":{"content":"{"}}})", "", "", "((null))" },
        { "v", R"({"placements":{"v":"m.1"},"media":{"m.1":{"creativeId":"c"}}})", "m.1", "", "((null))" },
        { "v", R"({"placements":{"v":"m"},"media":{"m":{"creativeId":7}}})", "m", "", "((null))" },
    };
    const auto view = make<UIView>();
    for (const auto& [shown, response, placementId, creativeId, info] : rows) {
        send<void>(NSClassFromString("UnityAds"), "show:placementId:"_sel, id {}, std::string { shown });
        send<void>(NSClassFromString("USRVApiRequest"), "sendSuccess:url:response:responseCode:headers:"_sel,
            std::string {}, std::string { "https://AUCTION.unityads.unity3d.com/v4" },
            std::string { response }, int64_t { 200 }, NSDictionary {});
        EXPECT_EQ(placement(unity, *view), placementId) << response;
        EXPECT_EQ(creative(unity, *view), creativeId) << response;
        EXPECT_EQ(infoOfView(unity, *view), info) << response;
    }
}

TEST_F(UnityTest, ThePlayerIsToldWhileItLives)
{
    s_player = standInObject("Player");
    send<void>(NSClassFromString("UADSApiVideoPlayer"), "WebViewExposed_play:"_sel, id {});
    takeReceived();
    send(unity, sel::pausePlayer);
    setBehaviour(*s_player, []() -> std::shared_ptr<Object> { throw std::runtime_error("no video"); });
    EXPECT_NO_THROW(send(unity, sel::playPlayer));
    EXPECT_EQ(takeReceived(),
        (std::vector {
            messageText(s_player.get(), "pause"_sel, {}), messageText(s_player.get(), "play"_sel, {}) }));
    s_player = nullptr;
    EXPECT_FALSE(send(unity, sel::havePlayer));
    EXPECT_TRUE(class_conformsToProtocol(unity, TDMetadataClassPlayerManipulateSupportProtocol));
    EXPECT_NO_THROW(send(unity, sel::pausePlayer));
}

} // namespace
} // namespace lumora
