#include "platform/foundation/NSString.h"

#include <gtest/gtest.h>

namespace lumora {

TEST(NSString, FormatsWhatThePlatformFormats)
{
    const std::pair<std::string, std::string> rows[] = {
        { stringWithFormat("%@:%@", { "2.1", "45" }), "2.1:45" },
        { stringWithFormat("%@ %@ %@", { Value {}, NSNull {}, true }), "(null) <null> 1" },
        { stringWithFormat("%@", { 1700000000.0 }), "1700000000" },
        { stringWithFormat("%f|%.2f", { 1.5, 2.345 }), "1.500000|2.35" },
        { stringWithFormat("%d|%i|%ld|%u", { -5, 7, int64_t { 1 } << 40, -1 }),
            "-5|7|1099511627776|4294967295" },
        { stringWithFormat("%d", { 3.9 }), "3" },
        { stringWithFormat("<%@: %#x (%@)>", { "Reachability", 0xbeef, "-R" }),
            "<Reachability: 0xbeef (-R)>" },
        { stringWithFormat("%c%c %05.1f", { 'W', 0x20AC, 2.25 }), "W\u20AC 002.2" },
        { stringWithFormat("100%% of %s", { "it" }), "100% of it" },
        { stringWithFormat("%@ and %@", { "one" }), "one and (null)" },
        { stringWithFormat("%d %ld", {}), "0 0" },
        { stringWithFormat("no place", { "extra" }), "no place" },
        { stringWithFormat("50%", { 1 }), "50%" },
        { stringWithFormat("%y %9", { 1 }), "%y %9" },
        { stringWithFormat("%99999d", { 1 }), "%99999d" },
    };
    for (const auto& [actual, expected] : rows)
        EXPECT_EQ(actual, expected);
}

TEST(NSString, TrimsThePlatformsWhitespaceOnly)
{
    EXPECT_EQ(trimmed(" \t\r\n key with blanks \u00A0\u200B\u2029\u3000\u0085"), "key with blanks");
    EXPECT_EQ(trimmed("\uFEFFkey\x1C"), "\uFEFFkey\x1C");
    EXPECT_EQ(trimmed(" \u2003 "), "");
    EXPECT_EQ(trimmed("\xE2\x80"), "\xE2\x80");
}

TEST(NSString, IgnoresCaseInEveryScript)
{
    EXPECT_EQ(lowercased("ÄDMOB İ"), "ädmob i̇");
    EXPECT_TRUE(equalIgnoringCase("AdMob", "ADMOB"));
    EXPECT_TRUE(equalIgnoringCase("straße", "STRASSE"));
    EXPECT_FALSE(equalIgnoringCase("AdMob", "AdMob2"));
}

TEST(NSString, CountsAndCutsInUTF16)
{
    const std::string text = "a\u00E9\u20AC\U0001F600z";
    EXPECT_EQ(utf16Length(text), 6u);
    EXPECT_EQ(prefixOfUTF16Length(text, 3), "a\u00E9\u20AC");
    EXPECT_EQ(prefixOfUTF16Length(text, 4), "a\u00E9\u20AC") << "half a pair is left out";
    EXPECT_EQ(prefixOfUTF16Length(text, 5), "a\u00E9\u20AC\U0001F600");
    EXPECT_EQ(prefixOfUTF16Length(text, 99), text);
    EXPECT_EQ(utf16Length("\xFF\x80z"), 3u);
}

TEST(NSString, TellsUTF8FromOtherBytes)
{
    for (const char* valid : { "", "plain", "\u00E9\u20AC\U0010FFFF" })
        EXPECT_TRUE(isValidUTF8(valid)) << valid;
    const std::pair<const char*, const char*> rows[]
        = { { "overlong", "\xC0\xAF" }, { "overlong of three", "\xE0\x80\x80" },
              { "surrogate", "\xED\xA0\x80" }, { "beyond the last", "\xF4\x90\x80\x80" },
              { "cut off", "a\xE2\x82" }, { "stray", "\x80" }, { "no such byte", "\xFE" } };
    for (const auto& [name, text] : rows)
        EXPECT_FALSE(isValidUTF8(text)) << name;
    EXPECT_EQ(repairedUTF8("a\xC0z\xE2\x82"), "a\uFFFDz\uFFFD\uFFFD");
}

TEST(NSString, ReadsNumbersAsTheFormatterDoes)
{
    const std::pair<const char*, Value> numbers[] = { { "600", 600 }, { " 600", 600 }, { "600 ", 600 },
        { "90.9", 90.9 }, { "1,000", 1000 }, { "1e3", 1000 }, { "1E3", 1000 }, { "-5", -5 }, { ".5", 0.5 },
        { "0", 0 }, { "007", 7 }, { "1.0", 1 }, { "99999999999999999999", 1e20 } };
    for (const auto& [text, number] : numbers)
        EXPECT_EQ(numberFromText(text), number) << text;
    EXPECT_TRUE(numberFromText("600")->isInteger());
    for (const char* text :
        { "", " ", "12abc", "abc", "0x10", "1 2", "--1", "NaN", "\u221E", "1e999", "single" })
        EXPECT_FALSE(numberFromText(text)) << text;
    EXPECT_FALSE(numberFromText(std::string(100'000, '1')));
}

} // namespace lumora
