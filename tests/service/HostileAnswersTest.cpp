#include "core/TDActivationManager.h"
#include "platform/linux/CurlTransport.h"
#include "tests/platform/TinyServer.h"
#include "tests/world/World.h"

#include <gtest/gtest.h>
#include <libdeflate.h>

namespace lumora {
namespace {

using test::TinyServer;

const std::string record = R"({"active": true, "ttlConfig": 5000})";
const std::string ok = "HTTP/1.1 200 OK\r\nCache-Control: max-age=77\r\n";
const std::string blanks(1 << 16, ' ');
constexpr size_t hundredMegabytes = 1600; // times those blanks

std::string repeated(const std::string& text, size_t times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

std::string packed(const std::string& body)
{
    libdeflate_compressor* compressor = libdeflate_alloc_compressor(1);
    std::string gzip(libdeflate_gzip_compress_bound(compressor, body.size()), '\0');
    gzip.resize(libdeflate_gzip_compress(compressor, body.data(), body.size(), gzip.data(), gzip.size()));
    libdeflate_free_compressor(compressor);
    return gzip;
}

/// A phone in real time, and a configuration service that sends what a test has it send, byte for byte.
class HostileAnswers : public testing::Test {
protected:
    HostileAnswers()
    {
        TDAPI::setNewAuthKey(test::validKey);
        TDActivationManager::sharedInstance().activate();
    }

    /// Refreshes the record, as the timer does; in how many seconds the timer is due again, which is when the
    /// new record ends.
    double refresh(TinyServer::Pieces answer)
    {
        server.setAnswer(std::move(answer));
        auto& manager = TDActivationManager::sharedInstance();
        const auto old = manager.getConfig();
        manager.getNewConfig();
        std::vector<double> due;
        EXPECT_TRUE(phone.waitUntil(
            [&] {
                due = test::timersNamed(phone, "getNewConfig]");
                const double left = manager.getConfig()
                    ? manager.getConfig()->ttlConfig().doubleValue() - phone.process().now()
                    : 0;
                return manager.getConfig() != old && due.size() == 1 && std::abs(due[0] - left) < 1;
            },
            20));
        return due.empty() ? 0 : due[0];
    }

    char gate()
    {
        char answer = '?';
        TDActivationManager::sharedInstance().checkActivationWithBlock(
            [&](bool active) { answer = active ? 'y' : 'n'; });
        return answer;
    }

    /// Whether a report that is answered like this is delivered.
    char report(TinyServer::Pieces answer)
    {
        server.setAnswer(std::move(answer));
        const auto outcome = std::make_shared<std::atomic<char>>('?');
        TDAPI::sendReport(
            { { "html", "<b>ad</b>" } }, [outcome](bool, const auto&) { *outcome = 'y'; },
            [outcome](const auto&) { *outcome = 'n'; });
        phone.waitUntil([&] { return *outcome != '?'; }, 20);
        return *outcome;
    }

    TinyServer server;
    Phone phone { { .virtualTime = false, .makeTransport = [this] {
                       return std::make_shared<RoutedTransport>(makeCurlTransport(),
                           TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), server.url + "/");
                   } } };
};

} // namespace

TEST_F(HostileAnswers, GiveARecordAndLeaveTheLifeCycleGoing)
{
    constexpr double failed = 60;
    const auto whole = &TinyServer::whole;
    const struct {
        const char* name;
        TinyServer::Pieces answer;
        double timeToLive;
    } rows[] = {
        { "a hundred megabytes",
            TinyServer::repeated(ok + "Content-Length: 104857635\r\n\r\n" + record, blanks, hundredMegabytes),
            77 },
        { "of unknown length", TinyServer::repeated(ok + "\r\n" + record, blanks, hundredMegabytes), 77 },
        { "endless chunks",
            TinyServer::repeated(ok + "Transfer-Encoding: chunked\r\n\r\n", "10000\r\n" + blanks + "\r\n"),
            77 },
        { "packed", whole(ok + "Content-Encoding: gzip\r\n\r\n" + packed(record + repeated(blanks, 256))),
            77 },
        { "100,000 header fields", TinyServer::repeated(ok, repeated("X-Flood: 1\r\n", 1000), 100), 77 },
        { "a header field of ten megabytes", TinyServer::repeated(ok + "X-Long: ", blanks, 160), 77 },
        { "interim answers without end", TinyServer::repeated(ok, "HTTP/1.1 100 Continue\r\n\r\n"), failed },
        { "a hundred thousand deep", whole(ok + "\r\n{\"active\": true, \"a\": " + repeated("[", 100'000)),
            77 },
        { "chunk cut off", whole(ok + "Transfer-Encoding: chunked\r\n\r\n1000\r\n" + record), failed },
        { "no chunk at all", whole(ok + "Transfer-Encoding: chunked\r\n\r\n" + record), failed },
        { "longer than its length", whole(ok + "Content-Length: 34\r\n\r\n" + record), 77 },
        { "shorter than its length", whole(ok + "Content-Length: 36\r\n\r\n" + record), failed },
        { "a length that is none", whole(ok + "Content-Length: -5\r\n\r\n" + record), failed },
        { "no status line", whole("ICY 200 OK\r\n\r\n" + record), failed },
        { "no such status", whole("HTTP/1.1 999 \xFF\r\n\r\n" + record), 300 },
        { "NUL in the header", whole(ok + std::string("X-A: \0b\r\n\r\n", 11) + record), failed },
        { "NUL in the body", whole(ok + "\r\n" + record + std::string(1, '\0')), 77 },
        { "half a character", whole(ok + "\r\n{\"active\": true, \"a\": \"\xE2\x82\"}"), 77 },
        { "in a circle, with a body without end",
            TinyServer::repeated("HTTP/1.1 302 Found\r\nLocation: SELF/\r\n\r\n", blanks), failed },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_NEAR(refresh(row.answer), row.timeToLive, 5);
        EXPECT_EQ(gate(), 'n');
        EXPECT_EQ(report(row.answer), row.timeToLive == failed ? 'n' : 'y');
        EXPECT_NEAR(refresh(whole(ok + "\r\n" + record)), 5000, 5);
        EXPECT_EQ(gate(), 'y') << "and nothing is loading";
    }
}

} // namespace lumora
