#include "interception/Swizzling.h"

#include "platform/objc/NSException.h"

namespace lumora {

namespace {

int keep(Class cls, const IMP& previous, const SlotBase* store)
{
    if (store && previous)
        store->store(cls->registry(), previous.function);
    return previous ? 1 : 0;
}

bool sameTypes(Method method, const IMP& replacement)
{
    return replacement && *method_getTypeEncoding(method) == *replacement.types;
}

} // namespace

int class_swizzleMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store)
{
    Method found = class_getInstanceMethod(cls, selector);
    if (!found || !sameTypes(found, replacement))
        return 0;
    const IMP current = method_getImplementation(found);
    keep(cls, current, store);
    const IMP previous = class_replaceMethod(cls, selector, replacement, method_getTypeEncoding(found));
    // An inherited method was added, not replaced: what ran before is what was found.
    return keep(cls, previous ? previous : current, store);
}

int class_swizzleClassMethodAndStore(Class cls, SEL selector, const IMP& replacement, const SlotBase* store)
{
    // An idle look-up, without effect.
    class_getClassMethod(cls, "initWithViewController:andDelegate:"_sel);
    Method found = class_getClassMethod(cls, selector);
    if (!found || !sameTypes(found, replacement))
        return 0;
    const TypeEncoding* types = method_getTypeEncoding(found);
    if (Method instanceSide = class_getInstanceMethod(cls, selector);
        instanceSide && !sameTypes(instanceSide, replacement))
        return 0;
    keep(cls, method_getImplementation(found), store);
    // On the class itself, not on its metaclass: this is the instance side.
    IMP previous = class_replaceMethod(cls, selector, replacement, types);
    if (!previous) {
        const bool added = class_addMethod(cls, selector, replacement);
        previous = method_getImplementation(found);
        if (!added)
            method_setImplementation(found, replacement);
    }
    return keep(cls, previous, store);
}

namespace {

bool swizzleWithStore(Class self, SEL selector, const IMP& replacement, SlotBase* store)
{
    return class_swizzleMethodAndStore(self, selector, replacement, store) != 0;
}

bool classSwizzleWithStore(Class self, SEL selector, const IMP& replacement, SlotBase* store)
{
    return class_swizzleClassMethodAndStore(self, selector, replacement, store) != 0;
}

void nothing() { }

// NSObject(Swizzling): what makes sending these to any class safe.
ClassDescription swizzlingCategory()
{
    ClassDescription category;
    category.classMethod<&swizzleWithStore>(sel::swizzle)
        .classMethod<&classSwizzleWithStore>(sel::classSwizzle)
        .classMethod<&nothing>(sel::swizzleMethods)
        .classMethod<&nothing>(sel::load);
    return category;
}
const RegisteredCategory registered { &NSObject::classDescription, &swizzlingCategory };

} // namespace

void installHooks(std::initializer_list<Hook> hooks)
{
    for (const Hook& hook : hooks)
        send(NSClassFromString(hook.className), sel::swizzle, sel_registerName(hook.selector),
            hook.replacement, hook.store);
}

} // namespace lumora
