#include "lumora/Lumora.h"

#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "report/TDReportButtonPlacement.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

using test::StartedWorld;
using test::World;

const std::string keyOf29(29, 'k');
const std::string keyOf30(30, 'k');
constexpr const char* refusal = "[Lumora] authKey is not valid (incorrect length). Init failed.";

TEST(LumoraTest, ShortKeysAreRefusedAndTouchNothing)
{
    World world;
    for (const std::string& key : { std::string {}, keyOf29, "  " + keyOf29 + "\n", std::string(40, ' ') })
        Lumora::initiateTrackerWithKey(key);
    world.phone.wait(10);
    EXPECT_EQ(world.phone.console().lines(), std::vector<std::string>(4, refusal));
    EXPECT_EQ(world.service.configurationFetches().size(), 0u);
    EXPECT_EQ(TDAPI::getBearer(), "Bearer (null)");
    EXPECT_EQ(world.phone.clock().pendingTasks(), 0u);
    Lumora::initiateTrackerWithKey(static_cast<const char*>(nullptr));
    Lumora::initiateTrackerWithKey(keyOf30);
    world.phone.wait(1);
    EXPECT_EQ(TDAPI::getBearer(), "Bearer " + keyOf30);
    EXPECT_EQ(world.service.configurationFetches().size(), 1u) << "a later valid key still starts";
}

TEST(LumoraTest, AKeyIsTrimmedAndCountedInCharacters)
{
    World world;
    Lumora::initiateTrackerWithKey(" \t" + keyOf30 + " \n");
    EXPECT_EQ(TDAPI::getBearer(), "Bearer " + keyOf30);
    std::string fifteenPairs;
    for (int i = 0; i < 15; i++)
        fifteenPairs += "\xF0\x9F\x98\x80";
    Lumora::initiateTrackerWithKey(fifteenPairs);
    EXPECT_EQ(TDAPI::getBearer(), "Bearer " + fifteenPairs) << "thirty UTF-16 units";
}

TEST(LumoraTest, ASecondCallReplacesTheKeyAndStartsNothing)
{
    StartedWorld world;
    Lumora::initiateTrackerWithKey(keyOf30);
    EXPECT_EQ(TDAPI::getBearer(), "Bearer " + keyOf30);
    EXPECT_EQ(test::timersNamed(world.phone, "configTimer]").size(), 2u) << "events and ad monitor, one each";
    EXPECT_EQ(world.service.configurationFetches().size(), 1u);
    world.showMoPub();
    EXPECT_EQ(world.service.impressions().size(), 1u) << "a hook installed twice would call itself";
}

TEST(LumoraTest, StartUpFillsThePlacements)
{
    StartedWorld world;
    const std::tuple<const char*, const char*, int> rows[] = { { "Facebook", "interstitial", 4 },
        { "Teads", "interstitial", 4 }, { "AdMob", "interstitial", 1 }, { "DFP", "interstitial", 1 },
        { "Amazon", "interstitial", 6 }, { "facebook", "interstitial", 6 }, { "Facebook", "banner", 6 } };
    for (const auto& [network, format, placement] : rows)
        EXPECT_EQ(TDReportButtonPlacement::sharedInstance().checkForUserCustomPlacementForAdWithName(
                      network, format),
            placement)
            << network;
}

TEST(LumoraTest, StartUpSaysSoButNeverThatItWasInitiated)
{
    World world;
    LMLog::setLogLevel(0);
    world.start();
    world.phone.wait(100);
    EXPECT_TRUE(world.phone.console().contains("[Lumora] initialize the Lumora..."));
    EXPECT_TRUE(world.phone.console().contains("[Lumora] P_APPLICATION <UIApplication: "));
    EXPECT_FALSE(world.phone.console().contains("was initiated"));
}

TEST(LumoraTest, AnAppWithoutAdSDKsStartsInSilence)
{
    StartedWorld world { { .adjust = [](Phone::Options& options) { options.onBoot = nullptr; } } };
    EXPECT_EQ(world.phone.console().lines(), std::vector<std::string> {});
    EXPECT_TRUE(TDActivationManager::sharedInstance().getConfig());
}

/// Classes of the names that start-up knows and nobody has yet, each writing down that it was called.
std::string& called()
{
    static std::string names;
    return names;
}
void writeDown(id self, SEL)
{
    called() += object_getClassName(self) + " ";
    if (object_getClassName(self) == "TDUnitySwizzler")
        throw std::runtime_error("one that fails");
    Lumora::initiateTrackerWithKey(keyOf30);
}

TEST(LumoraTest, TheHooksGoInOnceInTheirOrder)
{
    called().clear();
    std::string expected;
    World world;
    for (const char* name : { "WKWebView", "NSObject", "TDGoogleV42Swizzler", "TDInMobiSwizzler",
             "TDFacebookSwizzler", "TDMoPubSwizzler", "TDAdColonySwizzler", "TDUnitySwizzler",
             "TDAOLSwizzler", "TDSmaatoSwizzler", "TDVungleSwizzler", "TDTapjoySwizzler", "TDVerizonSwizzler",
             "TDOpenXSwizzler", "TDIronsourceSwizzler", "TDAppNexusSwizzler", "TDVerveSwizzler",
             "TDTeadsSwizzler", "TDTaboolaSwizzler", "TDSpotXSwizzler", "TDAppLovinSwizzler" }) {
        class_replaceMethod(
            NSClassFromString(name)->isa(), "swizzleMethods"_sel, &writeDown, &methodEncoding<void>());
        expected += std::string { name } + " ";
    }
    world.start();
    world.start();
    EXPECT_EQ(called(), expected + "NSObject UIApplication UIWindow ")
        << "also when one fails, and when one starts the library again";
}

std::atomic<bool> s_released { false };
void waitForRelease(id, SEL)
{
    while (!s_released)
        std::this_thread::yield();
}

TEST(LumoraTest, ConcurrentFirstCallsWaitForOneStartUp)
{
    s_released = false;
    Phone phone { { .virtualTime = false } };
    class_replaceMethod(NSClassFromString("TDAppLovinSwizzler")->isa(), "swizzleMethods"_sel, &waitForRelease,
        &methodEncoding<void>());
    std::vector<std::thread> callers;
    std::atomic<int> returned { 0 };
    std::atomic<int> entered { 0 };
    for (int i = 0; i < 8; i++) {
        callers.emplace_back([&] {
            Process::Scope scope(phone.process());
            entered++;
            Lumora::initiateTrackerWithKey(keyOf30);
            returned++;
        });
    }
    while (entered < 8)
        std::this_thread::yield();
    EXPECT_EQ(returned, 0) << "start-up is held open";
    s_released = true;
    for (std::thread& caller : callers)
        caller.join();
    phone.waitUntil([&] { return !test::timersNamed(phone, "LMAdMonitor configTimer]").empty(); }, 10);
    EXPECT_EQ(test::timersNamed(phone, "LMAdMonitor configTimer]").size(), 1u);
}

} // namespace
} // namespace lumora
