#include "service/LMEventsManager.h"

#include "core/LMInternetReachabilityChecker.h"
#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSString.h"
#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"
#include "processing/LMAdViewProcessor.h"
#include "support/Guarded.h"

namespace lumora {

namespace {
ProcessLocal<LMEventsManager> s_shared;
constinit const TypedSelector<void()> configTimerSelector { "configTimer" };
constexpr double intervalWithoutConfig = 5.0;
} // namespace

const ClassDescription& LMEventsManager::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<LMEventsManager, NSObject>("LMEventsManager")
                                    .method<&LMEventsManager::init>(sel::init)
                                    .method<&LMEventsManager::configTimer>(configTimerSelector)
                                    .method<&LMEventsManager::newConfigArrived>(sel::newConfigArrived));
    return description;
}
static const RegisteredClass registered { &LMEventsManager::classDescription };

LMEventsManager& LMEventsManager::shared() { return s_shared.get(); }

id LMEventsManager::init()
{
    m_eventsSaver = std::make_shared<LMEventsSaver>(std::make_shared<LMEventsSaverUserDefaultsProvider>());
    m_eventsSaver->loadBackupEvents();
    return this;
}

void LMEventsManager::handleEvent(
    const std::shared_ptr<TDEventModel>& event, const Completion& withCompletion)
{
    if (!event) {
        LMLog::logDebug("event model can't be nil");
        callCompletion(withCompletion, false);
        m_eventsSaver->saveEvent(event, nullptr);
        return;
    }
    m_eventsSaver->saveEvent(event, nullptr);
    sendStored(event, withCompletion, std::make_shared<HandOvers>(1));
}

void LMEventsManager::sendStored(const std::shared_ptr<TDEventModel>& event, const Completion& completion,
    const std::shared_ptr<HandOvers>& handOvers)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock(
        [self = retain(this), event, completion, handOvers](bool active) {
            if (!active) {
                handOvers->hasFailed = true;
                return;
            }
            self->m_eventsSender.sendEvent(event, [self, event, completion, handOvers](bool delivered) {
                if (!delivered)
                    handOvers->hasFailed = true;
                if (--handOvers->left == 0 && !handOvers->hasFailed)
                    self->m_eventsSaver->removeEvent(event);
                callCompletion(completion, delivered);
            });
        });
}

void LMEventsManager::handleEventAsPending(const std::shared_ptr<TDEventModel>& event, const Object* forView)
{
    m_eventsSaver->saveEvent(event, forView);
}

void LMEventsManager::checkProcessorForPendingEvents(LMAdViewProcessor& processor)
{
    const Events parked = m_eventsSaver->getEventsForView(processor.adObject().get());
    if (parked.empty())
        return;
    // They stay in the backup while the processor fills them, which takes a page's time. One that raises has
    // nothing to say; what one never answers goes out after the next launch.
    const auto isAnswered = std::make_shared<std::atomic<bool>>(false);
    auto takeAnswer = [self = retain(this), parked, isAnswered](const std::shared_ptr<TDEventModel>& filled) {
        if (!isAnswered->exchange(true))
            self->handleParked(parked, filled);
    };
    if (!guarded([&] { processor.updateEventInfo(make<TDEventModel>(), takeAnswer); }))
        takeAnswer(nullptr);
}

void LMEventsManager::handleParked(const Events& parked, const std::shared_ptr<TDEventModel>& filled)
{
    if (!filled) {
        for (const std::shared_ptr<TDEventModel>& event : parked)
            handleEvent(event, nullptr);
        return;
    }
    // One model for all, changed between hand-overs: kept, so that parked events inherit the ad's metadata
    // while the filled model's event ID stays. Its copies of earlier times in the backup stay too and go out
    // again after a restart.
    const auto handOvers = std::make_shared<HandOvers>(static_cast<int>(parked.size()));
    for (const std::shared_ptr<TDEventModel>& event : parked) {
        filled->setHtml(event->html());
        filled->setTs(event->ts());
        filled->setVideo(event->video());
        filled->setType(event->type());
        filled->setRedirectUrl(event->redirectUrl());
        m_eventsSaver->saveEvent(filled, nullptr);
        sendStored(filled, nullptr, handOvers);
    }
    m_eventsSaver->removeEvents(parked);
}

void LMEventsManager::configTimer()
{
    dispatch_get_main_queue().async([self = retain(this)] {
        double interval = intervalWithoutConfig;
        if (const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig()) {
            interval = static_cast<double>(config->retryAfter().integerValue());
            guarded([&] { self->sendBackupEvents(); });
        }
        std::shared_ptr<NSTimer> outdated;
        {
            Locker hold(self->m_lock);
            outdated.swap(self->m_sendRetryingTimer);
        }
        if (outdated)
            outdated->invalidate();
        std::shared_ptr<NSTimer> timer
            = NSTimer::scheduledTimerWithTimeInterval(interval, self, configTimerSelector, false);
        Locker hold(self->m_lock);
        self->m_sendRetryingTimer.swap(timer);
    });
}

void LMEventsManager::sendBackupEvents()
{
    if (!LMInternetReachabilityChecker::isInternetAvailable())
        return;
    const Events ready = m_eventsSaver->getPendingEventsForRetrySending();
    if (ready.empty())
        return;
    int32_t leftTries = 0;
    {
        Locker hold(m_lock);
        leftTries = m_leftTries;
    }
    if (leftTries == 0) {
        LMLog::logErrorMessage(
            stringWithFormat("[LMEventsManager][sendBackupEvents] no tries left, %@ events are dropped",
                { static_cast<int64_t>(ready.size()) }));
        return m_eventsSaver->removeEvents(ready);
    }
    for (const std::shared_ptr<TDEventModel>& event : ready) {
        guarded([&] {
            if (m_eventsSaver->keepTakenEvent(event))
                sendStored(event, nullptr, std::make_shared<HandOvers>(1));
        });
    }
    Locker hold(m_lock);
    if (m_leftTries >= 1)
        m_leftTries--;
}

void LMEventsManager::newConfigArrived(Object* config)
{
    if (const auto* record = as<TDConfig>(config)) {
        Locker hold(m_lock);
        m_leftTries = saturatingInt32(record->retryLimit().integerValue());
    }
}

} // namespace lumora
