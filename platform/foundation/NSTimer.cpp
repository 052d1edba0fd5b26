#include "platform/foundation/NSTimer.h"

#include "platform/dispatch/Executor.h"
#include "platform/objc/Message.h"
#include "platform/process/Process.h"

#include <algorithm>
#include <cmath>

namespace lumora {

const ClassDescription& NSTimer::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSTimer, NSObject>("NSTimer"));
    return description;
}
static const RegisteredClass registered { &NSTimer::classDescription };

double effectiveTimerInterval(double interval)
{
    constexpr double shortest = 0.0001;
    constexpr double longest = 1e9;
    return std::isnan(interval) || interval <= 0 ? shortest : std::min(interval, longest);
}

std::shared_ptr<NSTimer> NSTimer::scheduledTimerWithTimeInterval(
    double interval, std::shared_ptr<Object> target, SEL selector, bool repeats)
{
    std::shared_ptr<NSTimer> timer = make<NSTimer>();
    timer->m_interval = effectiveTimerInterval(interval);
    timer->m_selector = selector;
    timer->m_repeats = repeats;
    timer->arm(std::move(target));
    return timer;
}

void NSTimer::arm(std::shared_ptr<Object> target)
{
    const std::string name = "-[" + object_getClassName(target.get()) + " " + sel_getName(m_selector) + "]";
    // Scheduled under the lock, so that an invalidation on another thread finds it.
    Locker hold(m_lock);
    if (!m_valid || !target)
        return;
    m_scheduled = isa()->registry().process().executor().scheduleTimer(name, m_interval,
        [self = std::static_pointer_cast<NSTimer>(shared_from_this()), target = std::move(target)] {
            self->fire(target);
        });
}

void NSTimer::fire(const std::shared_ptr<Object>& target)
{
    {
        Locker hold(m_lock);
        if (!m_valid)
            return;
        m_valid = m_repeats;
        m_scheduled.reset();
    }
    // Armed first: a handler may invalidate its own timer.
    if (m_repeats)
        arm(target);
    if (m_selector->name().ends_with(':'))
        send<void>(target.get(), m_selector, static_cast<id>(this));
    else
        send<void>(target.get(), m_selector);
}

void NSTimer::invalidate()
{
    std::shared_ptr<ScheduledTimer> scheduled;
    {
        Locker hold(m_lock);
        m_valid = false;
        scheduled = std::exchange(m_scheduled, nullptr);
    }
    if (scheduled)
        scheduled->cancel();
}

bool NSTimer::isValid() const
{
    Locker hold(m_lock);
    return m_valid;
}

double NSTimer::fireDate() const
{
    Locker hold(m_lock);
    return m_scheduled ? m_scheduled->dueTime() : 0;
}

} // namespace lumora
