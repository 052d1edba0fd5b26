#include "core/TDActivationManager.h"

#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using tests::World;

class ConfigListener final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<ConfigListener, NSObject>("TestConfigListener")
                  .method<&ConfigListener::heard>(sel::newConfigArrived);
        return description;
    }
    void heard(Object* config)
    {
        records.push_back(retain(as<TDConfig>(config)));
        if (onRecord)
            onRecord();
    }
    std::vector<std::shared_ptr<TDConfig>> records;
    std::function<void()> onRecord;
};

/// What the gate answered so far: 'y' or 'n' each, in lower case when on the main thread.
std::string ask(std::string& answers)
{
    const size_t before = answers.size();
    TDActivationManager::sharedInstance().checkActivationWithBlock(
        [&answers](bool active) { answers += active ? 'y' : 'n'; });
    return answers.substr(before);
}

size_t fetches(const World& world) { return world.service.configurationFetches().size(); }

TEST(TDActivationManagerTest, BeforeStartUpTheGateSaysNoWithoutAsking)
{
    World world;
    std::string answers;
    EXPECT_EQ(ask(answers), "n");
    world.phone.wait(1);
    EXPECT_EQ(fetches(world), 0u);
    TDActivationManager::sharedInstance().checkActivationWithBlock(nullptr);
    world.phone.wait(1);
    EXPECT_EQ(fetches(world), 1u) << "a caller without a callback may warm the record up";
}

TEST(TDActivationManagerTest, WhileLoadingTheGateSaysNoAndQueuesNobody)
{
    World world;
    Lumora::initiateTrackerWithKey(tests::validKey);
    std::string answers;
    EXPECT_EQ(ask(answers), "n");
    EXPECT_EQ(TDActivationManager::sharedInstance().getConfig(), nullptr);
    world.phone.wait(1);
    EXPECT_EQ(answers, "n");
    EXPECT_EQ(ask(answers), "y") << "a fresh record is answered from at once";
    EXPECT_EQ(fetches(world), 1u);
}

TEST(TDActivationManagerTest, AnExpiredRecordIsFetchedQuietly)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    world.start();
    // Take the refresh away, so that only the gate asks.
    world.phone.clock().advanceClockOnly(101);
    std::string answers;
    EXPECT_EQ(ask(answers), "");
    EXPECT_EQ(ask(answers), "n") << "the second of two in a row finds it loading";
    bool onMain = false;
    world.phone.waitUntil(
        [&] {
            onMain = world.phone.process().isMainThread();
            return answers.size() == 2;
        },
        1);
    EXPECT_EQ(answers, "ny");
    EXPECT_TRUE(onMain);
}

TEST(TDActivationManagerTest, AFailedQuietFetchSaysNoForFiveMinutes)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    world.start();
    world.setServiceAway(true);
    world.phone.clock().advanceClockOnly(101);
    std::string answers;
    ask(answers);
    // The refresh timer fails too, but only its own answer disables buttons and arms again.
    TDActivationManager::sharedInstance().checkConfigWithoutRepeatedUpdatingWithSuccess(
        [&](bool active) { answers += active ? 'Y' : 'N'; });
    world.phone.wait(0.5);
    EXPECT_EQ(answers.find('y'), std::string::npos);
    const auto config = TDActivationManager::sharedInstance().getConfig();
    EXPECT_FALSE(config->active().boolValue());
    EXPECT_TRUE(config->isFresh());
}

TEST(TDActivationManagerTest, TheRecordIsRefreshedWhenItsTimeEnds)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    world.start();
    ASSERT_EQ(tests::timersNamed(world.phone, "getNewConfig]").size(), 1u);
    world.phone.wait(98);
    EXPECT_EQ(fetches(world), 1u);
    world.phone.wait(3);
    EXPECT_EQ(fetches(world), 2u);
    EXPECT_EQ(tests::timersNamed(world.phone, "getNewConfig]").size(), 1u) << "one timer at a time";
}

TEST(TDActivationManagerTest, AnUnreachableServiceIsTriedEveryMinute)
{
    World world;
    world.setServiceAway(true);
    world.start();
    const auto listener = make<ConfigListener>();
    TDActivationManager::sharedInstance().addNewConfigListener(listener);
    EXPECT_NEAR(tests::timersNamed(world.phone, "getNewConfig]").at(0), 60.0, 0.05);
    EXPECT_EQ(fetches(world), 0u);
    world.phone.wait(120);
    EXPECT_TRUE(listener->records.empty()) << "failures are not told";
    world.setServiceAway(false);
    world.phone.wait(61);
    EXPECT_EQ(fetches(world), 1u);
    EXPECT_EQ(listener->records.size(), 1u);
}

TEST(TDActivationManagerTest, AnErrorStatusIsAnInactiveRecordWithTheHeadersTimeToLive)
{
    World world;
    world.service.setCacheControl("max-age=600, public");
    world.service.addFault({ .status = 500 });
    world.start();
    const auto config = TDActivationManager::sharedInstance().getConfig();
    EXPECT_FALSE(config->active().boolValue());
    EXPECT_NEAR(config->ttlConfig().doubleValue() - world.phone.process().now(), 600, 1);
}

TEST(TDActivationManagerTest, TheBodysTimeToLiveWinsOverTheHeaders)
{
    World world { { .record = R"({"active": true, "ttlConfig": 30})" } };
    world.service.setCacheControl("max-age=600");
    world.start();
    EXPECT_NEAR(TDActivationManager::sharedInstance().getConfig()->ttlConfig().doubleValue()
            - world.phone.process().now(),
        30, 1);
}

TEST(TDActivationManagerTest, ATimeToLiveOfZeroAsksAgainRightAway)
{
    World world { { .record = R"({"active": true, "ttlConfig": 0})" } };
    world.start();
    world.phone.wait(0.5);
    EXPECT_GE(fetches(world), 10u);
    EXPECT_LE(fetches(world), 14u) << "one round trip at a time";
    EXPECT_TRUE(TDActivationManager::sharedInstance().getConfig()->active().boolValue())
        << "the full fetch keeps it";
}

TEST(TDActivationManagerTest, AnInactiveRecordTakesTheButtonsAway)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    world.start();
    const auto banner = world.showMoPub();
    ASSERT_TRUE(tests::buttonOn(*banner));
    world.service.setRecord(R"({"active": false})");
    world.phone.wait(100);
    EXPECT_FALSE(tests::buttonOn(*banner));
}

TEST(TDActivationManagerTest, ListenersAreWeakAndMayChangeWhileTheyAreTold)
{
    World world { { .record = R"({"active": true, "ttlConfig": 10})" } };
    const auto late = make<ConfigListener>();
    const auto first = make<ConfigListener>();
    auto dying = make<ConfigListener>();
    first->onRecord = [&] {
        TDActivationManager::sharedInstance().addNewConfigListener(late);
        throw std::runtime_error("a listener of the host's");
    };
    const auto last = make<ConfigListener>();
    for (const auto& listener : { first, dying, last, first })
        TDActivationManager::sharedInstance().addNewConfigListener(listener);
    dying.reset();
    world.start();
    EXPECT_EQ(first->records.size(), 1u) << "added twice, told once";
    EXPECT_EQ(last->records.size(), 1u) << "an exception of one stops no other";
    EXPECT_TRUE(late->records.empty());
    world.phone.wait(11);
    EXPECT_EQ(late->records.size(), 1u);
}

TEST(TDActivationManagerTest, AThrowingCallbackReachesNobody)
{
    World world;
    world.start();
    EXPECT_NO_THROW(TDActivationManager::sharedInstance().checkActivationWithBlock(
        [](bool) { throw std::runtime_error("host"); }));
}

} // namespace
} // namespace lumora
