#include "service/LMEventsManager.h"

#include "core/TDActivationManager.h"
#include "processing/ProcessorsManager.h"
#include "service/LMFirstTimeLaunchDetector.h"
#include "tests/service/Events.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::eventOf;
using test::Filler;
using test::StartedWorld;
using test::World;

constexpr const char* reportPath = "/api/v1/ad";

/// A record that grants so many tries, ten seconds apart.
World::Options tries(const std::string& limit, const std::string& active = "true")
{
    return { .record = R"({"ttlConfig": 100000, "retryAfter": 10, "retryLimit": )" + limit + R"(, "active": )"
            + active + "}" };
}

Events backup() { return LMEventsSaverUserDefaultsProvider().getAllEvents(); }

std::vector<std::string> typesSent(const World& world)
{
    std::vector<std::string> types;
    for (const Arrival& report : world.service.reports())
        types.push_back(soleObjectIn(report.body)["type"].stringOrEmpty());
    return types;
}

TEST(TDEventModelTest, WhatIsSent)
{
    Phone phone { {} };
    const auto event = eventOf("redirect");
    event->setPlacementId("p");
    event->addAdditionalInfo({ { "placementId", "overridden" }, { "extra", 1 } });
    const NSDictionary sent = *event->getEventAsMutableDictionary();
    EXPECT_EQ(sent.size(), 13u);
    EXPECT_EQ(sent["creativeId"], Value { "-1" });
    EXPECT_EQ(sent["adType"], Value { "html" });
    EXPECT_TRUE(sent["ts"].isInteger());
    EXPECT_EQ(sent["metadata"], (Value { NSDictionary { { "placementId", "p" }, { "extra", 1 } } }));
    EXPECT_FALSE(sent.find("eventId"));
    event->setAdditionalInfo(std::nullopt);
    EXPECT_TRUE(event->getEventAsMutableDictionary()) << "the placement is there all the same";
    event->setVideo(std::nullopt);
    EXPECT_FALSE(event->getEventAsMutableDictionary()) << "an unset property makes it unsendable";
}

TEST(LMEventsManagerTest, ADeliveredEventLeavesTheBackupAndAnUnsendableOneStays)
{
    StartedWorld world;
    std::vector<bool> answers;
    auto remember = [&](bool success) {
        answers.push_back(success);
        throw std::runtime_error("host");
    };
    const auto unsendable = eventOf("x");
    unsendable->setHtml(std::nullopt);
    for (const auto& event : { std::shared_ptr<TDEventModel> {}, unsendable, eventOf("redirect") })
        LMEventsManager::shared().handleEvent(event, remember);
    EXPECT_EQ(backup().size(), 2u) << "stored before it is sent";
    world.phone.wait(1);
    EXPECT_EQ(answers, (std::vector { false, false, true }));
    EXPECT_EQ(backup().size(), 1u) << "it follows the normal budget";
    EXPECT_EQ(typesSent(world), std::vector<std::string> { "redirect" });
}

TEST(LMEventsManagerTest, TheBudgetIsOneForAllAndSpentToTheTick)
{
    World world { tries("2") };
    const double start = world.phone.process().now();
    world.start();
    world.services.addFault(
        { .path = reportPath, .times = std::nullopt, .ending = Ending::CloseWithoutAnswer });
    for (const char* type : { "a", "b" })
        LMEventsManager::shared().handleEvent(eventOf(type), nullptr);
    world.phone.wait(24.9);
    EXPECT_EQ(backup().size(), 2u);
    world.phone.wait(0.1);
    EXPECT_EQ(backup().size(), 0u) << "the third pass drops them for good";
    world.phone.wait(100);
    std::vector<double> attempts;
    for (const Arrival& report : world.service.reports())
        attempts.push_back(report.receivedAt - start - DirectTransport::latency);
    const std::vector<double> expected { 0.04, 0.04, 5, 5, 15, 15 };
    ASSERT_EQ(attempts.size(), expected.size());
    for (size_t i = 0; i < expected.size(); i++)
        EXPECT_NEAR(attempts[i], expected[i], 1e-6) << i;
}

TEST(LMEventsManagerTest, APassSpendsATryWhenTheGateSaysNo)
{
    const struct {
        const char* name;
        const char* limit;
        size_t leftAfterOnePass;
        size_t leftAfterTwo;
    } rows[] = { { "none", "0", 0, 0 }, { "one", "1", 1, 0 }, { "unlimited", "-1", 1, 1 },
        { "beyond 32 bits", "4294967296", 1, 1 }, { "far below", "-4294967297", 1, 1 } };
    for (const auto& row : rows) {
        StartedWorld world { tries(row.limit, "false") };
        LMEventsManager::shared().handleEvent(eventOf("a"), [](bool) { ADD_FAILURE(); });
        world.phone.wait(14.9);
        EXPECT_EQ(backup().size(), row.leftAfterOnePass) << row.name;
        world.phone.wait(0.1);
        EXPECT_EQ(backup().size(), row.leftAfterTwo) << row.name;
    }
}

TEST(LMEventsManagerTest, TheAnswerToAnEarlierEventLeavesTheLaterOne)
{
    StartedWorld world;
    const auto adView = make<UIView>();
    for (const char* type : { "first", "second" }) {
        const auto event = eventOf(type);
        event->setTs(7);
        LMEventsManager::shared().handleEventAsPending(event, adView.get());
    }
    world.services.addFault({ .path = reportPath, .status = 200 });
    world.services.addFault({ .path = reportPath, .ending = Ending::CloseWithoutAnswer });
    LMEventsManager::shared().checkProcessorForPendingEvents(*Filler::of(adView));
    world.phone.wait(1);
    EXPECT_EQ(typesSent(world), (std::vector<std::string> { "first", "second" }));
    EXPECT_EQ(backup().size(), 1u) << "of one second: equal";
    world.phone.wait(10);
    EXPECT_EQ(typesSent(world).back(), "second") << "tried again";
    EXPECT_EQ(backup().size(), 0u);
}

TEST(LMEventsManagerTest, WithoutNetworkAPassSpendsNothing)
{
    StartedWorld world { tries("1") };
    world.setServiceAway(true);
    LMEventsManager::shared().handleEvent(eventOf("a"), nullptr);
    world.phone.radio().connect(Radio::Link::None);
    world.phone.wait(100);
    world.phone.radio().connect(Radio::Link::WiFi);
    world.setServiceAway(false);
    world.phone.wait(10);
    EXPECT_EQ(typesSent(world), std::vector<std::string> { "a" });
}

TEST(LMEventsManagerTest, ANewConfigurationRestoresTheBudget)
{
    StartedWorld world { tries("1") };
    world.setServiceAway(true);
    LMEventsManager::shared().handleEvent(eventOf("a"), nullptr);
    world.phone.wait(6);
    world.setServiceAway(false);
    TDActivationManager::sharedInstance().getNewConfig();
    world.phone.wait(10);
    EXPECT_EQ(typesSent(world), std::vector<std::string> { "a" });
}

TEST(LMEventsManagerTest, TimersWithAndWithoutAConfiguration)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100000, "retryAfter": 42})" } };
    world.services.addFault({ .delaySeconds = 7 });
    world.start();
    LMEventsManager::shared().handleEvent(eventOf("early"), nullptr);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMEventsManager configTimer]").at(0), 5, 0.1);
    world.phone.wait(5);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMEventsManager configTimer]").at(0), 5, 0.1)
        << "polls until there is one";
    EXPECT_TRUE(typesSent(world).empty());
    world.phone.wait(5);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMEventsManager configTimer]").at(0), 42, 0.1);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMAdMonitor configTimer]").at(0), 10, 0.1)
        << "20 s from the start";
}

TEST(LMEventsManagerTest, ParkedEventsInheritTheFilledModel)
{
    StartedWorld world;
    const auto adView = make<UIView>();
    const auto other = make<UIView>();
    const auto first = eventOf("redirect");
    first->setRedirectUrl("https://shop.example");
    const auto second = eventOf("autoplay");
    second->setTs(5);
    second->setHtml("<p>");
    second->setVideo("v.mp4");
    LMEventsManager::shared().handleEventAsPending(first, adView.get());
    LMEventsManager::shared().handleEventAsPending(eventOf("elsewhere"), other.get());
    LMEventsManager::shared().handleEventAsPending(second, adView.get());
    EXPECT_EQ(backup().size(), 3u);

    const auto filler = Filler::of(adView);
    ProcessorsManager::sharedInstance().addProcessor(filler);
    world.phone.wait(1);
    const auto reports = world.service.reports();
    ASSERT_EQ(reports.size(), 2u);
    const NSDictionary sent = soleObjectIn(reports.at(0).body);
    EXPECT_EQ(sent["redirectUrl"], Value { "https://shop.example" });
    EXPECT_EQ(sent["creativeId"], Value { "known" });
    const NSDictionary last = soleObjectIn(reports.at(1).body);
    EXPECT_EQ(last["ts"], Value { 5 }) << "one model, changed between the two";
    EXPECT_EQ(last["html"], Value { "<p>" });
    EXPECT_EQ(last["video"], Value { "v.mp4" });
    const Events left = backup();
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(left[0]->type(), "elsewhere");
    EXPECT_EQ(left[1]->type(), "redirect") << "the copy of the earlier time stays";
    EXPECT_NE(left[1]->eventId(), first->eventId()) << "the filled model's own";
}

TEST(LMEventsManagerTest, AProcessorThatFailsLosesNoParkedEvent)
{
    StartedWorld world;
    for (const bool raises : { true, false }) {
        const auto adView = make<UIView>();
        LMEventsManager::shared().handleEventAsPending(eventOf("parked"), adView.get());
        const auto processor = Filler::of(adView);
        processor->raises = raises;
        processor->isIgnorant = true;
        LMEventsManager::shared().checkProcessorForPendingEvents(*processor);
        EXPECT_EQ(backup().size(), 1u);
        world.phone.wait(1);
        EXPECT_EQ(backup().size(), 0u) << "sent as it is";
    }
}

TEST(LMEventsManagerTest, AKillWhileAProcessorAnswersLosesNoParkedEvent)
{
    StartedWorld world;
    {
        const auto adView = make<UIView>();
        LMEventsManager::shared().handleEventAsPending(eventOf("parked"), adView.get());
        const auto processor = Filler::of(adView);
        processor->isSlow = true;
        LMEventsManager::shared().checkProcessorForPendingEvents(*processor);
        LMEventsManager::shared().checkProcessorForPendingEvents(*processor);
        EXPECT_EQ(processor->slowAnswers.size(), 1u) << "asked once for each event";
        world.phone.wait(400);
        EXPECT_TRUE(typesSent(world).empty());
    }
    world.restart();
    world.start();
    world.phone.wait(6);
    EXPECT_EQ(typesSent(world), std::vector<std::string> { "parked" });
}

TEST(LMEventsManagerTest, WhatNobodyFilledIsSentAfterTheNextLaunch)
{
    StartedWorld world;
    {
        const auto adView = make<UIView>();
        LMEventsManager::shared().handleEventAsPending(eventOf("parked"), adView.get());
    }
    for (const auto& ad : { std::shared_ptr<UIView> {}, make<UIView>() })
        LMEventsManager::shared().checkProcessorForPendingEvents(*Filler::of(ad));
    world.phone.wait(400);
    EXPECT_TRUE(typesSent(world).empty()) << "what died equals nothing";
    world.restart();
    world.start();
    world.phone.wait(6);
    EXPECT_EQ(typesSent(world), std::vector<std::string> { "parked" });
    EXPECT_EQ(backup().size(), 0u);
}

TEST(LMEventsManagerTest, TheBackupTellsEventsApart)
{
    Phone phone { {} };
    LMEventsSaverUserDefaultsProvider store;
    const auto event = eventOf("a");
    store.saveEvent(event);
    store.saveEvent(event);
    store.saveEvent(nullptr);
    EXPECT_EQ(store.eventsCount(), 1u);
    const auto later = eventOf("a");
    later->setEventId(event->eventId());
    later->setTs(5);
    store.saveEvent(later);
    const auto nameless = eventOf("b");
    nameless->setEventId(std::nullopt);
    store.saveEvent(nameless);
    EXPECT_EQ(store.eventsCount(), 3u);
    store.removeEvent(eventOf("c"));
    store.removeEvent(later);
    EXPECT_EQ(store.eventsCount(), 2u);
}

TEST(LMEventsManagerTest, TextThatIsNoTextIsRepairedNotLost)
{
    StartedWorld world;
    const auto event = eventOf("redirect");
    event->setHtml("a\xFFz");
    LMEventsManager::shared().handleEvent(event, nullptr);
    world.phone.wait(1);
    EXPECT_EQ(world.lastReport()["html"], Value { "a\xEF\xBF\xBDz" });
    EXPECT_EQ(world.lastReport().size(), 24u) << "13 of the event, 11 of the device";
}

TEST(LMEventsManagerTest, AnAnswerDuringAPassRemovesForGood)
{
    Phone phone { {} };
    LMEventsSaver saver { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
    const auto event = eventOf("a");
    saver.saveEvent(event, nullptr);
    ASSERT_EQ(saver.getPendingEventsForRetrySending().size(), 1u);
    saver.removeEvent(event);
    EXPECT_FALSE(saver.keepTakenEvent(event));
    EXPECT_TRUE(saver.getPendingEventsForRetrySending().empty());
    EXPECT_EQ(backup().size(), 0u);
}

TEST(LMAdMonitorTest, RoundsAsTheConfigurationWantsThem)
{
    StartedWorld world { { .record = R"({"active": true, "ttlConfig": 100000, "sendingHTML": 30})" } };
    world.phone.wait(20);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMAdMonitor configTimer]").at(0), 30, 0.1);
    world.service.setRecord(R"({"active": true, "ttlConfig": 100000, "sendingHTML": -1})");
    TDActivationManager::sharedInstance().getNewConfig();
    world.phone.wait(30);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMAdMonitor configTimer]").at(0), 20, 0.1) << "polling";
}

TEST(LMAdMonitorTest, ARoundReachesTheButtonsAndSendsNothing)
{
    StartedWorld world { { .record = R"({"active": true, "ttlConfig": 100000, "sendingHTML": 30})" } };
    const auto banner = world.showMoPub();
    const auto filler = Filler::of(banner);
    ProcessorsManager::sharedInstance().addProcessor(filler);
    world.phone.wait(60);
    EXPECT_GE(filler->htmlAsked, 1);
    EXPECT_TRUE(world.service.adRecords().empty());
    EXPECT_TRUE(world.service.reports().empty());
}

TEST(LMAdMonitorTest, AnOddPeriodDoesNotHangTheClock)
{
    StartedWorld world { { .record
        = R"({"active": true, "ttlConfig": 100000, "sendingHTML": -5, "retryAfter": 0})" } };
    world.phone.wait(5.01);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMEventsManager configTimer]").at(0), 0.0001, 0.0001);
    world.phone.wait(15);
    EXPECT_NEAR(test::timersNamed(world.phone, "LMAdMonitor configTimer]").at(0), 0.0001, 0.0001);
}

TEST(LMFirstTimeLaunchDetectorTest, TrueOncePerInstallation)
{
    World world;
    EXPECT_TRUE(LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch());
    EXPECT_FALSE(LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch());
    world.restart();
    EXPECT_FALSE(LMFirstTimeLaunchDetector::sharedInstance().isFirstLaunch());
}

} // namespace
} // namespace lumora
