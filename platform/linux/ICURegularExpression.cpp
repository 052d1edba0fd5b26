#include "platform/foundation/NSRegularExpression.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

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

std::shared_ptr<const NSRegularExpression> NSRegularExpression::regularExpressionWithPattern(
    std::string_view pattern, bool caseInsensitive)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    auto made = std::make_shared<Pattern>();
    made->compiled.reset(icu::RegexPattern::compile(
        unicode(pattern), caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, where, status));
    if (U_FAILURE(status) || !made->compiled)
        return nullptr;
    const std::shared_ptr<NSRegularExpression> expression(new NSRegularExpression);
    expression->m_pattern = std::move(made);
    return expression;
}

size_t NSRegularExpression::lengthOfWordCharacter(std::string_view text)
{
    const auto size = static_cast<int32_t>(std::min<size_t>(text.size(), U8_MAX_LENGTH));
    int32_t length = 0;
    UChar32 c = U_SENTINEL;
    if (size > 0)
        U8_NEXT(text.data(), length, size, c);
    constexpr uint32_t others = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
    const bool isJoiner = c == 0x200C || c == 0x200D;
    const bool isWord = c >= 0 && (u_isUAlphabetic(c) || isJoiner || (U_MASK(u_charType(c)) & others) != 0);
    return isWord ? static_cast<size_t>(length) : 0;
}

std::vector<NSRegularExpression::Match> NSRegularExpression::search(
    std::string_view text, NSMatchingOptions options, size_t limit) const
{
    std::vector<Match> matches;
    if (!m_pattern || text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        return matches;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString source = unicode(text);
    const std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->compiled->matcher(source, status));
    if (U_FAILURE(status))
        return matches;
    matcher->setTimeLimit(longestMatch, status);
    const auto end = std::chrono::steady_clock::now() + longestSearch;
    const bool anchored = (options & NSMatchingAnchored) != 0;
    if (anchored)
        limit = std::min<size_t>(limit, 1);
    auto next = [&] { return anchored ? matcher->lookingAt(status) != 0 : matcher->find(status) != 0; };
    bool inTime = true;
    while (inTime && matches.size() < limit && next()) {
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
        inTime = std::chrono::steady_clock::now() < end;
    }
    return matches;
}

std::optional<NSRegularExpression::Match> NSRegularExpression::firstMatchInString(std::string_view text) const
{
    std::vector<Match> matches = search(text, 0, 1);
    return matches.empty() ? std::nullopt : std::optional(std::move(matches.front()));
}

std::vector<NSRegularExpression::Match> NSRegularExpression::matchesInString(
    std::string_view text, NSMatchingOptions options) const
{
    return search(text, options, std::numeric_limits<size_t>::max());
}

std::optional<size_t> NSRegularExpression::groupNumber(std::string_view name) const
{
    if (!m_pattern)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t number = m_pattern->compiled->groupNumberFromName(unicode(name), status);
    return U_SUCCESS(status) ? std::optional(static_cast<size_t>(number)) : std::nullopt;
}

} // namespace lumora
