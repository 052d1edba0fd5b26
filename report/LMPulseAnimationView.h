#pragma once

#include "platform/quartzcore/CAShapeLayer.h"
#include "platform/uikit/UIView.h"

#include <memory>
#include <vector>

namespace lumora {

/// A pulse around this view's origin: a disc that swells and shrinks, and behind it one that blows outwards
/// and fades. All parameters are set before `startAnimation`, sizes as diameters in points, times in seconds;
/// all are 0 at first, which shows nothing. The layers' animations run by themselves, without timers. Main
/// thread.
class LMPulseAnimationView final : public UIView {
public:
    static const ClassDescription& classDescription();

    void startAnimation();
    /// Does nothing: kept, the pulse ends when its view is faded out and removed.
    void endAnimation() { }
    void setupLayers();
    void setupAnimations();
    /// One resize step of a disc: its path and its opacity, each as an animation that holds its end. The
    /// layer itself takes the new values at once, so that the next step starts from them.
    std::vector<std::shared_ptr<CAAnimation>> getExpandAnimationsWithDuration(double duration,
        double beginTime, double newSize, double oldOpacity, double newOpacity, CAShapeLayer& forLayer);

    std::shared_ptr<UIView> trackedView() const { return m_trackedView.lock(); }
    void setTrackedView(const std::shared_ptr<UIView>& view) { m_trackedView = view; }
    const UIColor& pulseColor() const { return m_pulseColor; }
    void setPulseColor(const UIColor& color) { m_pulseColor = color; }
    double smallLayer_size() const { return m_smallLayer_size; }
    void setSmallLayer_size(double points) { m_smallLayer_size = points; }
    double smallLayer_expandingValue() const { return m_smallLayer_expandingValue; }
    void setSmallLayer_expandingValue(double points) { m_smallLayer_expandingValue = points; }
    double bigLayer_expandingSize() const { return m_bigLayer_expandingSize; }
    void setBigLayer_expandingSize(double points) { m_bigLayer_expandingSize = points; }
    double smallLayer_expandingTime() const { return m_smallLayer_expandingTime; }
    void setSmallLayer_expandingTime(double seconds) { m_smallLayer_expandingTime = seconds; }
    double smallLayer_silenceTimeAfterExpanding() const { return m_smallLayer_silenceTimeAfterExpanding; }
    void setSmallLayer_silenceTimeAfterExpanding(double seconds)
    {
        m_smallLayer_silenceTimeAfterExpanding = seconds;
    }
    double smallLayer_backingToNormalTime() const { return m_smallLayer_backingToNormalTime; }
    void setSmallLayer_backingToNormalTime(double seconds) { m_smallLayer_backingToNormalTime = seconds; }
    double smallLayer_silenceTimeAfterBackingToNormal() const
    {
        return m_smallLayer_silenceTimeAfterBackingToNormal;
    }
    void setSmallLayer_silenceTimeAfterBackingToNormal(double seconds)
    {
        m_smallLayer_silenceTimeAfterBackingToNormal = seconds;
    }
    double bigLayer_blowingTime() const { return m_bigLayer_blowingTime; }
    void setBigLayer_blowingTime(double seconds) { m_bigLayer_blowingTime = seconds; }

private:
    std::shared_ptr<CAShapeLayer> m_roundedViewShapeLayer;
    std::shared_ptr<CAShapeLayer> m_backRoundedViewShapeLayer;
    std::shared_ptr<CAAnimationGroup> m_smallCircleAnimationGroup;
    std::vector<std::shared_ptr<CAAnimation>> m_smallAnimations;
    std::shared_ptr<CAAnimationGroup> m_bigCircleAnimationGroup;
    std::vector<std::shared_ptr<CAAnimation>> m_bigAnimations;
    // Weak: it owns this view.
    std::weak_ptr<UIView> m_trackedView;
    UIColor m_pulseColor;
    double m_smallLayer_size { 0 };
    double m_smallLayer_expandingValue { 0 };
    double m_bigLayer_expandingSize { 0 };
    double m_smallLayer_expandingTime { 0 };
    double m_smallLayer_silenceTimeAfterExpanding { 0 };
    double m_smallLayer_backingToNormalTime { 0 };
    double m_smallLayer_silenceTimeAfterBackingToNormal { 0 };
    double m_bigLayer_blowingTime { 0 };
};

} // namespace lumora
