#include "processing/ProcessorsManager.h"

#include "core/TDActivationManager.h"
#include "platform/foundation/NSTimer.h"
#include "processing/AdProcessingManager.h"
#include "tests/processing/ShownAds.h"
#include "tests/service/Events.h"

namespace lumora {
namespace {

using test::timersNamed;

class ProcessorsManagerTest : public test::ShownAds {
protected:
    size_t pendingTicks() const { return timersNamed(world.phone, "ProcessorsManager startTimer]").size(); }
};

TEST_F(ProcessorsManagerTest, TheFirstTickComesAfterOneSecondThenEveryFive)
{
    const auto due = [&] { return timersNamed(world.phone, "ProcessorsManager startTimer]").at(0); };
    EXPECT_NEAR(due(), 1, 0.2);
    for (int i = 0; i < 5; i++)
        show();
    world.phone.wait(1);
    EXPECT_EQ(looks(), "11110") << "four at most, the oldest first";
    EXPECT_NEAR(due(), 5, 0.2);
    AdProcessingManager::sharedInstance().setSeconds(2);
    world.phone.wait(5);
    EXPECT_EQ(looks(), "22220");
    EXPECT_NEAR(due(), 2, 0.2);
}

TEST_F(ProcessorsManagerTest, WhomATickLooksAt)
{
    struct Row {
        double age;
        int64_t before;
        bool looked;
        int64_t after;
    };
    for (const Row& row : { Row { 300, 0, true, 0 }, { 301, 0, false, 1 }, { 50, 2, true, 0 },
             { 100, 2, true, 0 }, { 101, 2, false, 3 }, { 150, 2, false, 3 }, { 301, 2, false, 3 },
             { 0, -1, false, -1 }, { 400, -2, false, -2 } }) {
        const auto processor = show(row.age);
        processor->setOfflineStateCounter(row.before);
        manager.takeScreenshots(300, 4);
        EXPECT_EQ(processor->offlineStateCounter(), row.after) << row.age << " " << row.before;
        world.phone.wait(0);
        EXPECT_EQ(processor->looks > 0, row.looked) << row.age << " " << row.before;
        manager.removeProcessor(processor);
    }
    for (int i = 0; i < 5; i++)
        show(i * 100);
    manager.getAllProcessors().at(1)->setOfflineStateCounter(-1);
    manager.takeScreenshots(300, 0);
    world.phone.wait(0);
    EXPECT_EQ(looks(), "10111") << "no limit, no age";
}

TEST_F(ProcessorsManagerTest, ASuspendedAdWaitsForItsNextShowing)
{
    const auto processor = show();
    const auto view = processor->adObject();
    manager.suspendProcessorTakingScreenshotBy(make<NSObject>().get());
    EXPECT_EQ(processor->offlineStateCounter(), 0);
    manager.suspendProcessorTakingScreenshotBy(view.get());
    world.phone.wait(30);
    EXPECT_EQ(looks(), "0");
    AdProcessingManager::logAd(view, true);
    world.phone.wait(6);
    EXPECT_NE(looks(), "0");
}

TEST_F(ProcessorsManagerTest, TheBackgroundStopsTheTicks)
{
    const auto second = NSTimer::scheduledTimerWithTimeInterval(1000, make<NSObject>(), "x"_sel, false);
    manager.setBlacklistUpdatingTimer(second);
    world.phone.sendToBackground();
    EXPECT_EQ(pendingTicks(), 0u);
    EXPECT_FALSE(second->isValid());
    world.phone.bringToForeground();
    world.phone.wait(0);
    EXPECT_EQ(pendingTicks(), 1u);
    send<void>(&manager, "applicationGoForeground:"_sel, id {});
    world.phone.wait(0);
    EXPECT_EQ(pendingTicks(), 2u) << "nobody asks whether one is armed";
    world.phone.wait(5);
    EXPECT_EQ(pendingTicks(), 1u) << "the stray one is over";
    world.phone.wait(60);
    EXPECT_EQ(pendingTicks(), 1u);
}

TEST_F(ProcessorsManagerTest, NoTimerOnItsWayTicksInTheBackground)
{
    send<void>(&manager, "applicationGoForeground:"_sel, id {});
    send<void>(&manager, "applicationGoForeground:"_sel, id {});
    world.phone.wait(0);
    ASSERT_GT(pendingTicks(), 1u);
    manager.startTimer();
    world.phone.sendToBackground();
    world.phone.wait(20);
    EXPECT_EQ(pendingTicks(), 0u);
}

TEST_F(ProcessorsManagerTest, WhatAProcessorCannotFillIsSentAsItIs)
{
    for (const bool raises : { true, false }) {
        const auto view = make<UIView>();
        const auto filler = test::Filler::of(view);
        filler->raises = raises;
        filler->isIgnorant = true;
        manager.addProcessor(filler);
        manager.eventFired(test::eventOf("redirect"), view);
        world.phone.wait(1);
        EXPECT_EQ(world.lastReport()["type"], Value { "redirect" });
    }
    EXPECT_EQ(world.service.reports().size(), 2u);
}

TEST_F(ProcessorsManagerTest, AnAdThatIsGoneKeepsNoMarkup)
{
    const auto processor = show();
    processor->setHtml("<p>");
    as<UIView>(processor->adObject())->removeFromSuperview();
    manager.takeScreenshots(300, 4);
    EXPECT_EQ(processor->html(), "");
}

TEST_F(ProcessorsManagerTest, AnInterruptionEndsTheTicksUntilTheNextForeground)
{
    world.phone.beginInterruption();
    EXPECT_EQ(pendingTicks(), 0u);
    world.phone.endInterruption();
    world.phone.wait(60);
    EXPECT_EQ(pendingTicks(), 0u) << "kept";
    world.phone.sendToBackground();
    world.phone.bringToForeground();
    world.phone.wait(0);
    EXPECT_EQ(pendingTicks(), 1u);
}

TEST_F(ProcessorsManagerTest, RegisteringAndRemoving)
{
    const auto processor = show();
    EXPECT_EQ(processor->logged, 2) << "made, and registered";
    manager.addProcessor(nullptr);
    manager.addProcessor(processor);
    EXPECT_EQ(manager.count(), 2u);
    manager.removeProcessor(processor);
    EXPECT_EQ(manager.count(), 0u);
}

TEST_F(ProcessorsManagerTest, MarkupIsLabelledWithItsCreative)
{
    EXPECT_EQ(ProcessorsManager::makeHTMLFromDictionary(NSDictionary {}), "<!-- LumoracreativeId 0 -->");
    EXPECT_EQ(
        ProcessorsManager::makeHTMLFromDictionary(NSDictionary { { "creativeId", 7 }, { "html", "<p>" } }),
        "<!-- LumoracreativeId 7 --><p>");
}

TEST_F(ProcessorsManagerTest, AnEventGoesToEveryProcessorOfItsAd)
{
    const auto processor = show();
    const auto view = processor->adObject();
    show();
    manager.addProcessor(processor);
    manager.eventFired(nullptr, view);
    manager.eventFired(test::eventOf("redirect"), view);
    world.phone.wait(1);
    EXPECT_EQ(world.service.reports().size(), 2u) << "one each";
    EXPECT_EQ(world.lastReport()["creativeId"], Value { "crid" });
    world.service.setRecord(R"({"active": false, "ttlConfig": 1000})");
    TDActivationManager::sharedInstance().getNewConfig();
    manager.eventFired(test::eventOf("redirect"), view);
    world.phone.wait(1);
    manager.eventFired(test::eventOf("redirect"), view);
    world.phone.wait(1);
    EXPECT_EQ(world.service.reports().size(), 2u) << "the gate says no, or is being asked";
    const std::string before = looks();
    manager.takeScreenshots(300, 4);
    world.phone.wait(0);
    EXPECT_EQ(looks(), before) << "nor is an ad looked at";
}

TEST_F(ProcessorsManagerTest, TheLastTappedAd)
{
    const auto first = show();
    const auto second = show();
    EXPECT_EQ(manager.getProcessorWithLastTappedAdObject(), nullptr);
    for (const auto& processor : { second, first })
        processor->saveTapEvent();
    EXPECT_EQ(manager.getProcessorWithLastTappedAdObject(), first) << "of equal ones the oldest";
    world.phone.wait(1);
    second->saveTapEvent();
    EXPECT_EQ(manager.getProcessorWithLastTappedAdObject(), second);
}

} // namespace
} // namespace lumora
