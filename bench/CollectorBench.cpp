// A million characters of the collector client's random texts, counted: how far the counts are from equal
// ones, by Pearson's chi-square. Fair ones exceed the bound beside it once in a thousand runs: a run beyond
// it is run again.

#include "service/LMAPI.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>

namespace lumora {
namespace {

void randomString(benchmark::State& state, bool numbersOnly, size_t letters, double bound)
{
    constexpr int64_t draws = 1'000'000;
    double chiSquare = 0;
    for (auto _ : state) {
        std::array<double, 256> counts {};
        for (const char c : LMAPI::randomStringWithLength(draws, numbersOnly))
            counts.at(static_cast<unsigned char>(c))++;
        const double expected = static_cast<double>(draws) / static_cast<double>(letters);
        chiSquare = 0;
        size_t seen = 0;
        for (const double count : counts) {
            chiSquare += count == 0 ? 0 : (count - expected) * (count - expected) / expected;
            seen += count == 0 ? 0 : 1;
        }
        if (seen != letters)
            state.SkipWithError("another alphabet");
    }
    state.counters["chi-square"] = chiSquare;
    state.counters["99.9 % bound"] = bound;
}
// The quantiles of the distribution with 9 and with 61 degrees of freedom.
BENCHMARK_CAPTURE(randomString, digits, true, 10, 27.877)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(randomString, letters_and_digits, false, 62, 100.888)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumora
