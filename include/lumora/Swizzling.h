#pragma once

#include "platform/objc/Message.h"
#include "platform/objc/Slot.h"

namespace lumora {

/// Replaces an instance method and keeps what it did in a slot (which may be null): the foundation of every
/// hook. Works on inherited methods, whose superclass stays as it is. Answers 1 when there was an
/// implementation to replace, else 0; nothing changes for a class that lacks the method, or whose method has
/// other types than the replacement. The slot is written before the method is replaced, so that no call on
/// another thread ever meets an empty one. Any thread. Installed twice, a hook calls itself: that the caller
/// does not is the caller's duty.
int class_swizzleMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store);

/// The same for a class method; one that is only inherited is replaced where it stands. It also adds (or
/// replaces) an instance method of that name: kept, hosts have come to see it. Where the class has an
/// instance method of that name of its own already, only that one is replaced.
int class_swizzleClassMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store);

/// Prints the methods of an object's class to the standard output, in their order and without inherited ones;
/// of a class, its class methods. For debugging.
void DumpObjcMethods(const Object* object);

} // namespace lumora
