#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/objc/Message.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"

#include <functional>
#include <variant>

namespace lumora {

/// What a layer's property can be while it is animated; `std::monostate` for none.
using CAAnimationValue = std::variant<std::monostate, double, CGPoint, CGRect, UIColor, UIBezierPath>;

/// A value part of the way between two of one kind. Values of different kinds, and paths of different shapes,
/// have nothing between them: the second is the answer.
CAAnimationValue interpolated(const CAAnimationValue& from, const CAAnimationValue& to, double progress);

/// The time base of animations, in seconds: the process's clock.
double CACurrentMediaTime();

enum class CAMediaTimingFillMode { Removed, Forwards, Backwards, Both };
enum class CAMediaTimingFunction { Linear, EaseInEaseOut };

/// What all animations have in common: when and how often. Times are seconds. Not to be changed once it was
/// added to a layer. Main thread only.
class CAAnimation : public NSObject {
public:
    static const ClassDescription& classDescription();

    double duration() const { return m_duration; }
    void setDuration(double seconds) { m_duration = seconds; }
    /// In a group the seconds since the group's cycle began; on a layer a time of CACurrentMediaTime, 0 for
    /// when it is added.
    double beginTime() const { return m_beginTime; }
    void setBeginTime(double seconds) { m_beginTime = seconds; }
    double repeatCount() const { return m_repeatCount; }
    void setRepeatCount(double count) { m_repeatCount = count; }
    CAMediaTimingFillMode fillMode() const { return m_fillMode; }
    void setFillMode(CAMediaTimingFillMode mode) { m_fillMode = mode; }
    bool removedOnCompletion() const { return m_removedOnCompletion; }
    void setRemovedOnCompletion(bool removed) { m_removedOnCompletion = removed; }
    CAMediaTimingFunction timingFunction() const { return m_timingFunction; }
    void setTimingFunction(CAMediaTimingFunction function) { m_timingFunction = function; }
    /// Called when the animation is taken off its layer before its end.
    void setInterruptionHandler(std::function<void()> handler) { m_interruptionHandler = std::move(handler); }
    const std::function<void()>& interruptionHandler() const { return m_interruptionHandler; }

    /// Changes `value`, the property of that key path, to what it is some seconds after this animation's
    /// parent began; `initial` is what it is without animations. Leaves it alone when the animation says
    /// nothing at that moment.
    virtual void apply(std::string_view keyPath, double time, const CAAnimationValue& initial,
        CAAnimationValue& value) const;
    /// All repetitions, without the begin time.
    double activeDuration() const { return m_duration * std::max(0.0, m_repeatCount); }

protected:
    /// The seconds into the current cycle, or nothing when the animation is not in effect.
    std::optional<double> cycleTime(double time) const;

private:
    double m_duration { 0 };
    double m_beginTime { 0 };
    double m_repeatCount { 1 };
    CAMediaTimingFillMode m_fillMode { CAMediaTimingFillMode::Removed };
    bool m_removedOnCompletion { true };
    CAMediaTimingFunction m_timingFunction { CAMediaTimingFunction::Linear };
    std::function<void()> m_interruptionHandler;
};

/// One property from one value to another. Without a from or a to value, the layer's own is taken. Key paths:
/// "opacity", "frame", "backgroundColor", "path".
class CABasicAnimation final : public CAAnimation {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<CABasicAnimation> animationWithKeyPath(std::string keyPath);

    const std::string& keyPath() const { return m_keyPath; }
    const CAAnimationValue& fromValue() const { return m_from; }
    void setFromValue(CAAnimationValue value) { m_from = std::move(value); }
    const CAAnimationValue& toValue() const { return m_to; }
    void setToValue(CAAnimationValue value) { m_to = std::move(value); }

    void apply(std::string_view, double, const CAAnimationValue&, CAAnimationValue&) const override;

private:
    std::string m_keyPath;
    CAAnimationValue m_from;
    CAAnimationValue m_to;
};

/// Several animations in one time: the group's duration cuts what is longer.
class CAAnimationGroup final : public CAAnimation {
public:
    static const ClassDescription& classDescription();

    const std::vector<std::shared_ptr<CAAnimation>>& animations() const { return m_animations; }
    void setAnimations(std::vector<std::shared_ptr<CAAnimation>> animations)
    {
        m_animations = std::move(animations);
    }

    void apply(std::string_view, double, const CAAnimationValue&, CAAnimationValue&) const override;

private:
    std::vector<std::shared_ptr<CAAnimation>> m_animations;
};

} // namespace lumora
