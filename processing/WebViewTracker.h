#pragma once

#include "platform/objc/Object.h"
#include "platform/process/AtomicProperty.h"

#include <vector>

namespace lumora {

/// What is on record of one instrumented web view, which it holds weakly. Any thread.
class WebViewWithEvents final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WebViewWithEvents> with(Object* webView);

    std::shared_ptr<Object> webView() const { return m_webView.lock(); }
    bool isGone() const { return m_webView.expired(); }
    /// Whether this is about that web view or one equal to it. Holds its own for the comparison: off the main
    /// thread a web view may end there.
    bool isAbout(const Object* webView) const;

    AtomicProperty<std::string> className;
    /// In the order in which they were added.
    AtomicProperty<NSArray> events;

private:
    std::weak_ptr<Object> m_webView;
};

/// The web views that the library has instrumented, oldest first. One per process; any thread. Null web views
/// and null events are ignored. Records of web views that are gone, which nobody can ask for any more, go
/// when the next one comes.
class WebViewTracker final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static WebViewTracker& sharedTracker();

    /// Adding the same one twice gives it two records.
    void addWebView(Object* webView);
    bool isTrackered(const Object* webView) const;
    /// Adds to every record of a web view.
    void addEvent(const Object* webView, const Value& event);
    /// Sets the name on every record of a web view.
    void addClassName(const Object* webView, const std::string& name);
    /// The oldest record of a web view; null if none.
    std::shared_ptr<WebViewWithEvents> getEventsForWebView(const Object* webView) const;

private:
    std::vector<std::shared_ptr<WebViewWithEvents>> recordsOf(const Object* webView) const;

    mutable Lock m_lock;
    std::vector<std::shared_ptr<WebViewWithEvents>> m_records LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
