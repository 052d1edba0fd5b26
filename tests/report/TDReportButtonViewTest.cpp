#include "report/TDReportButtonView.h"

#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/VirtualExecutor.h"
#include "report/TDButtonManager.h"
#include "report/TDReportButtonPlacement.h"
#include "support/UIViewExtensions.h"
#include "tests/platform/drawing/Pixels.h"
#include "tests/report/AdWithButton.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using State = TDReportButtonView::State;
using Form = TDReportButtonView::Form;
using test::World;

class TDReportButtonViewTest : public testing::Test {
protected:
    TDReportButtonViewTest() { world.start(); }
    std::shared_ptr<TDReportButtonView> buttonOn(const CGRect& frame, bool fullScreen)
    {
        view = test::adWithButton(world, frame, fullScreen ? fullScreenMetadata() : NSDictionary {});
        return test::find<TDReportButtonView>(*view);
    }

    World world;
    std::shared_ptr<UIView> view;
};

TEST_F(TDReportButtonViewTest, ComesAfterOneSecondAndNotBefore)
{
    const auto ad = alloc<UIView>(
        ClassBuilder("RaisingAd", classOf<UIView>())
            .method(sel::layoutSubviews, IMP { +[](id, SEL) { throw std::runtime_error("no room"); } })
            .build());
    send(ad, sel::initWithFrame, CGRectMake(0, 0, 320, 50));
    LMReportButtonHelper::addReportButtonToView(ad.get(), nullptr);
    world.phone.wait(0.999);
    EXPECT_FALSE(test::find<TDReportButtonView>(*ad));
    world.phone.wait(0.001);
    const auto button = test::find<TDReportButtonView>(*ad);
    ASSERT_TRUE(button);
    EXPECT_TRUE(ad->clipsToBounds());
    EXPECT_TRUE(TDButtonManager::sharedInstance().containsButton(button.get()));
    world.phone.wait(0.5);
    EXPECT_EQ(button->buttonState(), State::Full) << "an ad that raises costs no slide its end";
    EXPECT_EQ(world.service.impressions().size(), 1u);
}

TEST_F(TDReportButtonViewTest, TheShortFormSlidesInAtOnceAndStays)
{
    const auto button = buttonOn(CGRectMake(0, 100, 320, 100), false);
    EXPECT_EQ(button->buttonForm(), Form::Short);
    EXPECT_EQ(button->buttonState(), State::HiddenToFull);
    EXPECT_EQ(test::find<UILabel>(*button)->text(), "");
    EXPECT_DOUBLE_EQ(button->timeForAnimation(), 0.01);
    world.phone.wait(0.01);
    EXPECT_EQ(button->buttonState(), State::Full);
    EXPECT_DOUBLE_EQ(button->frame().maxX(), 320);
    EXPECT_DOUBLE_EQ(button->frame().origin.y, 0) << "at the top, not 0.12 down";
    EXPECT_FALSE(button->layer().sublayers().front()->mask());
    world.phone.wait(60);
    EXPECT_EQ(button->buttonState(), State::Full);
}

TEST_F(TDReportButtonViewTest, TheFullFormSlidesInAsAnIconRoundedOnTheLeft)
{
    const auto button = buttonOn(CGRectMake(0, 0, 375, 812), true);
    EXPECT_EQ(button->buttonForm(), Form::Full);
    EXPECT_EQ(button->buttonState(), State::HiddenToIcon);
    EXPECT_DOUBLE_EQ(button->timeForAnimation(), 0.25);
    world.phone.wait(0.24);
    EXPECT_EQ(button->buttonState(), State::HiddenToIcon);
    world.phone.wait(0.01);
    EXPECT_EQ(button->buttonState(), State::Icon);
    const double captionX = test::find<UILabel>(*button)->frame().origin.x;
    EXPECT_DOUBLE_EQ(button->frame().origin.x, 375 - captionX) << "only what is left of the caption shows";
    EXPECT_DOUBLE_EQ(button->frame().origin.y, 44 + 812 * 0.12) << "below the safe area";
    EXPECT_DOUBLE_EQ(button->layer().zPosition(), 50);
    const UIImage picture = takeScreenshot(*button);
    EXPECT_EQ(test::pixelAt(picture, 1, 1), "00000000");
    EXPECT_EQ(test::pixelAt(picture, picture.pixelWidth() - 1, 8), "0559afff") << "straight on the right";
}

TEST_F(TDReportButtonViewTest, AnIconOpensForTheConfiguredNumberOfTaps)
{
    const std::pair<const char*, bool> rows[]
        = { { R"({"active": true, "buttonTap": "single"})", true }, { R"({"active": true})", false } };
    for (const auto& [record, single] : rows) {
        World fresh { { .record = record } };
        fresh.start();
        const auto button
            = test::buttonOn(*test::adWithButton(fresh, CGRectMake(0, 0, 375, 812), fullScreenMetadata()));
        fresh.phone.wait(0.5);
        const auto icon = test::find<UIImageView>(*button);
        single ? fresh.phone.doubleTap(*icon) : fresh.phone.tap(*icon);
        fresh.phone.wait(1);
        EXPECT_EQ(button->buttonState(), State::Icon) << record << ": the other number does nothing";
        single ? fresh.phone.tap(*icon) : fresh.phone.doubleTap(*icon);
        fresh.phone.wait(0.35 + 0.25);
        EXPECT_EQ(button->buttonState(), State::Full) << record;
        fresh.phone.wait(3.25);
        EXPECT_EQ(button->buttonState(), State::Icon) << "collapses after three seconds";
    }
}

TEST_F(TDReportButtonViewTest, AnAdWiderThanTheScreen)
{
    const std::pair<double, double> rows[] = { { 500, -125 }, { 812, 0 }, { 375, 0 }, { 320, 0 } };
    for (const auto& [width, diff] : rows) {
        for (const bool fullScreen : { false, true }) {
            const auto button = buttonOn(CGRectMake(0, 0, width, 100), fullScreen);
            world.phone.wait(0.3);
            const CGRect frame = button->frame();
            const double shown
                = fullScreen ? test::find<UILabel>(*button)->frame().origin.x : frame.size.width;
            EXPECT_DOUBLE_EQ(button->widerAdDiff(), diff) << width;
            EXPECT_DOUBLE_EQ(frame.origin.x, width + diff - shown) << width << fullScreen;
        }
    }
}

TEST_F(TDReportButtonViewTest, AHiddenButtonIsThereButNotSeen)
{
    World hiding { { .record = R"({"active": true, "hideButton": true, "buttonTap": "single"})" } };
    hiding.start();
    const auto button = test::buttonOn(*test::adWithButton(hiding, CGRectMake(0, 100, 320, 50)));
    EXPECT_TRUE(button->isHidden());
    EXPECT_TRUE(TDButtonManager::sharedInstance().containsButton(button.get()));
    hiding.phone.wait(1);
    EXPECT_EQ(button->buttonState(), State::Full);
    EXPECT_EQ(hiding.service.impressions().size(), 1u);
    hiding.phone.tapAt({ 310, 110 });
    hiding.phone.wait(1);
    EXPECT_EQ(button->buttonState(), State::Full) << "untappable";
}

TEST_F(TDReportButtonViewTest, TheReportedStateIsFinal)
{
    const auto button = buttonOn(CGRectMake(0, 0, 375, 812), true);
    world.phone.wait(0.25);
    button->animateFromIconToFull();
    EXPECT_EQ(button->buttonState(), State::IconToFull);
    world.phone.wait(0.1);
    button->adWasReported();
    world.phone.wait(0.5);
    EXPECT_EQ(button->buttonState(), State::Reported) << "an interrupted slide's end does not overwrite it";
    using Button = TDReportButtonView;
    for (const auto slide : { &Button::animateFromHiddenToFull, &Button::animateFromHiddenToIcon,
             &Button::animateFromFullToIcon, &Button::animateFromFullToHidden }) {
        (button.get()->*slide)();
        EXPECT_EQ(button->buttonState(), State::Reported);
        world.phone.wait(0.25);
        EXPECT_EQ(button->buttonState(), State::Reported);
    }
    EXPECT_FALSE(button->superview()) << "slid out, it goes";
}

TEST_F(TDReportButtonViewTest, BeforeVersionElevenThereIsNoSafeArea)
{
    const std::pair<const char*, double> rows[]
        = { { "9.3", 0 }, { "10.3.1", 0 }, { "11.0", 44 }, { "13", 44 } };
    for (const auto& [version, safeArea] : rows) {
        World fresh { { .adjust
            = [version = version](Phone::Options& options) { options.device.systemVersion = version; } } };
        fresh.start();
        const auto ad = test::adWithButton(fresh, CGRectMake(0, 0, 320, 50));
        fresh.phone.wait(0.1);
        EXPECT_DOUBLE_EQ(test::find<TDReportButtonView>(*ad)->frame().origin.y, safeArea) << version;
    }
}

TEST_F(TDReportButtonViewTest, AnOffMainReportMovesItselfToTheMainThread)
{
    const auto button = buttonOn(CGRectMake(0, 0, 320, 50), false);
    world.phone.wait(0.1);
    dispatch_get_global_queue().async([&] {
        button->adWasReported();
        EXPECT_NE(button->buttonState(), State::Reported);
    });
    world.phone.clock().drain();
    EXPECT_EQ(button->buttonState(), State::Reported);
}

TEST_F(TDReportButtonViewTest, DisablingRemovesButDoesNotUnregister)
{
    auto& manager = TDButtonManager::sharedInstance();
    manager.disableAllButtons();
    const auto stays = world.showMoPub();
    const auto other = world.showAdMob();
    const auto button = test::buttonOn(*stays);
    manager.addButton(button);
    EXPECT_EQ(manager.getButtonsArray().size(), 2u);
    manager.disableAllButtons();
    EXPECT_TRUE(button->superview()) << "on the main queue, not here";
    world.phone.clock().drain();
    EXPECT_FALSE(button->superview() || test::buttonOn(*other));
    EXPECT_EQ(manager.getButtonsArray(), std::vector { button }) << "the dead leave by themselves";
    manager.removeButton(button.get());
    EXPECT_TRUE(manager.getButtonsArray().empty());
}

TEST(TDReportButtonPlacementTest, TheLastRuleForAnAdCounts)
{
    Phone phone { {} };
    auto& placements = TDReportButtonPlacement::sharedInstance();
    placements.setNewButtonPlacement(3, static_cast<TDAdNetworkType>(99), TDAdFormatType::Banner);
    EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName("", "banner"), 3);
    placements.setNewButtonPlacement(2, TDAdNetworkType::MoPub, TDAdFormatType::Banner);
    placements.setNewButtonPlacement(5, TDAdNetworkType::MoPub, TDAdFormatType::Banner);
    EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName("MoPub", "banner"), 5);
    EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName({}, {}), 6) << "nil is \"(null)\"";
}

} // namespace
} // namespace lumora
