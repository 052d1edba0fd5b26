#include "report/LMPulseAnimationView.h"

#include "platform/dispatch/VirtualExecutor.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

/// A pulse with the values that the report button gives it, over a view of z-position 7.
struct Pulse {
    explicit Pulse(bool withValues = true)
    {
        tracked->layer().setZPosition(7);
        view->setTrackedView(tracked);
        if (!withValues)
            return;
        for (const auto& [key, value] :
            { std::pair { "smallLayer_size", 50.0 }, { "smallLayer_expandingValue", 10 },
                { "bigLayer_expandingSize", 200 }, { "smallLayer_expandingTime", 0.35 },
                { "smallLayer_silenceTimeAfterExpanding", 0.2 }, { "smallLayer_backingToNormalTime", 0.35 },
                { "smallLayer_silenceTimeAfterBackingToNormal", 0.55 }, { "bigLayer_blowingTime", 0.7 } })
            view->setValueForKey(value, key);
    }
    CAShapeLayer& disc(size_t index) const
    {
        return *as<CAShapeLayer>(view->layer().sublayers().at(index).get());
    }
    double size(size_t index) const { return disc(index).presentationPath().bounds().size.width; }

    Phone phone { {} };
    std::shared_ptr<UIView> tracked { make<UIView>() };
    std::shared_ptr<LMPulseAnimationView> view { make<LMPulseAnimationView>() };
};

TEST(LMPulseAnimationViewTest, SwellsAndBlowsByTheClock)
{
    Pulse pulse;
    pulse.view->startAnimation();
    pulse.view->endAnimation();
    struct Row {
        double time, small, smallOpacity, big, bigOpacity;
    };
    constexpr double last = 999 * 1.45;
    for (const Row& row : { Row { 0, 50, 0.65, 200, 0 }, Row { 0.175, 55, 0.775, 200, 0 },
             Row { 0.351, 60, 0.9, 50.2143, 0.898714 }, Row { 0.7, 55.714286, 0.792857, 125, 0.45 },
             Row { 0.9, 50, 0.65, 167.857143, 0.192857 }, Row { 1.05, 50, 0.65, 200, 0 },
             Row { 1.44, 50, 0.65, 200, 0 }, Row { 1.45 + 0.175, 55, 0.775, 200, 0 },
             Row { last - 1.45 + 0.7, 55.714286, 0.792857, 125, 0.45 },
             Row { last + 0.7, 50, 0.65, 200, 0 } }) {
        SCOPED_TRACE(row.time);
        pulse.phone.wait(VirtualExecutor::epoch + row.time - pulse.phone.process().now());
        EXPECT_NEAR(pulse.size(0), row.small, 1e-3);
        EXPECT_NEAR(pulse.disc(0).presentationOpacity(), row.smallOpacity, 1e-4);
        EXPECT_NEAR(pulse.size(1), row.big, 1e-2);
        EXPECT_NEAR(pulse.disc(1).presentationOpacity(), row.bigOpacity, 1e-4);
    }
}

TEST(LMPulseAnimationViewTest, ItsDiscsLieBehindWhatItTracks)
{
    Pulse pulse;
    pulse.view->setupLayers();
    EXPECT_EQ(pulse.disc(0).zPosition(), 6);
    EXPECT_EQ(pulse.disc(1).zPosition(), 5);
    EXPECT_EQ(pulse.disc(0).opacity(), 0) << "until the animations are set up";
    EXPECT_EQ(pulse.disc(1).opacity(), 0.9);
    pulse.tracked.reset();
    pulse.view->startAnimation();
    EXPECT_EQ(pulse.view->layer().sublayers().size(), 4u) << "a fresh pair over the old one";
    EXPECT_EQ(pulse.disc(2).zPosition(), -1) << "what it tracked is gone";
}

TEST(LMPulseAnimationViewTest, WithoutParametersItShowsNothing)
{
    Pulse pulse { false };
    EXPECT_TRUE(pulse.view->layer().sublayers().empty());
    pulse.view->startAnimation();
    for (double time : { 0.0, 0.1, 0.25, 999 * 0.25 }) {
        pulse.phone.wait(time);
        EXPECT_EQ(pulse.size(0) + pulse.size(1), 0) << time;
    }
}

} // namespace
} // namespace lumora
