#pragma once

#include "platform/objc/Message.h"
#include "platform/objc/Slot.h"

namespace lumora {

/// Replaces an instance method and keeps what it did in a slot (which may be null): the foundation of every
/// hook. Works on inherited methods, whose superclass stays as it is. Answers 1 when there was an
/// implementation to replace, else 0; nothing changes for a class that lacks the method, or whose method has
/// other types than the replacement. The slot is written before the method is replaced, so that no call on
/// another thread ever meets an empty one.
int class_swizzleMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store);

/// The same for a class method. It also adds (or replaces) an instance method of that name: kept, hosts have
/// come to see it. Where the class has an instance method of that name already, only that one is replaced.
int class_swizzleClassMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store);

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
