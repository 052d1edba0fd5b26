#include "report/LMPulseAnimationView.h"

namespace lumora {

namespace {

constexpr double repetitions = 999;
constexpr double dimmed = 0.65;
constexpr double bright = 0.9;

UIBezierPath disc(double diameter)
{
    const double radius = diameter / 2;
    return UIBezierPath::bezierPathWithRoundedRect(CGRectMake(-radius, -radius, diameter, diameter), radius);
}

std::shared_ptr<CAShapeLayer> discLayer(double diameter, const UIColor& color, double opacity, double z)
{
    auto layer = make<CAShapeLayer>();
    layer->setFillColor(color);
    layer->setPath(disc(diameter));
    layer->setOpacity(opacity);
    layer->setZPosition(z);
    return layer;
}

std::shared_ptr<CAAnimationGroup> loopOf(
    const std::vector<std::shared_ptr<CAAnimation>>& animations, double cycleLength)
{
    auto group = make<CAAnimationGroup>();
    group->setDuration(cycleLength);
    group->setRepeatCount(repetitions);
    group->setAnimations(animations);
    return group;
}

} // namespace

const ClassDescription& LMPulseAnimationView::classDescription()
{
    using Self = LMPulseAnimationView;
    static const auto& description = *new ClassDescription(
        ClassDescription::of<Self, UIView>("LMPulseAnimationView")
            .method<&Self::startAnimation>("startAnimation"_sel)
            .method<&Self::endAnimation>("endAnimation"_sel)
            .method<&Self::setupLayers>("setupLayers"_sel)
            .method<&Self::setupAnimations>("setupAnimations"_sel)
            .variable<&Self::m_roundedViewShapeLayer>("roundedViewShapeLayer")
            .variable<&Self::m_backRoundedViewShapeLayer>("backRoundedViewShapeLayer")
            .variable<&Self::m_smallCircleAnimationGroup>("smallCircleAnimationGroup")
            .variable<&Self::m_bigCircleAnimationGroup>("bigCircleAnimationGroup")
            .variable<&Self::m_trackedView>("trackedView")
            .variable<&Self::m_smallLayer_size>("smallLayer_size")
            .variable<&Self::m_smallLayer_expandingValue>("smallLayer_expandingValue")
            .variable<&Self::m_bigLayer_expandingSize>("bigLayer_expandingSize")
            .variable<&Self::m_smallLayer_expandingTime>("smallLayer_expandingTime")
            .variable<&Self::m_smallLayer_silenceTimeAfterExpanding>("smallLayer_silenceTimeAfterExpanding")
            .variable<&Self::m_smallLayer_backingToNormalTime>("smallLayer_backingToNormalTime")
            .variable<&Self::m_smallLayer_silenceTimeAfterBackingToNormal>(
                "smallLayer_silenceTimeAfterBackingToNormal")
            .variable<&Self::m_bigLayer_blowingTime>("bigLayer_blowingTime"));
    return description;
}
static const RegisteredClass registered { &LMPulseAnimationView::classDescription };

// A second call puts a fresh pair of layers over the first: kept, the view is started once.
void LMPulseAnimationView::startAnimation()
{
    setupLayers();
    setupAnimations();
}

void LMPulseAnimationView::setupLayers()
{
    const auto tracked = m_trackedView.lock();
    const double z = tracked ? tracked->layer().zPosition() : 0;
    m_roundedViewShapeLayer = discLayer(m_smallLayer_size, m_pulseColor, 0, z - 1);
    layer().addSublayer(m_roundedViewShapeLayer);
    m_backRoundedViewShapeLayer = discLayer(m_smallLayer_size, m_pulseColor, bright, z - 2);
    layer().addSublayer(m_backRoundedViewShapeLayer);
}

std::vector<std::shared_ptr<CAAnimation>> LMPulseAnimationView::getExpandAnimationsWithDuration(
    double duration, double beginTime, double newSize, double oldOpacity, double newOpacity,
    CAShapeLayer& forLayer)
{
    auto step = [&](const char* keyPath, CAAnimationValue from, CAAnimationValue to) {
        auto animation = CABasicAnimation::animationWithKeyPath(keyPath);
        animation->setFillMode(CAMediaTimingFillMode::Forwards);
        animation->setRemovedOnCompletion(false);
        animation->setDuration(duration);
        animation->setBeginTime(beginTime);
        animation->setFromValue(std::move(from));
        animation->setToValue(std::move(to));
        return animation;
    };
    const UIBezierPath newPath = disc(newSize);
    auto resize = step("path", forLayer.path(), newPath);
    forLayer.setPath(newPath);
    auto fade = step("opacity", oldOpacity, newOpacity);
    forLayer.setOpacity(newOpacity);
    return { resize, fade };
}

void LMPulseAnimationView::setupAnimations()
{
    if (!m_roundedViewShapeLayer || !m_backRoundedViewShapeLayer)
        return;
    const double full = m_smallLayer_expandingTime + m_smallLayer_silenceTimeAfterExpanding;
    const double cycleLength
        = full + m_smallLayer_backingToNormalTime + m_smallLayer_silenceTimeAfterBackingToNormal;

    m_smallAnimations = getExpandAnimationsWithDuration(m_smallLayer_expandingTime, 0,
        m_smallLayer_size + m_smallLayer_expandingValue, dimmed, bright, *m_roundedViewShapeLayer);
    const auto shrink = getExpandAnimationsWithDuration(
        m_smallLayer_backingToNormalTime, full, m_smallLayer_size, bright, dimmed, *m_roundedViewShapeLayer);
    m_smallAnimations.insert(m_smallAnimations.end(), shrink.begin(), shrink.end());
    m_smallCircleAnimationGroup = loopOf(m_smallAnimations, cycleLength);
    m_roundedViewShapeLayer->addAnimation(m_smallCircleAnimationGroup);

    m_bigAnimations = getExpandAnimationsWithDuration(m_bigLayer_blowingTime, m_smallLayer_expandingTime,
        m_bigLayer_expandingSize, bright, 0, *m_backRoundedViewShapeLayer);
    m_bigCircleAnimationGroup = loopOf(m_bigAnimations, cycleLength);
    m_backRoundedViewShapeLayer->addAnimation(m_bigCircleAnimationGroup);
}

} // namespace lumora
