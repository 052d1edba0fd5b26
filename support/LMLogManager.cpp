#include "lumora/LMLogManager.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSString.h"
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
    static const auto& description
        = *new ClassDescription(ClassDescription::of<LMLogManager, NSObject>("LMLogManager")
                                    .method<&LMLogManager::sendLog>(sendLogSelector));
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
        auto timer
            = NSTimer::scheduledTimerWithTimeInterval(static_cast<double>(ttl), self, sendLogSelector, true);
        {
            // Only the newest time to live gets a timer, however many changes were posted.
            Locker hold(self->m_lock);
            if (self->m_loggingTTL == ttl && !self->m_sendingLogTimer) {
                self->m_sendingLogTimer = std::move(timer);
                return;
            }
        }
        timer->invalidate();
    });
}

void LMLogManager::sendLog()
{
    // A file that may be large is not read on the main thread.
    dispatch_get_global_queue().async([] { LMAPI::sendLog(); });
}

void LMLogManager::getMessageFromLMLog(std::string_view message)
{
    if (loggingTTL() == -1)
        return;
    Locker hold(m_fileLock);
    // Asked once more: a line that waited here must not make the file again after it was switched off.
    if (loggingTTL() != -1)
        writeLocked(message);
}

void LMLogManager::writeStringToFile(std::string_view message)
{
    Locker hold(m_fileLock);
    writeLocked(message);
}

void LMLogManager::writeLocked(std::string_view message)
{
    const std::filesystem::path path = getFullPathToLogFile();
    // The file is text from the start, whatever a host logs.
    const std::string line = repairedUTF8(message);
    if (!path.empty() && !appendToFile(path, line + "\n"))
        writeToFile(path, line);
}

std::optional<std::string> LMLogManager::takeLogFile()
{
    std::optional<NSData> log;
    {
        Locker hold(m_fileLock);
        const std::filesystem::path path = getFullPathToLogFile();
        log = contentsOfFile(path);
        if (!log)
            return std::nullopt;
        removeFile(path);
    }
    // A disk that was full cuts a line anywhere, between the bytes of a character too.
    return repairedUTF8(log->view());
}

void LMLogManager::removeLogFile()
{
    Locker hold(m_fileLock);
    removeFile(getFullPathToLogFile());
}

std::filesystem::path LMLogManager::GetDocumentDirectory() { return NSHomeDirectory() / "Documents"; }
std::filesystem::path LMLogManager::getFullPathToLogFile()
{
    return GetDocumentDirectory() / "lumora_logging.log";
}

} // namespace lumora
