#include "platform/dispatch/Executor.h"

#include "platform/dispatch/RunTask.h"
#include "platform/process/Process.h"

#include <exception>

namespace lumora {

void runTask(Process& process, Task& task) noexcept
{
    Process::Scope scope(process);
    try {
        task();
    } catch (const std::exception& exception) {
        process.log(std::string { "uncaught exception ended a task: " } + exception.what());
    } catch (...) {
        process.log("uncaught exception ended a task");
    }
    task = nullptr;
}

DispatchQueue& dispatch_get_main_queue() { return Process::current().mainQueue(); }
DispatchQueue& dispatch_get_global_queue() { return Process::current().executor().globalQueue(); }

std::shared_ptr<DispatchQueue> dispatch_queue_create(std::string label, bool concurrent)
{
    return Process::current().executor().makeQueue(std::move(label), concurrent);
}

void onMainThread(Task task)
{
    if (Process::current().isMainThread())
        task();
    else
        dispatch_get_main_queue().async(std::move(task));
}

} // namespace lumora
