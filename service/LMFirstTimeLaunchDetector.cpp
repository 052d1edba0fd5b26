#include "service/LMFirstTimeLaunchDetector.h"

#include "platform/foundation/NSUserDefaults.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

namespace {
ProcessLocal<LMFirstTimeLaunchDetector> s_sharedInstance;
constexpr const char* firstLaunchKey = "lumorahost.user.defaults.first.launch";
} // namespace

LMFirstTimeLaunchDetector& LMFirstTimeLaunchDetector::sharedInstance() { return s_sharedInstance.get(); }

bool LMFirstTimeLaunchDetector::getValue() const
{
    return NSUserDefaults::standardUserDefaults().boolForKey(firstLaunchKey);
}

void LMFirstTimeLaunchDetector::markAsFirstLaunchHappened()
{
    NSUserDefaults::standardUserDefaults().setBool(true, firstLaunchKey);
}

bool LMFirstTimeLaunchDetector::isFirstLaunch()
{
    if (getValue())
        return false;
    markAsFirstLaunchHappened();
    return true;
}

} // namespace lumora
