#pragma once

#include "platform/uikit/UIColor.h"
#include "support/UIViewExtensions.h"

namespace lumora {

/// The library's own blue.
inline UIColor brandColor() { return colorWithR(5, 89, 175, 1); }

} // namespace lumora
