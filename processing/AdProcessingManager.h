#pragma once

#include "processing/LMAdViewProcessor.h"

#include <functional>

namespace lumora {

/// The front door of the processors pipeline: answers which processor belongs to a view. One per process;
/// main thread.
class AdProcessingManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static AdProcessingManager& sharedInstance();

    /// Installs the pipeline's own hooks, once per process: the classes that every host has, in their order.
    /// A class without hooks answers with the root's empty operation.
    void frameworkWasInitialised();
    /// The newest processor whose ad is the view, contains it, or lies inside it; null if none.
    std::shared_ptr<LMAdViewProcessor> getProcessorReversedBy(const Object* view) const;
    /// Asks the gate and never calls the completion: kept so, start-up's line that the library was initiated
    /// must stay unsaid.
    static void checkTtlWithCompletion(const std::function<void(bool)>& completion);
};

} // namespace lumora
