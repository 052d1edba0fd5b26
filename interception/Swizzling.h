#pragma once

#include "lumora/Swizzling.h"

namespace lumora {

namespace sel {
// Class-level operations that every class has.
inline constinit const TypedSelector<bool(SEL, IMP, SlotBase*)> swizzle { "swizzle:with:store:" };
inline constinit const TypedSelector<bool(SEL, IMP, SlotBase*)> classSwizzle { "classSwizzle:with:store:" };
/// Installs a class's hooks; does nothing on classes without any.
inline constinit const TypedSelector<void()> swizzleMethods { "swizzleMethods" };
inline constinit const TypedSelector<void()> load { "load" };
} // namespace sel

/// One hook: which method of which class, and what stands in for it.
struct Hook {
    const char* className;
    const char* selector;
    IMP replacement;
    SlotBase* store;
};

/// Installs hooks in order. A class that is absent, or lacks the method, is passed over in silence.
void installHooks(std::initializer_list<Hook> hooks);

} // namespace lumora
