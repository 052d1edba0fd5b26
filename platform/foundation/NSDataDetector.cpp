#include "platform/foundation/NSDataDetector.h"

#include <algorithm>
#include <array>

namespace lumora {

namespace {

/// A class of ASCII characters: letters, digits, and the given ones.
class CharacterClass {
public:
    constexpr explicit CharacterClass(std::string_view others)
    {
        for (unsigned c = 0; c < m_members.size(); c++) {
            const unsigned lower = c | 0x20;
            m_members.at(c) = (c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'z' && c < 0x80)
                || others.find(static_cast<char>(c)) != std::string_view::npos;
        }
    }
    constexpr bool has(char c) const { return m_members[static_cast<unsigned char>(c)]; }

private:
    std::array<bool, 256> m_members {};
};

constexpr CharacterClass ofScheme { "+.-" };
constexpr CharacterClass ofName { "_-" };
constexpr CharacterClass beforeNoHost { "_.@-" };
constexpr CharacterClass ofAddress { "-._~:/?#@!$&*+,;=%" };
/// What may be an address's last character.
constexpr CharacterClass endingAddress { "-_~/#@$&*+=%" };

constexpr size_t none = std::string_view::npos;

bool isLetter(char c) { return ofScheme.has(c) && (c | 0x20) >= 'a'; }

/// Where the address ends that goes on at `at`: there, if nothing of it may end one.
size_t endOfAddress(std::string_view text, size_t at)
{
    size_t end = at;
    while (end < text.size() && ofAddress.has(text[end]))
        end++;
    while (end > at && !endingAddress.has(text[end - 1]))
        end--;
    return end;
}

/// A link in the text; `none` where there is no further one.
struct Link {
    size_t begin { 0 };
    size_t end { 0 };
    bool isBare { false };
};
constexpr Link noLink { none, none };

/// The next link with a scheme that begins at `from` or later.
Link nextWithScheme(std::string_view text, size_t from)
{
    constexpr std::string_view separator = "://";
    for (size_t colon = text.find(':', from); colon != none; colon = text.find(':', colon + 1)) {
        if (!text.substr(colon).starts_with(separator))
            continue;
        size_t begin = colon;
        while (begin > from && ofScheme.has(text[begin - 1]))
            begin--;
        while (begin < colon && !isLetter(text[begin]))
            begin++;
        const size_t rest = colon + separator.size();
        if (begin == colon)
            continue;
        if (const size_t end = endOfAddress(text, rest); end > rest)
            return { begin, end };
    }
    return noLink;
}

/// Finds one host where it stands bare.
class BareHost {
public:
    explicit BareHost(std::string_view host)
        : m_host(host)
        , m_dot(std::min(host.find('.'), host.size()))
    {
    }
    /// The next one that begins at `from` or later.
    Link next(std::string_view text, size_t from) const
    {
        if (m_host.empty())
            return noLink;
        // From the dot on: dots are rarer than letters.
        const std::string_view rare = m_dot < m_host.size() ? m_host.substr(m_dot) : m_host;
        const size_t before = m_host.size() - rare.size();
        for (size_t at = text.find(rare, from + before); at != none; at = text.find(rare, at + 1)) {
            const size_t begin = at - before;
            const size_t end = at + rare.size();
            if (text.substr(begin, before) == m_host.substr(0, before)
                && (begin == 0 || !beforeNoHost.has(text[begin - 1])) && !goesOn(text.substr(end)))
                return { begin, endOfRest(text, end), true };
        }
        return noLink;
    }

private:
    /// The host is but the beginning of another.
    static bool goesOn(std::string_view rest)
    {
        if (rest.starts_with('.'))
            rest.remove_prefix(1);
        return !rest.empty() && ofName.has(rest[0]);
    }
    static size_t endOfRest(std::string_view text, size_t end)
    {
        constexpr std::string_view beginning = ":/?#";
        const bool hasRest = end < text.size() && beginning.find(text[end]) != none;
        return hasRest ? endOfAddress(text, end) : end;
    }

    std::string_view m_host;
    size_t m_dot;
};

/// UTF-16 units of UTF-8: one for each character's first byte, two where that begins four.
size_t units(std::string_view text)
{
    uint32_t count = 0; // Twice as fast as 64 bits; no text between two links is that long.
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        count += static_cast<uint32_t>((byte & 0xC0) != 0x80) + static_cast<uint32_t>(byte >= 0xF0);
    }
    return count;
}

} // namespace

std::shared_ptr<const NSDataDetector> NSDataDetector::dataDetectorWithTypes(
    NSTextCheckingTypes types, std::string bareHost)
{
    if ((types & NSTextCheckingTypeLink) == 0)
        return nullptr;
    return std::shared_ptr<const NSDataDetector>(new NSDataDetector(std::move(bareHost)));
}

std::string NSDataDetector::linkPattern(const std::string& bareHost)
{
    // The engine's own class of word characters knows all scripts.
    const std::string name = "A-Za-z0-9_\\-";
    const std::string ending = name + "~/#@$&*+=%";
    const std::string address = "[" + ending + ".:?!,;]*[" + ending + "]";
    std::string pattern = "[A-Za-z][A-Za-z0-9+.\\-]*://" + address;
    if (!bareHost.empty())
        pattern += "|(?<![" + name + ".@])\\Q" + bareHost + "\\E(?!\\.?[" + name + "])(?:(?=[:/?#])" + address
            + ")?";
    return pattern;
}

std::vector<NSRegularExpression::Match> NSDataDetector::search(
    std::string_view text, NSMatchingOptions options, size_t limit) const
{
    std::vector<Match> matches;
    const bool anchored = (options & NSMatchingAnchored) != 0;
    if (anchored)
        limit = std::min<size_t>(limit, 1);
    const BareHost host(m_bareHost);
    Link withScheme = nextWithScheme(text, 0);
    Link bare = host.next(text, 0);
    size_t counted = 0;
    size_t location = 0;
    while (matches.size() < limit) {
        const Link link = withScheme.begin <= bare.begin ? withScheme : bare;
        if (link.begin == none || (anchored && link.begin > 0))
            break;
        Match& match = matches.emplace_back();
        match.text = text.substr(link.begin, link.end - link.begin);
        match.URL = link.isBare ? "http://" + match.text : match.text;
        match.location = location + units(text.substr(counted, link.begin - counted));
        match.length = match.text.size();
        counted = link.end;
        location = match.location + match.length;
        if (withScheme.begin < link.end)
            withScheme = nextWithScheme(text, link.end);
        if (bare.begin < link.end)
            bare = host.next(text, link.end);
    }
    return matches;
}

} // namespace lumora
