#include "core/TDActivationManager.h"
#include "interception/TDMetadataClassProtocol.h"
#include "lumora/LMReportButtonHelper.h"
#include "lumora/ReportButtonDelegate.h"
#include "platform/foundation/NSString.h"
#include "platform/webkit/WKWebView.h"
#include "processing/ProcessorsManager.h"
#include "report/LMReportAdView.h"
#include "report/ReportProtocols.h"
#include "report/TDButtonManager.h"
#include "service/LMEventsSaver.h"
#include "support/UIViewExtensions.h"
#include "tests/report/AdWithButton.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using State = TDReportButtonView::State;
using Form = TDReportButtonView::Form;
using test::buttonOn;
using test::World;

class Listener final : public ReportButtonDelegate {
public:
    void reportButtonWasClickedInView(UIView& adView, const NSDictionary& info) override
    {
        view = &adView;
        reports.push_back(info);
        if (raises)
            throw std::runtime_error("the host's own trouble");
    }
    UIView* view { nullptr };
    std::vector<NSDictionary> reports;
    bool raises { false };
};

class Indescribable final : public NSObject {
    std::string description() const override { throw std::runtime_error("no words"); }
};

enum class Player { None, Paused, Playing } s_player { Player::None };
std::shared_ptr<Object> s_photographed;

/// Of a network whose interstitials have a video, and which raises where it can.
NSDictionary videoMetadata()
{
    ClassBuilder network("TestMetaclass", classOf<FullScreenAd>());
    network
        .classMethod(
            sel::getOtherInfoForView,
            +[](id, SEL, id) -> Value {
                return NSDictionary { { "raises", make<Indescribable>() }, { "extra", "yes" } };
            })
        .classMethod(
            sel::getOtherViewForScreenshotWithView,
            +[](id, SEL, id) {
                return s_photographed ? s_photographed
                                      : throw NSException(NSUndefinedKeyException, "a renamed property");
            })
        .classMethod(
            sel::havePlayer, +[](id, SEL) { return s_player != Player::None; })
        .classMethod(
            sel::playPlayer, +[](id, SEL) { s_player = Player::Playing; })
        .protocol(TDMetadataClassPlayerManipulateSupportProtocol);
    return { { LMReportButtonHelper::metaclassKey, retain(network.build()) } };
}

class ReportFlowTest : public testing::Test {
protected:
    ReportFlowTest() { world.start(); }

    std::shared_ptr<UIView> adView(CGSize size, const NSDictionary& metadata = {})
    {
        return test::adWithButton(world, { {}, size }, metadata);
    }
    std::shared_ptr<LMReportAdView> openOverlay(UIView& banner)
    {
        world.phone.tap(*buttonOn(banner));
        world.phone.wait(0.5);
        return test::find<LMReportAdView>(banner);
    }
    void choose(UIView& banner, const char* reason)
    {
        world.phone.tap(*test::reasonOn(banner, reason));
        world.phone.wait(1.0 + 0.3 + 0.1);
    }

    World world;
};

TEST_F(ReportFlowTest, ABannerFromLoadToReportedAndGone)
{
    const auto banner = world.showMoPub();
    const auto button = buttonOn(*banner);
    ASSERT_TRUE(button);
    EXPECT_EQ(button->buttonState(), State::Full);
    const auto overlay = openOverlay(*banner);
    ASSERT_TRUE(overlay);
    EXPECT_EQ(overlay->alpha(), 1);
    EXPECT_EQ(overlay->frame(), CGRectMake(0, 0, 300, 250));
    EXPECT_EQ(button->buttonState(), State::Hidden);

    choose(*banner, "offensive");
    EXPECT_FALSE(test::find<LMReportAdView>(*banner));
    const NSDictionary report = world.lastReport();
    EXPECT_EQ(report["type"], Value { "offensive" });
    EXPECT_EQ(report["adId"], Value { button->adLocalId() });
    EXPECT_TRUE(report["screenshot"].stringOrEmpty().starts_with("iVBORw0KGgo"));
    EXPECT_EQ(report["html"], Value { "" });
    EXPECT_EQ(report["adType"], Value { "html" }) << "no processor: the model's own";
    EXPECT_EQ(report["metadata"],
        (Value {
            NSDictionary { { "config", NSDictionary { { "buttonTap", 1 } } }, { "placementId", "" } } }));
    EXPECT_EQ(button->buttonState(), State::Reported);
    world.phone.wait(3.2);
    EXPECT_FALSE(buttonOn(*banner));
    EXPECT_EQ(LMEventsSaverUserDefaultsProvider().eventsCount(), 0u);
}

TEST_F(ReportFlowTest, AReportedButtonStaysThreeSeconds)
{
    const auto banner = world.showMoPub();
    const auto button = buttonOn(*banner);
    button->adWasReported();
    EXPECT_EQ(button->buttonForm(), Form::Reported);
    const auto caption = test::find<UILabel>(*button);
    EXPECT_EQ(caption->text(), "Ad Reported");
    world.phone.wait(0.01);
    EXPECT_GE(caption->frame().size.width, caption->intrinsicContentSize().width) << "the words fit";
    EXPECT_DOUBLE_EQ(button->frame().maxX(), 300);
    world.phone.wait(3.0);
    EXPECT_EQ(button->trailingConstant(), button->getButtonWidthWithDiff()) << "slides out";
    EXPECT_TRUE(button->superview());
    world.phone.wait(0.01);
    EXPECT_FALSE(button->superview());
}

TEST_F(ReportFlowTest, CancellingTheOverlayTakesTheButtonForGood)
{
    const auto banner = world.showMoPub();
    const auto button = buttonOn(*banner);
    const auto overlay = openOverlay(*banner);
    overlay->setup();
    const auto close = as<UIView>(overlay->valueForKey("buttonClose").object());
    EXPECT_EQ(close->gestureRecognizers().size(), 1u) << "set up twice, one recognizer";
    world.phone.tap(*close);
    world.phone.wait(0.29);
    EXPECT_TRUE(test::find<LMReportAdView>(*banner));
    world.phone.wait(0.02);
    EXPECT_FALSE(test::find<LMReportAdView>(*banner));
    EXPECT_FALSE(buttonOn(*banner));
    EXPECT_EQ(button->buttonHandler()->vcState(), TDButtonHandler::FlowState::Idle);
    EXPECT_EQ(world.service.reports().size(), 0u);
}

TEST_F(ReportFlowTest, ARefusedDeliveryTakesTheButtonAndKeepsTheReport)
{
    const auto banner = world.showMoPub();
    world.setServiceAway(true);
    openOverlay(*banner);
    choose(*banner, "fraud");
    EXPECT_FALSE(buttonOn(*banner));
    EXPECT_EQ(LMEventsSaverUserDefaultsProvider().eventsCount(), 1u);
    world.setServiceAway(false);
    world.phone.wait(300);
    EXPECT_EQ(world.lastReport()["type"], Value { "fraud" });
}

TEST_F(ReportFlowTest, TheHostHearsOnceItAsksTheConfiguredButton)
{
    const auto listener = make<Listener>();
    const auto view = test::adWithButton(world, CGRectMake(0, 0, 320, 50), {}, listener.get());
    const auto handler = buttonOn(*view)->buttonHandler();
    handler->sendReportWithInfo("my own words");
    handler->handleButtonTapAction(make<UITapGestureRecognizer>().get());
    EXPECT_FALSE(test::find<LMReportAdView>(*view)) << "while a report is on its way a tap opens nothing";
    world.phone.wait(1);
    EXPECT_TRUE(listener->reports.empty()) << "the helper's delegate is dropped";

    send(buttonOn(*view), sel::setDelegate, make<NSObject>());
    send(buttonOn(*view), sel::setDelegate, listener);
    listener->raises = true;
    send(buttonOn(*view), sel::sendReportWithInfo, Value {});
    send(buttonOn(*view), sel::sendReportWithInfo, Value { "more words" });
    ASSERT_EQ(listener->reports.size(), 1u) << "before delivery";
    EXPECT_EQ(listener->view, view.get());
    EXPECT_EQ(listener->reports.front()["type"], Value { "more words" });
    world.phone.wait(1);
    EXPECT_EQ(world.lastReport()["type"], Value { "more words" }) << "a raising host stops nothing";
    EXPECT_EQ(world.lastImpression()["sdk"], Value { "user_defined" });
}

TEST_F(ReportFlowTest, WithoutAControllerThatPresentsTheFlowStaysWhereItIs)
{
    const IMP raise { +[](id, SEL, id, bool, const std::function<void()>&) { throw 1; } };
    const auto raiser = alloc<UIViewController>(ClassBuilder("Raiser", classOf<UIViewController>())
                                                    .method(sel::presentViewController, raise)
                                                    .build());
    for (const auto& first : { std::shared_ptr<UIViewController> {}, raiser }) {
        const auto view = first ? adView({ 375, 812 }, fullScreenMetadata()) : world.showMoPub();
        const auto button = buttonOn(*view);
        button->animateFromIconToFull();
        world.phone.wait(0.5);
        for (const auto& controller : { first, make<UIViewController>() }) {
            world.phone.window().setRootViewController(controller);
            button->buttonHandler()->handleButtonTapAction(make<UITapGestureRecognizer>().get());
            EXPECT_EQ(button->buttonState(), State::Full) << "and further taps do nothing";
            EXPECT_EQ(button->buttonHandler()->vcState(), TDButtonHandler::FlowState::ScreenShown);
        }
    }
}

TEST(TDButtonHandlerTest, TellsALivingAdsHostWithoutRecordOrDelivery)
{
    World world;
    const auto listener = make<Listener>();
    const auto handler = make<TDButtonHandler>();
    auto ad = make<UIView>();
    handler->setAdView(ad);
    handler->setDelegate(listener);
    handler->saveAndGetInfoFromMetadataDict(fullScreenMetadata());
    handler->sendReportWithInfo("early");
    ASSERT_EQ(listener->reports.size(), 1u);
    EXPECT_EQ(listener->reports.front()["creativeId"], Value { "" });
    ad.reset();
    handler->sendReportWithInfo("late");
    EXPECT_EQ(listener->reports.size(), 1u);
}

TEST_F(ReportFlowTest, AnAdThatDiesMeanwhileTakesEverythingAlong)
{
    auto banner = world.showMoPub();
    const std::weak_ptr<TDReportButtonView> button = buttonOn(*banner);
    const auto handler = button.lock()->buttonHandler();
    banner->removeFromSuperview();
    banner.reset();
    EXPECT_TRUE(button.expired());
    EXPECT_TRUE(TDButtonManager::sharedInstance().getButtonsArray().empty());
    handler->sendReportWithInfo("late");
    world.phone.wait(1);
    EXPECT_EQ(world.lastReport()["screenshot"], Value { "" });
    EXPECT_EQ(world.lastReport()["creativeId"], Value { "" });
}

TEST_F(ReportFlowTest, AnAdGoneBeforeItsButtonCameIsStillAnImpression)
{
    auto banner = MoPubStandIn::makeBanner({ 300, 250 });
    MoPubStandIn::load(*banner, { .html = "" });
    world.phone.wait(0.5);
    banner.reset();
    world.phone.wait(1);
    EXPECT_EQ(world.lastImpression()["sdk"], Value { "MoPub" });
}

TEST_F(ReportFlowTest, OneButtonDirectlyUnderAView)
{
    const auto view = adView({ 320, 50 });
    LMReportButtonHelper::addReportButtonToView(view.get(), nullptr);
    world.phone.wait(2);
    EXPECT_EQ(TDButtonManager::sharedInstance().getButtonsArray().size(), 1u);
    const auto outer = make<UIView>();
    outer->addSubview(view);
    outer->addSubview(alloc<UIView>(ClassBuilder("HostsButton", classOf<TDReportButtonView>()).build()));
    EXPECT_FALSE(LMReportButtonHelper::isReportButtonInSubviewsOfView(outer.get()))
        << "deeper ones and subclasses do not count";
    for (int attached = 0; attached < 2; attached++)
        LMReportButtonHelper::addReportButtonToView(outer.get(), nullptr);
    world.phone.wait(1);
    EXPECT_EQ(TDButtonManager::sharedInstance().getButtonsArray().size(), 3u) << "two within one second";
    EXPECT_FALSE(LMReportButtonHelper::isReportButtonInSubviewsOfView(make<NSObject>().get()));
}

TEST_F(ReportFlowTest, AProcessorGivesMarkupAndType)
{
    class Processor final : public LMAdViewProcessor {
    public:
        void updateEventInfo(const std::shared_ptr<TDEventModel>&, const EventCompletion&) override { }
        std::string getAdTypeInString() override { return raises ? throw 1 : "video"; }
        void getNewHTMLWithPurpose(HTMLPurpose purpose, const HTMLCompletion& completion) override
        {
            answer = [=] { completion(true, purpose == HTMLPurpose::Report ? "<b>ad</b>" : ""); };
            if (raises)
                throw std::runtime_error("no page");
        }
        std::function<void()> answer;
        bool raises { false };
    };
    auto view = adView({ 320, 50 });
    const auto inner = make<UIView>();
    view->addSubview(inner);
    const auto processor = alloc<Processor>();
    processor->initWithAdObject(inner.get());
    processor->raises = true;
    ProcessorsManager::sharedInstance().addProcessor(processor);
    EXPECT_NO_THROW(buttonOn(*view)->sendAdInfo());
    buttonOn(*view)->buttonHandler()->sendReportWithInfo("y");
    std::exchange(processor->answer, nullptr)();
    world.phone.wait(1);
    EXPECT_EQ(world.service.reports().size(), 1u) << "a raising processor costs its two fields, once";
    EXPECT_EQ(world.lastReport()["html"], Value { "" });
    processor->raises = false;
    buttonOn(*view)->buttonHandler()->sendReportWithInfo("x");
    view->removeFromSuperview();
    view.reset();
    std::exchange(processor->answer, nullptr)();
    world.phone.wait(1);
    EXPECT_EQ(world.lastReport()["html"], Value { "<b>ad</b>" });
    EXPECT_EQ(world.lastReport()["adType"], Value { "video" });
}

TEST_F(ReportFlowTest, ClosedGateMeansNoButtonAndNoImpression)
{
    world.service.setRecord(R"({"active": false, "ttlConfig": 50})");
    TDActivationManager::sharedInstance().getNewConfig();
    world.phone.wait(1);
    world.showMoPub();
    EXPECT_TRUE(TDButtonManager::sharedInstance().getButtonsArray().empty());
    EXPECT_EQ(world.service.impressions().size(), 0u);
}

TEST_F(ReportFlowTest, TheLayoutFollowsTheHeight)
{
    const std::pair<double, bool> rows[] = { { 229.9, false }, { 230, true }, { 250, true }, { 50, false } };
    for (const auto& [height, roomy] : rows) {
        const auto overlay = LMReportAdView::initFromNibForAdSize({ 300, height });
        overlay->setup();
        EXPECT_EQ(test::reasonOn(*overlay, "offensive")->title() == "Offensive content", roomy) << height;
    }
    const auto stranger = make<NSObject>();
    const auto overlay = LMReportAdView::initFromNibForAdSize({ 300, 250 });
    overlay->setDelegate(stranger);
    world.phone.content().addSubview(overlay);
    EXPECT_NO_THROW(overlay->onButtonClose()) << "who does not conform hears nothing";
    EXPECT_NO_THROW(overlay->reportButtonDidTouched(nullptr, "fraud"));
    world.phone.wait(1);
    EXPECT_TRUE(overlay->superview()) << "and the overlay stays";
}

TEST_F(ReportFlowTest, AReasonLightsUpForOneSecond)
{
    const auto banner = world.showMoPub();
    openOverlay(*banner);
    const auto fraud = test::reasonOn(*banner, "fraud");
    EXPECT_EQ(fraud->layer().borderColor(), (UIColor { 5 / 255.0, 89 / 255.0, 175 / 255.0, 1 }));
    fraud->didTouchUpInside();
    const auto other = test::reasonOn(*banner, "repetitive");
    other->didTouchUpInside();
    const auto stranger = make<NSObject>();
    other->setDelegate(stranger);
    EXPECT_EQ(fraud->backgroundColor(), fraud->layer().borderColor());
    world.phone.wait(0.5);
    world.phone.tap(*fraud);
    world.phone.wait(0.449);
    EXPECT_EQ(test::find<LMReportAdView>(*banner)->alpha(), 1);
    world.phone.wait(0.0011);
    EXPECT_EQ(test::find<LMReportAdView>(*banner)->alpha(), 0) << "told, and fading";
    world.phone.wait(5);
    EXPECT_EQ(world.service.reports().size(), 1u) << "two fast taps send one";
    EXPECT_EQ(world.phone.console().lines(), std::vector<std::string> {}) << "nor does a stranger";
}

TEST_F(ReportFlowTest, ATapOnTheButtonNeverReachesTheAd)
{
    static int s_taps;
    const auto counter = class_createInstance(ClassBuilder("TapCounter", classOf<NSObject>())
                                                  .method("tapped"_sel, IMP { +[](id, SEL) { s_taps++; } })
                                                  .build());
    for (const bool recognizer : { true, false }) {
        const char* row = recognizer ? "a recognizer of the ad" : "a link";
        const auto ad = make<WKWebView>();
        ad->setFrame(CGRectMake(0, 0, 320, 250));
        world.phone.content().addSubview(ad);
        const auto tap = make<UITapGestureRecognizer>();
        tap->addTarget(counter, "tapped"_sel);
        tap->setEnabled(recognizer);
        ad->addGestureRecognizer(tap);
        auto hears = [&](const std::function<void()>& touch) {
            ad->loadHTMLString("<a href='https://shop.example/'><h1>MMMMMMMMMMMMMMMMMMM</h1></a>", "");
            world.phone.wait(0.1);
            s_taps = 0;
            touch();
            bool heard = false;
            for (int i = 0; i < 100; i++, world.phone.wait(0.01))
                heard = heard || ad->isLoading();
            return heard || s_taps > 0;
        };
        EXPECT_TRUE(hears([&] { world.phone.tapAt({ 300, 61 }); })) << row;
        LMReportButtonHelper::addReportButtonToView(ad.get(), nullptr);
        world.phone.wait(1.1);
        EXPECT_FALSE(hears([&] { world.phone.tap(*buttonOn(*ad)); })) << row;
        EXPECT_TRUE(test::find<LMReportAdView>(*ad)) << row;
    }
}

TEST_F(ReportFlowTest, CancellingTheSheetBringsTheButtonBack)
{
    const auto view = adView({ 375, 812 }, fullScreenMetadata());
    const auto button = buttonOn(*view);
    auto open = [&]() -> UIViewController* {
        world.phone.wait(0.5);
        button->animateFromIconToFull();
        world.phone.wait(0.5);
        world.phone.tap(*button);
        world.phone.wait(1);
        EXPECT_EQ(button->buttonState(), State::Hidden);
        return world.phone.window().rootViewController()->presentedViewController();
    };
    ASSERT_TRUE(open());
    world.phone.tapAt({ 187, 700 });
    world.phone.wait(0.35 + 0.3 + 0.26);
    EXPECT_EQ(button->buttonState(), State::Icon);
    const UIViewController* sheet = open();
    ASSERT_TRUE(sheet) << "a cancelled flow starts again";
    EXPECT_EQ(sheet->modalPresentationStyle(), UIModalPresentationStyle::OverCurrentContext);
    button->buttonHandler()->swipableReportViewControllerDidClosed({});
    world.phone.wait(1);
    EXPECT_EQ(button->buttonState(), State::Hidden) << "closed with nothing, it stays away";
    EXPECT_EQ(world.service.reports().size(), 0u);
}

TEST_F(ReportFlowTest, AnInterstitialIsReportedThroughTheSheet)
{
    const auto view = adView({ 375, 812 }, videoMetadata());
    const auto button = buttonOn(*view);
    ASSERT_EQ(button->buttonForm(), Form::Full);
    world.phone.wait(0.25);
    ASSERT_EQ(button->buttonState(), State::Icon);
    world.phone.tap(*test::find<UIImageView>(*button));
    world.phone.wait(0.35 + 0.25);
    ASSERT_EQ(button->buttonState(), State::Full);
    world.phone.tap(*button);
    world.phone.wait(0.35 + 0.3 + 0.1);
    UIViewController* sheet = world.phone.window().rootViewController()->presentedViewController();
    ASSERT_TRUE(sheet);
    s_player = Player::Paused;
    world.phone.tap(*test::reasonOn(*sheet->view(), "fraud"));
    world.phone.wait(0.5);
    world.phone.tapAt({ 187, 700 });
    world.phone.wait(0.74);
    const auto handler = button->buttonHandler();
    EXPECT_EQ(handler->vcState(), TDButtonHandler::FlowState::ScreenShown) << "not before the sheet is gone";
    world.phone.wait(1);
    EXPECT_EQ(std::exchange(s_player, {}), Player::Playing) << "the video goes on";
    EXPECT_FALSE(world.phone.window().rootViewController()->presentedViewController());
    ASSERT_EQ(world.service.reports().size(), 1u) << "a tap outside takes nothing back";
    const NSDictionary report = world.lastReport();
    EXPECT_EQ(report["adFormat"], Value { "interstitial" });
    EXPECT_NE(report["screenshot"], Value { "" }) << "what the metadata class raises costs nothing else";
    EXPECT_EQ((*report["metadata"].dictionary())["extra"], Value { "yes" });

    const auto picture = make<UILabel>();
    picture->setFrame(CGRectMake(0, 0, 40, 30));
    s_photographed = picture;
    button->buttonHandler()->sendReportWithInfo("again");
    world.phone.wait(1);
    s_photographed = nullptr;
    EXPECT_EQ(world.lastReport()["screenshot"],
        Value { base64Encoded(UIImagePNGRepresentation(takeScreenshot(*picture))) });
    EXPECT_EQ(s_player, Player::None) << "no player, none started";
}

} // namespace
} // namespace lumora
