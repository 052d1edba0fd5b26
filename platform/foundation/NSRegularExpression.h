#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// A part of a text, in UTF-16 units.
struct NSRange {
    size_t location { 0 };
    size_t length { 0 };
};

/// How a text is matched. The other options of the original concern parts of a text, or matches that are
/// given out one by one.
using NSMatchingOptions = uint64_t;
/// Only a match at the very beginning counts.
inline constexpr NSMatchingOptions NSMatchingAnchored = 1 << 2;

/// A compiled pattern of the platform's engine. Immutable, shared by whoever uses it, any thread. A search
/// gives up after about two seconds and answers what it found until then. A detector of another kind is a
/// subclass with a search of its own.
class NSRegularExpression {
public:
    /// Locations and lengths are UTF-16 units of the searched text; the text itself is UTF-8.
    struct Group {
        size_t location { 0 };
        size_t length { 0 };
        std::string text;
        /// False for a group that took no part in the match.
        bool matched { false };
    };
    struct Match {
        size_t location { 0 };
        size_t length { 0 };
        std::string text;
        /// By number; 0 is the whole match.
        std::vector<Group> groups;
        /// Where a link leads that a detector has found; empty in other matches.
        std::string URL;
    };

    /// Null when the pattern does not compile.
    static std::shared_ptr<const NSRegularExpression> regularExpressionWithPattern(
        std::string_view pattern, bool caseInsensitive);
    /// The bytes of the character a text begins with when `\w` matches it; 0 for another and for none.
    static size_t lengthOfWordCharacter(std::string_view text);

    virtual ~NSRegularExpression() = default;
    NSRegularExpression(const NSRegularExpression&) = delete;
    NSRegularExpression& operator=(const NSRegularExpression&) = delete;

    std::optional<Match> firstMatchInString(std::string_view text) const;
    std::vector<Match> matchesInString(std::string_view text, NSMatchingOptions options = 0) const;
    /// The number of a named group.
    std::optional<size_t> groupNumber(std::string_view name) const;

protected:
    NSRegularExpression() = default;
    /// At most that many matches, in the order of the text. May raise.
    virtual std::vector<Match> search(std::string_view text, NSMatchingOptions options, size_t limit) const;

private:
    struct Pattern;

    std::shared_ptr<const Pattern> m_pattern;
};

} // namespace lumora
