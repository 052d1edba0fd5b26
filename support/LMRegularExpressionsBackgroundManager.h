#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSRegularExpression.h"
#include "platform/objc/ClassRegistry.h"

namespace lumora {

/// Matches large texts on a queue of its own, several at once. One a process; any thread. A completion runs
/// on that queue: whoever touches views there goes to the main queue first.
class LMRegularExpressionsBackgroundManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    using Matches = std::vector<NSRegularExpression::Match>;
    /// Nothing when matching raised.
    using Completion = std::function<void(const std::optional<Matches>&)>;

    static LMRegularExpressionsBackgroundManager& sharedInstance();
    id init();
    DispatchQueue& getQueue() const { return *m_regExpConcurrentQueue; }

    /// Matches the whole source and calls the completion once, with nothing when that raised a platform
    /// exception or there is no detector. Another failure ends the task without a completion, as does the end
    /// of the process.
    void matchesInStringInBackgroundWithDetector(std::shared_ptr<const NSRegularExpression> detector,
        std::string source, NSMatchingOptions options, NSRange range, Completion withCompletionHandler);

private:
    std::shared_ptr<DispatchQueue> m_regExpConcurrentQueue;
};

}
