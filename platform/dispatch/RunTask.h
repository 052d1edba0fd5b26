#pragma once

#include "platform/dispatch/Executor.h"

namespace lumora {

/// The bottom of every queue: runs a task inside its process; an exception that gets here is logged and ends
/// that task only. What the task holds is let go inside the process too.
void runTask(Process& process, Task& task) noexcept;

} // namespace lumora
