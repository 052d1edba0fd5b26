#pragma once

#include "platform/uikit/UIGestureRecognizer.h"

namespace lumora {

/// Directions of a swipe, combined with `|`.
enum UISwipeGestureRecognizerDirection : unsigned {
    UISwipeGestureRecognizerDirectionRight = 1,
    UISwipeGestureRecognizerDirectionLeft = 2,
    UISwipeGestureRecognizerDirectionUp = 4,
    UISwipeGestureRecognizerDirectionDown = 8,
};

/// One finger that moves 50 points in a direction and less than half as far aside, within half a second. Main
/// thread only.
class UISwipeGestureRecognizer final : public UIGestureRecognizer {
public:
    static const ClassDescription& classDescription();

    unsigned direction() const { return m_direction; }
    void setDirection(unsigned directions) { m_direction = directions; }

    void touchesBegan(const Value& touches, Object* event);
    void touchesMoved(const Value& touches, Object* event);

private:
    unsigned m_direction { UISwipeGestureRecognizerDirectionRight };
    CGPoint m_start;
    double m_startTime { 0 };
};

} // namespace lumora
