// The entry call of a cold process with the SDKs of all networks, an answer of the gate from a fresh record,
// and what every request pays for naming the connection.

#include "core/Reachability.h"
#include "core/TDActivationManager.h"
#include "core/TDDeviceInformation.h"
#include "lumora/Lumora.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/objc/Message.h"
#include "service/LMEventsSaver.h"
#include "service/TDAPI.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandIns.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <malloc.h>

namespace lumora {
namespace {

constexpr const char* key = "a-key-of-a-benchmark-that-is-long-enough";

Phone::Options withNetworks(LocalServices& services)
{
    Phone::Options options;
    options.onBoot = [] {
        for (const StandInNetwork* network : allStandIns())
            network->install();
    };
    options.makeTransport = [&services] {
        return std::make_shared<DirectTransport>(
            services, TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), LUMORA_COLLECTOR_SERVICE);
    };
    return options;
}

/// With so many events, of 2 KB each, left from earlier launches: they are read in the background.
void entryCall(benchmark::State& state)
{
    LocalServices services { key };
    Phone phone { withNetworks(services) };
    LMEventsSaver saver { std::make_shared<LMEventsSaverUserDefaultsProvider>() };
    for (int64_t i = 0; i < state.range(0); i++) {
        auto event = make<TDEventModel>();
        event->setHtml(std::string(2000, 'x'));
        saver.saveEvent(event, nullptr);
    }
    std::vector<double> microseconds;
    for (auto _ : state) {
        state.PauseTiming();
        phone.kill();
        phone.boot();
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        Lumora::initiateTrackerWithKey(key);
        microseconds.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(microseconds.begin(), microseconds.end());
    state.counters["median us"] = microseconds[microseconds.size() / 2];
}
BENCHMARK(entryCall)->Arg(0)->Arg(1000)->Iterations(200)->Unit(benchmark::kMicrosecond);

void freshGate(benchmark::State& state)
{
    LocalServices services { key };
    services.configuration().setRecord(R"({"active": true, "ttlConfig": 1000000})");
    Phone phone { withNetworks(services) };
    Lumora::initiateTrackerWithKey(key);
    phone.wait(1);
    const TDActivationManager::Answer answer = [](bool active) { benchmark::DoNotOptimize(active); };
    TDActivationManager& gate = TDActivationManager::sharedInstance();
    for (auto _ : state)
        gate.checkActivationWithBlock(answer);
}
BENCHMARK(freshGate);

constexpr int64_t manyObjects = 100'000;

// Over this machine's own network. Each call leaves an object behind: `bytes` is what it takes.
void connectionType(benchmark::State& state)
{
    const Phone home { {} };
    Process process { { .home = home.home() } };
    Process::Scope scope(process);
    TDDeviceInformation::getConnectionType();
    const size_t before = mallinfo2().uordblks;
    for (auto _ : state)
        benchmark::DoNotOptimize(TDDeviceInformation::getConnectionType());
    state.counters["bytes"]
        = static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(state.iterations());
}
BENCHMARK(connectionType)->Iterations(manyObjects);

std::atomic<int64_t> s_posts { 0 };
void count(id, SEL, id) { s_posts++; }

// A change with many objects registered, until the last of them has posted it on the main queue.
void networkChange(benchmark::State& state)
{
    Phone phone { { .virtualTime = false } };
    auto counter = class_createInstance(
        ClassBuilder("Counter", classOf<NSObject>()).method("count:"_sel, &count).build());
    NSNotificationCenter::defaultCenter().addObserver(
        counter, "count:"_sel, kReachabilityChangedNotification, nullptr);
    for (int64_t i = 0; i < manyObjects; i++)
        TDDeviceInformation::getConnectionType();
    bool isConnected = true;
    for (auto _ : state) {
        s_posts = 0;
        isConnected = !isConnected;
        phone.radio().connect(isConnected ? Radio::Link::WiFi : Radio::Link::None);
        phone.waitUntil([] { return s_posts == manyObjects; }, 60);
    }
    counter.reset();
}
BENCHMARK(networkChange)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace lumora
