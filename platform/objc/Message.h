#pragma once

#include "platform/objc/ClassRegistry.h"
#include "platform/objc/NSInvocation.h"

namespace lumora {

namespace detail {

/// Raised when caller and method disagree about the types.
[[noreturn]] void raiseTypeMismatch(
    const Object* receiver, SEL selector, const TypeEncoding& method, const TypeEncoding& call);

template <typename R, typename... A>
R sendTo(const ClassObject* cls, id receiver, SEL selector, A... arguments)
{
    // A root class's superclass, and the class of an object that was not made by `alloc`, is null.
    Method method = cls ? cls->methodFor(selector) : nullptr;
    if (!method) [[unlikely]]
        return forward<R, A...>(receiver, selector, static_cast<A>(arguments)...);
    const TypeEncoding& call = methodEncoding<R, A...>();
    if (method->types != &call) [[unlikely]]
        raiseTypeMismatch(receiver, selector, *method->types, call);
    return callImplementation<R, A...>(
        method->function.load(std::memory_order_acquire), receiver, selector, static_cast<A>(arguments)...);
}

template <typename F> struct TypedSend;
template <typename R, typename... A> struct TypedSend<R(A...)> {
    using Result = TravellingResult<R>;
    static Result send(id receiver, SEL selector, Travelling<A>... arguments)
    {
        if (!receiver)
            return Result();
        return sendTo<Result, Travelling<A>...>(
            receiver->isa(), receiver, selector, static_cast<Travelling<A>>(arguments)...);
    }
    static Result sendSuper(Class current, id receiver, SEL selector, Travelling<A>... arguments)
    {
        return sendTo<Result, Travelling<A>...>(
            current->superclass(), receiver, selector, static_cast<Travelling<A>>(arguments)...);
    }
};

template <typename T> decltype(auto) borrow(T&& argument)
{
    if constexpr (requires { static_cast<id>(argument.get()); })
        return static_cast<id>(argument.get());
    else
        return std::forward<T>(argument);
}

} // namespace detail

/// Sends a message: the one gate of every dynamic call. Nil answers zero. A receiver without the method is
/// asked to forward it. Takes no lock and allocates nothing once a class has seen the selector.
template <typename F, typename... A>
auto send(Object* receiver, const TypedSelector<F>& selector, A&&... arguments)
{
    return detail::TypedSend<F>::send(receiver, selector, detail::borrow(std::forward<A>(arguments))...);
}
template <typename F, typename T, typename... A>
auto send(const std::shared_ptr<T>& receiver, const TypedSelector<F>& selector, A&&... arguments)
{
    return send(static_cast<id>(receiver.get()), selector, std::forward<A>(arguments)...);
}

/// The same for a selector known only at run time; the types are those of the call.
template <typename R, typename... A>
TravellingResult<R> send(Object* receiver, SEL selector, const A&... arguments)
{
    if (!receiver)
        return TravellingResult<R>();
    return detail::sendTo<TravellingResult<R>, Travelling<A>...>(
        receiver->isa(), receiver, selector, arguments...);
}

/// Calls what the superclass of `current` answers at this moment. `current` is the class whose method is
/// running.
template <typename F, typename... A>
auto sendSuper(Class current, Object* receiver, const TypedSelector<F>& selector, A&&... arguments)
{
    return detail::TypedSend<F>::sendSuper(
        current, receiver, selector, detail::borrow(std::forward<A>(arguments))...);
}

namespace sel {
inline constinit const TypedSelector<id()> init { "init" };
inline constinit const TypedSelector<std::shared_ptr<Object>()> newInstance { "new" };
inline constinit const TypedSelector<Value(std::string)> valueForUndefinedKey { "valueForUndefinedKey:" };
} // namespace sel

/// Allocates and sends `init`.
template <typename T> std::shared_ptr<T> make()
{
    std::shared_ptr<T> object = alloc<T>();
    send(object, sel::init);
    return object;
}

} // namespace lumora
