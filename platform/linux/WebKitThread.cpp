#include "platform/linux/WebKitThread.h"

#include "platform/process/SignalsBlocked.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <thread>
#include <utility>

namespace lumora {

namespace {

/// Tries what the engine would do: where a sandbox cannot be made it would end the whole program.
bool canMakeSandbox()
{
    std::array<const char*, 13> command { "bwrap", "--unshare-all", "--die-with-parent", "--ro-bind", "/",
        "/", "--proc", "/proc", "--dev", "/dev", "true", nullptr };
    int status = -1;
    const bool ran = g_spawn_sync(nullptr, const_cast<char**>(command.data()), nullptr,
        static_cast<GSpawnFlags>(
            G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL),
        nullptr, nullptr, nullptr, nullptr, &status, nullptr);
    char* proxy = g_find_program_in_path("xdg-dbus-proxy");
    const bool hasProxy = proxy != nullptr;
    g_free(proxy);
    return ran && status == 0 && hasProxy;
}

} // namespace

WebKitThread& WebKitThread::instance()
{
    // Never destroyed: objects that go late still post to it.
    static WebKitThread& thread = *new WebKitThread;
    struct Ender {
        ~Ender() { thread.stop(); }
    };
    static const Ender ender;
    return thread;
}

WebKitThread::WebKitThread()
{
    // Neither settings nor accessibility services are asked or changed.
    // As the header of the engine says, there are no other threads yet.
    setenv("GSETTINGS_BACKEND", "memory", 1); // NOLINT(concurrency-mt-unsafe)
    setenv("NO_AT_BRIDGE", "1", 1); // NOLINT(concurrency-mt-unsafe)
    const SignalsBlocked blocked;
    std::thread([this] { run(); }).detach();
    Locker hold(m_lock);
    while (!m_isReady)
        hold.wait(m_changed);
}

std::string WebKitThread::start()
{
    m_display = std::make_unique<XvfbDisplay>();
    if (m_display->name().empty())
        return "Xvfb does not start";
    setenv("DISPLAY", m_display->name().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    gdk_set_allowed_backends("x11");
    // The locale is the host's.
    gtk_disable_setlocale();
    if (!gtk_init_check(nullptr, nullptr))
        return "the display cannot be opened";
    // A screen that goes, killed by somebody, would end the program.
    XSetIOErrorHandler([](Display*) { return 0; });
    XSetIOErrorExitHandler(
        gdk_x11_get_default_xdisplay(),
        [](Display* display, void* thread) {
            static_cast<WebKitThread*>(thread)->quit();
            // The library locked it for an end of the program that does not come.
            XUnlockDisplay(display);
        },
        this);
    m_isSandboxed = canMakeSandbox();
    return {};
}

void WebKitThread::run()
{
    m_problem = start();
    GMainLoop* loop = m_problem.empty() ? g_main_loop_new(nullptr, FALSE) : nullptr;
    {
        Locker hold(m_lock);
        m_loop = loop;
        m_isReady = true;
    }
    m_changed.notify_all();
    if (loop) {
        g_main_loop_run(loop);
        g_main_loop_unref(loop);
    }
    m_display.reset();
    Locker hold(m_lock);
    m_hasEnded = true;
    m_changed.notify_all();
    // The thread itself never ends: what the engine then does to its locals may wait for ever, with whoever
    // joins it.
    for (;;)
        hold.wait(m_changed);
}

void WebKitThread::quit()
{
    Locker hold(m_lock);
    if (GMainLoop* loop = std::exchange(m_loop, nullptr))
        g_main_loop_quit(loop);
}

bool WebKitThread::isRunning()
{
    Locker hold(m_lock);
    return m_loop != nullptr;
}

bool WebKitThread::post(std::function<void()> task)
{
    using Task = std::function<void()>;
    Locker hold(m_lock);
    if (!m_loop)
        return false;
    // Never `g_main_context_invoke`: it may run the task here, on the caller's thread.
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](void* posted) -> gboolean {
            try {
                (*static_cast<Task*>(posted))();
            } catch (const std::exception& exception) {
                g_warning("a task of the web engine ended: %s", exception.what());
            }
            return G_SOURCE_REMOVE;
        },
        new Task(std::move(task)), [](void* posted) { delete static_cast<Task*>(posted); });
    return true;
}

void WebKitThread::stop()
{
    // A page may keep the thread, but not the program's end.
    constexpr std::chrono::seconds longest { 2 };
    post([this] { quit(); });
    const auto end = std::chrono::steady_clock::now() + longest;
    Locker hold(m_lock);
    while (!m_hasEnded && std::chrono::steady_clock::now() < end)
        hold.waitFor(m_changed, end - std::chrono::steady_clock::now());
}

} // namespace lumora
