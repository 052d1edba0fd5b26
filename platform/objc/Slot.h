#pragma once

#include "platform/objc/ClassRegistry.h"

namespace lumora {

/// The place where a hook keeps the implementation it replaced: one static object per hook, one cell of it
/// per process. The cell is found through the receiver's class, never through the calling thread: networks
/// call from threads of their own. Reading takes no lock.
class SlotBase {
public:
    SlotBase();
    SlotBase(const SlotBase&) = delete;
    SlotBase& operator=(const SlotBase&) = delete;

    /// What the slot holds in a process; null before the hook was installed there.
    IMP::Function load(ClassRegistry& registry) const
    {
        return registry.slotCell(m_index).load(std::memory_order_acquire);
    }
    void store(ClassRegistry& registry, IMP::Function previous) const
    {
        registry.slotCell(m_index).store(previous, std::memory_order_release);
    }

private:
    size_t m_index;
};

template <typename F> class Slot;
template <typename R, typename... A> class Slot<R(id, SEL, A...)> : public SlotBase {
public:
    /// Calls the replaced implementation. An exception of the host's own code passes through.
    R operator()(id self, SEL selector, A... arguments) const
    {
        return callImplementation<R, A...>(
            load(self->isa()->registry()), self, selector, static_cast<A>(arguments)...);
    }
};

} // namespace lumora
