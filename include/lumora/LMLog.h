#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lumora {

class Object;

/// The library's one logging front door. Every line goes to the log file while `LMLogManager`'s time to live
/// is not -1; a line reaches the system console, as "[Lumora] ...", when its level is at or above the
/// threshold. Any thread.
class LMLog {
public:
    /// The threshold; 36 from the start, so nothing is printed until the host lowers it.
    static void setLogLevel(int64_t level);

    static void log(std::string_view message, int64_t level);
    /// Level 0.
    static void logMessage(std::string_view message);
    /// Level 10.
    static void logErrorMessage(std::string_view message);
    /// Level 10: "error - " and the object's description.
    static void logError(const Object* error);
    /// Level 15.
    static void logImportantMessage(std::string_view message);
    /// Level 35.
    static void logFuckupMessage();
    /// Kept silent on purpose: neither printed nor written.
    static void logDebug(std::string_view message);
};

} // namespace lumora
