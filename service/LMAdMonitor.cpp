#include "service/LMAdMonitor.h"

#include "core/TDActivationManager.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"
#include "report/TDButtonManager.h"
#include "report/TDReportButtonView.h"
#include "support/Guarded.h"

namespace lumora {

namespace {
ProcessLocal<LMAdMonitor> s_sharedInstance;
constinit const TypedSelector<void()> configTimerSelector { "configTimer" };
constexpr double pollingInterval = 20.0;
constexpr int64_t never = -1;
} // namespace

const ClassDescription& LMAdMonitor::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<LMAdMonitor, NSObject>("LMAdMonitor")
                                    .method<&LMAdMonitor::configTimer>(configTimerSelector));
    return description;
}
static const RegisteredClass registered { &LMAdMonitor::classDescription };

LMAdMonitor& LMAdMonitor::sharedInstance() { return s_sharedInstance.get(); }

void LMAdMonitor::configTimer()
{
    dispatch_get_main_queue().async([self = retain(this)] {
        double interval = pollingInterval;
        const std::shared_ptr<TDConfig> config = TDActivationManager::sharedInstance().getConfig();
        if (config && config->sendingHTML().integerValue() != never) {
            self->sendAllAds();
            interval = static_cast<double>(config->sendingHTML().integerValue());
        }
        if (self->m_timer)
            self->m_timer->invalidate();
        self->m_timer = NSTimer::scheduledTimerWithTimeInterval(interval, self, configTimerSelector, false);
    });
}

void LMAdMonitor::sendAllAds()
{
    for (const std::shared_ptr<TDReportButtonView>& button :
        TDButtonManager::sharedInstance().getButtonsArray())
        guarded([&] { button->sendAdInfo(); });
}

} // namespace lumora
