#include "platform/uikit/UIGestureRecognizer.h"

#include "platform/process/Process.h"
#include "platform/uikit/GestureArena.h"
#include "platform/uikit/UIWindow.h"

#include <algorithm>

namespace lumora {

const ClassDescription& UITouch::classDescription()
{
    static const auto& description = *new ClassDescription(ClassDescription::of<UITouch, NSObject>("UITouch")
                                                               .variable<&UITouch::m_tapCount>("tapCount")
                                                               .variable<&UITouch::m_view>("view"));
    return description;
}
static const RegisteredClass registeredUITouch { &UITouch::classDescription };

std::shared_ptr<UITouch> UITouch::touchIn(const Value& touches)
{
    const NSArray* array = touches.array();
    return array && !array->empty() ? as<UITouch>(array->front().object()) : nullptr;
}

UIWindow* UITouch::window() const { return m_window.lock().get(); }

CGPoint UITouch::locationInView(UIView* view) const
{
    const auto window = m_window.lock();
    return view && window ? view->convertPointFromView(m_location, window.get()) : m_location;
}

const ClassDescription& UIGestureRecognizer::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIGestureRecognizer, NSObject>("UIGestureRecognizer")
                                    .method<&UIGestureRecognizer::view>("view"_sel)
                                    .method<&UIGestureRecognizer::delegate>("delegate"_sel)
                                    .method<&UIGestureRecognizer::touchesBegan>(sel::touchesBegan)
                                    .method<&UIGestureRecognizer::touchesMoved>(sel::touchesMoved)
                                    .method<&UIGestureRecognizer::touchesEnded>(sel::touchesEnded)
                                    .method<&UIGestureRecognizer::touchesCancelled>(sel::touchesCancelled)
                                    .variable<&UIGestureRecognizer::m_state>("state")
                                    .variable<&UIGestureRecognizer::m_enabled>("enabled"));
    return description;
}
static const RegisteredClass registeredUIGestureRecognizer { &UIGestureRecognizer::classDescription };

void UIGestureRecognizer::addTarget(std::weak_ptr<Object> target, SEL action)
{
    if (action)
        m_targets.push_back({ std::move(target), action });
}

void UIGestureRecognizer::setEnabled(bool enabled)
{
    m_enabled = enabled;
    if (!enabled)
        abandon();
}

void UIGestureRecognizer::requireGestureRecognizerToFail(const std::shared_ptr<UIGestureRecognizer>& other)
{
    m_requirements.push_back(other);
}

CGPoint UIGestureRecognizer::locationInView(UIView* view) const
{
    return m_touches.empty() ? CGPoint {} : m_touches.back()->locationInView(view);
}

void UIGestureRecognizer::touchesCancelled(const Value&, Object*)
{
    setState(UIGestureRecognizerState::Cancelled);
}

bool UIGestureRecognizer::isDecided() const
{
    return m_state == UIGestureRecognizerState::Ended || m_state == UIGestureRecognizerState::Cancelled
        || m_state == UIGestureRecognizerState::Failed;
}

bool UIGestureRecognizer::explicitlyRequires(const UIGestureRecognizer& other) const
{
    return std::any_of(m_requirements.begin(), m_requirements.end(),
        [&](const auto& required) { return refersTo(required, &other); });
}

void UIGestureRecognizer::abandon()
{
    if (!m_arena.expired())
        setState(UIGestureRecognizerState::Cancelled);
}

void UIGestureRecognizer::setState(UIGestureRecognizerState state)
{
    // Outside of a touch there is nothing to recognize.
    const auto arena = m_arena.lock();
    if (!arena || isDecided() || state == UIGestureRecognizerState::Possible)
        return;
    if (m_state != UIGestureRecognizerState::Possible) {
        m_state = state;
        sendActions();
    } else if (state == UIGestureRecognizerState::Failed || state == UIGestureRecognizerState::Cancelled) {
        m_state = UIGestureRecognizerState::Failed;
        m_wanted.reset();
    } else
        m_wanted = state;
    arena->settle();
}

void UIGestureRecognizer::sendActions()
{
    const auto self = retain(this);
    for (const Target& target : std::vector(m_targets)) {
        const auto object = target.object.lock();
        if (!object)
            continue;
        try {
            if (target.action->name().ends_with(':'))
                send<void>(object.get(), target.action, static_cast<id>(sender()));
            else
                send<void>(object.get(), target.action);
        } catch (const std::exception& exception) {
            Process::current().log(std::string { "UIGestureRecognizer: " } + exception.what());
        } catch (...) {
            Process::current().log("UIGestureRecognizer: an action has thrown");
        }
    }
}

} // namespace lumora
