#pragma once

#include "platform/foundation/Value.h"
#include "platform/objc/TypeEncoding.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace lumora {

class ClassDescription;
class NSInvocation;
class ClassRegistry;
struct SideTable;

/// The root of everything that can receive a message. `NSObject` and `NSProxy` are siblings under it.
///
/// Ownership: `std::shared_ptr` owns, `std::weak_ptr` is weak, a raw pointer borrows for the length of a
/// call. Objects are made by `alloc`, which gives them their class; a constructor sends no message and hands
/// nothing out. The class belongs to a process, and no object may outlive its process. Any thread, unless a
/// subclass says otherwise.
class Object : public std::enable_shared_from_this<Object> {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object();

    /// The class this object was allocated with.
    Class isa() const { return m_isa; }

    /// Key-value coding: an accessor method named like the key, then a variable `_key`, then a variable
    /// `key`. An unknown key raises NSUndefinedKeyException, unless the class overrides
    /// `valueForUndefinedKey:`.
    virtual Value valueForKey(std::string_view key);
    /// Follows a dotted path. Nothing mid-path gives nothing; arrays map over their elements; dictionaries
    /// look the key up.
    Value valueForKeyPath(std::string_view path);
    /// Sets a key through its setter or variable; an unknown key raises NSUndefinedKeyException.
    void setValueForKey(const Value& value, std::string_view key);

    /// Called when a message finds no method. The default raises NSInvalidArgumentException.
    virtual void forwardInvocation(NSInvocation& invocation);

    /// "<ClassName: identity>" unless a class says more.
    virtual std::string description() const;
    /// Equality in the platform's sense; identity unless a class says more.
    virtual bool isEqual(const Object* other) const { return this == other; }

private:
    friend void object_setClass(Object&, Class);
    friend class ClassObject;
    friend class ClassRegistry;
    friend SideTable& sideTable(Object&);
    friend SideTable* existingSideTable(const Object&);

    Class m_isa { nullptr };
    // Run-time variables and associated objects, made when the first one is stored.
    mutable std::atomic<SideTable*> m_sideTable { nullptr };
};

/// The root class of ordinary objects.
class NSObject : public Object {
public:
    static const ClassDescription& classDescription();
    /// The designated initialiser of the root: answers the receiver.
    id init() { return this; }
    /// `new`: allocates an instance of the receiver and sends `init`.
    static std::shared_ptr<Object> newInstance(Class self);
};

/// The root class of stand-ins that forward what they do not answer.
class NSProxy : public Object {
public:
    static const ClassDescription& classDescription();
};

/// Adds or sets a variable that was not declared in C++: how a class made at run time keeps its private
/// state. Readable by key-value coding under exactly this name.
void object_setInstanceVariable(Object& object, std::string_view name, Value value);
/// The variable, or nothing.
Value object_getInstanceVariable(const Object& object, std::string_view name);

/// The objects that the variables added at run time own, in the order of their names.
std::vector<std::shared_ptr<Object>> object_copyOwnedObjects(const Object& object);

/// Ties a value to an object under the address of a static; `Value {}` removes it. Released with the object.
void objc_setAssociatedObject(Object& object, const void* key, Value value);
/// What was tied under the key, or nothing.
Value objc_getAssociatedObject(const Object& object, const void* key);

/// Key-value coding over any value: objects, dictionaries and arrays.
Value valueForKeyPath(const Value& root, std::string_view path);

inline Class object_getClass(const Object* object) { return object ? object->isa() : nullptr; }
/// The name of an object's class; "nil" for none.
const std::string& object_getClassName(const Object* object);

/// A strong reference to a borrowed object; null for null, or when the object is being destroyed.
template <typename T> std::shared_ptr<T> retain(T* object)
{
    return object ? std::static_pointer_cast<T>(object->weak_from_this().lock()) : nullptr;
}

/// A weak reference to a borrowed object.
template <typename T> std::weak_ptr<T> weakly(T* object) { return retain(object); }

/// True when both are the same living object; a dead or null reference equals nothing, not even another null.
template <typename T, typename U> bool refersTo(const std::weak_ptr<T>& reference, const U* object)
{
    return object && reference.lock().get() == object;
}

/// The C++ view of an object: null when it is not of that type.
template <typename T> T* as(Object* object) { return dynamic_cast<T*>(object); }
template <typename T> std::shared_ptr<T> as(const std::shared_ptr<Object>& object)
{
    return std::dynamic_pointer_cast<T>(object);
}

} // namespace lumora
