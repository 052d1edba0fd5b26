#include "processing/WebViewTracker.h"

#include "platform/webkit/WKWebView.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(WebViewTrackerTest, ARecordIsFoundByEqualityAndKeepsNoViewAlive)
{
    struct Twin final : NSObject {
        bool isEqual(const Object*) const override { return true; }
    };
    Phone phone { {} };
    WebViewTracker& tracker = WebViewTracker::sharedTracker();
    auto view = make<WKWebView>();
    for (id added : { id { view.get() }, id {} })
        tracker.addWebView(added);
    EXPECT_FALSE(tracker.isTrackered(make<WKWebView>().get()));
    EXPECT_FALSE(tracker.isTrackered(nullptr));
    for (const Value& event : { Value { "event" }, Value {} })
        tracker.addEvent(view.get(), event);
    const auto record = tracker.getEventsForWebView(view.get());
    EXPECT_EQ(record->events.get(), NSArray { "event" });
    const auto twin = std::make_shared<Twin>();
    tracker.addWebView(twin.get());
    EXPECT_TRUE(tracker.isTrackered(make<WKWebView>().get()));
    view.reset();
    EXPECT_EQ(record->webView(), nullptr);
}

TEST(WebViewTrackerTest, RecordsOfViewsThatAreGoneGoWhenTheNextViewComes)
{
    Phone phone { {} };
    WebViewTracker& tracker = WebViewTracker::sharedTracker();
    auto view = make<WKWebView>();
    tracker.addWebView(view.get());
    tracker.addClassName(view.get(), "Ad");
    const std::weak_ptr record = tracker.getEventsForWebView(view.get());
    EXPECT_EQ(record.lock()->className.get(), "Ad");
    view.reset();
    tracker.addWebView(make<WKWebView>().get());
    EXPECT_TRUE(record.expired());
}

} // namespace
} // namespace lumora
