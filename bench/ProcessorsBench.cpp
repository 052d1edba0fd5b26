// A tick over many processors, beside one over a tenth of them in the same run, and what an ad takes: alive,
// with its proxy and records, and after its view has gone.

#include "lumora/LMLog.h"
#include "lumora/Lumora.h"
#include "platform/webkit/WKWebView.h"
#include "processing/AdProcessingManager.h"
#include "processing/LMDefaultConfig.h"
#include "processing/ProcessorsManager.h"
#include "service/TDAPI.h"
#include "simulator/Phone.h"
#include "simulator/networks/StandInObjects.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <malloc.h>

namespace lumora {
namespace {

constexpr const char* key = "a-key-of-a-benchmark-that-is-long-enough";
constexpr const char* record
    = R"({"active": true, "ttlConfig": 1000000, "eventHTML": true, "inspectHTML": true})";

size_t drawn;

void countDrawing(id, SEL, CGContextRef) { drawn++; }

/// A phone whose ads are the web views of a network that gets no report button by its delegate, on screen,
/// each loading a page.
class ManyAds {
public:
    ManyAds()
    {
        services.configuration().setRecord(record);
        // Looks at an ad take no picture of it: nothing draws.
        class_replaceMethod(
            classOf<WKWebView>(), "drawRect:"_sel, &countDrawing, &methodEncoding<void, CGContextRef>());
        ClassBuilder("OXMWebView", classOf<NSObject>())
            .method(
                sel::webViewDidFinishNavigation, +[](id, SEL, id, id) {});
        Lumora::initiateTrackerWithKey(key);
        phone.wait(1);
    }
    void show(size_t count)
    {
        for (size_t i = 0; i < count; i++) {
            auto view = alloc<WKWebView>();
            send(view, sel::initWithFrame, CGRect { { 0, 100 }, { 320, 50 } });
            delegates.push_back(standInObject("OXMWebView"));
            phone.content().addSubview(view);
            view->loadHTMLString("<p>An ad</p>", "https://ads.example.com/");
            views.push_back(std::move(view));
        }
        phone.wait(1);
    }
    /// The network names itself: proxies, processors, records.
    void observe()
    {
        for (size_t i = 0; i < views.size(); i++) {
            send(views[i], sel::setNavigationDelegate, delegates[i]);
            AdProcessingManager::logAd(views[i], true);
        }
        phone.wait(1);
    }
    void letGo()
    {
        for (const auto& view : views)
            view->removeFromSuperview();
        views.clear();
        delegates.clear();
        phone.wait(10);
    }

    LocalServices services { key };
    Phone phone { options() };
    std::vector<std::shared_ptr<WKWebView>> views;
    std::vector<std::shared_ptr<Object>> delegates;

private:
    Phone::Options options()
    {
        Phone::Options options;
        options.makeTransport = [this] {
            return std::make_shared<DirectTransport>(services,
                TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), LUMORA_COLLECTOR_SERVICE);
        };
        return options;
    }
};

size_t looksInConsole(const Phone& phone)
{
    size_t looks = 0;
    for (const std::string& line : phone.console().lines())
        looks += line.ends_with("[LMAdViewProcessor][takeScreenshot] screenshot is taken");
    return looks;
}

void tick(benchmark::State& state)
{
    ManyAds ads;
    ads.show(static_cast<size_t>(state.range(0)));
    ads.observe();
    ProcessorsManager& manager = ProcessorsManager::sharedInstance();
    if (manager.count() != static_cast<size_t>(state.range(0)))
        state.SkipWithError("not every ad has a processor");
    drawn = 0;
    for (auto _ : state) {
        // The tick itself, and the looks that it has asked for.
        manager.takeScreenshots(LMDefaultConfig::maxScreenshotTime(), LMDefaultConfig::maxCountOfActiveAd());
        ads.phone.wait(0);
    }
    state.counters["drawn"] = static_cast<double>(drawn);
    LMLog::setLogLevel(0);
    const size_t before = looksInConsole(ads.phone);
    manager.takeScreenshots(LMDefaultConfig::maxScreenshotTime(), LMDefaultConfig::maxCountOfActiveAd());
    ads.phone.wait(0);
    state.counters["looks"] = static_cast<double>(looksInConsole(ads.phone) - before);
}
BENCHMARK(tick)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

/// Bytes an ad on top of its view, while it lives and after it is gone.
void memoryOfAnAd(benchmark::State& state)
{
    constexpr size_t count = 1000;
    double live = 0;
    double gone = 0;
    for (auto _ : state) {
        ManyAds ads;
        ads.show(1);
        ads.observe();
        ads.letGo();
        const size_t start = mallinfo2().uordblks;
        ads.show(count);
        const size_t before = mallinfo2().uordblks;
        ads.observe();
        live += static_cast<double>(mallinfo2().uordblks - before);
        ads.letGo();
        gone += static_cast<double>(mallinfo2().uordblks) - static_cast<double>(start);
    }
    const auto ads = static_cast<double>(state.iterations()) * count;
    state.counters["live bytes"] = live / ads;
    state.counters["bytes left"] = gone / ads;
}
BENCHMARK(memoryOfAnAd)->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace lumora
