#include "platform/foundation/NSJSONSerialization.h"
#include "platform/objc/Message.h"
#include "tests/platform/TestProcess.h"

#include <cmath>
#include <gtest/gtest.h>

namespace lumora {

TEST(NSJSONSerialization, ReadsEveryKind)
{
    const auto read = JSONObjectWithData(
        "\xEF\xBB\xBF "
        "{\"active\":true,\"ttl\":600,\"f\":0.5,\"n\":null,\"big\":18446744073709551616,\"s\":\"\\u00e9\\/\","
        "\"sdks\":[\"AdMob\",5]} \n");
    ASSERT_TRUE(read);
    EXPECT_EQ(*read,
        (Value { NSDictionary { { "active", true }, { "ttl", 600 }, { "f", 0.5 }, { "n", NSNull {} },
            { "big", 18446744073709551616.0 }, { "s", "\u00E9/" }, { "sdks", NSArray { "AdMob", 5 } } } }));
    EXPECT_TRUE((*read->dictionary())["ttl"].isInteger());
    EXPECT_TRUE((*read->dictionary())["active"].isBoolean());
    EXPECT_EQ((*JSONObjectWithData(R"({"a":1,"b":2,"a":3})")->dictionary())["a"], Value { 3 });
    const std::pair<const char*, double> doubles[] = { { "9223372036854775808", 9223372036854775808.0 },
        { "5e36", 5e36 }, { "1e-999", 0 }, { "-2.2250738585072011e-308", -2.2250738585072011e-308 } };
    for (const auto& [text, number] : doubles)
        EXPECT_EQ(JSONObjectWithData(text), Value { number }) << text << ", to the last bit";
}

TEST(NSJSONSerialization, RefusesDamage)
{
    const std::pair<const char*, std::string> rows[] = { { "empty", "" }, { "cut off", "{\"a\":" },
        { "garbage after", "{} x" }, { "two values", "[1][2]" }, { "trailing comma", "[1,]" },
        { "single quotes", "{'a':1}" }, { "not a number", "[NaN]" }, { "beyond a double", "[-1e400]" },
        { "bad UTF-8", "\"\xFF\"" }, { "lone surrogate", R"("\ud800")" }, { "raw control", "\"\n\"" },
        { "too deep", std::string(513, '[') + std::string(513, ']') },
        { "endless", std::string(1'000'000, '[') } };
    for (const auto& [name, text] : rows)
        EXPECT_FALSE(JSONObjectWithData(text)) << name;
    EXPECT_TRUE(JSONObjectWithData(std::string(512, '[') + std::string(512, ']')));
}

TEST(NSJSONSerialization, ReadsAHundredThousandKeysQuickly)
{
    std::string text = "{\"k\":0";
    for (int i = 0; i < 100'000; i++)
        text += ",\"" + std::to_string(i) + "\":1";
    EXPECT_EQ(JSONObjectWithData(text + "}")->dictionary()->size(), 100'001u);
}

TEST(NSJSONSerialization, WritesCompactly)
{
    const NSDictionary object { { "url", "https://h/p" }, { "text", "\"\\\b\f\n\r\t\x01\x1F\u00E9\u2028" },
        { "n", -1.5 }, { "i", int64_t { 1 } << 53 }, { "t", 1700000000.25 }, { "big", 1e300 }, { "b", false },
        { "null", NSNull {} }, { "empty", NSArray {} } };
    EXPECT_EQ(dataWithJSONObject(object),
        "{\"url\":\"https:\\/\\/h\\/"
        "p\",\"text\":\"\\\"\\\\\\b\\f\\n\\r\\t\\u0001\\u001f\u00E9\u2028\",\"n\":-1.5,"
        "\"i\":9007199254740992,\"t\":1700000000.25,\"big\":1e+300,\"b\":false,\"null\":null,\"empty\":[]}");
    EXPECT_EQ(JSONObjectWithData(*dataWithJSONObject(object)), Value { object });
}

TEST(NSJSONSerialization, WritesThePrettyForm)
{
    const Value object
        = NSDictionary { { "a", NSArray { 1, 2 } }, { "e", NSArray {} }, { "d", NSDictionary {} } };
    EXPECT_EQ(dataWithJSONObject(object, NSJSONWritingOptions::PrettyPrinted),
        "{\n  \"a\" : [\n    1,\n    2\n  ],\n  \"e\" : [\n\n  ],\n  \"d\" : {\n\n  }\n}");
}

TEST(NSJSONSerialization, RefusesToWriteWhatJSONCannotHold)
{
    test::TemporaryFolder home;
    test::TestProcess process(home.path);
    Value deep;
    for (int i = 0; i < 600; i++)
        deep = NSArray { deep };
    const auto object = make<NSObject>();
    const std::pair<const char*, Value> rows[]
        = { { "nothing", {} }, { "not a number", NAN }, { "infinite", -INFINITY }, { "data", NSData {} },
              { "date", NSDateValue {} }, { "object", object }, { "weak object", Value::weak(object) },
              { "too deep", deep }, { "nested", NSArray { NSDictionary { { "k", NSData {} } } } } };
    for (const auto& [name, value] : rows)
        EXPECT_FALSE(dataWithJSONObject(value)) << name;
}

} // namespace lumora
