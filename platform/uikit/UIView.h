#pragma once

#include "platform/quartzcore/CALayer.h"
#include "platform/uikit/UIResponder.h"

namespace lumora {

class NSLayoutConstraint;
class UIGestureRecognizer;
class UILayoutGuide;
class UIViewController;
class UIWindow;

enum class UIViewContentMode { ScaleToFill, ScaleAspectFit, ScaleAspectFill, Center };

/// A rectangle on the screen. A view owns its subviews and its layer and is owned by its superview; what it
/// answers as a pointer is borrowed. Points; main thread only. Made by `make` or by `initWithFrame:`.
class UIView : public UIResponder {
public:
    static const ClassDescription& classDescription();
    /// The intrinsic size of a view that has none in that direction.
    static constexpr double noIntrinsicMetric = -1;

    id init() { return send(this, sel::initWithFrame, CGRectZero); }
    id initWithFrame(CGRect frame);
    id initWithCoder(Object* coder);
    void awakeFromNib() { }
    /// For a design tool, which shows views without running them.
    void prepareForInterfaceBuilder() { }
    /// The class of the layer this kind of view is shown by.
    static Class layerClass() { return classOf<CALayer>(); }
    CALayer& layer();

    // Geometry and look. Inside an animation block the change of frame, alpha and background is animated.
    CGRect frame() { return layer().frame(); }
    void setFrame(const CGRect& frame);
    CGRect bounds() { return layer().bounds(); }
    void setBounds(const CGRect& bounds);
    CGPoint center() { return { frame().midX(), frame().midY() }; }
    void setCenter(CGPoint center);
    double alpha() { return layer().opacity(); }
    void setAlpha(double alpha);
    bool isHidden() { return layer().isHidden(); }
    void setHidden(bool hidden) { layer().setHidden(hidden); }
    bool clipsToBounds() { return layer().masksToBounds(); }
    void setClipsToBounds(bool clips) { layer().setMasksToBounds(clips); }
    /// A promise to fill the bounds: pictures that ask for it then have no transparency. True from the start.
    bool isOpaque() const { return m_opaque; }
    void setOpaque(bool opaque) { m_opaque = opaque; }
    std::optional<UIColor> backgroundColor() { return layer().backgroundColor(); }
    void setBackgroundColor(std::optional<UIColor> color);
    UIViewContentMode contentMode() const { return m_contentMode; }
    void setContentMode(UIViewContentMode mode) { m_contentMode = mode; }
    int64_t tag() const { return m_tag; }
    void setTag(int64_t tag) { m_tag = tag; }
    bool userInteractionEnabled() const { return m_userInteractionEnabled; }
    void setUserInteractionEnabled(bool enabled) { m_userInteractionEnabled = enabled; }
    /// Draws the view's own content; the origin is that of its bounds.
    void drawRect(CGContext&) { }

    // The tree. A view put under itself raises NSInvalidArgumentException; null is ignored.
    std::vector<std::shared_ptr<UIView>> subviews() const { return m_subviews; }
    UIView* superview() const { return m_superview.lock().get(); }
    UIWindow* window();
    void addSubview(std::shared_ptr<UIView> view);
    void insertSubview(std::shared_ptr<UIView> view, size_t index);
    /// On top when the sibling is not a subview.
    void insertSubviewAboveSubview(std::shared_ptr<UIView> view, UIView* sibling);
    void bringSubviewToFront(UIView* view);
    /// Running animations of the view end unfinished; constraints to views outside of it go.
    void removeFromSuperview();
    bool isDescendantOfView(const UIView* view) const;
    void didMoveToSuperview() { }
    void didMoveToWindow() { }

    // Layout
    bool translatesAutoresizingMaskIntoConstraints() const { return m_translatesAutoresizingMask; }
    void setTranslatesAutoresizingMaskIntoConstraints(bool translates);
    /// What the system's bars leave no room for at each edge; zero outside a window.
    UIEdgeInsets safeAreaInsets();
    UILayoutGuide* safeAreaLayoutGuide();
    /// The constraints this view holds for itself and what is under it.
    const std::vector<std::shared_ptr<NSLayoutConstraint>>& constraints() const { return m_constraints; }
    CGSize intrinsicContentSize() { return { noIntrinsicMetric, noIntrinsicMetric }; }
    CGSize sizeThatFits(CGSize) { return send(this, sel::intrinsicContentSize); }
    void invalidateIntrinsicContentSize();
    /// The view is laid out in the next turn of the main queue, if it is in a window, or by layoutIfNeeded.
    void setNeedsLayout();
    /// Lays out what needs it from here downwards, and upwards as far as superviews need it.
    void layoutIfNeeded();
    /// Applies the constraints of the subviews.
    void layoutSubviews();

    // Touches
    /// To or from another view's bounds; null is the window's, or the topmost view's.
    CGPoint convertPointToView(CGPoint point, UIView* view);
    CGPoint convertPointFromView(CGPoint point, UIView* view);
    CGRect convertRectToView(const CGRect& rect, UIView* view);
    CGRect convertRectFromView(const CGRect& rect, UIView* view);
    /// The deepest view there that can be touched, or null.
    UIView* hitTest(CGPoint point, Object* event);
    bool pointInside(CGPoint point, Object*) { return bounds().contains(point); }
    UIResponder* nextResponder();
    void addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer);
    void removeGestureRecognizer(UIGestureRecognizer* recognizer);
    const std::vector<std::shared_ptr<UIGestureRecognizer>>& gestureRecognizers() const
    {
        return m_gestureRecognizers;
    }

    /// Runs the changes at once and lets what is shown follow them, slowly at both ends. The completion runs
    /// on the main queue after exactly that many seconds; sooner, and with false, when all of it was taken
    /// over or taken away. Changes that throw do not cost the completion.
    static void animateWithDuration(double seconds, const std::function<void()>& animations,
        std::function<void(bool finished)> completion = nullptr);

protected:
    /// True for a window, which is a tree's root by nature.
    virtual bool isWindow() const { return false; }

private:
    friend class LayoutPass;
    friend class NSLayoutConstraint;
    friend class UIViewController;

    UIView& root();
    void scheduleLayout(double delay);
    bool stillNeedsLayout();
    CGPoint originInRoot();
    void attach(const std::shared_ptr<UIView>& view, size_t index);
    void detach(const std::shared_ptr<UIView>& view);
    void tellMovedToWindow();
    void animateChange(const char* keyPath, const CAAnimationValue& from, const CAAnimationValue& to);

    std::shared_ptr<CALayer> m_layer;
    std::vector<std::shared_ptr<UIView>> m_subviews;
    std::weak_ptr<UIView> m_superview;
    std::weak_ptr<UIViewController> m_viewController;
    std::vector<std::shared_ptr<UIGestureRecognizer>> m_gestureRecognizers;
    std::shared_ptr<UILayoutGuide> m_safeAreaLayoutGuide;
    std::vector<std::shared_ptr<NSLayoutConstraint>> m_constraints;
    // Constraints on this view that a view above its superview holds.
    std::vector<std::weak_ptr<NSLayoutConstraint>> m_distantConstraints;
    UIViewContentMode m_contentMode { UIViewContentMode::ScaleToFill };
    int64_t m_tag { 0 };
    bool m_opaque { true };
    bool m_userInteractionEnabled { true };
    bool m_translatesAutoresizingMask { true };
    bool m_needsLayout { true };
    bool m_subtreeNeedsLayout { true };
    // Of a root: a pass waits on the main queue, or for the next frame; a pass is running.
    bool m_layoutScheduled { false };
    bool m_layoutDeferred { false };
    bool m_layingOut { false };
    // A constraint of the last layout named a view under a subview.
    bool m_constraintsReachDeeper { false };
};

} // namespace lumora
