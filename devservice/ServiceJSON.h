#pragma once

#include <boost/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace lumora {

/// Nothing unless the text is one whole JSON value in valid UTF-8, nested at most 128 deep.
std::optional<boost::json::value> parseJSON(std::string_view text);

/// The text itself when it is UTF-8; else every byte as the character of that number.
std::string printable(std::string_view bytes);

/// A JSON string, quotes included, of what is printable.
std::string quoted(std::string_view bytes);

// Settings read by name: each throws std::invalid_argument, naming the setting, when it is not of its type.
std::string textIn(std::string_view name, const boost::json::value&);
bool flagIn(std::string_view name, const boost::json::value&);
const boost::json::object& objectIn(std::string_view name, const boost::json::value&);
[[noreturn]] void reject(std::string_view name, std::string_view expectation);

} // namespace lumora
