#include "platform/webkit/WebKitEngine.h"

#include "tests/platform/TinyServer.h"
#include "tests/platform/webkit/WebEngineTest.h"

#include <csignal>
#include <fstream>
#include <map>
#include <unistd.h>

namespace lumora::test {

namespace {

EngineUnderTest webKit() { return { "WebKitEngine", makeWebKitEngine, webKitEngineProblem }; }

std::string redirectTo(const std::string& url)
{
    return "HTTP/1.1 302 Found\r\nLocation: " + url + "\r\nContent-Length: 0\r\n\r\n";
}

/// Ends the processes that run the pages of this program.
void killPageProcesses()
{
    std::map<pid_t, pid_t> parents;
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        std::string number, name, state;
        pid_t parent = 0;
        if (process > 0 && std::ifstream(entry.path() / "stat") >> number >> name >> state >> parent) {
            parents[process] = parent;
            if (name.starts_with("(WebKitWebProces"))
                found.push_back(process);
        }
    }
    for (const pid_t process : found) {
        pid_t ancestor = process;
        while (ancestor > 1 && ancestor != getpid())
            ancestor = parents[ancestor];
        if (ancestor == getpid())
            kill(process, SIGKILL);
    }
}

class WebKitEngineTest : public WebEngineTest {
protected:
    std::string open(const std::string& url)
    {
        engine->loadRequest({ .url = url });
        settle();
        return client.told();
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(WebKit, WebEngineTest, testing::Values(webKit()));
INSTANTIATE_TEST_SUITE_P(WebKit, WebKitEngineTest, testing::Values(webKit()));

TEST_P(WebKitEngineTest, EndsARedirectChainWhereItLeads)
{
    const TinyServer page { "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 3\r\n\r\nend" };
    const TinyServer second { redirectTo(page.url + "/end") };
    const TinyServer first { redirectTo(second.url + "/") };
    EXPECT_EQ(open(first.url),
        "1 action -1 " + first.url + "\n1 start\n1 action -1 " + second.url + "/\n1 redirect\n1 action -1 "
            + page.url + "/end\n1 redirect\n1 response\n1 commit\n1 finish\n");
    EXPECT_EQ(engine->url(), page.url + "/end");
    EXPECT_EQ(ask("document.body.innerHTML"), "end");
}

TEST_P(WebKitEngineTest, FailsWhatCannotBeFetched)
{
    std::string closed;
    {
        const TinyServer gone;
        closed = gone.url;
    }
    load("<p>old</p>");
    EXPECT_TRUE(open(closed).ends_with("start\n2 fail early -1004\n"));
    EXPECT_TRUE(open("tel:123").ends_with("start\n3 fail early -1002\n"));
    EXPECT_TRUE(open("http://nowhere.invalid/").ends_with("start\n4 fail early -1003\n"));
    EXPECT_EQ(engine->url(), base);
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>old</p>");
    EXPECT_TRUE(open("http://127.0.0.1:9/").ends_with("start\n5 fail early 103\n"))
        << "not a port of the web";
}

TEST_P(WebKitEngineTest, GivesUpOnAServerThatIsSilent)
{
    const TinyServer silent;
    const WebLoad number = engine->loadRequest({ .url = silent.url, .timeoutInterval = 30 });
    EXPECT_TRUE(waitFor([&] { return client.lines.ends_with("start\n"); }));
    world.executor().advance(29);
    EXPECT_TRUE(engine->isLoading());
    world.executor().advance(1);
    EXPECT_TRUE(client.told().ends_with(std::to_string(number) + " fail early -1001\n"));
    EXPECT_TRUE(load("<p>x").ends_with("2 finish\n"));
}

TEST_P(WebKitEngineTest, TellsFramesAndPlacesInThePageApart)
{
    client.actAt = "commit";
    load("<iframe srcdoc='x'></iframe><iframe src='data:text/html,y'></iframe>");
    engine->evaluate("location.href = '#place'", [](const Value&, const std::optional<NSError>&) {});
    EXPECT_TRUE(waitFor([&] { return client.lines.ends_with("refuse\n"); }));
    EXPECT_EQ(client.told(), "2 action -1 " + base + "#place\n2 refuse\n");
    EXPECT_TRUE(waitFor([&] { return engine->url() == base + "#place"; }));
    engine->loadHTML("<iframe src='data:text/html,z'></iframe>", "");
    EXPECT_TRUE(waitFor([&] { return client.lines.find("in a frame") != std::string::npos; }));
    settle();
    EXPECT_NE(client.told().find("0 action -1 data:text/html,z in a frame\n"), std::string::npos);
}

TEST_P(WebKitEngineTest, FollowsWhereAPageSendsItself)
{
    const TinyServer target { "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 3\r\n\r\nend" };
    load("<script>location.href = '" + target.url + "/next'</script>");
    EXPECT_TRUE(waitFor([&] { return engine->url() == target.url + "/next" && !engine->isLoading(); }));
    client.told();
    load("<body onclick=\"window.open('https://w.example.com/')\" style='height:90px'>x");
    engine->tapAt({ 20, 20 }, { 100, 100 });
    EXPECT_TRUE(waitFor([&] { return !client.lines.empty(); }));
    EXPECT_EQ(client.told(), "0 action -1 https://w.example.com/ in a window\n");
}

TEST_P(WebKitEngineTest, SurvivesTheEndOfAPagesProcess)
{
    load("<p>x</p>");
    killPageProcesses();
    EXPECT_TRUE(waitFor([&] { return client.lines == "0 terminate\n"; }));
    client.told();
    engine->reload();
    settle();
    EXPECT_TRUE(client.told().ends_with("2 finish\n"));
    EXPECT_EQ(ask("document.body.innerHTML"), "<p>x</p>");
    const TinyServer silent;
    engine->loadRequest({ .url = silent.url });
    EXPECT_TRUE(waitFor([&] { return client.lines.ends_with("start\n"); }));
    client.told();
    killPageProcesses();
    EXPECT_TRUE(waitFor([&] { return client.lines == "3 fail early 2\n0 terminate\n"; }));
}

TEST_P(WebKitEngineTest, MakesAndLosesManyPages)
{
    for (int i = 0; i < 20; i++) {
        engine = makeWebKitEngine();
        engine->setClient(&client);
        EXPECT_TRUE(load("<p>x").ends_with("finish\n"));
        if (i % 2)
            engine->loadHTML("<p>half-way", base);
        engine->setClient(nullptr);
        engine.reset();
    }
}

TEST_P(WebKitEngineTest, AnswersAPagesDialogsItself)
{
    load("<script>document.title = [alert(1), confirm(2), prompt(3)] + '!'</script>");
    EXPECT_EQ(ask("document.title"), ",false,!");
    EXPECT_EQ(engine->title(), ",false,!");
}

TEST_P(WebKitEngineTest, GivesScriptsResultsTheirKind)
{
    const std::pair<const char*, Value> rows[] { { "undefined", {} }, { "null", NSNull {} },
        { "1 < 2", true }, { "41 + 1", 42 }, { "-0.5", -0.5 },
        { "'a\\u0000\\u20ac'", std::string { "a\0\u20ac", 5 } },
        { "[1, {a: ['x', null]}]", NSArray { 1, NSDictionary { { "a", NSArray { "x", NSNull {} } } } } } };
    for (const auto& [script, expected] : rows) {
        std::optional<Value> answer;
        engine->evaluate(
            script, [&](const Value& result, const std::optional<NSError>&) { answer = result; });
        EXPECT_TRUE(waitFor([&] { return answer.has_value(); }));
        EXPECT_EQ(*answer, expected) << script;
    }
    EXPECT_EQ(ask("() => 1"), "error 5");
    EXPECT_EQ(ask("throw 'x'"), "error 4");
}

TEST_P(WebKitEngineTest, GivesBackTheMarkupOfALargePage)
{
    constexpr size_t size = 3'000'000;
    load("<p>" + std::string(size, 'x') + "</p>");
    EXPECT_GT(ask("document.documentElement.outerHTML").size(), size);
}

} // namespace lumora::test
