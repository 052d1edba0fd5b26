#include "support/NSStringExtensions.h"

#include "platform/foundation/NSRegularExpression.h"
#include "platform/foundation/NSString.h"
#include "platform/security/CommonDigest.h"

#include <array>

namespace lumora {

namespace {

/// A class of characters: `\w` and some of ASCII.
class CharacterClass {
public:
    constexpr CharacterClass(std::string_view others, char first = '0', char last = '9')
    {
        add('0', '9');
        add('A', 'Z');
        add('a', 'z');
        add('_', '_');
        add(first, last);
        for (const char c : others)
            add(c, c);
    }

    /// Where the run of such characters ends that begins at `at`. A byte that is not UTF-8 ends it.
    size_t endOfRun(std::string_view text, size_t at) const
    {
        while (at < text.size()) {
            const auto byte = static_cast<unsigned char>(text[at]);
            const bool isASCII = byte < m_ascii.size();
            const size_t length
                = isASCII ? m_ascii[byte] : NSRegularExpression::lengthOfWordCharacter(text.substr(at));
            if (length == 0)
                break;
            at += length;
        }
        return at;
    }

private:
    constexpr void add(char first, char last)
    {
        for (char c = first; c <= last; c++)
            m_ascii.at(static_cast<size_t>(c)) = true;
    }
    std::array<bool, 128> m_ascii {};
};

struct Scheme {
    std::string_view name;
    /// What must follow the colon, and what may follow that.
    std::string_view required;
    const CharacterClass* rest;
};
constexpr CharacterClass ofHost { "+-." };
constexpr CharacterClass ofMediaType { "/" };
constexpr CharacterClass ofAddress { ".", '/', '_' };
// No name is the end of another one: at a colon at most one can stand.
constexpr std::array schemes { Scheme { "http", "//", &ofHost }, Scheme { "https", "//", &ofHost },
    Scheme { "javascript", "", nullptr }, Scheme { "data", "", &ofMediaType },
    Scheme { "mailto", "", &ofAddress }, Scheme { "tel", "", &ofAddress }, Scheme { "sms", "", &ofAddress } };

constexpr size_t none = std::string_view::npos;

/// Where a scheme's name in any case begins that ends at `end` and begins at `begin` or later.
size_t beginOfName(std::string_view name, std::string_view text, size_t begin, size_t end)
{
    constexpr std::string_view longS = "\u017F";
    while (!name.empty()) {
        const char letter = name.back();
        if (end > begin && (static_cast<unsigned char>(text[end - 1]) | 0x20) == letter)
            end--;
        else if (letter == 's' && text.substr(begin, end - begin).ends_with(longS))
            end -= longS.size();
        else
            return none;
        name.remove_suffix(1);
    }
    return end;
}

/// The link whose scheme ends with the colon there and that begins at `begin` or later; empty for none.
std::string_view linkAtColon(std::string_view text, size_t begin, size_t colon)
{
    if (colon == begin)
        return {};
    // Its last byte alone rules most names out; that of the long s none.
    const auto last = static_cast<char>(text[colon - 1] | 0x20);
    for (const Scheme& scheme : schemes) {
        if (last != scheme.name.back() && last != '\xBF')
            continue;
        const size_t start = beginOfName(scheme.name, text, begin, colon);
        if (start == none)
            continue;
        size_t end = colon + 1;
        if (!text.substr(end).starts_with(scheme.required))
            break;
        end += scheme.required.size();
        if (scheme.rest)
            end = scheme.rest->endOfRun(text, end);
        return text.substr(start, end - start);
    }
    return {};
}

/// The text without that many UTF-16 units at its beginning; half a pair that is left is U+FFFD.
std::string withoutFirst(size_t units, std::string_view text)
{
    const std::string first = prefixOfUTF16Length(text, units);
    if (utf16Length(first) == units)
        return std::string { text.substr(first.size()) };
    constexpr size_t pair = 4;
    return "\uFFFD" + std::string { text.substr(first.size() + pair) };
}

std::string withoutScheme(std::string_view link)
{
    std::string url { link };
    // Kept: the scheme may stand anywhere for the beginning to go, and one in capitals stays.
    for (const std::string_view scheme : { "http://", "https://" }) {
        if (url.starts_with(scheme))
            url.erase(0, scheme.size());
        else if (url.find(scheme) != none)
            url = withoutFirst(scheme.size(), url);
    }
    if (url.ends_with(':'))
        url.pop_back();
    return url;
}

} // namespace

std::vector<std::string_view> linksInText(std::string_view text)
{
    std::vector<std::string_view> links;
    size_t begin = 0;
    for (size_t at = text.find(':'); at != none; at = text.find(':', at)) {
        const std::string_view link = linkAtColon(text, begin, at);
        at++;
        if (link.empty())
            continue;
        links.push_back(link);
        begin = at = static_cast<size_t>(link.data() - text.data()) + link.size();
    }
    return links;
}

std::optional<std::vector<std::string>> getAllURLs(std::string_view text)
{
    // No link can lie outside of its text, and no pattern is compiled that could fail: nothing to skip.
    std::vector<std::string> urls;
    for (const std::string_view link : linksInText(text))
        urls.push_back(withoutScheme(link));
    return urls.empty() ? std::nullopt : std::optional(std::move(urls));
}

std::optional<std::string> md5(std::string_view text)
{
    std::array<unsigned char, CC_MD5_DIGEST_LENGTH> digest {};
    if (!CC_MD5(text.data(), text.size(), digest.data()))
        return std::nullopt;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (const unsigned char byte : digest)
        hex.append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    return hex;
}

} // namespace lumora
