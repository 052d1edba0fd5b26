// What a dynamic call and a hook cost, beside a direct call of the same function in the same run: read the
// ratios.

#include "interception/Swizzling.h"
#include "platform/process/ProcessLocal.h"
#include "simulator/Phone.h"

#include <benchmark/benchmark.h>
#include <thread>

namespace lumora {
namespace {

[[gnu::noinline]] int64_t add(id, SEL, int64_t value) { return value + 1; }

Slot<int64_t(id, SEL, int64_t)> addIMP;
int64_t lumora_add(id self, SEL _cmd, int64_t value) { return addIMP(self, _cmd, value); }

constinit const TypedSelector<int64_t(int64_t)> addSelector { "add:" };

struct Receiver {
    Phone phone { {} };
    Class cls { ClassBuilder("Adder", classOf<NSObject>()).method(addSelector, &add).build() };
    std::shared_ptr<Object> object { class_createInstance(cls) };

    void hook() const { class_swizzleMethodAndStore(cls, addSelector, &lumora_add, &addIMP); }
};

void directCall(benchmark::State& state)
{
    int64_t value = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = add(nullptr, nullptr, value));
}
BENCHMARK(directCall);

void sendLoop(benchmark::State& state, id object)
{
    int64_t value = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(value = send(object, addSelector, value));
}

void sendMessage(benchmark::State& state)
{
    const Receiver receiver;
    sendLoop(state, receiver.object.get());
}
BENCHMARK(sendMessage);

void sendHookedMessage(benchmark::State& state)
{
    const Receiver receiver;
    receiver.hook();
    sendLoop(state, receiver.object.get());
}
BENCHMARK(sendHookedMessage);

// From a thread that belongs to no process, as networks call.
void sendHookedMessageFromAForeignThread(benchmark::State& state)
{
    const Receiver receiver;
    receiver.hook();
    std::thread foreign([&] { sendLoop(state, receiver.object.get()); });
    foreign.join();
}
BENCHMARK(sendHookedMessageFromAForeignThread);

} // namespace
} // namespace lumora
