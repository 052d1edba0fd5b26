#pragma once

#include <string_view>

namespace lumora {

/// Where the system log of a process goes. Called from any thread, one whole line at a time.
class Console {
public:
    virtual ~Console() = default;
    virtual void write(std::string_view line) = 0;
};

/// The platform's log call: one line, as it is, on the current process's console.
void NSLog(std::string_view line);

} // namespace lumora
