#include "processing/WebViewTracker.h"

#include "platform/process/ProcessLocal.h"

#include <algorithm>

namespace lumora {

static ProcessLocal<WebViewTracker> s_sharedTracker;

const ClassDescription& WebViewWithEvents::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WebViewWithEvents, NSObject>("WebViewWithEvents"));
    return description;
}
static const RegisteredClass registeredWebViewWithEvents { &WebViewWithEvents::classDescription };

std::shared_ptr<WebViewWithEvents> WebViewWithEvents::with(Object* webView)
{
    auto record = make<WebViewWithEvents>();
    record->m_webView = weakly(webView);
    return record;
}

bool WebViewWithEvents::isAbout(const Object* webView) const
{
    const auto own = m_webView.lock();
    return webView && own && own->isEqual(webView);
}

const ClassDescription& WebViewTracker::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<WebViewTracker, NSObject>("WebViewTracker"));
    return description;
}
static const RegisteredClass registeredWebViewTracker { &WebViewTracker::classDescription };

WebViewTracker& WebViewTracker::sharedTracker() { return s_sharedTracker.get(); }

void WebViewTracker::addWebView(Object* webView)
{
    if (!webView)
        return;
    auto record = WebViewWithEvents::with(webView);
    // What goes, goes after the lock: the records hold values of the host's.
    std::vector<std::shared_ptr<WebViewWithEvents>> gone;
    Locker hold(m_lock);
    const auto end = std::stable_partition(
        m_records.begin(), m_records.end(), [](const auto& known) { return !known->isGone(); });
    gone.assign(end, m_records.end());
    m_records.erase(end, m_records.end());
    m_records.push_back(std::move(record));
}

std::vector<std::shared_ptr<WebViewWithEvents>> WebViewTracker::recordsOf(const Object* webView) const
{
    std::vector<std::shared_ptr<WebViewWithEvents>> records;
    {
        Locker hold(m_lock);
        records = m_records;
    }
    std::erase_if(records, [&](const auto& record) { return !record->isAbout(webView); });
    return records;
}

bool WebViewTracker::isTrackered(const Object* webView) const
{
    return getEventsForWebView(webView) != nullptr;
}

void WebViewTracker::addEvent(const Object* webView, const Value& event)
{
    if (event.isNothing())
        return;
    for (const auto& record : recordsOf(webView))
        record->events.update([&](NSArray& events) { events.push_back(event); });
}

void WebViewTracker::addClassName(const Object* webView, const std::string& name)
{
    for (const auto& record : recordsOf(webView))
        record->className.set(name);
}

std::shared_ptr<WebViewWithEvents> WebViewTracker::getEventsForWebView(const Object* webView) const
{
    const auto records = recordsOf(webView);
    return records.empty() ? nullptr : records.front();
}

} // namespace lumora
