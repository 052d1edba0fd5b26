#pragma once

#include "platform/process/Lock.h"
#include "processing/LMAdViewProcessor.h"

#include <vector>

namespace lumora {

/// The registry of live processors, oldest first; duplicates are not filtered. One per process; any thread.
class ProcessorsManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static ProcessorsManager& sharedInstance();

    /// Registers a processor and hands it what was parked for its ad; null is ignored.
    void addProcessor(const std::shared_ptr<LMAdViewProcessor>& processor);
    void removeProcessor(const std::shared_ptr<LMAdViewProcessor>& processor);
    /// A snapshot, in the order of registration.
    std::vector<std::shared_ptr<LMAdViewProcessor>> getAllProcessors() const;
    size_t count() const;

private:
    mutable Lock m_lock;
    std::vector<std::shared_ptr<LMAdViewProcessor>> m_adProcessors LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
