#include "platform/quartzcore/CAAnimation.h"

#include "platform/process/Process.h"

#include <cmath>

namespace lumora {

static double between(double from, double to, double progress) { return from + (to - from) * progress; }
static CGPoint between(CGPoint from, CGPoint to, double progress)
{
    return { between(from.x, to.x, progress), between(from.y, to.y, progress) };
}
static CGRect between(const CGRect& from, const CGRect& to, double progress)
{
    return { between(from.origin, to.origin, progress),
        { between(from.size.width, to.size.width, progress),
            between(from.size.height, to.size.height, progress) } };
}
static UIColor between(const UIColor& from, const UIColor& to, double progress)
{
    return { between(from.red, to.red, progress), between(from.green, to.green, progress),
        between(from.blue, to.blue, progress), between(from.alpha, to.alpha, progress) };
}
static UIBezierPath between(const UIBezierPath& from, const UIBezierPath& to, double progress)
{
    const auto& start = from.elements();
    const auto& end = to.elements();
    const bool alike = std::equal(start.begin(), start.end(), end.begin(), end.end(),
        [](const auto& one, const auto& other) { return one.kind == other.kind; });
    if (!alike)
        return to;
    UIBezierPath path;
    for (size_t i = 0; i < start.size(); ++i) {
        const CGPoint point = between(start[i].to, end[i].to, progress);
        switch (start[i].kind) {
        case UIBezierPath::Kind::Move:
            path.moveTo(point);
            break;
        case UIBezierPath::Kind::Line:
            path.addLineTo(point);
            break;
        case UIBezierPath::Kind::Curve:
            path.addCurveTo(point, between(start[i].control1, end[i].control1, progress),
                between(start[i].control2, end[i].control2, progress));
            break;
        case UIBezierPath::Kind::Close:
            path.close();
            break;
        }
    }
    return path;
}

CAAnimationValue interpolated(const CAAnimationValue& from, const CAAnimationValue& to, double progress)
{
    return std::visit(
        [&]<typename T>(const T& start) -> CAAnimationValue {
            const T* end = std::get_if<T>(&to);
            if constexpr (std::is_same_v<T, std::monostate>)
                return to;
            else
                return end ? CAAnimationValue { between(start, *end, progress) } : to;
        },
        from);
}

double CACurrentMediaTime() { return Process::current().now(); }

const ClassDescription& CAAnimation::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<CAAnimation, NSObject>("CAAnimation"));
    return description;
}
static const RegisteredClass registeredCAAnimation { &CAAnimation::classDescription };

void CAAnimation::apply(std::string_view, double, const CAAnimationValue&, CAAnimationValue&) const { }

std::optional<double> CAAnimation::cycleTime(double time) const
{
    const bool forwards
        = m_fillMode == CAMediaTimingFillMode::Forwards || m_fillMode == CAMediaTimingFillMode::Both;
    const bool backwards
        = m_fillMode == CAMediaTimingFillMode::Backwards || m_fillMode == CAMediaTimingFillMode::Both;
    const double local = time - m_beginTime;
    if (local < 0)
        return backwards ? std::optional(0.0) : std::nullopt;
    // A duration of nothing, or of no number, is over at once.
    if (!(local < activeDuration()))
        return forwards ? std::optional(m_duration) : std::nullopt;
    return std::fmod(local, m_duration);
}

const ClassDescription& CABasicAnimation::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<CABasicAnimation, CAAnimation>("CABasicAnimation"));
    return description;
}
static const RegisteredClass registeredCABasicAnimation { &CABasicAnimation::classDescription };

std::shared_ptr<CABasicAnimation> CABasicAnimation::animationWithKeyPath(std::string keyPath)
{
    auto animation = make<CABasicAnimation>();
    animation->m_keyPath = std::move(keyPath);
    return animation;
}

void CABasicAnimation::apply(
    std::string_view keyPath, double time, const CAAnimationValue& initial, CAAnimationValue& value) const
{
    const std::optional<double> cycle = keyPath == m_keyPath ? cycleTime(time) : std::nullopt;
    if (!cycle)
        return;
    double progress = duration() > 0 ? *cycle / duration() : 1;
    if (timingFunction() == CAMediaTimingFunction::EaseInEaseOut)
        progress = progress * progress * (3 - 2 * progress);
    auto given = [&](const CAAnimationValue& end) -> const CAAnimationValue& {
        return std::holds_alternative<std::monostate>(end) ? initial : end;
    };
    value = interpolated(given(m_from), given(m_to), progress);
}

const ClassDescription& CAAnimationGroup::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<CAAnimationGroup, CAAnimation>("CAAnimationGroup"));
    return description;
}
static const RegisteredClass registeredCAAnimationGroup { &CAAnimationGroup::classDescription };

void CAAnimationGroup::apply(
    std::string_view keyPath, double time, const CAAnimationValue& initial, CAAnimationValue& value) const
{
    const std::optional<double> cycle = cycleTime(time);
    if (!cycle)
        return;
    for (const auto& animation : m_animations)
        animation->apply(keyPath, *cycle, initial, value);
}

} // namespace lumora
