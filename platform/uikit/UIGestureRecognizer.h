#pragma once

#include "platform/uikit/UIKitSelectors.h"
#include "platform/uikit/UITouch.h"

namespace lumora {

class GestureArena;

enum class UIGestureRecognizerState { Possible, Began, Changed, Ended, Cancelled, Failed };

/// Watches the touches of a view and all under it for a gesture. Owned by its view; view, targets and
/// delegate are held weakly. Which of several recognizers wins, and what the views get of the touches, is
/// decided by the window's GestureArena. Main thread only.
class UIGestureRecognizer : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// When the gesture is recognized the target is sent the action, with the recognizer if the selector ends
    /// in a colon. A target that is gone is left out; one that does not answer is named on the console.
    void addTarget(std::weak_ptr<Object> target, SEL action);
    UIGestureRecognizerState state() const { return m_state; }
    Object* delegate() const { return m_delegate.lock().get(); }
    void setDelegate(std::weak_ptr<Object> delegate) { m_delegate = std::move(delegate); }
    UIView* view() const { return m_view.lock().get(); }
    bool isEnabled() const { return m_enabled; }
    /// Disabled in the middle of a gesture it fails.
    void setEnabled(bool enabled);
    /// Once recognized, the touches are taken from the view they hit. True at first.
    bool cancelsTouchesInView() const { return m_cancelsTouchesInView; }
    void setCancelsTouchesInView(bool cancels) { m_cancelsTouchesInView = cancels; }
    /// The view gets no touch before this recognizer has failed.
    bool delaysTouchesBegan() const { return m_delaysTouchesBegan; }
    void setDelaysTouchesBegan(bool delays) { m_delaysTouchesBegan = delays; }
    /// The view does not hear of the end of a touch before this recognizer has failed. True at first.
    bool delaysTouchesEnded() const { return m_delaysTouchesEnded; }
    void setDelaysTouchesEnded(bool delays) { m_delaysTouchesEnded = delays; }
    /// This one waits until the other has failed. Rules over what delegates say of the two.
    void requireGestureRecognizerToFail(const std::shared_ptr<UIGestureRecognizer>& other);
    /// Where the last touch was. Points of the view's bounds; null for the window's.
    CGPoint locationInView(UIView* view) const;

    // For subclasses: what they see of the touches, and what they make of them.
    void touchesBegan(const Value&, Object*) { }
    void touchesMoved(const Value&, Object*) { }
    void touchesEnded(const Value&, Object*) { }
    void touchesCancelled(const Value&, Object*);
    /// Ended asks to be recognized, which waits for those that must fail first; Failed and Cancelled give up.
    void setState(UIGestureRecognizerState state);
    /// Called after a gesture, won or lost, before the next one.
    virtual void reset() { }

protected:
    /// Between two touches of one gesture: without it, lifted fingers end what was not recognized.
    virtual bool awaitsAnotherTouch() const { return false; }
    /// How many taps make the gesture; more go first.
    virtual int taps() const { return 0; }
    /// What the actions are sent with.
    virtual Object* sender() { return this; }
    void sendActions();

private:
    friend class GestureArena;
    friend class UIView;

    struct Target {
        std::weak_ptr<Object> object;
        SEL action;
    };
    /// Given up or recognized.
    bool isDecided() const;
    bool explicitlyRequires(const UIGestureRecognizer& other) const;
    /// Gives the gesture in hand up.
    void abandon();

    UIGestureRecognizerState m_state { UIGestureRecognizerState::Possible };
    // Asked for and waiting for others to fail: Began or Ended.
    std::optional<UIGestureRecognizerState> m_wanted;
    bool m_enabled { true };
    bool m_cancelsTouchesInView { true };
    bool m_delaysTouchesBegan { false };
    bool m_delaysTouchesEnded { true };
    std::vector<Target> m_targets;
    std::weak_ptr<Object> m_delegate;
    std::weak_ptr<UIView> m_view;
    std::vector<std::weak_ptr<UIGestureRecognizer>> m_requirements;
    // The touches of the gesture in hand, and where it is decided.
    std::vector<std::shared_ptr<UITouch>> m_touches;
    std::weak_ptr<GestureArena> m_arena;
};

} // namespace lumora
