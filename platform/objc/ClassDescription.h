#pragma once

#include "platform/objc/Class.h"

#include <map>

namespace lumora {

/// What a C++ class is to the runtime: its name, its superclass, its methods in order, its protocols and its
/// key-value variables. One immutable description serves every process; a process makes its own class object
/// from it the first time the class is touched there, so a fleet of processes shares everything that nobody
/// changed.
class ClassDescription {
public:
    using Getter = std::function<Value(Object&)>;
    using Setter = std::function<void(Object&, const Value&)>;
    using Instantiate = std::shared_ptr<Object> (*)();
    struct Entry {
        SEL selector;
        IMP implementation;
    };
    struct Variable {
        Getter get;
        Setter set;
    };

    /// The description of T, a direct subclass of Super (`void` for a root).
    template <typename T, typename Super> static ClassDescription of(std::string name)
    {
        ClassDescription description;
        description.m_name = std::move(name);
        if constexpr (!std::is_void_v<Super>)
            description.m_super = &Super::classDescription();
        if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>)
            // Two allocations: weak tables outlive objects, and must not keep their memory.
            description.m_instantiate
                = [] { return std::static_pointer_cast<Object>(std::shared_ptr<T>(new T)); };
        return description;
    }

    /// The description of a class without C++ of its own, under a described one that outlives it: its objects
    /// are of the superclass's C++ type.
    static ClassDescription named(std::string name, const ClassDescription& super)
    {
        ClassDescription description;
        description.m_name = std::move(name);
        description.m_super = &super;
        description.m_instantiate = super.m_instantiate;
        return description;
    }

    /// Adds an operation: a member function, or a static one that takes the receiver first or not at all.
    template <auto Function> ClassDescription& method(SEL selector);
    /// Adds a class-level operation: a static function that may take `Class self` first.
    template <auto Function> ClassDescription& classMethod(SEL selector);
    /// Adds an implementation that is already erased.
    ClassDescription& method(SEL selector, const IMP& implementation);
    ClassDescription& classMethod(SEL selector, const IMP& implementation);
    ClassDescription& protocol(std::string name);
    /// Declares a variable for key-value coding: a data member holding text, numbers, `Value`, or a shared or
    /// weak pointer.
    template <auto Member> ClassDescription& variable(std::string name);
    ClassDescription& variable(std::string name, Getter get, Setter set = nullptr);

    const std::string& name() const { return m_name; }
    const ClassDescription* superDescription() const { return m_super; }
    Instantiate instantiate() const { return m_instantiate; }
    const std::vector<Entry>& methods() const { return m_methods; }
    const std::vector<Entry>& classMethods() const { return m_classMethods; }
    const std::vector<std::string>& protocols() const { return m_protocols; }
    const std::map<std::string, Variable, std::less<>>& variables() const { return m_variables; }

private:
    std::string m_name;
    const ClassDescription* m_super { nullptr };
    Instantiate m_instantiate { nullptr };
    std::vector<Entry> m_methods;
    std::vector<Entry> m_classMethods;
    std::vector<std::string> m_protocols;
    std::map<std::string, Variable, std::less<>> m_variables;
};

/// Makes a described class findable by name. One static object beside each class's description.
struct RegisteredClass {
    explicit RegisteredClass(const ClassDescription& (*description)());
};

/// The same for descriptions that are made from a table when the first process looks a class up. They are
/// never destroyed.
struct RegisteredClasses {
    explicit RegisteredClasses(std::function<std::vector<const ClassDescription*>()> descriptions);
};

/// Methods that another module adds to a described class, as a category does: they stand before the class's
/// own, whichever process makes the class. One static object beside the functions.
struct RegisteredCategory {
    RegisteredCategory(const ClassDescription& (*extended)(), ClassDescription (*additions)());
};

namespace detail {

// Makes a plain function, the shape an IMP has, out of what a class was written with.
template <auto Function, typename F = decltype(Function)> struct Thunk;

template <auto Function, typename T, typename R, typename... A> struct Thunk<Function, R (T::*)(A...)> {
    static TravellingResult<R> call(id self, SEL, Travelling<A>... arguments)
    {
        return static_cast<TravellingResult<R>>(
            (static_cast<T*>(self)->*Function)(downcast<A>(arguments)...));
    }
    template <typename P, typename V> static decltype(auto) downcast(V&& value)
    {
        using Plain = std::remove_cvref_t<P>;
        if constexpr (ObjectPointer<Plain> || std::is_enum_v<Plain>)
            return static_cast<Plain>(value);
        else
            return std::forward<V>(value);
    }
};
template <auto Function, typename T, typename R, typename... A> struct Thunk<Function, R (T::*)(A...) const> {
    static TravellingResult<R> call(id self, SEL, Travelling<A>... arguments)
    {
        using Other = Thunk<Function, R (T::*)(A...)>;
        return static_cast<TravellingResult<R>>(
            (static_cast<const T*>(self)->*Function)(Other::template downcast<A>(arguments)...));
    }
};
template <auto Function, typename R, typename... A> struct Thunk<Function, R (*)(A...)> {
    static TravellingResult<R> call(id, SEL, Travelling<A>... arguments)
    {
        return static_cast<TravellingResult<R>>(Function(arguments...));
    }
};
template <auto Function, typename R, typename... A> struct Thunk<Function, R (*)(Class, A...)> {
    static TravellingResult<R> call(id self, SEL, Travelling<A>... arguments)
    {
        return static_cast<TravellingResult<R>>(Function(static_cast<Class>(self), arguments...));
    }
};

template <typename M> struct MemberOf;
template <typename T, typename M> struct MemberOf<M T::*> {
    using Owner = T;
    using Type = M;
};
template <typename T> struct SharedTarget;
template <typename T> struct SharedTarget<std::shared_ptr<T>> {
    using type = T;
};
template <typename T> struct SharedTarget<std::weak_ptr<T>> {
    using type = T;
};

template <typename M> Value box(const M& member)
{
    if constexpr (requires {
                      typename SharedTarget<M>::type;
                      member.lock();
                  })
        return Value { member.lock() };
    else if constexpr (std::is_enum_v<M>)
        return Value { static_cast<int64_t>(member) };
    else
        return Value { member };
}

template <typename M> void unbox(M& member, const Value& value)
{
    if constexpr (requires { typename SharedTarget<M>::type; })
        member = as<typename SharedTarget<M>::type>(value.object());
    else if constexpr (std::is_same_v<M, Value>)
        member = value;
    else if constexpr (std::is_same_v<M, std::string>)
        member = value.stringOrEmpty();
    else if constexpr (std::is_same_v<M, bool>)
        member = value.boolValue();
    else if constexpr (std::is_floating_point_v<M>)
        member = static_cast<M>(value.doubleValue());
    else
        member = static_cast<M>(value.integerValue());
}

} // namespace detail

template <auto Function> ClassDescription& ClassDescription::method(SEL selector)
{
    m_methods.push_back({ selector, IMP { &detail::Thunk<Function>::call } });
    return *this;
}

template <auto Function> ClassDescription& ClassDescription::classMethod(SEL selector)
{
    m_classMethods.push_back({ selector, IMP { &detail::Thunk<Function>::call } });
    return *this;
}

template <auto Member> ClassDescription& ClassDescription::variable(std::string name)
{
    using M = detail::MemberOf<decltype(Member)>;
    return variable(
        std::move(name),
        [](Object& object) { return detail::box(static_cast<typename M::Owner&>(object).*Member); },
        [](Object& object, const Value& value) {
            detail::unbox(static_cast<typename M::Owner&>(object).*Member, value);
        });
}

} // namespace lumora
