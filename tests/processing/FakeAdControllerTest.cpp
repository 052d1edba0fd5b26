#include "processing/FakeAdController.h"

#include "lumora/LMLog.h"
#include "processing/ProxyDelegate.h"
#include "service/LMEventsSaverUserDefaultsProvider.h"
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
}

TEST(FakeAdControllerTest, ATapMakesAllLinksOfItsShowingTheUsers)
{
    AdPage ad;
    ad.diary->policy = WKNavigationPolicyAllow;
    ad.load("https://shop.example.com/x");
    ad.diary->policy = WKNavigationPolicyCancel;
    ad.diary->lines.clear();
    ad.world.phone.tap(*ad.view);
    ad.world.phone.wait(1);
    EXPECT_EQ(ad.diary->lines, "asked 0 https://shop.example.com/x") << "the page gets the tap as well";
    ad.followLink();
    EXPECT_EQ(ad.events(), "");
    ad.diary->policy = WKNavigationPolicyAllow;
    ad.load("https://shop.example.com/y");
    ad.followLink();
    EXPECT_EQ(ad.events(), "redirect ") << "a new showing";
}

TEST(FakeAdControllerTest, WhatANetworkTellsItsOwnViewIsNoRedirect)
{
    AdPage ad;
    ad.load("fbad://markup_impression");
    ad.diary->policy = WKNavigationPolicyCancel;
    ad.followLink();
    EXPECT_TRUE(ad.diary->lines.ends_with("asked 0 fbad://markup_impression"));
    EXPECT_EQ(ad.events(), "");
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
    LMLog::setLogLevel(0);
    ad.load("#", page);
    EXPECT_EQ(ad.events(), "alert alert confirm ");
    std::vector<std::string> logged = ad.world.phone.console().lines();
    std::erase_if(logged, [](const std::string& line) { return line.find("needle") == std::string::npos; });
    EXPECT_EQ(logged,
        (std::vector<std::string> { "[Lumora] needle: a", "[Lumora] needle: b", "[Lumora] needle: ?" }));
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

/// A web view whose delegate, behind the proxy, is MoPub's.
struct MoPubPage : AdPage {
    MoPubPage()
    {
        network = alloc<Object>(ClassBuilder("MPWebView", classOf<NSObject>()).build());
        object_setInstanceVariable(*network, "_delegate", controller);
        proxy->initWithDelegate(network.get());
        view->setNavigationDelegate(proxy.get());
    }
    /// MoPub's controller answers so when it is asked whether it would intercept, or raises.
    static void setIntercepts(std::optional<bool> answer)
    {
        static std::optional<bool> s_answer;
        s_answer = answer;
        const auto intercepts = +[](id, SEL, const Value& url, int64_t type) {
            asked = { url, type };
            return s_answer ? *s_answer : throw std::runtime_error("its own");
        };
        class_addMethod(NSClassFromString("MRController"), "shouldIntercept:navigationType:"_sel, intercepts);
    }
    bool detects(WKNavigationType type = WKNavigationType::LinkActivated) const
    {
        return FakeAdController::didMoPubDetectRedirectWith(*view, type, "https://shop.example.com/");
    }

    static NSArray asked;
    const std::shared_ptr<Object> controller { standInObject(
        "MRController", { { "_userInteractedWithWebView", false } }) };
    std::shared_ptr<Object> network;
    const std::shared_ptr<ProxyDelegate> proxy { alloc<ProxyDelegate>() };
};
NSArray MoPubPage::asked;

TEST(FakeAdControllerTest, MoPubIsAskedWhetherItWouldHaveGoneItself)
{
    MoPubPage ad;
    EXPECT_FALSE(ad.detects()) << "it does not answer";
    ad.setIntercepts(std::nullopt);
    EXPECT_FALSE(ad.detects()) << "it raises";
    ad.setIntercepts(true);
    EXPECT_TRUE(ad.detects());
    EXPECT_EQ(MoPubPage::asked, (NSArray { NSURLValue { "https://shop.example.com/" }, 0 }));
    for (const auto& [type, told] : { std::pair { 4, 4 }, { 5, -1 }, { -1, -1 } }) {
        EXPECT_TRUE(ad.detects(static_cast<WKNavigationType>(type)));
        EXPECT_EQ(MoPubPage::asked.at(1), Value { told });
    }
    object_setInstanceVariable(*ad.controller, "_userInteractedWithWebView", true);
    EXPECT_FALSE(ad.detects());
    object_setInstanceVariable(*ad.network, "_delegate", class_createInstance(ad.controller->isa()));
    EXPECT_TRUE(ad.detects()) << "what cannot be read is no";
    object_setInstanceVariable(*ad.network, "_delegate", {});
    EXPECT_FALSE(ad.detects());
    object_setInstanceVariable(*ad.network, "_delegate", class_createInstance(ad.controller->isa()));
    ad.view->setNavigationDelegate(ad.diary.get());
    EXPECT_FALSE(ad.detects()) << "another network's";
}

TEST(FakeAdControllerTest, ARedirectCarriesWhatMoPubSays)
{
    for (const bool intercepts : { true, false }) {
        MoPubPage ad;
        ad.setIntercepts(intercepts);
        const auto action = WKNavigationAction::with(
            { .url = "https://shop.example.com/" }, WKNavigationType::LinkActivated);
        send(ad.proxy, sel::webViewDecidePolicyForNavigationAction, ad.view, action, WKDecisionHandler {});
        ad.world.phone.wait(1);
        const Events parked = LMEventsSaverUserDefaultsProvider().getAllEvents();
        ASSERT_EQ(parked.size(), 1u);
        EXPECT_EQ((*parked[0]->additionalInfo())["sdkDetected"], Value { intercepts });
    }
}

TEST(FakeAdControllerTest, ADelegateMayDieAfterAnyMessage)
{
    for (const char* last : { "", "asked", "started", "answered", "committed", "finished" }) {
        AdPage ad;
        std::weak_ptr<Object> diary = ad.diary;
        ad.diary->onLine = [&](const std::string& line) {
            if (line.starts_with(last))
                ad.diary.reset();
        };
        ad.view->loadHTMLString("<script>window.alert(\"a\")</script>", "https://ads.example.com/");
        ad.world.phone.wait(10);
        EXPECT_TRUE(diary.expired()) << last;
        EXPECT_FALSE(ad.view->isLoading()) << last;
        ad.banner->removeFromSuperview();
        ad.banner.reset();
        const std::weak_ptr view = std::exchange(ad.view, nullptr);
        ad.world.phone.wait(1);
        EXPECT_TRUE(view.expired()) << last;
    }
}

} // namespace
} // namespace lumora
