#pragma once

#include "platform/objc/Message.h"

#include <vector>

namespace lumora {

class UIView;

enum class NSLayoutAttribute {
    NotAnAttribute,
    Left,
    Right,
    Top,
    Bottom,
    Leading,
    Trailing,
    Width,
    Height,
    CenterX,
    CenterY
};

/// An equation between two attributes of views: item1.attribute1 = item2.attribute2 * multiplier + constant.
/// An item is a UIView or a UILayoutGuide. Active, it is owned by the nearest common ancestor of its views,
/// which it holds weakly, and is solved when the views' superviews are laid out. One that contradicts others
/// is left out, with a line on the console. Main thread only.
class NSLayoutConstraint final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static constexpr double required = 1000;

    /// With a null second item the attribute is the constant.
    static std::shared_ptr<NSLayoutConstraint> constraintWithItem(Object* item1, NSLayoutAttribute attribute1,
        Object* item2, NSLayoutAttribute attribute2, double multiplier, double constant);
    static void activateConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);
    static void deactivateConstraints(const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints);

    bool isActive() const { return !m_holder.expired(); }
    /// Without a common ancestor the constraint stays inactive, with a line on the console.
    void setActive(bool active);
    double constant() const { return m_constant; }
    void setConstant(double constant);
    double multiplier() const { return m_multiplier; }
    /// Of those that contradict each other the higher wins, then the one that was activated first.
    double priority() const { return m_priority; }
    void setPriority(double priority);
    /// Borrowed; null when it is gone or was never there.
    Object* firstItem() const { return m_first.item.lock().get(); }
    Object* secondItem() const { return m_second.item.lock().get(); }

private:
    friend class LayoutPass;
    friend class UIView;

    struct Side {
        std::weak_ptr<Object> item;
        NSLayoutAttribute attribute { NSLayoutAttribute::NotAnAttribute };
        /// The view itself or the guide's.
        UIView* view() const;
    };
    bool concerns(const UIView& subtree) const;
    void changed();
    void reportOnce(const char* problem);

    Side m_first;
    Side m_second;
    bool m_hasSecond { false };
    double m_multiplier { 1 };
    double m_constant { 0 };
    double m_priority { required };
    bool m_reported { false };
    std::weak_ptr<UIView> m_holder;
};

} // namespace lumora
