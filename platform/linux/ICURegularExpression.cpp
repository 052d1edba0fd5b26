#include "platform/foundation/NSRegularExpression.h"

#include <chrono>
#include <limits>
#include <unicode/regex.h>

namespace lumora {

namespace {

// In the engine's own steps of about a millisecond each, and for all matches of one search together.
constexpr int32_t longestMatch = 2000;
constexpr std::chrono::seconds longestSearch { 2 };

icu::UnicodeString unicode(std::string_view text)
{
    return icu::UnicodeString::fromUTF8({ text.data(), static_cast<int32_t>(text.size()) });
}

} // namespace

struct NSRegularExpression::Pattern {
    std::unique_ptr<icu::RegexPattern> compiled;
};

std::optional<NSRegularExpression> NSRegularExpression::regularExpressionWithPattern(
    std::string_view pattern, bool caseInsensitive)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    auto made = std::make_shared<Pattern>();
    made->compiled.reset(icu::RegexPattern::compile(
        unicode(pattern), caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, where, status));
    if (U_FAILURE(status) || !made->compiled)
        return std::nullopt;
    return NSRegularExpression { std::move(made) };
}

std::vector<NSRegularExpression::Match> NSRegularExpression::search(std::string_view text, size_t limit) const
{
    std::vector<Match> matches;
    if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        return matches;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString source = unicode(text);
    const std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->compiled->matcher(source, status));
    if (U_FAILURE(status))
        return matches;
    matcher->setTimeLimit(longestMatch, status);
    const auto end = std::chrono::steady_clock::now() + longestSearch;
    while (matches.size() < limit && matcher->find(status) && std::chrono::steady_clock::now() < end) {
        Match match;
        for (int32_t number = 0; number <= matcher->groupCount(); number++) {
            Group& group = match.groups.emplace_back();
            const int32_t start = matcher->start(number, status);
            if (U_FAILURE(status) || start < 0)
                continue;
            group.matched = true;
            group.location = static_cast<size_t>(start);
            group.length = static_cast<size_t>(matcher->end(number, status) - start);
            source.tempSubStringBetween(start, start + static_cast<int32_t>(group.length))
                .toUTF8String(group.text);
        }
        match.location = match.groups.front().location;
        match.length = match.groups.front().length;
        match.text = match.groups.front().text;
        matches.push_back(std::move(match));
    }
    return matches;
}

std::optional<NSRegularExpression::Match> NSRegularExpression::firstMatchInString(std::string_view text) const
{
    std::vector<Match> matches = search(text, 1);
    return matches.empty() ? std::nullopt : std::optional(std::move(matches.front()));
}

std::vector<NSRegularExpression::Match> NSRegularExpression::matchesInString(std::string_view text) const
{
    return search(text, std::numeric_limits<size_t>::max());
}

std::optional<size_t> NSRegularExpression::groupNumber(std::string_view name) const
{
    UErrorCode status = U_ZERO_ERROR;
    const int32_t number = m_pattern->compiled->groupNumberFromName(unicode(name), status);
    return U_SUCCESS(status) ? std::optional(static_cast<size_t>(number)) : std::nullopt;
}

} // namespace lumora
