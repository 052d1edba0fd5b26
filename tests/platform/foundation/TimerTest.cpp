#include "platform/foundation/NSTimer.h"
#include "platform/objc/Message.h"
#include "tests/platform/TestProcess.h"

#include <cmath>
#include <gtest/gtest.h>

namespace lumora {

namespace {

class Target final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<Target, NSObject>("TestTarget")
                                                        .method<&Target::tick>("tick"_sel)
                                                        .method<&Target::tickWithTimer>("tick:"_sel);
        return description;
    }
    void tick() { ticks++; }
    void tickWithTimer(NSTimer* timer)
    {
        ticks++;
        if (ticks == invalidateAt)
            timer->invalidate();
    }
    int ticks { 0 };
    int invalidateAt { 0 };
};

struct Timer : testing::Test {
    std::shared_ptr<NSTimer> schedule(double interval, const char* selector, bool repeats)
    {
        return NSTimer::scheduledTimerWithTimeInterval(interval, target, sel_registerName(selector), repeats);
    }
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
    std::shared_ptr<Target> target { make<Target>() };
};

} // namespace

TEST_F(Timer, FiresOnceAndLetsItsTargetGo)
{
    auto timer = schedule(300, "tick", false);
    std::weak_ptr<Target> weak = target;
    EXPECT_EQ(timer->fireDate(), process.process.now() + 300);
    EXPECT_EQ(process.executor().pendingTimers().at(0)->name(), "-[TestTarget tick]");
    target.reset();
    process.executor().advance(299.9);
    ASSERT_FALSE(weak.expired()) << "retained until it fires";
    EXPECT_EQ(weak.lock()->ticks, 0);
    process.executor().advance(0.1);
    EXPECT_TRUE(weak.expired());
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(timer->fireDate(), 0);
    EXPECT_TRUE(process.executor().pendingTimers().empty());
}

TEST_F(Timer, RepeatsUntilItsHandlerEndsIt)
{
    target->invalidateAt = 3;
    auto timer = schedule(10, "tick:", true);
    process.executor().advance(29);
    EXPECT_EQ(target->ticks, 2);
    process.executor().advance(100);
    EXPECT_EQ(target->ticks, 3);
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(target.use_count(), 1);
}

TEST_F(Timer, FiresAtOnceButNeverInsideTheCallForNoInterval)
{
    for (const double interval : { 0.0, -5.0, static_cast<double>(NAN) }) {
        target->ticks = 0;
        auto timer = schedule(interval, "tick", false);
        EXPECT_EQ(timer->timeInterval(), 0.0001);
        EXPECT_EQ(target->ticks, 0);
        process.executor().advance(0.001);
        EXPECT_EQ(target->ticks, 1);
    }
    EXPECT_TRUE(std::isfinite(schedule(INFINITY, "tick", false)->timeInterval()));
}

} // namespace lumora
