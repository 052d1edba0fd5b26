#include "platform/dispatch/DispatchGroup.h"

namespace lumora {

void DispatchGroup::enter()
{
    Locker hold(m_lock);
    m_underWay++;
}

void DispatchGroup::leave()
{
    std::vector<Notification> due;
    {
        Locker hold(m_lock);
        if (m_underWay == 0 || --m_underWay > 0)
            return;
        due.swap(m_notifications);
    }
    for (Notification& notification : due)
        notification.queue.async(std::move(notification.task));
}

void DispatchGroup::notify(DispatchQueue& queue, Task task)
{
    {
        Locker hold(m_lock);
        if (m_underWay > 0) {
            m_notifications.push_back({ queue, std::move(task) });
            return;
        }
    }
    queue.async(std::move(task));
}

} // namespace lumora
