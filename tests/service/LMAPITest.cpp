#include "service/LMAPI.h"

#include "core/TDActivationManager.h"
#include "lumora/LMLog.h"
#include "platform/foundation/NSString.h"
#include "service/ServiceConfiguration.h"
#include "service/StoredDataAnswer.h"
#include "simulator/SoleObject.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <set>

namespace lumora {
namespace {

using test::World;

/// Keeps what is meant for the collector, or the web, and answers it as the test says, or raises an unknown
/// error; the rest goes its way.
class CollectorTransport final : public HTTPTransport {
public:
    explicit CollectorTransport(std::shared_ptr<HTTPTransport> others)
        : m_others(std::move(others))
    {
    }
    void start(HTTPExchangeRequest request, Completion completion) override
    {
        if (request.url.starts_with(TDAPI::getURLWithType(TDAPI::EndpointType::Configuration)))
            return m_others->start(std::move(request), std::move(completion));
        requests.push_back(std::move(request));
        if (answer.errorCode == NSURLErrorUnknown)
            throw std::runtime_error(answer.error);
        dispatch_get_global_queue().async([=, answer = answer] { completion(answer); });
    }
    void stop() override { m_others->stop(); }

    std::vector<HTTPExchangeRequest> requests;
    HTTPExchangeAnswer answer { .status = 200 };

private:
    std::shared_ptr<HTTPTransport> m_others;
};

HTTPExchangeAnswer status(int status, std::string body = {})
{
    HTTPExchangeAnswer answer;
    answer.status = status;
    answer.body = std::move(body);
    return answer;
}

HTTPExchangeAnswer failure(int code)
{
    HTTPExchangeAnswer answer;
    answer.error = "lost";
    answer.errorCode = code;
    return answer;
}

class LMAPITest : public testing::Test {
protected:
    LMAPITest()
        : world({ .adjust = [&](Phone::Options& options) {
            options.makeTransport = [this, others = options.makeTransport] {
                return collector = std::make_shared<CollectorTransport>(others());
            };
        } })
    {
        world.start();
        LMLog::setLogLevel(0);
    }

    /// Everything that is sent, answered and logged, since the last time.
    std::vector<HTTPExchangeRequest> sent()
    {
        world.phone.wait(1);
        return std::exchange(collector->requests, {});
    }
    std::vector<std::string> logged()
    {
        const auto lines = world.phone.console().lines();
        std::vector<std::string> fresh(lines.begin() + static_cast<std::ptrdiff_t>(m_read), lines.end());
        m_read = lines.size();
        return fresh;
    }
    /// What the service's stand-in finds inside.
    NSDictionary opened(const HTTPExchangeRequest& request)
    {
        ServiceHeaders headers;
        for (const auto& [name, value] : request.headers)
            headers.emplace(name, value);
        const std::string path = request.url.substr(std::string_view { LUMORA_COLLECTOR_SERVICE }.size());
        EXPECT_EQ(world.services.handle({ "POST", path, headers, request.body }).status, 200);
        const CollectorService& service = world.services.collector();
        const bool isEvent = path.starts_with("/event");
        return soleObjectIn((isEvent ? service.events() : service.complaints()).back().decrypted);
    }

    std::shared_ptr<CollectorTransport> collector;
    World world;

private:
    size_t m_read { 0 };
};

const NSDictionary event { { "type", "click" }, { "n", 1 } };
const NSDictionary nested { { "type", "a/b" } };
const NSArray ads { NSDictionary { { "phash", "p" } } };

TEST_F(LMAPITest, AClosedGateIsSilent)
{
    world.service.setRecord(R"({"active": false, "ttlConfig": 3600})");
    TDActivationManager::sharedInstance().getNewConfig();
    world.phone.wait(1);
    auto delivered = [](bool) { ADD_FAILURE(); };
    auto completed = [](bool, const NSDictionary&) { ADD_FAILURE(); };
    auto failed = [](const NSDictionary&) { ADD_FAILURE(); };
    LMAPI::sendScreenshot("s", completed, failed);
    LMAPI::sendSourceHash("h", completed, failed);
    LMAPI::sendComplaintInfo(event, delivered);
    LMAPI::sendEventInfo(event, true, delivered);
    EXPECT_TRUE(sent().empty());
    EXPECT_TRUE(LMAPI::sendStoredData(ads, nullptr, nullptr, nullptr, nullptr)) << "asks no gate";
    EXPECT_EQ(sent().size(), 1u);
}

TEST_F(LMAPITest, WhatWaitsForTheGateIsSentOnceItHasFetched)
{
    world.restart();
    TDAPI::setNewAuthKey(test::validKey);
    TDActivationManager::sharedInstance().activate();
    std::vector<bool> heard;
    LMAPI::sendComplaintInfo(event, [&](bool delivered) {
        heard.push_back(delivered);
        EXPECT_FALSE(world.phone.process().isMainThread());
    });
    EXPECT_TRUE(collector->requests.empty());
    EXPECT_EQ(sent().size(), 1u);
    EXPECT_EQ(heard, std::vector<bool> { true });
}

TEST_F(LMAPITest, EveryUploadCarriesItsFields)
{
    const NSDictionary device { { "uuid", "0C4B8A6E-3D5F-4E0B-9C35-7F1A2B3C4D5E" },
        { "idfa", "5A2D1E7C-8B94-4F3A-A6D0-1C2B3A4D5E6F" }, { "model", "iPhone" }, { "osVersion", "13.3" },
        { "cellNetwork", "No Carrier" }, { "bundleId", "com.example.daily" }, { "appVersion", "45" },
        { "lmSdkVersion", "3.0:3" }, { "buildNumber", "2.3" } };
    const struct {
        const char* path;
        std::function<void()> send;
        NSDictionary own;
    } rows[] = {
        { "/ads/ios/com.example.daily/i", [] { LMAPI::sendScreenshot("shot", nullptr, nullptr); },
            { { "connection", "WIFI" }, { "screenshots", "shot" } } },
        { "/ads/ios/com.example.daily/i", [] { LMAPI::sendScreenshot({}, nullptr, nullptr); },
            { { "connection", "WIFI" } } },
        { "/ads/ios/com.example.daily/h", [] { LMAPI::sendSourceHash(NSArray { "a" }, nullptr, nullptr); },
            { { "connection", "WIFI" }, { "sources", NSArray { "a" } } } },
        { "/event/ios/com.example.daily/click", [] { LMAPI::sendEventInfo(event, false, nullptr); },
            { { "event", event } } },
        { "/event/ios/com.example.daily/a/b", [] { LMAPI::sendEventInfo(nested, false, nullptr); },
            { { "event", nested } } },
        { "/event/ios/com.example.daily/(null)",
            [] { LMAPI::sendEventInfo(NSDictionary {}, false, nullptr); }, { { "event", NSDictionary {} } } },
        { "/ads/ios/com.example.daily",
            [] { LMAPI::sendStoredData(ads, nullptr, nullptr, nullptr, nullptr); },
            { { "connection", "WIFI" }, { "userId", device["idfa"] }, { "ads", ads } } },
    };
    for (const auto& row : rows) {
        NSDictionary expected = device;
        expected.set("ts", saturatingInteger(world.phone.process().now() * 1000));
        expected.addEntriesFrom(row.own);
        row.send();
        const HTTPExchangeRequest request = sent().at(0);
        EXPECT_EQ(request.url, std::string { "https://collector.lumora.example" } + row.path);
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(soleObjectIn(request.body), expected) << row.path;
    }
}

TEST_F(LMAPITest, TheKeyGoesOutAsItIs)
{
    const std::string url = "https://x.example/";
    EXPECT_EQ(LMAPI::createURLRequestWithURL(url, "PUT").headers.find("Authorization"), nullptr);
    LMAPI::setNewAuthKey("secret");
    LMAPI::setNewAuthKey(std::nullopt);
    LMAPI::setBundleForTest("any");
    const NSMutableURLRequest request = LMAPI::createURLRequestWithURL(url, "PUT");
    EXPECT_EQ(*request.headers.find("Authorization"), "secret");
    EXPECT_EQ(*request.headers.find("Content-Type"), "application/json");
    EXPECT_EQ(request.httpMethod, "PUT");
    EXPECT_EQ(request.timeoutInterval, 15.0);
    EXPECT_EQ(request.cachePolicy, NSMutableURLRequest::CachePolicy::ReloadIgnoringLocalCacheData);
    LMAPI::updateTimeFromServerWithSuccess(nullptr, nullptr);
    const HTTPExchangeRequest time = sent().at(0);
    EXPECT_EQ(time.method + " " + time.url, "HEAD https://www.example.com/");
    EXPECT_EQ(time.headers.find("Authorization"), nullptr) << "a stranger is not told";
}

TEST_F(LMAPITest, ComplaintsOpenWithWhatTheirHeadersSay)
{
    LMAPI::sendComplaintInfo(NSDictionary { { "model", "mine" }, { "text", "gr\u00FC\u00DFe" } }, nullptr);
    LMAPI::sendComplaintInfo(NSDictionary {}, nullptr);
    LMAPI::sendComplaintInfo(std::nullopt, nullptr);
    const auto complaints = sent();
    ASSERT_EQ(complaints.size(), 2u);
    EXPECT_TRUE(complaints[0].url.ends_with("/complaints/ios/com.example.daily/"));
    const NSDictionary first = opened(complaints[0]);
    EXPECT_EQ(first.size(), 11u);
    EXPECT_EQ(first["model"], Value { "mine" }) << "the complaint wins";
    EXPECT_EQ(first["text"], Value { "gr\u00FC\u00DFe" });
    EXPECT_EQ(opened(complaints[1])["model"], Value { "iPhone" });
    for (const char* name : { "lm-s", "lm-iv" })
        EXPECT_NE(*complaints[0].headers.find(name), *complaints[1].headers.find(name)) << "new each time";
}

TEST_F(LMAPITest, AnEncryptedEventOpensWithTheFixedKey)
{
    LMAPI::sendEventInfo(event, true, nullptr);
    LMAPI::sendEventInfo(std::nullopt, true, nullptr);
    const auto events = sent();
    ASSERT_EQ(events.size(), 1u);
    const NSDictionary body = opened(events[0]);
    EXPECT_EQ(body.size(), 11u);
    EXPECT_EQ(body["event"], Value { event });
    EXPECT_EQ(events[0].headers.find("lm-s"), nullptr);
}

TEST_F(LMAPITest, AnEventWhoseTypeMakesNoURLIsOnlyLogged)
{
    for (const char* type : { "%@", "a b", "\u672C" }) {
        LMAPI::sendEventInfo(NSDictionary { { "type", type } }, false, [](bool) { ADD_FAILURE(); });
        EXPECT_TRUE(sent().empty()) << type;
        EXPECT_EQ(logged(),
            std::vector<std::string> {
                "[Lumora] error - Error Domain=NSURLErrorDomain Code=-1000 \"unsupported URL\"" });
    }
}

TEST_F(LMAPITest, RandomTextsAreOfTheirAlphabet)
{
    const std::string digits = LMAPI::randomStringWithLength(2000, true);
    EXPECT_EQ(digits.size(), 2000u);
    EXPECT_EQ(std::set(digits.begin(), digits.end()).size(), 10u);
    const std::string all = LMAPI::randomStringWithLength(20'000, false);
    EXPECT_EQ(std::set(all.begin(), all.end()).size(), 62u);
    EXPECT_TRUE(std::all_of(all.begin(), all.end(), [](unsigned char c) { return std::isalnum(c); }));
    EXPECT_EQ(LMAPI::randomStringWithLength(0, true) + LMAPI::randomStringWithLength(-1, false), "");
}

TEST_F(LMAPITest, WhoHearsOfWhichAnswer)
{
    std::string heard;
    auto deliver = [&](const char* who) {
        return [&heard, who](bool success) { heard += std::string { who } + (success ? "+" : "-"); };
    };
    auto complete
        = [&](const char* who) { return [=](bool success, const NSDictionary&) { deliver(who)(success); }; };
    auto fail = [&](const char* who) { return [&heard, who](const auto&) { heard += who; }; };
    const std::pair<HTTPExchangeAnswer, const char*> rows[] = {
        { status(200), "shot+hash+complaint+event+time" },
        { status(201), "complaint-time" },
        { status(404), "complaint-time" },
        { failure(NSURLErrorTimedOut), "(shot)(hash)complaint-(time)" },
        { failure(NSURLErrorUnknown), "(shot)(hash)complaint-(time)" },
    };
    for (const auto& [answer, expected] : rows) {
        collector->answer = answer;
        heard.clear();
        LMAPI::sendScreenshot("s", complete("shot"), fail("(shot)"));
        LMAPI::sendSourceHash("h", complete("hash"), fail("(hash)"));
        LMAPI::sendComplaintInfo(event, deliver("complaint"));
        LMAPI::sendEventInfo(event, false, deliver("event"));
        LMAPI::updateTimeFromServerWithSuccess(fail("time"), fail("(time)"));
        EXPECT_EQ(sent().size(), 5u);
        EXPECT_EQ(heard, expected) << answer.status;
    }
    std::vector<std::string> log;
    for (const char* code : { "-1001", "-1" }) {
        log.insert(log.end(), 5,
            stringWithFormat("[Lumora] error - Error Domain=NSURLErrorDomain Code=%@ \"lost\"", { code }));
        log.emplace_back("[Lumora] can't update time from server");
    }
    EXPECT_EQ(logged(), log);
}

TEST_F(LMAPITest, EachAnswerToABatchHasItsOwnCallbackAndLogLine)
{
    const std::string missing = R"({"data":[{"status":"404","phash":"p"},{"status":404,"sourceHash":"s"}]})";
    const std::string none = R"({"images":[],"htmls":[]})";
    const std::string server = "[Lumora] [LMAPI][sendStoredData] response from server is ";
    const std::string error404 = "[Lumora] error - Error Domain=NSURLErrorDomain Code=404 \"lost\"";
    const std::string errorLost = "[Lumora] error - Error Domain=NSURLErrorDomain Code=-1005 \"lost\"";
    const std::string different = "[Lumora] [LMAPI][SendStoredData] response from server is different";
    const struct {
        const char* name;
        HTTPExchangeAnswer answer;
        bool isAwaited;
        std::string heard;
        std::vector<std::string> log;
    } rows[] = {
        { "all", status(200), true, "delete all", { server + "200" } },
        { "all, unheard", status(200), false, "", { server + "200" } },
        { "part", status(207, missing), true, R"(part {"images":["p"],"htmls":["s"]})", { server + "207" } },
        { "part, unheard", status(207, missing), false, "", {} },
        { "part, long", status(207, missing + std::string(256 << 10, ' ')), true,
            R"(part {"images":["p"],"htmls":["s"]})", { server + "207" } },
        { "part, too long", status(207, missing + std::string(257 << 10, ' ')), true, "part " + none,
            { server + "207", different } },
        { "strange", status(404, missing), true, "failed",
            { "[Lumora] [LMAPI][sendStoredData] strange response from server" } },
        { "error 404", failure(404), true, "simple " + none, { error404, server + "404", different } },
        { "error 404, unheard", failure(404), false, "", { error404 } },
        { "lost", failure(-1005), true, "failed -1005", { errorLost, server + "error" } },
        { "lost, unheard", failure(-1005), false, "",
            { errorLost, "[Lumora] [LMAPI][sendStoredData] something wrong with server" } },
    };
    for (const auto& row : rows) {
        std::string heard;
        auto summary = [&](const std::string& who) {
            return [&heard, who](const NSDictionary& items, const NSDictionary& empty) {
                heard += who + *dataWithJSONObject(items) + (empty.empty() ? "" : "?");
            };
        };
        auto failed = [&](const std::optional<NSError>& error, const NSDictionary&) {
            heard += error ? stringWithFormat("failed %ld", { error->code }) : "failed";
        };
        auto deleteAll = [&](bool success, const NSDictionary&) { heard += success ? "delete all" : "?"; };
        collector->answer = row.answer;
        if (row.isAwaited)
            LMAPI::sendStoredData(ads, summary("simple "), summary("part "), failed, deleteAll);
        else
            LMAPI::sendStoredData(ads, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(sent().size(), 1u);
        EXPECT_EQ(heard, row.heard) << row.name;
        EXPECT_EQ(logged(), row.log) << row.name;
    }
}

TEST_F(LMAPITest, ABatchThatIsCancelledFails)
{
    std::vector<int64_t> codes;
    auto failed = [&](const auto& error, const NSDictionary&) { codes.push_back(error->code); };
    auto completed = [](bool, const NSDictionary&) { ADD_FAILURE(); };
    LMAPI::sendStoredData(ads, nullptr, nullptr, failed, completed)->cancel();
    EXPECT_TRUE(codes.empty());
    EXPECT_TRUE(collector->requests.at(0).cancellation.stop_requested());
    EXPECT_EQ(sent().size(), 1u);
    EXPECT_EQ(codes, std::vector<int64_t> { NSURLErrorCancelled });
}

TEST_F(LMAPITest, WhatIsNoJSONHasNoBody)
{
    const NSDictionary bad { { "object", make<NSObject>() } };
    NSDictionary missing;
    collector->answer = status(207, R"({"data":[{"status":404,"phash":"p"}]})");
    LMAPI::sendStoredData(
        NSArray { bad }, nullptr, [&](const NSDictionary& items, const auto&) { missing = items; }, nullptr,
        nullptr);
    LMAPI::sendComplaintInfo(bad, nullptr);
    LMAPI::sendEventInfo(bad, true, nullptr);
    LMAPI::sendEventInfo(bad, false, nullptr);
    LMAPI::sendScreenshot(bad, nullptr, nullptr);
    const auto requests = sent();
    ASSERT_EQ(requests.size(), 5u);
    for (const HTTPExchangeRequest& request : requests)
        EXPECT_EQ(request.body, "") << request.url;
    EXPECT_EQ(missing, (NSDictionary { { "images", NSArray {} }, { "htmls", NSArray {} } }));
}

TEST_F(LMAPITest, NobodyHasToListen)
{
    for (const auto& answer : { status(200), status(207), status(500), failure(404), failure(-1005) }) {
        collector->answer = answer;
        LMAPI::sendScreenshot({}, nullptr, nullptr);
        LMAPI::sendSourceHash({}, nullptr, nullptr);
        LMAPI::sendComplaintInfo(event, nullptr);
        LMAPI::sendEventInfo(event, true, nullptr);
        LMAPI::sendStoredData(ads, nullptr, nullptr, nullptr, nullptr);
        LMAPI::updateTimeFromServerWithSuccess(nullptr, nullptr);
        LMAPI::sendLog();
        EXPECT_EQ(LMAPI::sendStoredData({}, nullptr, nullptr, nullptr, nullptr), nullptr);
        EXPECT_EQ(sent().size(), 6u) << "there is no log to send, and no empty batch";
    }
    EXPECT_FALSE(world.phone.console().contains("exception"));
}

TEST_F(LMAPITest, SummariesOfAnExchange)
{
    const NSDictionary none = LMAPI::prepareResponseInfoWith({}, {}, {});
    EXPECT_EQ(none,
        (NSDictionary { { "dictionaryFromData", NSDictionary {} }, { "urlResponse", "" }, { "error", "" } }));
    const NSDictionary all = LMAPI::prepareResponseInfoWith(NSData::fromText("{\"a\":1}"),
        NSHTTPURLResponse { .statusCode = 207 }, NSError { "Lumora", 123, "x" });
    EXPECT_EQ(all["dictionaryFromData"], Value(NSDictionary { { "a", 1 } }));
    EXPECT_EQ(as<NSHTTPURLResponseObject>(all["urlResponse"].object())->response().statusCode, 207);
    EXPECT_EQ(all["error"].description(), "Error Domain=Lumora Code=123 \"x\"");
}

TEST(StoredDataAnswerTest, WhatAnAnswerSaysIsMissing)
{
    Phone phone { {} };
    const struct {
        const char* body;
        NSArray images;
        NSArray htmls;
    } rows[] = {
        { R"({"data":[{"status":404,"phash":"p"},{"status":404,"sourceHash":"s"}]})", { "p" }, { "s" } },
        { R"({"data":[{"status":"404","phash":"p"},{"status":404.0,"phash":"q"}]})", { "p", "q" }, {} },
        { R"({"data":[{"status":" 404 ","phash":"p"},{"status":"NaN","phash":"q"}]})", { "p" }, {} },
        { R"({"data":[{"status":404,"phash":"p","sourceHash":"s"}]})", { "p" }, {} },
        { R"({"data":[{"status":404,"phash":7,"sourceHash":"s"}]})", {}, { "s" } },
        { R"({"data":[{"status":404,"phash":"","sourceHash":7},{"status":404}]})", { "" }, {} },
        { R"({"data":[{"status":200,"phash":"p"},{"status":"404x","phash":"p"},{"phash":"p"}]})", {}, {} },
        { R"({"data":[{"status":true,"phash":"p"},{"status":null,"phash":"p"}]})", {}, {} },
        { R"({"data":["404",404,null,[],{"status":404,"phash":"p"}]})", { "p" }, {} },
        { R"({"data":{"status":404,"phash":"p"}})", {}, {} },
        { R"([{"status":404,"phash":"p"}])", {}, {} },
        { R"({"data":[{"status":404,"phash":"p"}])", {}, {} },
        { "", {}, {} },
        { "\xff", {}, {} },
    };
    LMLog::setLogLevel(0);
    for (const auto& row : rows)
        EXPECT_EQ(
            missingItems(row.body, true), (NSDictionary { { "images", row.images }, { "htmls", row.htmls } }))
            << row.body;
    EXPECT_TRUE(phone.console().lines().empty()) << "nothing is said of a damaged body";
}

} // namespace
} // namespace lumora
