#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/process/Lock.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <thread>

namespace lumora {

/// Time that stands still until it is moved. Everything runs on the calling thread, in order of (due time,
/// order of posting), so the same input gives the same run every time. Posting is safe from any thread;
/// `advance` and `drain` are for one.
class VirtualExecutor final : public Executor {
public:
    /// Where virtual time begins: 2023-11-14 22:13:20 UTC.
    static constexpr double epoch = 1'700'000'000;

    explicit VirtualExecutor(Process& process, double start = epoch);
    ~VirtualExecutor() override;

    /// Runs what is due now, and what that posts for the same instant.
    void drain();
    /// Moves the time, running each due task at its own instant.
    void advance(double seconds);
    /// Runs what is due now, and what other threads post for now meanwhile, until the condition holds; false
    /// when it does not within so many real seconds. For what is real behind a virtual clock.
    bool drainUntil(const std::function<bool()>& condition, double realSeconds);
    /// Moves the clock without running anything, as a device that slept.
    void advanceClockOnly(double seconds);
    /// How many tasks wait, timers included.
    size_t pendingTasks() const;

    double now() const override;
    bool isMainThread() const override;
    DispatchQueue& mainQueue() override;
    DispatchQueue& globalQueue() override;
    std::shared_ptr<DispatchQueue> makeQueue(std::string label, bool concurrent) override;
    std::shared_ptr<ScheduledTimer> scheduleTimer(std::string name, double seconds, Task task) override;
    std::vector<std::shared_ptr<ScheduledTimer>> pendingTimers() const override;
    bool runMainLoop(double seconds, const std::function<bool()>& until) override;
    void stop() override;

private:
    class Queue;
    class Timer;
    struct Entry {
        std::shared_ptr<const Queue> queue;
        std::shared_ptr<Timer> timer;
        Task task;
    };
    using Key = std::pair<double, uint64_t>;

    bool post(std::shared_ptr<const Queue> queue, double seconds, Task task,
        std::shared_ptr<Timer> timer = nullptr);
    /// Runs the first entry due by then; false when there is none.
    bool runNext(double until);

    Process& m_process;
    mutable Lock m_lock;
    std::condition_variable m_posted;
    std::map<Key, Entry> m_entries LUMORA_GUARDED_BY(m_lock);
    double m_now LUMORA_GUARDED_BY(m_lock);
    uint64_t m_sequence LUMORA_GUARDED_BY(m_lock) { 0 };
    bool m_stopped LUMORA_GUARDED_BY(m_lock) { false };
    std::shared_ptr<Queue> m_main;
    std::shared_ptr<Queue> m_global;
    // What the driving thread is running; another thread is never the main one.
    std::atomic<const Queue*> m_running { nullptr };
    std::thread::id m_thread;
};

} // namespace lumora
