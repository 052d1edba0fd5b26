#pragma once

#include "platform/objc/Message.h"
#include "platform/uikit/UIViewController.h"
#include "platform/webkit/WKWebView.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace lumora {

// How a stand-in for a network's SDK keeps its private state: objects of run-time classes with variables, as
// the real ones are seen through key-value coding.

/// The class of that name in the current process, made under `superclass` when it is missing.
Class standInClass(const std::string& name, Class superclass);

/// An object of a class of that name, with variables.
std::shared_ptr<Object> standInObject(
    const std::string& className, std::initializer_list<std::pair<const char*, Value>> variables = {});

/// A view of a run-time class, of a size.
std::shared_ptr<UIView> standInView(const std::string& className, CGSize size);

/// A creative of a size, loading.
std::shared_ptr<WKWebView> creativeView(const std::string& html, CGSize size);

/// A message that an SDK's own implementation received: "-[MPAdView managerDidLoadAd:] <MPClosableView:
/// 0x1>". The implementations of the hooked methods write it down, so that a test sees that they ran, how
/// often, and with what.
std::string messageText(id receiver, SEL selector, const std::vector<Value>& arguments);
void noteReceived(id self, SEL _cmd, std::vector<Value> arguments = {});
/// What was received in this process so far, and forgets it.
std::vector<std::string> takeReceived();

/// Presents what StandInAd::makeReady left with this object; nothing when it left nothing.
void presentReady(id owner);

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
    std::string html { "<h1>An ad</h1>" };
    /// The creative's web view, of a run-time subclass of WKWebView if named; null when it is to be missing.
    std::shared_ptr<WKWebView> creative(CGSize size, const std::string& className = "WKWebView");
    /// Puts a view on the host's page.
    void place(const std::shared_ptr<UIView>& view);
    /// Presents a controller of that class with a content view over the host's.
    std::shared_ptr<UIViewController> present(
        const std::string& className, const std::shared_ptr<UIView>& content);
    /// Makes a controller with a full-screen content view ready, which the SDK's own implementation presents
    /// over the host's by `presentReady` when `owner` is told to.
    void makeReady(const std::shared_ptr<Object>& owner, const std::shared_ptr<UIView>& content);
    CGSize fullScreen() const { return m_screen.view()->bounds().size; }
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
    void expect(const std::string& field, const Value& value) { m_expected.set(field, value); }
    void expectSDK(const std::string& name, const std::string& version, const std::string& adFormat);

    /// Sends one of the SDK's own messages and remembers that it was sent.
    template <typename R, typename... A> R call(id receiver, const char* selector, A... arguments)
    {
        const SEL name = sel_registerName(selector);
        m_sent.push_back(messageText(receiver, name, { asValue(arguments)... }));
        return send<R>(receiver, name, arguments...);
    }

    /// Remembers a message that the platform sends by itself, such as `viewDidAppear:`.
    void expectMessage(id receiver, const char* selector, const std::vector<Value>& arguments = {});

    // For who shows it

    /// Where the report button has to be; set by the network's show function.
    std::shared_ptr<UIView> adView;
    /// What a report has to say, by field.
    const NSDictionary& expected() const { return m_expected; }
    /// The messages that were sent, in order, as the implementations should have noted them.
    const std::vector<std::string>& sent() const { return m_sent; }
    /// Every step that was planted, with the fields that are read through it.
    const std::vector<std::pair<std::string, std::vector<std::string>>>& steps() const { return m_steps; }

private:
    template <typename T> static Value asValue(const T& argument)
    {
        if constexpr (std::is_convertible_v<T, const Object*>)
            return Value { retain(static_cast<Object*>(argument)) };
        else if constexpr (std::is_constructible_v<Value, T> && !std::is_pointer_v<T>)
            return Value { argument };
        else
            return Value {};
    }
    std::string named(const std::string& step, const std::string& name);
    void addStep(const std::string& step, const std::string& field);

    UIViewController& m_screen;
    int m_place;
    StandInFault m_fault;
    std::vector<std::shared_ptr<Object>> m_kept;
    std::vector<std::shared_ptr<UIView>> m_placed;
    NSDictionary m_expected;
    std::vector<std::string> m_sent;
    std::vector<std::pair<std::string, std::vector<std::string>>> m_steps;
};

/// A format of a network: how an ad of it comes on screen, and in how many places its SDKs keep identifiers.
struct StandInFormat {
    const char* name;
    int places;
    /// Builds and shows it up to the moment after which the report button is due.
    void (*show)(StandInAd& ad);
};

/// A network's SDK, as far as it can be seen from outside.
struct StandInNetwork {
    const char* name;
    /// Defines the SDK's classes in the current process, as loading the SDK does.
    void (*install)();
    std::vector<StandInFormat> formats;
};

} // namespace lumora
