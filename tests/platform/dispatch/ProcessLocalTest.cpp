#include "platform/process/ProcessLocal.h"

#include "tests/platform/TestProcess.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace lumora {

namespace {

std::atomic<int> made { 0 };

struct Counted {
    Counted() { made++; }
    int value { 0 };
};

/// Reaches for itself while it is being initialised, as a shared instance may.
class Shared final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<Shared, NSObject>("TestShared").method<&Shared::init>(sel::init);
        return description;
    }
    static Shared& instance()
    {
        static const ProcessLocal<Shared> s_instance;
        return s_instance.get();
    }
    id init()
    {
        inits++;
        seenInside = &instance();
        return this;
    }
    int inits { 0 };
    Shared* seenInside { nullptr };
};

struct ProcessLocalValue : testing::Test {
    template <typename F> void inThreads(F&& body)
    {
        std::barrier together(4);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; i++) {
            threads.emplace_back([&] {
                Process::Scope scope(process.process);
                together.arrive_and_wait();
                body();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
};

} // namespace

TEST_F(ProcessLocalValue, IsMadeOnceByWhoeverComesFirst)
{
    static const ProcessLocal<Counted> s_counted;
    made = 0;
    std::atomic<Counted*> seen { nullptr };
    inThreads([&] {
        Counted* mine = &s_counted.get();
        Counted* expected = nullptr;
        EXPECT_TRUE(seen.compare_exchange_strong(expected, mine) || expected == mine);
    });
    EXPECT_EQ(made, 1);
}

TEST_F(ProcessLocalValue, IsThatOfItsProcess)
{
    static const ProcessLocal<Counted> s_counted;
    s_counted.get().value = 7;
    test::TemporaryFolder otherHome;
    test::TestProcess other(otherHome.path);
    EXPECT_EQ(s_counted.get().value, 0);
    EXPECT_EQ(s_counted.get(process.process).value, 7);
}

TEST_F(ProcessLocalValue, MayBeReachedForWhileItInitialises)
{
    inThreads([] { EXPECT_EQ(Shared::instance().inits, 1); });
    EXPECT_EQ(Shared::instance().seenInside, &Shared::instance());
}

TEST_F(ProcessLocalValue, RunsOnceAndReturnsOnReentry)
{
    static const ProcessOnce s_once;
    std::atomic<int> runs { 0 };
    std::atomic<bool> isDone { false };
    inThreads([&] {
        s_once.run([&] {
            runs++;
            s_once.run([&] { runs++; });
            isDone = true;
        });
        EXPECT_TRUE(isDone) << "the others wait until it is done";
    });
    EXPECT_EQ(runs, 1);
    test::TemporaryFolder otherHome;
    test::TestProcess other(otherHome.path);
    s_once.run([&] { runs++; });
    EXPECT_EQ(runs, 2) << "once in each process";
}

} // namespace lumora
