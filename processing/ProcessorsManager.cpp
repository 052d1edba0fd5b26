#include "processing/ProcessorsManager.h"

#include "platform/process/ProcessLocal.h"
#include "service/LMEventsManager.h"

#include <algorithm>

namespace lumora {

static ProcessLocal<ProcessorsManager> s_sharedInstance;

const ClassDescription& ProcessorsManager::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<ProcessorsManager, NSObject>("ProcessorsManager"));
    return description;
}
static const RegisteredClass registered { &ProcessorsManager::classDescription };

ProcessorsManager& ProcessorsManager::sharedInstance() { return s_sharedInstance.get(); }

void ProcessorsManager::addProcessor(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    if (!processor)
        return;
    {
        Locker hold(m_lock);
        m_adProcessors.push_back(processor);
    }
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

} // namespace lumora
