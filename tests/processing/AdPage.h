#pragma once

#include "platform/webkit/PageEngine.h"
#include "platform/webkit/WKWebView.h"
#include "processing/AdProcessingManager.h"
#include "processing/ProcessorsManager.h"
#include "simulator/networks/StandInObjects.h"
#include "tests/platform/webkit/NavigationDiary.h"
#include "tests/world/World.h"

namespace lumora::test {

inline constexpr const char* recordWithMarkup
    = R"({"active": true, "ttlConfig": 100000, "reportHTML": true, "eventHTML": true, "inspectHTML": true})";

/// A phone on which a network shows an ad: a web view in a banner of its own, its delegate a diary of a class
/// that the network's processor is known by.
struct AdPage {
    explicit AdPage(
        const char* record = recordWithMarkup, bool starts = true,
        const WebEngineFactory& makeEngine = [] { return std::make_shared<PageEngine>(); })
        : world(World::Options { .record = record })
    {
        setWebEngineFactory([this, makeEngine] { return engine = makeEngine(); });
        diary = alloc<NavigationDiary>(ClassBuilder("AMMRAdView", classOf<NavigationDiary>()).build());
        if (starts)
            world.start();
        banner->setFrame({ { 10, 100 }, { 320, 50 } });
        view = alloc<WKWebView>();
        send(view, sel::initWithFrame, banner->bounds());
        banner->addSubview(view);
        world.phone.content().addSubview(banner);
        send(view, sel::setNavigationDelegate, diary);
    }
    /// A page that is one link, and time for it to finish.
    void load(const std::string& link, const std::string& more = "")
    {
        const std::string html
            = "<body style='margin:0'><a href='" + link + "'><img width=320 height=50></a>" + more;
        view->loadHTMLString(html, "https://ads.example.com/a");
        world.phone.wait(1);
    }
    /// Lets an engine that runs outside the virtual clock go on, until something has happened.
    bool waitFor(const std::function<bool()>& condition)
    {
        constexpr double realSeconds = 20;
        return world.phone.clock().drainUntil(condition, realSeconds);
    }
    /// The page follows its link by itself.
    void followLink()
    {
        engine->tapAt({ 20, 20 }, view->bounds().size);
        world.phone.wait(1);
    }
    std::shared_ptr<LMAdViewProcessor> processor() const
    {
        return AdProcessingManager::sharedInstance().getProcessorBy(view.get());
    }
    /// What arrived, one word an event.
    std::string events() const
    {
        std::string types;
        for (const auto& report : world.service.reports())
            types += soleObjectIn(report.body)["type"].stringOrEmpty() + " ";
        return types;
    }

    World world;
    std::shared_ptr<WebEngine> engine;
    std::shared_ptr<NavigationDiary> diary;
    std::shared_ptr<UIView> banner { make<UIView>() };
    std::shared_ptr<WKWebView> view;
};

} // namespace lumora::test
