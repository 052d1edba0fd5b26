#pragma once

#include "platform/foundation/Value.h"

#include <functional>

namespace lumora {

// What the library adds to the platform's arrays.

/// Calls the block once for every pair of elements, the earlier one first, and returns when all are done.
/// Several threads call it at a time, so it must be able to stand that. An array of fewer than two has no
/// pairs.
void enumeratePairCombinationsUsingBlock(
    const NSArray& array, const std::function<void(const Value&, const Value&)>& block);

/// All pairs as `OSTuple`s, in no order.
NSArray arrayWithPairCombinations(const NSArray& array);

} // namespace lumora
