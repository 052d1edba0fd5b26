#pragma once

#include "platform/uikit/UIViewController.h"
#include "simulator/networks/StandInFacts.h"
#include "simulator/networks/StandInMessages.h"
#include "simulator/networks/StandInObjects.h"

#include <memory>
#include <string>
#include <vector>

namespace lumora {

/// One ad of a stand-in: built, shown and taken down by one test or demo, with the facts that a report has to
/// find. Main thread.
class StandInAd : public StandInFacts {
public:
    /// `screen` is the host's controller, in a window. `place` chooses among alternative key paths.
    explicit StandInAd(UIViewController& screen, int place = 0, StandInFault fault = {});
    ~StandInAd();
    StandInAd(const StandInAd&) = delete;
    StandInAd& operator=(const StandInAd&) = delete;

    // For the network's show function

    UIViewController& screen() const { return m_screen; }
    std::string html { "<h1>An ad</h1>" };
    /// The creative's web view, of a run-time subclass of WKWebView if named; null when it is to be missing.
    std::shared_ptr<WKWebView> creative(CGSize size, const std::string& className = "WKWebView");
    /// A view of that class with the creative in it, which becomes the ad view; the view itself if there is
    /// none.
    std::shared_ptr<UIView> container(const std::string& className, CGSize size);
    /// Puts a view on the host's page.
    void place(const std::shared_ptr<UIView>& view);
    /// Presents a controller of that class with a content view over the host's. `announcement` is the message
    /// with one yes or no, such as "viewDidAppear:", that the class has its own implementation of.
    std::shared_ptr<UIViewController> present(const std::string& className,
        const std::shared_ptr<UIView>& content, const char* announcement = nullptr);
    /// Makes a controller with a full-screen content view ready, which `owner` presents over the host's when
    /// it receives a hooked message.
    void makeReady(const std::shared_ptr<Object>& owner, const std::shared_ptr<UIView>& content);
    /// The object becomes the delegate of a web view, for which its class answers what the SDK's does: leave
    /// for an action, and the end of a load. Nothing happens to any other view.
    void setDelegate(const std::shared_ptr<UIView>& webView, const std::shared_ptr<Object>& delegate);
    /// The same with an object of that class that the SDK owns.
    void setDelegate(const std::shared_ptr<UIView>& webView, const char* className)
    {
        setDelegate(webView, keep(standInObject(className)));
    }
    CGSize fullScreen() const { return m_screen.view()->bounds().size; }
    /// The system will send such a message, one turn of the main queue after the controller came on screen.
    void expectAnnouncement(UIViewController& controller, const char* announcement);
    /// Keeps an object that the SDK owns alive as long as the ad.
    template <typename T> std::shared_ptr<T> keep(std::shared_ptr<T> object)
    {
        m_kept.push_back(object);
        return object;
    }
    /// Sends one of the SDK's own messages and remembers that it was sent.
    template <typename R, typename... A> R call(id receiver, const char* selector, A... arguments)
    {
        const SEL name = sel_registerName(selector);
        m_sent.push_back(messageText(receiver, name, { messageArgument(arguments)... }));
        return send<R>(receiver, name, arguments...);
    }
    /// Remembers a message that the platform sends by itself, such as `viewDidAppear:`.
    void expectMessage(id receiver, const char* selector, const std::vector<Value>& arguments = {});

    // For whoever shows it

    /// Where the report button has to be; set by the network's show function.
    std::shared_ptr<UIView> adView;
    /// The messages that were sent, in order, as the implementations should have noted them.
    const std::vector<std::string>& sent() const { return m_sent; }

private:
    UIViewController& m_screen;
    std::vector<std::shared_ptr<Object>> m_kept;
    std::vector<std::shared_ptr<UIView>> m_placed;
    std::weak_ptr<UIViewController> m_presented;
    std::vector<std::string> m_sent;
};

} // namespace lumora
