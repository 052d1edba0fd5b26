#pragma once

#include "platform/objc/Slot.h"

namespace lumora {

// A method and a hook on it, in a shared library of their own.
int64_t library_add(id, SEL, int64_t value);
int64_t library_hook(id self, SEL _cmd, int64_t value);
extern Slot<int64_t(id, SEL, int64_t)> library_hookIMP;

} // namespace lumora
