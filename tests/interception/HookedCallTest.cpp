#include "lumora/Swizzling.h"
#include "simulator/Phone.h"
#include "tests/platform/AllocationCounter.h"

#include <deque>
#include <future>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace lumora {
namespace {

constinit const TypedSelector<int64_t(int64_t)> add { "add:" };
constinit const TypedSelector<void()> absent { "absent" };
int64_t addOne(id, SEL, int64_t value) { return value + 1; }

Slot<int64_t(id, SEL, int64_t)> addIMP;
int64_t lumora_add(id self, SEL _cmd, int64_t value) { return 10 + addIMP(self, _cmd, value); }

// Holds the lock of a process's classes while it lives: another thread makes a class there whose superclass
// takes its time to describe itself.
class ClassesLocked {
public:
    explicit ClassesLocked(Process& process)
        : m_thread([this, &process] {
            s_current = this;
            Process::Scope scope(process);
            classOf<Subclass>();
        })
    {
        m_locked.wait();
    }
    ~ClassesLocked()
    {
        m_release.count_down();
        m_thread.join();
    }

private:
    class Unhurried : public NSObject {
    public:
        static const ClassDescription& classDescription()
        {
            s_current->m_locked.count_down();
            s_current->m_release.wait();
            return NSObject::classDescription();
        }
    };
    class Subclass : public Unhurried {
    public:
        static const ClassDescription& classDescription()
        {
            static const auto description = ClassDescription::of<Subclass, Unhurried>("TestUnhurried");
            return description;
        }
    };
    static inline ClassesLocked* s_current = nullptr;
    std::latch m_locked { 1 };
    std::latch m_release { 1 };
    std::thread m_thread;
};

TEST(HookedCallTest, AForeignThreadMeetsNoLockAndAllocatesNothing)
{
    Phone phone { {} };
    const Class parent = ClassBuilder("Adder", classOf<NSObject>()).method(add, &addOne).build();
    const auto object = class_createInstance(ClassBuilder("Inheriting", parent).build());
    class_swizzleMethodAndStore(object->isa(), add, &lumora_add, &addIMP);
    auto call = [&object] {
        const size_t before = allocationsOfThisThread();
        EXPECT_EQ(send(object, add, 1), 12);
        EXPECT_FALSE(respondsToSelector(object.get(), absent));
        return allocationsOfThisThread() - before;
    };
    call();
    std::future<size_t> foreign;
    const ClassesLocked locked(phone.process());
    foreign = std::async(std::launch::async, call);
    ASSERT_EQ(foreign.wait_for(std::chrono::seconds { 10 }), std::future_status::ready);
    EXPECT_EQ(foreign.get(), 0u);
}

std::atomic<int> s_emptySlots { 0 };
int64_t lumora_addIfSlotIsFilled(id self, SEL _cmd, int64_t value)
{
    if (addIMP.load(self->isa()->registry()))
        return addIMP(self, _cmd, value);
    s_emptySlots++;
    return 0;
}

// Sends to whatever the latest receiver is, until there is none.
class Caller {
public:
    explicit Caller(const std::atomic<id>& receiver)
        : m_thread([this, &receiver] {
            for (id latest = nullptr; (latest = receiver.load());) {
                send(latest, add, 1);
                m_called.store(latest);
            }
        })
    {
    }
    ~Caller() { m_thread.join(); }
    // A short while at most: the threads may have no processor each.
    void awaitCallOf(id object) const
    {
        for (int turn = 0; turn < 500 && m_called.load() != object; turn++) { }
    }

private:
    std::atomic<id> m_called { nullptr };
    std::thread m_thread;
};

// A registry of its own for every installation, hence an empty slot.
struct Installation {
    Installation(Process& process, bool onClass, bool inherited)
        : registry(process)
        , install(onClass ? &class_swizzleClassMethodAndStore : &class_swizzleMethodAndStore)
    {
        ClassBuilder fresh("Fresh", registry.classFor(NSObject::classDescription()));
        cls = (onClass ? fresh.classMethod(add, &addOne) : fresh.method(add, &addOne)).build();
        if (inherited)
            cls = ClassBuilder("Inheriting", cls).build();
        object = class_createInstance(cls);
        receiver = onClass ? cls : object.get();
    }
    ClassRegistry registry;
    decltype(&class_swizzleMethodAndStore) install;
    Class cls { nullptr };
    std::shared_ptr<Object> object;
    id receiver { nullptr };
};

TEST(HookedCallTest, NoCallMeetsAnEmptySlotWhileHooksGoIn)
{
    const Phone phone { {} };
    std::deque<Installation> installations;
    std::atomic<id> receiver { installations.emplace_back(phone.process(), false, false).receiver };
    {
        const Caller one(receiver);
        const Caller two(receiver);
        for (int round = 0; round < 2000; round++) {
            const auto& fresh = installations.emplace_back(phone.process(), round % 3 == 0, round % 3 == 1);
            receiver = fresh.receiver;
            one.awaitCallOf(receiver);
            two.awaitCallOf(receiver);
            EXPECT_EQ(fresh.install(fresh.cls, add, &lumora_addIfSlotIsFilled, &addIMP), 1);
        }
        receiver = nullptr;
    }
    EXPECT_EQ(s_emptySlots, 0);
}

} // namespace
} // namespace lumora
