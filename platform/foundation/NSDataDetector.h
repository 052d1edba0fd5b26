#pragma once

#include "platform/foundation/NSRegularExpression.h"

namespace lumora {

/// What a detector looks for: a set of bits.
using NSTextCheckingTypes = uint64_t;
inline constexpr NSTextCheckingTypes NSTextCheckingTypeLink = 32;

/// Finds the links of a text in one pass: addresses with a scheme and "://", and one host that counts also
/// where it stands bare, with what follows it. An address ends before white space, quotes, brackets and all
/// that is not ASCII, and leaves out the full stops, commas and the like at its end. A match's text is the
/// link as it stands there, its URL the same with "http://" before a bare host; there are no groups. Such a
/// URL may still be one that the platform makes no URL of. Immutable; any thread.
class NSDataDetector final : public NSRegularExpression {
public:
    /// Null when the types name no links: others are not looked for. The bare host is found in lower case, as
    /// given; with an empty one no bare host counts.
    static std::shared_ptr<const NSDataDetector> dataDetectorWithTypes(
        NSTextCheckingTypes types, std::string bareHost);
    /// What is a link, for an engine that minds the case: the definition, and the slow way.
    static std::string linkPattern(const std::string& bareHost);

protected:
    std::vector<Match> search(std::string_view text, NSMatchingOptions options, size_t limit) const override;

private:
    explicit NSDataDetector(std::string bareHost)
        : m_bareHost(std::move(bareHost))
    {
    }
    std::string m_bareHost;
};

} // namespace lumora
