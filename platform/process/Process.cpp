#include "platform/process/Process.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/HTTPTransport.h"
#include "platform/objc/ClassRegistry.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

namespace {
thread_local Process* t_current = nullptr;

Process& defaultProcess()
{
    // Never destroyed: a host's threads may still call hooks while its static objects are going.
    static Process& process = *new Process({});
    return process;
}

std::vector<void (*)() noexcept>& loadHooks()
{
    static auto& hooks = *new std::vector<void (*)() noexcept>;
    return hooks;
}
} // namespace

Process::Process(ProcessConfiguration configuration)
    : m_configuration(completed(std::move(configuration)))
    , m_classes(std::make_unique<ClassRegistry>(*this))
    , m_executor(m_configuration.makeExecutor(*this))
{
    Scope scope(*this);
    for (const auto hook : loadHooks())
        hook();
}

Process::~Process()
{
    Scope scope(*this);
    stop();
    for (;;) {
        std::pair<Local*, std::shared_ptr<void>> last;
        {
            Locker hold(m_lock);
            if (m_locals.empty())
                break;
            last = std::move(m_locals.back());
            m_locals.pop_back();
        }
        // The value may still be reached for while it goes: its address stays valid until its destructor has
        // run.
        last.second.reset();
        last.first->ready.store(nullptr, std::memory_order_release);
    }
    for (auto& chunk : m_localChunks)
        delete chunk.load(std::memory_order_acquire);
}

void Process::stop()
{
    m_configuration.transport->stop();
    m_executor->stop();
}

Process& Process::current() { return t_current ? *t_current : defaultProcess(); }

LoadHook::LoadHook(void (*hook)() noexcept) { loadHooks().push_back(hook); }

Process::Scope::Scope(Process& process)
    : m_previous(t_current)
{
    t_current = &process;
}

Process::Scope::~Scope() { t_current = m_previous; }

DispatchQueue& Process::mainQueue() const { return m_executor->mainQueue(); }
bool Process::isMainThread() const { return m_executor->isMainThread(); }
double Process::now() const { return m_executor->now(); }
void Process::log(std::string_view line) const { m_configuration.console->write(line); }

Process::Local& Process::local(size_t index)
{
    std::atomic<LocalChunk*>& place = m_localChunks.at(index / localsPerChunk);
    LocalChunk* chunk = place.load(std::memory_order_acquire);
    if (!chunk) [[unlikely]] {
        auto fresh = std::make_unique<LocalChunk>();
        if (place.compare_exchange_strong(chunk, fresh.get(), std::memory_order_acq_rel))
            chunk = fresh.release();
    }
    return (*chunk)[index % localsPerChunk];
}

void* Process::makeLocal(size_t index, const Maker& maker)
{
    Local& cell = local(index);
    {
        Locker hold(m_lock);
        while (cell.maker != std::thread::id {}) {
            if (cell.maker == std::this_thread::get_id())
                return cell.underConstruction;
            hold.wait(m_localReady);
        }
        if (void* ready = cell.ready.load(std::memory_order_acquire))
            return ready;
        cell.maker = std::this_thread::get_id();
    }
    Scope scope(*this);
    auto finish = [&](void* value) {
        {
            Locker hold(m_lock);
            cell.maker = {};
            cell.ready.store(value, std::memory_order_release);
        }
        m_localReady.notify_all();
    };
    try {
        auto [value, owner] = maker.allocate();
        {
            Locker hold(m_lock);
            cell.underConstruction = value;
            m_locals.emplace_back(&cell, std::move(owner));
        }
        maker.initialise(value);
        finish(value);
        return value;
    } catch (...) {
        // The next one to ask tries again; nobody waits for ever.
        finish(nullptr);
        throw;
    }
}

ProcessLocalBase::ProcessLocalBase()
{
    static std::atomic<size_t> count { 0 };
    m_index = count.fetch_add(1);
}

bool ProcessOnce::enter(Process& process, Gate& gate)
{
    Locker hold(process.m_lock);
    while (gate.running) {
        if (gate.runner == std::this_thread::get_id())
            return false;
        hold.wait(process.m_localReady);
    }
    if (gate.done.load(std::memory_order_acquire))
        return false;
    gate.running = true;
    gate.runner = std::this_thread::get_id();
    return true;
}

void ProcessOnce::leave(Process& process, Gate& gate)
{
    {
        Locker hold(process.m_lock);
        gate.running = false;
        gate.done.store(true, std::memory_order_release);
    }
    process.m_localReady.notify_all();
}

} // namespace lumora
