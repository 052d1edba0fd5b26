#include "interception/ReportButtonAttachment.h"

#include "interception/ScreenshotView.h"
#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UINavigationController.h"
#include "simulator/networks/StandIns.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <thread>

namespace lumora {
namespace {

/// A host whose page shows a web view of its own.
class ReportButtonAttachmentTest : public testing::Test {
protected:
    ReportButtonAttachmentTest()
    {
        world.start();
        world.phone.content().addSubview(webView);
    }
    std::shared_ptr<UIViewController> controllerWithWebView() const
    {
        auto controller = make<UIViewController>();
        controller->view()->addSubview(webView);
        return controller;
    }
    UIViewController& page() const { return *world.phone.window().rootViewController(); }
    void presentAd(const std::function<void()>& behaviour)
    {
        setBehaviour(*manager, [behaviour] {
            behaviour();
            return nullptr;
        });
        send<void>(manager.get(), "presentInterstitialFromViewController:"_sel, &page());
    }
    bool hasButton()
    {
        world.phone.wait(1.1);
        return test::buttonOn(world.phone.window()) != nullptr;
    }

    test::World world { { .adjust = [](Phone::Options& phone) {
        phone.onBoot = [] {
            for (const auto* network : { &googleStandIn(), &moPubStandIn(), &ironsourceStandIn() })
                network->install();
            ClassBuilder("IMBanner", classOf<UIView>())
                .method("bannerViewDidLoadAd:"_sel, &standInMethod<void, id>);
        };
    } } };
    const std::shared_ptr<UIView> webView { creativeView("<h1>Ours</h1>", { 320, 250 }) };
    const std::shared_ptr<Object> manager { standInObject("MPInterstitialAdManager") };
};

TEST_F(ReportButtonAttachmentTest, WhatBelongsToTheHostGetsNoButton)
{
    const auto host = standInObject("Host", { { "webView", webView } });
    const auto ad = standInObject("GADInterstitial", { { "_delegate", Value::weak(host) } });
    send<void>(ad.get(), "adLoadCompletedWithError:"_sel, standInObject("Error").get());
    EXPECT_FALSE(hasButton()) << "the delegate's, after a load that failed";
    page().presentViewController(controllerWithWebView(), false);
    presentAd([] {});
    EXPECT_FALSE(hasButton()) << "a modal of its own, when the ad presents nothing";
}

TEST_F(ReportButtonAttachmentTest, AnAdInAPresentedNavigationControllerIsFound)
{
    presentAd([this] {
        const auto navigation = make<UINavigationController>();
        navigation->pushViewController(controllerWithWebView(), false);
        page().presentViewController(navigation, false);
    });
    EXPECT_TRUE(hasButton());
}

TEST_F(ReportButtonAttachmentTest, AMethodThatRaisesLeavesNoButtonAndItsException)
{
    object_setInstanceVariable(*manager, "_webView", webView);
    EXPECT_THROW(presentAd([] { throw std::runtime_error("no ad"); }), std::runtime_error);
    EXPECT_FALSE(hasButton());
}

TEST_F(ReportButtonAttachmentTest, AMethodMayLetGoOfItsReceiver)
{
    std::shared_ptr<Object> native = standInObject("MPNativeAd");
    setBehaviour(*native, [&] {
        native = nullptr;
        return webView;
    });
    send<std::shared_ptr<Object>>(native.get(), "retrieveAdViewWithError:"_sel, static_cast<void*>(nullptr));
    EXPECT_TRUE(hasButton());
}

TEST_F(ReportButtonAttachmentTest, AnotherThreadsCallsGoOnOnTheMainThread)
{
    const auto banner = MoPubStandIn::makeBanner({ 300, 250 });
    const auto publisher = standInObject("SupersonicAdsPublisher");
    const auto adsView = make<UIView>(), content = make<UIView>();
    content->addSubview(webView);
    for (const auto& view : { content, adsView })
        world.phone.content().addSubview(view);
    std::thread network([&] {
        send<void>(banner.get(), "managerDidLoadAd:"_sel, content.get());
        send<void>(publisher.get(), "setSupersonicAdsView:"_sel, adsView.get());
        send<void>(banner.get(), "managerDidLoadAd:"_sel, id {});
    });
    for (int i = 0; i < 50; i++) {
        content->addSubview(make<UIView>());
        adsView->addSubview(make<UIView>());
    }
    network.join();
    EXPECT_TRUE(hasButton());
    EXPECT_TRUE(test::buttonOn(*webView));
    EXPECT_TRUE(test::buttonOn(*adsView));
}

TEST_F(ReportButtonAttachmentTest, TheOtherNameOfAMomentIsHooked)
{
    const auto banner = standInView("IMBanner", { 320, 50 });
    world.phone.content().addSubview(banner);
    send<void>(banner.get(), "bannerViewDidLoadAd:"_sel, id {});
    EXPECT_TRUE(hasButton());
}

TEST_F(ReportButtonAttachmentTest, PhotographsTheVideoElseWhatFillsTheScreen)
{
    const auto detached = make<UIView>();
    EXPECT_FALSE(screenshotViewOf(nullptr));
    EXPECT_FALSE(screenshotViewOf(manager.get()));
    EXPECT_FALSE(screenshotViewOf(detached.get()));
    EXPECT_EQ(screenshotViewOf(webView.get()).get(), &world.phone.content());
    const auto item = AVPlayerItem::playerItemWithURL({ "https://cdn.example/a.mp4" });
    world.phone.content().layer().addSublayer(
        AVPlayerLayer::playerLayerWithPlayer(AVPlayer::playerWithPlayerItem(item)));
    item->setCurrentFrame({ 2, 2, std::vector<uint8_t>(16, 255), 1 });
    const auto picture = as<UIImageView>(screenshotViewOf(webView.get()));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->bounds().size, webView->bounds().size);
}

} // namespace
} // namespace lumora
