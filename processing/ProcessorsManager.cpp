#include "processing/ProcessorsManager.h"

#include "platform/process/ProcessLocal.h"
#include "service/LMEventsManager.h"

namespace lumora {

static ProcessLocal<ProcessorsManager> s_sharedInstance;

const ClassDescription& ProcessorsManager::classDescription()
{
    static const ClassDescription description
        = ClassDescription::of<ProcessorsManager, NSObject>("ProcessorsManager");
    return description;
}
static const RegisteredClass registered { &ProcessorsManager::classDescription };

ProcessorsManager& ProcessorsManager::sharedInstance() { return s_sharedInstance.get(); }

void ProcessorsManager::addProcessor(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    {
        Locker hold(m_lock);
        m_adProcessors.push_back(processor);
    }
    LMEventsManager::shared().checkProcessorForPendingEvents(*processor);
}

void ProcessorsManager::removeProcessor(const std::shared_ptr<LMAdViewProcessor>& processor)
{
    Locker hold(m_lock);
    std::erase_if(
        m_adProcessors, [&](const auto& registered) { return registered->isEqual(processor.get()); });
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
