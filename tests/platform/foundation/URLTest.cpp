#include "platform/foundation/NSURL.h"

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
    struct Row {
        const char* text;
        const char* scheme;
        const char* host;
        int port;
        const char* path;
        const char* query;
        const char* resourceSpecifier;
    };
    const Row rows[] = {
        { "mailto:a@b.c", "mailto", "", 0, "", "", "a@b.c" },
        { "about:blank", "about", "", 0, "", "", "blank" },
        { "itms-apps://h/p?q#f", "itms-apps", "h", 0, "/p", "q", "//h/p?q#f" },
        { "https://u:p@h.example:8443/a/b?x=1:2", "https", "h.example", 8443, "/a/b", "x=1:2",
            "//u:p@h.example:8443/a/b?x=1:2" },
        { "http://[::1]:80", "http", "::1", 80, "", "", "//[::1]:80" },
        { "a/b:c?d", "", "", 0, "a/b:c", "d", "a/b:c?d" },
        { "", "", "", 0, "", "", "" },
    };
    for (const Row& row : rows) {
        const auto parts = parseURL(row.text);
        ASSERT_TRUE(parts) << row.text;
        EXPECT_EQ(parts->scheme, row.scheme) << row.text;
        EXPECT_EQ(parts->host, row.host) << row.text;
        EXPECT_EQ(parts->port.value_or(0), row.port) << row.text;
        EXPECT_EQ(parts->path, row.path) << row.text;
        EXPECT_EQ(parts->query, row.query) << row.text;
        EXPECT_EQ(parts->resourceSpecifier, row.resourceSpecifier) << row.text;
    }
    EXPECT_FALSE(parseURL("tel:+1 800"));
}

} // namespace lumora
