#pragma once

#include "platform/foundation/BinaryPropertyList.h"
#include "platform/foundation/Value.h"

namespace lumora {

/// Deeper nesting than this is refused, read or written.
inline constexpr int deepestPropertyList = 128;

/// Binary property lists. A reference to another object of an archive stands as the dictionary {"CF$UID":
/// integer}, as it does in the textual form. Any thread.

/// Writes a value. Nothing when it holds what a property list cannot: null, a URL, a UUID, an object, an
/// absent value. Text that is not UTF-8 is written with U+FFFD in its place.
std::optional<NSData> dataWithPropertyList(const Value& propertyList);
/// The same in parts that borrow the value's long data.
std::optional<PropertyListBytes> bytesOfPropertyList(const Value& propertyList);
/// Reads one. Nothing when the bytes are truncated or damaged, or unfold to an unreasonable size.
std::optional<Value> propertyListWithData(std::string_view data);

/// A reference of an archive, and back: nothing for any other value.
Value referenceTo(size_t index);
std::optional<size_t> referencedIndex(const Value& value);

} // namespace lumora
