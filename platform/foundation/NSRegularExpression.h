#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// A compiled pattern of the platform's engine. Immutable, cheap to copy, any thread. A search gives up after
/// about two seconds and answers what it found until then.
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
    };

    /// Nothing when the pattern does not compile.
    static std::optional<NSRegularExpression> regularExpressionWithPattern(
        std::string_view pattern, bool caseInsensitive);

    std::optional<Match> firstMatchInString(std::string_view text) const;
    std::vector<Match> matchesInString(std::string_view text) const;
    /// The number of a named group.
    std::optional<size_t> groupNumber(std::string_view name) const;

private:
    struct Pattern;
    explicit NSRegularExpression(std::shared_ptr<const Pattern> pattern)
        : m_pattern(std::move(pattern))
    {
    }
    std::vector<Match> search(std::string_view text, size_t limit) const;

    std::shared_ptr<const Pattern> m_pattern;
};

}
