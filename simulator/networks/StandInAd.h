#pragma once

#include "platform/uikit/UIViewController.h"
#include "simulator/networks/StandInMessages.h"
#include "simulator/networks/StandInObjects.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace lumora {

/// What goes wrong in an SDK. A step is one key of a private path from a root object:
/// "MPClosableView:_delegate".
struct StandInFault {
    /// The private key has another name, as after an update of the SDK.
    std::string renamedStep {};
    /// Reading the private key raises something that is no exception of the platform's.
    std::string raisingStep {};
    /// None of the private objects is there.
    bool nothingPrivate { false };
    /// The creative has no web view.
    bool noCreative { false };
};

/// One ad of a stand-in: built, shown and taken down by one test or demo. It is told what goes wrong and
/// which of the places where SDK versions keep an identifier this one uses; it answers what a report must
/// say. Main thread.
class StandInAd {
public:
    /// Every alternative place is filled, each with a value of its own.
    static constexpr int everyPlace = -1;

    /// `screen` is the host's controller, in a window. `place` chooses among alternative key paths.
    explicit StandInAd(UIViewController& screen, int place = 0, StandInFault fault = {});
    ~StandInAd();
    StandInAd(const StandInAd&) = delete;
    StandInAd& operator=(const StandInAd&) = delete;

    // For the network's show function

    UIViewController& screen() const { return m_screen; }
    /// The place this ad uses, among so many; the last one when it uses all.
    int placeAmong(int count) const { return m_place == everyPlace ? count - 1 : m_place % count; }
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
    CGSize fullScreen() const { return m_screen.view()->bounds().size; }
    /// The system will send such a message, one turn of the main queue after the controller came on screen.
    void announce(UIViewController& controller, const char* announcement);
    /// Keeps an object that the SDK owns alive as long as the ad.
    template <typename T> std::shared_ptr<T> keep(std::shared_ptr<T> object)
    {
        m_kept.push_back(object);
        return object;
    }

    /// Lays a value under a key path from a root object, making the objects on the way that are missing.
    /// `field` is what of a report is read there: "creativeId", "placementId", "button", or a key of the
    /// further fields. The field is then expected to have that value (text, or a number's digits).
    void plant(const std::string& field, const std::shared_ptr<Object>& root, const std::string& keyPath,
        const Value& value);
    /// The same for a value that stands in one of several places, the first of which wins.
    void plantOneOf(const std::string& field, const std::shared_ptr<Object>& root,
        const std::vector<std::string>& keyPaths, const Value& value);
    /// A key inside of data that is read by key, such as JSON: as it is to be written. A step of `fields`.
    std::string key(const std::vector<std::string>& fields, const std::string& name);
    /// A private object that is found by its kind, whatever its name.
    void hold(const std::shared_ptr<Object>& owner, const std::string& name, const Value& value);
    void expect(const std::string& field, const Value& value) { m_expected.set(field, value); }
    /// The fields that every report has of its network.
    void expectAd(const Value& sdk, const Value& version, const char* adFormat)
    {
        m_expected.addEntriesFrom({ { "sdk", sdk }, { "sdkVersion", version }, { "adFormat", adFormat } });
    }
    /// What a field says when a step to it fails, if it says anything then.
    void expectOtherwise(const std::string& field, const Value& value)
    {
        m_expectedOtherwise.set(field, value);
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

    // For who shows it

    /// Where the report button has to be; set by the network's show function.
    std::shared_ptr<UIView> adView;
    /// What a report has to say, by field.
    const NSDictionary& expected() const { return m_expected; }
    /// What is said when a step to a field fails; empty or absent if it is not in here.
    const NSDictionary& expectedOtherwise() const { return m_expectedOtherwise; }
    /// The messages that were sent, in order, as the implementations should have noted them.
    const std::vector<std::string>& sent() const { return m_sent; }
    /// Every step that was planted, with the fields that are read through it.
    using Steps = std::vector<std::pair<std::string, std::vector<std::string>>>;
    const Steps& steps() const { return m_steps; }

private:
    std::string named(const std::string& step, const std::string& name);
    void addStep(const std::string& step, const std::string& field);

    UIViewController& m_screen;
    int m_place;
    StandInFault m_fault;
    std::vector<std::shared_ptr<Object>> m_kept;
    std::vector<std::shared_ptr<UIView>> m_placed;
    std::weak_ptr<UIViewController> m_presented;
    NSDictionary m_expected;
    NSDictionary m_expectedOtherwise;
    std::vector<std::string> m_sent;
    Steps m_steps;
};

} // namespace lumora
