#pragma once

#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIView.h"

namespace lumora {

class GestureArena;

/// The root of a tree of views on the screen. Owned by whoever made it; the application knows it weakly once
/// it was shown. Main thread only.
class UIWindow final : public UIView {
public:
    static const ClassDescription& classDescription();

    UIWindow();
    ~UIWindow() override;
    /// A window without a size takes the screen's.
    id initWithFrame(CGRect frame);

    const std::shared_ptr<UIViewController>& rootViewController() const { return m_rootViewController; }
    /// Its view fills the window.
    void setRootViewController(std::shared_ptr<UIViewController> controller);
    void makeKeyAndVisible();
    bool isKeyWindow();
    UIResponder* nextResponder();

    /// A finger comes down, moves, goes up or is taken away at a point of the window. Fingers are told apart
    /// by number; a finger that never came down does nothing.
    void sendTouch(UITouchPhase phase, CGPoint point, int finger = 0);
    /// How many fingers are down.
    size_t touchesDown() const;

protected:
    bool isWindow() const override { return true; }

private:
    void appearRoot();

    std::shared_ptr<UIViewController> m_rootViewController;
    std::shared_ptr<GestureArena> m_arena;
    bool m_shown { false };
};

} // namespace lumora
