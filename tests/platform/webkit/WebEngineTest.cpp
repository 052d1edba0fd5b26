#include "platform/webkit/PageEngine.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>

namespace lumora::test {

namespace {

/// Writes down what the engine tells, and decides as the test says.
class RecordingClient final : public WebEngineClient {
public:
    virtual ~RecordingClient() = default;
    void decideAction(
        WebLoad load, const NSMutableURLRequest& request, WKNavigationType type, Decision decision) override
    {
        note("action " + std::to_string(static_cast<int>(type)) + " " + request.url, load);
        decide(std::move(decision), allowActions);
    }
    void decideResponse(WebLoad load, const NSHTTPURLResponse&, Decision decision) override
    {
        note("response", load);
        decide(std::move(decision), allowResponses);
    }
    void didStart(WebLoad load) override { note("start", load); }
    void didCommit(WebLoad load) override { note("commit", load); }
    void didFinish(WebLoad load) override { note("finish", load); }
    void didFail(WebLoad load, const NSError& error, bool provisional) override
    {
        note((provisional ? "fail early " : "fail late ") + std::to_string(error.code), load);
    }
    void didRefuse(WebLoad load) override { note("refuse", load); }

    std::string told() { return std::exchange(lines, {}); }

    std::string lines;
    bool allowActions { true };
    bool allowResponses { true };
    /// Keeps the next decision instead of making it.
    Decision* kept { nullptr };
    std::string actAt;
    std::function<void()> act;

private:
    void note(const std::string& line, WebLoad load)
    {
        lines += std::to_string(load) + " " + line + "\n";
        if (act && line == actAt)
            std::exchange(act, nullptr)();
    }
    void decide(Decision decision, bool allow)
    {
        if (kept)
            *std::exchange(kept, nullptr) = std::move(decision);
        else
            decision(allow);
    }
};

const std::string base = "https://ads.example.com/a/page.html?x=1";

/// Every engine keeps to this; an engine is one parameter.
class WebEngineTest : public testing::TestWithParam<WebEngineFactory> {
protected:
    WebEngineTest() { engine->setClient(&client); }
    void settle() { world.executor().advance(1); }
    std::string load(const std::string& html)
    {
        engine->loadHTML(html, base);
        settle();
        return client.told();
    }
    std::string ask(const std::string& script)
    {
        std::string answer = "no answer";
        engine->evaluate(script, [&](const Value& result, const std::optional<NSError>& error) {
            answer = error ? "error " + std::to_string(error->code) : result.description();
        });
        EXPECT_EQ(answer, "no answer") << "never inside the call";
        settle();
        return answer;
    }

    TemporaryFolder home;
    TestProcess world { home.path };
    RecordingClient client;
    std::shared_ptr<WebEngine> engine { GetParam()() };
};

TEST_P(WebEngineTest, TellsOfALoadInOrder)
{
    engine->loadHTML("<p>x", base);
    EXPECT_EQ(client.told(), "") << "never inside the call";
    EXPECT_TRUE(engine->isLoading());
    EXPECT_EQ(engine->url(), "");
    settle();
    EXPECT_EQ(client.told(), "1 action -1 " + base + "\n1 start\n1 response\n1 commit\n1 finish\n");
    EXPECT_FALSE(engine->isLoading());
    EXPECT_EQ(engine->url(), base);
}

TEST_P(WebEngineTest, GoesNowhereWithoutLeave)
{
    client.allowActions = false;
    EXPECT_EQ(load("<p>x"), "1 action -1 " + base + "\n1 refuse\n");
    client.allowActions = true;
    client.allowResponses = false;
    EXPECT_EQ(load("<p>x"), "2 action -1 " + base + "\n2 start\n2 response\n2 fail early 102\n");
    EXPECT_EQ(engine->url(), "");
}

TEST_P(WebEngineTest, WaitsForADecisionAndForgetsALateOne)
{
    WebEngineClient::Decision late;
    client.kept = &late;
    EXPECT_EQ(load("<p>first"), "1 action -1 " + base + "\n");
    EXPECT_TRUE(engine->isLoading());
    EXPECT_EQ(load("<p>second"),
        "1 fail early -999\n2 action -1 " + base + "\n2 start\n2 response\n2 commit\n2 finish\n");
    late(true);
    settle();
    EXPECT_EQ(client.told(), "");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>second");
}

TEST_P(WebEngineTest, StopsAtAnyPoint)
{
    const std::pair<const char*, const char*> rows[] = { { "start", "fail early -999\n" },
        { "response", "fail early -999\n" }, { "commit", "fail late -999\n" }, { "finish", "finish\n" } };
    for (const auto& [at, last] : rows) {
        client.actAt = at;
        client.act = [&] { engine->stopLoading(); };
        EXPECT_TRUE(load("<p>x").ends_with(last)) << at;
        EXPECT_FALSE(engine->isLoading()) << at;
    }
    engine->stopLoading();
    settle();
    EXPECT_EQ(client.told(), "");
}

TEST_P(WebEngineTest, LetsItsClientGoInTheMiddle)
{
    for (const char* at : { "start", "response", "commit" }) {
        engine->setClient(&client);
        client.actAt = at;
        client.act = [&] { engine->setClient(nullptr); };
        EXPECT_TRUE(load("<p>x").ends_with(at + std::string { "\n" })) << at;
    }
}

TEST_P(WebEngineTest, CanDieInTheMiddleOfALoad)
{
    std::string answer;
    engine->loadHTML("<p>x", base);
    engine->evaluate("document.title", [&](const Value&, const std::optional<NSError>& error) {
        answer = error ? error->domain + " " + std::to_string(error->code) : "an answer";
    });
    engine->setClient(nullptr);
    engine.reset();
    settle();
    EXPECT_EQ(client.told(), "");
    EXPECT_EQ(answer, "WKErrorDomain 3");
}

TEST_P(WebEngineTest, AnswersWhatReadersAsk)
{
    EXPECT_EQ(ask("document.documentElement.outerHTML"), "<html><head></head><body></body></html>");
    EXPECT_EQ(ask("window.location.href"), "about:blank");
    load("<!doctype html><html lang=en><head><title> A &amp; B </title></head><body "
         "class=x><p>x</p></body></html>");
    EXPECT_EQ(ask("document.documentElement.outerHTML.toString()"),
        "<html lang=en><head><title> A &amp; B </title></head><body class=x><p>x</p></body></html>");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>x</p>");
    EXPECT_EQ(ask("document.title;"), "A & B");
    EXPECT_EQ(ask("document.readyState"), "complete");
    EXPECT_EQ(ask("window.location.href"), base);
    EXPECT_EQ(ask("noSuchThing.atAll()"), "error 4");
}

TEST_P(WebEngineTest, ReloadsThePageItHas)
{
    EXPECT_EQ(engine->reload(), 0u);
    load("<p>x");
    engine->reload();
    settle();
    EXPECT_EQ(client.told(), "2 action 3 " + base + "\n2 start\n2 response\n2 commit\n2 finish\n");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>x");
}

INSTANTIATE_TEST_SUITE_P(
    Page, WebEngineTest, testing::Values(WebEngineFactory { [] { return std::make_shared<PageEngine>(); } }));

} // namespace

} // namespace lumora::test
