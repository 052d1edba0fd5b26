#include "platform/uikit/GestureArena.h"

#include "platform/process/Process.h"
#include "platform/uikit/UITapGestureRecognizer.h"
#include "platform/uikit/UIWindow.h"

#include <algorithm>
#include <cmath>

namespace lumora {

static const TypedSelector<void(Value, id)>& messageOf(UITouchPhase phase)
{
    switch (phase) {
    case UITouchPhase::Began:
        return sel::touchesBegan;
    case UITouchPhase::Moved:
        return sel::touchesMoved;
    case UITouchPhase::Ended:
        return sel::touchesEnded;
    case UITouchPhase::Cancelled:
        break;
    }
    return sel::touchesCancelled;
}

static bool isUp(UITouchPhase phase)
{
    return phase == UITouchPhase::Ended || phase == UITouchPhase::Cancelled;
}

// Undone also when a view or a delegate throws: the next touch must find the arena working.
class GestureArena::Settling {
public:
    explicit Settling(bool& flag)
        : m_flag(flag)
        , m_outer(std::exchange(flag, true))
    {
    }
    ~Settling() { m_flag = m_outer; }
    Settling(const Settling&) = delete;
    Settling& operator=(const Settling&) = delete;

private:
    bool& m_flag;
    bool m_outer;
};

size_t GestureArena::touchesDown() const
{
    return static_cast<size_t>(
        std::count_if(m_fingers.begin(), m_fingers.end(), [](const auto& finger) { return finger->down; }));
}

std::shared_ptr<GestureArena::Finger> GestureArena::findFinger(int number) const
{
    for (const auto& finger : m_fingers) {
        if (finger->down && finger->number == number)
            return finger;
    }
    return nullptr;
}

std::shared_ptr<GestureArena::Finger> GestureArena::beginFinger(UIWindow& window, CGPoint point, int number)
{
    const auto view = retain(as<UIView>(send(&window, sel::hitTest, point, nullptr)));
    if (!view)
        return nullptr;
    auto finger = std::make_shared<Finger>();
    finger->number = number;
    finger->touch = make<UITouch>();
    finger->touch->m_view = view;
    finger->touch->m_window = weakly(&window);
    const bool quick = Process::current().now() - m_lastUpTime <= UITapGestureRecognizer::maximumInterval;
    const bool near = std::hypot(point.x - m_lastUp.x, point.y - m_lastUp.y)
        <= UITapGestureRecognizer::maximumDistanceBetweenTaps;
    finger->touch->m_tapCount = quick && near ? m_lastTapCount + 1 : 1;
    for (UIView* at = view.get(); at; at = at->superview()) {
        for (const auto& recognizer : at->gestureRecognizers()) {
            if (!recognizer->isEnabled() || recognizer->m_wanted || recognizer->isDecided())
                continue;
            recognizer->m_touches.push_back(finger->touch);
            recognizer->m_arena = weak_from_this();
            finger->watchers.push_back(recognizer);
            if (std::find(m_members.begin(), m_members.end(), recognizer) == m_members.end())
                m_members.push_back(recognizer);
        }
    }
    m_fingers.push_back(finger);
    return finger;
}

void GestureArena::touch(UIWindow& window, UITouchPhase phase, CGPoint point, int number)
{
    const auto self = shared_from_this();
    auto finger = findFinger(number);
    if (finger && phase == UITouchPhase::Began)
        phase = UITouchPhase::Moved;
    else if (!finger && phase == UITouchPhase::Began)
        finger = beginFinger(window, point, number);
    if (!finger)
        return;
    UITouch& touch = *finger->touch;
    touch.m_phase = phase;
    touch.m_location = point;
    touch.m_timestamp = Process::current().now();
    if (isUp(phase)) {
        finger->down = false;
        m_lastUp = point;
        m_lastUpTime = touch.m_timestamp;
        m_lastTapCount = touch.m_tapCount;
    }
    finger->held.push_back(phase);
    tellRecognizers(*finger);
    settle();
}

void GestureArena::tellRecognizers(const Finger& finger)
{
    // Nothing is decided before all of them have seen the touch.
    const Settling settling(m_settling);
    for (const Recognizer& recognizer : std::vector(finger.watchers)) {
        if (!recognizer->m_wanted && !recognizer->isDecided())
            send(recognizer, messageOf(finger.touch->phase()), Value { NSArray { Value { finger.touch } } },
                nullptr);
    }
}

void GestureArena::settle()
{
    m_again = true;
    if (m_settling)
        return;
    const auto self = shared_from_this();
    const Settling settling(m_settling);
    while (std::exchange(m_again, false)) {
        if (touchesDown() == 0) {
            for (const Recognizer& member : std::vector(m_members)) {
                if (!member->isDecided() && !member->m_wanted && !member->awaitsAnotherTouch())
                    fail(*member);
            }
        }
        while (const Recognizer next = nextToRecognize())
            recognize(next);
        for (const Recognizer& winner : std::exchange(m_winners, {}))
            winner->sendActions();
        passOnTouches();
        forgetDecided();
    }
}

GestureArena::Recognizer GestureArena::nextToRecognize()
{
    Recognizer best;
    Recognizer first;
    bool allWait = true;
    for (const Recognizer& member : std::vector(m_members)) {
        if (member->isDecided())
            continue;
        allWait = allWait && member->m_wanted;
        if (!member->m_wanted)
            continue;
        const auto view = member->m_view.lock();
        if (!member->isEnabled() || !view || !view->window()) {
            fail(*member);
            continue;
        }
        if (mustWait(member))
            first = first ? first : member;
        else if (!member->isDecided() && (!best || member->taps() > best->taps()))
            best = member;
    }
    if (!best && allWait && first && !first->isDecided())
        return first;
    return best;
}

bool GestureArena::mustWait(const Recognizer& recognizer)
{
    for (const Recognizer& other : std::vector(m_members)) {
        const bool failed = other->state() == UIGestureRecognizerState::Failed
            || other->state() == UIGestureRecognizerState::Cancelled;
        if (other == recognizer || failed || !shareTouch(*recognizer, *other)
            || !requiresFailure(*recognizer, *other))
            continue;
        if (!other->isDecided())
            return true;
        fail(*recognizer);
        return false;
    }
    return false;
}

void GestureArena::recognize(const Recognizer& recognizer)
{
    recognizer->m_state = *std::exchange(recognizer->m_wanted, std::nullopt);
    for (const Recognizer& other : std::vector(m_members)) {
        if (other == recognizer || other->isDecided() || !shareTouch(*recognizer, *other))
            continue;
        const bool needsMoreTaps = recognizer->taps() > 0 && other->taps() > recognizer->taps();
        if (requiresFailure(*other, *recognizer) || (!needsMoreTaps && !mayBeTogether(*recognizer, *other)))
            fail(*other);
    }
    if (recognizer->cancelsTouchesInView())
        takeTouches(*recognizer);
    m_winners.push_back(recognizer);
}

void GestureArena::takeTouches(const UIGestureRecognizer& recognizer)
{
    for (const auto& finger : std::vector(m_fingers)) {
        const auto& touches = recognizer.m_touches;
        if (finger->taken || std::find(touches.begin(), touches.end(), finger->touch) == touches.end())
            continue;
        finger->taken = true;
        finger->held.clear();
        tellView(*finger, UITouchPhase::Cancelled);
    }
}

void GestureArena::fail(UIGestureRecognizer& recognizer)
{
    const bool begun = recognizer.state() != UIGestureRecognizerState::Possible;
    recognizer.m_state = begun ? UIGestureRecognizerState::Cancelled : UIGestureRecognizerState::Failed;
    recognizer.m_wanted.reset();
    m_again = true;
    if (begun)
        m_winners.push_back(retain(&recognizer));
}

void GestureArena::forgetDecided()
{
    if (touchesDown() > 0)
        return;
    std::vector<Recognizer> done;
    std::erase_if(m_members, [&](const Recognizer& member) {
        if (!member->isDecided())
            return false;
        done.push_back(member);
        return true;
    });
    for (const Recognizer& member : done) {
        for (const auto& finger : m_fingers)
            std::erase(finger->watchers, member);
        member->m_state = UIGestureRecognizerState::Possible;
        member->m_touches.clear();
        member->m_arena.reset();
        member->reset();
    }
}

void GestureArena::passOnTouches()
{
    for (const auto& finger : std::vector(m_fingers)) {
        auto someone = [&](auto delays) {
            return std::any_of(finger->watchers.begin(), finger->watchers.end(),
                [&](const Recognizer& watcher) { return !watcher->isDecided() && (*watcher.*delays)(); });
        };
        while (!finger->held.empty()) {
            const UITouchPhase phase = finger->held.front();
            if (!finger->taken && !finger->toldView && someone(&UIGestureRecognizer::delaysTouchesBegan))
                break;
            if (!finger->taken && phase == UITouchPhase::Ended
                && someone(&UIGestureRecognizer::delaysTouchesEnded))
                break;
            finger->held.erase(finger->held.begin());
            if (!finger->taken)
                tellView(*finger, phase);
        }
    }
    std::erase_if(m_fingers, [](const auto& finger) { return !finger->down && finger->held.empty(); });
}

void GestureArena::tellView(Finger& finger, UITouchPhase phase)
{
    // A view that never heard of the touch does not hear of its end.
    if (phase == UITouchPhase::Began)
        finger.toldView = true;
    else if (!finger.toldView)
        return;
    if (isUp(phase))
        finger.toldView = false;
    const auto view = finger.touch->m_view.lock();
    send(view, messageOf(phase), Value { NSArray { Value { finger.touch } } }, nullptr);
}

bool GestureArena::shareTouch(const UIGestureRecognizer& one, const UIGestureRecognizer& other)
{
    return std::any_of(one.m_touches.begin(), one.m_touches.end(), [&](const auto& touch) {
        return std::find(other.m_touches.begin(), other.m_touches.end(), touch) != other.m_touches.end();
    });
}

static bool ask(
    const TypedSelector<bool(id, id)>& question, UIGestureRecognizer& recognizer, UIGestureRecognizer& other)
{
    const auto delegate = retain(recognizer.delegate());
    return respondsToSelector(delegate.get(), question) && send(delegate, question, &recognizer, &other);
}

bool GestureArena::requiresFailure(UIGestureRecognizer& one, UIGestureRecognizer& other)
{
    if (one.explicitlyRequires(other))
        return true;
    // Asked for both, one delegate would make each wait for the other.
    if (other.explicitlyRequires(one))
        return false;
    return ask(sel::gestureRecognizerShouldRequireFailureOf, one, other)
        || ask(sel::gestureRecognizerShouldBeRequiredToFailBy, other, one);
}

bool GestureArena::mayBeTogether(UIGestureRecognizer& one, UIGestureRecognizer& other)
{
    return ask(sel::gestureRecognizerShouldRecognizeSimultaneouslyWith, one, other)
        || ask(sel::gestureRecognizerShouldRecognizeSimultaneouslyWith, other, one);
}

} // namespace lumora
