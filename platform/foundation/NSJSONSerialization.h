#pragma once

#include "platform/foundation/Value.h"

namespace lumora {

/// Deeper nesting than this is refused, read or written.
inline constexpr int deepestJSON = 512;

enum class NSJSONWritingOptions { Compact = 0, PrettyPrinted = 1 };

/// Reads one JSON text in UTF-8. Nothing when it is damaged, nested too deep, holds a number beyond a double,
/// or is followed by anything but white space. Integers beyond 64 bits become doubles; of two equal keys the
/// last counts. Single values are read too. Any thread.
std::optional<Value> JSONObjectWithData(std::string_view data);

/// Writes a value as JSON in UTF-8; "/" is written "\/". Nothing when it holds what JSON cannot: a number
/// that is not finite, data, a date, a URL, a UUID, an object, or an absent value. A byte
/// that is not UTF-8 goes out as U+FFFD.
/// Any thread.
std::optional<std::string> dataWithJSONObject(
    const Value& object, NSJSONWritingOptions options = NSJSONWritingOptions::Compact);

} // namespace lumora
