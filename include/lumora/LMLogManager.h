#pragma once

#include "platform/objc/Object.h"
#include "platform/process/Lock.h"

#include <filesystem>

namespace lumora {

class NSTimer;

/// Keeps the log file "lumora_logging.log" in the application's documents folder and has it uploaded on a
/// timer. One per process. Any thread. File errors are silent: logging never reports its own failures.
class LMLogManager final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static LMLogManager& sharedInstance();

    /// Seconds between uploads; -1, the initial value, switches the file off.
    int64_t loggingTTL() const;
    /// A negative value deletes the file and stops the uploads; zero or more uploads every so many seconds.
    /// Any value but exactly -1 switches writing on, other negative ones included. Setting the same value
    /// again changes nothing.
    void setLoggingTTL(int64_t ttl);

    /// Takes a line from LMLog: written when the time to live is not exactly -1.
    void getMessageFromLMLog(std::string_view message);
    /// Appends a line. The first line of a new file has no line break after it, so the second joins it: kept,
    /// the reader of the uploaded files expects it.
    void writeStringToFile(std::string_view message);
    void removeLogFile();
    /// Reads the file and removes it in one step, so that no line falls between; what is no text in it is
    /// replaced. Nothing when there is none, or it cannot be read.
    std::optional<std::string> takeLogFile();

    static std::filesystem::path GetDocumentDirectory();
    static std::filesystem::path getFullPathToLogFile();

    /// The upload timer's action: hands the upload to a background queue.
    void sendLog();

private:
    void writeLocked(std::string_view message) LUMORA_REQUIRES(m_fileLock);

    mutable Lock m_lock;
    int64_t m_loggingTTL LUMORA_GUARDED_BY(m_lock) { -1 };
    std::shared_ptr<NSTimer> m_sendingLogTimer LUMORA_GUARDED_BY(m_lock);
    // Makes every use of the file one step. The outer one of the two.
    Lock m_fileLock;
};

} // namespace lumora
