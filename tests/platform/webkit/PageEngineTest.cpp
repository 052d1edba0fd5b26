#include "platform/webkit/PageEngine.h"

#include "platform/webkit/WKWebView.h"
#include "tests/platform/uikit/Phone.h"
#include "tests/platform/webkit/NavigationDiary.h"
#include "tests/platform/webkit/WebEngineTest.h"

namespace lumora::test {

namespace {

struct Browser : Phone {
    Browser() { send(view, sel::setNavigationDelegate, navigations); }
    std::string load(const std::string& html, const std::string& base = "https://ads.example.com/a/b")
    {
        view->loadHTMLString(html, base);
        return settled();
    }
    void open(const std::string& url)
    {
        view->loadRequest({ .url = url });
        advance(0.01);
    }
    std::string settled()
    {
        advance(1);
        return std::exchange(navigations->lines, {});
    }
    std::string ask(const std::string& script)
    {
        std::string answer;
        view->evaluateJavaScript(script, [&](const Value& result, const std::optional<NSError>& error) {
            answer = error ? "error" : result.description();
        });
        advance(0);
        return answer;
    }

    std::shared_ptr<NavigationDiary> navigations { make<NavigationDiary>() };
    std::shared_ptr<WKWebView> view { add<WKWebView>(CGRectMake(0, 100, 200, 200)) };
};

constexpr const char* wholeStory
    = "asked -1 https://ads.example.com/a/b, started, answered 0, committed, finished";

} // namespace

TEST(WKWebView, SendsTheDelegateItsMessagesInOrder)
{
    Browser browser;
    EXPECT_EQ(browser.view->URL(), Value {});
    EXPECT_EQ(browser.load("<title>Ad</title>x"), wholeStory);
    EXPECT_EQ(browser.view->URL(), Value { NSURLValue { "https://ads.example.com/a/b" } });
    EXPECT_EQ(browser.view->valueForKey("title"), Value { "Ad" });
    EXPECT_EQ(browser.view->valueForKey("loading"), Value { false });
    browser.navigations->policy = WKNavigationPolicyCancel;
    EXPECT_EQ(browser.load("x"), "asked -1 https://ads.example.com/a/b") << "the first answer counts";
}

TEST(WKWebView, GoesOnWithoutADelegateThatDied)
{
    Browser browser;
    browser.view->loadHTMLString("x", "");
    browser.navigations.reset();
    browser.advance(1);
    EXPECT_EQ(browser.view->navigationDelegate(), nullptr);
    EXPECT_EQ(browser.ask("location.href"), "about:blank");
}

TEST(WKWebView, MayDieInAMessageOfItsOwn)
{
    Browser browser;
    browser.view->loadHTMLString("x", "");
    browser.navigations->onFinish = [&] {
        browser.view->removeFromSuperview();
        browser.view.reset();
    };
    EXPECT_TRUE(browser.settled().ends_with("finished"));
}

TEST(WKWebView, AsksAStandInWhetherItAnswers)
{
    Browser browser;
    static bool s_answers;
    bool (*standIn)(id, SEL, SEL) = [](id, SEL, SEL) { return s_answers; };
    class_addMethod(classOf<NavigationDiary>(), "respondsToSelector:"_sel, standIn);
    for (const bool answers : { false, true }) {
        s_answers = answers;
        browser.view->setNavigationDelegate(browser.navigations.get());
        s_answers = !answers;
        EXPECT_EQ(browser.load("x"), answers ? wholeStory : "") << "asked once, when it is set";
    }
}

TEST(WKWebView, FollowsATappedLinkWithLeave)
{
    Browser browser;
    browser.load("<body style='margin:0'><a href='../c?d=1'><img width=100 height=100></a>");
    browser.navigations->policy = WKNavigationPolicyCancel;
    browser.tap({ 150, 150 });
    EXPECT_EQ(browser.settled(), "") << "beside the link";
    browser.tap({ 50, 150 });
    EXPECT_EQ(browser.settled(), "asked 0 https://ads.example.com/c?d=1");
    browser.window->sendTouch(UITouchPhase::Began, { 50, 150 });
    browser.window->sendTouch(UITouchPhase::Moved, { 50, 190 });
    browser.window->sendTouch(UITouchPhase::Ended, { 50, 190 });
    EXPECT_EQ(browser.settled(), "") << "a finger that moved";
}

TEST(WKWebView, FetchesPagesOverHTTP)
{
    Browser browser;
    browser.open("https://ads.example.com/page");
    EXPECT_EQ(browser.world.transport->requests.at(0).url, "https://ads.example.com/page");
    browser.world.transport->completions[0]({ .status = 404, .body = "<p>gone" });
    EXPECT_EQ(browser.settled(),
        "asked -1 https://ads.example.com/page, started, answered 404, committed, finished");
    EXPECT_EQ(browser.ask("document.body.innerHTML"), "<p>gone");
}

TEST(WKWebView, AsksForLeaveOfARedirectToo)
{
    Browser browser;
    for (const WKNavigationPolicy policy : { WKNavigationPolicyAllow, WKNavigationPolicyCancel }) {
        browser.open("https://ads.example.com/");
        browser.navigations->policy = policy;
        browser.world.transport->completions.back()(
            { .url = "https://shop.example.com/x", .status = 200, .body = "x" });
        const std::string start
            = "asked -1 https://ads.example.com/, started, asked -1 https://shop.example.com/x, ";
        EXPECT_EQ(browser.settled(),
            start + (policy ? "redirected, answered 200, committed, finished" : "failed early 102"));
        EXPECT_EQ(browser.ask("location.href"), "https://shop.example.com/x");
    }
}

TEST(WKWebView, OpensNoWindow)
{
    Browser browser;
    browser.load("<body style='margin:0'><a href='c' target=_blank><img width=100 height=100></a>");
    browser.tap({ 50, 150 });
    EXPECT_EQ(browser.settled(), "asked 0 https://ads.example.com/a/c in a window");
}

TEST(WKWebView, ReportsPagesThatCannotBeFetched)
{
    Browser browser;
    browser.load("old");
    browser.open("https://nowhere.example.com/");
    browser.world.transport->completions[0](
        { .error = "no such host", .errorCode = NSURLErrorCannotFindHost });
    EXPECT_TRUE(browser.settled().ends_with("started, failed early -1003"));
    browser.open("https://endless.example.com/");
    browser.world.transport->completions[1]({ .body = std::string((1 << 20) + 1, 'x') });
    EXPECT_TRUE(browser.settled().ends_with("started, failed early -1103")) << "too long";
    EXPECT_EQ(browser.ask("document.body.innerHTML"), "old");
    browser.open("tel:123");
    EXPECT_EQ(browser.settled(), "asked -1 tel:123, started, failed early -1002");
}

TEST(PageEngine, AnswersScripts)
{
    Browser browser;
    browser.load(
        "<base href='https://cdn.example.com/'><iframe src='f?a=1&amp;b=2'></iframe><iframe></iframe>");
    const std::pair<const char*, const char*> answers[] {
        { "document.getElementsByTagName(\"iframe\").length", "2" },
        { "document.getElementsByTagName(\"iframe\")[0].src", "https://cdn.example.com/f?a=1&b=2" },
        { "document.getElementsByTagName(\"iframe\")[1].src", "" },
        { "document.getElementsByTagName(\"iframe\")[-1].src", "error" }, { " 'text' ; ", "text" },
        { "\"a\" + \"b\"", "error" }, { "42", "42" }, { "-1.5", "-1.5" }, { "true", "1" },
        { "undefined", "(null)" }, { "", "error" }, { "alert(1)", "error" }, { "1.toString()", "error" }
    };
    for (const auto& [script, answer] : answers)
        EXPECT_EQ(browser.ask(script), answer) << script;
}

TEST(PageEngine, GivesAPageTheElementsThatItLeftOut)
{
    Browser browser;
    const std::array<const char*, 3> pages[] {
        { "x", "<html><head></head><body>x</body></html>", "x" },
        { "<head><title>t</title></head><p>x", "<html><head><title>t</title></head><p>x</html>", "<p>x" },
        { "<HTML><body>x<script>'</body>'</script>y", "<HTML><body>x<script>'</body>'</script>y</html>",
            "x<script>'</body>'</script>y" },
        { "<!doctype html><!-- <html> --><html>x</html> ", "<html>x</html>", "x" },
    };
    for (const auto& [page, outer, body] : pages) {
        browser.load(page);
        EXPECT_EQ(browser.ask("document.documentElement.outerHTML"), outer);
        EXPECT_EQ(browser.ask("document.body.innerHTML"), body);
    }
}

TEST(PageEngine, ResolvesLinksAgainstThePage)
{
    const std::pair<const char*, const char*> links[] { { "c", "https://h/a/c" },
        { "./c/../d/", "https://h/a/d/" }, { "../../../c", "https://h/c" }, { "/c?d#e", "https://h/c?d#e" },
        { "//other/x", "https://other/x" }, { "?q", "https://h/a/b?q" }, { "mailto:a@b", "mailto:a@b" },
        { "HTTP://X/y", "HTTP://X/y" }, { "", "https://h/a/b?x" } };
    for (const auto& [link, target] : links) {
        Browser browser;
        browser.load("<body style='margin:0'><a href='" + std::string { link } + "'><img width=99 height=99>",
            "https://h/a/b?x");
        browser.navigations->policy = WKNavigationPolicyCancel;
        browser.tap({ 50, 150 });
        EXPECT_EQ(browser.settled(), "asked 0 " + std::string { target }) << link;
    }
}

TEST(PageEngine, StaysOnThePageForPlacesInItAndForScripts)
{
    Browser browser;
    browser.load("<body style='margin:0'><a href='#top'><img width=99 height=50></a><br>"
                 "<a href='javascript:x()'><img width=99 height=50></a>");
    browser.tap({ 50, 110 });
    EXPECT_EQ(browser.settled(), "asked 0 https://ads.example.com/a/b#top");
    EXPECT_EQ(browser.ask("location.href"), "https://ads.example.com/a/b#top");
    browser.tap({ 50, 180 });
    EXPECT_EQ(browser.settled(), "");
}

INSTANTIATE_TEST_SUITE_P(Page, WebEngineTest,
    testing::Values(EngineUnderTest {
        "PageEngine", [] { return std::make_shared<PageEngine>(); }, [] { return std::string {}; } }));

} // namespace lumora::test
