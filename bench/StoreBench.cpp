// What storing an event costs: the whole backup is written each time. Beside each figure stands a plain
// replacement of a file by as many bytes, in the same run: read the ratio.

#include "platform/foundation/NSFileManager.h"
#include "service/LMEventsSaver.h"
#include "simulator/Phone.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <fstream>

namespace lumora {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::shared_ptr<TDEventModel> eventOfSize(size_t bytes)
{
    auto event = make<TDEventModel>();
    event->setType("redirect");
    event->setHtml(std::string(bytes, 'x'));
    return event;
}

struct Store {
    Phone phone { {} };
    fs::path file { NSHomeDirectory() / "Library/Preferences/com.example.daily.plist" };
    LMEventsSaver saver { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
    double stored { 0 };
    double plain { 0 };
    double written { 0 };

    /// Runs a change of the store, then writes as many bytes plainly.
    template <typename F> void change(F&& operation)
    {
        const auto start = Clock::now();
        operation();
        stored += secondsSince(start);
        const std::string bytes(fs::file_size(file), 'x');
        const fs::path fresh = file.string() + ".plain.new";
        const auto plainStart = Clock::now();
        {
            std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        }
        fs::rename(fresh, file.string() + ".plain");
        plain += secondsSince(plainStart);
        written += static_cast<double>(bytes.size());
    }

    void report(benchmark::State& state, double operations) const
    {
        state.counters["bytes/op"] = written / operations;
        state.counters["ms/op"] = stored / operations * 1e3;
        state.counters["plain ms/op"] = plain / operations * 1e3;
        state.counters["ratio"] = stored / plain;
    }
};

/// One more event with a number of them, of 2 KB each, stored already.
void saveOne(benchmark::State& state)
{
    Store store;
    for (int64_t i = 0; i < state.range(0); i++)
        store.saver.saveEvent(eventOfSize(2000), nullptr);
    double operations = 0;
    for (auto _ : state) {
        const auto event = eventOfSize(2000);
        store.change([&] { store.saver.saveEvent(event, nullptr); });
        operations++;
        state.PauseTiming();
        store.saver.removeEvent(event);
        state.ResumeTiming();
    }
    store.report(state, operations);
}
BENCHMARK(saveOne)->Arg(0)->Arg(100)->Arg(1000)->Iterations(100)->Unit(benchmark::kMillisecond);

/// Stores a number of events of a size, then removes one after the other.
void storeAndDrain(benchmark::State& state)
{
    for (auto _ : state) {
        Store store;
        Events events;
        for (int64_t i = 0; i < state.range(0); i++) {
            events.push_back(eventOfSize(static_cast<size_t>(state.range(1))));
            store.change([&] { store.saver.saveEvent(events.back(), nullptr); });
        }
        for (const auto& event : events)
            store.change([&] { store.saver.removeEvent(event); });
        store.report(state, 2 * static_cast<double>(events.size()));
    }
}
BENCHMARK(storeAndDrain)
    ->Args({ 1000, 2000 })
    ->Args({ 50, 1'500'000 })
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

/// A pass without tries left drops all that it found.
void dropAll(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto store = std::make_unique<Store>();
        for (int64_t i = 0; i < state.range(0); i++)
            store->saver.saveEvent(eventOfSize(2000), nullptr);
        state.ResumeTiming();
        store->saver.removeEvents(store->saver.getPendingEventsForRetrySending());
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(dropAll)->Arg(1000)->Iterations(3)->Unit(benchmark::kMillisecond);

/// Reading a number of stored events, which a launch does in the background.
void load(benchmark::State& state)
{
    Phone phone { {} };
    LMEventsSaver saver { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
    for (int64_t i = 0; i < state.range(0); i++)
        saver.saveEvent(eventOfSize(2000), nullptr);
    for (auto _ : state) {
        state.PauseTiming();
        phone.kill();
        phone.boot();
        state.ResumeTiming();
        LMEventsSaver loaded { std::make_unique<LMEventsSaverUserDefaultsProvider>() };
        benchmark::DoNotOptimize(loaded.getPendingEventsForRetrySending().size());
    }
}
BENCHMARK(load)->Arg(0)->Arg(1000)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumora
