#include "devservice/LoopbackServer.h"

#include "devservice/LocalServices.h"
#include "platform/foundation/NSError.h"
#include "platform/linux/CurlTransport.h"

#include <future>
#include <gtest/gtest.h>

namespace lumora {
namespace {

class LoopbackServerTest : public testing::Test {
protected:
    LoopbackServerTest() { server.start(); }

    HTTPExchangeAnswer get(const std::string& url, double timeout = 60)
    {
        return exchange({ .url = url, .method = "GET", .timeout = timeout });
    }
    HTTPExchangeAnswer post(const std::string& body)
    {
        return exchange({ .url = server.configurationURL() + "ad", .method = "POST", .body = body });
    }
    HTTPExchangeAnswer exchange(HTTPExchangeRequest request)
    {
        request.headers.add("Authorization", "Bearer key");
        std::promise<HTTPExchangeAnswer> answer;
        transport->start(
            std::move(request), [&](const HTTPExchangeAnswer& arrived) { answer.set_value(arrived); });
        return answer.get_future().get();
    }
    std::string config() const { return server.configurationURL() + "sdk/config"; }

    LocalServices services { "key" };
    ConfigurationService& service { services.configuration() };
    LoopbackServer server { services };
    std::unique_ptr<HTTPTransport> transport { makeCurlTransport() };
};

TEST_F(LoopbackServerTest, CarriesRequestsAndAnswers)
{
    EXPECT_EQ(get(config() + "?sdk_version=2.1.0").body, R"({"active":true})");
    EXPECT_EQ(post("[{}]").status, 200);
    EXPECT_EQ(service.configurationFetches().at(0).target, "/api/v1/sdk/config?sdk_version=2.1.0");
    EXPECT_EQ(service.reports().at(0).authorization, "Bearer key");
    EXPECT_GT(service.reports().at(0).receivedAt, 1.7e9);
}

TEST_F(LoopbackServerTest, FaultsAreWhatAClientSees)
{
    struct {
        const char* name;
        Fault fault;
        int error;
        int status;
        std::string body;
    } const rows[] {
        { "status", { .status = 500 }, 0, 500, R"({"active":true})" },
        { "no body", { .status = 304 }, 0, 304, "" },
        { "garbage", { .body = Fault::garbage() }, 0, 200, Fault::garbage() },
        { "closed", { .ending = Ending::CloseWithoutAnswer }, NSURLErrorNetworkConnectionLost, 0, "" },
        { "half", { .ending = Ending::CloseMidBody }, NSURLErrorNetworkConnectionLost, 0, "" },
        { "delay", { .delaySeconds = 0.01 }, 0, 200, R"({"active":true})" },
        { "late", { .delaySeconds = 3000 }, NSURLErrorTimedOut, 0, "" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        services.addFault(row.fault);
        HTTPExchangeRequest request { .url = config(), .method = "GET", .timeout = 0.5 };
        // On a kept connection the client would ask again by itself.
        request.headers.add("Connection", "close");
        const HTTPExchangeAnswer answer = exchange(request);
        EXPECT_EQ(answer.errorCode, row.error);
        if (row.error == 0) {
            EXPECT_EQ(answer.status, row.status);
            EXPECT_EQ(answer.body, row.body);
        }
    }
}

TEST_F(LoopbackServerTest, DelayedAnswerHoldsNobodyElseUp)
{
    services.addFault({ .delaySeconds = 3000 });
    EXPECT_EQ(get(config(), 0.1).errorCode, NSURLErrorTimedOut);
    EXPECT_EQ(get(config()).status, 200);
}

TEST_F(LoopbackServerTest, GoesAwayAndComesBackOnTheSamePort)
{
    const std::string url = config();
    EXPECT_EQ(get(url).status, 200);
    for (int i = 0; i < 3; ++i) {
        server.stop();
        EXPECT_EQ(get(url).errorCode, NSURLErrorCannotConnectToHost);
        server.start();
        EXPECT_EQ(config(), url);
        EXPECT_EQ(get(url).status, 200);
    }
    LoopbackServer second(services, server.port());
    EXPECT_THROW(second.start(), std::system_error);
}

TEST_F(LoopbackServerTest, RefusesWhatIsTooLargeAndTakesWhatJustFits)
{
    std::string body = "[{\"screenshot\":\"" + std::string(LoopbackServer::bodyLimit - 19, 'A') + "\"}]";
    ASSERT_EQ(body.size(), LoopbackServer::bodyLimit);
    EXPECT_EQ(post(body).status, 200);
    EXPECT_EQ(post(body + ' ').status, 413);
    EXPECT_EQ(get(config() + "?" + std::string(10000, 'x')).status, 431);
    EXPECT_EQ(service.reports().size(), 1U);
}

TEST_F(LoopbackServerTest, AnswersWhatIsNotHTTP)
{
    EXPECT_EQ(exchange({ .url = config(), .method = "GET\x01" }).status, 400);
    EXPECT_TRUE(service.configurationFetches().empty());
}

} // namespace
} // namespace lumora
