#include "support/NSStringExtensions.h"

#include "platform/foundation/NSRegularExpression.h"
#include "platform/foundation/NSString.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace lumora {
namespace {

using Texts = std::vector<std::string>;

/// The engine itself, which says what is a link.
Texts linksByEngine(std::string_view text)
{
    static const auto& expression
        = *new std::shared_ptr(NSRegularExpression::regularExpressionWithPattern(linkPattern, true));
    Texts links;
    for (const auto& match : expression->matchesInString(text))
        links.push_back(match.text);
    return links;
}

Texts links(std::string_view text)
{
    const auto found = linksInText(text);
    return { found.begin(), found.end() };
}

std::string textOf(char32_t c)
{
    std::string units;
    auto add = [&](char32_t unit) {
        units += { static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF) };
    };
    if (c > 0xFFFF)
        add(0xD800 + ((c - 0x10000) >> 10));
    add(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c);
    return textFromUTF16BigEndian(units);
}

TEST(NSStringExtensions, GivesLinksAsTheyAreReported)
{
    struct Row {
        const char* name;
        const char* text;
        std::optional<Texts> urls;
    };
    const Row rows[] {
        { "web and mail", "see https://a.example/path or mailto:me@a.example!",
            Texts { "a.example", "mailto:me@a.example" } },
        { "a script loses its colon", "<a href='JavaScript:void(0)'>", Texts { "JavaScript" } },
        { "nothing, not empty", "no link: here, http:/ neither", std::nullopt },
        { "a scheme in capitals stays", "HTTP://a.example", Texts { "HTTP://a.example" } },
        { "an empty host stays", "http:// https:///x", Texts { "", "" } },
        { "repeated", "tel:1 tel:1", Texts { "tel:1", "tel:1" } },
        { "the scheme may stand anywhere", "mailto:http://x tel:https://yz", Texts { "http://x", "s://yz" } },
        { "one after the other", "mailto:http://https://x", Texts { "ttps://x" } },
        { "a pair is two of seven", "sms:a\U0001D400http://x", Texts { "http://x" } },
        { "half of a pair is left", "tel:\U0001D400\U0001D400http://x", Texts { "\uFFFDhttp://x" } },
        { "a colon at the end", "sms:12:", Texts { "sms:12" } },
    };
    for (const Row& row : rows)
        EXPECT_EQ(getAllURLs(row.text), row.urls) << row.name;
}

TEST(NSStringExtensions, FindsWhatTheEngineFindsInEveryCharacter)
{
    constexpr char32_t block = 0x400;
    std::string text;
    // Planes 4 to 13 are empty, and the last two private.
    for (char32_t c = 1; c < 0xE0400; c = c == 0x3FFFF ? 0xE0000 : c + 1) {
        text += "data:" + textOf(c) + " ";
        if (c < block)
            text += "tel:" + textOf(c) + " http://" + textOf(c) + " ";
        if (c % block == block - 1) {
            ASSERT_EQ(links(text), linksByEngine(text)) << "up to " << static_cast<uint32_t>(c);
            text.clear();
        }
    }
}

TEST(NSStringExtensions, FindsWhatTheEngineFindsInOddTexts)
{
    const Texts pieces { "http", "https", "HTTP", "ht\u0301tp", "java", "script", "javascript", "data",
        "mailto", "tel", "sms", "\u017F", "s", "S", "m", "\u212A", "\u0130", "\u00DF", "\uFB06", ":", ":",
        ":", "//", "/", "\\", "-", "+", ".", "@", "_", "^", "`", " ", "<", "a", "\u00FC", "e\u0301", "\u200D",
        "\u0663", "\u4E2D", "\U0001D400", "\U0001F600", "\xC5", "\xBF", "\xED\xA0\x80", "\xF0\x9D\x90",
        "\xC0\xBA", "\xFF", std::string(1, '\0') };
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; round++) {
        std::string text;
        for (auto count = random() % 24; count > 0; count--)
            text += pieces[random() % pieces.size()];
        ASSERT_EQ(links(text), linksByEngine(text)) << "round " << round << ": " << text;
    }
}

// A folder of texts that nobody here wrote, when there is one: LUMORA_SAMPLES=folder.
TEST(NSStringExtensions, FindsWhatTheEngineFindsInTheSamples)
{
    const char* folder = std::getenv("LUMORA_SAMPLES");
    if (!folder)
        GTEST_SKIP() << "LUMORA_SAMPLES is not set";
    size_t files = 0;
    size_t found = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file())
            continue;
        std::stringstream text;
        text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        const Texts ours = links(text.view());
        EXPECT_EQ(ours, linksByEngine(text.view())) << entry.path();
        files++;
        found += ours.size();
    }
    std::cout << found << " links in " << files << " files\n";
    EXPECT_GT(files, 0U);
}

} // namespace
} // namespace lumora
