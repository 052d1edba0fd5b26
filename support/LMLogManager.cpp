#include "lumora/LMLogManager.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSTimer.h"
#include "platform/process/ProcessLocal.h"
#include "service/LMAPI.h"

namespace lumora {

namespace {
ProcessLocal<LMLogManager> s_sharedInstance;
constinit const TypedSelector<void()> sendLogSelector { "sendLog" };
} // namespace

const ClassDescription& LMLogManager::classDescription()
{
    static const ClassDescription description = ClassDescription::of<LMLogManager, NSObject>("LMLogManager")
                                                    .method<&LMLogManager::sendLog>(sendLogSelector);
    return description;
}
static const RegisteredClass registered { &LMLogManager::classDescription };

LMLogManager& LMLogManager::sharedInstance() { return s_sharedInstance.get(); }

int64_t LMLogManager::loggingTTL() const
{
    Locker hold(m_lock);
    return m_loggingTTL;
}

void LMLogManager::setLoggingTTL(int64_t ttl)
{
    std::shared_ptr<NSTimer> outdated;
    {
        Locker hold(m_lock);
        if (ttl == m_loggingTTL)
            return;
        m_loggingTTL = ttl;
        outdated = std::exchange(m_sendingLogTimer, nullptr);
    }
    if (outdated)
        outdated->invalidate();
    if (ttl < 0) {
        removeLogFile();
        return;
    }
    dispatch_get_main_queue().async([self = retain(this), ttl] {
        // Only the newest time to live gets a timer, however many changes were posted.
        Locker hold(self->m_lock);
        if (self->m_loggingTTL != ttl || self->m_sendingLogTimer)
            return;
        self->m_sendingLogTimer
            = NSTimer::scheduledTimerWithTimeInterval(static_cast<double>(ttl), self, sendLogSelector, true);
    });
}

void LMLogManager::sendLog() { LMAPI::sendLog(); }

void LMLogManager::getMessageFromLMLog(std::string_view message)
{
    if (loggingTTL() != -1)
        writeStringToFile(message);
}

void LMLogManager::writeStringToFile(std::string_view message)
{
    const std::filesystem::path path = getFullPathToLogFile();
    if (path.empty())
        return;
    Locker hold(m_fileLock);
    if (!appendToFile(path, std::string { message } + "\n"))
        writeToFile(path, message);
}

void LMLogManager::removeLogFile() { removeFile(getFullPathToLogFile()); }

std::filesystem::path LMLogManager::GetDocumentDirectory() { return NSHomeDirectory() / "Documents"; }
std::filesystem::path LMLogManager::getFullPathToLogFile()
{
    return GetDocumentDirectory() / "lumora_logging.log";
}

} // namespace lumora
