#pragma once

#include "platform/dispatch/Executor.h"

#include <functional>

namespace lumora {

/// Calls the block once for every number below `iterations` and returns when all calls have. The caller's
/// thread works too, so it never waits for a queue that is busy or stopped; the queue, a concurrent one,
/// lends its threads as they are free. What a call throws ends that call only; the first of it is thrown on
/// to the caller at the end. Any thread.
void dispatch_apply(size_t iterations, DispatchQueue& queue, const std::function<void(size_t)>& block);

} // namespace lumora
