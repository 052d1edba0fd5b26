#include "platform/dispatch/Executor.h"
#include "platform/dispatch/RunTask.h"
#include "platform/process/Lock.h"
#include "platform/process/Process.h"
#include "platform/process/SignalsBlocked.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <deque>
#include <list>
#include <map>
#include <thread>

namespace lumora {

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t workerCount = 3;
// A timer beyond this many seconds would overflow the clock; nobody waits so long.
constexpr double longestDelay = 1e9;

/// Threads, the machine's clock, and a main queue that runs inside `runMainLoop`. One timer thread moves what
/// falls due onto its queue; a few workers serve all background queues.
class RealExecutor final : public Executor {
public:
    explicit RealExecutor(Process& process);
    ~RealExecutor() override { RealExecutor::stop(); }

    double now() const override
    {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    }
    bool isMainThread() const override { return std::this_thread::get_id() == m_mainThread; }
    DispatchQueue& mainQueue() override;
    DispatchQueue& globalQueue() override;
    std::shared_ptr<DispatchQueue> makeQueue(std::string label, bool concurrent) override;
    std::shared_ptr<ScheduledTimer> scheduleTimer(std::string name, double seconds, Task task) override;
    std::vector<std::shared_ptr<ScheduledTimer>> pendingTimers() const override;
    bool runMainLoop(double seconds, const std::function<bool()>& until) override;
    void stop() override;

private:
    enum class Kind { Main, Serial, Concurrent };
    class Queue;
    class Timer;
    struct Delayed {
        std::shared_ptr<Queue> queue;
        std::shared_ptr<Timer> timer;
        Task task;
    };

    bool post(const std::shared_ptr<Queue>& queue, Task task);
    bool postAfter(
        const std::shared_ptr<Queue>& queue, double seconds, Task task, const std::shared_ptr<Timer>& timer);
    void enqueueLocked(const std::shared_ptr<Queue>& queue, Task task) LUMORA_REQUIRES(m_lock);
    void runWorker();
    void runTimers();

    Process& m_process;
    std::thread::id m_mainThread;
    mutable Lock m_lock;
    std::condition_variable m_mainWork;
    std::condition_variable m_backgroundWork;
    std::condition_variable m_timerWork;
    bool m_stopped LUMORA_GUARDED_BY(m_lock) { false };
    // Background queues with work and no worker of their own yet.
    std::deque<std::shared_ptr<Queue>> m_ready LUMORA_GUARDED_BY(m_lock);
    std::multimap<Clock::time_point, Delayed> m_delayed LUMORA_GUARDED_BY(m_lock);
    std::shared_ptr<Queue> m_main;
    std::shared_ptr<Queue> m_global;
    std::vector<std::thread> m_threads;
};

class RealExecutor::Queue final : public DispatchQueue, public std::enable_shared_from_this<Queue> {
public:
    Queue(RealExecutor& executor, std::string label, Kind kind)
        : m_executor(executor)
        , m_label(std::move(label))
        , m_kind(kind)
    {
    }
    const std::string& label() const override { return m_label; }
    bool async(Task task) override { return m_executor.post(shared_from_this(), std::move(task)); }
    bool asyncAfter(double seconds, Task task) override
    {
        return m_executor.postAfter(shared_from_this(), seconds, std::move(task), nullptr);
    }
    Kind kind() const { return m_kind; }

    // Both belong to the executor's lock. A list, as an idle queue is then small: there may be very many.
    std::list<Task> waiting;
    bool busy { false };

private:
    RealExecutor& m_executor;
    std::string m_label;
    Kind m_kind;
};

class RealExecutor::Timer final : public ScheduledTimer {
public:
    Timer(RealExecutor& executor, std::string name, double due)
        : m_executor(executor)
        , m_name(std::move(name))
        , m_due(due)
    {
    }
    void cancel() override
    {
        m_pending.store(false);
        Delayed dropped;
        Locker hold(m_executor.m_lock);
        for (auto entry = m_executor.m_delayed.begin(); entry != m_executor.m_delayed.end(); ++entry) {
            if (entry->second.timer.get() == this) {
                dropped = std::move(entry->second);
                m_executor.m_delayed.erase(entry);
                return;
            }
        }
    }
    bool isPending() const override { return m_pending.load(); }
    double dueTime() const override { return m_due; }
    const std::string& name() const override { return m_name; }
    /// True for the one caller that may fire it.
    bool claim() { return m_pending.exchange(false); }

private:
    RealExecutor& m_executor;
    std::string m_name;
    double m_due;
    std::atomic<bool> m_pending { true };
};

RealExecutor::RealExecutor(Process& process)
    : m_process(process)
    , m_mainThread(std::this_thread::get_id())
    , m_main(std::make_shared<Queue>(*this, "com.apple.main-thread", Kind::Main))
    , m_global(std::make_shared<Queue>(*this, "com.apple.root.default-qos", Kind::Concurrent))
{
    const SignalsBlocked blocked;
    m_threads.emplace_back([this] { runTimers(); });
    for (size_t i = 0; i < workerCount; i++)
        m_threads.emplace_back([this] { runWorker(); });
}

DispatchQueue& RealExecutor::mainQueue() { return *m_main; }
DispatchQueue& RealExecutor::globalQueue() { return *m_global; }

std::shared_ptr<DispatchQueue> RealExecutor::makeQueue(std::string label, bool concurrent)
{
    return std::make_shared<Queue>(*this, std::move(label), concurrent ? Kind::Concurrent : Kind::Serial);
}

bool RealExecutor::post(const std::shared_ptr<Queue>& queue, Task task)
{
    Locker hold(m_lock);
    if (m_stopped)
        return false;
    enqueueLocked(queue, std::move(task));
    return true;
}

void RealExecutor::enqueueLocked(const std::shared_ptr<Queue>& queue, Task task)
{
    queue->waiting.push_back(std::move(task));
    if (queue->kind() == Kind::Main) {
        m_mainWork.notify_all();
        return;
    }
    // A serial queue is ready once; a concurrent one as often as it has tasks.
    if (queue->kind() == Kind::Serial && queue->busy)
        return;
    queue->busy = true;
    m_ready.push_back(queue);
    m_backgroundWork.notify_one();
}

bool RealExecutor::postAfter(
    const std::shared_ptr<Queue>& queue, double seconds, Task task, const std::shared_ptr<Timer>& timer)
{
    const double delay = std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, longestDelay);
    const auto due
        = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(delay));
    Locker hold(m_lock);
    if (m_stopped)
        return false;
    m_delayed.emplace(due, Delayed { queue, timer, std::move(task) });
    m_timerWork.notify_one();
    return true;
}

std::shared_ptr<ScheduledTimer> RealExecutor::scheduleTimer(std::string name, double seconds, Task task)
{
    auto timer = std::make_shared<Timer>(*this, std::move(name), now() + seconds);
    postAfter(m_main, seconds, std::move(task), timer);
    return timer;
}

std::vector<std::shared_ptr<ScheduledTimer>> RealExecutor::pendingTimers() const
{
    std::vector<std::shared_ptr<ScheduledTimer>> timers;
    Locker hold(m_lock);
    for (const auto& [due, delayed] : m_delayed) {
        if (delayed.timer)
            timers.push_back(delayed.timer);
    }
    return timers;
}

void RealExecutor::runTimers()
{
    Locker hold(m_lock);
    while (!m_stopped) {
        if (m_delayed.empty()) {
            hold.wait(m_timerWork);
            continue;
        }
        auto first = m_delayed.begin();
        if (auto left = first->first - Clock::now(); left > Clock::duration::zero()) {
            hold.waitFor(m_timerWork, left);
            continue;
        }
        Delayed delayed = std::move(first->second);
        m_delayed.erase(first);
        if (!delayed.timer) {
            enqueueLocked(delayed.queue, std::move(delayed.task));
            continue;
        }
        // A cancellation that comes before the main thread gets to it still counts.
        enqueueLocked(delayed.queue, [timer = std::move(delayed.timer), task = std::move(delayed.task)] {
            if (timer->claim())
                task();
        });
    }
}

void RealExecutor::runWorker()
{
    for (;;) {
        std::shared_ptr<Queue> queue;
        Task task;
        {
            Locker hold(m_lock);
            while (m_ready.empty() && !m_stopped)
                hold.wait(m_backgroundWork);
            if (m_stopped)
                return;
            queue = std::move(m_ready.front());
            m_ready.pop_front();
            task = std::move(queue->waiting.front());
            queue->waiting.pop_front();
        }
        runTask(m_process, task);
        Locker hold(m_lock);
        if (queue->kind() != Kind::Serial)
            continue;
        queue->busy = !queue->waiting.empty();
        if (queue->busy)
            m_ready.push_back(std::move(queue));
    }
}

bool RealExecutor::runMainLoop(double seconds, const std::function<bool()>& until)
{
    const auto end = Clock::now()
        + std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(std::clamp(seconds, 0.0, longestDelay)));
    while (!until()) {
        Task task;
        {
            Locker hold(m_lock);
            // What `until` asks may become true on another thread without a task here, so look again now and
            // then.
            const auto left = std::min<Clock::duration>(end - Clock::now(), std::chrono::milliseconds(20));
            if (m_main->waiting.empty() && !m_stopped && left > Clock::duration::zero())
                hold.waitFor(m_mainWork, left);
            if (!m_main->waiting.empty()) {
                task = std::move(m_main->waiting.front());
                m_main->waiting.pop_front();
            } else if (m_stopped || Clock::now() >= end) {
                break;
            }
        }
        if (task)
            runTask(m_process, task);
    }
    return until();
}

void RealExecutor::stop()
{
    {
        Locker hold(m_lock);
        if (m_stopped)
            return;
        m_stopped = true;
    }
    m_mainWork.notify_all();
    m_backgroundWork.notify_all();
    m_timerWork.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();

    // Nothing is added any more. What is left goes after the lock, on this thread.
    std::multimap<Clock::time_point, Delayed> droppedTimers;
    std::vector<std::list<Task>> droppedTasks;
    Locker hold(m_lock);
    droppedTimers.swap(m_delayed);
    m_ready.insert(m_ready.end(), { m_main, m_global });
    for (const auto& queue : m_ready)
        droppedTasks.push_back(std::exchange(queue->waiting, {}));
    m_ready.clear();
}

} // namespace

std::unique_ptr<Executor> makeRealExecutor(Process& process)
{
    return std::make_unique<RealExecutor>(process);
}

} // namespace lumora
