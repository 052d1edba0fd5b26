#pragma once

#include "platform/foundation/Value.h"

namespace lumora {

// Operations on text. Text is UTF-8; bytes that are not count as one unit each where units are counted. Any
// thread.

/// The platform's format: %@ (a value's description, "(null)" for nothing), %d %i %u %x %X %c %s %f %%, `l`
/// and `q` for 64 bits, flags, width and precision. A missing argument counts as nothing, one too many is
/// ignored, an unknown conversion is kept.
std::string stringWithFormat(std::string_view format, std::initializer_list<Value> arguments);

/// Without the white space and newlines at both ends.
std::string trimmed(std::string_view text);
/// In lower case, the same in every language.
std::string lowercased(std::string_view text);
/// Equal when letter case is ignored, in any script.
bool equalIgnoringCase(std::string_view a, std::string_view b);

bool isValidUTF8(std::string_view text);
/// The text with U+FFFD in place of every byte that is not UTF-8.
std::string repairedUTF8(std::string_view text);
/// The UTF-16 units of valid UTF-8.
std::u16string utf16FromText(std::string_view text);
/// From UTF-16 units of two bytes each, the high one first; U+FFFD in place of a surrogate without its mate.
std::string textFromUTF16BigEndian(std::string_view bytes);
/// The length in UTF-16 units, which is what the platform calls the length of a text.
size_t utf16Length(std::string_view text);
/// The longest beginning of at most that many UTF-16 units; a surrogate pair is never split.
std::string prefixOfUTF16Length(std::string_view text, size_t units);

/// What a number formatter in decimal style reads: spaces around it and grouping are ignored, and anything
/// else beside the number makes it nothing. Whole numbers are integers, the others doubles.
std::optional<Value> numberFromText(std::string_view text);

/// Base64 without line breaks.
std::string base64Encoded(const NSData& data);
/// A new random UUID in upper case.
std::string newUUIDString();
/// The text form of a UUID's 16 bytes.
std::string textOfUUID(std::string_view bytes);

} // namespace lumora
