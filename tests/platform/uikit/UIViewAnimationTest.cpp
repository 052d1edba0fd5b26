#include "tests/platform/uikit/Phone.h"

namespace lumora::test {

/// A phone that notes how its animations ended.
struct AnimatedPhone : Phone {
    void animate(double duration, const char* name, const std::function<void()>& changes)
    {
        UIView::animateWithDuration(duration, changes, [this, name](bool finished) {
            ends += name + std::string { finished ? " finished " : " stopped " };
        });
    }
    std::string ends;
};

TEST(UIViewAnimation, ModelIsThereAtOnceAndTheScreenFollows)
{
    Phone phone;
    auto view = phone.add(CGRectMake(0, 0, 10, 10));
    UIView::animateWithDuration(0.5, [&] {
        view->setAlpha(0);
        view->setFrame(CGRectMake(100, 0, 30, 10));
    });
    EXPECT_EQ(view->alpha(), 0);
    EXPECT_EQ(view->layer().presentationOpacity(), 1);
    phone.advance(0.125);
    // Slow at both ends: a quarter of the time is 5/32 of the way.
    EXPECT_NEAR(view->layer().presentationOpacity(), 1 - 5.0 / 32, 1e-5);
    phone.advance(0.125);
    EXPECT_NEAR(view->layer().presentationFrame().minX(), 50, 1e-3);
    EXPECT_NEAR(view->layer().presentationFrame().size.width, 20, 1e-3);
    phone.advance(0.25);
    EXPECT_EQ(view->layer().presentationFrame(), view->frame());
}

TEST(UIViewAnimation, CompletesOnTheTickWhateverChanged)
{
    AnimatedPhone phone;
    auto view = phone.add({});
    phone.animate(0.3, "two", [&] {
        view->setAlpha(0.5);
        view->setAlpha(0.2);
    });
    EXPECT_THROW(phone.animate(0.3, "throw", [] { throw 1; }), int);
    phone.animate(0, "at once", [&] { view->setFrame(CGRectMake(0, 0, 5, 5)); });
    EXPECT_EQ(phone.ends, "");
    phone.advance(0);
    phone.advance(0.2999);
    EXPECT_EQ(phone.ends, "at once finished ");
    phone.advance(0.0001);
    EXPECT_EQ(phone.ends, "at once finished two finished throw finished ");
}

TEST(UIViewAnimation, ANewerOneOfThePropertyStopsTheOlder)
{
    AnimatedPhone phone;
    auto view = phone.add(CGRectMake(0, 0, 10, 10));
    phone.animate(1, "there", [&] { view->setFrame(CGRectMake(100, 0, 10, 10)); });
    phone.animate(1, "fade", [&] { view->setAlpha(0); });
    phone.advance(0.5);
    phone.animate(1, "back", [&] { view->setFrame(CGRectMake(0, 0, 10, 10)); });
    // It goes on from where it is seen.
    EXPECT_NEAR(view->layer().presentationFrame().minX(), 50, 1e-3);
    phone.advance(0);
    EXPECT_EQ(phone.ends, "there stopped ");
    phone.advance(1);
    EXPECT_EQ(phone.ends, "there stopped fade finished back finished ");
}

TEST(UIViewAnimation, RemovingAViewStopsItsAnimationsAndThoseUnderIt)
{
    AnimatedPhone phone;
    auto outer = phone.add(CGRectMake(0, 0, 10, 10));
    auto inner = phone.add(CGRectMake(0, 0, 10, 10), outer.get());
    phone.animate(1, "inner", [&] { inner->setAlpha(0); });
    phone.animate(1, "both", [&] {
        outer->setAlpha(0);
        phone.window->setAlpha(0.5);
    });
    outer->removeFromSuperview();
    outer.reset();
    inner.reset();
    phone.advance(0);
    EXPECT_EQ(phone.ends, "inner stopped ");
    phone.advance(1);
    EXPECT_EQ(phone.ends, "inner stopped both stopped ") << "though the view is gone";
}

} // namespace lumora::test
