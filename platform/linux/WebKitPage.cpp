#include "platform/linux/WebKitPage.h"

#include "platform/linux/CairoSupport.h"
#include "platform/linux/WebKitValues.h"
#include "platform/process/Process.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumora {

namespace {

constexpr CGSize firstSize { 320, 480 };
constexpr double longestSide = 4096;

/// Whether a frame whose markup names that address is in the page or in a frame of it; asked in a world of
/// its own, so that the page neither sees nor bends it. A frame from elsewhere is not looked into.
constexpr const char* frameQuestion = R"(
    const holds = window => {
        try {
            for (const frame of window.document.querySelectorAll('iframe, frame, object, embed')) {
                if ((frame.src || frame.data) === url || (frame.contentWindow && holds(frame.contentWindow)))
                    return true;
            }
        } catch (otherOrigin) { }
        return false;
    };
    return holds(window);)";
constexpr const char* ownWorld = "lumora";

std::string_view withoutFragment(std::string_view url) { return url.substr(0, url.find('#')); }

bool isOfServer(std::string_view url) { return url.starts_with("http:") || url.starts_with("https:"); }

WebKitNavigationAction* navigationOf(WebKitPolicyDecision* decision)
{
    return webkit_navigation_policy_decision_get_navigation_action(
        WEBKIT_NAVIGATION_POLICY_DECISION(decision));
}

/// A request as the engine knows it, which spells its address in its own way.
WebKitURIRequest* requestOf(const NSMutableURLRequest& request)
{
    WebKitURIRequest* result = webkit_uri_request_new(request.url.c_str());
    if (SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(result)) {
        for (const auto& [name, value] : request.headers)
            soup_message_headers_append(headers, name.c_str(), value.c_str());
    }
    return result;
}

void decide(WebKitPolicyDecision* decision, bool allow)
{
    if (allow)
        webkit_policy_decision_use(decision);
    else
        webkit_policy_decision_ignore(decision);
}

/// What an answer that comes later is about. It holds the page weakly: the page may be closed by then.
template <typename Subject> struct Later {
    std::weak_ptr<WebKitPage> page;
    Subject subject;
};

} // namespace

void WebKitHostLink::tell(std::function<void(WebKitPageHost&)> event)
{
    Locker hold(m_lock);
    if (!m_process)
        return;
    m_process->mainQueue().async([host = m_host, event = std::move(event)] {
        if (const auto alive = host.lock())
            event(*alive);
    });
}

void WebKitHostLink::cut()
{
    Locker hold(m_lock);
    m_process = nullptr;
}

WebKitSession::~WebKitSession()
{
    if (m_context)
        WebKitThread::instance().post([context = m_context] { g_object_unref(context); });
}

WebKitWebContext* WebKitSession::context()
{
    if (!m_context) {
        m_context = webkit_web_context_new_ephemeral();
        // It must be known before the first page, and aborts where it is impossible.
        webkit_web_context_set_sandbox_enabled(m_context, WebKitThread::instance().isSandboxed());
        webkit_web_context_set_cache_model(m_context, WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
    }
    return m_context;
}

/// The engine's signals, each handed to its page. Whoever is not here asks a user who is not there.
struct WebKitPage::Signals {
    static gboolean decidePolicy(
        WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, WebKitPage* page)
    {
        if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
            page->decideAction(decision);
        else if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION)
            page->refuseWindow(decision);
        else
            page->decideResponse(decision);
        return TRUE;
    }
    static GtkWidget* create(WebKitWebView*, WebKitNavigationAction* navigation, WebKitPage* page)
    {
        const WebAction action = actionOf(navigation, WKNavigationTarget::NewWindow);
        page->m_host->tell([action](WebKitPageHost& host) { host.actionAsked(0, 0, action); });
        return nullptr;
    }
    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, WebKitPage* page)
    {
        if (event == WEBKIT_LOAD_STARTED)
            page->loadStarted();
        else if (event == WEBKIT_LOAD_REDIRECTED && page->m_current)
            page->m_host->tell([number = page->m_current](WebKitPageHost& host) { host.redirected(number); });
        else if (event == WEBKIT_LOAD_COMMITTED)
            page->loadCommitted();
        else if (event == WEBKIT_LOAD_FINISHED)
            page->loadFinished();
    }
    static gboolean loadFailed(
        WebKitWebView*, WebKitLoadEvent, const char*, const GError* error, WebKitPage* page)
    {
        page->loadFailed(loadErrorOf(*error));
        return TRUE; // no page of the engine's own about it
    }
    static void terminated(WebKitWebView*, WebKitWebProcessTerminationReason, WebKitPage* page)
    {
        page->processTerminated();
    }
    static void titled(WebKitWebView* view, GParamSpec*, WebKitPage* page)
    {
        page->m_host->tell(
            [title = textOf(webkit_web_view_get_title(view))](WebKitPageHost& host) { host.titled(title); });
    }
    static void addressed(WebKitWebView*, GParamSpec*, WebKitPage* page) { page->addressChanged(); }
    /// alert returns, confirm says no, prompt gives null, and a page that asks whether to leave is left.
    static gboolean dialog(WebKitWebView*, WebKitScriptDialog* dialog, WebKitPage*)
    {
        if (webkit_script_dialog_get_dialog_type(dialog) == WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM)
            webkit_script_dialog_confirm_set_confirmed(dialog, TRUE);
        return TRUE;
    }
    static gboolean permission(WebKitWebView*, WebKitPermissionRequest* request, WebKitPage*)
    {
        webkit_permission_request_deny(request);
        return TRUE;
    }
    static gboolean files(WebKitWebView*, WebKitFileChooserRequest* request, WebKitPage*)
    {
        webkit_file_chooser_request_cancel(request);
        return TRUE;
    }
    static gboolean authenticate(WebKitWebView*, WebKitAuthenticationRequest* request, WebKitPage*)
    {
        webkit_authentication_request_authenticate(request, nullptr);
        return TRUE;
    }

    static void connect(WebKitWebView* view, WebKitPage* page)
    {
        const std::pair<const char*, GCallback> handlers[] { { "decide-policy", G_CALLBACK(decidePolicy) },
            { "create", G_CALLBACK(create) }, { "load-changed", G_CALLBACK(loadChanged) },
            { "load-failed", G_CALLBACK(Signals::loadFailed) },
            { "web-process-terminated", G_CALLBACK(terminated) }, { "notify::title", G_CALLBACK(titled) },
            { "notify::uri", G_CALLBACK(addressed) }, { "script-dialog", G_CALLBACK(dialog) },
            { "permission-request", G_CALLBACK(permission) }, { "run-file-chooser", G_CALLBACK(files) },
            { "authenticate", G_CALLBACK(authenticate) }, { "context-menu", G_CALLBACK(gtk_true) },
            { "print", G_CALLBACK(gtk_true) }, { "run-color-chooser", G_CALLBACK(gtk_true) },
            { "show-option-menu", G_CALLBACK(gtk_true) }, { "show-notification", G_CALLBACK(gtk_true) },
            { "enter-fullscreen", G_CALLBACK(gtk_true) } };
        for (const auto& [name, handler] : handlers)
            g_signal_connect(view, name, handler, page);
    }
};

void WebKitPage::open()
{
    m_view
        = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", m_session->context(), nullptr));
    WebKitSettings* settings = webkit_web_view_get_settings(m_view);
    webkit_settings_set_hardware_acceleration_policy(settings, WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    webkit_settings_set_media_playback_requires_user_gesture(settings, TRUE);
    m_window = gtk_offscreen_window_new();
    gtk_container_add(GTK_CONTAINER(m_window), GTK_WIDGET(m_view));
    setSize(firstSize);
    gtk_widget_show_all(m_window);
    Signals::connect(m_view, this);
}

void WebKitPage::close()
{
    if (!m_view)
        return;
    g_signal_handlers_disconnect_by_data(m_view, this);
    for (const auto& [question, asked] : std::exchange(m_questions, {}))
        g_object_unref(asked.decision);
    // A process that hangs would go on hanging.
    if (!webkit_web_view_get_is_web_process_responsive(m_view))
        webkit_web_view_terminate_web_process(m_view);
    gtk_widget_destroy(std::exchange(m_window, nullptr));
    m_view = nullptr;
}

std::string WebKitPage::address() const { return textOf(webkit_web_view_get_uri(m_view)); }

void WebKitPage::load(WebLoad number, const Source& source)
{
    if (!m_view)
        return;
    if (source.request.httpMethod != "GET") {
        m_host->tell([number](WebKitPageHost& host) {
            host.failed(number, { NSURLErrorDomain, NSURLErrorUnsupportedURL, "only GET requests are sent" });
        });
        return;
    }
    constexpr size_t mostExpected = 8;
    WebKitURIRequest* request = requestOf(source.request);
    if (m_expected.size() == mostExpected)
        m_expected.erase(m_expected.begin());
    m_expected.push_back({ number, textOf(webkit_uri_request_get_uri(request)) });
    m_wanted = number;
    m_current = 0;
    m_isGiven = source.html != nullptr;
    m_awaitsServer = !m_isGiven && isOfServer(m_expected.back().url);
    if (source.html) {
        GBytes* bytes = g_bytes_new(source.html->data(), source.html->size());
        webkit_web_view_load_bytes(m_view, bytes, "text/html", "UTF-8", source.request.url.c_str());
        g_bytes_unref(bytes);
    } else {
        webkit_web_view_load_request(m_view, request);
    }
    g_object_unref(request);
}

void WebKitPage::stop()
{
    if (!m_view)
        return;
    m_wanted = m_current = 0;
    m_approved = {};
    for (auto entry = m_questions.begin(); entry != m_questions.end();) {
        const Asked asked = entry->second;
        entry = asked.load ? m_questions.erase(entry) : std::next(entry);
        if (asked.load) {
            decide(asked.decision, false);
            g_object_unref(asked.decision);
        }
    }
    webkit_web_view_stop_loading(m_view);
}

bool WebKitPage::decideExpected(WebKitPolicyDecision* decision, const std::string& url)
{
    const auto found = std::find_if(
        m_expected.begin(), m_expected.end(), [&](const Expected& expected) { return expected.url == url; });
    if (found == m_expected.end())
        return false;
    m_expected.erase(found);
    // Of two loads of one address the first may have been stopped before it asked: leave for the other does
    // it no harm, as the engine takes no answer for a load that is over.
    decide(decision, m_wanted != 0);
    return true;
}

void WebKitPage::decideAction(WebKitPolicyDecision* decision)
{
    WebKitNavigationAction* navigation = navigationOf(decision);
    WebAction action = actionOf(navigation, WKNavigationTarget::MainFrame);
    if (webkit_navigation_action_is_redirect(navigation)) {
        const bool isMain = m_current && !m_isCommitted;
        action.target = isMain ? WKNavigationTarget::MainFrame : WKNavigationTarget::SubFrame;
        ask(decision, isMain ? m_current : 0, action);
    } else if (decideExpected(decision, action.request.url)) {
        return;
    } else if (action.request.url == "about:srcdoc") {
        action.target = WKNavigationTarget::SubFrame;
        ask(decision, 0, action);
    } else if (action.type == WKNavigationType::Other) {
        askWhetherFrame(decision, action);
    } else {
        ask(decision, m_host->nextLoad(), action);
    }
}

void WebKitPage::askWhetherFrame(WebKitPolicyDecision* decision, const WebAction& action)
{
    // The engine does not say of an action whether it is a frame's. What is wrongly taken for the page's own
    // turns out when its address answers, and is refused then.
    using Question = Later<std::pair<WebKitPolicyDecision*, WebAction>>;
    auto answered = [](GObject* view, GAsyncResult* result, void* question) {
        const std::unique_ptr<Question> asked { static_cast<Question*>(question) };
        auto& [decision, action] = asked->subject;
        JSCValue* answer
            = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(view), result, nullptr);
        const bool isFrame = answer && jsc_value_to_boolean(answer);
        if (answer)
            g_object_unref(answer);
        action.target = isFrame ? WKNavigationTarget::SubFrame : WKNavigationTarget::MainFrame;
        const auto page = asked->page.lock();
        if (page && page->m_view)
            page->ask(decision, isFrame ? 0 : page->m_host->nextLoad(), action);
        g_object_unref(decision);
    };
    g_object_ref(decision);
    GVariantDict arguments;
    g_variant_dict_init(&arguments, nullptr);
    g_variant_dict_insert(&arguments, "url", "s", action.request.url.c_str());
    webkit_web_view_call_async_javascript_function(m_view, frameQuestion, -1, g_variant_dict_end(&arguments),
        ownWorld, nullptr, nullptr, answered, new Question { weak_from_this(), { decision, action } });
}

WebKitPageHost::Question WebKitPage::keep(
    WebKitPolicyDecision* decision, WebLoad load, const std::string& url)
{
    g_object_ref(decision);
    m_questions[++m_lastQuestion] = { load, url, decision };
    return m_lastQuestion;
}

void WebKitPage::ask(WebKitPolicyDecision* decision, WebLoad load, const WebAction& action)
{
    const WebKitPageHost::Question question = keep(decision, load, action.request.url);
    m_host->tell(
        [question, load, action](WebKitPageHost& host) { host.actionAsked(question, load, action); });
}

void WebKitPage::refuseWindow(WebKitPolicyDecision* decision)
{
    const WebAction action = actionOf(navigationOf(decision), WKNavigationTarget::NewWindow);
    m_host->tell([action](WebKitPageHost& host) { host.actionAsked(0, 0, action); });
    webkit_policy_decision_ignore(decision);
}

void WebKitPage::decideResponse(WebKitPolicyDecision* decision)
{
    auto* about = WEBKIT_RESPONSE_POLICY_DECISION(decision);
    const NSHTTPURLResponse response = responseOf(webkit_response_policy_decision_get_response(about));
    if (webkit_response_policy_decision_is_main_frame_main_resource(about) && m_current && !m_isGiven) {
        m_awaitsServer = false;
        const auto question = keep(decision, m_current, response.url);
        m_host->tell([question, load = m_current, response](
                         WebKitPageHost& host) { host.responseAsked(question, load, response); });
        return;
    }
    if (response.url == m_approved.url)
        forgetApproved();
    webkit_policy_decision_use(decision);
}

void WebKitPage::forgetApproved()
{
    const auto [load, url] = std::exchange(m_approved, {});
    if (load)
        m_host->tell([number = load](WebKitPageHost& host) { host.refused(number); });
}

void WebKitPage::answer(WebKitPageHost::Question question, bool allow)
{
    const auto found = m_questions.find(question);
    if (found == m_questions.end())
        return;
    const Asked asked = found->second;
    m_questions.erase(found);
    if (allow && asked.load && asked.load != m_current) {
        forgetApproved();
        m_approved = { asked.load, asked.url };
        const bool isPlaceInPage = asked.url.find('#') != std::string::npos
            && withoutFragment(asked.url) == withoutFragment(address());
        if (isPlaceInPage)
            forgetApproved();
    }
    decide(asked.decision, allow);
    g_object_unref(asked.decision);
}

void WebKitPage::loadStarted()
{
    // A load that the host asked for shows its address from the start, one of the page's own not before it
    // commits.
    const bool isOwn = m_approved.load && !(m_wanted && address() == m_approved.url);
    m_current = isOwn ? m_approved.load : m_wanted;
    if (isOwn) {
        m_isGiven = false;
        m_awaitsServer = isOfServer(m_approved.url);
    }
    m_wanted = 0;
    m_approved = {};
    m_isCommitted = false;
    if (m_current)
        m_host->tell([number = m_current](WebKitPageHost& host) { host.started(number); });
}

void WebKitPage::loadCommitted()
{
    m_isCommitted = true;
    if (!m_current)
        return;
    // A port that the engine does not speak to gives no failure but an empty page.
    if (std::exchange(m_awaitsServer, false) && address() == "about:blank") {
        loadFailed({ WebKitErrorDomain, WebKitErrorCannotUseRestrictedPort, "not allowed to use that port" });
        return;
    }
    m_host->tell(
        [number = m_current, url = address()](WebKitPageHost& host) { host.committed(number, url); });
}

void WebKitPage::loadFinished()
{
    // After a failure, or a load that was replaced, this comes too.
    if (m_current && m_isCommitted)
        m_host->tell([number = m_current](WebKitPageHost& host) { host.finished(number); });
    if (m_isCommitted)
        m_current = 0;
}

void WebKitPage::loadFailed(const NSError& error)
{
    if (const WebLoad number = std::exchange(m_current, 0))
        m_host->tell([number, error](WebKitPageHost& host) { host.failed(number, error); });
}

void WebKitPage::processTerminated()
{
    m_wanted = m_current = 0;
    m_approved = {};
    m_expected.clear();
    m_host->tell([](WebKitPageHost& host) { host.terminated(); });
}

void WebKitPage::addressChanged()
{
    if (!m_wanted && (!m_current || m_isCommitted))
        m_host->tell([url = address()](WebKitPageHost& host) { host.moved(url); });
}

void WebKitPage::evaluate(uint64_t script, const std::string& text)
{
    if (!m_view)
        return;
    using Question = Later<uint64_t>;
    auto answered = [](GObject* view, GAsyncResult* answer, void* question) {
        const std::unique_ptr<Question> asked { static_cast<Question*>(question) };
        GError* error = nullptr;
        JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), answer, &error);
        std::optional<Value> result = value ? valueOf(value) : std::nullopt;
        std::optional<NSError> failure;
        if (error)
            failure = scriptErrorOf(*error);
        else if (!result)
            failure
                = { WKErrorDomain, WKErrorJavaScriptResultTypeIsUnsupported, "no value of this platform" };
        if (value)
            g_object_unref(value);
        g_clear_error(&error);
        if (const auto page = asked->page.lock()) {
            page->m_host->tell(
                [script = asked->subject, result = std::move(result).value_or(Value {}), failure](
                    WebKitPageHost& host) { host.scriptAnswered(script, result, failure); });
        }
    };
    webkit_web_view_evaluate_javascript(m_view, text.data(), static_cast<gssize>(text.size()), nullptr,
        nullptr, nullptr, answered, new Question { weak_from_this(), script });
}

void WebKitPage::setSize(CGSize size)
{
    if (!m_view || !(size.width > 0 && size.height > 0))
        return;
    const int width = static_cast<int>(std::ceil(std::min(size.width, longestSide)));
    const int height = static_cast<int>(std::ceil(std::min(size.height, longestSide)));
    gtk_widget_set_size_request(GTK_WIDGET(m_view), width, height);
    // At once, so that a tap that follows meets the page as it will be.
    GtkAllocation allocation { 0, 0, width, height };
    gtk_widget_size_allocate(m_window, &allocation);
}

void WebKitPage::tapAt(CGPoint point)
{
    GdkWindow* window = m_view ? gtk_widget_get_window(GTK_WIDGET(m_view)) : nullptr;
    if (!window)
        return;
    GdkSeat* seat = gdk_display_get_default_seat(gdk_window_get_display(window));
    for (const GdkEventType type : { GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE }) {
        GdkEvent* event = gdk_event_new(type);
        event->button.window = GDK_WINDOW(g_object_ref(window));
        event->button.send_event = TRUE;
        event->button.time = static_cast<guint32>(g_get_monotonic_time() / 1000);
        event->button.x = point.x;
        event->button.y = point.y;
        event->button.button = GDK_BUTTON_PRIMARY;
        event->button.state = type == GDK_BUTTON_RELEASE ? GDK_BUTTON1_MASK : 0;
        gdk_event_set_device(event, gdk_seat_get_pointer(seat));
        gtk_widget_event(GTK_WIDGET(m_view), event);
        gdk_event_free(event);
    }
}

void WebKitPage::draw()
{
    if (!m_view)
        return;
    using Question = Later<int>;
    auto answered = [](GObject* view, GAsyncResult* result, void* question) {
        const std::unique_ptr<Question> asked { static_cast<Question*>(question) };
        cairo_surface_t* surface
            = webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(view), result, nullptr);
        const UIImage picture = surface ? imageFromSurface(surface, 1) : UIImage {};
        if (surface)
            cairo_surface_destroy(surface);
        if (const auto page = asked->page.lock())
            page->m_host->tell([picture](WebKitPageHost& host) { host.drawn(picture); });
    };
    webkit_web_view_get_snapshot(m_view, WEBKIT_SNAPSHOT_REGION_VISIBLE, WEBKIT_SNAPSHOT_OPTIONS_NONE,
        nullptr, answered, new Question { weak_from_this(), 0 });
}

} // namespace lumora
