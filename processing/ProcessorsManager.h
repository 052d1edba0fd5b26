#pragma once

#include "platform/foundation/Value.h"
#include "platform/process/Lock.h"
#include "processing/LMAdViewProcessor.h"

#include <vector>

namespace lumora {

class NSTimer;

/// The registry of live processors, oldest first, and the clock of their pipeline: a tick every few seconds
/// looks at a few of the ads, and the events of an ad find its processor here. One per process. The list may
/// be read from any thread; everything else belongs to the main thread. Processors stay when their ads are
/// gone: kept, only `removeProcessor` takes one out.
class ProcessorsManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static ProcessorsManager& sharedInstance();

    /// Arms the first tick, for one second later, and follows the application to the background and back.
    id init();

    /// Registers a processor and hands it what was parked for its ad; null is ignored. Duplicates are not
    /// filtered, and the configured list of SDKs keeps none out.
    void addProcessor(const std::shared_ptr<LMAdViewProcessor>& processor);
    /// Takes every equal one out.
    void removeProcessor(const std::shared_ptr<LMAdViewProcessor>& processor);
    /// A snapshot, in the order of registration.
    std::vector<std::shared_ptr<LMAdViewProcessor>> getAllProcessors() const;
    size_t count() const;

    /// No tick looks at the processors of a view any more, until their next showing; what is no view is
    /// ignored.
    void suspendProcessorTakingScreenshotBy(const Object* view);
    /// Lets the processors of the view fill an event and hands it on, once for each of them; parks it when
    /// there is none. Asks the gate first, and drops the event when that says no. A null event is ignored.
    void eventFired(const std::shared_ptr<TDEventModel>& event, const std::shared_ptr<Object>& forView);
    /// The one that was tapped last, of equal times the oldest; null when none ever was.
    std::shared_ptr<LMAdViewProcessor> getProcessorWithLastTappedAdObject() const;

    /// One tick, and the arming of the next.
    void startTimer();
    /// What a tick does to the ads: looks at so many of them at most, in the order of registration; one that
    /// is older, in seconds, is only counted. Without a limit above 0 all are looked at that are not
    /// suspended.
    void takeScreenshots(int64_t maxTime, int64_t maxCount);

    /// A second timer that the background ends; nobody here sets it.
    void setBlacklistUpdatingTimer(std::shared_ptr<NSTimer> timer)
    {
        m_blacklistUpdatingTimer = std::move(timer);
    }

    /// The markup of a creative, with its identifier before it; both may be absent.
    static std::string makeHTMLFromDictionary(const Value& dictionary);

private:
    void applicationGoForeground(Object* notification);
    void applicationGoBackground(Object* notification);
    /// Arms a one-shot timer; on the main queue.
    void armTimer(double seconds);

    mutable Lock m_lock;
    std::vector<std::shared_ptr<LMAdViewProcessor>> m_adProcessors LUMORA_GUARDED_BY(m_lock);
    // Main thread. A second one may be on its way: kept, coming to the foreground does not ask.
    std::shared_ptr<NSTimer> m_screenshotFiringTimer;
    std::shared_ptr<NSTimer> m_blacklistUpdatingTimer;
    // By the background, or an interruption.
    bool m_isStopped { false };
};

} // namespace lumora
