#include "service/TDAPI.h"

#include "core/TDActivationManager.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using tests::World;

World withOSVersion(const std::string& version)
{
    return World { { .adjust = [=](Phone::Options& options) { options.device.systemVersion = version; } } };
}

TEST(TDAPITest, TheConfigurationAddressIsSentUnescaped)
{
    World world;
    world.start();
    const auto fetch = world.service.configurationFetches().at(0);
    EXPECT_EQ(fetch.target, "/api/v1/sdk/config?platform_version=13.3&sdk_version=3.0");
    EXPECT_EQ(fetch.authorization, std::string { "Bearer " } + tests::validKey);
}

TEST(TDAPITest, AVersionThatMakesNoURLIsAFailure)
{
    World world = withOSVersion("13.3 beta");
    world.start();
    EXPECT_EQ(world.service.configurationFetches().size(), 0u);
    EXPECT_NEAR(tests::timersNamed(world.phone, "getNewConfig]").at(0), 60.0, 0.05)
        << "treated as any failed fetch";
}

TEST(TDAPITest, DigitsOutOfAHeader)
{
    World world;
    const struct {
        const char* text;
        std::optional<std::string> digits;
    } rows[] = {
        { "max-age=600, public", "600" },
        { "no-cache", std::nullopt },
        { "", std::nullopt },
        { "s-maxage=5, max-age=600", "5" },
        { "max-age=-7", "7" },
    };
    for (const auto& row : rows)
        EXPECT_EQ(TDAPI::getIntNumbersFromString(row.text), row.digits) << row.text;
}

TEST(TDAPITest, BodiesThatAreNoRecordAddNothing)
{
    for (const char* body : { "not json", "[1,2]", "\"text\"", "", "{\"active\":", "\xff\xfe" }) {
        World world;
        world.service.setCacheControl("max-age=77");
        world.services.addFault({ .body = body });
        world.start();
        const auto config = TDActivationManager::sharedInstance().getConfig();
        ASSERT_TRUE(config) << body;
        EXPECT_FALSE(config->active().boolValue()) << body;
        EXPECT_NEAR(config->ttlConfig().doubleValue() - world.phone.process().now(), 77, 1) << body;
    }
}

TEST(TDAPITest, TheTemplateOfARequest)
{
    Phone phone { {} };
    const NSMutableURLRequest request = TDAPI::createURLRequestWithURL("https://x.example/", "POST");
    EXPECT_EQ(request.httpMethod, "POST");
    EXPECT_EQ(request.timeoutInterval, 15.0);
    EXPECT_EQ(request.cachePolicy, NSMutableURLRequest::CachePolicy::ReloadIgnoringLocalCacheData);
    const std::vector<HTTPHeaders::Field> headers { request.headers.begin(), request.headers.end() };
    EXPECT_EQ(headers,
        (std::vector<HTTPHeaders::Field> {
            { "Content-Type", "application/json" }, { "Authorization", "Bearer (null)" } }));
}

TEST(TDAPITest, ASlowAnswerIsWaitedForUpToFifteenSeconds)
{
    World world;
    TDAPI::setNewAuthKey(tests::validKey);
    world.services.addFault({ .delaySeconds = 14.5 });
    bool failed = false;
    std::shared_ptr<TDConfig> config;
    bool onMain = true;
    TDAPI::activateTindalWithCompletion(
        [&](const auto& arrived) {
            config = arrived;
            onMain = world.phone.process().isMainThread();
        },
        [&](const NSError&) { failed = true; });
    world.phone.wait(16);
    EXPECT_TRUE(config && config->active().boolValue());
    EXPECT_FALSE(failed);
    EXPECT_FALSE(onMain);
    config.reset();
}

TEST(TDAPITest, OnlyTwoHundredLetsTheBodyIn)
{
    for (int status : { 304, 404, 500 }) {
        World world { { .record = R"({"active": true, "ttlConfig": 5})" } };
        world.service.setCacheControl("no-cache");
        world.services.addFault({ .status = status });
        world.start();
        const auto config = TDActivationManager::sharedInstance().getConfig();
        EXPECT_FALSE(config->active().boolValue()) << status;
        EXPECT_NEAR(config->ttlConfig().doubleValue() - world.phone.process().now(), 300, 1)
            << "no digits, no body";
    }
}

TEST(TDAPITest, FailuresOfAReportAreToldWithAnEmptyDictionary)
{
    World world;
    world.setServiceAway(true);
    std::vector<NSDictionary> failures;
    auto delivered = [](bool, const NSDictionary&) { ADD_FAILURE(); };
    auto failed = [&](const NSDictionary& answer) { failures.push_back(answer); };
    TDAPI::sendReport({}, delivered, failed);
    TDAPI::sendAdInfo({}, delivered, failed);
    TDAPI::recordImpression({});
    world.phone.wait(100);
    EXPECT_EQ(failures, (std::vector<NSDictionary> { {}, {} }));
}

TEST(TDAPITest, TransportErrorsAreFailures)
{
    const Fault faults[] = {
        { .ending = Ending::CloseWithoutAnswer },
        { .ending = Ending::CloseMidBody },
        { .delaySeconds = 15 },
    };
    for (const Fault& fault : faults) {
        World world;
        world.services.addFault(fault);
        std::optional<NSError> error;
        TDAPI::activateTindalWithCompletion(
            [](const auto&) { ADD_FAILURE(); }, [&](const NSError& failed) { error = failed; });
        world.phone.wait(16);
        EXPECT_TRUE(error);
    }
}

TEST(TDAPITest, WhoWinsBetweenCallerAndDevice)
{
    World world;
    TDAPI::setNewAuthKey(tests::validKey);
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
    TDAPI::setNewAuthKey(tests::validKey);
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
        = { { "idfa", "5A2D1E7C-8B94-4F3A-A6D0-1C2B3A4D5E6F" }, { "model", "iPhone" }, { "os", "ios" },
              { "osVersion", "13.3" }, { "cellNetwork", "No Carrier" }, { "connection", "WIFI" },
              { "bundleId", "com.example.daily" }, { "appVersion", "45" }, { "buildNumber", "2.3" },
              { "lmVersion", "3.0:3" } };
    for (const auto& [key, value] : expected)
        EXPECT_EQ(report[key], Value { value }) << key;
    const NSDictionary record = soleObjectIn(world.service.adRecords().at(0).body);
    EXPECT_EQ(record["ts"], Value { "1700000000.000000" }) << "text, and in the ad record only";
    EXPECT_TRUE(world.service.reports().at(0).body.starts_with('['));
}

TEST(TDAPITest, AnyStatusIsDelivered)
{
    World world;
    TDAPI::setNewAuthKey(tests::validKey);
    world.services.addFault({ .status = 500 });
    int delivered = 0;
    TDAPI::sendReport(
        {}, [&](bool success, const NSDictionary&) { delivered += success ? 1 : 0; }, nullptr);
    world.phone.wait(1);
    TDAPI::setNewAuthKey("wrong");
    TDAPI::setNewAuthKey(std::nullopt);
    TDAPI::sendReport(
        {}, [&](bool success, const NSDictionary&) { delivered += success ? 1 : 0; }, nullptr);
    world.phone.wait(1);
    EXPECT_EQ(delivered, 2);
    EXPECT_EQ(world.service.reports().back().status, 401);
}

TEST(TDAPITest, ABodyThatCannotBeEncodedIsSentEmpty)
{
    World world;
    TDAPI::setNewAuthKey(tests::validKey);
    TDAPI::recordImpression({ { "creativeId", make<NSObject>() } });
    world.phone.wait(1);
    EXPECT_EQ(world.service.impressions().at(0).body, "");
}

} // namespace
} // namespace lumora
