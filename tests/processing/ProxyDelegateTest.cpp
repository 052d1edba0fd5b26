#include "processing/ProxyDelegate.h"

#include "interception/WKWebViewSwizzling.h"
#include "platform/objc/NSException.h"
#include "simulator/networks/StandInObjects.h"
#include "tests/platform/webkit/NavigationDiary.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

using test::NavigationDiary;
using test::World;

std::shared_ptr<ProxyDelegate> proxyOf(const std::shared_ptr<Object>& origin)
{
    auto proxy = alloc<ProxyDelegate>();
    proxy->initWithDelegate(origin.get());
    return proxy;
}

/// A phone whose web view has a delegate of a network that has a processor.
struct Browser {
    explicit Browser(bool watched)
    {
        diary = alloc<NavigationDiary>(ClassBuilder("SOMAAdRenderer", classOf<NavigationDiary>()).build());
        if (watched)
            world.start();
        send(view, sel::setNavigationDelegate, diary);
        EXPECT_EQ(as<ProxyDelegate>(view->navigationDelegate()) != nullptr, watched);
    }
    void load(const std::string& html)
    {
        view->loadHTMLString(html, "https://ads.example.com/a/b");
        world.phone.wait(1);
    }
    World world;
    std::shared_ptr<NavigationDiary> diary;
    std::shared_ptr<WKWebView> view { make<WKWebView>() };
};

TEST(ProxyDelegateTest, TheNetworkSeesTheSameNavigationsWithAndWithoutUs)
{
    const auto story = [](bool watched) {
        Browser browser(watched);
        browser.load("<p>one");
        browser.diary->policy = WKNavigationPolicyCancel;
        browser.load("<p>two");
        browser.diary->policy = WKNavigationPolicyAllow;
        browser.diary->onFinish = [&] { browser.view->reload(); };
        browser.load("<p>three");
        return browser.diary->lines;
    };
    EXPECT_NE(story(false), "");
    EXPECT_EQ(story(true), story(false));
}

TEST(ProxyDelegateTest, ADelegateThatDiesLeavesThePageFree)
{
    for (bool watched : { false, true }) {
        Browser browser(watched);
        browser.view->loadHTMLString("<title>Ad</title>", "");
        const std::weak_ptr gone = std::exchange(browser.diary, nullptr);
        EXPECT_TRUE(gone.expired()) << watched;
        browser.world.phone.wait(1);
        EXPECT_FALSE(browser.view->isLoading()) << watched;
        EXPECT_EQ(browser.view->title(), "Ad") << watched;
    }
}

/// Another library's bridge: keeps the delegate that was there, weakly, and passes everything on.
class Bridge final : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<Bridge, NSObject>("Bridge")
                  .method<&Bridge::respondsToSelector>("respondsToSelector:"_sel)
                  .method<&Bridge::didFinish>(sel::webViewDidFinishNavigation);
        return description;
    }
    bool respondsToSelector(SEL selector)
    {
        const auto to = next.lock();
        const bool nextAnswers = to && delegateAnswers(*to, selector);
        return selector == sel::webViewDidFinishNavigation
            || (nextAnswers && selector == "webViewDidClose:"_sel);
    }
    void didFinish(Object* view, Object* navigation)
    {
        heard++;
        send(next.lock(), sel::webViewDidFinishNavigation, view, navigation);
    }
    static std::shared_ptr<Bridge> ofANetwork()
    {
        return alloc<Bridge>(ClassBuilder("OXMWebView", classOf<Bridge>()).build());
    }
    void putInFrontOf(const std::shared_ptr<WKWebView>& view)
    {
        next = send(view, sel::navigationDelegate);
        send(view, sel::setNavigationDelegate, this);
    }
    std::weak_ptr<Object> next;
    int heard { 0 };
};

TEST(ProxyDelegateTest, ABridgeInFrontKeepsTheNetwork)
{
    Browser browser(true);
    const auto bridge = Bridge::ofANetwork();
    bridge->putInFrontOf(browser.view);
    browser.load("<p>x");
    EXPECT_EQ(bridge->heard, 1);
    EXPECT_EQ(browser.diary->lines, "finished another");
    const auto second = make<WKWebView>();
    send(second, sel::setNavigationDelegate, send(browser.view, sel::navigationDelegate));
    browser.view.reset();
    second->loadHTMLString("<p>y", "");
    browser.world.phone.wait(1);
    EXPECT_EQ(bridge->heard, 2) << "another view took it over, and its own went";
}

TEST(ProxyDelegateTest, AMessageThatComesRoundEnds)
{
    Browser browser(true);
    const auto bridge = Bridge::ofANetwork();
    std::vector<std::shared_ptr<Object>> kept;
    for (int i = 0; i < 2; i++) {
        kept.push_back(browser.view->navigationDelegate());
        bridge->putInFrontOf(browser.view);
    }
    EXPECT_FALSE(delegateAnswers(*browser.view->navigationDelegate(), "webViewDidClose:"_sel));
    browser.load("<p>x");
    EXPECT_EQ(bridge->heard, 2);
    EXPECT_FALSE(browser.view->isLoading());
}

TEST(ProxyDelegateTest, ADelegateMayTakeTheProxyOffInTheMiddle)
{
    Browser browser(true);
    const auto& lines = browser.diary->lines;
    std::string heard;
    browser.diary->onFinish = [&] {
        heard = lines;
        send(browser.view, sel::setProxyController, id {});
        browser.diary.reset();
    };
    browser.load("<p>x");
    EXPECT_TRUE(heard.ends_with("finished"));
    EXPECT_EQ(browser.view->navigationDelegate(), nullptr);
}

class ProxyTest : public testing::Test {
protected:
    static bool responds(const std::shared_ptr<ProxyDelegate>& proxy, SEL selector)
    {
        return send<bool>(proxy.get(), "respondsToSelector:"_sel, selector);
    }
    static void finish(const std::shared_ptr<ProxyDelegate>& proxy)
    {
        send(proxy, sel::webViewDidFinishNavigation, id {}, id {});
    }
    Phone phone { {} };
    std::shared_ptr<NavigationDiary> diary { make<NavigationDiary>() };
};

TEST_F(ProxyTest, ItAnswersWhatTheOriginAnswersAsLongAsThatLives)
{
    const auto proxy = proxyOf(diary);
    EXPECT_TRUE(responds(proxy, sel::webViewDidFinishNavigation));
    EXPECT_FALSE(responds(proxy, "webViewDidClose:"_sel));
    EXPECT_EQ(proxy->valueForKey("originDelegate"), Value { diary });
    object_setInstanceVariable(*diary, "_adId", 7);
    EXPECT_EQ(proxyOf(proxy)->valueForKeyPath("_adId"), Value { 7 }) << "keys it does not know are its";
    EXPECT_THROW(proxy->valueForKey("unknown"), NSException);
    diary.reset();
    EXPECT_FALSE(responds(proxy, sel::webViewDidFinishNavigation));
    EXPECT_NO_THROW(finish(proxy));
}

TEST_F(ProxyTest, AProxyInsideAProxyKeepsItsNetwork)
{
    auto inner = proxyOf(diary);
    const auto outer = proxyOf(inner);
    ProxyDelegate& owned = *inner;
    inner.reset();
    ASSERT_TRUE(outer->originDelegate());
    finish(outer);
    EXPECT_EQ(diary->lines, "finished another");
    owned.setOriginDelegate(outer.get());
    EXPECT_FALSE(responds(outer, sel::webViewDidFinishNavigation)) << "a circle counts as no delegate";
}

TEST_F(ProxyTest, TheObserverHearsFirstAndHarmsNothing)
{
    static std::vector<std::string> heard;
    heard.clear();
    static const auto hear = +[](id, SEL, id, id) {
        heard.emplace_back("observer");
        throw std::runtime_error("its own");
    };
    const auto observer = alloc<Object>(
        ClassBuilder("Observer", classOf<NSObject>()).method(sel::webViewDidFinishNavigation, hear).build());
    const auto proxy = proxyOf(diary);
    proxy->setFakeDelegate(observer.get());
    diary->onFinish = [] { heard.emplace_back("network"); };
    finish(proxy);
    EXPECT_EQ(heard, (std::vector<std::string> { "observer", "network" }));
    send(proxy, sel::webViewDidCommitNavigation, id {}, id {});
    EXPECT_EQ(diary->lines, "finished another, committed") << "not asked for what it does not answer";
    const auto alone = proxyOf(nullptr);
    alone->setFakeDelegate(observer.get());
    finish(alone);
    EXPECT_EQ(heard.size(), 3u) << "also without a network";
    EXPECT_THROW(finish(proxyOf(observer)), std::runtime_error) << "what a network raises passes through";
}

TEST_F(ProxyTest, ANavigationIsDecidedOnce)
{
    const auto decisions = [&](const std::shared_ptr<ProxyDelegate>& proxy, const auto& question) {
        std::vector<int64_t> heard;
        send(proxy, question, make<WKWebView>(), id {},
            WKDecisionHandler { [&](int64_t policy) { heard.push_back(policy); } });
        return heard;
    };
    const std::vector<int64_t> once { WKNavigationPolicyAllow };
    const auto& action = sel::webViewDecidePolicyForNavigationAction;
    const auto& response = sel::webViewDecidePolicyForNavigationResponse;
    EXPECT_EQ(decisions(proxyOf(nullptr), action), once) << "by the observer";
    EXPECT_EQ(decisions(proxyOf(nullptr), response), once) << "which is not asked this";
    EXPECT_EQ(decisions(proxyOf(make<NSObject>()), action), once) << "the network has no say";
    EXPECT_EQ(decisions(proxyOf(proxyOf(nullptr)), action), once);
    int asked = 0;
    send(proxyOf(nullptr), action, make<WKWebView>(), id {}, WKDecisionHandler { [&](int64_t) {
        asked++;
        throw std::runtime_error("the host's own");
    } });
    EXPECT_EQ(asked, 1);
}

TEST_F(ProxyTest, AMessageAboutAnotherPageIsNotOneThatComesRound)
{
    const auto first = make<WKWebView>(), second = make<WKWebView>();
    const auto proxy = proxyOf(diary);
    diary->onFinish = [&] {
        send(proxy, sel::webViewDidFinishNavigation, second, id {});
        send(proxy, sel::webViewDidFinishNavigation, first, id {});
    };
    send(proxy, sel::webViewDidFinishNavigation, first, id {});
    EXPECT_EQ(diary->lines, "finished another, finished another");
}

TEST_F(ProxyTest, ADelegateThatSendsEachMessageOnAboutAnotherPageEndsAsWell)
{
    const auto proxy = proxyOf(diary);
    std::vector<std::shared_ptr<WKWebView>> pages;
    std::function<void()> sendOn = [&] {
        diary->onFinish = sendOn;
        pages.push_back(make<WKWebView>());
        send(proxy, sel::webViewDidFinishNavigation, pages.back(), id {});
    };
    sendOn();
    EXPECT_LT(pages.size(), 100u);
}

TEST_F(ProxyTest, ADelegateKeepsOneProxyForEachPageThatLives)
{
    std::vector<std::weak_ptr<ProxyDelegate>> proxies;
    const auto putInFront = [&](const std::shared_ptr<WKWebView>& view) {
        const auto proxy = proxyOf(diary);
        proxy->liveAsLongAsOrigin(view.get());
        proxies.emplace_back(proxy);
    };
    const auto lasting = make<WKWebView>();
    for (const auto& view : { lasting, lasting, make<WKWebView>(), make<WKWebView>() })
        putInFront(view);
    putInFront(make<WKWebView>());
    const auto lives = [](const auto& proxy) { return !proxy.expired(); };
    EXPECT_EQ(std::count_if(proxies.begin(), proxies.end(), lives), 2) << "the lasting page's and the newest";
    diary.reset();
    EXPECT_TRUE(std::none_of(proxies.begin(), proxies.end(), lives));
}

TEST_F(ProxyTest, AnOldStyleLoadIsNeverWanted)
{
    static int asked = 0;
    asked = 0;
    static const auto shouldStart = +[](id, SEL, id, id, int64_t) { return ++asked > 0; };
    const SEL selector = "webView:shouldStartLoadWithRequest:navigationType:"_sel;
    const auto network = alloc<Object>(
        ClassBuilder("OldNetwork", classOf<NSObject>()).method(selector, shouldStart).build());
    const auto proxy = proxyOf(network);
    const auto ask = [&] { return send<bool>(proxy.get(), selector, id {}, id {}, int64_t { 0 }); };
    EXPECT_TRUE(responds(proxy, selector));
    EXPECT_FALSE(ask());
    EXPECT_EQ(asked, 0);
    proxy->setFakeDelegate(network.get());
    EXPECT_TRUE(ask());
    EXPECT_EQ(asked, 2) << "an observer that wants it is followed by the network";
}

} // namespace
} // namespace lumora
