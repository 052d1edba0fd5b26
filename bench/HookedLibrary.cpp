#include "bench/HookedLibrary.h"

namespace lumora {

Slot<int64_t(id, SEL, int64_t)> library_hookIMP;

int64_t library_add(id, SEL, int64_t value) { return value + 1; }
int64_t library_hook(id self, SEL _cmd, int64_t value) { return library_hookIMP(self, _cmd, value); }

} // namespace lumora
