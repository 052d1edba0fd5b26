#include "support/LMRegularExpressionsBackgroundManager.h"

#include "platform/objc/NSException.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

static ProcessLocal<LMRegularExpressionsBackgroundManager> s_sharedInstance;

const ClassDescription& LMRegularExpressionsBackgroundManager::classDescription()
{
    using Self = LMRegularExpressionsBackgroundManager;
    static const auto& description
        = *new ClassDescription(ClassDescription::of<Self, NSObject>("LMRegularExpressionsBackgroundManager")
                                    .method<&Self::init>(sel::init));
    return description;
}
static const RegisteredClass registered { &LMRegularExpressionsBackgroundManager::classDescription };

LMRegularExpressionsBackgroundManager& LMRegularExpressionsBackgroundManager::sharedInstance()
{
    return s_sharedInstance.get();
}

id LMRegularExpressionsBackgroundManager::init()
{
    m_regExpConcurrentQueue = dispatch_queue_create("com.lumora.concurrent.regexp", true);
    return this;
}

// Kept: the range says nothing, so that one that does not fit the source costs no match.
void LMRegularExpressionsBackgroundManager::matchesInStringInBackgroundWithDetector(
    std::shared_ptr<const NSRegularExpression> detector, std::string source, NSMatchingOptions options,
    NSRange /*range*/, Completion withCompletionHandler)
{
    m_regExpConcurrentQueue->async([detector = std::move(detector), source = std::move(source), options,
                                       completion = std::move(withCompletionHandler)] {
        std::optional<Matches> matches;
        try {
            if (detector)
                matches = detector->matchesInString(source, options);
        } catch (const NSException&) { // NOLINT(bugprone-empty-catch): nothing is what the completion hears
        }
        // Outside of the guard: an exception of its own must not call it again.
        if (completion)
            completion(matches);
    });
}

} // namespace lumora
