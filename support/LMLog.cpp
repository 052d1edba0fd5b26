#include "lumora/LMLog.h"

#include "lumora/LMLogManager.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSString.h"
#include "platform/process/ProcessLocal.h"

#include <atomic>

namespace lumora {

namespace {

struct LogLevel {
    std::atomic<int64_t> value { 36 };
};
ProcessLocal<LogLevel> s_logLevel;

// A line this long is cut, to a length that is two shorter than the longest that is not: kept, both numbers.
constexpr size_t firstLengthToCut = 513;
constexpr size_t cutLength = 511;

std::string withPercentSignsDoubled(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    for (char c : text)
        escaped.append(c == '%' ? 2 : 1, c);
    return escaped;
}

// What the console prints of an escaped line: "%%" is one sign, and a sign that the cut left alone stays.
std::string asPrinted(std::string_view escaped)
{
    std::string line;
    line.reserve(escaped.size());
    for (size_t i = 0; i < escaped.size(); i++) {
        line += escaped[i];
        if (escaped[i] == '%' && i + 1 < escaped.size() && escaped[i + 1] == '%')
            i++;
    }
    return line;
}

} // namespace

void LMLog::setLogLevel(int64_t level) { s_logLevel.get().value.store(level, std::memory_order_relaxed); }

void LMLog::log(std::string_view message, int64_t level)
{
    LMLogManager::sharedInstance().getMessageFromLMLog(message);
    if (s_logLevel.get().value.load(std::memory_order_relaxed) > level)
        return;
    std::string line = "[Lumora] " + withPercentSignsDoubled(repairedUTF8(message));
    if (utf16Length(line) >= firstLengthToCut) {
        line = prefixOfUTF16Length(line, cutLength);
        logImportantMessage(stringWithFormat("MESSAGE BELOW WAS CUTTED FROM %d CHARACTERS",
            { saturatingInt32(static_cast<int64_t>(utf16Length(message))) }));
    }
    NSLog(asPrinted(line));
}

void LMLog::logMessage(std::string_view message) { log(message, 0); }
void LMLog::logErrorMessage(std::string_view message) { log(message, 10); }
void LMLog::logError(const Object* error)
{
    logErrorMessage(stringWithFormat("error - %@", { error ? Value { error->description() } : Value {} }));
}
void LMLog::logImportantMessage(std::string_view message) { log(message, 15); }
void LMLog::logFuckupMessage() { log("WARNING! LUMORA FRAMEWORK WAS NOT INITIALIZED!", 35); }
void LMLog::logDebug(std::string_view) { }

} // namespace lumora
