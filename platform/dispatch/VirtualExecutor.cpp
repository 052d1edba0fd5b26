#include "platform/dispatch/VirtualExecutor.h"

#include "platform/dispatch/RunTask.h"
#include "platform/process/Process.h"

#include <chrono>
#include <cmath>

namespace lumora {

class VirtualExecutor::Queue final : public DispatchQueue, public std::enable_shared_from_this<Queue> {
public:
    Queue(VirtualExecutor& executor, std::string label)
        : m_executor(executor)
        , m_label(std::move(label))
    {
    }
    const std::string& label() const override { return m_label; }
    bool async(Task task) override { return m_executor.post(shared_from_this(), 0, std::move(task)); }
    bool asyncAfter(double seconds, Task task) override
    {
        return m_executor.post(shared_from_this(), seconds, std::move(task));
    }

private:
    VirtualExecutor& m_executor;
    std::string m_label;
};

class VirtualExecutor::Timer final : public ScheduledTimer {
public:
    Timer(VirtualExecutor& executor, std::string name)
        : m_executor(executor)
        , m_name(std::move(name))
    {
    }
    void cancel() override
    {
        Entry dropped;
        Locker hold(m_executor.m_lock);
        if (auto entry = m_executor.m_entries.find(key);
            entry != m_executor.m_entries.end() && entry->second.timer.get() == this) {
            dropped = std::move(entry->second);
            m_executor.m_entries.erase(entry);
        }
    }
    bool isPending() const override
    {
        Locker hold(m_executor.m_lock);
        auto entry = m_executor.m_entries.find(key);
        return entry != m_executor.m_entries.end() && entry->second.timer.get() == this;
    }
    double dueTime() const override { return key.first; }
    const std::string& name() const override { return m_name; }

    Key key;

private:
    VirtualExecutor& m_executor;
    std::string m_name;
};

VirtualExecutor::VirtualExecutor(Process& process, double start)
    : m_process(process)
    , m_now(start)
    , m_main(std::make_shared<Queue>(*this, "com.apple.main-thread"))
    , m_global(std::make_shared<Queue>(*this, "com.apple.root.default-qos"))
    , m_thread(std::this_thread::get_id())
{
}

VirtualExecutor::~VirtualExecutor() = default;

DispatchQueue& VirtualExecutor::mainQueue() { return *m_main; }
DispatchQueue& VirtualExecutor::globalQueue() { return *m_global; }

double VirtualExecutor::now() const
{
    Locker hold(m_lock);
    return m_now;
}

bool VirtualExecutor::isMainThread() const
{
    const Queue* running = m_running.load(std::memory_order_acquire);
    return std::this_thread::get_id() == m_thread && (!running || running == m_main.get());
}

std::shared_ptr<DispatchQueue> VirtualExecutor::makeQueue(std::string label, bool)
{
    return std::make_shared<Queue>(*this, std::move(label));
}

bool VirtualExecutor::post(
    std::shared_ptr<const Queue> queue, double seconds, Task task, std::shared_ptr<Timer> timer)
{
    const double delay = std::isnan(seconds) ? 0 : std::max(0.0, seconds);
    Locker hold(m_lock);
    if (m_stopped)
        return false;
    const Key key { m_now + delay, m_sequence++ };
    if (timer)
        timer->key = key;
    m_entries.emplace(key, Entry { std::move(queue), std::move(timer), std::move(task) });
    m_posted.notify_all();
    return true;
}

std::shared_ptr<ScheduledTimer> VirtualExecutor::scheduleTimer(std::string name, double seconds, Task task)
{
    auto timer = std::make_shared<Timer>(*this, std::move(name));
    post(m_main, seconds, std::move(task), timer);
    return timer;
}

std::vector<std::shared_ptr<ScheduledTimer>> VirtualExecutor::pendingTimers() const
{
    std::vector<std::shared_ptr<ScheduledTimer>> timers;
    Locker hold(m_lock);
    for (const auto& [key, entry] : m_entries) {
        if (entry.timer)
            timers.push_back(entry.timer);
    }
    return timers;
}

size_t VirtualExecutor::pendingTasks() const
{
    Locker hold(m_lock);
    return m_entries.size();
}

bool VirtualExecutor::runNext(double until)
{
    Entry entry;
    {
        Locker hold(m_lock);
        auto first = m_entries.begin();
        if (first == m_entries.end() || first->first.first > until)
            return false;
        m_now = std::max(m_now, first->first.first);
        entry = std::move(first->second);
        m_entries.erase(first);
    }
    const Queue* outer = m_running.exchange(entry.queue.get(), std::memory_order_acq_rel);
    runTask(m_process, entry.task);
    m_running.store(outer, std::memory_order_release);
    return true;
}

void VirtualExecutor::drain()
{
    const double instant = now();
    while (runNext(instant)) { }
}

bool VirtualExecutor::drainUntil(const std::function<bool()>& condition, double realSeconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now()
        + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(realSeconds));
    while (!condition()) {
        if (runNext(now()))
            continue;
        const auto left = end - Clock::now();
        if (left <= Clock::duration::zero())
            return false;
        Locker hold(m_lock);
        const auto first = m_entries.begin();
        if (first == m_entries.end() || first->first.first > m_now)
            hold.waitFor(m_posted, left);
    }
    return true;
}

void VirtualExecutor::advance(double seconds)
{
    const double target = now() + seconds;
    while (runNext(target)) { }
    Locker hold(m_lock);
    m_now = std::max(m_now, target);
}

void VirtualExecutor::advanceClockOnly(double seconds)
{
    Locker hold(m_lock);
    m_now += seconds;
}

bool VirtualExecutor::runMainLoop(double seconds, const std::function<bool()>& until)
{
    const double target = now() + seconds;
    while (!until()) {
        if (!runNext(target)) {
            Locker hold(m_lock);
            m_now = std::max(m_now, target);
            break;
        }
    }
    return until();
}

void VirtualExecutor::stop()
{
    std::map<Key, Entry> dropped;
    Locker hold(m_lock);
    m_stopped = true;
    dropped.swap(m_entries);
}

} // namespace lumora
