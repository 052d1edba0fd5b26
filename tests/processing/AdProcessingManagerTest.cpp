#include "processing/AdProcessingManager.h"

#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "platform/uikit/UIWindow.h"
#include "simulator/networks/StandIns.h"
#include "tests/processing/AdPage.h"
#include "tests/processing/ShownAds.h"
#include "tests/service/Events.h"

#include <thread>

namespace lumora {
namespace {

class AdProcessingManagerTest : public test::ShownAds {
protected:
    /// The gate closes, as soon as it has asked.
    void turnOff()
    {
        world.service.setRecord(R"({"active": false, "ttlConfig": 1000})");
        TDActivationManager::sharedInstance().getNewConfig();
        world.phone.wait(1);
    }
    size_t said(const std::string& message) const
    {
        const auto lines = world.phone.console().lines();
        return std::count(lines.begin(), lines.end(), "[Lumora] " + message);
    }

    AdProcessingManager& front { AdProcessingManager::sharedInstance() };
};

TEST_F(AdProcessingManagerTest, AnAdHasOneProcessorThatEachShowingRenews)
{
    LMLog::setLogLevel(0);
    const auto ad = standInView("RFMAdView", { 320, 50 });
    turnOff();
    front.logAdWithTTLCheck(ad);
    EXPECT_EQ(front.getProcessorBy(ad.get()), nullptr) << "the gate says no";
    AdProcessingManager::logAd(ad, false);
    const auto processor = front.getProcessorBy(ad.get());
    ASSERT_TRUE(processor) << "and is not asked";
    processor->saveTapEvent();
    EXPECT_TRUE(front.didUserTapOnView(ad.get()));
    world.phone.wait(1);
    front.logAd(ad);
    EXPECT_EQ(manager.count(), 1u);
    EXPECT_FALSE(front.didUserTapOnView(ad.get())) << "a tap on what showed before";
    AdProcessingManager::logAd(make<UIView>(), false);
    EXPECT_EQ(manager.count(), 1u);
    EXPECT_EQ(said("[Lumora] User sees an AD"), 2u);
    EXPECT_EQ(said("We have a processor"), 1u);
    EXPECT_EQ(said("Processor is nil"), 1u);
}

TEST_F(AdProcessingManagerTest, OfAllProcessorsTheNewestAroundOrInsideAViewIsIts)
{
    const auto outer = show(), older = show(), newer = show(), elsewhere = show();
    const auto viewOf = [](const auto& processor) { return as<UIView>(processor->adObject()); };
    viewOf(outer)->addSubview(viewOf(older));
    const auto inside = make<UIView>();
    viewOf(older)->addSubview(inside);
    manager.addProcessor(outer);
    EXPECT_EQ(front.getProcessorReversedBy(inside.get()), outer) << "registered once more: the newest";
    EXPECT_EQ(front.getProcessorBy(inside.get()), nullptr) << "only its own";
    inside->addSubview(viewOf(newer));
    manager.removeProcessor(outer);
    EXPECT_EQ(front.getProcessorReversedBy(inside.get()), newer) << "lies in it";
    EXPECT_EQ(front.getProcessorReversedBy(viewOf(older).get()), newer) << "before its own, an older one";
    EXPECT_EQ(front.getProcessorReversedBy(viewOf(elsewhere).get()), elsewhere);
    EXPECT_EQ(front.getProcessorReversedBy(make<UIView>().get()), nullptr);
    EXPECT_EQ(front.getProcessorReversedBy(nullptr), nullptr);
}

TEST_F(AdProcessingManagerTest, WhatAnotherThreadTellsIsDoneOnTheMainThread)
{
    const auto ad = standInView("RFMAdView", { 320, 50 });
    std::thread network([&] {
        const Process::Scope scope(world.phone.process());
        AdProcessingManager::logAd(ad, true);
        manager.eventFired(test::eventOf("redirect"), ad);
    });
    network.join();
    EXPECT_EQ(manager.count(), 0u);
    world.phone.wait(1);
    EXPECT_NE(front.getProcessorBy(ad.get()), nullptr);
    EXPECT_EQ(world.lastReport()["sdk"], Value { "Rubicon" });
}

TEST_F(AdProcessingManagerTest, AnAdWhoseEqualityRaisesIsAnotherAd)
{
    struct Raising final : NSObject {
        bool isEqual(const Object*) const override { throw std::runtime_error("the network's own"); }
    };
    const auto raising = std::make_shared<Raising>();
    const auto processor = alloc<test::Looked>();
    send(processor, sel::initWithAdObject, raising);
    manager.addProcessor(processor);
    const auto ad = show();
    const auto view = ad->adObject();
    manager.addProcessor(processor);
    EXPECT_EQ(front.getProcessorBy(view.get()), ad);
    EXPECT_EQ(front.getProcessorReversedBy(view.get()), ad);
    EXPECT_FALSE(front.didUserTapOnView(view.get()));
    front.setNewTimestampForProcessorByAdView(view.get());
}

TEST_F(AdProcessingManagerTest, OfATapTheLastRegisteredProcessorTells)
{
    const auto processor = show();
    const auto view = processor->adObject();
    EXPECT_FALSE(front.didUserTapOnView(view.get()));
    EXPECT_FALSE(front.didUserTapOnView(nullptr));
    processor->saveTapEvent();
    EXPECT_TRUE(front.didUserTapOnView(view.get()));
    const auto untapped = alloc<test::Looked>();
    send(untapped, sel::initWithAdObject, view);
    manager.addProcessor(untapped);
    EXPECT_FALSE(front.didUserTapOnView(view.get()));
}

TEST_F(AdProcessingManagerTest, AnAdOnScreenIsFoundByItsIdentifiers)
{
    const auto shows = [&](int64_t createTS, const char* name = "sdk name", const char* creative = "crid",
                           const char* placement = "placement") {
        return front.isAdvertShowingOnScreenByCreativeId(creative, placement, createTS, name);
    };
    const auto processor = show();
    processor->setCreateAtTimestamp(1600000000.7);
    EXPECT_TRUE(shows(1600000000999));
    EXPECT_FALSE(shows(1600000001000));
    EXPECT_FALSE(shows(1600000000999, "MoPub"));
    EXPECT_FALSE(shows(1600000000999, "sdk name", ""));
    EXPECT_FALSE(shows(1600000000999, "sdk name", "crid", "another"));
    UIWindow& window = world.phone.window();
    const auto view = as<UIView>(processor->adObject());
    for (UIView* hidden : std::initializer_list<UIView*> { view.get(), &window }) {
        hidden->setHidden(true);
        EXPECT_FALSE(shows(1600000000999));
        hidden->setHidden(false);
    }
    view->removeFromSuperview();
    EXPECT_FALSE(shows(1600000000999));
}

TEST_F(AdProcessingManagerTest, AnAddressOpenedSoonAfterATapIsNoted)
{
    LMLog::setLogLevel(0);
    const auto notes = [&] {
        front.appDidOpenURL("https://shop.example.com/");
        return said("We found tapped ad and redirection");
    };
    const auto processor = show();
    EXPECT_EQ(notes(), 0u) << "never tapped";
    processor->saveTapEvent();
    world.phone.wait(1.9);
    EXPECT_EQ(notes(), 1u);
    world.phone.wait(0.1);
    EXPECT_EQ(notes(), 1u);
    turnOff();
    processor->saveTapEvent();
    EXPECT_EQ(notes(), 1u) << "the gate says no";
}

// Ads that were there before the library: while the record is being fetched the gate says no.
TEST(AdoptionTest, WhatTheGateSaysDecidesWhoIsWatched)
{
    test::AdPage early(test::recordWithMarkup, false);
    early.load("https://shop.example.com/");
    early.world.start();
    early.world.phone.wait(1);
    EXPECT_EQ(early.processor(), nullptr) << "no proxy yet, so nobody knows the network";
    early.load("https://shop.example.com/");
    EXPECT_EQ(early.processor(), nullptr);

    test::AdPage late(test::recordWithMarkup, false);
    late.load("https://shop.example.com/");
    late.world.start();
    late.world.phone.wait(1);
    AdProcessingManager::sharedInstance().handleExistingAds();
    late.world.phone.wait(1);
    EXPECT_NE(late.processor(), nullptr);
    late.followLink();
    EXPECT_EQ(late.events(), "redirect ");
}

TEST(InstallationTest, BesideAATKitOnlyItsOwnHooksAndTheGeneralOnesGoInAndAllOnce)
{
    for (const bool hasMediator : { false, true }) {
        Phone phone { { .onBoot = [hasMediator] {
            googleStandIn().install();
            if (hasMediator)
                aatKitStandIn().install();
        } } };
        const auto implementations = [&] {
            const auto of = [](const char* className, const char* selector, bool isClassMethod = false) {
                Class cls = NSClassFromString(className);
                return method_getImplementation(isClassMethod
                        ? class_getClassMethod(cls, sel_registerName(selector))
                        : class_getInstanceMethod(cls, sel_registerName(selector)));
            };
            return std::vector { of("UIAlertView", "show"),
                of("GADInterstitial", "adLoadCompletedWithError:"), of("UIViewController", "viewDidAppear:"),
                of("AATKit", "showPlacement:", true) };
        };
        const auto before = implementations();
        AdProcessingManager::sharedInstance().frameworkWasInitialised();
        const auto after = implementations();
        AdProcessingManager::sharedInstance().frameworkWasInitialised();
        EXPECT_EQ(implementations(), after) << "once";
        std::string hooked;
        for (size_t i = 0; i < before.size(); i++)
            hooked += after[i] == before[i] ? '-' : '+';
        EXPECT_EQ(hooked, hasMediator ? "+--+" : "+++-");
    }
}

} // namespace
} // namespace lumora
