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

size_t linksByEngine(const icu::UnicodeString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    const std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(
        icu::UnicodeString::fromUTF8(linkPattern), UREGEX_CASE_INSENSITIVE, where, status));
    const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
    size_t count = 0;
    while (matcher->find(status))
        count++;
    return count;
}

/// Both find as much in 2 MB of that text.
template <typename Scan, typename Engine>
void compare(benchmark::State& state, const std::string& text, const Scan& scan, const Engine& byEngine)
{
    double ours = 0;
    double engine = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        const size_t found = scan(text);
        ours += millisecondsSince(start);
        start = Clock::now();
        const size_t expected = byEngine(text);
        engine += millisecondsSince(start);
        if (found != expected)
            state.SkipWithError("the engine finds others");
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["ms"] = ours / rounds;
    state.counters["engine ms"] = engine / rounds;
    state.counters["ratio"] = engine / ours;
}

std::string repeated(const std::string& unit)
{
    constexpr size_t size = 2'000'000;
    std::string text;
    while (text.size() < size)
        text += unit;
    return text;
}

void links(benchmark::State& state, const char* unit)
{
    const std::string text = repeated(unit);
    const icu::UnicodeString units = icu::UnicodeString::fromUTF8(text);
    auto scan = [](const std::string& markup) {
        const auto urls = getAllURLs(markup);
        return urls ? urls->size() : 0;
    };
    compare(state, text, scan, [&](const std::string&) { return linksByEngine(units); });
}
BENCHMARK_CAPTURE(links, markup, markup)->Iterations(10);
BENCHMARK_CAPTURE(links, http, "http:")->Iterations(10);
BENCHMARK_CAPTURE(links, s, "s:")->Iterations(10);

void alertsAndStoreLinks(benchmark::State& state, const std::string& unit)
{
    constexpr const char* host = "apps.example.com";
    const auto detector = NSDataDetector::dataDetectorWithTypes(NSTextCheckingTypeLink, host);
    auto scan = [&](const std::string& markup) {
        return scriptDialogsIn(markup).size() + detector->matchesInString(markup).size();
    };
    auto byEngine = [](const std::string& markup) {
        size_t count = 0;
        for (const std::string& pattern : { std::string { R"re(window\.alert\("([\s\S]*?)"\))re" },
                 std::string { R"re(confirm\("([\s\S]*?)"\))re" }, NSDataDetector::linkPattern(host) })
            count += NSRegularExpression::regularExpressionWithPattern(pattern, false)
                         ->matchesInString(markup)
                         .size();
        return count;
    };
    compare(state, repeated(unit), scan, byEngine);
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
