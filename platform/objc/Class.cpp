#include "platform/objc/Class.h"

#include "platform/objc/ClassRegistry.h"
#include "platform/objc/NSException.h"
#include "platform/process/Process.h"

#include <algorithm>

namespace lumora {

// The registry's lock guards what a class changes; the analysis cannot follow a lock through a reference in
// another object.
#define LUMORA_UNDER_REGISTRY_LOCK LUMORA_ANNOTATION(no_thread_safety_analysis)

ClassObject::ClassObject(ClassRegistry& registry, std::string name, Class superclass, bool isMetaClass)
    : m_registry(registry)
    , m_name(std::move(name))
    , m_superclass(superclass)
    , m_isMetaClass(isMetaClass)
{
    m_caches.push_back(std::make_unique<Cache>(8));
    m_cache.store(m_caches.back().get(), std::memory_order_release);
}

ClassObject::~ClassObject() = default;

bool ClassObject::isSubclassOf(const ClassObject* other) const
{
    for (const ClassObject* at = this; at; at = at->m_superclass) {
        if (at == other)
            return true;
    }
    return false;
}

Method ClassObject::ownMethodLocked(SEL selector) const
{
    for (const MethodNode& method : m_methods) {
        if (method.name == selector)
            return const_cast<Method>(&method);
    }
    return nullptr;
}

Method ClassObject::slowMethodFor(SEL selector) const LUMORA_UNDER_REGISTRY_LOCK
{
    Locker hold(m_registry.m_lock);
    Method method = nullptr;
    for (const ClassObject* at = this; at && !method; at = at->m_superclass)
        method = at->ownMethodLocked(selector);
    fillCacheLocked(selector, method);
    return method;
}

void ClassObject::fillCacheLocked(SEL selector, Method method) const
{
    Cache* cache = m_cache.load(std::memory_order_relaxed);
    auto insert = [](Cache& into, SEL name, Method answer) {
        size_t index = hash(name) & into.mask;
        for (; SEL present = into.entries[index].selector.load(std::memory_order_relaxed);
             index = (index + 1) & into.mask) {
            if (present == name)
                return;
        }
        into.entries[index].method.store(answer, std::memory_order_relaxed);
        into.entries[index].selector.store(name, std::memory_order_release);
        into.used++;
    };
    if ((cache->used + 1) * 2 > cache->mask + 1) {
        auto larger = std::make_unique<Cache>((cache->mask + 1) * 2);
        for (const auto& entry : cache->entries) {
            if (SEL known = entry.selector.load(std::memory_order_relaxed))
                insert(*larger, known, entry.method.load(std::memory_order_relaxed));
        }
        cache = larger.get();
        m_caches.push_back(std::move(larger));
        m_cache.store(cache, std::memory_order_release);
    }
    insert(*cache, selector, method);
}

void ClassObject::flushCachesLocked()
{
    if (m_cache.load(std::memory_order_relaxed)->used) {
        m_caches.push_back(std::make_unique<Cache>(8));
        m_cache.store(m_caches.back().get(), std::memory_order_release);
    }
    for (Class subclass : m_subclasses)
        subclass->flushCachesLocked();
}

Class NSClassFromString(std::string_view name) { return Process::current().classes().classNamed(name); }

Method class_getInstanceMethod(Class cls, SEL selector) { return cls ? cls->methodFor(selector) : nullptr; }

Method class_getClassMethod(Class cls, SEL selector)
{
    return cls ? cls->isa()->methodFor(selector) : nullptr;
}

bool class_addMethod(Class cls, SEL selector, const IMP& implementation) LUMORA_UNDER_REGISTRY_LOCK
{
    if (!cls || !selector || !implementation)
        return false;
    Locker hold(cls->m_registry.m_lock);
    if (cls->ownMethodLocked(selector))
        return false;
    cls->m_methods.emplace_back(selector, implementation);
    cls->flushCachesLocked();
    return true;
}

static void requireSameTypes(SEL selector, const TypeEncoding* wanted, const IMP& implementation)
{
    if (!wanted || !implementation || !(*wanted == *implementation.types)) {
        throw NSException(NSInvalidArgumentException,
            std::string { sel_getName(selector) } + ": an implementation of type "
                + (implementation.types ? implementation.types->text : "none") + " cannot stand for "
                + (wanted ? wanted->text : "none"));
    }
}

IMP class_replaceMethod(
    Class cls, SEL selector, const IMP& implementation, const TypeEncoding* types) LUMORA_UNDER_REGISTRY_LOCK
{
    if (!cls || !selector)
        return nullptr;
    requireSameTypes(selector, types, implementation);
    Locker hold(cls->m_registry.m_lock);
    if (Method own = cls->ownMethodLocked(selector)) {
        requireSameTypes(selector, own->types, implementation);
        return { own->function.exchange(implementation.function, std::memory_order_acq_rel), own->types };
    }
    cls->m_methods.emplace_back(selector, implementation);
    cls->flushCachesLocked();
    return nullptr;
}

IMP method_getImplementation(Method method)
{
    return method ? IMP { method->function.load(std::memory_order_acquire), method->types } : IMP {};
}

IMP method_setImplementation(Method method, const IMP& implementation)
{
    if (!method)
        return nullptr;
    requireSameTypes(method->name, method->types, implementation);
    return { method->function.exchange(implementation.function, std::memory_order_acq_rel), method->types };
}

std::vector<Method> class_copyMethodList(Class cls) LUMORA_UNDER_REGISTRY_LOCK
{
    std::vector<Method> list;
    if (!cls)
        return list;
    Locker hold(cls->m_registry.m_lock);
    for (MethodNode& method : cls->m_methods)
        list.push_back(&method);
    return list;
}

bool class_conformsToProtocol(Class cls, std::string_view protocol) LUMORA_UNDER_REGISTRY_LOCK
{
    if (!cls)
        return false;
    Locker hold(cls->m_registry.m_lock);
    for (const ClassObject* at = cls; at; at = at->m_superclass) {
        if (std::find(at->m_protocols.begin(), at->m_protocols.end(), protocol) != at->m_protocols.end())
            return true;
    }
    return false;
}

const ClassDescription* nearestDescription(Class cls)
{
    for (; cls; cls = cls->m_superclass) {
        if (cls->m_description)
            return cls->m_description;
    }
    return nullptr;
}

std::shared_ptr<Object> class_createInstance(Class cls)
{
    const ClassDescription* description = nearestDescription(cls);
    if (!description || !description->instantiate() || cls->isMetaClass())
        throw NSException(
            NSInvalidArgumentException, "this class has no instances: " + NSStringFromClass(cls));
    std::shared_ptr<Object> object = description->instantiate()();
    object_setClass(*object, cls);
    return object;
}

void object_setClass(Object& object, Class cls) { object.m_isa = cls; }

bool isKindOfClass(const Object* object, const ClassObject* cls)
{
    return object && object->isa() && cls && object->isa()->isSubclassOf(cls);
}

bool conformsToProtocol(const Object* object, std::string_view protocol)
{
    if (!object)
        return false;
    // A class as receiver answers for itself, as a class object conforms to what its class adopts.
    if (const auto* cls = dynamic_cast<const ClassObject*>(object))
        return class_conformsToProtocol(const_cast<Class>(cls), protocol);
    return class_conformsToProtocol(object->isa(), protocol);
}

bool respondsToSelector(const Object* object, SEL selector)
{
    return class_getInstanceMethod(object_getClass(object), selector);
}

} // namespace lumora
