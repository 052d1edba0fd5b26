#include "platform/foundation/NSDataDetector.h"

#include <gtest/gtest.h>
#include <random>

namespace lumora {
namespace {

constexpr const char* host = "apps.example.com";

std::vector<NSRegularExpression::Match> linksIn(std::string_view text)
{
    return NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, host)->matchesInString(text);
}

TEST(NSDataDetector, GivesTheURLsOfLinks)
{
    using URLs = std::vector<std::string>;
    const std::pair<const char*, URLs> rows[] {
        { R"(<a href="itms-apps://apps.example.com/app/id1?l=de&amp;m=1">)",
            URLs { "itms-apps://apps.example.com/app/id1?l=de&amp;m=1" } },
        { "open('https://a.example/x'), url(http://b.example).",
            URLs { "https://a.example/x", "http://b.example" } },
        { "See apps.example.com/app/id2, or //apps.example.com.",
            URLs { "http://apps.example.com/app/id2", "http://apps.example.com" } },
        { "my.apps.example.com apps.example.com.evil me@apps.example.com xapps.example.com", {} },
        { "width:320px; a://, 9://x :// http:/x", {} },
    };
    for (const auto& [text, expected] : rows) {
        URLs urls;
        for (const auto& match : linksIn(text))
            urls.push_back(match.URL);
        EXPECT_EQ(urls, expected) << text;
    }
    EXPECT_FALSE(NSDataDetector::dataDetectorWithTypes(16, host));
    EXPECT_FALSE(NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, "")->firstMatchInString(host));
}

TEST(NSDataDetector, FindsWhatTheEngineFindsInOddTexts)
{
    const auto engine
        = NSRegularExpression::regularExpressionWithPattern(NSDataDetector::linkPattern(host), false);
    const std::string pieces[] { "http", "itms-apps", "A", "9", "a", ":", "://", "://", "//", "/", ".", ",",
        "-", "+", "_", "@", "?x=1", "#", "%2F", "&amp;", ";", "'", "\"", "(", ")", "[", " ", "\n", "\u00FC",
        "\U0001F600", host, host, "apps.", "example.com", "~", "!", "*" };
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; round++) {
        std::string text;
        for (auto count = random() % 24; count > 0; count--)
            text += pieces[random() % std::size(pieces)];
        const auto expected = engine->matchesInString(text);
        const auto found = linksIn(text);
        ASSERT_EQ(found.size(), expected.size()) << text;
        for (size_t i = 0; i < found.size(); i++) {
            ASSERT_EQ(found[i].text, expected[i].text) << text;
            ASSERT_EQ(found[i].location, expected[i].location) << text;
        }
    }
}

} // namespace
} // namespace lumora
