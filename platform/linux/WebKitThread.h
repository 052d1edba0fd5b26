#pragma once

#include "platform/linux/XvfbDisplay.h"
#include "platform/process/Lock.h"

#include <functional>
#include <memory>
#include <string>

using GMainLoop = struct _GMainLoop;

namespace lumora {

/// The thread that the web engine lives on: the one of the program, as its toolkit allows no second, with a
/// main loop and an invisible screen. It runs until the program ends, or until it loses its screen. Any
/// thread.
class WebKitThread {
public:
    /// Started by the first call, which waits for it.
    static WebKitThread& instance();

    /// Why it does not run; empty when it does.
    const std::string& problem() const { return m_problem; }
    /// Whether pages can be shut in.
    bool isSandboxed() const { return m_isSandboxed; }
    /// Runs a task on the thread, later, in the order of posting; false when the thread does not run, or no
    /// longer, and the task was dropped.
    bool post(std::function<void()> task);
    bool isRunning();

private:
    WebKitThread();
    void run();
    /// Answers what went wrong.
    std::string start();
    void stop();
    /// Leaves the main loop; on the thread.
    void quit();

    // Both are written before anybody else sees this object.
    std::string m_problem;
    bool m_isSandboxed { false };
    std::unique_ptr<XvfbDisplay> m_display;
    Lock m_lock;
    std::condition_variable m_changed;
    GMainLoop* m_loop LUMORA_GUARDED_BY(m_lock) { nullptr };
    bool m_isReady LUMORA_GUARDED_BY(m_lock) { false };
    bool m_hasEnded LUMORA_GUARDED_BY(m_lock) { false };
};

} // namespace lumora
