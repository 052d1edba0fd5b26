#include "platform/dispatch/Executor.h"

#include "platform/dispatch/DispatchApply.h"
#include "platform/dispatch/DispatchGroup.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <latch>
#include <stdexcept>
#include <thread>

namespace lumora {

namespace {

/// What every executor promises, run against each of them. All waiting is done by the main loop.
struct Kind {
    const char* name;
    std::function<std::unique_ptr<Executor>(Process&)> make;
};

class ExecutorConformance : public testing::TestWithParam<Kind> {
protected:
    void write(char c)
    {
        Locker hold(m_lock);
        m_log += c;
    }
    std::string log() const
    {
        Locker hold(m_lock);
        return m_log;
    }
    Task writing(char c)
    {
        return [this, c] { write(c); };
    }
    bool runUntilLogIs(const std::string& expected, double seconds = 20)
    {
        return executor.runMainLoop(seconds, [&] { return log() == expected; });
    }

private:
    mutable Lock m_lock;
    std::string m_log LUMORA_GUARDED_BY(m_lock);

protected:
    test::TemporaryFolder home;
    std::shared_ptr<test::RecordingConsole> console { std::make_shared<test::RecordingConsole>() };
    Process process { { .home = home.path,
        .makeExecutor = GetParam().make,
        .transport = std::make_shared<test::HeldTransport>(),
        .console = console } };
    Process::Scope scope { process };
    Executor& executor { process.executor() };
    std::shared_ptr<DispatchQueue> queue { executor.makeQueue("serial", false) };
};

} // namespace

TEST_P(ExecutorConformance, RunsASerialQueueInOrder)
{
    EXPECT_EQ(queue->label(), "serial");
    queue->async([this] {
        for (const char c : { 'b', 'c', 'd', 'e' })
            EXPECT_TRUE(queue->async(writing(c)));
        write('a');
    });
    EXPECT_TRUE(runUntilLogIs("abcde")) << log() << ", nothing inside the posting";
}

TEST_P(ExecutorConformance, RunsDelayedTasksByDueTime)
{
    queue->asyncAfter(0.06, writing('c'));
    queue->asyncAfter(0.03, writing('b'));
    queue->asyncAfter(-1, writing('a'));
    EXPECT_TRUE(runUntilLogIs("abc")) << log();
}

TEST_P(ExecutorConformance, RunsMainQueueTasksOnlyInsideTheMainLoop)
{
    bool isMain = false;
    executor.mainQueue().async([&] { isMain = executor.isMainThread(); });
    queue->async([&] { write(executor.isMainThread() ? '!' : 'a'); });
    EXPECT_FALSE(executor.runMainLoop(0, [] { return false; }) && isMain);
    EXPECT_TRUE(executor.runMainLoop(20, [&] { return isMain && log() == "a"; })) << log();
}

TEST_P(ExecutorConformance, KeepsTasksInsideTheirProcess)
{
    auto leaving = std::shared_ptr<int>(new int, [this](const int* number) {
        delete number;
        write(&Process::current() == &process ? 'b' : '!');
    });
    queue->async([this, held = std::move(leaving)] { write(&Process::current() == &process ? 'a' : '!'); });
    EXPECT_TRUE(runUntilLogIs("ab")) << log();
}

TEST_P(ExecutorConformance, FiresATimerOnceOnTheMainLoop)
{
    auto timer
        = executor.scheduleTimer("named", 0.02, [this] { write(executor.isMainThread() ? 'a' : '!'); });
    EXPECT_TRUE(timer->isPending());
    EXPECT_EQ(timer->name(), "named");
    EXPECT_NEAR(timer->dueTime(), executor.now() + 0.02, 5);
    EXPECT_TRUE(runUntilLogIs("a")) << log();
    EXPECT_FALSE(timer->isPending());
    timer->cancel();
    EXPECT_FALSE(executor.runMainLoop(0.05, [&] { return log() != "a"; }));
}

TEST_P(ExecutorConformance, ListsAndCancelsTimers)
{
    auto later = executor.scheduleTimer("later", 100, writing('!'));
    auto sooner = executor.scheduleTimer("sooner", 50, writing('!'));
    EXPECT_EQ(executor.pendingTimers(), (std::vector { sooner, later }));
    sooner->cancel();
    later->cancel();
    EXPECT_FALSE(sooner->isPending());
    EXPECT_TRUE(executor.pendingTimers().empty());
    auto due = executor.scheduleTimer("due", 0, writing('!'));
    executor.mainQueue().async([&] { due->cancel(); });
    due->cancel();
    EXPECT_FALSE(executor.runMainLoop(0.05, [&] { return !log().empty(); }));
}

TEST_P(ExecutorConformance, EndsOnlyTheTaskThatThrows)
{
    queue->async([] { throw std::runtime_error("reason"); });
    queue->async([] { throw 1; });
    queue->async(writing('a'));
    EXPECT_TRUE(runUntilLogIs("a")) << log();
    ASSERT_EQ(console->lines().size(), 2u);
    EXPECT_NE(console->lines()[0].find("reason"), std::string::npos);
}

TEST_P(ExecutorConformance, TakesTasksFromManyThreads)
{
    auto concurrent = executor.makeQueue("concurrent", true);
    int unguarded = 0;
    std::atomic<int> counted { 0 };
    auto post = [&] {
        for (int task = 0; task < 250; task++) {
            queue->async([&] { unguarded++; });
            concurrent->async([&] { counted++; });
            executor.globalQueue().async([&] { counted++; });
        }
    };
    std::array threads { std::thread(post), std::thread(post), std::thread(post), std::thread(post) };
    for (std::thread& thread : threads)
        thread.join();
    bool isDone = false;
    queue->async([&] { executor.mainQueue().async([&] { isDone = unguarded == 1000; }); });
    EXPECT_TRUE(executor.runMainLoop(20, [&] { return isDone && counted == 2000; }));
}

TEST_P(ExecutorConformance, AppliesABlockToEveryNumberOnce)
{
    std::array<std::atomic<int>, 1000> calls {};
    EXPECT_THROW(dispatch_apply(calls.size(), executor.globalQueue(),
                     [&](size_t i) {
                         calls[i]++;
                         if (i % 100 == 7)
                             throw std::runtime_error("seven");
                     }),
        std::runtime_error);
    EXPECT_TRUE(std::all_of(calls.begin(), calls.end(), [](const auto& count) { return count == 1; }));
    if (GetParam().name == std::string { "Real" }) {
        std::latch both { 2 };
        dispatch_apply(2, executor.globalQueue(), [&](size_t) { both.arrive_and_wait(); });
    }
    executor.stop();
    dispatch_apply(calls.size(), executor.globalQueue(), [&](size_t i) { calls[i]++; });
    EXPECT_EQ(calls.back(), 2) << "the caller's own thread does it";
}

TEST_P(ExecutorConformance, NotifiesOnceAGroupHasNothingUnderWay)
{
    DispatchGroup group;
    group.notify(*queue, writing('a'));
    group.enter();
    group.enter();
    group.notify(*queue, writing('d'));
    for (const char c : { 'b', 'c' }) {
        queue->async([&, c] {
            write(c);
            group.leave();
        });
    }
    EXPECT_TRUE(runUntilLogIs("abcd")) << log();
    group.leave();
    group.notify(*queue, writing('e'));
    EXPECT_TRUE(runUntilLogIs("abcde")) << log() << ", after one leave too many";
}

TEST_P(ExecutorConformance, DropsEverythingWhenItStops)
{
    auto held = std::make_shared<int>(0);
    // The queue is in its own tasks, as when they hold its owner.
    queue->async([this, held] {
        queue->async([held, queue = queue] {});
        write('a');
    });
    queue->asyncAfter(100, [held, queue = queue] {});
    executor.mainQueue().async([held] {});
    executor.scheduleTimer("timer", 100, [held] {});
    executor.stop();
    executor.stop();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(queue->async(writing('!')) || queue->asyncAfter(0, writing('!')));
    EXPECT_FALSE(executor.mainQueue().async(writing('!')));
    EXPECT_FALSE(executor.runMainLoop(0.05, [&] { return log().find('!') != std::string::npos; }));
}

INSTANTIATE_TEST_SUITE_P(Each, ExecutorConformance,
    testing::Values(
        Kind { "Virtual", [](Process& process) { return std::make_unique<VirtualExecutor>(process); } },
        Kind { "Real", makeRealExecutor }),
    [](const auto& info) { return std::string { info.param.name }; });

TEST(VirtualExecutor, RunsEachTaskAtItsOwnInstant)
{
    test::TemporaryFolder home;
    test::TestProcess process(home.path);
    VirtualExecutor& executor = process.executor();
    std::vector<double> instants;
    for (const double after : { 5.0, 2.0, 2.0 })
        executor.mainQueue().asyncAfter(
            after, [&] { instants.push_back(executor.now() - VirtualExecutor::epoch); });
    executor.drain();
    EXPECT_TRUE(instants.empty());
    executor.advanceClockOnly(4);
    EXPECT_TRUE(instants.empty());
    executor.advance(1);
    EXPECT_EQ(instants, (std::vector<double> { 4, 4, 5 }));
    EXPECT_EQ(executor.now(), VirtualExecutor::epoch + 5);
}

} // namespace lumora
