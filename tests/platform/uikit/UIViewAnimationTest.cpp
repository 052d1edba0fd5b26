#include "platform/quartzcore/CAShapeLayer.h"
#include "tests/platform/uikit/Phone.h"

#include <cmath>

namespace lumora::test {

using Lines = std::vector<std::string>;

static std::function<void(bool)> note(Lines& lines, const std::string& name)
{
    return [&lines, name](bool finished) { lines.push_back(name + (finished ? " finished" : " stopped")); };
}

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
    Phone phone;
    Lines lines;
    auto view = phone.add({});
    UIView::animateWithDuration(
        0.3,
        [&] {
            view->setAlpha(0.5);
            view->setAlpha(0.2);
        },
        note(lines, "two changes"));
    EXPECT_THROW(UIView::animateWithDuration(
                     0.3, [] { throw 1; }, note(lines, "a throw")),
        int);
    UIView::animateWithDuration(
        0, [&] { view->setFrame(CGRectMake(0, 0, 5, 5)); }, note(lines, "at once"));
    EXPECT_EQ(lines, Lines {});
    phone.advance(0);
    EXPECT_EQ(lines, Lines { "at once finished" });
    phone.advance(0.2999);
    EXPECT_EQ(lines.size(), 1U);
    phone.advance(0.0001);
    EXPECT_EQ(lines, (Lines { "at once finished", "two changes finished", "a throw finished" }));
}

TEST(UIViewAnimation, ANewerOneOfThePropertyStopsTheOlder)
{
    Phone phone;
    Lines lines;
    auto view = phone.add(CGRectMake(0, 0, 10, 10));
    UIView::animateWithDuration(
        1, [&] { view->setFrame(CGRectMake(100, 0, 10, 10)); }, note(lines, "there"));
    UIView::animateWithDuration(
        1, [&] { view->setAlpha(0); }, note(lines, "fade"));
    phone.advance(0.5);
    UIView::animateWithDuration(
        1, [&] { view->setFrame(CGRectMake(0, 0, 10, 10)); }, note(lines, "back"));
    // It goes on from where it is seen.
    EXPECT_NEAR(view->layer().presentationFrame().minX(), 50, 1e-3);
    phone.advance(0);
    EXPECT_EQ(lines, Lines { "there stopped" });
    phone.advance(1);
    EXPECT_EQ(lines, (Lines { "there stopped", "fade finished", "back finished" }));
}

TEST(UIViewAnimation, RemovingAViewStopsItsAnimationsAndThoseUnderIt)
{
    Phone phone;
    Lines lines;
    auto outer = phone.add(CGRectMake(0, 0, 10, 10));
    auto inner = phone.add(CGRectMake(0, 0, 10, 10), outer.get());
    UIView::animateWithDuration(
        1, [&] { inner->setAlpha(0); }, note(lines, "inner"));
    UIView::animateWithDuration(
        1,
        [&] {
            outer->setAlpha(0);
            phone.window->setAlpha(0.5);
        },
        note(lines, "both"));
    outer->removeFromSuperview();
    phone.advance(0);
    EXPECT_EQ(lines, Lines { "inner stopped" });
    phone.advance(1);
    EXPECT_EQ(lines, (Lines { "inner stopped", "both stopped" }));
}

TEST(UIViewAnimation, OutlivesItsView)
{
    Phone phone;
    Lines lines;
    auto view = phone.add({});
    UIView::animateWithDuration(
        1, [&] { view->setAlpha(0); }, note(lines, "fade"));
    view->removeFromSuperview();
    view.reset();
    phone.advance(1);
    EXPECT_EQ(lines, Lines { "fade stopped" });
}

static std::shared_ptr<CABasicAnimation> fade(double begin, double duration, double from, double to)
{
    auto animation = CABasicAnimation::animationWithKeyPath("opacity");
    animation->setFromValue(from);
    animation->setToValue(to);
    animation->setBeginTime(begin);
    animation->setDuration(duration);
    animation->setFillMode(CAMediaTimingFillMode::Forwards);
    animation->setRemovedOnCompletion(false);
    return animation;
}

TEST(CAAnimationGroup, RepeatsItsAnimationsThenLeavesTheModel)
{
    Phone phone;
    auto layer = make<CAShapeLayer>();
    layer->setOpacity(0);
    auto group = make<CAAnimationGroup>();
    group->setDuration(2);
    group->setRepeatCount(3);
    group->setAnimations({ fade(0, 0.5, 0.6, 0.8), fade(1, 0.5, 0.8, 0.6) });
    layer->addAnimation(group);
    std::vector<double> seen;
    for (double time : { 0.0, 0.25, 0.75, 1.25, 1.9, 2.25, 5.9, 6.1 }) {
        phone.advance(VirtualExecutor::epoch + time - phone.world.process.now());
        seen.push_back(std::round(layer->presentationOpacity() * 100));
    }
    EXPECT_EQ(seen, (std::vector<double> { 60, 70, 80, 70, 60, 70, 60, 0 }));
}

TEST(CABasicAnimation, MovesAPathPointByPoint)
{
    Phone phone;
    auto disc = [](double size) {
        return UIBezierPath::bezierPathWithRoundedRect(
            CGRectMake(-size / 2, -size / 2, size, size), size / 2);
    };
    auto layer = make<CAShapeLayer>();
    auto animation = CABasicAnimation::animationWithKeyPath("path");
    animation->setFromValue(disc(50));
    animation->setToValue(disc(60));
    animation->setDuration(1);
    animation->setFillMode(CAMediaTimingFillMode::Forwards);
    animation->setRemovedOnCompletion(false);
    layer->addAnimation(animation, "grow");
    phone.advance(0.5);
    EXPECT_NEAR(layer->presentationPath().bounds().size.width, 55, 1e-3);
    phone.advance(2);
    EXPECT_EQ(layer->presentationPath(), disc(60));
    layer->removeAnimationForKey("grow");
    EXPECT_TRUE(layer->presentationPath().isEmpty());
    // A value of a wrong kind shows nothing.
    auto wrong = fade(0, 1, 0, 1);
    wrong->setFromValue(UIColor::blackColor());
    wrong->setToValue(UIColor::whiteColor());
    layer->addAnimation(wrong);
    EXPECT_EQ(layer->presentationOpacity(), 1);
    // One without a duration takes a quarter of a second.
    layer->addAnimation(fade(0, 0, 0, 1));
    phone.advance(0.125);
    EXPECT_NEAR(layer->presentationOpacity(), 0.5, 1e-5);
}

} // namespace lumora::test
