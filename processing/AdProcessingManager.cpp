#include "processing/AdProcessingManager.h"

#include "core/TDActivationManager.h"
#include "interception/Swizzling.h"
#include "platform/process/ProcessLocal.h"
#include "platform/uikit/UIView.h"
#include "processing/ProcessorsManager.h"
#include "support/Guarded.h"
#include "support/UIViewExtensions.h"

namespace lumora {

namespace {
ProcessLocal<AdProcessingManager> s_sharedInstance;
ProcessOnce s_initialised;
} // namespace

const ClassDescription& AdProcessingManager::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<AdProcessingManager, NSObject>("AdProcessingManager"));
    return description;
}
static const RegisteredClass registered { &AdProcessingManager::classDescription };

AdProcessingManager& AdProcessingManager::sharedInstance() { return s_sharedInstance.get(); }

void AdProcessingManager::frameworkWasInitialised()
{
    s_initialised.run([] {
        // Apart from start-up's list of networks: what every host has is hooked by the processors' half
        // itself, after all of the others.
        for (const char* name : { "NSObject", "UIAlertView", "UIApplication", "UIWindow", "openURLSwizzler" })
            guarded([&] { send(NSClassFromString(name), sel::swizzleMethods); });
    });
}

std::shared_ptr<LMAdViewProcessor> AdProcessingManager::getProcessorReversedBy(const Object* view) const
{
    const auto processors = ProcessorsManager::sharedInstance().getAllProcessors();
    const auto* wanted = dynamic_cast<const UIView*>(view);
    for (auto processor = processors.rbegin(); processor != processors.rend(); ++processor) {
        const std::shared_ptr<Object> ad = (*processor)->adObject();
        if (!ad || !view)
            continue;
        const auto* adView = dynamic_cast<const UIView*>(ad.get());
        const bool related
            = wanted && adView && (containsSubview(*adView, *wanted) || containsSubview(*wanted, *adView));
        if (ad->isEqual(view) || related)
            return *processor;
    }
    return nullptr;
}

void AdProcessingManager::checkTtlWithCompletion(const std::function<void(bool)>&)
{
    TDActivationManager::sharedInstance().checkActivationWithBlock([](bool) {});
}

} // namespace lumora
