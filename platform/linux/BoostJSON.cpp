#include "platform/foundation/NSJSONSerialization.h"

#include <boost/json/basic_parser_impl.hpp>
#include <charconv>
#include <cmath>
#include <map>

namespace lumora {

namespace json = boost::json;

namespace {

/// Builds the value while the parser walks over the text. The operations are those the parser calls.
class Builder {
public:
    using Error = json::error_code;
    using Text = json::string_view;
    static constexpr size_t max_object_size = SIZE_MAX;
    static constexpr size_t max_array_size = SIZE_MAX;
    static constexpr size_t max_key_size = SIZE_MAX;
    static constexpr size_t max_string_size = SIZE_MAX;

    Value take() { return std::move(m_open.front().values.front()); }

    static bool on_document_begin(Error&) { return true; }
    static bool on_document_end(Error&) { return true; }
    bool on_array_begin(Error&) { return open(); }
    bool on_array_end(size_t, Error&) { return add(closed().values); }
    bool on_object_begin(Error&) { return open(); }
    bool on_object_end(size_t, Error&) { return add(dictionaryOf(closed())); }
    bool on_key_part(Text part, size_t, Error&) { return collect(part); }
    bool on_key(Text part, size_t, Error&)
    {
        collect(part);
        m_open.back().keys.push_back(std::exchange(m_text, {}));
        return true;
    }
    bool on_string_part(Text part, size_t, Error&) { return collect(part); }
    bool on_string(Text part, size_t, Error&)
    {
        collect(part);
        return add(std::exchange(m_text, {}));
    }
    static bool on_number_part(Text, Error&) { return true; }
    bool on_int64(int64_t number, Text, Error&) { return add(number); }
    bool on_uint64(uint64_t number, Text, Error&) { return add(static_cast<double>(number)); }
    bool on_double(double number, Text digits, Error& error)
    {
        // The parser's own number may be off in the last place; beyond the range it is right.
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (!std::isfinite(number))
            error = json::error::exponent_overflow;
        return std::isfinite(number) && add(number);
    }
    bool on_bool(bool value, Error&) { return add(value); }
    bool on_null(Error&) { return add(NSNull {}); }
    static bool on_comment_part(Text, Error&) { return true; }
    static bool on_comment(Text, Error&) { return true; }

private:
    /// An array or object that is not complete; an array has no keys.
    struct Container {
        NSArray values;
        std::vector<std::string> keys;
    };

    bool open()
    {
        m_open.emplace_back();
        return true;
    }
    Container closed()
    {
        Container container = std::move(m_open.back());
        m_open.pop_back();
        return container;
    }
    bool add(Value value)
    {
        m_open.back().values.push_back(std::move(value));
        return true;
    }
    bool collect(Text part)
    {
        m_text.append(part.data(), part.size());
        return true;
    }

    static NSDictionary dictionaryOf(Container container)
    {
        // A tree, as no choice of keys makes it slow.
        std::map<std::string_view, size_t> known;
        std::vector<NSDictionary::Entry> entries;
        entries.reserve(container.keys.size());
        for (size_t i = 0; i < container.keys.size(); i++) {
            const auto [place, isNew] = known.emplace(container.keys[i], entries.size());
            if (isNew)
                entries.emplace_back(container.keys[i], std::move(container.values[i]));
            else
                entries[place->second].second = std::move(container.values[i]);
        }
        return NSDictionary::withDistinctKeys(std::move(entries));
    }

    // The first holds the whole document.
    std::vector<Container> m_open = std::vector<Container>(1);
    std::string m_text;
};

} // namespace

std::optional<Value> JSONObjectWithData(std::string_view data)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (data.starts_with(byteOrderMark))
        data.remove_prefix(byteOrderMark.size());
    json::parse_options options;
    options.max_depth = deepestJSON;
    json::basic_parser<Builder> parser(options);
    json::error_code error;
    const size_t read = parser.write_some(false, data.data(), data.size(), error);
    if (error || read < data.size())
        return std::nullopt;
    return parser.handler().take();
}

} // namespace lumora
