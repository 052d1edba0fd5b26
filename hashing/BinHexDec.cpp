#include "hashing/BinHexDec.h"

#include "platform/foundation/NSString.h"
#include "platform/objc/NSException.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace lumora {

namespace {
constexpr size_t pieceLength = 8;
constexpr size_t hashLength = 64;
} // namespace

int64_t BinHexDec::getDecFromBinString(std::string_view text)
{
    constexpr uint64_t most = std::numeric_limits<int64_t>::max();
    // An unsigned number takes digits only.
    uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, 2);
    if (result.ec == std::errc::result_out_of_range)
        number = most;
    return static_cast<int64_t>(std::min(number, most));
}

std::string BinHexDec::getHexStringFromBinString(std::string_view text)
{
    return stringWithFormat("%2lX", { getDecFromBinString(text) });
}

std::vector<std::string> BinHexDec::split64BitsBy8(std::string_view text)
{
    std::string bytes;
    for (const char16_t unit : utf16FromText(repairedUTF8(text))) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    constexpr size_t pieceBytes = pieceLength * sizeof(char16_t);
    if (bytes.size() % pieceBytes != 0)
        throw NSException(NSRangeException, "the length of the text is no multiple of 8");
    std::vector<std::string> pieces;
    for (size_t at = 0; at < bytes.size(); at += pieceBytes)
        pieces.push_back(textFromUTF16BigEndian(std::string_view { bytes }.substr(at, pieceBytes)));
    return pieces;
}

std::string BinHexDec::getHexStringFromBigBinString(std::string_view text)
{
    std::string bits(hashLength - std::min(utf16Length(text), hashLength), '0');
    bits += text;
    std::string hex;
    for (const std::string& piece : split64BitsBy8(bits))
        hex += getHexStringFromBinString(piece);
    std::replace(hex.begin(), hex.end(), ' ', '0');
    return hex;
}

std::optional<std::string> BinHexDec::getDecStringFromBigBinString(std::string_view text)
{
    if (utf16Length(text) != hashLength)
        return std::nullopt;
    std::string decimal;
    for (const std::string& piece : split64BitsBy8(text))
        decimal += std::to_string(getDecFromBinString(piece));
    return decimal;
}

} // namespace lumora
