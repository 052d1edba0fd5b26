#include "interception/Swizzling.h"
#include "interception/TDMetadataClassProtocol.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandIns.h"

#include <gtest/gtest.h>
#include <map>

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
std::string placementOfObject(Class cls, UIView& object)
{
    return send(cls, sel::getPlacementIDWithObject_withSupportObject, nullptr, &object);
}
std::string infoOfView(Class cls, UIView& view)
{
    return Value { NSArray { send(cls, sel::getOtherInfoForView, &view) } }.description();
}

/// What a class says it answers, a letter an operation, having been asked each about what it cannot know.
std::string answeredAbout(Class cls, id view, id object)
{
    std::string answered, found;
    auto ask = [&](char letter, const auto& selector, auto... arguments) {
        if (!respondsToSelector(cls, selector))
            return;
        answered += letter;
        const auto answer = send(cls, selector, arguments...);
        if constexpr (std::is_same_v<decltype(answer), const std::string>)
            found += answer;
        else
            found += answer != decltype(answer) {} ? "something" : "";
    };
    ask('c', sel::getCreativeIDWithObject, view);
    ask('C', sel::getCreativeIDWithObject_withSupportObject, view, object);
    ask('p', sel::getPlacementIDWithObject, view);
    ask('P', sel::getPlacementIDWithObject_withSupportObject, view, object);
    ask('i', sel::getOtherInfoForView, view);
    ask('I', sel::getOtherInfoForView_andForSupportObject, view, object);
    ask('s', sel::getOtherViewForScreenshotWithView, view);
    ask('f', sel::getAdFormatId);
    EXPECT_EQ(found, "") << cls->name();
    return answered;
}

TEST(MetadataClassTest, AnswersWhatItsNetworkTellsAndNothingElse)
{
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        { "", { "Ironsource_interstitial", "Taboola_native" } },
        { "c",
            { "Amazon_banner", "Amazon_interstitial", "OpenX_banner", "OpenX_interstitial", "Smaato_banner",
                "Smaato_interstitial" } },
        { "cp",
            { "AOL_banner", "AOL_interstitial", "AppLovin_banner", "AppNexus_banner", "AppNexus_interstitial",
                "Facebook_banner", "Facebook_interstitial", "InMobi_banner" } },
        { "cps", { "InMobi_interstitial", "Tapjoy_interstitial", "Vungle_interstitial" } },
        { "cs", { "AdColony_interstitial", "AdMobV42_native", "DFPV42_native" } },
        { "s", { "Teads_interstitial", "Teads_native" } },
        { "P", { "Verizon_banner", "Verizon_interstitial", "Verizon_native" } },
        { "cC", { "Smaato_native" } },
        { "cpP", { "Facebook_native" } },
        { "cCpP", { "AOL_native", "AppNexus_native" } },
        { "CPs", { "AppLovin_interstitial" } },
        { "ci", { "Verve_banner", "Verve_interstitial" } },
        { "cpis", { "Unity_interstitial" } },
        { "Is", { "SpotX_interstitial", "SpotX_native" } },
        { "cf", { "MoPub_banner", "MoPub_interstitial", "MoPub_native" } },
        { "csf", { "MoPub_rewarded" } },
        { "Cif", { "AdMobV42_banner", "DFPV42_banner" } },
        { "Cisf", { "AdMobV42_interstitial", "DFPV42_interstitial" } },
    };
    std::map<std::string, std::string> adTypes { { "MoPub_rewarded", "interstitial" },
        { "AOL_native", "interstitial" }, { "AppNexus_native", "banner" } };
    std::map<std::string, std::string> versions { { "Vungle", "" }, { "Teads", "4.2.1" },
        { "AppNexus", "no available version" }, { "AppLovin", "no available version" } };
    const Phone phone { {} };
    for (const auto& [operations, names] : rows) {
        for (const std::string& name : names) {
            const size_t format = name.find('_');
            const Class cls = metadataClass(name);
            ASSERT_TRUE(cls) << name;
            EXPECT_EQ(
                send(cls, sel::adType), adTypes.try_emplace(name, name.substr(format + 1)).first->second);
            EXPECT_EQ(send(cls, sel::getVersion),
                versions.try_emplace(name.substr(0, format), unavailable).first->second);
            EXPECT_TRUE(class_conformsToProtocol(cls, TDMetadataClassProtocol)) << name;
            EXPECT_EQ(class_conformsToProtocol(cls, TDMetadataClassPlayerManipulateSupportProtocol),
                name == "Unity_interstitial");
            EXPECT_EQ(answeredAbout(cls, nullptr, nullptr), operations) << name;
            EXPECT_EQ(answeredAbout(cls, make<UIView>().get(), make<NSObject>().get()), operations) << name;
        }
    }
}

std::string text(id, SEL) { return "1.2"; }
int64_t number(id, SEL) { return 12; }
std::shared_ptr<Object> none(id, SEL) { return nullptr; }
std::shared_ptr<Object> mute(id, SEL) { return make<NSObject>(); }
std::string raise(id, SEL) { throw std::runtime_error("the SDK's own trouble"); }

TEST(MetadataClassTest, VersionsOfSDKsThatAnswerInTheirOwnWay)
{
    struct Row {
        const char* name;
        const char* sdkClass;
        const char* selector;
        IMP accessor;
        std::string version { unavailable };
    };
    for (const Row& row : {
             Row { "AdMobV42_banner", "GADRequest", "sdkVersion", &text, "1.2" },
             Row { "AdMobV42_native", "GADNRequest", "sdkVersion", &text, "1.2" },
             Row { "Smaato_banner", "SpotX", "version", &text, "1.2" },
             Row { "InMobi_banner", "IMSdk", "version", &text },
             Row { "OpenX_banner", "OXMFunctions", "sdkVersion", &raise },
             Row { "Verizon_banner", "VASAds", "sdkInfo", &number },
             Row { "MoPub_banner", "MoPub", "sharedInstance", &none },
             Row { "AOL_banner", "MMSDK", "sharedInstance", &mute },
             Row { "AppNexus_banner", "ANUniversalTagRequestBuilder", "new", &raise, "no available version" },
         }) {
        const Phone phone { {} };
        ClassBuilder(row.sdkClass, classOf<NSObject>())
            .classMethod(sel_registerName(row.selector), row.accessor);
        EXPECT_EQ(send(metadataClass(row.name), sel::getVersion), row.version) << row.name;
    }
}

TEST(MetadataClassTest, ReadsValuesAsTheyStand)
{
    struct Row {
        const char* name;
        const char* metadataClass;
        Ask ask;
        NSDictionary values;
        const char* answer;
        const char* holder { "Holder" };
    };
    const char* const dsp = "_delegate._configuration._dspCreativeId";
    const char* const own = "_delegate._configuration._creativeId";
    const char *const far = "_delegate._delegate", *const near = "_delegate._placementID";
    const char* const markup = "_displayController._mraidView._delegate._delegate._data";
    const char* const debug = "_delegate._clickProtection._debugDialogString";
    auto bytes = [](const char* content) { return NSData::fromText(content); };
    const NSDictionary bid { { "amzn_b", 1 }, { "amzn_h", 1 }, { "amznp", 1 }, { "amznrdr", 1 },
        { "amznslots", 1 }, { "dc", 1 } };
    NSDictionary noBid = bid;
    noBid.remove("dc");
    const Row rows[] = {
        { "a list wins", "MoPub_banner", &below<creative>, { { dsp, NSArray { 1 } }, { own, "x" } }, "" },
        { "null wins", "MoPub_banner", &below<creative>, { { dsp, NSNull {} }, { own, "x" } }, "" },
        { "a number wins", "MoPub_banner", &below<creative>, { { dsp, 4 }, { own, "x" } }, "" },
        { "null on the way", "Facebook_banner", &below<placement>, { { far, NSNull {} }, { near, "x" } },
            "x" },
        { "text on the way", "Facebook_banner", &below<placement>, { { far, "t" }, { near, "x" } }, "x" },
        { "a list on the way", "Facebook_banner", &below<placement>,
            { { far, NSArray { NSDictionary { { "_placementID", "y" } } } }, { near, "x" } }, "" },
        { "no class on the way", "Facebook_banner", &below<placement>,
            { { far, std::make_shared<Object>() }, { near, "x" } }, "x" },
        { "number", "InMobi_banner", &placement, { { "_bannerView._ad._placementId", 7 } }, "", "IMBanner" },
        { "number", "InMobi_interstitial", &below<placement>, { { "_placementId", 7.9 } }, "7", "IMUIView" },
        { "number", "InMobi_interstitial", &creative, { { "_creativeId", 7 } }, "", "IMUIView" },
        { "stranger", "InMobi_interstitial", &creative, { { "_creativeId", "x" } }, "" },
        { "number", "AppNexus_banner", &below<placement>,
            { { "_webViewController._adViewANJAMDelegate.__placementId", -3 } }, "-3" },
        { "number", "AppLovin_banner", &creative, { { "_currentAd._adObject.ad_id", 1.5 } }, "1.5" },
        { "number", "AppLovin_interstitial", &placementOfObject, { { "_currentAd._adZone._identifier", 1 } },
            "" },
        { "number", "Vungle_interstitial", &below<creative>, { { "_placement._uniqueID", 1 } }, "" },
        { "number", "Verve_banner", &infoOfView, { { "_iasSession._avidAdSessionId", 1 } }, "((null))" },
        { "four between", "Amazon_banner", &below<creative>, { { markup, bytes("CRID    5") } }, "5" },
        { "five between", "Amazon_banner", &below<creative>, { { markup, bytes("cid:6 crId     5") } }, "6" },
        { "no UTF-8", "Amazon_banner", &below<creative>, { { markup, bytes("crId:5\xff") } }, "" },
        { "no data", "Amazon_banner", &below<creative>, { { markup, "crId:5" } }, "" },
        { "end", "Tapjoy_interstitial", &creative, { { "_htmlString", R"({"Entity_ID":"a-1_b"})" } }, "a-1" },
        { "space", "Tapjoy_interstitial", &placement, { { "_htmlString", R"("placement_id": "a")" } }, "" },
        { "order", "AdMobV42_banner", &creativeOfObject, { { debug, "x crid:1 0=987" } }, "987" },
        { "case", "DFPV42_banner", &creativeOfObject, { { debug, "0=abc CRID:5x" } }, "5" },
        { "bid", "AdMobV42_banner", &infoOfView, { { "_lastRequest._customTargeting", bid } },
            "({ DTB(Amazon) = ; })" },
        { "no bid", "AdMobV42_banner", &infoOfView, { { "_lastRequest._customTargeting", noBid } },
            "((null))" },
    };
    const Phone phone { {} };
    for (const Row& row : rows) {
        const auto root = holding(row.values, row.holder);
        EXPECT_EQ(row.ask(metadataClass(row.metadataClass), *root), row.answer)
            << row.metadataClass << " " << row.name;
    }
}

TEST(MetadataClassTest, AppNexusNativeAdsFindTheirTag)
{
    struct Row {
        const char* name;
        const char* answer;
        Value placement;
        const char* found;
    };
    const Row rows[] = {
        { "text", R"({"tags":[{"tag_id":"2","ads":[{"creative_id":"a"}]}]})", 2, "a" },
        { "number", R"({"tags":[{"tag_id":2,"ads":[{"creative_id":5},{"creative_id":6}]}]})", "2", "5" },
        { "second", R"({"tags":[null,{"tag_id":1},{"tag_id":2,"ads":[{"creative_id":"b"}]}]})", 2, "b" },
        { "no such tag", R"({"tags":[{"tag_id":1,"ads":[{"creative_id":"a"}]}]})", 2, "" },
        { "no ads", R"({"tags":[{"tag_id":2,"ads":[]}]})", 2, "" },
        { "damaged", R"({"tags":[{"tag_id":2,"ads":[{"creative_id":"a"}]})", 2, "" },
        { "neither has an ID", R"({"tags":[{"ads":[{"creative_id":"a"}]}]})", {}, "" },
    };
    const Phone phone { {} };
    const Class native = metadataClass("AppNexus_native");
    for (const Row& row : rows) {
        for (const std::string fetcher : { "adFetcher.", "" }) {
            const auto support = holding({ { fetcher + "_data", NSData::fromText(row.answer) },
                { fetcher + "_delegate.__placementId", row.placement }, { "response._creativeId", "own" } });
            EXPECT_EQ(creativeOfObject(native, *support), *row.found ? row.found : "own") << row.name;
            EXPECT_EQ(placementOfObject(native, *support), row.placement.isNothing() ? "" : "2") << row.name;
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
    ~UnityTest() override { s_player = nullptr; }

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
    EXPECT_NO_THROW(send(unity, sel::pausePlayer));
}

} // namespace
} // namespace lumora
