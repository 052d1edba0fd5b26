#pragma once

#include <cstdint>

namespace lumora {

/// 64 bits of a perceptual hash.
using OSHashType = int64_t;
/// A count of differing bits, 0 to 64.
using OSHashDistanceType = int64_t;

/// No picture, or one that cannot be decoded. All bits set, so a picture whose every bit is set counts as
/// one: kept.
inline constexpr OSHashType OSHashTypeError = -1;

} // namespace lumora
