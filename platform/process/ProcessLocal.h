#pragma once

#include "platform/objc/Message.h"
#include "platform/process/Process.h"

#include <type_traits>

namespace lumora {

class ProcessLocalBase {
protected:
    ProcessLocalBase();
    Process::Local& cell(Process& process) const { return process.local(m_index); }
    void* make(Process& process, const Process::Maker& maker) const
    {
        return process.makeLocal(m_index, maker);
    }
    using Maker = Process::Maker;

    size_t m_index;
};

/// A variable that every process has one of, made on first use under a once-only guard: the others wait, and
/// the thread that is making it gets the unfinished one back. An Object is allocated and then sent `init`;
/// anything else is default-constructed. Reading an existing one takes no lock. Any thread; T guards itself.
template <typename T> class ProcessLocal : private ProcessLocalBase {
public:
    T& get() const { return get(Process::current()); }
    T& get(Process& process) const
    {
        if (void* ready = cell(process).ready.load(std::memory_order_acquire))
            return *static_cast<T*>(ready);
        return *static_cast<T*>(make(process, { &allocate, &initialise }));
    }

private:
    static std::pair<void*, std::shared_ptr<void>> allocate()
    {
        std::shared_ptr<T> value;
        if constexpr (std::is_base_of_v<Object, T>)
            value = alloc<T>();
        else
            value = std::make_shared<T>();
        return { value.get(), value };
    }
    static void initialise(void* value)
    {
        if constexpr (std::is_base_of_v<Object, T>)
            send(static_cast<T*>(value), sel::init);
    }
};

/// Runs something once per process. Others wait until it is done; re-entered on the thread that runs it, it
/// returns at once.
class ProcessOnce {
public:
    template <typename F> void run(F&& function) const
    {
        Process& process = Process::current();
        Gate& gate = m_gate.get(process);
        if (gate.done.load(std::memory_order_acquire) || !enter(process, gate))
            return;
        struct Leave {
            ~Leave() { leave(process, gate); }
            Process& process;
            Gate& gate;
        } leaving { process, gate };
        function();
    }

private:
    struct Gate {
        std::atomic<bool> done { false };
        bool running { false };
        std::thread::id runner;
    };
    /// True for the one caller that is to run; false once it is done or on re-entry.
    static bool enter(Process& process, Gate& gate);
    static void leave(Process& process, Gate& gate);

    ProcessLocal<Gate> m_gate;
};

} // namespace lumora
