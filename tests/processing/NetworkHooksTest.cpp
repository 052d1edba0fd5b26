#include "interception/AdViewSearch.h"
#include "interception/Swizzling.h"
#include "lumora/LMLog.h"
#include "processing/AdProcessingManager.h"
#include "processing/ProcessorsManager.h"
#include "simulator/networks/StandIns.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

class NetworkHooksTest : public testing::Test {
protected:
    NetworkHooksTest() { world.start(); }

    static std::shared_ptr<Object> adColonyAd(bool (*show)(id, SEL, id))
    {
        auto ad = standInObject("AdColonyInterstitial");
        class_replaceMethod(standInClass("AdColonyInterstitial", classOf<NSObject>()),
            "showWithPresentingViewController:"_sel, show, &methodEncoding<bool, id>());
        send(NSClassFromString("LMAdColonySwizzler"), sel::swizzleMethods);
        return ad;
    }
    static void showOver(const std::shared_ptr<Object>& ad, UIViewController& page)
    {
        send<bool>(ad.get(), "showWithPresentingViewController:"_sel, &page);
    }
    /// The classes of the processors there are.
    std::string processors()
    {
        world.phone.wait(0);
        std::string names;
        for (const auto& processor : ProcessorsManager::sharedInstance().getAllProcessors())
            names += processor->isa()->name() + " ";
        return names;
    }

    test::World world { { .adjust = [](Phone::Options& phone) {
        phone.onBoot = [] {
            for (const StandInNetwork* network :
                { &googleStandIn(), &moPubStandIn(), &smaatoStandIn(), &verveStandIn(), &rubiconStandIn() })
                network->install();
        };
    } } };
    UIViewController& page { *world.phone.window().rootViewController() };
};

TEST_F(NetworkHooksTest, WhatShowsNothingHandsNothingOver)
{
    const auto interstitial = standInObject("GADInterstitial");
    send<void>(interstitial.get(), "adLoadCompletedWithError:"_sel, standInObject("Error").get());
    const auto refused = adColonyAd([](id, SEL, id) { return false; });
    showOver(refused, page);
    const auto raising = adColonyAd([](id, SEL, id) -> bool { throw std::runtime_error("no ad"); });
    EXPECT_THROW(showOver(raising, page), std::runtime_error);
    std::shared_ptr<Object> gone = standInObject("GADInterstitial");
    send<void>(gone.get(), "adLoadCompletedWithError:"_sel, id {});
    gone = nullptr;
    EXPECT_EQ(processors(), "");
}

TEST_F(NetworkHooksTest, SomeCallsShowAnAdAndSomeDoNot)
{
    const auto isSeen = [&](const std::shared_ptr<Object>& receiver, const char* selector, auto... argument) {
        const auto count = [&] {
            const auto lines = world.phone.console().lines();
            return std::count(lines.begin(), lines.end(), "[Lumora] [Lumora] User sees an AD");
        };
        const auto before = count();
        send<void>(receiver.get(), sel_registerName(selector), argument...);
        world.phone.wait(0);
        return count() > before;
    };
    LMLog::setLogLevel(0);
    const auto native = standInView("GADUnifiedNativeAdView", { 320, 50 });
    EXPECT_FALSE(isSeen(native, "setNativeAd:", id {}));
    EXPECT_TRUE(isSeen(native, "setNativeAd:", id { standInObject("GADUnifiedNativeAd").get() }));
    const auto banner = standInView("RFMAdView", { 320, 50 });
    EXPECT_FALSE(isSeen(banner, "didMoveToWindow"));
    world.phone.content().addSubview(banner);
    EXPECT_EQ(processors(), "LMRubiconProcessor ");
    for (const auto& [kind, seen] : { std::pair { "SOMAAdView", true }, { "SOMAMediatedAdView", false } })
        EXPECT_EQ(isSeen(standInView(kind, { 320, 50 }), "renderedAdViewDidFinishedRendering:",
                      id { standInView("SOMARenderedAdView", { 320, 50 }).get() }),
            seen)
            << kind;
    const auto controller
        = alloc<Object>(standInClass("VWFullscreenAdViewController", classOf<UIViewController>()));
    for (const auto& [kind, seen] : { std::pair { "VWInterstitialAd", true }, { "VWExpandedAd", false } })
        EXPECT_EQ(
            isSeen(controller, "adViewDidFinishLoadingAd:", id { standInView(kind, { 320, 50 }).get() }),
            seen)
            << kind;
}

TEST_F(NetworkHooksTest, WhatIsUnderstoodGoesBeforeWhatIsOnlyThere)
{
    const auto banner = standInView("MPAdView", { 320, 50 });
    send<void>(banner.get(), "managerDidLoadAd:"_sel, standInView("Content", { 320, 50 }).get());
    EXPECT_EQ(processors(), "LMMoPubBannerProcessor ");
    EXPECT_NE(AdProcessingManager::sharedInstance().getProcessorBy(banner.get()), nullptr);
}

TEST_F(NetworkHooksTest, AnAdIsHandedOverOnceItIsInItsPlaceFromAnyThread)
{
    const auto interstitial = standInObject("GADInterstitial");
    std::thread network([&] {
        for (int i = 0; i < 2; i++)
            send<void>(interstitial.get(), "adLoadCompletedWithError:"_sel, id {});
    });
    network.join();
    EXPECT_EQ(AdProcessingManager::sharedInstance().getProcessorBy(interstitial.get()), nullptr);
    EXPECT_EQ(processors(), "LMGADInterstitialProcessor ") << "the second time it is renewed";

    const auto manager = standInObject("MPInterstitialAdManager",
        { { "_delegate",
            alloc<Object>(standInClass("MPInterstitialAdController", classOf<UIViewController>())) } });
    send<void>(manager.get(), "presentInterstitialFromViewController:"_sel, &page);
    EXPECT_EQ(processors(), "LMGADInterstitialProcessor LMMoPubInterstitialProcessor ");
}

TEST_F(NetworkHooksTest, TheViewThatShowsAnAdStandsForItAndTakesItsTaps)
{
    const auto ad = adColonyAd([](id, SEL, id) { return true; });
    showOver(ad, page);
    ASSERT_EQ(processors(), "LMAdColonyInterstitialProcessor ");
    const auto processor = AdProcessingManager::sharedInstance().getProcessorBy(ad.get());
    EXPECT_EQ(processor->viewForTakingScreenshot(), nullptr) << "nothing of its kind is on top";

    const auto container = alloc<UIViewController>(standInClass("ADCContainer", classOf<UIViewController>()));
    const auto webView = creativeView("<h1>Ad</h1>", world.phone.window().bounds().size);
    container->view()->addSubview(webView);
    page.presentViewController(container, false);
    EXPECT_EQ(processor->viewForTakingScreenshot(), webView);
    processor->viewForTakingScreenshot();
    world.phone.tap(*webView);
    EXPECT_GT(processor->tapTimestamp(), 0);
    EXPECT_EQ(webView->gestureRecognizers().size(), 4u) << "listened to once";
    std::string markup;
    processor->getNewHTMLWithPurpose(
        HTMLPurpose::AdRecord, [&](bool, const std::string& html) { markup = html; });
    world.phone.wait(1);
    EXPECT_NE(markup.find("<h1>Ad</h1>"), std::string::npos);
    EXPECT_EQ(AdProcessingManager::sharedInstance().getProcessorReversedBy(webView.get()), processor);
    const auto next = class_createInstance(ad->isa());
    AdProcessingManager::logAd(next, false);
    EXPECT_EQ(
        AdProcessingManager::sharedInstance().getProcessorBy(next.get())->viewForTakingScreenshot(), nullptr)
        << "another ad's page";
}

TEST_F(NetworkHooksTest, AdsThatShareAViewListenToItOnceEach)
{
    const auto view = standInView("Shared", { 320, 50 });
    const auto shown = [&](const std::shared_ptr<Object>& ad) {
        AdProcessingManager::logAd(ad, false);
        return AdProcessingManager::sharedInstance().getProcessorBy(ad.get());
    };
    auto first = standInObject("MMWebComponent", { { "view", view } });
    const auto second = standInObject("MMWebComponent", { { "view", view } });
    const auto processors = { shown(first), shown(second) };
    for (int look = 0; look < 3; look++) {
        for (const auto& processor : processors)
            EXPECT_EQ(processor->viewForTakingScreenshot(), view);
    }
    EXPECT_EQ(view->gestureRecognizers().size(), 2 * 4u);
    first.reset();
    const auto third = standInObject("MMWebComponent", { { "view", view } });
    shown(third)->viewForTakingScreenshot();
    EXPECT_EQ(view->gestureRecognizers().size(), 2 * 4u) << "the first is gone";
}

TEST_F(NetworkHooksTest, OfThePagesThatAnAdOwnsTheOneThatIsUnderstoodIsTheAd)
{
    const auto endCard = standInView("WKWebView", { 320, 50 });
    const auto page = alloc<WKWebView>(standInClass("SOMAWKWebView", classOf<WKWebView>()));
    const auto ad = standInObject("SOMAInterstitialAdView", { { "_endCard", endCard }, { "_page", page } });
    const AdViewSearch search;
    EXPECT_EQ(search.find(ad), endCard) << "the nearest";
    EXPECT_EQ(search.find(ad, [&](UIView& view) { return &view == page.get(); }), page);
}

} // namespace
} // namespace lumora
