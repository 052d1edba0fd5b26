#include "core/TDActivationManager.h"

#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::StartedWorld;
using test::World;

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
        onMain = Process::current().isMainThread();
        records.push_back(retain(as<TDConfig>(config)));
        if (onRecord)
            onRecord();
    }
    std::vector<std::shared_ptr<TDConfig>> records;
    bool onMain { true };
    std::function<void()> onRecord;
};

/// Asks the gate and answers what it said at once. Each answer is 'y' or 'n', upper case when it came off the
/// main thread.
std::string ask(std::string& answers)
{
    const size_t before = answers.size();
    TDActivationManager::sharedInstance().checkActivationWithBlock([&answers](bool active) {
        const char letter = active ? 'y' : 'n';
        answers += Process::current().isMainThread() ? letter : static_cast<char>(letter - 'a' + 'A');
    });
    return answers.substr(before);
}

/// A started library without a timer of its own: only what is asked here goes to the service.
void activateOnly()
{
    TDAPI::setNewAuthKey(test::validKey);
    TDActivationManager::sharedInstance().activate();
}

double timeToLive(const World& world)
{
    return TDActivationManager::sharedInstance().getConfig()->ttlConfig().doubleValue()
        - world.phone.process().now();
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

TEST(TDActivationManagerTest, LoadingGoesBeforeFreshnessAndQueuesNobody)
{
    World world;
    auto& manager = TDActivationManager::sharedInstance();
    std::string answers;
    Lumora::initiateTrackerWithKey(test::validKey);
    EXPECT_EQ(ask(answers), "n");
    EXPECT_EQ(manager.getConfig(), nullptr);
    world.phone.wait(1);
    EXPECT_EQ(ask(answers), "y") << "a fresh record is answered from at once";
    EXPECT_NO_THROW(manager.checkActivationWithBlock([](bool) { throw std::runtime_error("host"); }));
    manager.checkActivationWithBlock(nullptr);
    EXPECT_EQ(fetches(world), 1u) << "without a callback a fresh record asks nobody";
    for (int i = 0; i < 2; i++)
        manager.getNewConfig();
    EXPECT_EQ(ask(answers), "n") << "fresh, but a request is in flight";
    world.phone.wait(1);
    EXPECT_EQ(answers, "nyn");
    EXPECT_EQ(test::timersNamed(world.phone, "getNewConfig]").size(), 1u) << "two answers, one timer";
}

TEST(TDActivationManagerTest, AnExpiredRecordIsFetchedQuietly)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    activateOnly();
    const auto listener = make<ConfigListener>();
    TDActivationManager::sharedInstance().addNewConfigListener(listener);
    std::string answers;
    EXPECT_EQ(ask(answers), "");
    EXPECT_EQ(ask(answers), "n") << "the second of two in a row finds it loading";
    world.phone.wait(1);
    EXPECT_EQ(answers, "ny") << "what waited comes on the main queue";
    world.phone.wait(100);
    EXPECT_EQ(fetches(world), 1u);
    EXPECT_EQ(ask(answers), "") << "expired again";
    world.phone.wait(1);
    EXPECT_EQ(answers, "nyy");
    EXPECT_EQ(fetches(world), 2u);
    EXPECT_TRUE(listener->records.empty()) << "a quiet fetch tells nobody";
    EXPECT_TRUE(test::timersNamed(world.phone, "getNewConfig]").empty()) << "and arms nothing";
}

TEST(TDActivationManagerTest, AFailedQuietFetchSaysNoForFiveMinutes)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    activateOnly();
    world.setServiceAway(true);
    std::string answers;
    ask(answers);
    world.phone.wait(1);
    EXPECT_EQ(answers, "n");
    EXPECT_NEAR(timeToLive(world), 300, 1.5);
    world.setServiceAway(false);
    world.phone.wait(298);
    EXPECT_EQ(ask(answers), "n");
    world.phone.wait(2);
    EXPECT_EQ(fetches(world), 0u);
    ask(answers);
    world.phone.wait(1);
    EXPECT_EQ(answers, "nny");
}

TEST(TDActivationManagerTest, AStaleQuietAnswerIsReplacedByTheDefaults)
{
    World world { { .record = R"({"active": true, "ttlConfig": 0})" } };
    activateOnly();
    std::string answers;
    ask(answers);
    world.phone.wait(1);
    EXPECT_EQ(answers, "n");
    EXPECT_FALSE(TDActivationManager::sharedInstance().getConfig()->active().boolValue());
    EXPECT_NEAR(timeToLive(world), 300, 1.5);
}

TEST(TDActivationManagerTest, ARefreshThatFailsOrSaysNoTakesTheButtonsAway)
{
    for (const bool isAway : { true, false }) {
        StartedWorld world { { .record = R"({"active": true, "ttlConfig": 100})" } };
        const auto banner = world.showMoPub();
        ASSERT_TRUE(buttonOn(*banner));
        world.setServiceAway(isAway);
        world.service.setRecord(R"({"active": false})");
        world.phone.wait(100);
        EXPECT_FALSE(buttonOn(*banner)) << (isAway ? "away" : "inactive");
    }
}

TEST(TDActivationManagerTest, ATransportThatRaisesIsAFailureLikeAnyOther)
{
    class Raising final : public HTTPTransport {
    public:
        void start(HTTPExchangeRequest, Completion) override { throw std::runtime_error("out of threads"); }
        void stop() override { }
    };
    Phone phone { { .makeTransport = [] { return std::make_shared<Raising>(); } } };
    EXPECT_NO_THROW(Lumora::initiateTrackerWithKey(test::validKey));
    phone.wait(1);
    EXPECT_NEAR(test::timersNamed(phone, "getNewConfig]").at(0), 59, 0.1);
    EXPECT_EQ(test::timersNamed(phone, "configTimer]").size(), 2u) << "the other steps ran";
}

TEST(TDActivationManagerTest, AnUnreachableServiceIsTriedEveryMinute)
{
    World world;
    world.setServiceAway(true);
    world.start();
    const auto listener = make<ConfigListener>();
    TDActivationManager::sharedInstance().addNewConfigListener(listener);
    EXPECT_NEAR(test::timersNamed(world.phone, "getNewConfig]").at(0), 60.0, 0.05);
    EXPECT_EQ(fetches(world), 0u);
    world.phone.wait(120);
    EXPECT_TRUE(listener->records.empty()) << "failures are not told";
    world.setServiceAway(false);
    world.phone.wait(61);
    EXPECT_EQ(fetches(world), 1u);
    EXPECT_EQ(listener->records.size(), 1u);
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
    EXPECT_FALSE(last->onMain) << "on the queue that delivered it";
    EXPECT_TRUE(late->records.empty());
    world.phone.wait(11);
    EXPECT_EQ(late->records.size(), 1u);
}

} // namespace
} // namespace lumora
