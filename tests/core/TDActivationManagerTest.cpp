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
    TDAPI::setNewAuthKey(tests::validKey);
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
    EXPECT_TRUE(tests::timersNamed(world.phone, "getNewConfig]").empty()) << "and arms nothing";
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

TEST(TDActivationManagerTest, LoadingGoesBeforeFreshness)
{
    World world;
    world.start();
    std::string answers;
    TDActivationManager::sharedInstance().getNewConfig();
    EXPECT_EQ(ask(answers), "n") << "fresh, but a request is in flight";
    TDActivationManager::sharedInstance().checkActivationWithBlock(nullptr);
    world.phone.wait(1);
    EXPECT_EQ(fetches(world), 2u) << "without a callback a fresh record asks nobody";
    TDActivationManager::sharedInstance().getNewConfig();
    TDActivationManager::sharedInstance().getNewConfig();
    world.phone.wait(1);
    EXPECT_EQ(tests::timersNamed(world.phone, "getNewConfig]").size(), 1u) << "two answers, one timer";
}

TEST(TDActivationManagerTest, EachFailureOfTheRefreshDisablesTheButtons)
{
    World world { { .record = R"({"active": true, "ttlConfig": 100})" } };
    world.start();
    const auto banner = world.showMoPub();
    ASSERT_TRUE(tests::buttonOn(*banner));
    world.setServiceAway(true);
    world.phone.wait(100);
    EXPECT_FALSE(tests::buttonOn(*banner));
}

TEST(TDActivationManagerTest, ATransportThatRaisesIsAFailureLikeAnyOther)
{
    class Raising final : public HTTPTransport {
    public:
        void start(HTTPExchangeRequest, Completion) override { throw std::runtime_error("out of threads"); }
        void stop() override { }
    };
    Phone phone { { .makeTransport = [] { return std::make_shared<Raising>(); } } };
    EXPECT_NO_THROW(Lumora::initiateTrackerWithKey(tests::validKey));
    phone.wait(1);
    EXPECT_NEAR(tests::timersNamed(phone, "getNewConfig]").at(0), 59, 0.1);
    EXPECT_EQ(tests::timersNamed(phone, "configTimer]").size(), 2u) << "the other steps ran";
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
    world.services.addFault({ .status = 500 });
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
    EXPECT_FALSE(last->onMain) << "on the queue that delivered it";
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
