#pragma once

#include "platform/objc/Message.h"
#include "platform/uikit/UIView.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace lumora {

// What the objects of a stand-in's SDK receive, and do about it. Any thread.

/// A message that an SDK's own implementation received: "-[MPAdView managerDidLoadAd:] <MPClosableView:
/// 0x1>". The implementations of the hooked methods write it down, so that a test sees that they ran, how
/// often, and with what.
std::string messageText(id receiver, SEL selector, const std::vector<Value>& arguments);
void noteReceived(id self, SEL _cmd, std::vector<Value> arguments = {});
/// What was received in this process so far, and forgets it.
std::vector<std::string> takeReceived();

/// What a message carries, as it is written down; nothing for pointers and blocks.
template <typename T> Value messageArgument(const T& argument)
{
    if constexpr (std::is_convertible_v<T, const Object*>)
        return Value { retain(static_cast<Object*>(argument)) };
    else if constexpr (std::is_constructible_v<Value, T> && !std::is_pointer_v<T>)
        return Value { argument };
    else
        return Value {};
}

/// What an object of an SDK does when it receives a hooked message, and answers if that answers an object.
using StandInBehaviour = std::function<std::shared_ptr<Object>()>;
void setBehaviour(Object& receiver, StandInBehaviour behaviour);
std::shared_ptr<Object> runBehaviour(id receiver);

/// The SDK's own implementation of a hooked method: notes the message, then does what the receiver does. A
/// yes or no is answered with yes.
template <typename R, typename... A> R standInMethod(id self, SEL _cmd, A... arguments)
{
    noteReceived(self, _cmd, { messageArgument<std::remove_cvref_t<A>>(arguments)... });
    std::shared_ptr<Object> answer = runBehaviour(self);
    if constexpr (std::is_same_v<R, std::shared_ptr<Object>>)
        return answer;
    else if constexpr (!std::is_void_v<R>)
        return R(true);
}

/// `didMoveToWindow` of an SDK's view of that class: notes it, and passes it on.
template <const char* const& className> void standInDidMoveToWindow(id self, SEL _cmd)
{
    noteReceived(self, _cmd);
    sendSuper(NSClassFromString(className), self, sel::didMoveToWindow);
}

} // namespace lumora
