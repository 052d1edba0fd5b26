#include "core/TDActivationManager.h"
#include "core/TDConfig.h"
#include "lumora/LMLog.h"
#include "processing/AdProcessingManager.h"
#include "processing/ProcessorsManager.h"
#include "processing/ProxyDelegate.h"
#include "service/LMEventsManager.h"
#include "simulator/networks/StandIns.h"
#include "support/NSDateExtensions.h"
#include "support/UIViewExtensions.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace lumora {
namespace {

using test::World;
using Networks = std::vector<const StandInNetwork*>;

/// A host with the SDKs of many networks, and an hour in which it shows their ads, its user taps, the pages
/// follow links, and the service, the configuration and the application come and go. Books are kept of every
/// event that was raised.
class Hour {
public:
    Hour(Networks networks, unsigned seed)
        : m_networks(std::move(networks))
        , m_random(seed)
    {
        LMLog::setLogLevel(0);
        world.start();
    }

    void run(double seconds)
    {
        const double end = world.phone.process().now() + seconds;
        while (world.phone.process().now() < end) {
            act(upTo(11));
            takeReceived();
            world.phone.wait(0.25 * upTo(8));
        }
        world.setServiceAway(false);
        setRecord(true);
        while (!m_ads.empty())
            hide();
        // Past the time between two passes, and the longest look at an ad that is gone.
        world.phone.wait(400);
    }

    /// Shows an ad, if nothing is in its way, and lets its page go somewhere so many times.
    void followLinks(size_t times)
    {
        // What was presented before may still be going away.
        world.phone.wait(0.5);
        show();
        for (size_t i = 0; i < times && !m_ads.empty(); i++)
            followLink(*m_ads.back());
    }

    /// Closes the books: what was raised was delivered, is stored, was merged with another event that waited
    /// for the same ad since the same second, or was dropped by the gate, which says so.
    void expectNothingLost(const std::set<std::string>& stored)
    {
        std::set<std::string> there = stored;
        for (const auto& report : world.service.reports()) {
            const NSDictionary event = soleObjectIn(report.body);
            there.insert(identity(event["redirectUrl"].stringOrEmpty(), event["type"].stringOrEmpty()));
        }
        size_t clicked = 0;
        size_t missing = 0;
        size_t merged = 0;
        for (const Raised& raised : m_raised) {
            clicked += raised.times;
            if (there.contains(raised.name))
                continue;
            missing += raised.times;
            const bool isMerged = std::any_of(m_raised.begin(), m_raised.end(), [&](const Raised& other) {
                return !raised.waits.empty() && other.waits == raised.waits && there.contains(other.name);
            });
            merged += isMerged ? raised.times : 0;
        }
        EXPECT_EQ(linesWith("Clicked action"), clicked);
        EXPECT_EQ(missing - merged, linesWith("event is dropped")) << merged << " merged of " << clicked;
        for (const std::string& reason : m_reasons)
            EXPECT_TRUE(there.contains(reason)) << reason;
    }
    static std::set<std::string> stored()
    {
        std::set<std::string> names;
        for (const auto& event : LMEventsSaverUserDefaultsProvider().getAllEvents())
            names.insert(identity(event->redirectUrl().value_or(""), event->type().value_or("")));
        return names;
    }
    size_t linesWith(const std::string& text) const
    {
        const auto lines = world.phone.console().lines();
        return static_cast<size_t>(std::count_if(lines.begin(), lines.end(),
            [&](const std::string& line) { return line.find(text) != std::string::npos; }));
    }
    size_t viewsAlive() const
    {
        return static_cast<size_t>(
            std::count_if(m_views.begin(), m_views.end(), [](const auto& view) { return !view.expired(); }));
    }
    size_t eventsRaised() const { return m_raised.size() + m_reasons.size(); }
    size_t adsShown() const { return m_views.size(); }

private:
    struct Raised {
        std::string name;
        /// Each proxy in front of another raises its own.
        size_t times;
        /// For which ad since which second it waits for a processor; empty if the ad has one.
        std::string waits;
    };

    static std::string identity(const std::string& url, const std::string& type)
    {
        return url.empty() ? type : url;
    }
    World::Options options()
    {
        return { .record = record(true), .adjust = [this](Phone::Options& phone) {
                    phone.onBoot = [this] {
                        for (const StandInNetwork* network : m_networks)
                            network->install();
                    };
                    phone.screen
                        = { .width = 320, .height = 120, .scale = 1, .safeAreaTop = 0, .safeAreaBottom = 0 };
                } };
    }
    unsigned upTo(unsigned most) { return std::uniform_int_distribution<unsigned>(0, most)(m_random); }

    void act(unsigned action)
    {
        switch (action) {
        case 0:
        case 1:
        case 2:
            return m_ads.size() < 12 ? show() : hide();
        case 3:
            return hide();
        case 4:
        case 5:
            return withAd([this](StandInAd& ad) { followLink(ad); });
        case 6:
            return withAd([this](StandInAd& ad) { world.phone.tap(*ad.adView); });
        case 7:
            return withAd([this](StandInAd& ad) { report(ad); });
        case 8:
            return withAd([](StandInAd& ad) {
                if (const auto page = pageOf(ad))
                    page->reload();
            });
        case 9:
            return setRecord(upTo(3) != 0);
        case 10:
            world.phone.sendToBackground();
            world.phone.wait(upTo(20));
            return world.phone.bringToForeground();
        default:
            return world.setServiceAway(upTo(2) == 0);
        }
    }

    static std::string record(bool active)
    {
        return std::string {
            R"({"ttlConfig": 500, "reportHTML": true, "eventHTML": true, "inspectHTML": true,)"
        }
        + R"("retryAfter": 60, "retryLimit": -1, "active": )" + (active ? "true}" : "false}");
    }
    void setRecord(bool active)
    {
        world.service.setRecord(record(active));
        TDActivationManager::sharedInstance().getNewConfig();
        if (upTo(1) == 0)
            world.phone.wait(1);
    }

    void show()
    {
        UIViewController& screen = *world.phone.window().rootViewController();
        if (screen.presentedViewController())
            return hide();
        const StandInNetwork& network = *m_networks[upTo(static_cast<unsigned>(m_networks.size()) - 1)];
        const StandInFormat& format
            = network.formats[upTo(static_cast<unsigned>(network.formats.size()) - 1)];
        auto ad = std::make_unique<StandInAd>(screen, static_cast<int>(upTo(format.places - 1)));
        format.show(*ad);
        world.phone.wait(0.5 * upTo(3));
        if (ad->adView)
            m_views.push_back(ad->adView);
        m_ads.push_back(std::move(ad));
    }
    void hide()
    {
        if (!m_ads.empty())
            m_ads.pop_front();
    }
    template <typename F> void withAd(const F& does)
    {
        if (m_ads.empty())
            return;
        StandInAd& ad = *m_ads[upTo(static_cast<unsigned>(m_ads.size()) - 1)];
        if (ad.adView)
            does(ad);
    }

    static std::shared_ptr<WKWebView> pageOf(const StandInAd& ad)
    {
        auto page = as<WKWebView>(std::static_pointer_cast<Object>(ad.adView));
        return page || !ad.adView ? page : getWebView(*ad.adView);
    }
    /// The page asks to go somewhere, without a finger on it.
    void followLink(StandInAd& ad)
    {
        const auto page = pageOf(ad);
        const auto delegate = page ? page->navigationDelegate() : nullptr;
        const size_t layers = ProxyDelegate::layers(delegate.get());
        if (!delegate || !delegateAnswers(*delegate, sel::webViewDecidePolicyForNavigationAction))
            return;
        AdProcessingManager& front = AdProcessingManager::sharedInstance();
        const std::string url = "https://shop.example.com/" + std::to_string(++m_number);
        if (layers > 0 && !front.didUserTapOnView(page.get())) {
            const auto second = static_cast<int64_t>(serverTimeIntervalSince1970());
            const bool waits = !front.getProcessorBy(page.get());
            m_raised.push_back(
                { url, layers, waits ? page->description() + std::to_string(second) : std::string {} });
        }
        send(delegate, sel::webViewDecidePolicyForNavigationAction, page,
            WKNavigationAction::with({ .url = url }, WKNavigationType::LinkActivated),
            WKDecisionHandler { [](int64_t) {} });
    }
    void report(StandInAd& ad)
    {
        const auto button = test::buttonOn(*ad.adView);
        if (!button)
            return;
        m_reasons.push_back("reason " + std::to_string(++m_number));
        button->buttonHandler()->sendReportWithInfo(m_reasons.back());
    }

    Networks m_networks;
    std::mt19937 m_random;

public:
    World world { options() };

private:
    std::deque<std::unique_ptr<StandInAd>> m_ads;
    std::vector<std::weak_ptr<UIView>> m_views;
    std::vector<Raised> m_raised;
    std::vector<std::string> m_reasons;
    size_t m_number { 0 };
};

TEST(HourTest, EveryEventOfAllNetworksIsAccountedFor)
{
    for (const unsigned seed : { 1, 2, 3 }) {
        SCOPED_TRACE(seed);
        Hour hour(allStandIns(), seed);
        hour.run(3600);
        hour.expectNothingLost(Hour::stored());
        EXPECT_EQ(hour.viewsAlive(), 0u) << "of " << hour.adsShown();
        EXPECT_GT(hour.eventsRaised(), 30u);
        EXPECT_GT(ProcessorsManager::sharedInstance().count(), 40u) << "they stay";
    }
}

TEST(HourTest, WhatTheRetryRuleDropsIsCounted)
{
    Hour hour(allStandIns(), 20);
    hour.run(600);
    TDActivationManager::sharedInstance().getNewConfig();
    hour.world.phone.wait(1);
    hour.world.setServiceAway(true);
    for (int ad = 0; ad < 400 && Hour::stored().size() <= 5; ad++)
        hour.followLinks(3);
    EXPECT_GT(Hour::stored().size(), 5u);
    hour.world.phone.wait(30);
    const std::set<std::string> stored = Hour::stored();
    hour.expectNothingLost(stored);
    const NSDictionary noTries { { "retryLimit", 0 } };
    LMEventsManager::shared().newConfigArrived(TDConfig::initWithDictionary(&noTries).get());
    hour.world.phone.wait(120);
    EXPECT_TRUE(Hour::stored().empty());
    EXPECT_EQ(hour.linesWith("no tries left, " + std::to_string(stored.size()) + " events are dropped"), 1u);
}

TEST(HourTest, AMediatorsHostIsAccountedForToo)
{
    Networks networks = allStandIns();
    networks.push_back(&aatKitStandIn());
    Hour hour(networks, 3);
    hour.run(3600);
    hour.expectNothingLost(Hour::stored());
    EXPECT_EQ(hour.viewsAlive(), 0u);
    EXPECT_EQ(hour.linesWith("Processor is nil"), 0u);
}

} // namespace
} // namespace lumora
