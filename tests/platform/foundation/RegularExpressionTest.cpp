#include "platform/foundation/NSRegularExpression.h"

#include <chrono>
#include <gtest/gtest.h>

namespace lumora {

static std::vector<std::string> textsMatching(
    const char* pattern, std::string_view text, bool caseInsensitive = true)
{
    const auto expression = NSRegularExpression::regularExpressionWithPattern(pattern, caseInsensitive);
    std::vector<std::string> texts;
    for (const auto& match : expression->matchesInString(text))
        texts.push_back(match.text);
    return texts;
}

TEST(NSRegularExpression, MatchesLikeTheOriginalEngine)
{
    using Texts = std::vector<std::string>;
    EXPECT_EQ(textsMatching("\\d+", "max-age=600, public 7"), (Texts { "600", "7" }));
    EXPECT_EQ(textsMatching("(?:http:|https:)\\/\\/(?:([\\w\\d-+_.]*))",
                  "see HTTP://a-b+c.de/x and https://m\u00FCnich.de"),
        (Texts { "HTTP://a-b+c.de", "https://m\u00FCnich.de" }));
    EXPECT_EQ(textsMatching("((mailto|tel|sms):[\\w\\d\\/-_.]*)", "tel:+1-800 mailto:a@b.c"),
        (Texts { "tel:", "mailto:a@b.c" }));
    EXPECT_EQ(textsMatching("ab", "AB ab", false), Texts { "ab" });
    EXPECT_EQ(textsMatching("x*", "ay"), (Texts { "", "", "" }));
    EXPECT_TRUE(textsMatching("x", "").empty());
}

TEST(NSRegularExpression, GivesLocationsInUTF16AndNamedGroups)
{
    const auto expression
        = NSRegularExpression::regularExpressionWithPattern("Creative (?<crId>(\\d+))(x)?", true);
    const auto match = expression->firstMatchInString("\U0001F600 <!-- creative 123 -->");
    ASSERT_TRUE(match);
    EXPECT_EQ(match->location, 8u);
    EXPECT_EQ(match->length, 12u);
    const size_t number = expression->groupNumber("crId").value();
    EXPECT_EQ(match->groups.at(number).text, "123");
    EXPECT_EQ(match->groups.at(number).location, 17u);
    EXPECT_FALSE(match->groups.at(3).matched);
    EXPECT_FALSE(expression->groupNumber("other"));
    EXPECT_FALSE(expression->firstMatchInString("none"));
}

TEST(NSRegularExpression, RefusesAPatternThatDoesNotCompile)
{
    for (const char* pattern : { "(", "[a", "(?<n>a)(?<n>b)", "*", "\\" })
        EXPECT_FALSE(NSRegularExpression::regularExpressionWithPattern(pattern, true)) << pattern;
}

TEST(NSRegularExpression, NeitherHangsNorOverflows)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(textsMatching("(a+)+$", std::string(40, 'a') + "!").empty());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    EXPECT_EQ(textsMatching("[^<]+", std::string(200'000, 'x')).front().size(), 200'000u);
    EXPECT_EQ(textsMatching("a",
                  "\xFF"
                  "a")
                  .size(),
        1u);
}

} // namespace lumora
