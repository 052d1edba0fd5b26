#include "platform/foundation/NSNotificationCenter.h"
#include "platform/objc/Message.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora {

namespace {

/// Writes what it hears, and may do something about it.
class Listener final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description = ClassDescription::of<Listener, NSObject>("TestListener")
                                                        .method<&Listener::heard>("heard:"_sel)
                                                        .method<&Listener::rang>("rang"_sel);
        return description;
    }
    void heard(NSNotification* notification)
    {
        *log += name + notification->name() + (notification->userInfo())["k"].stringOrEmpty() + " ";
        if (onHeard)
            onHeard();
    }
    void rang() { *log += name + "rang "; }

    std::string name;
    std::string* log { nullptr };
    std::function<void()> onHeard;
};

struct NotificationCenter : testing::Test {
    std::shared_ptr<Listener> listener(std::string name)
    {
        auto made = make<Listener>();
        made->name = std::move(name);
        made->log = &log;
        return made;
    }
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
    NSNotificationCenter& center { NSNotificationCenter::defaultCenter() };
    std::string log;
    std::shared_ptr<Listener> a { listener("a:") };
    std::shared_ptr<Listener> b { listener("b:") };
};

} // namespace

TEST_F(NotificationCenter, TellsObserversInOrder)
{
    center.addObserver(b, "heard:"_sel, "changed", nullptr);
    center.addObserver(a, "rang"_sel, "", nullptr);
    center.addObserver(a, "heard:"_sel, "other", nullptr);
    center.postNotification("changed", nullptr, { { "k", "!" } });
    EXPECT_EQ(log, "b:changed! a:rang ");
}

TEST_F(NotificationCenter, TellsOnlyOfTheSenderAskedFor)
{
    auto sender = make<NSObject>();
    center.addObserver(a, "heard:"_sel, "changed", sender.get());
    center.postNotification("changed", make<NSObject>());
    center.postNotification("changed", nullptr);
    EXPECT_EQ(log, "");
    center.postNotification("changed", sender);
    sender.reset();
    center.postNotification("changed", nullptr);
    EXPECT_EQ(log, "a:changed ");
}

TEST_F(NotificationCenter, ForgetsTheDeadAndTheRemoved)
{
    for (const auto& each : { a, b })
        center.addObserver(each, "heard:"_sel, "changed", nullptr);
    center.addObserver(b, "rang"_sel, "changed", nullptr);
    a.reset();
    center.postNotification("changed", nullptr);
    center.removeObserver(b.get());
    center.postNotification("changed", nullptr);
    EXPECT_EQ(log, "b:changed b:rang ");
}

TEST_F(NotificationCenter, AThrowingObserverRobsNobody)
{
    a->onHeard = [] { throw std::runtime_error("of the host"); };
    for (const auto& each : { a, b })
        center.addObserver(each, "heard:"_sel, "changed", nullptr);
    center.postNotification("changed", nullptr);
    a->onHeard = [] { throw 1; };
    center.postNotification("changed", nullptr);
    EXPECT_EQ(log, "a:changed b:changed a:changed b:changed ");
    EXPECT_EQ(process.console->lines().front(), "an observer of changed threw: of the host");
}

TEST_F(NotificationCenter, WalksWhatStoodWhenThePostingBegan)
{
    auto late = listener("late:");
    a->onHeard = [&] {
        center.removeObserver(a.get());
        center.addObserver(late, "heard:"_sel, "changed", nullptr);
    };
    for (const auto& each : { a, b })
        center.addObserver(each, "heard:"_sel, "changed", nullptr);
    center.postNotification("changed", nullptr);
    center.postNotification("changed", nullptr);
    EXPECT_EQ(log, "a:changed b:changed b:changed late:changed ");
}

} // namespace lumora
