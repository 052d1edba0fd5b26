// The entry call of a cold process, and an answer of the gate from a fresh record.

#include "core/TDActivationManager.h"
#include "lumora/Lumora.h"
#include "service/LMEventsSaver.h"
#include "service/TDAPI.h"
#include "simulator/Phone.h"
#include "simulator/networks/GoogleStandIn.h"
#include "simulator/networks/MoPubStandIn.h"

#include <benchmark/benchmark.h>

namespace lumora {
namespace {

constexpr const char* key = "a-key-of-a-benchmark-that-is-long-enough";

Phone::Options withNetworks(ConfigurationService& service)
{
    Phone::Options options;
    options.onBoot = [] {
        MoPubStandIn::install();
        GoogleStandIn::install();
    };
    options.makeTransport = [&service] {
        return std::make_shared<DirectTransport>(
            service, TDAPI::getURLWithType(TDAPI::EndpointType::Configuration));
    };
    return options;
}

void entryCall(benchmark::State& state)
{
    ConfigurationService service { key };
    Phone phone { withNetworks(service) };
    for (auto _ : state) {
        state.PauseTiming();
        phone.kill();
        phone.boot();
        state.ResumeTiming();
        Lumora::initiateTrackerWithKey(key);
    }
}
BENCHMARK(entryCall)->Iterations(200)->Unit(benchmark::kMicrosecond);

/// The same with so many events, of 2 KB each, left from earlier launches: read in the background.
void entryCallWithStoredEvents(benchmark::State& state)
{
    ConfigurationService service { key };
    Phone phone { withNetworks(service) };
    LMEventsSaver saver { std::make_shared<LMEventsSaverUserDefaultsProvider>() };
    for (int64_t i = 0; i < state.range(0); i++) {
        auto event = make<TDEventModel>();
        event->setHtml(std::string(2000, 'x'));
        saver.saveEvent(event, nullptr);
    }
    for (auto _ : state) {
        state.PauseTiming();
        phone.kill();
        phone.boot();
        state.ResumeTiming();
        Lumora::initiateTrackerWithKey(key);
    }
}
BENCHMARK(entryCallWithStoredEvents)->Arg(1000)->Iterations(200)->Unit(benchmark::kMicrosecond);

void freshGate(benchmark::State& state)
{
    ConfigurationService service { key };
    service.setRecord(R"({"active": true, "ttlConfig": 1000000})");
    Phone phone { withNetworks(service) };
    Lumora::initiateTrackerWithKey(key);
    phone.wait(1);
    const TDActivationManager::Answer answer = [](bool active) { benchmark::DoNotOptimize(active); };
    TDActivationManager& gate = TDActivationManager::sharedInstance();
    for (auto _ : state)
        gate.checkActivationWithBlock(answer);
}
BENCHMARK(freshGate);

} // namespace
} // namespace lumora
