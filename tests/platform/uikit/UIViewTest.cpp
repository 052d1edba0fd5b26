#include "platform/uikit/UIView.h"

#include "platform/objc/Slot.h"
#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

using Names = std::vector<std::string>;

TEST(UIView, HitsWhatLiesOnTopAndCanBeTouched)
{
    Phone phone;
    auto low = phone.add(CGRectMake(0, 0, 100, 100));
    auto high = phone.add(CGRectMake(50, 0, 100, 100));
    auto inHigh = phone.add(CGRectMake(90, 0, 50, 50), high.get());
    auto hit = [&](double x, double y) { return phone.window->hitTest({ x, y }, nullptr); };
    EXPECT_EQ(hit(60, 10), high.get());
    EXPECT_EQ(hit(145, 10), inHigh.get());
    // A part outside of the superview gets no touch; the right edge is outside.
    EXPECT_EQ(hit(160, 10), phone.window.get());
    EXPECT_EQ(hit(150, 90), phone.window.get());
    low->layer().setZPosition(1);
    EXPECT_EQ(hit(60, 10), low.get());
    low->setHidden(true);
    EXPECT_EQ(hit(60, 10), high.get());
    inHigh->setAlpha(0.005);
    EXPECT_EQ(hit(145, 10), high.get());
    high->setUserInteractionEnabled(false);
    EXPECT_EQ(hit(60, 10), phone.window.get());
}

TEST(UIView, KeepsItsSubviewsAndTheirLayersInOrder)
{
    Phone phone;
    auto parent = phone.add({});
    auto order = [&] {
        std::string views, layers;
        for (const auto& view : parent->subviews())
            views += std::to_string(view->tag());
        for (const auto& layer : parent->layer().sublayers())
            layers += layer->view() ? std::to_string(layer->view()->tag()) : "-";
        return views + " " + layers;
    };
    auto one = make<UIView>(), two = make<UIView>(), three = make<UIView>();
    one->setTag(1);
    two->setTag(2);
    three->setTag(3);
    parent->addSubview(one);
    parent->layer().addSublayer(make<CALayer>());
    parent->addSubview(three);
    parent->insertSubviewAboveSubview(two, one.get());
    EXPECT_EQ(order(), "123 1-23");
    parent->bringSubviewToFront(one.get());
    EXPECT_EQ(order(), "231 -231");
    parent->insertSubview(one, 0);
    EXPECT_EQ(order(), "123 -123");
    parent->insertSubviewAboveSubview(one, two.get());
    EXPECT_EQ(order(), "213 -213");
    two->removeFromSuperview();
    EXPECT_EQ(order(), "13 -13");
    EXPECT_THROW(one->addSubview(parent), NSException);
}

static Names s_calls;
static void noteSuperview(id self, SEL)
{
    auto* view = static_cast<UIView*>(self);
    s_calls.push_back("superview " + std::to_string(view->tag()) + (view->superview() ? " in" : " out"));
}
static void noteWindow(id self, SEL)
{
    auto* view = static_cast<UIView*>(self);
    s_calls.push_back("window " + std::to_string(view->tag()) + (view->window() ? " in" : " out"));
}

TEST(UIView, TellsItsViewsOfTheirNewPlace)
{
    Phone phone;
    s_calls.clear();
    const Class noting = ClassBuilder("NotingView", classOf<UIView>())
                             .method(sel::didMoveToSuperview, &noteSuperview)
                             .method(sel::didMoveToWindow, &noteWindow)
                             .build();
    auto outer = alloc<UIView>(noting);
    auto inner = alloc<UIView>(noting);
    outer->setTag(1);
    inner->setTag(2);
    outer->addSubview(inner);
    phone.window->addSubview(outer);
    phone.window->addSubview(outer);
    outer->removeFromSuperview();
    outer->removeFromSuperview();
    EXPECT_EQ(s_calls,
        (Names { "superview 2 in", "window 1 in", "window 2 in", "superview 1 in", "window 1 out",
            "window 2 out", "superview 1 out" }));
}

static Slot<void(id, SEL)> s_layoutIMP;
static void countedLayout(id self, SEL _cmd)
{
    s_calls.push_back("layout " + std::to_string(static_cast<UIView*>(self)->tag()));
    s_layoutIMP(self, _cmd);
}

TEST(UIView, LaysOutThroughTheMessageTable)
{
    Phone phone;
    s_calls.clear();
    const IMP own = method_getImplementation(class_getInstanceMethod(classOf<UIView>(), sel::layoutSubviews));
    s_layoutIMP.store(classOf<UIView>()->registry(), own.function);
    class_replaceMethod(classOf<UIView>(), sel::layoutSubviews, &countedLayout, own.types);
    auto view = phone.add(CGRectMake(0, 0, 10, 10));
    view->setTag(1);
    phone.advance(0);
    EXPECT_EQ(s_calls, (Names { "layout 0", "layout 1" }));
    // Laid out once, however often it asked; a moved view needs no layout, a resized one does.
    s_calls.clear();
    view->setFrame(CGRectMake(5, 5, 10, 10));
    phone.advance(0);
    view->setFrame(CGRectMake(5, 5, 20, 10));
    view->setNeedsLayout();
    phone.advance(0);
    view->layoutIfNeeded();
    EXPECT_EQ(s_calls, Names { "layout 1" });
}

static void restlessLayout(id self, SEL) { send(self, sel::setNeedsLayout); }

TEST(UIView, AViewThatIsNeverContentTakesAFrameForEachRound)
{
    Phone phone;
    const Class restless = ClassBuilder("RestlessView", classOf<UIView>())
                               .method(sel::layoutSubviews, &restlessLayout)
                               .build();
    phone.window->addSubview(alloc<UIView>(restless));
    phone.world.executor().drain();
    EXPECT_EQ(phone.world.executor().pendingTasks(), 1U);
}

TEST(UIView, ConvertsBetweenTheBoundsOfViews)
{
    Phone phone;
    auto scrolled = phone.add(CGRectMake(10, 20, 100, 100));
    scrolled->setBounds(CGRectMake(0, 50, 100, 100));
    auto inner = phone.add(CGRectMake(1, 60, 10, 10), scrolled.get());
    auto other = phone.add(CGRectMake(100, 100, 10, 10));
    EXPECT_EQ(inner->convertPointToView({ 0, 0 }, nullptr), (CGPoint { 11, 30 }));
    EXPECT_EQ(inner->convertPointToView({ 2, 3 }, scrolled.get()), (CGPoint { 3, 63 }));
    EXPECT_EQ(other->convertRectFromView(CGRectMake(0, 0, 4, 4), inner.get()), CGRectMake(-89, -70, 4, 4));
}

} // namespace lumora::test
