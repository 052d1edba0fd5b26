#pragma once

#include "platform/uikit/UIView.h"

namespace lumora {

namespace sel {
inline constinit const TypedSelector<void()> show { "show" };
} // namespace sel

/// A title, a message and a button over everything else, until the button is tapped. While it shows, its
/// window owns it. Main thread only.
class UIAlertView final : public UIView {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<UIAlertView> alertWithTitle(
        std::optional<std::string> title, std::optional<std::string> message);

    /// Unset when the alert has none.
    const std::optional<std::string>& title() const { return m_title; }
    void setTitle(std::optional<std::string> title) { m_title = std::move(title); }
    const std::optional<std::string>& message() const { return m_message; }
    void setMessage(std::optional<std::string> message) { m_message = std::move(message); }

    /// Puts the alert into the middle of the key window; nothing without one.
    void show();
    bool isVisible() { return window() != nullptr; }
    void dismiss() { send(this, sel::removeFromSuperview); }

private:
    std::optional<std::string> m_title;
    std::optional<std::string> m_message;
};

} // namespace lumora
