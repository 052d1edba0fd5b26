#include "platform/foundation/NSJSONSerialization.h"

#include <boost/json.hpp>
#include <cmath>

namespace lumora {

namespace json = boost::json;

/// `isFinite` becomes false for a number beyond a double.
static Value valueOf(const json::value& parsed, bool& isFinite)
{
    switch (parsed.kind()) {
    case json::kind::null:
        return NSNull {};
    case json::kind::bool_:
        return parsed.get_bool();
    case json::kind::int64:
        return parsed.get_int64();
    case json::kind::uint64:
        return static_cast<double>(parsed.get_uint64());
    case json::kind::double_:
        isFinite &= std::isfinite(parsed.get_double());
        return parsed.get_double();
    case json::kind::string:
        return std::string { parsed.get_string() };
    case json::kind::array: {
        NSArray elements;
        elements.reserve(parsed.get_array().size());
        for (const json::value& element : parsed.get_array())
            elements.push_back(valueOf(element, isFinite));
        return elements;
    }
    case json::kind::object: {
        std::vector<NSDictionary::Entry> entries;
        entries.reserve(parsed.get_object().size());
        for (const auto& member : parsed.get_object())
            entries.emplace_back(member.key(), valueOf(member.value(), isFinite));
        return NSDictionary::withDistinctKeys(std::move(entries));
    }
    }
    return {};
}

std::optional<Value> JSONObjectWithData(std::string_view data)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (data.starts_with(byteOrderMark))
        data.remove_prefix(byteOrderMark.size());
    json::parse_options options;
    options.max_depth = deepestJSON;
    json::error_code error;
    json::monotonic_resource memory;
    const json::value parsed = json::parse({ data.data(), data.size() }, error, &memory, options);
    if (error)
        return std::nullopt;
    bool isFinite = true;
    Value value = valueOf(parsed, isFinite);
    return isFinite ? std::optional(std::move(value)) : std::nullopt;
}

} // namespace lumora
