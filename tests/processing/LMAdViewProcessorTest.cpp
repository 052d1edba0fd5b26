#include "core/TDActivationManager.h"
#include "interception/TDMetadataClassProtocol.h"
#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "processing/StoreLinks.h"
#include "service/TDEventModel.h"
#include "support/NSDateExtensions.h"
#include "tests/processing/AdPage.h"
#include "tests/service/Events.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::AdPage;
using test::World;

std::shared_ptr<LMAdViewProcessor> processorOf(
    const std::shared_ptr<Object>& ad, Class cls = classOf<LMAdViewProcessor>())
{
    auto processor = alloc<LMAdViewProcessor>(cls);
    send(processor, sel::initWithAdObject, ad);
    return processor;
}

template <const char* const& name> Class networkNamed()
{
    return ClassBuilder(std::string { name } + "Like", classOf<LMAdViewProcessor>())
        .classMethod(sel::getSDKName, &answers<name>)
        .build();
}
constexpr const char* inMobi = "InMobi";
constexpr const char* mopub = "MoPub";

/// A view on a phone's screen and its processor.
class LMAdViewProcessorTest : public testing::Test {
protected:
    LMAdViewProcessorTest()
    {
        world.phone.content().addSubview(view);
        view->setFrame({ { 10, 100 }, { 320, 50 } });
    }
    double now() { return serverTimeIntervalSince1970(); }
    /// The processor as it is after so many seconds of a showing with a tap in it.
    void showFor(double seconds)
    {
        processor->setCreateAtTimestamp(now() - seconds);
        processor->saveTapEvent();
    }
    int64_t counterAfterALook(int64_t before = 0)
    {
        processor->setOfflineStateCounter(before);
        processor->screenshotProcessing();
        return processor->offlineStateCounter();
    }

    test::StartedWorld world;
    std::shared_ptr<UIView> view { make<UIView>() };
    std::shared_ptr<LMAdViewProcessor> processor { processorOf(view) };
};

TEST_F(LMAdViewProcessorTest, OverridesRunOnAHalfMadeProcessor)
{
    struct Curious : LMAdViewProcessor {
        void note(const char* step)
        {
            seen += std::string { step } + (adObject() ? " ad" : "")
                + (createAtTimestamp() > 0 ? " late " : " ");
        }
        void startTrackingTapEvents() override { note("taps"); }
        void logAd() override { note("log"); }
        void getURLsFromAdObject() override { note("links"); }
        std::string seen;
    };
    const auto curious = alloc<Curious>();
    send(curious, sel::initWithAdObject, view);
    EXPECT_EQ(curious->seen, "taps ad log ad links ad ");
    EXPECT_EQ(curious->createAtTimestamp(), now());
    EXPECT_EQ(send(curious->isa(), sel::getSDKName), "sdk name");
    EXPECT_EQ(send(curious->isa(), sel::getVersion), "null version");
    EXPECT_EQ(send(curious->isa(), sel::libNumber), -1);
}

TEST_F(LMAdViewProcessorTest, ALookCountsWhatIsHidden)
{
    EXPECT_EQ(counterAfterALook(3), 0) << "on screen";
    const std::pair<const char*, std::function<void()>> hiders[] = {
        { "left of the screen",
            [&] {
                view->setFrame({ { -1, 100 }, { 320, 50 } });
            } },
        { "above it",
            [&] {
                view->setFrame({ { 10, -1 }, { 320, 50 } });
            } },
        { "clipped away",
            [&] {
                view->setFrame({ { 10, 100 }, {} });
                view->setClipsToBounds(true);
            } },
        { "hidden", [&] { view->setHidden(true); } },
        { "in something hidden", [&] { world.phone.content().setHidden(true); } },
        { "in a hidden window", [&] { world.phone.window().setHidden(true); } },
        { "in no window", [&] { view->removeFromSuperview(); } },
    };
    for (const auto& [name, hide] : hiders) {
        world.phone.content().addSubview(view);
        for (UIView* shown :
            { view.get(), &world.phone.content(), static_cast<UIView*>(&world.phone.window()) })
            shown->setHidden(false);
        view->setFrame({ { 10, 100 }, { 320, 50 } });
        ASSERT_EQ(counterAfterALook(1), 0) << name;
        hide();
        EXPECT_EQ(counterAfterALook(1), 2) << name;
        EXPECT_EQ(counterAfterALook(-1), -1) << name << ": a suspended one stays so";
    }
    world.phone.content().addSubview(view);
    view->setFrame({ { 10, 100 }, {} });
    view->setClipsToBounds(false);
    EXPECT_EQ(counterAfterALook(1), 1) << "no size, not clipped: neither";
    view.reset();
    world.phone.content().subviews().back()->removeFromSuperview();
    EXPECT_EQ(counterAfterALook(1), 2) << "gone";
}

TEST_F(LMAdViewProcessorTest, ALookCountsWhatIsTooOld)
{
    showFor(300);
    EXPECT_EQ(counterAfterALook(1), 0);
    showFor(301);
    EXPECT_EQ(counterAfterALook(1), 2);
    EXPECT_EQ(counterAfterALook(-1), -1);
    showFor(0);
    processor->setDisposed(true);
    EXPECT_EQ(counterAfterALook(1), 1) << "not looked at";
}

TEST_F(LMAdViewProcessorTest, AnUntappedAdStaysYoungAndATappedOneAges)
{
    const double shown = processor->createAtTimestamp();
    world.phone.wait(50);
    processor->screenshotProcessing();
    EXPECT_EQ(processor->createAtTimestamp(), shown + 50);
    processor->saveTapEvent();
    world.phone.wait(50);
    processor->screenshotProcessing();
    EXPECT_EQ(processor->createAtTimestamp(), shown + 50);
}

TEST_F(LMAdViewProcessorTest, ANewShowingForgetsAllButWhatSticks)
{
    struct Row {
        int64_t blankAdCounter;
        bool blocked, staysBlocked;
    };
    for (const Row& row : { Row { 2, true, true }, { 2, false, false }, { -1, true, true },
             { -1, false, false }, { 1, true, false }, { 0, true, false } }) {
        processor->setBlankAdCounter(row.blankAdCounter);
        processor->setLumoraCrId(row.blocked ? std::optional<std::string> { "crid" } : std::nullopt);
        processor->setMarkedAsBlankAd(true);
        processor->setOfflineStateCounter(-1);
        processor->setLastHash(NSDictionary { { "pHash", "1" }, { "aHash", "2" } });
        processor->setCreateAtTimestamp(7);
        EXPECT_EQ(processor->createAtTimestamp(), 7);
        EXPECT_EQ(processor->offlineStateCounter(), 0);
        EXPECT_EQ(processor->getLastHash(), Value { "error" });
        EXPECT_EQ(processor->lumoraCrId().has_value(), row.staysBlocked) << row.blankAdCounter;
        const bool isSticky = row.blankAdCounter == 2 || row.staysBlocked;
        EXPECT_EQ(processor->isMarkedAsBlankAd(), isSticky) << row.blankAdCounter;
        EXPECT_EQ(processor->blankAdCounter(), isSticky ? row.blankAdCounter : 0);
    }
}

TEST_F(LMAdViewProcessorTest, ABlankPageIsAShowingOfSomeNetworksOnly)
{
    const auto page = make<WKWebView>();
    page->loadHTMLString("", "");
    world.phone.wait(1);
    const auto renewed = [&](Class cls) {
        const auto processor = processorOf(page, cls);
        processor->setCreateAtTimestamp(7);
        return processor->createAtTimestamp() == 7;
    };
    EXPECT_TRUE(renewed(networkNamed<inMobi>()));
    Class other = networkNamed<mopub>();
    EXPECT_FALSE(renewed(other));
    page->loadHTMLString("", "https://ads.example.com/");
    world.phone.wait(1);
    EXPECT_TRUE(renewed(other));
}

TEST_F(LMAdViewProcessorTest, EqualMeansTheSameShowingOfTheSameAd)
{
    const auto twin = processorOf(view);
    EXPECT_TRUE(processor->isEqual(twin.get()));
    EXPECT_EQ(processor->hash(), twin->hash());
    EXPECT_FALSE(processor->isEqual(processorOf(make<UIView>()).get()));
    const auto derived = processorOf(view, ClassBuilder("Derived", classOf<LMAdViewProcessor>()).build());
    EXPECT_TRUE(processor->isEqual(derived.get()));
    EXPECT_FALSE(derived->isEqual(processor.get()));
    twin->setCreateAtTimestamp(7);
    EXPECT_FALSE(processor->isEqual(twin.get()));
}

TEST_F(LMAdViewProcessorTest, HashesAreTwoOrAnError)
{
    processor->setLastHash(NSDictionary { { "pHash", "1" } });
    EXPECT_EQ(processor->getLastHash(), Value { "error" });
    processor->setLastHash(NSDictionary { { "dHash", "0" }, { "aHash", "2" }, { "pHash", "1" } });
    EXPECT_EQ(processor->getLastHash(), (Value { NSDictionary { { "pHash", "1" }, { "aHash", "2" } } }));
}

TEST_F(LMAdViewProcessorTest, FingersOnTheAdAreTaps)
{
    world.phone.wait(1);
    EXPECT_EQ(processor->tapTimestamp(), 0);
    world.phone.tap(*view);
    EXPECT_NEAR(processor->tapTimestamp(), now(), 1);
    processor->setTapTimestampToZero();
    const auto other = make<UIView>();
    processor->addGestureRecognizersToView(*other);
    ASSERT_EQ(other->gestureRecognizers().size(), 4u);
    for (int fingers : { 1, 2, 3 }) {
        const auto tap = as<UITapGestureRecognizer>(
            std::static_pointer_cast<Object>(other->gestureRecognizers().at(fingers - 1)));
        EXPECT_EQ(tap->numberOfTouchesRequired(), fingers);
        EXPECT_EQ(tap->delegate(), processor.get());
    }
    std::weak_ptr<LMAdViewProcessor> dying = processor;
    processor.reset();
    EXPECT_TRUE(dying.expired()) << "recognizers do not keep it";
    world.phone.tap(*view);
}

TEST_F(LMAdViewProcessorTest, TheFirstVideoLayerDeepestFirst)
{
    const auto layer = make<CALayer>();
    EXPECT_EQ(LMAdViewProcessor::getAVLayerWith(*layer), nullptr);
    const auto outer = make<AVPlayerLayer>();
    const auto inner = make<AVPlayerLayer>();
    outer->addSublayer(inner);
    layer->addSublayer(make<CALayer>());
    layer->addSublayer(outer);
    EXPECT_EQ(LMAdViewProcessor::getAVLayerWith(*layer), inner);
    EXPECT_EQ(LMAdViewProcessor::getAVLayerWith(*inner), nullptr) << "itself is not asked";
}

TEST(AdMarkupTest, StoreLinksAreFoundWithEachShowing)
{
    const std::string host = storeHost;
    AdPage ad;
    ad.load("https://shop.example.com/",
        "<a href='itms-apps://x/id1'></a><a href='https://" + host + "/app/id2'></a><a href='http://" + host
            + ".evil.example/3'></a>");
    ad.world.phone.wait(1);
    ASSERT_TRUE(ad.processor());
    EXPECT_EQ(ad.processor()->URLsFromAd(),
        (std::vector<std::string> {
            "itms-apps://x/id1", "https://" + host + "/app/id2", "http://" + host + ".evil.example/3" }))
        << "the host counts anywhere behind the scheme";
    ad.load("https://shop.example.com/");
    EXPECT_EQ(ad.processor()->URLsFromAd(), std::vector<std::string> {}) << "links, none to the store";
    ad.load("x");
    EXPECT_EQ(ad.processor()->URLsFromAd(), std::nullopt) << "no link at all";
}

TEST(AdMarkupTest, MarkupIsReadOnceUntilThereIsSome)
{
    AdPage ad;
    ad.load("https://shop.example.com/", "<p>one</p>");
    const auto processor = processorOf(ad.view);
    std::string heard;
    const auto update = [&] {
        processor->htmlUpdater([&](const std::string& html) { heard = html; });
        ad.world.phone.wait(1);
    };
    update();
    EXPECT_NE(heard.find("<p>one</p>"), std::string::npos);
    processor->setHtml("short");
    update();
    EXPECT_EQ(heard, "short") << "not again";
    const auto banner = processorOf(ad.banner);
    banner->updateHTMLWithSuccess([&](bool success) { heard = success ? "read" : "not read"; });
    ad.world.phone.wait(1);
    EXPECT_EQ(heard, "read") << "of the page in the banner";
    const auto empty = processorOf(make<UIView>());
    empty->setHtml("kept");
    empty->updateHTMLWithSuccess([&](bool success) { heard = success ? "read" : empty->html(); });
    EXPECT_EQ(heard, "kept");
}

TEST(AdMarkupTest, APageThatNeverAnswersHoldsNothingUp)
{
    static std::vector<WKScriptCompletion> kept;
    AdPage ad;
    ad.load("https://shop.example.com/");
    const auto processor = processorOf(ad.view);
    for (const bool keeps : { true, false }) {
        class_replaceMethod(
            classOf<WKWebView>(), sel::evaluateJavaScript,
            keeps ? +[](id, SEL, const std::string&,
                         const WKScriptCompletion& completion) { kept.push_back(completion); }
                  : +[](id, SEL, const std::string&, const WKScriptCompletion&) {},
            &methodEncoding<void, std::string, WKScriptCompletion>());
        int heard = 0;
        processor->getNewHTMLWithPurpose(
            HTMLPurpose::Event, [&](bool success, const std::string&) { heard += success ? 100 : 1; });
        processor->setCreateAtTimestamp(7);
        EXPECT_NE(processor->createAtTimestamp(), 7) << "the showing waits for the markup";
        ad.world.phone.wait(9);
        EXPECT_EQ(heard, keeps ? 0 : 1) << "dropped is answered";
        ad.world.phone.wait(2);
        EXPECT_EQ(heard, 1);
        EXPECT_EQ(processor->createAtTimestamp(), 7) << "or for nothing";
        processor->screenshotProcessing();
    }
    for (const auto& completion : std::exchange(kept, {}))
        completion("late", std::nullopt);
}

TEST(AdMarkupTest, ALookAsksForADescription)
{
    struct Described : LMAdViewProcessor {
        using LMAdViewProcessor::describeAd;
        NSDictionary getOtherInfo() override { return { { "video", "v.mp4" } }; }
    };
    test::StartedWorld world;
    const auto view = make<UIView>();
    const auto ad = alloc<Described>();
    const auto targeting = +[](id, SEL) -> Value {
        return NSDictionary { { "DTB(Amazon)", "3.1" }, { "b", "2" } };
    };
    object_setClass(*ad,
        ClassBuilder("Targeted", classOf<LMAdViewProcessor>())
            .method("customTargeting"_sel, targeting)
            .protocol(CustomTargetingProtocol)
            .build());
    send(ad, sel::initWithAdObject, view);
    ad->setLumoraCrId("blocked");
    const NSDictionary described = ad->describeAd();
    EXPECT_EQ(described["info"],
        Value { "{\n  \"other\" : {\n    \"video\" : \"v.mp4\",\n    \"blocked\" : true\n  }\n}" });
    EXPECT_EQ(described["sdk"],
        (Value { NSDictionary { { "name", "sdk name:DTB(Amazon)" }, { "version", "null version:3.1" } } }));
    ad->setMarkedAsBlankAd(true);
    EXPECT_EQ((*ad->describeAd()["sdk"].dictionary())["name"], Value { "sdk name:DTB(Amazon):Lumora" });
    EXPECT_EQ(ad->describeAd()["info"].stringOrEmpty().find("blocked"), std::string::npos);
}

TEST(AdMarkupTest, FormatsAndTypesByNumber)
{
    struct Formatted : LMAdViewProcessor {
        LMAdFormat getAdFormatId() override { return format; }
        LMAdFormat format {};
    };
    const char* const names[]
        = { "banner html", "interstitial html", "video video", "native html", "unknown html" };
    Phone phone { {} };
    Formatted ad;
    for (uint64_t number = 0; number < 5; number++) {
        ad.format = LMAdFormat { number };
        EXPECT_EQ(ad.getAdFormatInString() + " " + ad.getAdTypeInString(), names[number]);
    }
}

TEST(AdMarkupTest, SevenFactsTellAnAd)
{
    AdPage ad;
    ad.load("https://shop.example.com/");
    NSDictionary info = ad.processor()->getBaseInfoAboutAd();
    const std::string screenshot = info["screenshot"].stringOrEmpty();
    EXPECT_TRUE(screenshot.starts_with("iVBORw0KGgo")) << "a PNG";
    const NSDictionary config { { "buttonTap",
        TDActivationManager::sharedInstance().getConfig()->buttonTap() } };
    const NSDictionary expected { { "creativeId", "" },
        { "metadata", NSDictionary { { "placementId", "" }, { "config", config } } }, { "sdk", "Amazon" },
        { "adFormat", "banner" }, { "adType", "html" }, { "sdkVersion", "version param is not available" },
        { "screenshot", screenshot } };
    EXPECT_EQ(info, expected);
    const auto gone = processorOf(make<UIView>());
    EXPECT_EQ(gone->getBaseInfoAboutAd()["screenshot"], Value { "" });
}

TEST(AdMarkupTest, AnEventIsFilledWithThemAndTheMarkup)
{
    AdPage ad;
    ad.load("https://shop.example.com/");
    const auto event = test::eventOf("redirect");
    event->addAdditionalInfo({ { "sdkDetected", true } });
    bool isFilled = false;
    ad.processor()->updateEventInfo(event, [&](const auto& filled) { isFilled = filled == event; });
    ad.world.phone.wait(1);
    EXPECT_TRUE(isFilled);
    EXPECT_EQ((*event->additionalInfo())["sdkDetected"], Value {}) << "kept: replaced";
    EXPECT_EQ(event->sdk(), "Amazon");
    EXPECT_EQ(event->sdkVersion(), "version param is not available");
    EXPECT_EQ(event->adFormat(), "banner");
    EXPECT_TRUE(event->screenshot()->starts_with("iVBORw0KGgo")) << "a PNG";
    EXPECT_TRUE(event->html()->starts_with("<html>"));
}

} // namespace
} // namespace lumora
