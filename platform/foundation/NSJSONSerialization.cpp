#include "platform/foundation/NSJSONSerialization.h"

#include "platform/foundation/NSString.h"

#include <cmath>

namespace lumora {

namespace {

/// Writes into one text; `write` answers false for what JSON cannot hold.
class Writer {
public:
    explicit Writer(bool isPretty)
        : m_isPretty(isPretty)
    {
    }

    bool write(const Value& value, int depth = 0)
    {
        if (depth > deepestJSON)
            return false;
        if (const std::string* text = value.string())
            return writeText(*text), true;
        if (value.isBoolean())
            m_text += value.boolValue() ? "true" : "false";
        else if (value.isNull())
            m_text += "null";
        else if (value.isNumber())
            return writeNumber(value);
        else if (const NSArray* elements = value.array())
            return writeAll(
                '[', *elements, ']', depth, [&](const Value& element) { return write(element, depth + 1); });
        else if (const NSDictionary* dictionary = value.dictionary())
            return writeAll('{', *dictionary, '}', depth, [&](const NSDictionary::Entry& entry) {
                writeText(entry.first);
                m_text += m_isPretty ? " : " : ":";
                return write(entry.second, depth + 1);
            });
        else
            return false;
        return true;
    }

    std::string take() { return std::move(m_text); }

private:
    template <typename Container, typename F>
    bool writeAll(char open, const Container& members, char close, int depth, F&& writeMember)
    {
        m_text += open;
        const char* separator = "";
        for (const auto& member : members) {
            m_text += separator;
            breakLine(depth + 1);
            if (!writeMember(member))
                return false;
            separator = ",";
        }
        // An empty one in the pretty form has an empty line inside: kept, the original does so.
        if (m_isPretty && *separator == '\0')
            m_text += '\n';
        breakLine(depth);
        m_text += close;
        return true;
    }

    void breakLine(int depth)
    {
        if (m_isPretty)
            m_text.append(1, '\n').append(static_cast<size_t>(depth) * 2, ' ');
    }

    bool writeNumber(const Value& number)
    {
        if (number.isDouble() && !std::isfinite(number.doubleValue()))
            return false;
        m_text += number.description();
        return true;
    }

    void writeText(const std::string& text)
    {
        constexpr std::string_view digits = "0123456789abcdef";
        m_text += '"';
        for (const char c : repairedUTF8(text)) {
            constexpr std::string_view named = "\"\\/\b\f\n\r\t";
            constexpr std::string_view names = "\"\\/bfnrt";
            if (const size_t index = named.find(c); index != std::string_view::npos)
                m_text.append(1, '\\').append(1, names[index]);
            else if (static_cast<unsigned char>(c) < 0x20)
                m_text.append("\\u00")
                    .append(1, digits[static_cast<unsigned char>(c) >> 4])
                    .append(1, digits[c & 15]);
            else
                m_text += c;
        }
        m_text += '"';
    }

    bool m_isPretty;
    std::string m_text;
};

} // namespace

std::optional<std::string> dataWithJSONObject(const Value& object, NSJSONWritingOptions options)
{
    Writer writer(options == NSJSONWritingOptions::PrettyPrinted);
    return writer.write(object) ? std::optional(writer.take()) : std::nullopt;
}

} // namespace lumora
