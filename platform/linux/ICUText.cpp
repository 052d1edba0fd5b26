#include "platform/foundation/NSString.h"

#include <cmath>
#include <unicode/numfmt.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace lumora {

static icu::UnicodeString unicode(std::string_view text)
{
    return icu::UnicodeString::fromUTF8({ text.data(), static_cast<int32_t>(text.size()) });
}

std::string lowercased(std::string_view text)
{
    std::string lower;
    unicode(text).toLower(icu::Locale::getRoot()).toUTF8String(lower);
    return lower;
}

bool equalIgnoringCase(std::string_view a, std::string_view b)
{
    return a == b || unicode(a).caseCompare(unicode(b), U_FOLD_CASE_DEFAULT) == 0;
}

std::u16string utf16FromText(std::string_view text)
{
    const icu::UnicodeString units = unicode(text);
    return { units.getBuffer(), static_cast<size_t>(units.length()) };
}

std::string textFromUTF16BigEndian(std::string_view bytes)
{
    icu::UnicodeString units;
    for (size_t at = 0; at + 1 < bytes.size(); at += 2)
        units += static_cast<char16_t>(
            static_cast<uint8_t>(bytes[at]) << 8 | static_cast<uint8_t>(bytes[at + 1]));
    std::string text;
    units.toUTF8String(text);
    return text;
}

std::optional<Value> numberFromText(std::string_view text)
{
    const std::string digits = trimmed(text);
    // Longer than any number; the formatter's time grows with the length.
    constexpr size_t longestNumber = 400;
    if (digits.empty() || digits.size() > longestNumber)
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::NumberFormat> format(
        icu::NumberFormat::createInstance(icu::Locale::getUS(), UNUM_DECIMAL, status));
    if (U_FAILURE(status))
        return std::nullopt;
    icu::Formattable number;
    icu::ParsePosition position(0);
    const icu::UnicodeString source = unicode(digits);
    format->parse(source, number, position);
    if (position.getIndex() != source.length())
        return std::nullopt;
    if (number.getType() != icu::Formattable::kDouble) {
        const int64_t integer = number.getInt64(status);
        return U_SUCCESS(status) ? std::optional<Value>(integer) : std::nullopt;
    }
    const double value = number.getDouble();
    return std::isfinite(value) ? std::optional<Value>(value) : std::nullopt;
}

} // namespace lumora
