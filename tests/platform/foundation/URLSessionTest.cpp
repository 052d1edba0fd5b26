#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURLSession.h"
#include "platform/linux/CurlTransport.h"
#include "tests/platform/TestProcess.h"
#include "tests/platform/TinyServer.h"

#include <array>
#include <future>
#include <gtest/gtest.h>

namespace lumora {

namespace {

/// What a completion was called with.
struct Answer {
    std::string body;
    std::optional<NSHTTPURLResponse> response;
    std::optional<NSError> error;
};

/// A process with real threads and a real network client.
struct URLSession : testing::Test {
    Answer fetch(NSMutableURLRequest request)
    {
        auto answer = std::make_shared<std::promise<Answer>>();
        std::future<Answer> arrived = answer->get_future();
        NSURLSession::sharedSession().dataTaskWithRequest(
            std::move(request), [answer](const NSData& body, const auto& response, const auto& error) {
                answer->set_value({ std::string { body.view() }, response, error });
            });
        return arrived.wait_for(std::chrono::seconds(30)) == std::future_status::ready ? arrived.get()
                                                                                       : Answer {};
    }
    static NSMutableURLRequest get(std::string url) { return { .url = std::move(url) }; }
    test::TemporaryFolder home;
    Process process { { .home = home.path, .console = std::make_shared<test::RecordingConsole>() } };
    Process::Scope scope { process };
};

} // namespace

using test::TinyServer;

TEST_F(URLSession, CarriesARequestAndItsAnswer)
{
    TinyServer server("HTTP/1.1 500 Oh\r\nCache-CONTROL: max-age=600\r\nX-A: 1\r\nx-a: 2\r\n"
                      "Content-Length: 4\r\n\r\n{\"a\"");
    NSMutableURLRequest request = get(server.url + "/a/../b?v=13.3&w=%20");
    request.httpMethod = "POST";
    request.httpBody = "[{}]";
    request.addValue("application/json", "Content-Type");
    request.addValue("Bearer one", "Authorization");
    request.setValue("Bearer two\r\nX-Injected: 1", "authorization");
    request.addValue("", "X-Empty");
    const Answer answer = fetch(request);
    ASSERT_TRUE(answer.response && !answer.error) << "whatever its status";
    EXPECT_EQ(answer.response->statusCode, 500);
    EXPECT_EQ(answer.body, "{\"a\"");
    EXPECT_EQ(*answer.response->headerFields.find("cache-control"), "max-age=600");
    EXPECT_EQ(*answer.response->headerFields.find("X-A"), "1,2");
    EXPECT_EQ(answer.response->headerFields.find("missing"), nullptr);
    const std::string sent = server.request();
    EXPECT_TRUE(sent.starts_with("POST /a/../b?v=13.3&w=%20 HTTP/1.1\r\n")) << sent;
    for (const char* field :
        { "Content-Type: application/json\r\n", "authorization: Bearer two  X-Injected: 1\r\n", "X-Empty:" })
        EXPECT_NE(sent.find(std::string { "\r\n" } + field), std::string::npos) << field << " in " << sent;
    for (const char* field : { "Bearer one", "Expect" })
        EXPECT_EQ(sent.find(field), std::string::npos) << sent;
    EXPECT_TRUE(sent.ends_with("\r\n\r\n[{}]")) << sent;
}

TEST_F(URLSession, TellsWhatWentWrong)
{
    TinyServer silent("");
    TinyServer closing("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
    TinyServer dripping(TinyServer::repeated("HTTP/1.1 200 OK\r\n\r\n", "x"), 5);
    TinyServer garbled("this is no HTTP at all\r\n\r\n");
    TinyServer circular("HTTP/1.1 302 Found\r\nLocation: SELF/again\r\nContent-Length: 0\r\n\r\n");
    TinyServer luring("HTTP/1.1 302 Found\r\nLocation: file:///etc/hostname\r\nContent-Length: 0\r\n\r\n");
    const std::string refused = TinyServer("").url;
    const std::tuple<const char*, std::string, int> rows[] = {
        { "silent", silent.url, NSURLErrorTimedOut },
        { "closed mid-body", closing.url, NSURLErrorNetworkConnectionLost },
        { "drop by drop", dripping.url, NSURLErrorTimedOut },
        { "refused", refused, NSURLErrorCannotConnectToHost },
        { "redirects in a circle", circular.url, NSURLErrorHTTPTooManyRedirects },
        { "redirected to a file", luring.url, NSURLErrorUnsupportedURL },
        { "blank", silent.url + "/a b", NSURLErrorBadURL },
        { "no HTTP", "ftp://127.0.0.1/", NSURLErrorUnsupportedURL },
        { "relative", "sdk/config", NSURLErrorUnsupportedURL },
    };
    for (const auto& [name, url, code] : rows) {
        NSMutableURLRequest request = get(url);
        request.timeoutInterval = code == NSURLErrorTimedOut ? 0.05 : 20;
        const Answer answer = fetch(request);
        ASSERT_TRUE(answer.error) << name;
        EXPECT_EQ(answer.error->code, code) << name << ": " << answer.error->localizedDescription;
        EXPECT_EQ(answer.error->domain, NSURLErrorDomain);
        EXPECT_FALSE(answer.response) << name;
        EXPECT_TRUE(answer.body.empty()) << name;
    }
    EXPECT_TRUE(fetch(get(garbled.url)).error);
}

TEST_F(URLSession, LeavesABodyOutThatIsLongerThanItsUse)
{
    TinyServer server("HTTP/1.1 201 Created\r\nX-A: 1\r\n\r\n0123456789");
    NSMutableURLRequest request = get(server.url);
    for (const size_t longest : { 10, 9, 0 }) {
        request.longestBody = longest;
        const Answer answer = fetch(request);
        ASSERT_TRUE(answer.response) << longest;
        EXPECT_EQ(answer.response->statusCode, 201);
        EXPECT_TRUE(answer.response->headerFields.find("X-A"));
        EXPECT_EQ(answer.response->bodyIsLeftOut, longest < 10);
        EXPECT_EQ(answer.body, longest < 10 ? "" : "0123456789") << "whole or not at all";
    }
}

TEST_F(URLSession, DropsWhatIsInFlightWhenTheProcessStops)
{
    TinyServer silent("");
    auto held = std::make_shared<int>(0);
    NSURLSession::sharedSession().dataTaskWithRequest(
        get(silent.url), [held](const NSData&, const auto&, const auto&) { FAIL() << "must not be called"; });
    process.executor().runMainLoop(10, [&] { return !silent.request().empty(); });
    process.stop();
    process.stop();
    EXPECT_EQ(held.use_count(), 1);
    NSURLSession::sharedSession().dataTaskWithRequest(get(silent.url), nullptr);
}

TEST_F(URLSession, BreaksOffWhatIsCancelled)
{
    std::atomic<size_t> pieces { 0 };
    TinyServer server([&](size_t number) { return pieces = number, "HTTP/1.1 200 OK\r\n\r\n"; }, 1);
    std::atomic<int64_t> code { 0 };
    const auto task = NSURLSession::sharedSession().dataTaskWithRequest(
        get(server.url), [&](const NSData&, const auto&, const auto& error) { code = error->code; });
    ASSERT_TRUE(process.executor().runMainLoop(20, [&] { return pieces > 2; }));
    task->cancel();
    ASSERT_TRUE(process.executor().runMainLoop(20, [&] { return code != 0; }));
    EXPECT_EQ(code, NSURLErrorCancelled);
    server.setAnswer(TinyServer::whole("HTTP/1.1 204 No Content\r\n\r\n"));
    NSMutableURLRequest next = get(server.url);
    next.timeoutInterval = 20;
    EXPECT_TRUE(fetch(next).response) << "the server takes one connection after the other";
}

TEST_F(URLSession, AnAnswerAndACancellationCompleteOnceBetweenThem)
{
    TinyServer server("HTTP/1.1 204 No Content\r\n\r\n");
    std::array<std::atomic<int>, 100> calls {};
    std::shared_ptr<NSURLSessionDataTask> previous;
    for (auto& count : calls) {
        const auto task = NSURLSession::sharedSession().dataTaskWithRequest(
            get(server.url), [&count](const NSData&, const auto&, const auto&) { count++; });
        if (previous)
            previous->cancel();
        previous = task;
    }
    auto allAre = [&](auto condition) { return std::all_of(calls.begin(), calls.end(), condition); };
    EXPECT_TRUE(process.executor().runMainLoop(
        20, [&] { return allAre([](const auto& count) { return count > 0; }); }));
    process.stop();
    EXPECT_TRUE(allAre([](const auto& count) { return count == 1; }));
}

TEST(CurlTransportTest, BreaksOffAnUploadThatStalls)
{
    std::atomic<bool> isBusy { false };
    std::atomic<bool> isOver { false };
    TinyServer busy([&](size_t) {
        isBusy = true;
        isBusy.notify_all();
        isOver.wait(false);
        return std::string {};
    });
    const auto transport = makeCurlTransport();
    auto send = [&](double timeout, size_t size, std::stop_token cancellation) {
        auto answer = std::make_shared<std::promise<HTTPExchangeAnswer>>();
        HTTPExchangeRequest request { .url = busy.url, .method = "POST", .headers = {} };
        request.timeout = timeout;
        request.body.resize(size);
        request.cancellation = std::move(cancellation);
        transport->start(std::move(request),
            [answer](HTTPExchangeAnswer arrived) { answer->set_value(std::move(arrived)); });
        return answer->get_future();
    };
    send(60, 0, {});
    isBusy.wait(false);
    std::stop_source cancellation;
    std::future<HTTPExchangeAnswer> upload = send(60, 16 << 20, cancellation.get_token());
    // Long enough for the upload to fill what takes it, and for the library's own timers.
    EXPECT_EQ(send(1.5, 0, {}).get().errorCode, NSURLErrorTimedOut);
    cancellation.request_stop();
    const auto status = upload.wait_for(std::chrono::seconds(10));
    isOver = true;
    isOver.notify_all();
    ASSERT_EQ(status, std::future_status::ready);
    EXPECT_EQ(upload.get().errorCode, NSURLErrorCancelled);
}

TEST(URLSessionOverAHeldTransport, CompletesOnItsOwnQueueOnce)
{
    test::TemporaryFolder home;
    test::TestProcess process(home.path);
    int calls = 0;
    auto completion
        = [&](const NSData&, const std::optional<NSHTTPURLResponse>& response, const auto& error) {
              EXPECT_FALSE(process.process.isMainThread());
              EXPECT_NE(response.has_value(), error.has_value());
              calls++;
              throw std::runtime_error("from a completion");
          };
    NSMutableURLRequest request { .url = "https://h/a b" };
    NSURLSession::sharedSession().dataTaskWithRequest(request, completion);
    EXPECT_EQ(calls, 0) << "never inside the call";
    EXPECT_TRUE(process.transport->requests.empty()) << "a bad URL touches no network";
    process.executor().drain();
    EXPECT_EQ(calls, 1);

    request.url = "https://h/ab";
    request.timeoutInterval = 15;
    NSURLSession::sharedSession().dataTaskWithRequest(request, completion);
    ASSERT_EQ(process.transport->requests.size(), 1u);
    EXPECT_EQ(process.transport->requests[0].timeout, 15);
    process.transport->completions[0]({ .status = 200 });
    EXPECT_EQ(calls, 1);
    process.executor().drain();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(process.console->lines().size(), 2u) << "both exceptions ended at the bottom of the queue";
}

using State = NSURLSessionDataTask::State;

/// A process whose exchanges the test answers, and what its completions were called with.
struct HeldSession : testing::Test {
    std::shared_ptr<NSURLSessionDataTask> start(const std::string& url)
    {
        NSMutableURLRequest request { .url = url, .httpBody = "body" };
        return NSURLSession::sharedSession().dataTaskWithRequest(
            std::move(request), [this, guard = held](const NSData&, const auto& response, const auto& error) {
                heard.push_back(error ? error->code : response->statusCode);
                alsoDo();
            });
    }
    void answer(size_t exchange) { process.transport->completions.at(exchange)({ .status = 200 }); }

    std::vector<int64_t> heard;
    std::function<void()> alsoDo { [] {} };
    std::shared_ptr<int> held { std::make_shared<int>() };
    test::TemporaryFolder home;
    test::TestProcess process { home.path };
};

TEST_F(HeldSession, ATaskTellsWhatItIsAndHowFarItHasCome)
{
    const auto first = start("https://h/1");
    const auto second = start("https://h/2");
    EXPECT_EQ(first->taskIdentifier(), 1u);
    EXPECT_EQ(second->taskIdentifier(), 2u);
    EXPECT_EQ(second->originalRequest().url, "https://h/2");
    EXPECT_EQ(process.transport->requests[1].body, "body");
    EXPECT_EQ(second->originalRequest().httpBody, "") << "held once";
    EXPECT_EQ(first->state(), State::Running);
    answer(0);
    process.executor().drain();
    EXPECT_EQ(first->state(), State::Completed);
    EXPECT_EQ(second->state(), State::Running);
    process.process.stop();
    EXPECT_EQ(held.use_count(), 1) << "a task that is kept keeps nothing of its completion";
    EXPECT_EQ(second->state(), State::Completed);
    second->cancel();
}

TEST_F(HeldSession, CancellingEndsATaskOnce)
{
    const auto early = start("https://h/1");
    const auto late = start("https://h/2");
    const auto refused = start("no URL");
    answer(1);
    for (const auto& task : { early, late, refused, early }) {
        task->cancel();
        EXPECT_EQ(task->state(), State::Canceling);
    }
    EXPECT_TRUE(heard.empty()) << "never inside the call";
    process.executor().drain();
    answer(0);
    process.executor().drain();
    early->cancel();
    process.executor().drain();
    EXPECT_EQ(heard, std::vector<int64_t>(3, NSURLErrorCancelled)) << "whatever had arrived, or did later";
    EXPECT_EQ(early->state(), State::Completed);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(HeldSession, ATaskThatIsDoneIsNotCancelled)
{
    const auto task = start("https://h/1");
    alsoDo = [&] { task->cancel(); };
    answer(0);
    process.executor().drain();
    EXPECT_EQ(task->state(), State::Completed) << "from inside its completion";
    task->cancel();
    process.executor().drain();
    EXPECT_EQ(heard, std::vector<int64_t> { 200 });
    EXPECT_EQ(task->state(), State::Completed);
}

} // namespace lumora
