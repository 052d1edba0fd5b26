#include "platform/foundation/NSKeyedArchiver.h"
#include "platform/foundation/NSPropertyList.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

namespace {

class Event final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<Event, NSObject>("TestEvent")
                                                        .method<&Event::encodeWithCoder>(sel::encodeWithCoder)
                                                        .method<&Event::initWithCoder>(sel::initWithCoder);
        return description;
    }
    void encodeWithCoder(NSCoder* coder)
    {
        coder->encodeObject(name, "name");
        coder->encodeObject(params, "params");
        coder->encodeObject(other, "$other");
    }
    id initWithCoder(NSCoder* coder)
    {
        name = coder->decodeObject("name");
        params = coder->decodeObject("params");
        other = coder->decodeObject("$other");
        return this;
    }
    Value name;
    Value params;
    Value other;
};
const RegisteredClass registeredEvent { &Event::classDescription };

struct KeyedArchiver : testing::Test {
    static std::shared_ptr<Event> event(Value name, Value params = {})
    {
        auto made = make<Event>();
        made->name = std::move(name);
        made->params = std::move(params);
        return made;
    }
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
};

Value uid(int64_t index) { return NSDictionary { { "CF$UID", index } }; }

NSData archiveOf(NSArray objects)
{
    return *dataWithPropertyList(NSDictionary { { "$version", 100000 }, { "$archiver", "NSKeyedArchiver" },
        { "$top", NSDictionary { { "root", uid(1) } } }, { "$objects", std::move(objects) } });
}

/// An archive of one object, and the text "k" behind it.
NSData rootWith(NSDictionary fields, Value ofClass)
{
    fields.set("$class", uid(2));
    return archiveOf({ "$null", std::move(fields), std::move(ofClass), "k" });
}

Value classNamed(const char* name)
{
    return NSDictionary { { "$classes", NSArray { name, "NSObject" } }, { "$classname", name } };
}

} // namespace

TEST_F(KeyedArchiver, WritesTheOriginalLayout)
{
    const NSData archive
        = archivedDataWithRootObject(NSArray { event("redirect", NSDictionary { { "count", 3 } }) });
    const NSArray expected {
        "$null",
        NSDictionary { { "NS.objects", NSArray { uid(2) } }, { "$class", uid(9) } },
        NSDictionary {
            { "name", uid(3) }, { "params", uid(4) }, { "$$other", uid(0) }, { "$class", uid(8) } },
        "redirect",
        NSDictionary {
            { "NS.keys", NSArray { uid(5) } }, { "NS.objects", NSArray { uid(6) } }, { "$class", uid(7) } },
        "count",
        3,
        NSDictionary { { "$classes", NSArray { "NSMutableDictionary", "NSDictionary", "NSObject" } },
            { "$classname", "NSMutableDictionary" } },
        classNamed("TestEvent"),
        classNamed("NSArray"),
    };
    EXPECT_EQ(propertyListWithData(archive.view()), propertyListWithData(archiveOf(expected).view()));
}

TEST_F(KeyedArchiver, RoundTripsEveryKind)
{
    const NSDictionary values { { "text", "gr\u00FC\u00DF \U0001F600" }, { "empty", "" }, { "negative", -5 },
        { "most", INT64_MAX }, { "least", INT64_MIN }, { "double", 0.1 }, { "yes", true },
        { "data", NSData { { 0, 255, 10 } } }, { "null", NSNull {} },
        { "date", NSDateValue { 1700000000.5 } }, { "url", NSURLValue { "https://h/p?q" } },
        { "uuid", NSUUIDValue { "3F2504E0-4F89-41D3-9A0C-0305E82C3301" } },
        { "array", NSArray { 1, NSArray {}, "x" } },
        { "dictionary", NSDictionary { { "k", NSDictionary {} } } } };
    const Value read = unarchiveObjectWithData(archivedDataWithRootObject(values));
    EXPECT_EQ(read, Value { values });
    EXPECT_TRUE((*read.dictionary())["yes"].isBoolean());
    EXPECT_TRUE((*read.dictionary())["double"].isDouble());
}

TEST_F(KeyedArchiver, KeepsIdentityAndClosesCycles)
{
    auto first = event("same");
    auto second = event("same");
    first->other = second;
    second->other = Value::weak(first);
    const Value read = unarchiveObjectWithData(archivedDataWithRootObject(NSArray { first, second, first }));
    ASSERT_TRUE(read.array());
    const auto copy = as<Event>((*read.array())[0].object());
    EXPECT_EQ(copy, (*read.array())[2].object());
    const auto otherCopy = as<Event>(copy->other.object());
    EXPECT_EQ(otherCopy, (*read.array())[1].object());
    EXPECT_EQ(otherCopy->other.object(), copy);
    EXPECT_EQ(otherCopy->name, Value { "same" });
}

TEST_F(KeyedArchiver, IsEmptyForWhatCannotBeArchived)
{
    Value deep = 1;
    for (int i = 0; i < 200; i++)
        deep = NSArray { deep };
    EXPECT_TRUE(archivedDataWithRootObject(NSArray { make<NSObject>() }).bytes.empty());
    EXPECT_TRUE(archivedDataWithRootObject(event("nested", make<NSObject>())).bytes.empty());
    EXPECT_TRUE(archivedDataWithRootObject(deep).bytes.empty());
    EXPECT_TRUE(archivedDataWithRootObject(NSUUIDValue { "no uuid" }).bytes.empty());
}

TEST_F(KeyedArchiver, ReadsNothingFromDamage)
{
    const Value keys = NSArray { uid(3) };
    const std::pair<const char*, NSData> rows[] = {
        { "empty", {} },
        { "text", NSData::fromText("bplist00 is not enough to be one, however long it is") },
        { "no archive", *dataWithPropertyList(NSArray { 1 }) },
        { "unknown class", rootWith({}, classNamed("NoSuchClass")) },
        { "class without initWithCoder:", rootWith({}, NSDictionary { { "$classname", "NSObject" } }) },
        { "no class", archiveOf({ "$null", NSDictionary { { "name", 1 } } }) },
        { "reference beyond the end", archiveOf({ "$null", NSDictionary { { "$class", uid(9) } } }) },
        { "class that is text", rootWith({}, "TestEvent") },
        { "field beyond the end", rootWith({ { "name", uid(7) } }, classNamed("TestEvent")) },
        { "array that holds itself",
            rootWith({ { "NS.objects", NSArray { uid(1) } } }, classNamed("NSArray")) },
        { "keys without values",
            rootWith({ { "NS.keys", keys }, { "NS.objects", NSArray {} } }, classNamed("NSDictionary")) },
    };
    for (const auto& [name, data] : rows)
        EXPECT_TRUE(unarchiveObjectWithData(data).isNothing()) << name;
}

TEST_F(KeyedArchiver, SurvivesTruncationAndFlippedBytes)
{
    const NSData whole = archivedDataWithRootObject(
        NSArray { event("a", NSDictionary { { "k", NSArray { 1, 2.5, "\u20AC" } } }) });
    for (size_t length = 0; length < whole.bytes.size(); length++) {
        NSData cut { { whole.bytes.begin(), whole.bytes.begin() + static_cast<long>(length) } };
        EXPECT_TRUE(unarchiveObjectWithData(cut).isNothing()) << length;
    }
    for (size_t at = 0; at < whole.bytes.size(); at++) {
        for (const uint8_t flip : { 0x01, 0x10, 0x80, 0xFF }) {
            NSData damaged = whole;
            damaged.bytes[at] ^= flip;
            unarchiveObjectWithData(damaged);
        }
    }
}

TEST(PropertyList, RefusesFilesThatUnfoldWithoutEnd)
{
    // Objects of two references each, to the next one: 2^n values, n deep.
    auto chain = [](size_t count, size_t references) {
        auto number = [](size_t value, size_t width) {
            return std::string(width - 2, '\0') + static_cast<char>(value >> 8) + static_cast<char>(value);
        };
        std::string data = "bplist00", offsets;
        for (size_t i = 0; i < count; i++) {
            offsets += number(data.size(), 2);
            data += static_cast<char>(0xA0 | references);
            for (size_t r = 0; r < references; r++)
                data += number(i + 1, 2);
        }
        offsets += number(data.size(), 2);
        data += "\x08";
        return data + offsets + number(0x0202, 8) + number(count + 1, 8) + number(0, 8)
            + number(data.size(), 8);
    };
    EXPECT_TRUE(propertyListWithData(chain(8, 2)));
    EXPECT_FALSE(propertyListWithData(chain(60, 2)));
    EXPECT_TRUE(propertyListWithData(chain(128, 1)));
    EXPECT_FALSE(propertyListWithData(chain(129, 1)));
    EXPECT_FALSE(propertyListWithData(chain(15'000, 1)));
}

} // namespace lumora
