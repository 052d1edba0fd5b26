// The links of 2 MB by the scanner and by the engine alone, without the text's conversion and the making of
// matches, in the same run, and so the alerts and store links of 2 MB; a search through 10,000 views. Read
// the ratios.

#include "platform/foundation/NSDataDetector.h"
#include "platform/uikit/UIView.h"
#include "processing/AlertScan.h"
#include "simulator/Phone.h"
#include "support/NSStringExtensions.h"
#include "support/UIViewExtensions.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>
#include <unicode/regex.h>

namespace lumora {
namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

constexpr const char* markup
    = R"(<div class="ad" style="width:320px; height:50px"><a href="https://click.example.com/c?id=12&amp;r=1">
<img src='http://cdn.example.com/i/banner.png' alt="Buy now: 50 % off"></a></div>
<script type="text/javascript">var mraid = window.mraid || {}; function shown(state) {
    if (state === 'default') { document.getElementById("ad").style.display = "block"; } else { hide(); }
}</script><p>All the text of a page, a sentence of it, and another one: three words more. m\u00FCnich</p>
)";

constexpr const char* markupForStore
    = R"html(<a href="itms-apps://apps.example.com/app/id310633997?mt=8">Install</a>
<script>function leave() { if (confirm("Leave this page?")) { window.alert("Thank you"); go('https://a.example/x'); } }</script>
)html";

size_t matchesByEngine(const icu::UnicodeString& text, const std::string& expression, uint32_t flags)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    const std::unique_ptr<icu::RegexPattern> pattern(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(expression), flags, where, status));
    const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
    size_t count = 0;
    while (matcher->find(status))
        count++;
    return count;
}

/// Both count what they find in 2 MB of that text.
void compare(benchmark::State& state, const std::string& unit,
    const std::function<size_t(const std::string&)>& scan,
    const std::function<size_t(const icu::UnicodeString&)>& byEngine)
{
    constexpr size_t size = 2'000'000;
    std::string text;
    while (text.size() < size)
        text += unit;
    const icu::UnicodeString units = icu::UnicodeString::fromUTF8(text);
    double ours = 0;
    double engine = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        const size_t found = scan(text);
        ours += millisecondsSince(start);
        start = Clock::now();
        const size_t expected = byEngine(units);
        engine += millisecondsSince(start);
        if (found != expected)
            state.SkipWithError("the engine finds others");
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["ms"] = ours / rounds;
    state.counters["engine ms"] = engine / rounds;
    state.counters["ratio"] = engine / ours;
}

void links(benchmark::State& state, const char* unit)
{
    compare(
        state, unit,
        [](const std::string& text) {
            const auto urls = getAllURLs(text);
            return urls ? urls->size() : 0;
        },
        [](const icu::UnicodeString& units) {
            return matchesByEngine(units, linkPattern, UREGEX_CASE_INSENSITIVE);
        });
}
BENCHMARK_CAPTURE(links, markup, markup)->Iterations(10);
BENCHMARK_CAPTURE(links, http, "http:")->Iterations(10);
BENCHMARK_CAPTURE(links, s, "s:")->Iterations(10);

void alertsAndStoreLinks(benchmark::State& state, const std::string& unit)
{
    constexpr const char* host = "apps.example.com";
    const auto detector = NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, host);
    compare(
        state, unit,
        [&](const std::string& text) {
            return scriptDialogsIn(text).size() + detector->matchesInString(text).size();
        },
        [](const icu::UnicodeString& units) {
            return matchesByEngine(units, R"re(window\.alert\("[\s\S]*?"\))re", 0)
                + matchesByEngine(units, R"re(confirm\("[\s\S]*?"\))re", 0)
                + matchesByEngine(units, NSDataDetector::linkPattern(host), 0);
        });
}
/// A page of 4 kB with one way to the store.
std::string page()
{
    constexpr int parts = 6;
    std::string text = markupForStore;
    for (int i = 0; i < parts; i++)
        text += markup;
    return text;
}
BENCHMARK_CAPTURE(alertsAndStoreLinks, pages, page())->Iterations(10);
BENCHMARK_CAPTURE(alertsAndStoreLinks, nothingElse, markupForStore)->Iterations(10);

/// A class that none of them is of.
void findSubView(benchmark::State& state)
{
    Phone phone { {} };
    auto root = make<UIView>();
    constexpr int groups = 100;
    for (int i = 0; i < groups; i++) {
        auto group = make<UIView>();
        for (int j = 1; j < groups; j++)
            group->addSubview(make<UIView>());
        root->addSubview(group);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(findSubViewIn(root.get(), "WKWebView"));
}
BENCHMARK(findSubView)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumora
