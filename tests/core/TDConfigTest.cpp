#include "core/TDConfig.h"

#include "platform/foundation/NSKeyedArchiver.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

class TDConfigTest : public testing::Test {
protected:
    static std::shared_ptr<TDConfig> from(std::string_view json)
    {
        const NSDictionary dictionary = soleObjectIn(json);
        return TDConfig::initWithDictionary(&dictionary);
    }
    double timeToLive(std::string_view json)
    {
        return from(json)->ttlConfig().doubleValue() - phone.process().now();
    }

    Phone phone { {} };
};

TEST_F(TDConfigTest, TimesToLiveAsTheServiceWritesThem)
{
    const struct {
        const char* json;
        double expected;
    } rows[] = {
        { R"({"ttlConfig": 30})", 30 },
        { R"({"ttlConfig": "600"})", 600 },
        { R"({"ttlConfig": " 600 "})", 600 },
        { R"({"ttlConfig": "soon"})", 300 },
        { R"({"ttlConfig": 90.9})", 90 },
        { R"({"ttlConfig": "90.9"})", 90 },
        { R"({"ttlConfig": -5})", -5 },
        { R"({"ttlConfig": true})", 1 },
        { R"({"ttlConfig": null})", 300 },
        { R"({"ttlConfig": {"value": 30}})", 300 },
    };
    for (const auto& row : rows)
        EXPECT_DOUBLE_EQ(timeToLive(row.json), row.expected) << row.json;
    EXPECT_GE(timeToLive(R"({"ttlConfig": 1e300})"), 9e18) << "saturates";
    EXPECT_LE(timeToLive(R"({"ttlConfig": -1e300})"), -9e18);
}

TEST_F(TDConfigTest, TapsOfTheButton)
{
    const struct {
        const char* json;
        int expected;
    } rows[] = {
        { R"({"buttonTap": "single"})", 1 },
        { R"({"buttonTap": "Single"})", 2 },
        { R"({"buttonTap": ""})", 2 },
        { R"({"buttonTap": "1"})", 2 },
        { R"({"buttonTap": 1})", 1 },
        { R"({"buttonTap": 7})", 7 },
        { R"({"buttonTap": null})", 2 },
    };
    for (const auto& row : rows)
        EXPECT_EQ(from(row.json)->buttonTap(), Value { row.expected }) << row.json;
}

TEST_F(TDConfigTest, OnlyTextsAreNamesOfSDKs)
{
    EXPECT_EQ(from(R"({"sdks": ["AdMob", 5, "MoPub", null]})")->sdks(),
        (std::vector<std::string> { "AdMob", "MoPub" }));
    EXPECT_EQ(from(R"({"sdks": []})")->sdks(), std::vector<std::string> {}) << "empty is not unset";
    EXPECT_FALSE(from(R"({"sdks": "AdMob"})")->sdks());
}

TEST_F(TDConfigTest, ActiveIsAnythingThatReadsAsTrue)
{
    EXPECT_TRUE(from(R"({"active": true})")->active().boolValue());
    EXPECT_TRUE(from(R"({"active": 1})")->active().boolValue());
    EXPECT_TRUE(from(R"({"active": "1"})")->active().boolValue());
    EXPECT_FALSE(from(R"({"active": "yes"})")->active().boolValue());
}

constexpr const char* everyKey
    = R"({"active": 1, "ttlConfig": 11, "reportHTML": 3, "inspectHTML": 4, "eventHTML": 5,
    "buttonTap": 6, "retryAfter": 7, "retryLimit": 8, "hideButton": 9, "sendingHTML": 10, "sdks": ["MoPub"]})";

void expectEveryKey(const TDConfig& config)
{
    const std::pair<const Value*, int> rows[]
        = { { &config.active(), 1 }, { &config.reportHTML(), 3 }, { &config.inspectHTML(), 4 },
              { &config.eventHTML(), 5 }, { &config.buttonTap(), 6 }, { &config.retryAfter(), 7 },
              { &config.retryLimit(), 8 }, { &config.hideButton(), 9 }, { &config.sendingHTML(), 10 } };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(*value, Value { expected });
    EXPECT_EQ(config.sdks(), std::vector<std::string> { "MoPub" });
}

TEST_F(TDConfigTest, EveryKeyHasItsProperty) { expectEveryKey(*from(everyKey)); }

TEST_F(TDConfigTest, MalformedNumbersFallBackToTheirOwnDefault)
{
    for (const std::string bad : { R"("x")", "null", "[]", "{}" }) {
        std::string json = R"({"retryAfter": )" + bad;
        for (const char* key :
            { "retryLimit", "sendingHTML", "reportHTML", "inspectHTML", "eventHTML", "hideButton" })
            json += std::string { R"(, ")" } + key + R"(": )" + bad;
        const auto config = from(json + "}");
        EXPECT_EQ(config->retryAfter(), Value { 300 }) << bad;
        EXPECT_EQ(config->retryLimit(), Value { 5 }) << bad;
        EXPECT_EQ(config->sendingHTML(), Value { -1 }) << bad;
        for (const Value& flag :
            { config->reportHTML(), config->inspectHTML(), config->eventHTML(), config->hideButton() })
            EXPECT_EQ(flag, Value { 0 }) << bad;
    }
}

TEST_F(TDConfigTest, AnArchiveKeepsEveryKey)
{
    auto unarchived
        = [](const NSData& archive) { return as<TDConfig>(unarchiveObjectWithData(archive).object()); };
    const auto config = from(everyKey);
    const NSData archive = archivedDataWithRootObject(Value { config });
    for (const char* key : { "active", "ttlConfig", "buttonTap", "reportHTML", "inspectHTML", "eventHTML",
             "retryAfter", "retryLimit", "hideButton", "sendingHTML", "sdks" })
        EXPECT_NE(archive.view().find(key), std::string_view::npos) << key;
    phone.wait(12);
    const auto read = unarchived(archive);
    expectEveryKey(*read);
    EXPECT_EQ(read->ttlConfig(), config->ttlConfig());
    EXPECT_FALSE(unarchived(archivedDataWithRootObject(Value { from("{}") }))->sdks())
        << "what is unset stays so";
    EXPECT_FALSE(read->isFresh());
    EXPECT_NO_THROW(send(config, sel::initWithCoder, make<NSObject>())) << "no coder at all";
}

TEST_F(TDConfigTest, LookUpWithoutDictionaryKeyOrDefault)
{
    const NSDictionary dictionary { { "a", 3 } };
    EXPECT_EQ(TDConfig::getNSNumberFromDict(nullptr, "a", 7), Value { 7 });
    EXPECT_EQ(TDConfig::getNSNumberFromDict(nullptr, "a", {}), Value { -1 });
    EXPECT_EQ(TDConfig::getNSNumberFromDict(&dictionary, "a", {}), Value { -1 })
        << "without a default even a number is not taken";
}

} // namespace
} // namespace lumora
