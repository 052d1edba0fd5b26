// How much resident memory grows while hostile answers arrive: one line a case, and an error when one of them
// takes 32 MB or more. Built without sanitizers only, whose allocators keep what is freed.

#include "platform/linux/CurlTransport.h"
#include "service/LMAPI.h"
#include "service/ServiceConfiguration.h"
#include "service/TDAPI.h"
#include "simulator/Phone.h"
#include "tests/platform/TinyServer.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <malloc.h>

namespace lumora {
namespace {

using test::TinyServer;

constexpr double mostGrowth = 32; // MB
constexpr size_t manyAtOnce = 24;

double megabytes(std::string_view field)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field))
            return std::stod(line.substr(field.size())) / 1024;
    }
    return 0;
}

/// The most that was resident during some work, beyond what was before it.
double growth(const std::function<void()>& work)
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5; // the peak begins anew
    const double before = megabytes("VmRSS:");
    work();
    return megabytes("VmHWM:") - before;
}

std::string repeated(const std::string& text, size_t size)
{
    std::string all;
    while (all.size() < size)
        all += text;
    return all;
}

class Measurement {
public:
    /// Records, reports and large batches, all at once; what they came to.
    void run(const char* name, const TinyServer::Pieces& answer, size_t records, size_t reports,
        size_t batches = 0)
    {
        const NSArray ads(2000, NSDictionary { { "phash", "0123456789abcdef" } });
        m_server.setAnswer(answer);
        std::atomic<size_t> given { 0 };
        std::atomic<size_t> failed { 0 };
        auto fails = [&](const auto&) { failed++; };
        const double grown = growth([&] {
            for (size_t i = 0; i < records; i++)
                TDAPI::activateTindalWithCompletion([&](const auto&) { given++; }, fails);
            for (size_t i = 0; i < reports; i++)
                TDAPI::sendReport(
                    {}, [&](bool, const auto&) { given++; }, fails);
            for (size_t i = 0; i < batches; i++)
                LMAPI::sendStoredData(
                    ads, nullptr, [&](const auto&, const auto&) { given++; },
                    [&](const auto&, const auto&) { failed++; }, nullptr);
            m_phone.waitUntil([&] { return given + failed == records + reports + batches; }, 60);
        });
        std::printf("%-44s %6.1f MB  %zu answered, %zu failed\n", name, grown, given.load(), failed.load());
        m_worst = std::max(m_worst, grown);
        m_unfinished += records + reports + batches - given - failed;
    }

    void sumUp() const { std::printf("hostile answers take %.1f MB at most\n", m_worst); }
    bool isGood() const { return m_worst < mostGrowth && m_unfinished == 0; }

private:
    TinyServer m_server { "HTTP/1.1 200 OK\r\n\r\n{}" };
    Phone m_phone { { .virtualTime = false, .makeTransport = [this] {
                         auto records = std::make_unique<RoutedTransport>(makeCurlTransport(),
                             TDAPI::getURLWithType(TDAPI::EndpointType::Configuration), m_server.url + "/");
                         return std::make_shared<RoutedTransport>(
                             std::move(records), LUMORA_COLLECTOR_SERVICE, m_server.url);
                     } } };
    double m_worst { 0 };
    size_t m_unfinished { 0 };
};

int measureAll()
{
    const std::string ok = "HTTP/1.1 200 OK\r\nCache-Control: max-age=77\r\n";
    const std::string block(1 << 16, ' ');
    const auto hundredMegabytes = TinyServer::repeated(ok + "Content-Length: 104857600\r\n\r\n", block, 1600);
    const auto chunks
        = TinyServer::repeated(ok + "Transfer-Encoding: chunked\r\n\r\n", "10000\r\n" + block + "\r\n", 1600);
    constexpr size_t longestRecord = size_t { 256 } << 10;
    constexpr size_t longestBatchAnswer = size_t { 512 } << 10;

    Measurement measurement;
    measurement.run("warming up", TinyServer::whole(ok + "Content-Length: 2\r\n\r\n{}"), 4, 4);
    measurement.run("100 MB with their length", hundredMegabytes, 1, 1);
    measurement.run("100 MB in chunks", chunks, 1, 1);
    measurement.run("100 MB until the connection ends", TinyServer::repeated(ok + "\r\n", block, 1600), 1, 1);
    measurement.run("100 MB, many at once", hundredMegabytes, manyAtOnce, manyAtOnce);
    measurement.run("100,000 header fields",
        TinyServer::repeated(ok, repeated("X-Flood: 1\r\n", 12'000), 100), manyAtOnce, manyAtOnce);
    measurement.run(
        "a header field of 10 MB", TinyServer::repeated(ok + "X: ", block, 160), manyAtOnce, manyAtOnce);
    measurement.run("interim answers", TinyServer::repeated(ok, "HTTP/1.1 100 Continue\r\n\r\n"), 1, 1);
    measurement.run("100,000 deep", TinyServer::whole(ok + "\r\n" + std::string(100'000, '[')), 1, 1);
    auto list = [](const char* name, const char* element, size_t size) {
        return "\r\n{\"" + std::string { name } + "\":[" + repeated(element, size - 40) + "0]}";
    };
    for (const char* element : { "0,", "[],", "{},", "\"\",", "{\"a\":0}," })
        measurement.run(element, TinyServer::whole(ok + list("a", element, longestRecord)), 2, 0);
    for (const char* element : { "0,", "{},", "{\"a\":0},", "{\"status\":404,\"phash\":\"\"}," })
        measurement.run(element,
            TinyServer::whole("HTTP/1.1 207 Multi\r\n" + list("data", element, longestBatchAnswer)), 0, 0, 2);
    measurement.sumUp();
    return measurement.isGood() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace
} // namespace lumora

int main() { return lumora::measureAll(); }
