// What a dynamic call and a hook cost, beside a direct call of the same function: method and hook lie in a
// shared library, the primitives and the runtime in liblumora.so, and the calls come from a thread that
// belongs to no process, as networks call. Read the differences of the medians: a hook adds at most 5 ns.

#include "bench/HookedLibrary.h"
#include "lumora/Swizzling.h"
#include "platform/dispatch/VirtualExecutor.h"
#include "platform/process/Process.h"

#include <benchmark/benchmark.h>
#include <thread>

namespace lumora {
namespace {

constinit const TypedSelector<int64_t(int64_t)> addSelector { "add:" };
constinit const TypedSelector<void()> absentSelector { "absent" };

class Receiver {
public:
    void hook() const { class_swizzleMethodAndStore(m_class, addSelector, &library_hook, &library_hookIMP); }
    id object() const { return m_object.get(); }

private:
    Process m_process { { .makeExecutor = &makeExecutor } };
    Process::Scope m_scope { m_process };
    Class m_class { ClassBuilder("Adder", classOf<NSObject>()).method(addSelector, &library_add).build() };
    std::shared_ptr<Object> m_object { class_createInstance(m_class) };

    static std::unique_ptr<Executor> makeExecutor(Process& process)
    {
        return std::make_unique<VirtualExecutor>(process);
    }
};

template <typename Call> void onForeignThread(benchmark::State& state, const Call& call)
{
    std::thread foreign([&] {
        int64_t value = 0;
        for (auto _ : state)
            benchmark::DoNotOptimize(value = call(value));
    });
    foreign.join();
}

void direct(benchmark::State& state)
{
    onForeignThread(state, [](int64_t value) { return library_add(nullptr, nullptr, value); });
}

void sent(benchmark::State& state)
{
    const Receiver receiver;
    onForeignThread(state, [&](int64_t value) { return send(receiver.object(), addSelector, value); });
}

void hooked(benchmark::State& state)
{
    const Receiver receiver;
    receiver.hook();
    onForeignThread(state, [&](int64_t value) { return send(receiver.object(), addSelector, value); });
}

void askedForWhatIsAbsent(benchmark::State& state)
{
    const Receiver receiver;
    onForeignThread(state, [&](int64_t) { return respondsToSelector(receiver.object(), absentSelector); });
}

void repeated(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Repetitions(9)->ReportAggregatesOnly();
}
BENCHMARK(direct)->Apply(&repeated);
BENCHMARK(sent)->Apply(&repeated);
BENCHMARK(hooked)->Apply(&repeated);
BENCHMARK(askedForWhatIsAbsent)->Apply(&repeated);

} // namespace
} // namespace lumora
