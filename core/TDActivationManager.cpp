#include "core/TDActivationManager.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"
#include "report/TDButtonManager.h"
#include "service/TDAPI.h"
#include "support/Guarded.h"

namespace lumora {

namespace {
ProcessLocal<TDActivationManager> s_sharedInstance;
// The one pending refresh; touched on the main thread only.
ProcessLocal<std::shared_ptr<NSTimer>> s_retrivingTimer;
constinit const TypedSelector<void()> getNewConfigSelector { "getNewConfig" };
constexpr double retryInterval = 60.0;
} // namespace

const ClassDescription& TDActivationManager::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<TDActivationManager, NSObject>("TDActivationManager")
                                    .method<&TDActivationManager::getNewConfig>(getNewConfigSelector));
    return description;
}
static const RegisteredClass registered { &TDActivationManager::classDescription };

TDActivationManager& TDActivationManager::sharedInstance() { return s_sharedInstance.get(); }

void TDActivationManager::activate()
{
    Locker hold(m_lock);
    m_activationStatus = true;
}

std::shared_ptr<TDConfig> TDActivationManager::getConfig() const
{
    Locker hold(m_lock);
    return m_config;
}

void TDActivationManager::setLoading(bool loading)
{
    Locker hold(m_lock);
    m_isLoadingConfig = loading;
}

void TDActivationManager::setConfig(std::shared_ptr<TDConfig> config)
{
    Locker hold(m_lock);
    m_config.swap(config);
}

void TDActivationManager::checkActivationWithBlock(const Answer& callback)
{
    bool refused = false;
    std::shared_ptr<TDConfig> config;
    {
        Locker hold(m_lock);
        refused = callback && (!m_activationStatus || m_isLoadingConfig);
        config = m_config;
    }
    if (refused)
        return callCompletion(callback, false);
    if (config && config->isFresh())
        return callCompletion(callback, config->active().boolValue());
    if (!callback)
        return checkConfigWithoutRepeatedUpdatingWithSuccess(nullptr);
    // One copy of the callback, which goes to the main queue: what it holds may be a view, and dies there.
    checkConfigWithoutRepeatedUpdatingWithSuccess(
        [waiting = std::make_shared<Answer>(callback)](bool active) {
            dispatch_get_main_queue().async(
                [callback = std::exchange(*waiting, nullptr), active] { callCompletion(callback, active); });
        });
}

void TDActivationManager::fetch(const std::function<void(const std::shared_ptr<TDConfig>&)>& succeeded,
    const std::function<void()>& failed)
{
    setLoading(true);
    const bool started = guarded([&] {
        TDAPI::activateTindalWithCompletion(
            [self = retain(this), succeeded](const std::shared_ptr<TDConfig>& config) {
                self->setLoading(false);
                self->setConfig(config);
                succeeded(config);
            },
            [self = retain(this), failed](const NSError&) {
                self->setLoading(false);
                failed();
            });
    });
    if (started)
        return;
    // A request that could not even be made is one that failed.
    setLoading(false);
    failed();
}

void TDActivationManager::checkConfigWithoutRepeatedUpdatingWithSuccess(const Answer& callback)
{
    fetch(
        [this, callback](const std::shared_ptr<TDConfig>& config) {
            const bool fresh = config->isFresh();
            if (!fresh)
                makeDefaultValuesForConfig();
            callCompletion(callback, fresh && config->active().boolValue());
        },
        [this, callback] {
            makeDefaultValuesForConfig();
            callCompletion(callback, false);
        });
}

void TDActivationManager::getNewConfig()
{
    fetch(
        [this](const std::shared_ptr<TDConfig>& config) {
            setupTimer();
            if (!config->active().boolValue())
                TDButtonManager::sharedInstance().disableAllButtons();
            sendMessageToAllListenersWithConfig(config);
        },
        [this] {
            makeMaxAgeForRetrievingConfig();
            setupTimer();
            TDButtonManager::sharedInstance().disableAllButtons();
        });
}

void TDActivationManager::makeDefaultValuesForConfig() { setConfig(TDConfig::initWithDictionary(nullptr)); }

void TDActivationManager::makeMaxAgeForRetrievingConfig()
{
    std::shared_ptr<TDConfig> config = TDConfig::initWithDictionary(nullptr);
    config->setTtlConfig(timeIntervalSince1970Now() + retryInterval);
    setConfig(std::move(config));
}

void TDActivationManager::setupTimer()
{
    dispatch_get_main_queue().async([self = retain(this)] {
        std::shared_ptr<NSTimer>& timer = s_retrivingTimer.get();
        if (timer)
            timer->invalidate();
        const std::shared_ptr<TDConfig> config = self->getConfig();
        const double interval = (config ? config->ttlConfig().doubleValue() : 0) - timeIntervalSince1970Now();
        timer = NSTimer::scheduledTimerWithTimeInterval(interval, self, getNewConfigSelector, false);
    });
}

void TDActivationManager::addNewConfigListener(const std::shared_ptr<Object>& listener)
{
    if (!listener)
        return;
    Locker hold(m_lock);
    m_listeners.addObject(listener);
}

void TDActivationManager::sendMessageToAllListenersWithConfig(const std::shared_ptr<TDConfig>& config)
{
    std::vector<std::shared_ptr<Object>> listeners;
    {
        Locker hold(m_lock);
        listeners = m_listeners.allObjects();
    }
    for (const std::shared_ptr<Object>& listener : listeners)
        guarded([&] { send(listener, sel::newConfigArrived, config); });
    // A listener may be a view, and this the last reference to it.
    dispatch_get_main_queue().async([listeners = std::move(listeners)] {});
}

} // namespace lumora
