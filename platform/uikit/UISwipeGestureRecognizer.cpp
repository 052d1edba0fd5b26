#include "platform/uikit/UISwipeGestureRecognizer.h"

#include <cmath>

namespace lumora {

static constexpr double shortestSwipe = 50;
static constexpr double longestSwipeTime = 0.5;

const ClassDescription& UISwipeGestureRecognizer::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UISwipeGestureRecognizer, UIGestureRecognizer>("UISwipeGestureRecognizer")
            .method<&UISwipeGestureRecognizer::touchesBegan>(sel::touchesBegan)
            .method<&UISwipeGestureRecognizer::touchesMoved>(sel::touchesMoved));
    return description;
}
static const RegisteredClass registeredUISwipeGestureRecognizer {
    &UISwipeGestureRecognizer::classDescription
};

void UISwipeGestureRecognizer::touchesBegan(const Value& touches, Object*)
{
    const auto touch = UITouch::touchIn(touches);
    if (!touch)
        return;
    m_start = touch->locationInView(nullptr);
    m_startTime = touch->timestamp();
}

void UISwipeGestureRecognizer::touchesMoved(const Value& touches, Object*)
{
    const auto touch = UITouch::touchIn(touches);
    if (!touch)
        return;
    if (touch->timestamp() - m_startTime > longestSwipeTime)
        return setState(UIGestureRecognizerState::Failed);
    const double dx = touch->locationInView(nullptr).x - m_start.x;
    const double dy = touch->locationInView(nullptr).y - m_start.y;
    const bool across = std::abs(dx) >= shortestSwipe && std::abs(dy) * 2 < std::abs(dx);
    const bool along = std::abs(dy) >= shortestSwipe && std::abs(dx) * 2 < std::abs(dy);
    if (!across && !along)
        return;
    const unsigned horizontal
        = dx > 0 ? UISwipeGestureRecognizerDirectionRight : UISwipeGestureRecognizerDirectionLeft;
    const unsigned vertical
        = dy > 0 ? UISwipeGestureRecognizerDirectionDown : UISwipeGestureRecognizerDirectionUp;
    const bool wanted = (m_direction & (across ? horizontal : vertical)) != 0;
    setState(wanted ? UIGestureRecognizerState::Ended : UIGestureRecognizerState::Failed);
}

} // namespace lumora
