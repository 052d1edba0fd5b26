#pragma once

#include "hashing/OSHashType.h"
#include "hashing/RGBABitmap.h"

#include <string>

namespace lumora {

// How each hash is made: the size its picture is scaled to, and what is done with the bitmap. Any thread.

inline constexpr RGBABitmap::Size aHashSize { 8, 8 };
inline constexpr RGBABitmap::Size dHashSize { 9, 9 };
inline constexpr RGBABitmap::Size pHashSize { 32, 32 };

/// 64 characters, column by column.
std::string aHashOfBitmap(const RGBABitmap& bitmap);
/// 64 bits, row by row from the lowest on.
OSHashType dHashOfBitmap(const RGBABitmap& bitmap);
/// 63 characters, over the picture turned about its diagonal.
std::string pHashOfBitmap(const RGBABitmap& bitmap);

} // namespace lumora
