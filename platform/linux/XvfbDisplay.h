#pragma once

#include <string>
#include <sys/types.h>

namespace lumora {

/// A screen that nobody sees: an X server of our own. It ends with this object, and with the thread that made
/// it, however that ends. One thread.
class XvfbDisplay {
public:
    /// Waits until the server is ready, for a few seconds at most.
    XvfbDisplay();
    ~XvfbDisplay();
    XvfbDisplay(const XvfbDisplay&) = delete;
    XvfbDisplay& operator=(const XvfbDisplay&) = delete;

    /// As in ":1"; empty when no server could be started.
    const std::string& name() const { return m_name; }

private:
    void start(const char* program);
    void stop();

    pid_t m_server { -1 };
    std::string m_name;
};

} // namespace lumora
