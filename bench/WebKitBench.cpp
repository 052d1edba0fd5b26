// What the real web engine costs its host's main thread: a page of three megabytes is loaded and its markup
// read, which may hold the main queue for no more than 8 ms at a time.

#include "platform/webkit/WKWebView.h"
#include "platform/webkit/WebKitEngine.h"
#include "tests/platform/TestProcess.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <thread>

namespace lumora {
namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

void markupOfALongPage(benchmark::State& state)
{
    if (!webKitEngineProblem().empty()) {
        state.SkipWithError(webKitEngineProblem().c_str());
        return;
    }
    const test::TemporaryFolder home;
    test::TestProcess world { home.path };
    setWebEngineFactory(makeWebKitEngine);
    const auto view = make<WKWebView>();
    std::string page = "<body>";
    for (constexpr size_t size = 3'000'000; page.size() < size;)
        page += "<p class=\"item\">An item of the page.</p>\n";

    // What a process does first is not the engine's.
    world.executor().drain();
    Milliseconds longest {};
    // What is due at a time counts as one task, so this is no less than the longest.
    auto run = [&](const std::function<bool()>& until) {
        while (!until()) {
            const auto start = std::chrono::steady_clock::now();
            world.executor().drain();
            longest = std::max<Milliseconds>(longest, std::chrono::steady_clock::now() - start);
            std::this_thread::yield();
        }
    };
    for ([[maybe_unused]] auto iteration : state) {
        view->loadHTMLString(page, "https://ads.example.com/");
        run([&] { return !view->isLoading(); });
        size_t size = 0;
        view->evaluateJavaScript(
            "document.documentElement.outerHTML", [&](const Value& markup, const std::optional<NSError>&) {
                size = markup.stringOrEmpty().size();
            });
        run([&] { return size > 0; });
    }
    state.counters["longest_hold_ms"] = longest.count();
}
BENCHMARK(markupOfALongPage)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace lumora
