#include "platform/quartzcore/CALayer.h"

#include "platform/process/Process.h"
#include "platform/quartzcore/CAShapeLayer.h"
#include "platform/uikit/UIView.h"

#include <algorithm>
#include <cmath>

namespace lumora {

const ClassDescription& CALayer::classDescription()
{
    auto layer = [](Object& object) -> CALayer& { return static_cast<CALayer&>(object); };
    static const auto& description = *new ClassDescription(
        ClassDescription::of<CALayer, NSObject>("CALayer")
            .variable(
                "superlayer", [=](Object& object) { return Value { retain(layer(object).superlayer()) }; })
            .variable("sublayers",
                [=](Object& object) {
                    const auto sublayers = layer(object).sublayers();
                    return Value { NSArray(sublayers.begin(), sublayers.end()) };
                })
            .variable<&CALayer::m_opacity>("opacity")
            .variable<&CALayer::m_zPosition>("zPosition")
            .variable<&CALayer::m_cornerRadius>("cornerRadius")
            .variable<&CALayer::m_hidden>("hidden"));
    return description;
}
static const RegisteredClass registeredCALayer { &CALayer::classDescription };

const ClassDescription& CAShapeLayer::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<CAShapeLayer, CALayer>("CAShapeLayer"));
    return description;
}
static const RegisteredClass registeredCAShapeLayer { &CAShapeLayer::classDescription };

void CALayer::setFrame(const CGRect& frame)
{
    const double sum = frame.origin.x + frame.origin.y + frame.size.width + frame.size.height;
    if (std::isfinite(sum))
        m_frame = frame;
    else
        Process::current().log(description() + ": a frame that is not finite is ignored");
}

void CALayer::setBounds(const CGRect& bounds)
{
    const CGRect resized {
        { m_frame.midX() - bounds.size.width / 2, m_frame.midY() - bounds.size.height / 2 }, bounds.size
    };
    setFrame(resized);
    m_boundsOrigin = bounds.origin;
}

void CALayer::drawInContext(CGContext& context, CGSize size) const
{
    if (!m_contents.isNull())
        context.drawImage(m_contents, { {}, size });
}

UIView* CALayer::view() const { return m_view.lock().get(); }

std::vector<std::shared_ptr<CALayer>> CALayer::sublayersInDrawingOrder() const
{
    std::vector<std::shared_ptr<CALayer>> sorted = m_sublayers;
    std::stable_sort(sorted.begin(), sorted.end(),
        [](const auto& one, const auto& other) { return one->zPosition() < other->zPosition(); });
    return sorted;
}

void CALayer::addSublayer(std::shared_ptr<CALayer> layer)
{
    insertSublayer(std::move(layer), m_sublayers.size());
}

void CALayer::insertSublayer(std::shared_ptr<CALayer> layer, size_t index)
{
    for (const CALayer* above = this; above; above = above->superlayer()) {
        if (above == layer.get())
            throw NSException(NSInvalidArgumentException, "a layer cannot be put under itself");
    }
    if (!layer)
        return;
    layer->removeFromSuperlayer();
    layer->m_superlayer = weakly(this);
    m_sublayers.insert(
        m_sublayers.begin() + static_cast<ptrdiff_t>(std::min(index, m_sublayers.size())), std::move(layer));
}

void CALayer::removeFromSuperlayer()
{
    const auto self = retain(this);
    if (auto above = m_superlayer.lock())
        std::erase(above->m_sublayers, self);
    m_superlayer.reset();
}

// Seconds in the animation's own count of time.
static double localTime(const CAAnimation& animation, double start)
{
    return CACurrentMediaTime() - (animation.beginTime() > 0 ? 0 : start);
}

static bool isOver(const CAAnimation& animation, double start)
{
    return animation.removedOnCompletion()
        && localTime(animation, start) >= animation.beginTime() + animation.activeDuration();
}

void CALayer::dropFinishedAnimations()
{
    std::erase_if(
        m_animations, [](const Running& running) { return isOver(*running.animation, running.start); });
}

void CALayer::interrupt(std::vector<Running> animations)
{
    for (const Running& running : animations) {
        if (running.animation->interruptionHandler() && !isOver(*running.animation, running.start))
            running.animation->interruptionHandler()();
    }
}

void CALayer::addAnimation(std::shared_ptr<CAAnimation> animation, const std::optional<std::string>& key)
{
    if (!animation)
        return;
    if (key)
        removeAnimationForKey(*key);
    dropFinishedAnimations();
    constexpr double defaultDuration = 0.25;
    if (!(animation->duration() > 0))
        animation->setDuration(defaultDuration);
    m_animations.push_back({ std::move(animation), key, CACurrentMediaTime() });
}

std::shared_ptr<CAAnimation> CALayer::animationForKey(std::string_view key) const
{
    for (const Running& running : m_animations) {
        if (running.key == key && !isOver(*running.animation, running.start))
            return running.animation;
    }
    return nullptr;
}

void CALayer::removeAnimationForKey(std::string_view key)
{
    std::vector<Running> removed;
    std::erase_if(m_animations, [&](const Running& running) {
        if (running.key != key)
            return false;
        removed.push_back(running);
        return true;
    });
    interrupt(std::move(removed));
}

void CALayer::removeAllAnimationsInTree()
{
    interrupt(std::exchange(m_animations, {}));
    for (const auto& layer : sublayers())
        layer->removeAllAnimationsInTree();
}

CAAnimationValue CALayer::presentationValue(std::string_view keyPath, CAAnimationValue model) const
{
    if (m_animations.empty())
        return model;
    CAAnimationValue value = model;
    for (const Running& running : m_animations) {
        if (!isOver(*running.animation, running.start))
            running.animation->apply(keyPath, localTime(*running.animation, running.start), model, value);
    }
    // An animation of a wrong kind shows nothing of itself.
    return value.index() == model.index() ? value : model;
}

CGRect CALayer::presentationFrame() const { return std::get<CGRect>(presentationValue("frame", m_frame)); }
double CALayer::presentationOpacity() const
{
    return std::get<double>(presentationValue("opacity", m_opacity));
}

std::optional<UIColor> CALayer::presentationBackgroundColor() const
{
    if (!m_backgroundColor)
        return std::nullopt;
    return std::get<UIColor>(presentationValue("backgroundColor", *m_backgroundColor));
}

UIBezierPath CAShapeLayer::presentationPath() const
{
    return std::get<UIBezierPath>(presentationValue("path", m_path));
}

} // namespace lumora
