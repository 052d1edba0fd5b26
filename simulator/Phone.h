#pragma once

#include "platform/foundation/Console.h"
#include "platform/process/Process.h"
#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "simulator/SimulatedNetwork.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lumora {

class VirtualExecutor;

/// Keeps the console lines of a phone. Any thread.
class ConsoleRecorder final : public Console {
public:
    void write(std::string_view line) override;
    std::vector<std::string> lines() const;
    bool contains(std::string_view text) const;

private:
    mutable Lock m_lock;
    std::vector<std::string> m_lines LUMORA_GUARDED_BY(m_lock);
};

/// A phone in a box: a host application's process with a screen, fingers, a radio and a home folder that
/// survives restarts. One thread, the one that made it. The application runs from the start; its process is
/// current on that thread while it runs.
class Phone {
public:
    struct Options {
        /// The virtual clock, else the machine's.
        bool virtualTime { true };
        /// Where the application's data lives; a temporary folder of the phone's own when empty.
        std::filesystem::path home;
        /// How its exchanges travel, made anew for every process; nothing reaches the services when empty.
        std::function<std::shared_ptr<HTTPTransport>()> makeTransport;
        DeviceFacts device { .identifierForVendor = "0C4B8A6E-3D5F-4E0B-9C35-7F1A2B3C4D5E",
            .advertisingIdentifier = "5A2D1E7C-8B94-4F3A-A6D0-1C2B3A4D5E6F",
            .advertisingTrackingEnabled = true };
        ScreenFacts screen;
        /// Called in every new process before anything else: what an application's SDKs do when they are
        /// loaded.
        std::function<void()> onBoot;
    };

    explicit Phone(Options options);
    ~Phone();
    Phone(const Phone&) = delete;
    Phone& operator=(const Phone&) = delete;

    Process& process() const { return *m_process; }
    /// Raises when the phone runs in real time.
    VirtualExecutor& clock() const;
    ConsoleRecorder& console() const { return *m_console; }
    Radio& radio() const { return *m_radio; }
    const std::filesystem::path& home() const { return m_options.home; }
    UIWindow& window() const { return *m_window; }
    /// The root controller's view: where the application puts its ads.
    UIView& content() const { return *m_window->rootViewController()->view(); }

    /// Lets time pass: moves the virtual clock, or runs the main loop that long.
    void wait(double seconds);
    /// Runs until the condition holds; false when it did not within those seconds.
    bool waitUntil(const std::function<bool()>& condition, double atMostSeconds);

    /// A finger taps on the middle of a view, where the topmost view takes it.
    void tap(UIView& view);
    void doubleTap(UIView& view);
    void tapAt(CGPoint pointOnScreen);
    /// What the user sees.
    UIImage screen() const;

    void sendToBackground();
    void bringToForeground();
    /// Something comes over the application and goes again, such as a call that is refused.
    void beginInterruption();
    void endInterruption();
    /// Ends the process without warning, as the system does. Its objects must be gone.
    void kill();
    /// Starts the application's process on the same home folder.
    void boot();

private:
    Options m_options;
    bool m_ownsHome { false };
    std::shared_ptr<ConsoleRecorder> m_console;
    std::shared_ptr<Radio> m_radio;
    // Virtual time goes on over a restart.
    double m_virtualTime;
    std::unique_ptr<Process> m_process;
    std::unique_ptr<Process::Scope> m_scope;
    std::shared_ptr<UIWindow> m_window;
};

} // namespace lumora
