#pragma once

#include "support/UIColorExtensions.h"

namespace lumora {

/// The library's own blue.
inline UIColor brandColor() { return colorWithR(5, 89, 175, 1); }

} // namespace lumora
