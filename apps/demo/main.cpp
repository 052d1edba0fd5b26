// The main job from end to end: the library starts and its log arrives; an interstitial and two networks'
// banners are shown, get their report button, are reported, and the reports arrive; then an ad leaves by
// itself and another starts a video; then one ad of every network and format; then the service goes away, an
// ad is reported all the same, the phone is killed, and after its restart the report arrives.

#include "apps/demo/AllNetworks.h"
#include "apps/demo/HostApp.h"
#include "apps/demo/Story.h"
#include "devservice/LocalServices.h"
#include "devservice/LoopbackServer.h"
#include "lumora/LMLogManager.h"
#include "lumora/Lumora.h"
#include "platform/avkit/AVPlayerViewController.h"
#include "platform/foundation/NSFileManager.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "platform/linux/CurlTransport.h"
#include "platform/linux/GStreamerDecoder.h"
#include "platform/webkit/WebKitEngine.h"
#include "processing/AdProcessingManager.h"
#include "report/LMInterstitialTutorialView.h"
#include "report/LMReportAdView.h"
#include "report/ReportProtocols.h"
#include "report/TDSwipableReportViewController.h"
#include "service/TDAPI.h"
#include "simulator/Finding.h"
#include "simulator/Phone.h"
#include "simulator/SoleObject.h"
#include "simulator/networks/GoogleStandIn.h"
#include "simulator/networks/MoPubStandIn.h"
#include "simulator/networks/StandIns.h"
#include "support/UIViewControllerExtensions.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace lumora {
namespace {

constexpr const char* hostKey = "demo-key-of-the-daily-tide-0001";
// Seconds anything may take before it counts as not happening.
constexpr double patience = 20;
constexpr int64_t timeBetweenLogs = 2; // seconds

struct Arguments {
    bool virtualTime { false };
    /// Why the ads' pages are not in the real engine; empty when they are.
    std::string pageEngineBecause;
    /// Why videos play without pictures; empty when they have some.
    std::string videoDecoderBecause;
    std::filesystem::path folder { "out" };
    std::vector<std::filesystem::path> creatives;
};

/// What one network's banner is, and what its report must say.
struct Ad {
    std::string network;
    std::shared_ptr<UIView> banner;
    std::function<void()> load;
    std::string reason;
    std::string creativeId;
};

class Demo {
public:
    explicit Demo(const Arguments& arguments);
    int run();

private:
    Ad moPub(const std::filesystem::path& creative, const std::string& reason, const std::string& creativeId);
    Ad adMob(const std::filesystem::path& creative, const std::string& reason, const std::string& creativeId);
    void startLibrary();
    void receiveLog();
    std::shared_ptr<TDReportButtonView> showAd(const Ad& ad);
    bool reportAd(const Ad& ad, const std::shared_ptr<TDReportButtonView>& button);
    void checkReport(const Ad& ad, const Arrival& report);
    void reportAndDeliver(const Ad& ad);
    void reportInterstitial();
    void reportOnSheet(UIView& adView, TDReportButtonView& button);
    void watchARunaway();
    void endAVideo();
    /// The newest event of Amazon's of that type that has arrived; empty when none has in time.
    NSDictionary amazonsEvent(const char* type);
    void reportWhileServiceIsAway(const Ad& ad);
    void restartAndDeliver(const Ad& ad);
    void setServiceAway(bool away);

    Arguments m_arguments;
    LocalServices m_services;
    ConfigurationService& m_service;
    LoopbackServer m_server;
    std::weak_ptr<DirectTransport> m_direct;
    bool m_away { false };
    std::unique_ptr<Phone> m_phone;
    std::unique_ptr<HostApp> m_app;
    std::unique_ptr<Story> m_story;
};

Demo::Demo(const Arguments& arguments)
    : m_arguments(arguments)
    , m_services(hostKey)
    , m_service(m_services.configuration())
    , m_server(m_services)
{
    m_service.setRecord(
        R"({"active": true, "ttlConfig": 3600, "buttonTap": "single", "retryAfter": 300, "retryLimit": 5,
        "reportHTML": true, "eventHTML": true, "inspectHTML": true, "sdks": ["MoPub", "AdMob"]})");
    if (!arguments.virtualTime)
        m_server.start();

    Phone::Options options;
    options.virtualTime = arguments.virtualTime;
    options.onBoot = [this] {
        if (m_arguments.pageEngineBecause.empty())
            setWebEngineFactory(makeWebKitEngine);
        if (m_arguments.videoDecoderBecause.empty())
            setVideoDecoderFactory(makeGStreamerDecoder);
        for (const StandInNetwork* network : allStandIns())
            network->install();
    };
    const std::string address = TDAPI::getURLWithType(TDAPI::EndpointType::Configuration);
    options.makeTransport = [this, address]() -> std::shared_ptr<HTTPTransport> {
        if (!m_arguments.virtualTime)
            return std::make_shared<RoutedTransport>(std::make_unique<RoutedTransport>(makeCurlTransport(),
                                                         LUMORA_COLLECTOR_SERVICE, m_server.collectorURL()),
                address, m_server.configurationURL());
        auto direct = std::make_shared<DirectTransport>(m_services, address, LUMORA_COLLECTOR_SERVICE);
        direct->setServiceAway(m_away);
        m_direct = direct;
        return direct;
    };
    m_phone = std::make_unique<Phone>(options);
    m_story = std::make_unique<Story>(arguments.folder, [this] { return m_phone->process().now(); });
}

void Demo::setServiceAway(bool away)
{
    m_away = away;
    if (m_arguments.virtualTime) {
        if (const auto direct = m_direct.lock())
            direct->setServiceAway(away);
    } else if (away) {
        m_server.stop();
    } else {
        m_server.start();
    }
}

std::string markupOf(const std::filesystem::path& file)
{
    const auto content = contentsOfFile(file);
    return content ? repairedUTF8(content->view()) : std::string {};
}

Ad Demo::moPub(
    const std::filesystem::path& creative, const std::string& reason, const std::string& creativeId)
{
    auto banner = MoPubStandIn::makeBanner({ 300, 250 });
    return { "MoPub", banner,
        [=] {
            MoPubStandIn::load(
                *banner, { .html = markupOf(creative), .dspCreativeId = creativeId, .creativeId = "house" });
        },
        reason, creativeId };
}

Ad Demo::adMob(
    const std::filesystem::path& creative, const std::string& reason, const std::string& creativeId)
{
    auto banner = GoogleStandIn::makeBanner({ 320, 50 });
    return { "AdMob", banner,
        [=] {
            GoogleStandIn::load(
                *banner, { .html = markupOf(creative), .debugText = "Ad debug\ncrid:" + creativeId + "\n" });
        },
        reason, creativeId };
}

void Demo::startLibrary()
{
    m_app = std::make_unique<HostApp>(m_phone->content());
    const size_t fetchesBefore = m_service.configurationFetches().size();
    LMLogManager::sharedInstance().setLoggingTTL(timeBetweenLogs);
    Lumora::initiateTrackerWithKey(hostKey);
    m_story->tell("the host switches the log file on and calls initiateTrackerWithKey");
    m_story->expect(
        m_phone->waitUntil([&] { return m_service.configurationFetches().size() > fetchesBefore; }, patience)
            && m_service.configurationFetches().back().status == 200,
        "the configuration is fetched with the host's key");
    // The answer is on its way back.
    m_phone->wait(0.2);
}

void Demo::receiveLog()
{
    CollectorService& collector = m_services.collector();
    const bool arrived = m_phone->waitUntil([&] { return !collector.logs().empty(); }, patience);
    if (m_story->expect(arrived, "the log file arrives at the collector"))
        m_story->document("log.txt", collector.logs().front().body);
}

std::shared_ptr<TDReportButtonView> Demo::showAd(const Ad& ad)
{
    const size_t impressionsBefore = m_service.impressions().size();
    m_app->show(ad.banner);
    ad.load();
    m_story->tell("a " + ad.network + " banner loads");
    const bool appeared = m_phone->waitUntil(
        [&] {
            const auto button = buttonOn(*ad.banner);
            return button && button->buttonState() == TDReportButtonView::State::Full;
        },
        patience);
    if (!m_story->expect(appeared, "the report button is on the ad"))
        return nullptr;
    m_phone->wait(0.1);
    m_story->picture(m_phone->screen(), ad.network + "-button");
    if (!m_away) {
        const bool recorded = m_phone->waitUntil(
            [&] { return m_service.impressions().size() > impressionsBefore; }, patience);
        m_story->expect(
            recorded && m_service.impressions().back().status == 200, "an impression is recorded");
    }
    return buttonOn(*ad.banner);
}

bool Demo::reportAd(const Ad& ad, const std::shared_ptr<TDReportButtonView>& button)
{
    m_phone->tap(*button);
    const bool opened
        = m_phone->waitUntil([&] { return find<LMReportAdView>(*ad.banner) != nullptr; }, patience);
    if (!m_story->expect(opened, "a tap on it opens the report overlay"))
        return false;
    m_phone->wait(0.5);
    m_story->picture(m_phone->screen(), ad.network + "-overlay");
    const auto reason = reasonOn(*ad.banner, ad.reason);
    if (!m_story->expect(reason != nullptr, "the overlay offers \"" + ad.reason + "\""))
        return false;
    m_phone->tap(*reason);
    m_phone->wait(0.4);
    m_story->tell("the user chooses \"" + ad.reason + "\"");
    m_story->picture(m_phone->screen(), ad.network + "-reason");
    return true;
}

void Demo::checkReport(const Ad& ad, const Arrival& arrival)
{
    const auto body = JSONObjectWithData(arrival.body);
    const NSArray* reports = body ? body->array() : nullptr;
    if (!m_story->expect(reports && reports->size() == 1 && reports->front().isDictionary(),
            "the report is a list of one object"))
        return;
    const NSDictionary& report = *reports->front().dictionary();
    m_story->expect(report["sdk"] == Value { ad.network } && report["creativeId"] == Value { ad.creativeId },
        "it names " + report["sdk"].description() + " and creative " + report["creativeId"].description());
    m_story->expect(
        report["type"] == Value { ad.reason }, "its reason is \"" + report["type"].description() + "\"");
    const std::string& screenshot = report["screenshot"].stringOrEmpty();
    m_story->expect(screenshot.starts_with("iVBORw0KGgo"),
        "it carries a screenshot of " + std::to_string(screenshot.size()) + " characters");
    const size_t markup = report["html"].stringOrEmpty().size();
    m_story->expect(markup > 0, "it carries the ad's markup, " + std::to_string(markup) + " characters");
    NSDictionary readable = report;
    readable.set("screenshot", "(" + std::to_string(screenshot.size()) + " characters of base64)");
    m_story->document("report-" + std::to_string(arrival.number) + ".json",
        dataWithJSONObject(NSArray { readable }).value_or(""));
}

void Demo::reportAndDeliver(const Ad& ad)
{
    m_story->chapter(ad.network + ": shown, reported, delivered");
    const auto button = showAd(ad);
    if (!button)
        return;
    const auto listener = make<Listener>();
    send(button, sel::setDelegate, listener);
    const size_t reportsBefore = m_service.reports().size();
    if (!reportAd(ad, button))
        return;
    const bool arrived
        = m_phone->waitUntil([&] { return m_service.reports().size() > reportsBefore; }, patience);
    if (!m_story->expect(arrived, "the report arrives at the service"))
        return;
    checkReport(ad, m_service.reports().back());
    m_story->expect(listener->reasons == std::vector { ad.reason }, "the host's delegate was told");
    const bool confirmed = m_phone->waitUntil(
        [&] { return button->buttonState() == TDReportButtonView::State::Reported; }, patience);
    m_story->expect(confirmed, "the button says \"Ad Reported\"");
    m_phone->wait(0.3);
    m_story->picture(m_phone->screen(), ad.network + "-reported");
    m_story->expect(
        m_phone->waitUntil([&] { return !buttonOn(*ad.banner); }, patience), "and takes itself off the ad");
}

/// On a phone's first launch: the tutorial explains the button before anything else.
void Demo::reportInterstitial()
{
    m_story->chapter("An interstitial, the first this application shows");
    const auto& formats = moPubStandIn().formats;
    const auto format = std::find_if(formats.begin(), formats.end(),
        [](const StandInFormat& candidate) { return std::string_view { candidate.name } == "interstitial"; });
    StandInAd ad(*m_phone->window().rootViewController());
    ad.html = markupOf(LUMORA_DEMO_CREATIVES "/night-train.html");
    format->show(ad);
    m_story->tell("a MoPub interstitial is presented");
    std::shared_ptr<TDReportButtonView> button;
    const bool appeared = m_phone->waitUntil(
        [&] {
            button = buttonOn(*ad.adView);
            return button && button->buttonState() == TDReportButtonView::State::Icon;
        },
        patience);
    if (!m_story->expect(appeared, "the report button has slid in as an icon"))
        return;
    std::shared_ptr<LMInterstitialTutorialView> tutorial;
    const bool explained = m_phone->waitUntil(
        [&] { return (tutorial = find<LMInterstitialTutorialView>(*ad.adView)) != nullptr; }, patience);
    if (!m_story->expect(explained, "on the first launch a tutorial explains it"))
        return;
    // Faded in, and a good way into the pulse.
    m_phone->wait(0.7 + 0.6);
    m_story->picture(m_phone->screen(), "interstitial-tutorial");
    m_phone->tap(*find<LMReportAdViewRoundedButton>(*tutorial));
    m_story->expect(m_phone->waitUntil([&] { return !tutorial->superview(); }, patience),
        "and leaves when the user goes on");
    reportOnSheet(*ad.adView, *button);
}

void Demo::reportOnSheet(UIView& adView, TDReportButtonView& button)
{
    const size_t reportsBefore = m_service.reports().size();
    m_phone->tap(*find<UIImageView>(button));
    const bool opened = m_phone->waitUntil(
        [&] { return button.buttonState() == TDReportButtonView::State::Full; }, patience);
    if (!m_story->expect(opened, "a tap on the icon opens the button"))
        return;
    m_story->picture(m_phone->screen(), "interstitial-button");
    m_phone->tap(button);
    TDSwipableReportViewController* sheet = nullptr;
    const bool shown = m_phone->waitUntil(
        [&] { return (sheet = as<TDSwipableReportViewController>(currentViewController())) != nullptr; },
        patience);
    if (!m_story->expect(shown, "a tap on the button opens the report sheet"))
        return;
    m_phone->wait(0.5);
    m_story->picture(m_phone->screen(), "interstitial-sheet");
    m_phone->tap(*reasonOn(*sheet->view(), "offensive"));
    m_phone->wait(0.4);
    m_story->tell("the user chooses \"offensive\"");
    m_story->picture(m_phone->screen(), "interstitial-reason");
    const bool arrived
        = m_phone->waitUntil([&] { return m_service.reports().size() > reportsBefore; }, patience);
    m_story->expect(arrived, "the report arrives at the service");
    m_story->expect(
        m_phone->waitUntil(
            [&] { return button.buttonState() == TDReportButtonView::State::Reported; }, patience),
        "the button says \"Ad Reported\"");
    m_phone->wait(0.4);
    m_story->picture(m_phone->screen(), "interstitial-reported");
    m_story->expect(
        m_phone->waitUntil([&] { return !buttonOn(adView); }, patience), "and takes itself off the ad");
}

/// An ad that nobody touches goes somewhere by itself. The engine in memory runs no scripts, so there it
/// stays.
void Demo::watchARunaway()
{
    m_story->chapter("An ad that leaves by itself");
    StandInAd ad(*m_phone->window().rootViewController());
    ad.html = markupOf(LUMORA_DEMO_CREATIVES "/runaway.html");
    amazonStandIn().formats.front().show(ad);
    m_story->tell("an Amazon banner loads, and nobody touches it");
    if (!m_arguments.pageEngineBecause.empty())
        return m_story->tell("its script does not run in the engine in memory: nothing happens");
    const NSDictionary redirect = amazonsEvent("redirect");
    if (!m_story->expect(!redirect.empty(), "the service is told of a redirect that nobody tapped"))
        return;
    m_story->expect(redirect["redirectUrl"] == Value { "https://prizes.example.com/claim?from=ad" },
        "it leads to " + redirect["redirectUrl"].description());
    m_story->expect(redirect["html"].stringOrEmpty().find("You have won") != std::string::npos,
        "the event carries the page");
    m_story->expect(!amazonsEvent("alert").empty(), "and of the dialog in its markup");
    m_story->picture(m_phone->screen(), "runaway");
}

NSDictionary Demo::amazonsEvent(const char* type)
{
    NSDictionary found;
    m_phone->waitUntil(
        [&] {
            for (const Arrival& report : m_service.reports()) {
                const NSDictionary event = soleObjectIn(report.body);
                if (event["type"] == Value { type } && event["sdk"] == Value { "Amazon" })
                    found = event;
            }
            return !found.empty();
        },
        patience);
    return found;
}

/// An ad plays a video over the whole screen that nobody asked for. The library presses its button.
void Demo::endAVideo()
{
    m_story->chapter("An ad that starts a video");
    const std::string video = "file://" LUMORA_DEMO_CREATIVES "/ball.webm";
    StandInAd ad(*m_phone->window().rootViewController());
    ad.html = markupOf(LUMORA_DEMO_CREATIVES "/cinema.html");
    ad.html.replace(ad.html.find("TRAILER"), std::strlen("TRAILER"), video);
    amazonStandIn().formats.front().show(ad);
    m_story->tell("an Amazon banner loads, whose page names a video");
    const auto isKnown
        = [&] { return AdProcessingManager::sharedInstance().getProcessorBy(ad.adView.get()) != nullptr; };
    if (!m_story->expect(m_phone->waitUntil(isKnown, patience), "the library knows the ad"))
        return;
    const auto controller = alloc<AVPlayerViewController>();
    send(controller, sel::init);
    const auto player = AVPlayer::playerWithPlayerItem(AVPlayerItem::playerItemWithURL({ video }));
    controller->setPlayer(player);
    player->play();
    UIViewController* const page = currentViewController();
    page->presentViewController(controller, false);
    m_story->tell("the ad plays it over everything");
    if (m_arguments.videoDecoderBecause.empty()) {
        m_phone->wait(0.7);
        m_story->picture(m_phone->screen(), "video");
    } else {
        m_story->tell("no picture of it: " + m_arguments.videoDecoderBecause);
    }
    const NSDictionary event = amazonsEvent("autoplay");
    m_story->expect(event["video"] == Value { video }, "the service is told of a video that plays by itself");
    m_story->expect(player->rate() == 0 && !player->currentItem(), "the video has ended");
    m_story->expect(m_phone->waitUntil([&] { return currentViewController() == page; }, patience),
        "and the application's page is back");
    m_phone->wait(0.5);
    m_story->picture(m_phone->screen(), "video-ended");
}

void Demo::reportWhileServiceIsAway(const Ad& ad)
{
    m_story->chapter("The service goes away");
    setServiceAway(true);
    const auto button = showAd(ad);
    if (!button || !reportAd(ad, button))
        return;
    m_story->expect(m_phone->waitUntil([&] { return !buttonOn(*ad.banner); }, patience),
        "the report fails and the button goes");
}

void Demo::restartAndDeliver(const Ad& ad)
{
    m_story->chapter("The phone is killed, the service comes back, the phone restarts");
    const size_t reportsBefore = m_service.reports().size();
    m_app.reset();
    m_phone->kill();
    setServiceAway(false);
    m_phone->boot();
    startLibrary();
    const bool arrived
        = m_phone->waitUntil([&] { return m_service.reports().size() > reportsBefore; }, patience);
    if (m_story->expect(arrived, "the kept report arrives"))
        checkReport(ad, m_service.reports().back());
    m_phone->wait(1);
    m_story->expect(m_service.reports().size() == reportsBefore + 1, "and arrives once");
}

int Demo::run()
{
    m_story->chapter("The phone boots");
    m_story->tell(m_arguments.virtualTime ? "the services answer in process, under the virtual clock"
                                          : "the services answer at " + m_server.collectorURL());
    m_story->tell(m_arguments.pageEngineBecause.empty()
            ? "the ads' pages are in the real web engine"
            : "the ads' pages are in the engine in memory: " + m_arguments.pageEngineBecause);
    startLibrary();
    receiveLog();
    m_story->picture(m_phone->screen(), "boot");
    reportInterstitial();
    const auto& creatives = m_arguments.creatives;
    for (size_t i = 0; i < creatives.size(); i += 2) {
        reportAndDeliver(moPub(creatives[i], "offensive", "dsp-" + std::to_string(7001 + i)));
        reportAndDeliver(
            adMob(creatives[std::min(i + 1, creatives.size() - 1)], "fraud", std::to_string(12345 + i)));
    }
    watchARunaway();
    endAVideo();
    m_story->chapter("Every network: shown, reported, delivered");
    reportEveryNetwork(*m_phone, m_service, *m_story);
    Ad last = moPub(creatives.front(), "repetitive", "dsp-7999");
    reportWhileServiceIsAway(last);
    last.banner.reset();
    last.load = nullptr;
    restartAndDeliver(last);
    m_story->chapter("The end");
    m_story->tell(m_story->failures() == 0 ? "everything expected happened"
                                           : std::to_string(m_story->failures()) + " expectations failed");
    m_story->writePage();
    m_app.reset();
    std::printf("\npictures and timeline: %s\n", (m_arguments.folder / "index.html").c_str());
    return m_story->failures() == 0 ? 0 : 1;
}

Arguments parsed(int argc, char** argv)
{
    Arguments arguments;
    for (int i = 1; i < argc; i++) {
        const std::string_view argument = argv[i];
        if (argument == "--virtual")
            arguments.virtualTime = true;
        else if (argument == "--out" && i + 1 < argc)
            arguments.folder = argv[++i];
        else if (argument.starts_with("--"))
            throw std::invalid_argument("usage: demo [--virtual] [--out FOLDER] [creative.html ...]");
        else if (std::filesystem::is_regular_file(argument))
            arguments.creatives.emplace_back(argument);
        else
            throw std::invalid_argument(std::string { argument } + ": no such file");
    }
    // Asked here, before there are threads.
    const std::string noRealTime = "the clock is virtual";
    arguments.pageEngineBecause = arguments.virtualTime ? noRealTime : webKitEngineProblem();
    arguments.videoDecoderBecause = arguments.virtualTime ? noRealTime : gstreamerProblem();
    if (arguments.creatives.empty())
        arguments.creatives = { LUMORA_DEMO_CREATIVES "/coffee.html", LUMORA_DEMO_CREATIVES "/trail.html" };
    return arguments;
}

} // namespace
} // namespace lumora

int main(int argc, char** argv)
{
    try {
        return lumora::Demo(lumora::parsed(argc, argv)).run();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "demo: %s\n", exception.what());
        return 2;
    }
}
