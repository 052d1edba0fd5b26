#include "hashing/HashManager.h"

#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"

#include <utility>

namespace lumora {

static ProcessLocal<HashManager> s_sharedInstance;

const ClassDescription& HashManager::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<HashManager, NSObject>("HashManager").method<&HashManager::init>(sel::init));
    return description;
}
static const RegisteredClass registered { &HashManager::classDescription };

HashManager& HashManager::sharedInstance() { return s_sharedInstance.get(); }

id HashManager::init()
{
    setMaxAdsCount(3);
    setAdsTTL(100);
    return this;
}

void HashManager::setAdsTTL(int64_t ttl)
{
    if (ttl == m_adsTTL)
        return;
    m_adsTTL = ttl;
    if (m_expiryTimer && m_expiryTimer->isValid())
        std::exchange(m_expiryTimer, nullptr)->invalidate();
}

void HashManager::setExpiryTimer(std::shared_ptr<NSTimer> timer) { m_expiryTimer = std::move(timer); }

} // namespace lumora
