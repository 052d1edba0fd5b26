#include "processing/LMNetworkProcessor.h"

#include "processing/AdProcessingManager.h"
#include "simulator/networks/StandInObjects.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(LMNetworkProcessorTest, TheViewThatShowsAnAdStandsForItAndTakesItsTaps)
{
    test::StartedWorld world;
    UIViewController& page = *world.phone.window().rootViewController();
    const auto ad = standInObject("AdColonyInterstitial");
    AdProcessingManager::logAd(ad, false);
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

TEST(LMNetworkProcessorTest, AdsThatShareAViewListenToItOnceEach)
{
    test::StartedWorld world;
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
    auto third = standInObject("MMWebComponent", { { "view", view } });
    shown(third)->viewForTakingScreenshot();
    EXPECT_EQ(view->gestureRecognizers().size(), 2 * 4u) << "the first is gone";
    third.reset();
    shown(second)->viewForTakingScreenshot();
    EXPECT_EQ(view->gestureRecognizers().size(), 4u);
}

} // namespace
} // namespace lumora
