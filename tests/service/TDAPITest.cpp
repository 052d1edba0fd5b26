#include "service/TDAPI.h"

#include "core/TDActivationManager.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::StartedWorld;
using test::World;

TEST(TDAPITest, TheConfigurationAddressIsSentUnescaped)
{
    StartedWorld world;
    const auto fetch = world.service.configurationFetches().at(0);
    EXPECT_EQ(fetch.target, "/api/v1/sdk/config?platform_version=13.3&sdk_version=3.0");
    EXPECT_EQ(fetch.authorization, std::string { "Bearer " } + test::validKey);
    StartedWorld odd { { .adjust = [](auto& options) { options.device.systemVersion = "13.3 beta"; } } };
    EXPECT_EQ(odd.service.configurationFetches().size(), 0u) << "no URL is a failed fetch";
    EXPECT_NEAR(test::timersNamed(odd.phone, "getNewConfig]").at(0), 60.0, 0.05);
}

TEST(TDAPITest, WhatIsNoRecordAddsNothingToTheHeader)
{
    const struct {
        Fault fault;
        const char* cacheControl;
        double timeToLive;
    } rows[] = {
        { { .body = "not json" }, "max-age=77", 77 },
        { { .body = "[1,2]" }, "max-age=77", 77 },
        { { .body = "\"text\"" }, "max-age=77", 77 },
        { { .body = "" }, "max-age=77", 77 },
        { { .body = "{\"active\":" }, "max-age=77", 77 },
        { { .body = "\xff\xfe" }, "max-age=77", 77 },
        { { .status = 500 }, "max-age=600, public", 600 },
        { { .status = 404 }, "no-cache", 300 },
        { { .status = 404 }, "", 300 },
        { { .status = 404 }, "s-maxage=5, max-age=600", 5 },
        { { .status = 404 }, "max-age=-7", 7 },
        { { .status = 304 }, "no-cache", 300 },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault.body.value_or("") + " beside " + row.cacheControl);
        World world { { .record = R"({"active": true, "ttlConfig": 9})" } };
        world.service.setCacheControl(row.cacheControl);
        world.services.addFault(row.fault);
        world.start();
        const auto config = TDActivationManager::sharedInstance().getConfig();
        ASSERT_TRUE(config);
        EXPECT_FALSE(config->active().boolValue());
        EXPECT_NEAR(config->ttlConfig().doubleValue() - world.phone.process().now(), row.timeToLive, 1);
    }
}

TEST(TDAPITest, ASlowAnswerIsWaitedForUpToFifteenSeconds)
{
    const std::pair<Fault, bool> rows[] = {
        { { .delaySeconds = 14.5 }, true },
        { { .delaySeconds = 15 }, false },
        { { .ending = Ending::CloseMidBody }, false },
    };
    for (const auto& [fault, isGood] : rows) {
        World world;
        TDAPI::setNewAuthKey(test::validKey);
        world.services.addFault(fault);
        std::string heard;
        TDAPI::activateTindalWithCompletion(
            [&](const auto& config) {
                heard += config->active().boolValue() ? "active" : "inactive";
                EXPECT_FALSE(world.phone.process().isMainThread());
            },
            [&](const NSError&) { heard += "failed"; });
        world.phone.wait(16);
        EXPECT_EQ(heard, isGood ? "active" : "failed") << fault.delaySeconds;
    }
}

TEST(TDAPITest, AnyStatusOfAReportIsDeliveryAndNoAnswerIsFailure)
{
    World world;
    std::string heard;
    auto delivered = [&](bool success, const NSDictionary& answer) {
        heard += success && answer.empty() ? "delivered " : "? ";
    };
    auto failed = [&](const NSDictionary& answer) { heard += answer.empty() ? "failed " : "? "; };
    TDAPI::setNewAuthKey("wrong");
    TDAPI::setNewAuthKey(std::nullopt);
    TDAPI::sendReport({}, delivered, failed);
    world.phone.wait(1);
    EXPECT_EQ(world.service.reports().back().status, 401);
    world.services.addFault({ .status = 500 });
    TDAPI::sendAdInfo({}, delivered, failed);
    world.phone.wait(1);
    world.setServiceAway(true);
    TDAPI::sendReport({}, delivered, failed);
    TDAPI::sendAdInfo({}, delivered, failed);
    TDAPI::recordImpression({});
    world.phone.wait(100);
    EXPECT_EQ(heard, "delivered delivered failed failed ");
}

TEST(TDAPITest, WhoWinsBetweenCallerAndDevice)
{
    World world;
    TDAPI::setNewAuthKey(test::validKey);
    TDAPI::recordImpression({ { "sdk", "X" }, { "sdk_version", "mine" } });
    TDAPI::sendReport({ { "uuid", "mine" }, { "type", "offensive" } }, nullptr, nullptr);
    TDAPI::sendAdInfo({ { "model", "mine" } }, nullptr, nullptr);
    world.phone.wait(1);
    EXPECT_EQ(world.lastImpression()["sdk_version"], Value { "3.0:3" })
        << "an impression overwrites its caller";
    EXPECT_EQ(world.lastReport()["uuid"], Value { "mine" }) << "a report yields to its caller";
    const NSDictionary record = soleObjectIn(world.service.adRecords().at(0).body);
    EXPECT_EQ(record["model"], Value { "mine" });
    EXPECT_EQ(record["uuid"], Value { "0c4b8a6e-3d5f-4e0b-9c35-7f1a2b3c4d5e" }) << "lower case here only";
}

TEST(TDAPITest, EveryExchangeCarriesItsFields)
{
    World world;
    TDAPI::setNewAuthKey(test::validKey);
    TDAPI::recordImpression({ { "sdk", "user_defined" } });
    TDAPI::sendReport({}, nullptr, nullptr);
    TDAPI::sendAdInfo({}, nullptr, nullptr);
    world.phone.wait(1);
    const NSDictionary impression = world.lastImpression();
    EXPECT_EQ(impression["platform_version"], Value { "13.3" });
    EXPECT_EQ(impression["app_build"], Value { "2.3" });
    EXPECT_EQ(impression["app_version"], Value { "45" });
    const NSDictionary report = world.lastReport();
    EXPECT_EQ(report.size(), 11u);
    const std::pair<const char*, const char*> expected[]
        = { { "os", "ios" }, { "connection", "WIFI" }, { "lmVersion", "3.0:3" } };
    for (const auto& [key, value] : expected)
        EXPECT_EQ(report[key], Value { value }) << key;
    const NSDictionary record = soleObjectIn(world.service.adRecords().at(0).body);
    EXPECT_EQ(record["ts"], Value { "1700000000.000000" }) << "text, and in the ad record only";
    EXPECT_TRUE(world.service.reports().at(0).body.starts_with('['));
}

TEST(TDAPITest, ABodyThatCannotBeEncodedIsSentEmpty)
{
    World world;
    TDAPI::setNewAuthKey(test::validKey);
    TDAPI::recordImpression({ { "creativeId", make<NSObject>() } });
    world.phone.wait(1);
    EXPECT_EQ(world.service.impressions().at(0).body, "");
}

} // namespace
} // namespace lumora
