#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumora {

/// The parts of a URL as they stand in its text, nothing decoded. An absent part is empty.
struct URLParts {
    std::string scheme;
    std::string host;
    /// Nothing when the text names none.
    std::optional<int> port;
    std::string path;
    std::string query;
    /// What follows the scheme's colon, fragment included; the whole text when there is no scheme.
    std::string resourceSpecifier;
};

/// False for what the platform makes no URL of: blanks, raw non-ASCII, control characters, `"<>\^{|}` and the
/// backtick, a percent sign without two hexadecimal digits, a second `#`. A relative text is a URL without a
/// scheme. Any thread.
bool isValidURL(std::string_view text);
/// Nothing for what is no URL.
std::optional<URLParts> parseURL(std::string_view text);

} // namespace lumora
