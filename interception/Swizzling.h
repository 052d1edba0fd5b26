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
    enum class Kind {
        Method,
        ClassMethod,
        /// Only installed when the hook before it could not be: another name of the same moment.
        MethodOtherwise,
        ClassMethodOtherwise,
    };
    const char* className;
    const char* selector;
    IMP replacement;
    SlotBase* store;
    Kind kind { Kind::Method };
};

/// Installs hooks in order. A class that is absent, or lacks the method, is passed over in silence.
void installHooks(const std::vector<Hook>& hooks);

} // namespace lumora
