#include "lumora/Lumora.h"

#include "core/LMInternetReachabilityChecker.h"
#include "core/Reachability.h"
#include "core/TDActivationManager.h"
#include "core/TDDeviceInformation.h"
#include "lumora/LMLog.h"
#include "report/TDReportButtonPlacement.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

using tests::World;

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
    World world;
    world.start();
    Lumora::initiateTrackerWithKey(keyOf30);
    EXPECT_EQ(TDAPI::getBearer(), "Bearer " + keyOf30);
    EXPECT_EQ(tests::timersNamed(world.phone, "configTimer]").size(), 2u)
        << "events and ad monitor, one each";
    EXPECT_EQ(world.service.configurationFetches().size(), 1u);
    world.showMoPub();
    EXPECT_EQ(world.service.impressions().size(), 1u) << "a hook installed twice would call itself";
}

TEST(LumoraTest, StartUpFillsThePlacements)
{
    World world;
    world.start();
    const auto& placements = TDReportButtonPlacement::sharedInstance();
    for (const char* network : { "Facebook", "MoPub", "InMobi", "Unity", "AOL", "Smaato", "Vungle", "Tapjoy",
             "Ironsource", "Verve", "Teads" })
        EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName(network, "interstitial"), 4) << network;
    for (const char* network : { "AdMob", "DFP" })
        EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName(network, "interstitial"), 1) << network;
    for (const char* network :
        { "Amazon", "Verizon", "OpenX", "AppNexus", "Taboola", "SpotX", "AppLovin", "facebook" })
        EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName(network, "interstitial"), 6) << network;
    EXPECT_EQ(placements.checkForUserCustomPlacementForAdWithName("Facebook", "banner"), 6);
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
    World world { { .adjust = [](Phone::Options& options) { options.onBoot = nullptr; } } };
    world.start();
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
    for (const char* name :
        { "TDInMobiSwizzler", "TDFacebookSwizzler", "TDAdColonySwizzler", "TDUnitySwizzler", "TDAOLSwizzler",
            "TDSmaatoSwizzler", "TDVungleSwizzler", "TDTapjoySwizzler", "TDVerizonSwizzler",
            "TDOpenXSwizzler", "TDIronsourceSwizzler", "TDAppNexusSwizzler", "TDVerveSwizzler",
            "TDTeadsSwizzler", "TDTaboolaSwizzler", "TDSpotXSwizzler", "TDAppLovinSwizzler" }) {
        ClassBuilder(name, classOf<NSObject>()).classMethod("swizzleMethods"_sel, &writeDown);
        expected += std::string { name } + " ";
    }
    world.start();
    world.start();
    EXPECT_EQ(called(), expected) << "also when one fails, and when one starts the library again";
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
    ClassBuilder("TDAppLovinSwizzler", classOf<NSObject>())
        .classMethod("swizzleMethods"_sel, &waitForRelease);
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
    phone.waitUntil([&] { return !tests::timersNamed(phone, "LMAdMonitor configTimer]").empty(); }, 10);
    EXPECT_EQ(tests::timersNamed(phone, "LMAdMonitor configTimer]").size(), 1u);
}

TEST(LumoraTest, DeviceFactsAsTheServicesExpectThem)
{
    World world;
    EXPECT_EQ(TDDeviceInformation::getAppVersion(), "45") << "the build number: crossed";
    EXPECT_EQ(TDDeviceInformation::getBuildNumber(), "2.3") << "the marketing version: crossed";
    EXPECT_EQ(TDDeviceInformation::getLMVersion(), "3.0:3");
    EXPECT_EQ(TDDeviceInformation::getCarrierName(), "No Carrier");
    EXPECT_EQ(TDDeviceInformation::getConnectionType(), "WIFI");
    world.phone.radio().connect(Radio::Link::Cellular);
    EXPECT_EQ(TDDeviceInformation::getConnectionType(), "mobile internet");
    world.phone.radio().connect(Radio::Link::None);
    EXPECT_EQ(TDDeviceInformation::getConnectionType(), "no internet");
}

TEST(DeviceInformationTest, WhatIsMissingHasItsFallback)
{
    Phone phone { { .device = { .identifierForVendor = "AbC", .carrierName = "Tide Mobile" } } };
    EXPECT_EQ(TDDeviceInformation::getUUID(), "AbC");
    EXPECT_EQ(TDDeviceInformation::getCarrierName(), "Tide Mobile");
    EXPECT_EQ(TDDeviceInformation::getIDFA(), "");
    EXPECT_FALSE(TDDeviceInformation::isAdTrackingEnabled());
    ProcessConfiguration bare = phone.process().configuration();
    bare.mainBundleInfo = {};
    bare.libraryBundle = "/nonexistent";
    Process process(std::move(bare));
    Process::Scope scope(process);
    EXPECT_EQ(TDDeviceInformation::getLMVersion(), ":");
    EXPECT_EQ(TDDeviceInformation::getLMVersionWithoutBuild(), "");
    EXPECT_EQ(TDDeviceInformation::getAppVersion(), "");
}

class FixedPath final : public NetworkPath {
public:
    uint32_t flags() override { return value; }
    uint32_t value { 0 };
};

TEST(ReachabilityTest, FlagsAndWhatTheyMean)
{
    constexpr uint32_t wwan = 0x40000;
    const struct {
        uint32_t flags;
        bool onWWAN;
        bool reachable;
        Reachability::Status status;
        const char* picture;
    } rows[] = {
        { 0, true, false, Reachability::NotReachable, "-- -------" },
        { 2, true, true, Reachability::ReachableViaWiFi, "-R -------" },
        { 2 | wwan, true, true, Reachability::ReachableViaWWAN, "WR -------" },
        { 2 | wwan, false, false, Reachability::NotReachable, "WR -------" },
        { 2 | 4 | 1, true, false, Reachability::NotReachable, "-R ct-----" },
        { 2 | 4, true, true, Reachability::ReachableViaWiFi, "-R c------" },
        { wwan, true, false, Reachability::NotReachable, "W- -------" },
        { 0x7003F, true, false, Reachability::NotReachable, "WR ctiCDld" },
    };
    Phone phone { {} };
    ProcessConfiguration configuration = phone.process().configuration();
    const auto path = std::make_shared<FixedPath>();
    configuration.network = path;
    Process process(std::move(configuration));
    Process::Scope scope(process);
    for (const auto& row : rows) {
        path->value = row.flags;
        const auto reachability = Reachability::reachabilityForInternetConnection();
        reachability->setReachableOnWWAN(row.onWWAN);
        EXPECT_EQ(reachability->isReachable(), row.reachable) << row.picture;
        EXPECT_EQ(reachability->currentReachabilityStatus(), row.status) << row.picture;
        EXPECT_EQ(reachability->currentReachabilityFlags(), row.picture);
        EXPECT_EQ(LMInternetReachabilityChecker::isInternetAvailable(), row.status != 0 || !row.onWWAN)
            << row.picture;
    }
}

} // namespace
} // namespace lumora
