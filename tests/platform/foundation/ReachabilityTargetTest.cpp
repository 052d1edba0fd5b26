#include "platform/systemconfiguration/SCNetworkReachability.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

namespace {
constexpr uint32_t reachable = kSCNetworkReachabilityFlagsReachable;
constexpr uint32_t cellular = reachable | kSCNetworkReachabilityFlagsIsWWAN;

struct ReachabilityTarget : testing::Test {
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
    std::vector<uint32_t> heard;
    SCNetworkReachabilityRef internet { SCNetworkReachabilityCreateWithAddress("0.0.0.0") };
    std::shared_ptr<DispatchQueue> queue { dispatch_queue_create("serial") };

    void change(uint32_t flags)
    {
        process.network->set(flags);
        process.executor().drain();
    }
};
} // namespace

TEST_F(ReachabilityTarget, RefusesWhatIsNoTarget)
{
    for (const char* name : { "", "a b", "h/p", "m\u00FCnich.de" })
        EXPECT_FALSE(SCNetworkReachabilityCreateWithName(name)) << name;
    for (const char* address : { "", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1..2.3", "1.2.3.4.", "host" })
        EXPECT_FALSE(SCNetworkReachabilityCreateWithAddress(address)) << address;
    EXPECT_FALSE(SCNetworkReachabilityGetFlags(nullptr));
    EXPECT_FALSE(SCNetworkReachabilitySetCallback(nullptr, nullptr));
    EXPECT_FALSE(SCNetworkReachabilitySetDispatchQueue(nullptr, queue));
}

TEST_F(ReachabilityTarget, AnswersThePathsFlags)
{
    const auto linkLocal = SCNetworkReachabilityCreateWithAddress("169.254.0.0");
    const auto host = SCNetworkReachabilityCreateWithName("service.example");
    EXPECT_EQ(SCNetworkReachabilityGetFlags(host), reachable);
    EXPECT_EQ(SCNetworkReachabilityGetFlags(linkLocal), reachable | kSCNetworkReachabilityFlagsIsDirect);
    process.network->set(cellular);
    EXPECT_EQ(SCNetworkReachabilityGetFlags(internet), cellular);
    EXPECT_EQ(SCNetworkReachabilityGetFlags(linkLocal), 0u);
    process.network->set(0);
    EXPECT_EQ(SCNetworkReachabilityGetFlags(host), 0u);
    EXPECT_NE(SCNetworkReachabilityGetFlags(SCNetworkReachabilityCreateWithName("localhost")), 0u);
}

TEST_F(ReachabilityTarget, TellsOfChangesOnItsQueueUntilItEnds)
{
    SCNetworkReachabilitySetCallback(internet, [&](const SCNetworkReachabilityRef& target, uint32_t flags) {
        EXPECT_EQ(target, internet);
        heard.push_back(flags);
    });
    change(0);
    EXPECT_TRUE(heard.empty()) << "no queue yet";
    SCNetworkReachabilitySetDispatchQueue(internet, queue);
    change(cellular);
    change(0);
    SCNetworkReachabilitySetDispatchQueue(internet, nullptr);
    change(reachable);
    EXPECT_EQ(heard, (std::vector<uint32_t> { cellular, 0 }));
}

TEST_F(ReachabilityTarget, IsHeldWhileItIsWatched)
{
    auto owned = std::make_shared<int>(0);
    SCNetworkReachabilitySetCallback(
        internet, [this, owned](const auto&, uint32_t flags) { heard.push_back(flags); });
    SCNetworkReachabilitySetDispatchQueue(internet, queue);
    auto* target = internet.get();
    internet.reset();
    change(0);
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_EQ(owned.use_count(), 2);
    SCNetworkReachabilitySetDispatchQueue({ std::shared_ptr<void> {}, target }, nullptr);
    EXPECT_EQ(owned.use_count(), 1);
}

} // namespace lumora
