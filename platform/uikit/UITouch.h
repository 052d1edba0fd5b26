#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/objc/Message.h"

namespace lumora {

class UIView;
class UIWindow;

enum class UITouchPhase { Began, Moved, Ended, Cancelled };

/// One finger from its coming down to its going up. Main thread only.
class UITouch final : public NSObject {
public:
    static const ClassDescription& classDescription();

    UITouchPhase phase() const { return m_phase; }
    /// How many times a finger came down here in quick succession, this time included.
    int tapCount() const { return m_tapCount; }
    /// The view that was hit when the finger came down. Borrowed; null when it is gone.
    UIView* view() const { return m_view.lock().get(); }
    UIWindow* window() const;
    /// Points of the view's bounds; null for the window's.
    CGPoint locationInView(UIView* view) const;
    /// Seconds since 1970 of the last change.
    double timestamp() const { return m_timestamp; }

    /// The touch out of what a recognizer or a view is told: one at a time.
    static std::shared_ptr<UITouch> touchIn(const Value& touches);

private:
    friend class GestureArena;

    UITouchPhase m_phase { UITouchPhase::Began };
    int m_tapCount { 1 };
    CGPoint m_location;
    double m_timestamp { 0 };
    std::weak_ptr<UIView> m_view;
    std::weak_ptr<UIWindow> m_window;
};

} // namespace lumora
