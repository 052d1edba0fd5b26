#include "platform/foundation/ArchivedArray.h"

#include "platform/foundation/NSKeyedArchiver.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace lumora {
namespace {

class ArchivedArrayTest : public testing::Test {
protected:
    /// One of many shapes, with texts that repeat and texts that do not.
    Value element()
    {
        const auto number = static_cast<int64_t>(m_random() % 1000);
        NSDictionary fields { { "type", "redirect" }, { "\xC3\xA9", number }, { "html", text() } };
        if (number % 3 == 0)
            fields.set("info", NSDictionary { { "deep", NSArray { number, 0.5, true, text() } } });
        if (number % 5 == 0)
            fields.set("bytes", NSData { std::vector<uint8_t>(m_random() % 300, 7) });
        return number % 7 == 0 ? Value { text() } : Value { fields };
    }
    std::string text() { return std::string(m_random() % 40, static_cast<char>('a' + m_random() % 26)); }
    size_t below(size_t count) { return m_random() % count; }

    static NSData appended(const NSData& archive, const Value& element)
    {
        const NSData other = archivedDataWithRootObject(NSArray { element });
        return ArchivedArray::of(archive)->appending(*ArchivedArray::of(other));
    }

private:
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
    std::mt19937 m_random { 7 };
};

TEST_F(ArchivedArrayTest, ReadsBackAfterAnyChanges)
{
    NSArray expected;
    NSData archive = archivedDataWithRootObject(expected);
    // Past 256 objects and back, where references change their width.
    for (int step = 0; step < 400; step++) {
        if (expected.empty() || below(5) < (step % 200 < 120 ? 4u : 1u)) {
            expected.push_back(element());
            archive = appended(archive, expected.back());
        } else {
            const size_t at = below(expected.size());
            expected.erase(expected.begin() + static_cast<long>(at));
            archive = ArchivedArray::of(archive)->removing({ at });
        }
        ASSERT_EQ(unarchiveObjectWithData(archive), Value { expected }) << step;
    }
}

TEST_F(ArchivedArrayTest, LeavesNothingBehind)
{
    const NSData empty = archivedDataWithRootObject(NSArray {});
    NSData archive = empty;
    for (int i = 0; i < 20; i++)
        archive = appended(archive, NSDictionary { { "k", "v" }, { "i", i } });
    const std::string_view bytes = archive.view();
    size_t records = 0;
    for (size_t at = bytes.find("NSMutableDictionary"); at != bytes.npos;
         at = bytes.find("NSMutableDictionary", at + 1))
        records++;
    EXPECT_EQ(records, 2u) << "one record a class: its name, and the first of its chain";
    std::vector<size_t> all(20);
    std::iota(all.begin(), all.end(), 0u);
    EXPECT_EQ(ArchivedArray::of(archive)->removing(all).bytes.size(), empty.bytes.size());
}

TEST_F(ArchivedArrayTest, IsNoneForOtherArchivesAndForDamage)
{
    EXPECT_FALSE(ArchivedArray::of(archivedDataWithRootObject("text")));
    EXPECT_FALSE(ArchivedArray::of(archivedDataWithRootObject(NSDictionary { { "k", 1 } })));
    EXPECT_FALSE(ArchivedArray::of(NSData::fromText("bplist00")));
    const NSData whole = archivedDataWithRootObject(NSArray { NSDictionary { { "k", "\u20AC" } }, "b" });
    for (size_t at = 0; at < whole.bytes.size(); at++) {
        for (const uint8_t flip : { 0x01, 0x10, 0x80, 0xFF }) {
            NSData damaged = whole;
            damaged.bytes[at] ^= flip;
            // What opens can be changed, and whatever comes of it is no danger to its reader.
            if (const auto array = ArchivedArray::of(damaged)) {
                unarchiveObjectWithData(array->removing({ 0 }));
                unarchiveObjectWithData(array->appending(*array));
            }
        }
    }
}

} // namespace
} // namespace lumora
