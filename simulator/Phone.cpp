#include "simulator/Phone.h"

#include "platform/dispatch/VirtualExecutor.h"
#include "platform/uikit/UIApplication.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIViewDrawing.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace lumora {

namespace {

// How long a tapping finger stays down, and pauses between the two of a double tap.
constexpr double touchTime = 0.05;
constexpr double pauseTime = 0.1;

/// A phone without a network plan.
class NoTransport final : public HTTPTransport {
public:
    void start(HTTPExchangeRequest, Completion completion) override
    {
        HTTPExchangeAnswer answer;
        answer.error = "not connected to the internet";
        answer.errorCode = -1009;
        dispatch_get_global_queue().async(
            [completion = std::move(completion), answer] { completion(answer); });
    }
    void stop() override { }
};

std::filesystem::path makeTemporaryHome()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "lumora-phone-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("a phone needs a temporary folder");
    return pattern;
}

} // namespace

void ConsoleRecorder::write(std::string_view line)
{
    Locker hold(m_lock);
    m_lines.emplace_back(line);
}

std::vector<std::string> ConsoleRecorder::lines() const
{
    Locker hold(m_lock);
    return m_lines;
}

bool ConsoleRecorder::contains(std::string_view text) const
{
    Locker hold(m_lock);
    return std::any_of(m_lines.begin(), m_lines.end(),
        [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

Phone::Phone(Options options)
    : m_options(std::move(options))
    , m_console(std::make_shared<ConsoleRecorder>())
    , m_radio(std::make_shared<Radio>())
    , m_virtualTime(VirtualExecutor::epoch)
{
    if (m_options.home.empty()) {
        m_options.home = makeTemporaryHome();
        m_ownsHome = true;
    }
    boot();
}

Phone::~Phone()
{
    kill();
    std::error_code ignored;
    if (m_ownsHome)
        std::filesystem::remove_all(m_options.home, ignored);
}

void Phone::boot()
{
    ProcessConfiguration configuration;
    configuration.home = m_options.home;
    configuration.mainBundleIdentifier = "com.example.daily";
    configuration.mainBundleInfo = { { "CFBundleVersion", "45" }, { "CFBundleShortVersionString", "2.3" } };
    configuration.device = m_options.device;
    configuration.screen = m_options.screen;
    configuration.console = m_console;
    configuration.network = m_radio;
    configuration.transport
        = m_options.makeTransport ? m_options.makeTransport() : std::make_shared<NoTransport>();
    if (m_options.virtualTime)
        configuration.makeExecutor
            = [this](Process& process) { return std::make_unique<VirtualExecutor>(process, m_virtualTime); };
    std::filesystem::create_directories(m_options.home / "Documents");

    m_process = std::make_unique<Process>(std::move(configuration));
    m_scope = std::make_unique<Process::Scope>(*m_process);
    m_window = make<UIWindow>();
    auto root = make<UIViewController>();
    root->view()->setBackgroundColor(UIColor::whiteColor());
    m_window->setRootViewController(root);
    m_window->makeKeyAndVisible();
    if (m_options.onBoot)
        m_options.onBoot();
}

void Phone::kill()
{
    if (!m_process)
        return;
    m_virtualTime = m_process->now();
    // Nothing runs from here on: what was queued is lost, as it is at a real kill.
    m_process->stop();
    m_window.reset();
    m_scope.reset();
    m_process.reset();
}

VirtualExecutor& Phone::clock() const { return dynamic_cast<VirtualExecutor&>(m_process->executor()); }

void Phone::wait(double seconds)
{
    if (m_options.virtualTime)
        clock().advance(seconds);
    else
        m_process->executor().runMainLoop(seconds, [] { return false; });
}

bool Phone::waitUntil(const std::function<bool()>& condition, double atMostSeconds)
{
    return m_process->executor().runMainLoop(atMostSeconds, condition);
}

void Phone::tapAt(CGPoint pointOnScreen)
{
    UIApplication& application = UIApplication::sharedApplication();
    application.sendTouch(UITouchPhase::Began, pointOnScreen);
    wait(touchTime);
    application.sendTouch(UITouchPhase::Ended, pointOnScreen);
}

void Phone::tap(UIView& view)
{
    const CGRect bounds = view.bounds();
    tapAt(view.convertPointToView({ bounds.midX(), bounds.midY() }, nullptr));
}

void Phone::doubleTap(UIView& view)
{
    tap(view);
    wait(pauseTime);
    tap(view);
}

UIImage Phone::screen() const
{
    return takeImageOfView(*m_window, UIScreen::mainScreen().bounds().size, UIScreen::mainScreen().scale());
}

void Phone::sendToBackground()
{
    UIApplication::sharedApplication().resignActive();
    UIApplication::sharedApplication().enterBackground();
}

void Phone::bringToForeground() { UIApplication::sharedApplication().enterForeground(); }

void Phone::beginInterruption() { UIApplication::sharedApplication().resignActive(); }

void Phone::endInterruption() { UIApplication::sharedApplication().becomeActive(); }

} // namespace lumora
