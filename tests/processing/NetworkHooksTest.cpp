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

} // namespace
} // namespace lumora
