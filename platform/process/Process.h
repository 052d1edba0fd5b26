#pragma once

#include "platform/foundation/Value.h"
#include "platform/process/Lock.h"
#include "platform/process/ProcessConfiguration.h"

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace lumora {

class ClassRegistry;
class DispatchQueue;
class Executor;

/// One host process: its main queue and clock, classes, home folder, bundle information, device, network and
/// console. Everything that is "process-wide" anywhere in the program hangs on one of these, so a test makes
/// a fresh process in a line and a restart is a second Process on the same home folder.
///
/// Made and destroyed on the thread that becomes its main thread. Destruction stops the network, the queues
/// and the timers first, then frees the process's locals in reverse order of their making. All objects of the
/// process must be gone by then.
class Process {
public:
    explicit Process(ProcessConfiguration configuration);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// The process the calling thread belongs to. A thread that belongs to none is in the default process,
    /// which a host application has exactly one of, made on first use.
    static Process& current();

    /// Makes the calling thread belong to a process for the length of a block.
    class Scope {
    public:
        explicit Scope(Process& process);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Process* m_previous;
    };

    const ProcessConfiguration& configuration() const { return m_configuration; }
    ClassRegistry& classes() const { return *m_classes; }
    Executor& executor() const { return *m_executor; }
    DispatchQueue& mainQueue() const;
    bool isMainThread() const;
    /// Seconds since 1970, fractional, by the process's clock.
    double now() const;
    /// A line on the system console: "<process>: text". Any thread.
    void log(std::string_view line) const;

    /// Stops network, queues and timers; what was not run is dropped. Called by the destructor.
    void stop();

private:
    friend class ProcessLocalBase;
    friend class ProcessOnce;

    // A local value of the process. `ready` is read without the lock; the rest belongs to the one making it.
    struct Local {
        std::atomic<void*> ready { nullptr };
        void* underConstruction { nullptr };
        std::thread::id maker;
    };
    struct Maker {
        /// Makes the value and answers its address and owner; nothing else may see it yet.
        std::pair<void*, std::shared_ptr<void>> (*allocate)();
        /// Finishes the value; may reach for it again on the same thread.
        void (*initialise)(void*);
    };
    static constexpr size_t localsPerChunk = 64;
    static constexpr size_t localChunks = 8;
    using LocalChunk = std::array<Local, localsPerChunk>;

    Local& local(size_t index);
    void* makeLocal(size_t index, const Maker& maker);

    ProcessConfiguration m_configuration;
    std::array<std::atomic<LocalChunk*>, localChunks> m_localChunks {};
    Lock m_lock;
    std::condition_variable m_localReady;
    std::vector<std::pair<Local*, std::shared_ptr<void>>> m_locals LUMORA_GUARDED_BY(m_lock);
    std::unique_ptr<ClassRegistry> m_classes;
    std::unique_ptr<Executor> m_executor;
};

/// What a class does when it is loaded: called in every process as soon as that stands, on the thread that
/// makes it, in no stated order. One static object beside the class.
struct LoadHook {
    explicit LoadHook(void (*hook)() noexcept);
};

} // namespace lumora
