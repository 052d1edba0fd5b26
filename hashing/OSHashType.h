#pragma once

#include <cstdint>

namespace lumora {

/// 64 bits of a perceptual hash.
using OSHashType = int64_t;
/// A count of differing bits, 0 to 64.
using OSHashDistanceType = int64_t;

/// No picture, or one that cannot be decoded. It is all bits set, so a picture whose hash is that cannot be
/// told from it: kept.
inline constexpr OSHashType OSHashTypeError = -1;

} // namespace lumora
