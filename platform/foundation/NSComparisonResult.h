#pragma once

#include <cstdint>

namespace lumora {

/// How one value orders against another.
enum class NSComparisonResult : int8_t { OrderedAscending = -1, OrderedSame = 0, OrderedDescending = 1 };

} // namespace lumora
