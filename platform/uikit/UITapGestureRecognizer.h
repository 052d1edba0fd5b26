#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace lumora {

class ScheduledTimer;

/// A number of short touches by a number of fingers. Between two taps 0.35 s may pass and the finger may move
/// 45 points; while it is down, 10. Main thread only.
class UITapGestureRecognizer : public UIGestureRecognizer {
public:
    static const ClassDescription& classDescription();
    static constexpr double maximumInterval = 0.35;
    static constexpr double maximumMovement = 10;
    static constexpr double maximumDistanceBetweenTaps = 45;

    ~UITapGestureRecognizer() override;
    int numberOfTapsRequired() const { return m_tapsRequired; }
    void setNumberOfTapsRequired(int taps) { m_tapsRequired = taps; }
    int numberOfTouchesRequired() const { return m_touchesRequired; }
    void setNumberOfTouchesRequired(int touches) { m_touchesRequired = touches; }

    void touchesBegan(const Value& touches, Object* event);
    void touchesMoved(const Value& touches, Object* event);
    void touchesEnded(const Value& touches, Object* event);
    void reset() override;

protected:
    bool awaitsAnotherTouch() const override { return m_timer != nullptr; }
    int taps() const override { return m_tapsRequired; }

private:
    void stopTimer();

    int m_tapsRequired { 1 };
    int m_touchesRequired { 1 };
    int m_tapsSeen { 0 };
    int m_fingersDown { 0 };
    int m_mostFingers { 0 };
    CGPoint m_firstTap;
    std::vector<std::pair<std::weak_ptr<UITouch>, CGPoint>> m_starts;
    std::shared_ptr<ScheduledTimer> m_timer;
};

} // namespace lumora
