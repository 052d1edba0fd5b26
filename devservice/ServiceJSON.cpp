#include "devservice/ServiceJSON.h"

#include <stdexcept>

namespace json = boost::json;

namespace lumora {

std::optional<json::value> parseJSON(std::string_view text)
{
    json::parse_options options;
    options.max_depth = 128;
    json::error_code error;
    json::value value = json::parse({ text.data(), text.size() }, error, {}, options);
    if (error)
        return std::nullopt;
    return value;
}

std::string printable(std::string_view bytes)
{
    if (parseJSON(json::serialize(json::string(bytes.data(), bytes.size()))))
        return std::string(bytes);
    std::string characters;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            characters += byte;
            continue;
        }
        characters += static_cast<char>(0xC0 | code >> 6);
        characters += static_cast<char>(0x80 | (code & 0x3F));
    }
    return characters;
}

std::string quoted(std::string_view bytes) { return json::serialize(json::string(printable(bytes))); }

void reject(std::string_view name, std::string_view expectation)
{
    throw std::invalid_argument(quoted(name) + " " + std::string(expectation));
}

std::string textIn(std::string_view name, const json::value& value)
{
    if (!value.is_string())
        reject(name, "must be a string");
    return std::string(value.get_string());
}

const json::object& objectIn(std::string_view name, const json::value& value)
{
    if (!value.is_object())
        reject(name, "must be a JSON object");
    return value.get_object();
}

bool flagIn(std::string_view name, const json::value& value)
{
    if (!value.is_bool())
        reject(name, "must be true or false");
    return value.get_bool();
}

} // namespace lumora
