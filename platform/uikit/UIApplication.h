#pragma once

#include "platform/uikit/UIResponder.h"
#include "platform/uikit/UITouch.h"

namespace lumora {

class UIWindow;

inline constexpr const char* UIApplicationWillEnterForegroundNotification
    = "UIApplicationWillEnterForegroundNotification";
inline constexpr const char* UIApplicationDidBecomeActiveNotification
    = "UIApplicationDidBecomeActiveNotification";
inline constexpr const char* UIApplicationWillResignActiveNotification
    = "UIApplicationWillResignActiveNotification";
inline constexpr const char* UIApplicationDidEnterBackgroundNotification
    = "UIApplicationDidEnterBackgroundNotification";

enum class UIApplicationState { Active, Inactive, Background };

/// The application of the current process, one a process. Main thread only.
class UIApplication final : public UIResponder {
public:
    static const ClassDescription& classDescription();
    static UIApplication& sharedApplication();

    /// The living windows that were shown, in the order they were.
    std::vector<std::shared_ptr<UIWindow>> windows() const;
    std::shared_ptr<UIWindow> keyWindow() const { return m_keyWindow.lock(); }
    UIApplicationState applicationState() const { return m_state; }

    /// The user comes back, or leaves: each posts its notification with the application as sender. An
    /// interruption, such as a call that is refused, resigns and becomes active and does no more.
    void enterForeground();
    void becomeActive();
    void resignActive();
    void enterBackground();

    /// What opens a URL outside the application and answers whether it did. Without one nothing opens.
    void setURLOpener(std::function<bool(const NSURLValue&)> opener) { m_opener = std::move(opener); }
    bool openURL(const Value& url);
    /// The completion runs on the main queue.
    void openURLWithOptions(
        const Value& url, const NSDictionary& options, const std::function<void(bool)>& completion);

    /// A finger on the screen: goes to the topmost window that can be touched there, and stays with it until
    /// it goes up.
    void sendTouch(UITouchPhase phase, CGPoint point, int finger = 0);

private:
    friend class UIWindow;

    std::vector<std::weak_ptr<UIWindow>> m_windows;
    std::weak_ptr<UIWindow> m_keyWindow;
    std::vector<std::pair<int, std::weak_ptr<UIWindow>>> m_fingers;
    UIApplicationState m_state { UIApplicationState::Active };
    std::function<bool(const NSURLValue&)> m_opener;
};

} // namespace lumora
