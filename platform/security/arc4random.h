#pragma once

#include <cstdint>

namespace lumora {

/// A random number below the bound, each as likely as the other, fit for keys; 0 for a bound of 0. Any
/// thread.
uint32_t arc4random_uniform(uint32_t upperBound);

} // namespace lumora
