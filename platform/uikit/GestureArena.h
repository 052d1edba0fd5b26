#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace lumora {

/// Where the touches of one window are fought over: which recognizers see them, which of those wins, and what
/// is left for the views. A recognizer that has what it needs waits for those that must fail first; when it
/// is recognized, the others that share a touch with it fail, unless a delegate lets both be or the other one
/// needs more taps. If all that is left waits for each other, the one of the deepest view goes. Owned by its
/// window. Main thread only.
class GestureArena : public std::enable_shared_from_this<GestureArena> {
public:
    void touch(UIWindow& window, UITouchPhase phase, CGPoint point, int number);
    size_t touchesDown() const;
    /// A recognizer has changed its mind outside of a touch.
    void settle();

private:
    class Settling;
    using Recognizer = std::shared_ptr<UIGestureRecognizer>;
    struct Finger {
        int number;
        std::shared_ptr<UITouch> touch;
        /// Those that see this touch and have not been reset since.
        std::vector<Recognizer> watchers;
        /// What the view is still to be told.
        std::vector<UITouchPhase> held;
        bool down { true };
        bool toldView { false };
        bool taken { false };
    };

    std::shared_ptr<Finger> findFinger(int number) const;
    std::shared_ptr<Finger> beginFinger(UIWindow& window, CGPoint point, int number);
    void tellRecognizers(const Finger& finger);
    void tellView(Finger& finger, UITouchPhase phase);
    Recognizer nextToRecognize();
    bool mustWait(const Recognizer& recognizer);
    void recognize(const Recognizer& recognizer);
    void takeTouches(const UIGestureRecognizer& recognizer);
    void fail(UIGestureRecognizer& recognizer);
    void forgetDecided();
    void passOnTouches();
    static bool shareTouch(const UIGestureRecognizer& one, const UIGestureRecognizer& other);
    static bool requiresFailure(UIGestureRecognizer& one, UIGestureRecognizer& other);
    static bool mayBeTogether(UIGestureRecognizer& one, UIGestureRecognizer& other);

    std::vector<std::shared_ptr<Finger>> m_fingers;
    // In order of the views, the deepest first, and of their recognizers.
    std::vector<Recognizer> m_members;
    // Recognized, and their targets not told yet.
    std::vector<Recognizer> m_winners;
    bool m_settling { false };
    bool m_again { false };
    CGPoint m_lastUp;
    double m_lastUpTime { 0 };
    int m_lastTapCount { 0 };
};

} // namespace lumora
