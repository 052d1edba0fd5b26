#include "processing/FakeAdController.h"

#include "processing/ProxyDelegate.h"
#include "tests/processing/AdPage.h"
#include "tests/service/Events.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::AdPage;
using test::eventOf;

TEST(FakeAdControllerTest, ALinkThatNobodyTappedIsARedirect)
{
    AdPage ad;
    ad.load("https://shop.example.com/x", "<p>creative</p>");
    ad.diary->policy = WKNavigationPolicyCancel;
    ad.followLink();
    const NSDictionary report = ad.world.lastReport();
    EXPECT_EQ(report["type"], Value { "redirect" });
    EXPECT_EQ(report["redirectUrl"], Value { "https://shop.example.com/x" });
    EXPECT_EQ(report["sdk"], Value { "Amazon" });
    EXPECT_EQ(report["adType"], Value { "html" });
    EXPECT_NE(report["screenshot"], Value { "" });
    EXPECT_NE(report["html"].stringOrEmpty().find("<p>creative</p>"), std::string::npos);
    EXPECT_TRUE(ad.diary->lines.ends_with("asked 0 https://shop.example.com/x")) << "the network decides";

    ad.diary->lines.clear();
    ad.world.phone.tap(*ad.view);
    ad.world.phone.wait(1);
    EXPECT_EQ(ad.diary->lines, "asked 0 https://shop.example.com/x") << "the page gets the tap as well";
    ad.followLink();
    EXPECT_EQ(ad.events(), "redirect ") << "a tap makes every link of this showing the user's";
    ad.diary->policy = WKNavigationPolicyAllow;
    ad.load("fbad://markup_impression");
    ad.followLink();
    EXPECT_EQ(ad.events(), "redirect ") << "not an address to go to";
    ad.load("https://shop.example.com/y");
    ad.followLink();
    EXPECT_EQ(ad.events(), "redirect redirect ") << "a new showing";
}

TEST(FakeAdControllerTest, AnEventWaitsForItsProcessor)
{
    AdPage ad;
    ProcessorsManager::sharedInstance().eventFired(eventOf("early"), ad.view);
    ad.world.phone.wait(1);
    EXPECT_EQ(ad.events(), "");
    ad.load("https://shop.example.com/");
    EXPECT_EQ(ad.events(), "early ");
    EXPECT_EQ(ad.world.lastReport()["sdk"], Value { "Amazon" });
    EXPECT_EQ(ad.world.lastReport()["html"], Value { "" }) << "kept: its own, which it never had";
}

TEST(FakeAdControllerTest, DialogsInAPageAreEvents)
{
    const char* const page
        = R"(<script>window.alert("a");confirm("?");window.alert("b");window.alert("</script>)";
    AdPage ad;
    ad.load("#", page);
    EXPECT_EQ(ad.events(), "alert alert confirm ");
    std::string many;
    for (int i = 0; i < 1000; i++)
        many += R"(<i onclick='window.alert("x")'>)";
    ad.load("#", many + "confirm(\"?\")");
    EXPECT_EQ(ad.world.service.reports().size(), 3 + FakeAdController::mostDialogsOfAKind + 1)
        << "a page cannot keep the phone busy";

    AdPage unwatched(R"({"active": true, "ttlConfig": 100000, "eventHTML": true})");
    unwatched.load("#", page);
    EXPECT_EQ(unwatched.events(), "") << "inspecting pages is off by default";
}

TEST(FakeAdControllerTest, WithoutTheNetworksDelegateItDecides)
{
    AdPage ad;
    const auto decisions = [&](bool withOrigin) {
        const auto proxy = alloc<ProxyDelegate>();
        proxy->initWithDelegate(withOrigin ? ad.diary.get() : nullptr);
        int allowed = 0;
        const auto action = WKNavigationAction::with({}, WKNavigationType::Other);
        send(proxy->fakeDelegate(), sel::webViewDecidePolicyForNavigationAction, ad.view, action,
            [&](int64_t policy) { allowed += policy == WKNavigationPolicyAllow; });
        return allowed;
    };
    EXPECT_EQ(decisions(true), 0);
    EXPECT_EQ(decisions(false), 1);
}

TEST(FakeAdControllerTest, MoPubIsAskedWhetherItWouldHaveGoneItself)
{
    static NSArray asked;
    asked.clear();
    static bool answer;
    const SEL shouldIntercept = "shouldIntercept:navigationType:"_sel;
    AdPage ad;
    const auto controller = standInObject("MRController", { { "_userInteractedWithWebView", false } });
    const auto network = alloc<Object>(ClassBuilder("MPWebView", classOf<NSObject>()).build());
    object_setInstanceVariable(*network, "_delegate", controller);
    const auto detects = [&](WKNavigationType type = WKNavigationType::LinkActivated) {
        return FakeAdController::didMoPubDetectRedirectWith(*ad.view, type, "https://shop.example.com/");
    };
    EXPECT_FALSE(detects()) << "another network's";
    const auto proxy = alloc<ProxyDelegate>();
    proxy->initWithDelegate(network.get());
    ad.view->setNavigationDelegate(proxy.get());
    EXPECT_FALSE(detects()) << "it does not answer";
    class_addMethod(
        NSClassFromString("MRController"), shouldIntercept, +[](id, SEL, const Value& url, int64_t type) {
            asked = { url, type };
            return answer ? true : throw std::runtime_error("its own");
        });
    EXPECT_FALSE(detects()) << "it raises";
    answer = true;
    EXPECT_TRUE(detects());
    EXPECT_EQ(asked, (NSArray { NSURLValue { "https://shop.example.com/" }, 0 }));
    EXPECT_TRUE(detects(static_cast<WKNavigationType>(9)));
    EXPECT_EQ(asked.at(1), Value { -1 });
    object_setInstanceVariable(*controller, "_userInteractedWithWebView", true);
    EXPECT_FALSE(detects());
}

TEST(FakeAdControllerTest, ADelegateMayDieBetweenAnyTwoMessages)
{
    for (int step = 0; step < 30; step++) {
        AdPage ad;
        ad.view->loadHTMLString("<script>window.alert(\"a\")</script>", "https://ads.example.com/");
        for (int turn = 0; turn < step; turn++)
            ad.world.phone.wait(0.005);
        ad.diary.reset();
        if (step % 2)
            ad.view->removeFromSuperview();
        if (step % 3 == 0)
            ad.view.reset();
        ad.world.phone.wait(10);
        EXPECT_TRUE(!ad.view || !ad.view->isLoading()) << step;
    }
}

} // namespace
} // namespace lumora
