#include "processing/ProcessorsManager.h"

#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIView.h"
#include "processing/AdProcessingManager.h"
#include "processing/LMAVPlayersManager.h"
#include "processing/LMDefaultConfig.h"
#include "service/LMEventsManager.h"
#include "support/Guarded.h"
#include "support/NSDateExtensions.h"
#include "support/NSDictionaryExtensions.h"

#include <algorithm>
#include <atomic>

namespace lumora {

namespace {

ProcessLocal<ProcessorsManager> s_sharedInstance;

constexpr double firstTick = 1.0;

double secondsBetweenTicks() { return static_cast<double>(AdProcessingManager::sharedInstance().seconds()); }

void willTakeScreenshot(const LMAdViewProcessor& processor)
{
    LMLog::logDebug(stringWithFormat(
        "[%@][startTimer] %@ will take screenshot", { "ProcessorsManager", processor.description() }));
}

/// Whether a tick looks at a processor; counts one that it leaves out.
bool isDue(LMAdViewProcessor& processor, double now, int64_t maxTime)
{
    const int64_t offline = processor.offlineStateCounter();
    const double age = now - processor.createAtTimestamp();
    if (offline < 0)
        return false;
    if (age > static_cast<double>(maxTime)) {
        processor.setOfflineStateCounter(offline + 1);
        return false;
    }
    if (offline == 0)
        return true;
    // Kept: hashes are never absent, only "error", so an ad that was hidden is looked at only while it is
    // young.
    const int64_t youth = maxTime / 3;
    if (age > static_cast<double>(youth)) {
        processor.setOfflineStateCounter(offline + 1);
        return false;
    }
    return true;
}

} // namespace

const ClassDescription& ProcessorsManager::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<ProcessorsManager, NSObject>("ProcessorsManager")
            .method<&ProcessorsManager::init>(sel::init)
            .method<&ProcessorsManager::startTimer>("startTimer"_sel)
            .method<&ProcessorsManager::applicationGoForeground>("applicationGoForeground:"_sel)
            .method<&ProcessorsManager::applicationGoBackground>("applicationGoBackground:"_sel));
    return description;
}
static const RegisteredClass registered { &ProcessorsManager::classDescription };

ProcessorsManager& ProcessorsManager::sharedInstance() { return s_sharedInstance.get(); }

id ProcessorsManager::init()
{
    LMLog::logDebug("[ProcessorsManager][init]");
    LMAVPlayersManager::sharedInstance();
    armTimer(firstTick);
    NSNotificationCenter& center = NSNotificationCenter::defaultCenter();
    center.addObserver(
        retain(this), "applicationGoForeground:"_sel, UIApplicationWillEnterForegroundNotification, nullptr);
    center.addObserver(
        retain(this), "applicationGoBackground:"_sel, UIApplicationWillResignActiveNotification, nullptr);
    return this;
}

// The registry

void ProcessorsManager::addProcessor(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    if (!processor)
        return;
    // The configured list of SDKs is not asked: kept, it keeps no processor out.
    guarded([&] { LMAVPlayersManager::sharedInstance().checkProcessorForPlayingVideo(processor); });
    LMLog::logDebug(stringWithFormat(
        "[%@][addProcessor] %@ will add screenshot", { "ProcessorsManager", processor->description() }));
    {
        Locker hold(m_lock);
        m_adProcessors.push_back(processor);
    }
    guarded([&] { processor->logAd(); });
    LMEventsManager::shared().checkProcessorForPendingEvents(*processor);
}

void ProcessorsManager::removeProcessor(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    // Equality is the processors' own, so it is asked outside the lock; what goes, goes after it.
    std::vector<std::shared_ptr<LMAdViewProcessor>> equal = getAllProcessors();
    std::erase_if(equal, [&](const auto& known) { return !known->isEqual(processor.get()); });
    Locker hold(m_lock);
    std::erase_if(m_adProcessors,
        [&](const auto& known) { return std::find(equal.begin(), equal.end(), known) != equal.end(); });
}

std::vector<std::shared_ptr<LMAdViewProcessor>> ProcessorsManager::getAllProcessors() const
{
    Locker hold(m_lock);
    return m_adProcessors;
}

size_t ProcessorsManager::count() const
{
    Locker hold(m_lock);
    return m_adProcessors.size();
}

void ProcessorsManager::suspendProcessorTakingScreenshotBy(const Object* view)
{
    if (!dynamic_cast<const UIView*>(view))
        return;
    for (const auto& processor : getAllProcessors()) {
        const auto ad = processor->adObject();
        if (ad && ad->isEqual(view))
            processor->setOfflineStateCounter(-1);
    }
}

std::shared_ptr<LMAdViewProcessor> ProcessorsManager::getProcessorWithLastTappedAdObject() const
{
    std::shared_ptr<LMAdViewProcessor> last;
    for (const auto& processor : getAllProcessors()) {
        if (processor->tapTimestamp() > (last ? last->tapTimestamp() : 0))
            last = processor;
    }
    return last;
}

// Events

static void fillAndHandOver(const std::shared_ptr<TDEventModel>& event, const std::shared_ptr<Object>& view)
{
    bool isHandled = false;
    for (const auto& processor : ProcessorsManager::sharedInstance().getAllProcessors()) {
        if (!view || processor->adObject() != view)
            continue;
        isHandled = true;
        // A processor that fails, or knows nothing, costs the event what it would have added.
        const auto isHandedOver = std::make_shared<std::atomic<bool>>(false);
        const auto handOver = [event, isHandedOver](const std::shared_ptr<TDEventModel>& filled) {
            if (!isHandedOver->exchange(true))
                LMEventsManager::shared().handleEvent(filled ? filled : event, [](bool) {});
        };
        if (!guarded([&] { processor->updateEventInfo(event, handOver); }))
            handOver(nullptr);
    }
    if (!isHandled)
        LMEventsManager::shared().handleEventAsPending(event, view.get());
}

void ProcessorsManager::eventFired(
    const std::shared_ptr<TDEventModel>& event, const std::shared_ptr<Object>& forView)
{
    if (!event)
        return;
    TDActivationManager::sharedInstance().checkActivationWithBlock([event, forView](bool active) {
        if (!active)
            return LMLog::logMessage("[ProcessorsManager][eventFired] features are off, event is dropped");
        onMainThread([event, forView] { fillAndHandOver(event, forView); });
    });
}

// The tick

void ProcessorsManager::armTimer(double seconds)
{
    dispatch_get_main_queue().async([self = retain(this), seconds] {
        if (self->m_isStopped)
            return;
        self->m_screenshotFiringTimer
            = NSTimer::scheduledTimerWithTimeInterval(seconds, self, "startTimer"_sel, false);
    });
}

static void drop(std::shared_ptr<NSTimer>& timer)
{
    if (timer)
        timer->invalidate();
    timer.reset();
}

void ProcessorsManager::startTimer()
{
    LMLog::logDebug(stringWithFormat(
        "[%@][startTimer] added processors: %i", { "ProcessorsManager", static_cast<int64_t>(count()) }));
    drop(m_screenshotFiringTimer);
    // A stray timer that nobody knew to stop.
    if (m_isStopped)
        return;
    guarded([this] {
        takeScreenshots(LMDefaultConfig::maxScreenshotTime(), LMDefaultConfig::maxCountOfActiveAd());
    });
    armTimer(secondsBetweenTicks());
}

void ProcessorsManager::takeScreenshots(int64_t maxTime, int64_t maxCount)
{
    const double now = serverTimeIntervalSince1970();
    int64_t shots = 0;
    for (const auto& processor : getAllProcessors()) {
        if (!processor->adObject())
            processor->forgetMarkup();
        const bool isWanted = maxCount > 0 ? shots < maxCount && isDue(*processor, now, maxTime)
                                           : processor->offlineStateCounter() >= 0;
        if (!isWanted)
            continue;
        willTakeScreenshot(*processor);
        processor->takeScreenshot();
        if (maxCount > 0)
            processor->setOfflineStateCounter(0);
        shots++;
    }
}

void ProcessorsManager::applicationGoForeground(Object*)
{
    m_isStopped = false;
    armTimer(secondsBetweenTicks());
}

// Sent already when the application is only interrupted, which ends the ticks until the next time it comes
// from the background: kept.
void ProcessorsManager::applicationGoBackground(Object*)
{
    m_isStopped = true;
    drop(m_screenshotFiringTimer);
    drop(m_blacklistUpdatingTimer);
}

// Texts

std::string ProcessorsManager::makeHTMLFromDictionary(const Value& dictionary)
{
    return stringWithFormat("<!-- LumoracreativeId %@ -->%@",
        { getElementFromDictionarySafely(dictionary, "creativeId", "0"),
            getElementFromDictionarySafely(dictionary, "html", "") });
}

} // namespace lumora
