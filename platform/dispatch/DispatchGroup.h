#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/process/Lock.h"

namespace lumora {

/// Counts work that is under way and says when there is none. Shared by those who work; any thread.
class DispatchGroup {
public:
    void enter();
    /// Balances one `enter`. One too many is ignored.
    void leave();
    /// Posts a task once nothing is under way: at once, or at the `leave` that balances the last `enter`.
    /// Those that wait for the same `leave` are posted in the order in which they came. The queue is borrowed
    /// until then.
    void notify(DispatchQueue& queue, Task task);

private:
    struct Notification {
        DispatchQueue& queue;
        Task task;
    };
    Lock m_lock;
    size_t m_underWay LUMORA_GUARDED_BY(m_lock) { 0 };
    std::vector<Notification> m_notifications LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
