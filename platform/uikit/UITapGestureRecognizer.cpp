#include "platform/uikit/UITapGestureRecognizer.h"

#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"

#include <cmath>

namespace lumora {

const ClassDescription& UITapGestureRecognizer::classDescription()
{
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UITapGestureRecognizer, UIGestureRecognizer>("UITapGestureRecognizer")
            .method<&UITapGestureRecognizer::touchesBegan>(sel::touchesBegan)
            .method<&UITapGestureRecognizer::touchesMoved>(sel::touchesMoved)
            .method<&UITapGestureRecognizer::touchesEnded>(sel::touchesEnded)
            .variable<&UITapGestureRecognizer::m_tapsRequired>("numberOfTapsRequired")
            .variable<&UITapGestureRecognizer::m_touchesRequired>("numberOfTouchesRequired"));
    return description;
}
static const RegisteredClass registeredUITapGestureRecognizer { &UITapGestureRecognizer::classDescription };

UITapGestureRecognizer::~UITapGestureRecognizer() { stopTimer(); }

static double distance(CGPoint one, CGPoint other) { return std::hypot(one.x - other.x, one.y - other.y); }

void UITapGestureRecognizer::touchesBegan(const Value& touches, Object*)
{
    const auto touch = UITouch::touchIn(touches);
    if (!touch)
        return;
    stopTimer();
    const CGPoint point = touch->locationInView(nullptr);
    if (m_tapsSeen == 0 && m_fingersDown == 0)
        m_firstTap = point;
    const bool elsewhere = m_fingersDown == 0 && distance(point, m_firstTap) > maximumDistanceBetweenTaps;
    m_starts.emplace_back(touch, point);
    m_mostFingers = std::max(m_mostFingers, ++m_fingersDown);
    if (elsewhere || m_fingersDown > m_touchesRequired)
        setState(UIGestureRecognizerState::Failed);
}

void UITapGestureRecognizer::touchesMoved(const Value& touches, Object*)
{
    const auto touch = UITouch::touchIn(touches);
    for (const auto& [started, point] : m_starts) {
        if (refersTo(started, touch.get())
            && distance(point, touch->locationInView(nullptr)) > maximumMovement)
            return setState(UIGestureRecognizerState::Failed);
    }
}

void UITapGestureRecognizer::touchesEnded(const Value& touches, Object* event)
{
    touchesMoved(touches, event);
    if (state() == UIGestureRecognizerState::Failed || --m_fingersDown > 0)
        return;
    if (std::exchange(m_mostFingers, 0) != m_touchesRequired)
        return setState(UIGestureRecognizerState::Failed);
    m_starts.clear();
    if (++m_tapsSeen >= m_tapsRequired)
        return setState(UIGestureRecognizerState::Ended);
    m_timer = Process::current().executor().scheduleTimer(
        "UITapGestureRecognizer", maximumInterval, [weak = weakly(this)] {
            if (auto recognizer = weak.lock()) {
                recognizer->m_timer = nullptr;
                recognizer->setState(UIGestureRecognizerState::Failed);
            }
        });
}

void UITapGestureRecognizer::reset()
{
    stopTimer();
    m_tapsSeen = 0;
    m_fingersDown = 0;
    m_mostFingers = 0;
    m_starts.clear();
}

void UITapGestureRecognizer::stopTimer()
{
    if (auto timer = std::exchange(m_timer, nullptr))
        timer->cancel();
}

} // namespace lumora
