#include "platform/foundation/NSURL.h"

#include <algorithm>
#include <charconv>

namespace lumora {

namespace {

// By value, not by locale.
bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHexDigit(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool mayStandInURL(char c)
{
    constexpr std::string_view refused = "\"<>\\^`{|}";
    return c > ' ' && c < 0x7F && refused.find(c) == std::string_view::npos;
}

/// Where the scheme's colon stands; nothing when the text is relative.
std::optional<size_t> schemeEnd(std::string_view text)
{
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isAlpha(text[0]))
        return std::nullopt;
    const std::string_view scheme = text.substr(0, colon);
    const bool isScheme = std::all_of(scheme.begin(), scheme.end(),
        [](char c) { return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.'; });
    return isScheme ? std::optional(colon) : std::nullopt;
}

void readAuthority(std::string_view authority, URLParts& parts)
{
    if (const size_t at = authority.rfind('@'); at != std::string_view::npos)
        authority.remove_prefix(at + 1);
    // The colons inside an IPv6 address are no port's.
    const size_t bracket = authority.rfind(']');
    const size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
    std::string_view host = authority.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2);
    parts.host = host;
    if (colon == std::string_view::npos)
        return;
    const std::string_view digits = authority.substr(colon + 1);
    int port = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (read.ec == std::errc {} && read.ptr == digits.data() + digits.size() && port >= 0)
        parts.port = port;
}

} // namespace

bool isValidURL(std::string_view text)
{
    for (size_t at = 0; at < text.size(); at++) {
        if (!mayStandInURL(text[at]))
            return false;
        if (text[at] == '%'
            && (text.size() - at < 3 || !isHexDigit(text[at + 1]) || !isHexDigit(text[at + 2])))
            return false;
    }
    return std::count(text.begin(), text.end(), '#') < 2;
}

std::optional<URLParts> parseURL(std::string_view text)
{
    if (!isValidURL(text))
        return std::nullopt;
    URLParts parts;
    if (const auto colon = schemeEnd(text)) {
        parts.scheme = text.substr(0, *colon);
        text.remove_prefix(*colon + 1);
    }
    parts.resourceSpecifier = text;
    // "mailto:a@b.c" is opaque: no host, and nothing but its resource specifier.
    if (!parts.scheme.empty() && !text.starts_with('/'))
        return parts;

    std::string_view rest = text.substr(0, text.find('#'));
    if (const size_t mark = rest.find('?'); mark != std::string_view::npos) {
        parts.query = rest.substr(mark + 1);
        rest = rest.substr(0, mark);
    }
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const size_t slash = std::min(rest.find('/'), rest.size());
        readAuthority(rest.substr(0, slash), parts);
        rest.remove_prefix(slash);
    }
    parts.path = rest;
    return parts;
}

} // namespace lumora
