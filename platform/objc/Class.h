#pragma once

#include "platform/objc/Object.h"
#include "platform/process/Lock.h"

#include <deque>
#include <unordered_map>
#include <vector>

namespace lumora {

class Process;

/// One entry of a class's method list. Never moves while its class lives, and its implementation is read
/// without a lock.
struct MethodNode {
    MethodNode(SEL selector, const IMP& implementation)
        : name(selector)
        , types(implementation.types)
        , function(implementation.function)
    {
    }

    SEL name;
    const TypeEncoding* types;
    std::atomic<IMP::Function> function;
};
using Method = MethodNode*;

/// A class, itself an object: its class is its metaclass, whose methods are the class-level operations. Made
/// by a ClassRegistry and lives as long as it. Look-up takes no lock once a selector has been seen, found or
/// not; changes are serialised.
class ClassObject final : public Object {
public:
    ~ClassObject() override;

    const std::string& name() const { return m_name; }
    Class superclass() const { return m_superclass; }
    bool isMetaClass() const { return m_isMetaClass; }
    ClassRegistry& registry() const { return m_registry; }

    /// The method that answers a selector, inherited ones included; null when nobody does.
    Method methodFor(SEL selector) const
    {
        const Cache* cache = m_cache.load(std::memory_order_acquire);
        for (size_t index = hash(selector) & cache->mask;; index = (index + 1) & cache->mask) {
            const Cache::Entry& entry = cache->entries[index];
            const SEL known = entry.selector.load(std::memory_order_acquire);
            if (known == selector)
                return entry.method.load(std::memory_order_relaxed);
            if (!known)
                return slowMethodFor(selector);
        }
    }
    bool isSubclassOf(const ClassObject* other) const;
    std::string description() const override { return m_name; }

private:
    friend class ClassRegistry;
    friend class ClassBuilder;
    friend bool class_addMethod(Class, SEL, const IMP&);
    friend IMP class_replaceMethod(Class, SEL, const IMP&, const TypeEncoding*);
    friend std::vector<Method> class_copyMethodList(Class);
    friend std::shared_ptr<Object> class_createInstance(Class);
    friend bool class_conformsToProtocol(Class, std::string_view);
    friend const ClassDescription* nearestDescription(Class);

    // An open-addressed table of what was found, and of what was not. Replaced as a whole when it grows or a
    // method is added here or above. Readers may hold an old one, so tables are kept until the class dies.
    struct Cache {
        struct Entry {
            std::atomic<SEL> selector { nullptr };
            // Null for a selector that nobody answers. Written before the selector.
            std::atomic<Method> method { nullptr };
        };
        explicit Cache(size_t capacity)
            : mask(capacity - 1)
            , entries(capacity)
        {
        }
        size_t mask;
        size_t used { 0 };
        std::vector<Entry> entries;
    };
    static size_t hash(SEL selector) { return reinterpret_cast<uintptr_t>(selector) >> 5; }

    ClassObject(ClassRegistry& registry, std::string name, Class superclass, bool isMetaClass);

    Method slowMethodFor(SEL selector) const;
    Method ownMethodLocked(SEL selector) const;
    void flushCachesLocked();
    void fillCacheLocked(SEL selector, Method method) const;

    ClassRegistry& m_registry;
    std::string m_name;
    Class m_superclass;
    bool m_isMetaClass;
    // Guarded by the registry's lock: methods, protocols and subclasses.
    std::deque<MethodNode> m_methods;
    std::vector<std::string> m_protocols;
    std::vector<Class> m_subclasses;
    const ClassDescription* m_description { nullptr };
    mutable std::atomic<Cache*> m_cache;
    mutable std::vector<std::unique_ptr<Cache>> m_caches;
};

// The runtime's own operations, with the names and results that are documented for them.

/// The class of that name in the current process; null when there is none.
Class NSClassFromString(std::string_view name);
inline std::string NSStringFromClass(Class cls) { return cls ? cls->name() : std::string {}; }
/// Instance and class methods, inherited ones included.
Method class_getInstanceMethod(Class cls, SEL selector);
Method class_getClassMethod(Class cls, SEL selector);
/// Adds a method to the class itself; fails when the class has its own of that name, and for nothing to add.
bool class_addMethod(Class cls, SEL selector, const IMP& implementation);
/// Replaces the class's own method and answers what it was; adds one, leaves the superclass alone and answers
/// null when the method was inherited or absent. Raises NSInvalidArgumentException when `types` does not
/// describe the implementation.
IMP class_replaceMethod(Class cls, SEL selector, const IMP& implementation, const TypeEncoding* types);
IMP method_getImplementation(Method method);
inline const TypeEncoding* method_getTypeEncoding(Method method) { return method ? method->types : nullptr; }
/// Sets the implementation of one entry and answers the previous one. Raises when the types differ; null
/// answers null.
IMP method_setImplementation(Method method, const IMP& implementation);
/// The class's own methods in order; a selector that stands twice is listed twice, and the first answers.
std::vector<Method> class_copyMethodList(Class cls);
bool class_conformsToProtocol(Class cls, std::string_view protocol);
/// Allocates an instance: a C++ object of the nearest C++ class above. `init...` is the caller's. Raises
/// NSInvalidArgumentException when that one cannot be made, and for a metaclass.
std::shared_ptr<Object> class_createInstance(Class cls);

/// Gives a fresh object its class.
void object_setClass(Object& object, Class cls);

bool isKindOfClass(const Object* object, const ClassObject* cls);
/// False for nil, and for an object whose class does not list the protocol.
bool conformsToProtocol(const Object* object, std::string_view protocol);
/// False for nil.
bool respondsToSelector(const Object* object, SEL selector);

} // namespace lumora
