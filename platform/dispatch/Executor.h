#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lumora {

class Process;
using Task = std::function<void()>;

/// A queue of a process. Serial ones, the main one among them, run their tasks one at a time in the order
/// they came. Any thread. A task that throws is logged and ends alone.
class DispatchQueue {
public:
    virtual ~DispatchQueue() = default;
    virtual const std::string& label() const = 0;
    /// Runs the task later; false when the process has stopped and the task was dropped.
    virtual bool async(Task task) = 0;
    /// Runs the task after some seconds by the process's clock.
    virtual bool asyncAfter(double seconds, Task task) = 0;
};

/// A timer that waits on the main run loop; cancelled or fired once. Any thread.
class ScheduledTimer {
public:
    virtual ~ScheduledTimer() = default;
    virtual void cancel() = 0;
    /// Waiting: neither fired nor cancelled.
    virtual bool isPending() const = 0;
    /// Seconds since 1970.
    virtual double dueTime() const = 0;
    virtual const std::string& name() const = 0;
};

/// What gives a process its time and its threads. Two kinds: real (threads, the machine's clock) and virtual
/// (one thread, time moved by the test). Both pass one conformance suite.
class Executor {
public:
    virtual ~Executor() = default;

    /// Seconds since 1970.
    virtual double now() const = 0;
    /// True on the thread that runs the main queue, and then only inside main-queue work.
    virtual bool isMainThread() const = 0;
    virtual DispatchQueue& mainQueue() = 0;
    /// The shared concurrent queue.
    virtual DispatchQueue& globalQueue() = 0;
    virtual std::shared_ptr<DispatchQueue> makeQueue(std::string label, bool concurrent) = 0;
    /// Fires once on the main run loop. The name is for people and tests.
    virtual std::shared_ptr<ScheduledTimer> scheduleTimer(std::string name, double seconds, Task task) = 0;
    /// The timers that wait, in the order in which they will fire.
    virtual std::vector<std::shared_ptr<ScheduledTimer>> pendingTimers() const = 0;
    /// Runs main-queue work on the calling thread, the main thread, until the condition holds or the seconds
    /// are over. Answers whether the condition held.
    virtual bool runMainLoop(double seconds, const std::function<bool()>& until) = 0;
    /// Ends all threads and drops what has not run. Main thread.
    virtual void stop() = 0;
};

/// The real one. `runMainLoop` sleeps between tasks.
std::unique_ptr<Executor> makeRealExecutor(Process& process);

DispatchQueue& dispatch_get_main_queue();
DispatchQueue& dispatch_get_global_queue();
std::shared_ptr<DispatchQueue> dispatch_queue_create(std::string label, bool concurrent = false);
/// Runs now when on the main thread, else posts to it.
void onMainThread(Task task);

} // namespace lumora
