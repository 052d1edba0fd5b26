#pragma once

#include "platform/objc/Object.h"
#include "platform/process/Lock.h"

namespace lumora {

class ScheduledTimer;

/// A timer on the main run loop that sends a message to its target, with itself as the argument when the
/// selector ends in a colon. Retains its target until it has fired (one-shot) or is invalidated. Intervals
/// are seconds; zero, negative or not-a-number becomes 0.0001, and nothing is longer than 31 years. Any
/// thread; fires on the main thread.
class NSTimer final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// Makes a timer and starts it. The run loop holds it until it is done.
    static std::shared_ptr<NSTimer> scheduledTimerWithTimeInterval(
        double interval, std::shared_ptr<Object> target, SEL selector, bool repeats);
    /// Stops it for good and lets the target go. Twice is harmless.
    void invalidate();
    bool isValid() const;
    double timeInterval() const { return m_interval; }
    /// Seconds since 1970 of the next firing; 0 when invalid.
    double fireDate() const;

private:
    // The run loop holds the target, in the task that is scheduled: whoever drops that task lets the target
    // go.
    void arm(std::shared_ptr<Object> target);
    void fire(const std::shared_ptr<Object>& target);

    mutable Lock m_lock;
    double m_interval { 0 };
    SEL m_selector { nullptr };
    bool m_repeats { false };
    bool m_valid LUMORA_GUARDED_BY(m_lock) { true };
    std::shared_ptr<ScheduledTimer> m_scheduled LUMORA_GUARDED_BY(m_lock);
};

/// The clamped interval a timer runs with.
double effectiveTimerInterval(double interval);

} // namespace lumora
