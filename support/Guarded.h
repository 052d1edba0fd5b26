#pragma once

#include "platform/foundation/Console.h"
#include "platform/objc/ClassRegistry.h"
#include "platform/process/Process.h"

#include <exception>
#include <string>

namespace lumora {

/// Runs work of ours, or a call out to a delegate, listener or completion, whose exception must not reach the
/// code around it. Answers whether it ran to its end.
template <typename F> bool guarded(F&& work) noexcept
{
    try {
        std::forward<F>(work)();
        return true;
    } catch (const std::exception& exception) {
        NSLog(std::string { "[Lumora] an exception was stopped: " } + exception.what());
    } catch (...) {
        NSLog("[Lumora] an exception was stopped");
    }
    return false;
}

/// A hook's own extra work, inside the receiver's process, whichever thread the network calls from. What goes
/// wrong in it, an unknown private key above all, counts as nothing found and is not logged. A receiver that
/// is being destroyed gets none.
template <typename F> void guardedHook(const Object* self, F&& work) noexcept
{
    if (self->weak_from_this().expired())
        return;
    try {
        Process::Scope scope(self->isa()->registry().process());
        std::forward<F>(work)();
    } catch (...) { // NOLINT(bugprone-empty-catch): a network that changed its private properties is no news
    }
}

/// Calls a completion that may be absent.
template <typename F, typename... A> void callCompletion(const F& completion, const A&... arguments)
{
    if (completion)
        guarded([&] { completion(arguments...); });
}

} // namespace lumora
