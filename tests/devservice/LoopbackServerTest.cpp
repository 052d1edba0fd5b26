#include "devservice/LoopbackServer.h"

#include "devservice/LocalServices.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <memory>

namespace lumora {
namespace {

/// One client with its own connection, which it keeps open between requests.
class Client {
public:
    Client()
        : m_headers(curl_slist_append(nullptr, "Authorization: Bearer key"))
        , m_curl(curl_easy_init())
    {
        set(CURLOPT_HTTPHEADER, m_headers.get());
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_WRITEDATA, &m_body);
        set(
            CURLOPT_WRITEFUNCTION, +[](char* bytes, size_t size, size_t count, std::string* body) {
                body->append(bytes, size * count);
                return size * count;
            });
    }

    template <typename Value> void set(CURLoption option, Value value)
    {
        curl_easy_setopt(m_curl.get(), option, value);
    }

    CURLcode get(const std::string& url)
    {
        set(CURLOPT_HTTPGET, 1L);
        return perform(url);
    }

    CURLcode post(const std::string& url, const std::string& body)
    {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(CURLOPT_POSTFIELDS, body.data());
        return perform(url);
    }

    long status() const
    {
        long status = 0;
        curl_easy_getinfo(m_curl.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }
    const std::string& body() const { return m_body; }

private:
    CURLcode perform(const std::string& url)
    {
        m_body.clear();
        set(CURLOPT_URL, url.c_str());
        return curl_easy_perform(m_curl.get());
    }

    struct Free {
        void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    std::string m_body;
    std::unique_ptr<curl_slist, Free> m_headers;
    std::unique_ptr<CURL, Free> m_curl;
};

class LoopbackServerTest : public testing::Test {
protected:
    LoopbackServerTest() { server.start(); }

    std::string config() const { return server.configurationURL() + "sdk/config"; }
    std::string ad() const { return server.configurationURL() + "ad"; }

    LocalServices services { "key" };
    ConfigurationService& service { services.configuration() };
    LoopbackServer server { services };
    Client client;
};

TEST_F(LoopbackServerTest, CarriesRequestsAndAnswersOverOneConnection)
{
    EXPECT_EQ(client.get(config() + "?sdk_version=2.1.0"), CURLE_OK);
    EXPECT_EQ(client.body(), R"({"active":true})");
    EXPECT_EQ(client.post(ad(), "[{}]"), CURLE_OK);
    EXPECT_EQ(client.status(), 200);
    EXPECT_EQ(service.configurationFetches().at(0).target, "/api/v1/sdk/config?sdk_version=2.1.0");
    EXPECT_EQ(service.reports().at(0).authorization, "Bearer key");
    EXPECT_GT(service.reports().at(0).receivedAt, 1.7e9);
}

TEST_F(LoopbackServerTest, FaultsAreWhatAClientSees)
{
    struct {
        const char* name;
        Fault fault;
        CURLcode outcome;
        long status;
        std::string body;
    } const rows[] {
        { "status", { .status = 500 }, CURLE_OK, 500, R"({"active":true})" },
        { "no body", { .status = 304 }, CURLE_OK, 304, "" },
        { "garbage", { .body = Fault::garbage() }, CURLE_OK, 200, Fault::garbage() },
        { "closed", { .ending = Ending::CloseWithoutAnswer }, CURLE_GOT_NOTHING, 0, "" },
        { "half", { .ending = Ending::CloseMidBody }, CURLE_PARTIAL_FILE, 200, R"({"activ)" },
        { "delay", { .delaySeconds = 0.01 }, CURLE_OK, 200, R"({"active":true})" },
        { "late", { .delaySeconds = 3000 }, CURLE_OPERATION_TIMEDOUT, 0, "" },
    };
    client.set(CURLOPT_FORBID_REUSE, 1L); // on a kept connection the client would ask again by itself
    client.set(CURLOPT_TIMEOUT_MS, 500L);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        services.addFault(row.fault);
        EXPECT_EQ(client.get(config()), row.outcome);
        EXPECT_EQ(client.status(), row.status);
        EXPECT_EQ(client.body(), row.body);
    }
}

TEST_F(LoopbackServerTest, DelayedAnswerHoldsNobodyElseUp)
{
    services.addFault({ .delaySeconds = 3000 });
    Client waiting;
    waiting.set(CURLOPT_TIMEOUT_MS, 100L);
    EXPECT_EQ(waiting.get(config()), CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(client.get(config()), CURLE_OK);
}

TEST_F(LoopbackServerTest, GoesAwayAndComesBackOnTheSamePort)
{
    const std::string url = config();
    EXPECT_EQ(client.get(url), CURLE_OK);
    for (int i = 0; i < 3; ++i) {
        server.stop();
        EXPECT_EQ(client.get(url), CURLE_COULDNT_CONNECT);
        server.start();
        EXPECT_EQ(config(), url);
        EXPECT_EQ(client.get(url), CURLE_OK);
    }
    LoopbackServer second(services, server.port());
    EXPECT_THROW(second.start(), std::system_error);
}

TEST_F(LoopbackServerTest, RefusesWhatIsTooLargeAndTakesWhatJustFits)
{
    std::string body = "[{\"screenshot\":\"" + std::string(LoopbackServer::bodyLimit - 19, 'A') + "\"}]";
    ASSERT_EQ(body.size(), LoopbackServer::bodyLimit);
    EXPECT_EQ(client.post(ad(), body), CURLE_OK);
    EXPECT_EQ(client.status(), 200);
    EXPECT_EQ(service.reports().size(), 1U);

    body += ' ';
    EXPECT_EQ(client.post(ad(), body), CURLE_OK);
    EXPECT_EQ(client.status(), 413);
    EXPECT_EQ(client.get(config() + "?" + std::string(10000, 'x')), CURLE_OK);
    EXPECT_EQ(client.status(), 431);
    EXPECT_EQ(service.reports().size(), 1U);
}

TEST_F(LoopbackServerTest, AnswersWhatIsNotHTTP)
{
    client.set(CURLOPT_CUSTOMREQUEST, "GET\x01");
    EXPECT_EQ(client.get(config()), CURLE_OK);
    EXPECT_EQ(client.status(), 400);
    EXPECT_TRUE(service.configurationFetches().empty());
}

} // namespace
} // namespace lumora
