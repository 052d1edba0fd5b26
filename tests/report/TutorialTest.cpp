#include "report/LMInterstitialTutorialView.h"
#include "report/LMPulseAnimationView.h"
#include "service/LMFirstTimeLaunchDetector.h"
#include "tests/report/AdWithButton.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::World;

/// An ad on the screen of a phone that is started for the first time; its button comes at this moment.
struct FirstLaunch {
    explicit FirstLaunch(bool fullScreen = true, const char* record = R"({"active": true})")
        : world { { .record = record } }
    {
        world.start();
        show(fullScreen);
    }
    void show(bool fullScreen)
    {
        ad = test::adWithButton(
            world, CGRectMake(0, 0, 375, 812), fullScreen ? fullScreenMetadata() : NSDictionary {});
    }
    std::shared_ptr<LMInterstitialTutorialView> tutorial() const
    {
        return test::find<LMInterstitialTutorialView>(*ad);
    }
    std::shared_ptr<LMPulseAnimationView> pulse() const { return test::find<LMPulseAnimationView>(*ad); }
    void pressContinue() { world.phone.tap(*test::find<UIButton>(*tutorial())); }

    World world;
    std::shared_ptr<UIView> ad;
};

TEST(TutorialTest, ComesAfterTwoSecondsAndPulsesWhenItIsThere)
{
    FirstLaunch launch;
    launch.world.phone.wait(1.999);
    EXPECT_FALSE(launch.tutorial());
    launch.world.phone.wait(0.001);
    const auto tutorial = launch.tutorial();
    ASSERT_TRUE(tutorial);
    EXPECT_EQ(tutorial->frame(), launch.ad->bounds());
    EXPECT_EQ(tutorial->layer().presentationOpacity(), 0);
    launch.world.phone.wait(0.699);
    EXPECT_FALSE(launch.pulse());
    launch.world.phone.wait(0.0011);
    EXPECT_EQ(tutorial->layer().presentationOpacity(), 1);
    const auto pulse = launch.pulse();
    ASSERT_TRUE(pulse);
    launch.world.phone.wait(0.1);
    const auto button = test::buttonOn(*launch.ad);
    const auto icon = test::find<UIImageView>(*button);
    const CGRect iconPlace = launch.ad->convertRectFromView(icon->bounds(), icon.get());
    EXPECT_EQ(pulse->frame(), CGRectMake(iconPlace.midX(), button->center().y, 0, 0));
    EXPECT_EQ(launch.ad->subviews(), (std::vector<std::shared_ptr<UIView>> { button, tutorial, pulse }));
    EXPECT_EQ(launch.ad->layer().sublayersInDrawingOrder().back()->view(), button.get());

    launch.pressContinue();
    launch.world.phone.wait(0.699);
    EXPECT_TRUE(launch.tutorial() && launch.pulse());
    launch.world.phone.wait(0.0011);
    EXPECT_FALSE(launch.tutorial() || launch.pulse());
    EXPECT_EQ(button->buttonState(), TDReportButtonView::State::Icon) << "the button stays";
}

TEST(TutorialTest, OnlyAFirstInterstitialWithAVisibleButtonHasOne)
{
    struct Row {
        const char* name;
        bool fullScreen;
        const char* record;
        bool stillFirst;
    };
    for (const Row& row : { Row { "a banner does not ask", false, R"({"active": true})", true },
             Row { "a hidden button neither", true, R"({"active": true, "hideButton": true})", true },
             Row { "an interstitial does", true, R"({"active": true})", false } }) {
        FirstLaunch launch { row.fullScreen, row.record };
        launch.world.phone.wait(3);
        EXPECT_EQ(launch.tutorial() == nullptr, row.stillFirst) << row.name;
        EXPECT_EQ(LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch(), row.stillFirst) << row.name;
        launch.show(true);
        launch.world.phone.wait(3);
        EXPECT_FALSE(launch.tutorial()) << row.name << ", and nobody a second time";
    }
}

TEST(TutorialTest, ThePulseIsThereAsLongAsTutorialAndButtonAre)
{
    FirstLaunch early;
    early.world.phone.wait(2.3);
    early.pressContinue();
    early.world.phone.wait(5);
    EXPECT_FALSE(early.tutorial() || early.pulse()) << "dismissed while it came";

    FirstLaunch reported;
    reported.world.phone.wait(2.3);
    const auto ad = reported.ad;
    ad->removeFromSuperview();
    reported.world.phone.content().addSubview(ad);
    reported.world.phone.wait(1.7);
    ASSERT_TRUE(reported.pulse()) << "also on an ad that moved while it came";
    test::buttonOn(*reported.ad)->adWasReported();
    reported.world.phone.wait(4);
    EXPECT_FALSE(reported.pulse()) << "the button went";

    FirstLaunch removed;
    test::buttonOn(*removed.ad)->removeFromSuperview();
    removed.world.phone.wait(4);
    EXPECT_FALSE(removed.tutorial());
}

} // namespace
} // namespace lumora
