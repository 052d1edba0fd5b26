#pragma once

#include "platform/webkit/WebEngine.h"
#include "tests/platform/TestProcess.h"

#include <gtest/gtest.h>
#include <utility>

namespace lumora::test {

/// Writes down what the engine tells, and decides as the test says.
class RecordingClient final : public WebEngineClient {
public:
    virtual ~RecordingClient() = default;
    void decideAction(WebLoad load, const WebAction& action, Decision decision) override
    {
        const char* targets[] = { "", " in a frame", " in a window" };
        note("action " + std::to_string(static_cast<int>(action.type)) + " " + action.request.url
                + targets[static_cast<int>(action.target)],
            load);
        decide(std::move(decision), allowActions);
    }
    void decideResponse(WebLoad load, const NSHTTPURLResponse&, Decision decision) override
    {
        note("response", load);
        decide(std::move(decision), allowResponses);
    }
    void didStart(WebLoad load) override { note("start", load); }
    void didRedirect(WebLoad load) override { note("redirect", load); }
    void didCommit(WebLoad load) override { note("commit", load); }
    void didFinish(WebLoad load) override { note("finish", load); }
    void didFail(WebLoad load, const NSError& error, bool provisional) override
    {
        note((provisional ? "fail early " : "fail late ") + std::to_string(error.code), load);
    }
    void didRefuse(WebLoad load) override { note("refuse", load); }
    void didTerminate() override { note("terminate", 0); }

    std::string told() { return std::exchange(lines, {}); }

    std::string lines;
    bool allowActions { true };
    bool allowResponses { true };
    /// Keeps the next decision instead of making it.
    Decision* kept { nullptr };
    bool waits { false };
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
        waits = kept != nullptr;
        if (waits)
            *std::exchange(kept, nullptr) = std::move(decision);
        else
            decision(allow);
    }
};

/// An engine, and why it cannot be tried here, if so.
struct EngineUnderTest {
    const char* name;
    WebEngineFactory make;
    std::function<std::string()> problem;
};
inline void PrintTo(const EngineUnderTest& engine, std::ostream* out) { *out << engine.name; }

/// Every engine keeps to this; an engine is one parameter. A test is under virtual time, and waits for what
/// an engine does outside of it.
class WebEngineTest : public testing::TestWithParam<EngineUnderTest> {
protected:
    /// Real seconds that anything may take before it counts as not happening.
    static constexpr double patience = 20;

    void SetUp() override
    {
        const std::string problem = GetParam().problem();
        if (!problem.empty())
            GTEST_SKIP() << problem;
        engine = GetParam().make();
        engine->setClient(&client);
    }
    bool waitFor(const std::function<bool()>& condition)
    {
        return world.executor().drainUntil(condition, patience);
    }
    /// Until the engine has nothing more to tell, unless a decision is awaited.
    void settle()
    {
        world.executor().advance(1);
        if (!engine)
            return;
        waitFor([&] { return !engine->isLoading() || client.waits; });
        bool isThrough = false;
        engine->evaluate("0", [&](const Value&, const std::optional<NSError>&) { isThrough = true; });
        EXPECT_TRUE(waitFor([&] { return isThrough; }));
    }
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
        waitFor([&] { return answer != "no answer"; });
        return answer;
    }

    const std::string base { "https://ads.example.com/a/page.html?x=1" };
    TemporaryFolder home;
    TestProcess world { home.path };
    RecordingClient client;
    std::shared_ptr<WebEngine> engine;
};

} // namespace lumora::test
