#pragma once

#include "platform/uikit/UIColor.h"

namespace lumora {

// UIColor (Extras)

/// A colour from components on a scale to 255, alpha to 1.
inline UIColor colorWithR(double r, double g, double b, double a) { return { r / 255, g / 255, b / 255, a }; }

} // namespace lumora
