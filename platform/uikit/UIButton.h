#pragma once

#include "platform/uikit/UILabel.h"

namespace lumora {

/// What may happen to a control: a set of bits.
inline constexpr uint64_t UIControlEventTouchUpInside = 1 << 6;

namespace sel {
inline constinit const TypedSelector<void(uint64_t)> sendActionsForControlEvents {
    "sendActionsForControlEvents:"
};
} // namespace sel

/// A title to tap on. The title's label is a subview that fills the button. Main thread only.
class UIButton : public UIView {
public:
    static const ClassDescription& classDescription();
    /// Points left and right of the title.
    static constexpr double titleInset = 8;

    const std::string& title() { return titleLabel().text(); }
    void setTitle(std::string title) { titleLabel().setText(std::move(title)); }
    void setTitleColor(const UIColor& color) { titleLabel().setTextColor(color); }
    UILabel& titleLabel();
    bool isHighlighted() const { return m_highlighted; }
    void setHighlighted(bool highlighted) { m_highlighted = highlighted; }
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected) { m_selected = selected; }
    /// Sends the action after a tap, with the button if the selector ends in a colon, whatever other
    /// recognizers of the button make of it. The target is held weakly.
    void addTarget(std::weak_ptr<Object> target, SEL action);
    /// Sends the actions as if the button had been tapped, if the events name that. No touch: recognizers see
    /// nothing of it.
    void sendActionsForControlEvents(uint64_t events);

    void layoutSubviews();
    CGSize intrinsicContentSize();
    /// Drawn lighter while it is highlighted.
    void drawRect(CGContext& context);
    void touchesBegan(const Value& touches, Object* event);
    void touchesEnded(const Value& touches, Object* event);
    void touchesCancelled(const Value& touches, Object* event);

private:
    bool recognizesTogether(Object* recognizer, Object* other);

    std::shared_ptr<UILabel> m_titleLabel;
    std::weak_ptr<UIGestureRecognizer> m_actionRecognizer;
    bool m_highlighted { false };
    bool m_selected { false };
};

} // namespace lumora
