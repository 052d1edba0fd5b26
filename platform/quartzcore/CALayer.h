#pragma once

#include "platform/quartzcore/CAAnimation.h"
#include "platform/uikit/UIImage.h"

#include <memory>
#include <vector>

namespace lumora {

class CGContext;
class UIView;

/// A rectangle that is drawn: what a view shows, or a part of it. Frames are in points of the layer above. A
/// layer owns its sublayers. Model values change at once; presentation values follow the animations by the
/// process's clock. Main thread only.
class CALayer : public NSObject {
public:
    static const ClassDescription& classDescription();

    const CGRect& frame() const { return m_frame; }
    /// A frame that is not finite is ignored.
    void setFrame(const CGRect& frame);
    /// The frame's size, at the origin that scrolling moves.
    CGRect bounds() const { return { m_boundsOrigin, m_frame.size }; }
    void setBounds(const CGRect& bounds);
    double opacity() const { return m_opacity; }
    void setOpacity(double opacity) { m_opacity = opacity; }
    bool isHidden() const { return m_hidden; }
    void setHidden(bool hidden) { m_hidden = hidden; }
    bool masksToBounds() const { return m_masksToBounds; }
    void setMasksToBounds(bool masks) { m_masksToBounds = masks; }
    double zPosition() const { return m_zPosition; }
    void setZPosition(double position) { m_zPosition = position; }
    double cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(double radius) { m_cornerRadius = radius; }
    double borderWidth() const { return m_borderWidth; }
    void setBorderWidth(double width) { m_borderWidth = width; }
    const UIColor& borderColor() const { return m_borderColor; }
    void setBorderColor(const UIColor& color) { m_borderColor = color; }
    const std::optional<UIColor>& backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(std::optional<UIColor> color) { m_backgroundColor = color; }
    /// A picture stretched over the layer, under its sublayers.
    const UIImage& contents() const { return m_contents; }
    void setContents(UIImage image) { m_contents = std::move(image); }
    /// Only what lies inside the mask's path, or its frame when it has none, is drawn.
    const std::shared_ptr<CALayer>& mask() const { return m_mask; }
    void setMask(std::shared_ptr<CALayer> mask) { m_mask = std::move(mask); }
    /// Draws the layer's own content over its background, at the size it shows at; the origin is its corner.
    virtual void drawInContext(CGContext& context, CGSize size) const;

    /// In order of insertion, those of subviews included.
    std::vector<std::shared_ptr<CALayer>> sublayers() const { return m_sublayers; }
    /// The same in the order they are drawn: by z-position, then by insertion.
    std::vector<std::shared_ptr<CALayer>> sublayersInDrawingOrder() const;
    CALayer* superlayer() const { return m_superlayer.lock().get(); }
    void addSublayer(std::shared_ptr<CALayer> layer);
    void insertSublayer(std::shared_ptr<CALayer> layer, size_t index);
    void removeFromSuperlayer();

    /// Starts an animation now. One of the same key is taken off first; without a key it stays until its end.
    /// One without a duration is given 0.25 s.
    void addAnimation(
        std::shared_ptr<CAAnimation> animation, const std::optional<std::string>& key = std::nullopt);
    std::shared_ptr<CAAnimation> animationForKey(std::string_view key) const;
    void removeAnimationForKey(std::string_view key);
    /// Takes the animations off this layer and all under it.
    void removeAllAnimationsInTree();

    CGRect presentationFrame() const;
    double presentationOpacity() const;
    std::optional<UIColor> presentationBackgroundColor() const;

    /// The view this layer belongs to, or null. Borrowed.
    UIView* view() const;
    void setView(std::weak_ptr<UIView> view) { m_view = std::move(view); }

protected:
    /// The property of a key path as it shows now, out of its model value.
    CAAnimationValue presentationValue(std::string_view keyPath, CAAnimationValue model) const;

private:
    struct Running {
        std::shared_ptr<CAAnimation> animation;
        std::optional<std::string> key;
        double start;
    };
    void dropFinishedAnimations();
    static void interrupt(std::vector<Running> animations);

    CGRect m_frame;
    CGPoint m_boundsOrigin;
    double m_opacity { 1 };
    bool m_hidden { false };
    bool m_masksToBounds { false };
    double m_zPosition { 0 };
    double m_cornerRadius { 0 };
    double m_borderWidth { 0 };
    UIColor m_borderColor { UIColor::blackColor() };
    std::optional<UIColor> m_backgroundColor;
    UIImage m_contents;
    std::shared_ptr<CALayer> m_mask;
    std::vector<std::shared_ptr<CALayer>> m_sublayers;
    std::weak_ptr<CALayer> m_superlayer;
    std::weak_ptr<UIView> m_view;
    std::vector<Running> m_animations;
};

} // namespace lumora
