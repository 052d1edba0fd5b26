#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

/// Writes hashes that are texts of "0" and "1", the most significant bit first, in fewer digits. Characters
/// are counted as the platform does, in UTF-16 units. Any thread.
class BinHexDec {
public:
    /// The number that the digits at the beginning mean; the largest one there is when they mean more. The
    /// first other character ends them: a sign, a blank or a prefix gives 0.
    static int64_t getDecFromBinString(std::string_view text);
    /// The same in upper-case hexadecimal; a single digit has a space before it.
    static std::string getHexStringFromBinString(std::string_view text);

    /// Pieces of 8 characters, as many as there are. A character that two pieces would share is U+FFFD in
    /// both. Raises NSRangeException when the length is no multiple of 8.
    static std::vector<std::string> split64BitsBy8(std::string_view text);

    /// Two hexadecimal digits for every 8 characters, the first byte first. A text of fewer than 64 is filled
    /// up with zeros before it; a longer one raises as `split64BitsBy8` does.
    static std::string getHexStringFromBigBinString(std::string_view text);
    /// The 8 bytes in decimal, one after the other; nothing for a text of any length but 64. Kept without
    /// padding, so that 1, 2, 255 are "12255": it cannot be read back.
    static std::optional<std::string> getDecStringFromBigBinString(std::string_view text);
};

} // namespace lumora
