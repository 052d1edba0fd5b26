#pragma once

#include "platform/objc/Class.h"
#include "platform/objc/NSException.h"

#include <any>

namespace lumora {

/// A message as an object: what `forwardInvocation` is handed. Copyable; arguments and result can be read and
/// written. An object argument is borrowed until `retainArguments`, so a copy that outlives the call must
/// call it. Any thread.
class NSInvocation {
public:
    SEL selector() const { return m_selector; }
    id target() const { return m_target; }
    size_t argumentCount() const { return m_arguments.size(); }

    /// An argument by position, receiver and selector not counted. Raises when there is none or the type is
    /// another.
    template <typename T> T argument(size_t index) const { return cast<T>(m_arguments[checked(index)]); }
    template <typename T> void setArgument(size_t index, T value)
    {
        m_arguments[checked(index)] = std::move(value);
    }
    template <typename T> T returnValue() const { return m_result.has_value() ? cast<T>(m_result) : T(); }
    template <typename T> void setReturnValue(T value) { m_result = std::move(value); }

    /// The object arguments, in their order.
    std::vector<id> objectArguments() const;

    /// Sends the message to another object and keeps its result here.
    void invokeWithTarget(id target) { m_invoke(*this, target); }
    /// Keeps the object arguments alive as long as this invocation.
    void retainArguments();

    /// Used by the message gate.
    using Invoke = void (*)(NSInvocation&, id);
    NSInvocation(id target, SEL selector, std::vector<std::any> arguments, Invoke invoke)
        : m_target(target)
        , m_selector(selector)
        , m_arguments(std::move(arguments))
        , m_invoke(invoke)
    {
    }

private:
    size_t checked(size_t index) const
    {
        if (index >= m_arguments.size())
            throw NSException(NSInvalidArgumentException, "an invocation has no such argument");
        return index;
    }
    template <typename T> static T cast(const std::any& value)
    {
        if (const T* typed = std::any_cast<T>(&value))
            return *typed;
        throw NSException(
            NSInvalidArgumentException, "an invocation's argument or result is of another type");
    }

    id m_target;
    SEL m_selector;
    std::vector<std::any> m_arguments;
    std::any m_result;
    Invoke m_invoke;
    std::vector<std::shared_ptr<Object>> m_retained;
};

template <typename R, typename... A>
TravellingResult<R> send(Object* receiver, SEL selector, const A&... arguments);

namespace detail {

template <typename R, typename... A, size_t... I>
void reinvoke(NSInvocation& invocation, id target, std::index_sequence<I...>)
{
    if constexpr (std::is_void_v<R>)
        send<R>(target, invocation.selector(), invocation.argument<std::remove_cvref_t<A>>(I)...);
    else
        invocation.setReturnValue<R>(
            send<R>(target, invocation.selector(), invocation.argument<std::remove_cvref_t<A>>(I)...));
}

/// Builds the invocation from the call itself and lets the receiver forward it.
template <typename R, typename... A> R forward(id receiver, SEL selector, A... arguments)
{
    NSInvocation invocation(receiver, selector, { std::any(std::remove_cvref_t<A>(arguments))... },
        [](NSInvocation& self, id target) {
            reinvoke<R, A...>(self, target, std::index_sequence_for<A...> {});
        });
    receiver->forwardInvocation(invocation);
    if constexpr (!std::is_void_v<R>)
        return invocation.returnValue<R>();
}

} // namespace detail

} // namespace lumora
