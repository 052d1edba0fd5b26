#include "tests/platform/webkit/WebEngineTest.h"

namespace lumora::test {

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
    EXPECT_EQ(load("<p>second</p>"),
        "1 fail early -999\n2 action -1 " + base + "\n2 start\n2 response\n2 commit\n2 finish\n");
    late(true);
    settle();
    EXPECT_EQ(client.told(), "");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>second</p>");
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
    load("<!doctype html><html lang=\"en\"><head><title> A &amp; B </title></head><body "
         "class=\"x\"><p>x</p></body></html>");
    EXPECT_EQ(ask("document.documentElement.outerHTML.toString()"),
        "<html lang=\"en\"><head><title> A &amp; B </title></head><body class=\"x\"><p>x</p></body></html>");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>x</p>");
    EXPECT_EQ(ask("document.title;"), "A & B");
    EXPECT_EQ(ask("document.readyState"), "complete");
    EXPECT_EQ(ask("window.location.href"), base);
    EXPECT_EQ(ask("noSuchThing.atAll()"), "error 4");
}

TEST_P(WebEngineTest, ReloadsThePageItHas)
{
    EXPECT_EQ(engine->reload(), 0u);
    load("<p>x</p>");
    engine->reload();
    settle();
    EXPECT_EQ(client.told(), "2 action 3 " + base + "\n2 start\n2 response\n2 commit\n2 finish\n");
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>x</p>");
}

TEST_P(WebEngineTest, FollowsATapInThePageOnly)
{
    const char* block = "<img style='display:block' width=100 height=50>";
    load("<body style='margin:0'><a href='b'>" + std::string { block } + "</a><a href='w' target=_blank>"
        + block + "</a>");
    client.allowActions = false;
    engine->tapAt({ 50, 25 }, { 200, 200 });
    EXPECT_TRUE(waitFor([&] { return client.lines.ends_with("refuse\n"); }));
    EXPECT_EQ(client.told(), "2 action 0 https://ads.example.com/a/b\n2 refuse\n");
    client.allowActions = true;
    engine->tapAt({ 50, 75 }, { 200, 200 });
    EXPECT_TRUE(waitFor([&] { return !client.lines.empty(); }));
    settle();
    EXPECT_EQ(client.told(), "0 action 0 https://ads.example.com/a/w in a window\n");
}

TEST_P(WebEngineTest, DrawsThePage)
{
    auto corner = [&] {
        const UIImage picture = engine->snapshot({ 20, 10 }, 1);
        return picture.isNull() ? 0 : picture.pixels()[0] << 8 | picture.pixels()[2];
    };
    EXPECT_EQ(corner(), 0xffff) << "white before the first";
    load("<body style='background:#ff0000'>");
    EXPECT_TRUE(waitFor([&] { return corner() == 0xff00; }));
}

} // namespace lumora::test
