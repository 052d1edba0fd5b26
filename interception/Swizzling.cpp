#include "interception/Swizzling.h"

#include "support/Guarded.h"

#include <cstdio>

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
    Method instanceSide = class_getInstanceMethod(cls, selector);
    if (instanceSide && !sameTypes(instanceSide, replacement))
        return 0;
    const bool isShielded
        = instanceSide && instanceSide != class_getInstanceMethod(cls->superclass(), selector);
    keep(cls, method_getImplementation(isShielded ? instanceSide : found), store);
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

void DumpObjcMethods(const Object* object)
{
    const std::string& name = object_getClassName(object);
    const std::vector<Method> methods = class_copyMethodList(object_getClass(object));
    std::string text = "Found " + std::to_string(methods.size()) + " methods on '" + name + "'\n";
    for (Method method : methods) {
        text += "\t'" + name + "' has method named '" + sel_getName(method->name) + "' of encoding '"
            + method_getTypeEncoding(method)->text + "'\n";
    }
    // In one piece: other threads print too.
    std::fputs(text.c_str(), stdout);
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

void installHooks(const std::vector<Hook>& hooks)
{
    bool installed = false;
    for (const Hook& hook : hooks) {
        using Kind = Hook::Kind;
        const bool isOtherwise
            = hook.kind == Kind::MethodOtherwise || hook.kind == Kind::ClassMethodOtherwise;
        if (isOtherwise && installed)
            continue;
        const bool isClassMethod = hook.kind == Kind::ClassMethod || hook.kind == Kind::ClassMethodOtherwise;
        installed = false;
        // One that an odd class refuses leaves the others.
        guarded([&] {
            installed
                = send(NSClassFromString(hook.className), isClassMethod ? sel::classSwizzle : sel::swizzle,
                    sel_registerName(hook.selector), hook.replacement, hook.store);
        });
    }
}

} // namespace lumora
