#include "platform/uikit/UIView.h"

#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "platform/uikit/LayoutPass.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UILayoutGuide.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"

#include <algorithm>

namespace lumora {

// What key-value coding sees of a rectangle: [x, y, width, height].
static Value boxed(const CGRect& rect)
{
    return NSArray { rect.origin.x, rect.origin.y, rect.size.width, rect.size.height };
}

static CGRect unboxed(const Value& value)
{
    const NSArray* numbers = value.array();
    if (!numbers || numbers->size() != 4)
        return {};
    return CGRectMake((*numbers)[0].doubleValue(), (*numbers)[1].doubleValue(), (*numbers)[2].doubleValue(),
        (*numbers)[3].doubleValue());
}

static IMP addSubviewMessage()
{
    return IMP { +[](id self, SEL, id view) {
        static_cast<UIView*>(self)->addSubview(retain(as<UIView>(view)));
    } };
}

static IMP addGestureRecognizerMessage()
{
    return IMP { +[](id self, SEL, id recognizer) {
        static_cast<UIView*>(self)->addGestureRecognizer(retain(as<UIGestureRecognizer>(recognizer)));
    } };
}

const ClassDescription& UIView::classDescription()
{
    auto view = [](Object& object) -> UIView& { return static_cast<UIView&>(object); };
    static const auto& description = *new ClassDescription(
        ClassDescription::of<UIView, UIResponder>("UIView")
            .method<&UIView::init>(sel::init)
            .method<&UIView::initWithFrame>(sel::initWithFrame)
            .method<&UIView::initWithCoder>(sel::initWithCoder)
            .method<&UIView::awakeFromNib>(sel::awakeFromNib)
            .method<&UIView::prepareForInterfaceBuilder>(sel::prepareForInterfaceBuilder)
            .classMethod<&UIView::layerClass>(sel::layerClass)
            .method<&UIView::superview>(sel::superview)
            .method<&UIView::window>(sel::window)
            .method(sel::addSubview, addSubviewMessage())
            .method<&UIView::removeFromSuperview>(sel::removeFromSuperview)
            .method<&UIView::didMoveToSuperview>(sel::didMoveToSuperview)
            .method<&UIView::didMoveToWindow>(sel::didMoveToWindow)
            .method<&UIView::setNeedsLayout>(sel::setNeedsLayout)
            .method<&UIView::layoutSubviews>(sel::layoutSubviews)
            .method<&UIView::intrinsicContentSize>(sel::intrinsicContentSize)
            .method<&UIView::sizeThatFits>(sel::sizeThatFits)
            .method<&UIView::hitTest>(sel::hitTest)
            .method<&UIView::pointInside>(sel::pointInside)
            .method<&UIView::drawRect>(sel::drawRect)
            .method<&UIView::nextResponder>(sel::nextResponder)
            .method(sel::addGestureRecognizer, addGestureRecognizerMessage())
            .method<&UIView::removeGestureRecognizer>(sel::removeGestureRecognizer)
            .variable("layer", [=](Object& object) { return Value { retain(&view(object).layer()) }; })
            .variable("subviews",
                [=](Object& object) {
                    const auto subviews = view(object).subviews();
                    return Value { NSArray(subviews.begin(), subviews.end()) };
                })
            .variable(
                "frame", [=](Object& object) { return boxed(view(object).frame()); },
                [=](Object& object, const Value& value) { view(object).setFrame(unboxed(value)); })
            .variable("bounds", [=](Object& object) { return boxed(view(object).bounds()); })
            .variable(
                "hidden", [=](Object& object) { return Value { view(object).isHidden() }; },
                [=](Object& object, const Value& value) { view(object).setHidden(value.boolValue()); })
            .variable(
                "alpha", [=](Object& object) { return Value { view(object).alpha() }; },
                [=](Object& object, const Value& value) { view(object).setAlpha(value.doubleValue()); })
            .variable<&UIView::m_opaque>("opaque")
            .variable<&UIView::m_tag>("tag")
            .variable<&UIView::m_userInteractionEnabled>("userInteractionEnabled"));
    return description;
}
static const RegisteredClass registeredUIView { &UIView::classDescription };

id UIView::initWithFrame(CGRect frame)
{
    setFrame(frame);
    return this;
}

id UIView::initWithCoder(Object*) { return this; }

CALayer& UIView::layer()
{
    if (!m_layer) {
        m_layer = alloc<CALayer>(static_cast<Class>(send(isa(), sel::layerClass)));
        send(m_layer, sel::init);
        m_layer->setView(weakly(this));
    }
    return *m_layer;
}

void UIView::setFrame(const CGRect& frame)
{
    const CGRect old = layer().frame();
    const CGRect shown = layer().presentationFrame();
    layer().setFrame(frame);
    if (layer().frame() == old)
        return;
    animateChange("frame", shown, layer().frame());
    if (layer().frame().size != old.size)
        send(this, sel::setNeedsLayout);
}

void UIView::setBounds(const CGRect& bounds)
{
    const CGRect old = frame();
    const CGRect shown = layer().presentationFrame();
    layer().setBounds(bounds);
    if (frame() == old)
        return;
    animateChange("frame", shown, frame());
    send(this, sel::setNeedsLayout);
}

void UIView::setCenter(CGPoint center)
{
    const CGSize size = frame().size;
    setFrame({ { center.x - size.width / 2, center.y - size.height / 2 }, size });
}

void UIView::setAlpha(double alpha)
{
    if (alpha == layer().opacity())
        return;
    const double shown = layer().presentationOpacity();
    layer().setOpacity(alpha);
    animateChange("opacity", shown, alpha);
}

void UIView::setBackgroundColor(std::optional<UIColor> color)
{
    const std::optional<UIColor> shown = layer().presentationBackgroundColor();
    if (layer().backgroundColor() == color)
        return;
    layer().setBackgroundColor(color);
    if (color)
        animateChange("backgroundColor", shown.value_or(color->withAlpha(0)), *color);
}

// The tree

UIView& UIView::root()
{
    UIView* top = this;
    while (UIView* above = top->superview())
        top = above;
    return *top;
}

UIWindow* UIView::window()
{
    UIView& top = root();
    return top.isWindow() ? static_cast<UIWindow*>(&top) : nullptr;
}

bool UIView::isDescendantOfView(const UIView* view) const
{
    for (const UIView* at = this; at; at = at->superview()) {
        if (at == view)
            return true;
    }
    return false;
}

void UIView::addSubview(std::shared_ptr<UIView> view) { insertSubview(std::move(view), m_subviews.size()); }

void UIView::insertSubviewAboveSubview(std::shared_ptr<UIView> view, UIView* sibling)
{
    auto place = std::find_if(
        m_subviews.begin(), m_subviews.end(), [&](const auto& one) { return one.get() == sibling; });
    size_t index = m_subviews.size();
    if (place != m_subviews.end())
        index = static_cast<size_t>(place - m_subviews.begin()) + 1;
    // Its own place is given up before it is put into the new one.
    if (view && view->superview() == this && std::find(m_subviews.begin(), place, view) != place)
        --index;
    insertSubview(std::move(view), index);
}

void UIView::bringSubviewToFront(UIView* view)
{
    if (view && view->superview() == this)
        insertSubview(retain(view), m_subviews.size());
}

void UIView::insertSubview(std::shared_ptr<UIView> view, size_t index)
{
    if (!view)
        return;
    if (isDescendantOfView(view.get()))
        throw NSException(
            NSInvalidArgumentException, "a view cannot be put under itself: " + view->description());
    if (view->superview() == this) {
        std::erase(m_subviews, view);
        attach(view, index);
        return;
    }
    const UIWindow* before = view->window();
    if (UIView* old = view->superview())
        old->detach(view);
    attach(view, index);
    if (before != window())
        view->tellMovedToWindow();
    send(view, sel::didMoveToSuperview);
}

void UIView::attach(const std::shared_ptr<UIView>& view, size_t index)
{
    index = std::min(index, m_subviews.size());
    auto place = m_subviews.insert(m_subviews.begin() + static_cast<ptrdiff_t>(index), view);
    view->m_superview = weakly(this);
    // Under the layer of the next view, above whatever else is there.
    const auto layers = layer().sublayers();
    auto next = layers.end();
    if (++place != m_subviews.end())
        next = std::find(layers.begin(), layers.end(), (*place)->m_layer);
    const auto own = std::find(layers.begin(), next, retain(&view->layer()));
    layer().insertSublayer(
        retain(&view->layer()), static_cast<size_t>(next - layers.begin()) - (own != next ? 1 : 0));
    send(view, sel::setNeedsLayout);
    send(this, sel::setNeedsLayout);
}

void UIView::detach(const std::shared_ptr<UIView>& view)
{
    for (UIView* above = this; above; above = above->superview()) {
        std::erase_if(above->m_constraints, [&](const auto& constraint) {
            const bool crosses = constraint->concerns(*view);
            if (crosses)
                constraint->m_holder.reset();
            return crosses;
        });
    }
    std::erase(m_subviews, view);
    view->m_superview.reset();
    view->layer().removeFromSuperlayer();
    view->layer().removeAllAnimationsInTree();
    send(this, sel::setNeedsLayout);
}

void UIView::removeFromSuperview()
{
    const auto self = retain(this);
    const auto parent = m_superview.lock();
    if (!parent)
        return;
    const bool inWindow = window();
    parent->detach(self);
    if (inWindow)
        tellMovedToWindow();
    send(this, sel::didMoveToSuperview);
}

void UIView::tellMovedToWindow()
{
    send(this, sel::didMoveToWindow);
    for (const auto& view : subviews()) {
        if (view->superview() == this)
            view->tellMovedToWindow();
    }
}

// Layout

void UIView::setTranslatesAutoresizingMaskIntoConstraints(bool translates)
{
    m_translatesAutoresizingMask = translates;
    if (UIView* above = superview())
        send(above, sel::setNeedsLayout);
}

UIEdgeInsets UIView::safeAreaInsets()
{
    if (!window())
        return {};
    const CGPoint inWindow = originInRoot();
    const CGPoint ofWindow = window()->frame().origin;
    const double top = inWindow.y + ofWindow.y;
    const ScreenFacts& screen = Process::current().configuration().screen;
    const double height = std::max(0.0, frame().size.height);
    auto covered = [&](double length) { return std::clamp(length, 0.0, height); };
    return { covered(screen.safeAreaTop - top), 0,
        covered(top + height - (screen.height - screen.safeAreaBottom)), 0 };
}

UILayoutGuide* UIView::safeAreaLayoutGuide()
{
    if (!m_safeAreaLayoutGuide) {
        m_safeAreaLayoutGuide = make<UILayoutGuide>();
        m_safeAreaLayoutGuide->setOwningView(weakly(this));
    }
    return m_safeAreaLayoutGuide.get();
}

void UIView::invalidateIntrinsicContentSize()
{
    // A view whose frame follows from its content takes the ones above with it.
    UIView* at = this;
    for (; at->superview() && !at->m_translatesAutoresizingMask; at = at->superview())
        send(at->superview(), sel::setNeedsLayout);
}

void UIView::setNeedsLayout()
{
    m_needsLayout = true;
    for (UIView* at = this; at; at = at->superview())
        at->m_subtreeNeedsLayout = true;
    if (UIView& top = root(); !top.m_layingOut)
        top.scheduleLayout(0);
}

void UIView::scheduleLayout(double delay)
{
    if (!isWindow() || m_layoutScheduled || (delay > 0 && m_layoutDeferred))
        return;
    bool UIView::*const scheduled = delay > 0 ? &UIView::m_layoutDeferred : &UIView::m_layoutScheduled;
    this->*scheduled = true;
    Process::current().mainQueue().asyncAfter(delay, [weak = weakly(this), scheduled] {
        if (auto window = weak.lock()) {
            *window.*scheduled = false;
            window->layoutIfNeeded();
        }
    });
}

bool UIView::stillNeedsLayout()
{
    m_subtreeNeedsLayout = m_needsLayout
        || std::any_of(m_subviews.begin(), m_subviews.end(),
            [](const auto& view) { return view->m_subtreeNeedsLayout; });
    return m_subtreeNeedsLayout;
}

void UIView::layoutIfNeeded()
{
    auto top = retain(this);
    for (UIView* above = superview(); above && above->m_needsLayout; above = above->superview())
        top = retain(above);
    if (!top || !top->m_subtreeNeedsLayout)
        return;
    struct LayingOut {
        explicit LayingOut(UIView& root)
            : m_root(retain(&root))
            , m_outer(std::exchange(root.m_layingOut, true))
        {
        }
        ~LayingOut() { m_root->m_layingOut = m_outer; }
        std::shared_ptr<UIView> m_root;
        bool m_outer;
    } layingOut(root());
    LayoutPass::run(*top);
    bool left = false;
    for (UIView* at = top.get(); at; at = at->superview())
        left = at->stillNeedsLayout();
    // What asks for layout while it is laid out waits for the next frame, so that it cannot keep the queue
    // busy for ever.
    constexpr double frameTime = 1.0 / 60;
    if (left && !layingOut.m_outer)
        layingOut.m_root->scheduleLayout(frameTime);
}

void UIView::layoutSubviews() { m_constraintsReachDeeper = LayoutPass::applyConstraints(*this); }

// Touches

CGPoint UIView::originInRoot()
{
    CGPoint origin;
    for (UIView* at = this; UIView* above = at->superview(); at = above) {
        origin.x += at->frame().origin.x - above->bounds().origin.x;
        origin.y += at->frame().origin.y - above->bounds().origin.y;
    }
    return origin;
}

CGPoint UIView::convertPointToView(CGPoint point, UIView* view)
{
    UIView& target = view ? *view : root();
    const CGPoint from = originInRoot();
    const CGPoint to = target.originInRoot();
    const CGPoint scrolled = bounds().origin;
    const CGPoint targetScrolled = target.bounds().origin;
    return { point.x - scrolled.x + from.x - to.x + targetScrolled.x,
        point.y - scrolled.y + from.y - to.y + targetScrolled.y };
}

CGPoint UIView::convertPointFromView(CGPoint point, UIView* view)
{
    UIView& source = view ? *view : root();
    return source.convertPointToView(point, this);
}

CGRect UIView::convertRectToView(const CGRect& rect, UIView* view)
{
    return { convertPointToView(rect.origin, view), rect.size };
}

CGRect UIView::convertRectFromView(const CGRect& rect, UIView* view)
{
    return { convertPointFromView(rect.origin, view), rect.size };
}

UIView* UIView::hitTest(CGPoint point, Object* event)
{
    constexpr double invisible = 0.01;
    if (isHidden() || !m_userInteractionEnabled || alpha() < invisible)
        return nullptr;
    if (!send(this, sel::pointInside, point, event))
        return nullptr;
    const auto layers = layer().sublayersInDrawingOrder();
    for (auto above = layers.rbegin(); above != layers.rend(); ++above) {
        const auto view = retain((*above)->view());
        if (!view || view->superview() != this)
            continue;
        if (id hit = send(view, sel::hitTest, view->convertPointFromView(point, this), event))
            return as<UIView>(hit);
    }
    return this;
}

UIResponder* UIView::nextResponder()
{
    if (auto controller = m_viewController.lock())
        return controller.get();
    return superview();
}

void UIView::addGestureRecognizer(std::shared_ptr<UIGestureRecognizer> recognizer)
{
    if (!recognizer)
        return;
    if (auto former = recognizer->m_view.lock())
        former->removeGestureRecognizer(recognizer.get());
    recognizer->m_view = weakly(this);
    m_gestureRecognizers.push_back(std::move(recognizer));
}

void UIView::removeGestureRecognizer(UIGestureRecognizer* recognizer)
{
    const auto held = retain(recognizer);
    if (!held || std::erase(m_gestureRecognizers, held) == 0)
        return;
    held->abandon();
    held->m_view.reset();
}

} // namespace lumora
