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
    int heard { 0 };
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
    for (const std::string_view address : { "", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1..2.3", "1.2.3.4.",
             "host", "-0.0.0.0", " 1.2.3.4", "1.2.3.4%eth0", "1:2:3", ":::", "::1::", "[::1]", "12345::" })
        EXPECT_FALSE(SCNetworkReachabilityCreateWithAddress(address)) << address;
    EXPECT_FALSE(SCNetworkReachabilityGetFlags(nullptr));
    EXPECT_FALSE(SCNetworkReachabilitySetCallback(nullptr, nullptr));
    EXPECT_FALSE(SCNetworkReachabilitySetDispatchQueue(nullptr, queue));
}

TEST_F(ReachabilityTarget, AnAddressSaysWhichWayItLies)
{
    process.network->set(cellular);
    constexpr uint32_t local = reachable | kSCNetworkReachabilityFlagsIsLocalAddress;
    const std::pair<const char*, uint32_t> rows[]
        = { { "0.0.0.0", cellular }, { "192.0.2.7", cellular }, { "127.0.0.1", local }, { "169.254.7.7", 0 },
              { "169.253.0.0", cellular }, { "::", cellular }, { "2001:db8::7", cellular }, { "::1", local },
              { "fe80::1", 0 }, { "febf::1%wlan0", 0 }, { "fec0::1", cellular },
              { "::ffff:192.0.2.7", cellular }, { "::ffff:127.0.0.1", local }, { "::FFFF:169.254.0.0", 0 } };
    for (const auto& [address, flags] : rows) {
        EXPECT_EQ(SCNetworkReachabilityGetFlags(SCNetworkReachabilityCreateWithAddress(address)), flags)
            << address;
        EXPECT_EQ(SCNetworkReachabilityGetFlags(SCNetworkReachabilityCreateWithName(address)), flags)
            << address << " as a name";
    }
    EXPECT_EQ(
        SCNetworkReachabilityGetFlags(SCNetworkReachabilityCreateWithName("service.example")), cellular);
    EXPECT_EQ(SCNetworkReachabilityGetFlags(SCNetworkReachabilityCreateWithName("localhost")), local);
}

TEST_F(ReachabilityTarget, EveryKindHearsOfItsOwnChanges)
{
    std::string log;
    std::vector<SCNetworkReachabilityRef> targets;
    for (const char* address : { "0.0.0.0", "169.254.0.0", "127.0.0.1" }) {
        targets.push_back(SCNetworkReachabilityCreateWithAddress(address));
        SCNetworkReachabilitySetCallback(targets.back(), [&, address](const auto&, uint32_t flags) {
            log += address + ("=" + std::to_string(flags)) + " ";
        });
        SCNetworkReachabilitySetDispatchQueue(targets.back(), queue);
    }
    change(cellular);
    EXPECT_EQ(std::exchange(log, {}), "0.0.0.0=262146 169.254.0.0=0 ");
    change(0);
    EXPECT_EQ(std::exchange(log, {}), "0.0.0.0=0 ");
    change(reachable);
    EXPECT_EQ(std::exchange(log, {}), "0.0.0.0=2 169.254.0.0=131074 ");
    SCNetworkReachabilitySetDispatchQueue(targets[0], nullptr);
    change(cellular);
    EXPECT_EQ(log, "169.254.0.0=0 ") << "the other is watched no more";
}

TEST_F(ReachabilityTarget, APathTellsOnlyThoseWhoHoldOnAndAllOfThem)
{
    std::string log;
    const auto first = process.network->addListener([] { throw std::runtime_error("no memory"); });
    auto second = process.network->addListener([&] { log += "second "; });
    change(0);
    second.reset();
    change(reachable);
    EXPECT_EQ(log, "second ");
}

TEST_F(ReachabilityTarget, IsHeldWhileItIsWatched)
{
    auto owned = std::make_shared<int>(0);
    SCNetworkReachabilitySetCallback(internet, [this, owned](const auto&, uint32_t) { heard++; });
    SCNetworkReachabilitySetDispatchQueue(internet, queue);
    auto* target = internet.get();
    internet.reset();
    change(0);
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(owned.use_count(), 2);
    SCNetworkReachabilitySetDispatchQueue({ std::shared_ptr<void> {}, target }, nullptr);
    EXPECT_EQ(owned.use_count(), 1);
}

} // namespace lumora
