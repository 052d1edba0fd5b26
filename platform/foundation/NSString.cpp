#include "platform/foundation/NSString.h"

#include <algorithm>
#include <cstdio>

namespace lumora {

namespace {

struct CodePoint {
    char32_t value { 0 };
    /// Bytes it takes; 1 for a byte that is not UTF-8.
    size_t length { 1 };
    bool isValid { false };
};

CodePoint codePointAt(std::string_view text, size_t at)
{
    const auto byte = [&](size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(at);
    if (first < 0x80)
        return { first, 1, true };
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() - at < length)
        return {};
    char32_t value = first & (0xFFu >> (length + 1));
    for (size_t index = at + 1; index < at + length; index++) {
        if ((byte(index) & 0xC0) != 0x80)
            return {};
        value = value << 6 | (byte(index) & 0x3F);
    }
    const bool isOverlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    if (isOverlong || isSurrogate || value > 0x10FFFF)
        return {};
    return { value, length, true };
}

// The platform's set, which is neither Unicode's nor C's: U+200B is in it, U+FEFF and U+001C to U+001F are
// not.
bool isWhitespaceOrNewline(char32_t c)
{
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680
        || (c >= 0x2000 && c <= 0x200B) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F
        || c == 0x3000;
}

void appendUTF8(std::string& text, char32_t c)
{
    if (c < 0x80) {
        text += static_cast<char>(c);
    } else if (c < 0x800) {
        text += static_cast<char>(0xC0 | c >> 6);
        text += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        if (c < 0x10000) {
            text += static_cast<char>(0xE0 | c >> 12);
        } else {
            text += static_cast<char>(0xF0 | c >> 18);
            text += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        }
        text += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (c & 0x3F));
    }
}

/// One "%...": its flags, width and precision as they stand, and what it converts.
struct Conversion {
    std::string options;
    bool isLong { false };
    char type { 0 };
    /// Where the text goes on.
    size_t end { 0 };
};

Conversion conversionAt(std::string_view format, size_t percent)
{
    Conversion conversion;
    size_t at = percent + 1;
    auto take = [&](std::string_view characters, size_t atMost) {
        for (; atMost > 0 && at < format.size() && characters.find(format[at]) != std::string_view::npos;
             atMost--)
            conversion.options += format[at++];
    };
    take("#+- 0", 5);
    // Three digits: a wider field would only ask for memory.
    take("0123456789", 3);
    take(".", 1);
    if (conversion.options.ends_with('.'))
        take("0123456789", 3);
    for (; at < format.size() && std::string_view { "hlqz" }.find(format[at]) != std::string_view::npos; at++)
        conversion.isLong |= format[at] != 'h';
    if (at < format.size()) {
        conversion.type = format[at];
        conversion.end = at + 1;
    }
    return conversion;
}

template <typename T> std::string printed(const std::string& options, const char* length, char type, T value)
{
    const std::string format = "%" + options + length + type;
    const int size = std::snprintf(nullptr, 0, format.c_str(), value);
    if (size < 0)
        return {};
    std::string text(static_cast<size_t>(size) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    text.pop_back();
    return text;
}

/// The text of one argument; nothing for a conversion that is unknown.
std::optional<std::string> converted(const Conversion& conversion, const Value& argument)
{
    const int64_t integer = argument.integerValue();
    switch (conversion.type) {
    case '@':
    case 's':
        return conversion.options.empty()
            ? argument.description()
            : printed(conversion.options, "", 's', argument.description().c_str());
    case 'd':
    case 'i':
        return printed(conversion.options, "ll", 'd',
            static_cast<long long>(conversion.isLong ? integer : static_cast<int32_t>(integer)));
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        return printed(conversion.options, "ll", conversion.type,
            static_cast<unsigned long long>(conversion.isLong ? integer : static_cast<uint32_t>(integer)));
    case 'f':
    case 'e':
    case 'g':
        return printed(conversion.options, "", conversion.type, argument.doubleValue());
    case 'c': {
        std::string text;
        if (argument.string())
            text = prefixOfUTF16Length(*argument.string(), 1);
        else if (integer > 0 && integer <= 0x10FFFF)
            appendUTF8(text, static_cast<char32_t>(integer));
        return text;
    }
    default:
        return std::nullopt;
    }
}

} // namespace

std::string stringWithFormat(std::string_view format, std::initializer_list<Value> arguments)
{
    std::string text;
    const Value* next = arguments.begin();
    for (size_t at = 0; at < format.size();) {
        const size_t percent = std::min(format.find('%', at), format.size());
        text += format.substr(at, percent - at);
        if (percent == format.size())
            break;
        const Conversion conversion = conversionAt(format, percent);
        at = percent + 1;
        if (conversion.type == '%') {
            text += '%';
            at = conversion.end;
            continue;
        }
        static const Value missing;
        if (auto argument = converted(conversion, next == arguments.end() ? missing : *next)) {
            text += *argument;
            at = conversion.end;
            if (next != arguments.end())
                next++;
        } else {
            text += '%';
        }
    }
    return text;
}

std::string trimmed(std::string_view text)
{
    size_t begin = 0;
    size_t end = 0;
    bool isLeading = true;
    for (size_t at = 0; at < text.size();) {
        const CodePoint c = codePointAt(text, at);
        at += c.length;
        if (c.isValid && isWhitespaceOrNewline(c.value)) {
            if (isLeading)
                begin = at;
        } else {
            isLeading = false;
            end = at;
        }
    }
    return std::string { text.substr(begin, isLeading ? 0 : end - begin) };
}

bool isValidUTF8(std::string_view text)
{
    for (size_t at = 0; at < text.size();) {
        const CodePoint c = codePointAt(text, at);
        if (!c.isValid)
            return false;
        at += c.length;
    }
    return true;
}

std::string repairedUTF8(std::string_view text)
{
    std::string repaired;
    for (size_t at = 0; at < text.size();) {
        const CodePoint c = codePointAt(text, at);
        if (c.isValid)
            repaired += text.substr(at, c.length);
        else
            appendUTF8(repaired, 0xFFFD);
        at += c.length;
    }
    return repaired;
}

static size_t utf16Units(const CodePoint& c) { return c.value > 0xFFFF ? 2 : 1; }

size_t utf16Length(std::string_view text)
{
    size_t units = 0;
    for (size_t at = 0; at < text.size();) {
        const CodePoint c = codePointAt(text, at);
        units += utf16Units(c);
        at += c.length;
    }
    return units;
}

std::string prefixOfUTF16Length(std::string_view text, size_t units)
{
    size_t at = 0;
    while (at < text.size()) {
        const CodePoint c = codePointAt(text, at);
        if (utf16Units(c) > units)
            break;
        units -= utf16Units(c);
        at += c.length;
    }
    return std::string { text.substr(0, at) };
}

std::string textOfUUID(std::string_view bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes.size(); i++) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text += "0123456789ABCDEF"[byte >> 4];
        text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

} // namespace lumora
