#pragma once

#include <cstddef>

namespace lumora {

/// How many pieces of memory the calling thread has allocated so far.
size_t allocationsOfThisThread();

} // namespace lumora
