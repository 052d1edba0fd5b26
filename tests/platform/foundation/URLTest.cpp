#include "platform/foundation/NSURL.h"

#include <array>
#include <gtest/gtest.h>

namespace lumora {

TEST(NSURL, RefusesWhatThePlatformMakesNoURLOf)
{
    for (const char* text : { "https://h/a b", "https://h/%zz", "https://h/%4", "https://h/{x}",
             "https://h/a|b", "https://h/<a>", "https://m\u00FCnich.de/", "https://h/\"", "https://h/a\\b",
             "https://h/#a#b", "https://h/\n", " https://h" })
        EXPECT_FALSE(isValidURL(text)) << text;
    for (const char* text : { "https://h/%20?a=%C3%A9&b=[1]#f", "relative/path?q", "mailto:a@b.c",
             "about:blank", "//h/p", "https://h/sdk/config?platform_version=13.3&sdk_version=2.1.0" })
        EXPECT_TRUE(isValidURL(text)) << text;
}

TEST(NSURL, TakesTextApart)
{
    // Scheme, host, port, path, query and resource specifier.
    const std::pair<const char*, std::array<const char*, 6>> rows[] = {
        { "mailto:a@b.c", { "mailto", "", "0", "", "", "a@b.c" } },
        { "about:blank", { "about", "", "0", "", "", "blank" } },
        { "itms-apps://h/p?q#f", { "itms-apps", "h", "0", "/p", "q", "//h/p?q#f" } },
        { "https://u:p@h.example:8443/a/b?x=1:2",
            { "https", "h.example", "8443", "/a/b", "x=1:2", "//u:p@h.example:8443/a/b?x=1:2" } },
        { "http://[::1]:80", { "http", "::1", "80", "", "", "//[::1]:80" } },
        { "a/b:c?d", { "", "", "0", "a/b:c", "d", "a/b:c?d" } },
        { "", { "", "", "0", "", "", "" } },
    };
    for (const auto& [text, expected] : rows) {
        const auto parts = parseURL(text);
        ASSERT_TRUE(parts) << text;
        const std::vector<std::string> found { parts->scheme, parts->host,
            std::to_string(parts->port.value_or(0)), parts->path, parts->query, parts->resourceSpecifier };
        EXPECT_EQ(found, (std::vector<std::string> { expected.begin(), expected.end() })) << text;
    }
    EXPECT_FALSE(parseURL("tel:+1 800"));
}

} // namespace lumora
