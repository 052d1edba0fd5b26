// An answer arrives: header lines, then a body. Whatever they are, the configuration fetch gives one record
// and a report counts as delivered once, and what is kept stays within the caps. The first byte of an input
// says how often its header comes.

#include "fuzz/Fuzzing.h"
#include "platform/dispatch/VirtualExecutor.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/foundation/NSString.h"
#include "service/TDAPI.h"

namespace lumora {
namespace {

using fuzz::expect;

/// Answers every exchange with what has been set.
class SetTransport final : public HTTPTransport {
public:
    void start(HTTPExchangeRequest request, Completion completion) override
    {
        HTTPAnswerCollector collector(request.longestBody);
        size_t lines = 0;
        bool goesOn = true;
        for (size_t times = std::max<size_t>(repeat, 1); times > 0 && goesOn; times--) {
            for (std::string_view rest = header; !rest.empty() && goesOn; lines++) {
                const size_t end = std::min(rest.find('\n'), rest.size() - 1) + 1;
                goesOn = collector.addHeaderLine(rest.substr(0, end));
                rest.remove_prefix(end);
            }
        }
        for (std::string_view rest = body; !rest.empty() && goesOn;) {
            const size_t end = std::min<size_t>(rest.size(), 100);
            goesOn = collector.addBody(rest.substr(0, end));
            rest.remove_prefix(end);
        }
        expect(goesOn != collector.isFull(), "an answer ends early when it is full, and only then");
        last = collector.take();
        last.status = status;
        expectCaps(request, lines);
        completion(last);
    }
    void stop() override { }

    std::string header;
    size_t repeat { 1 };
    std::string body;
    int status { 200 };
    HTTPExchangeAnswer last;

private:
    void expectCaps(const HTTPExchangeRequest& request, size_t lines) const
    {
        expect(last.body.size() <= request.longestBody, "a body is as long as its use");
        expect(last.body.empty() || last.body == body, "and whole");
        size_t size = 0;
        size_t fields = 0;
        for (const auto& [name, value] : last.headers) {
            size += name.size() + value.size();
            fields++;
            expect(last.headers.find(name) == &value, "a name stands once");
        }
        expect(size <= HTTPAnswerCollector::longestHeader, "a header is within its cap");
        expect(fields <= std::min(lines, HTTPAnswerCollector::mostHeaderLines), "a field comes from a line");
    }
};

/// Seconds to live that a header gives by itself, where its digits are the usual ones; else nothing.
std::optional<int64_t> timeToLive(const HTTPHeaders& headers)
{
    const std::string* value = headers.find("Cache-Control");
    if (!value)
        return 300;
    if (std::any_of(value->begin(), value->end(), [](char c) { return static_cast<signed char>(c) < 0; }))
        return std::nullopt;
    const size_t begin = value->find_first_of("0123456789");
    if (begin == std::string::npos)
        return 300;
    const std::string digits = value->substr(begin, value->find_first_not_of("0123456789", begin) - begin);
    return digits.size() <= 15 ? std::optional<int64_t>(std::stoll(digits)) : std::nullopt;
}

void expectRecord(const TDConfig& config, const HTTPExchangeAnswer& answer)
{
    const auto parsed = answer.status == 200 ? JSONObjectWithData(answer.body) : std::nullopt;
    const bool hasObject = parsed && parsed->isDictionary();
    if (!hasObject)
        expect(!config.active().boolValue() && config.buttonTap() == Value { 2 } && !config.sdks(),
            "without an object there is nothing but defaults");
    const bool hasOwnTime = hasObject && parsed->dictionary()->find("ttlConfig");
    const std::optional<int64_t> seconds = timeToLive(answer.headers);
    if (!hasOwnTime && seconds)
        expect(config.ttlConfig() == Value { fuzz::phone().process().now() + static_cast<double>(*seconds) },
            "the header's time to live, or the default");
}

} // namespace
} // namespace lumora

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace lumora;
    static const auto transport = std::make_shared<SetTransport>();
    Phone& phone = fuzz::phone({ .makeTransport = [] { return transport; } });
    if (size == 0)
        return 0;
    const std::string_view input = fuzz::textOf(data + 1, size - 1);
    const size_t blank = std::min(input.find("\n\n"), input.size());
    transport->repeat = data[0];
    transport->header = input.substr(0, blank);
    transport->body = input.substr(std::min(blank + 2, input.size()));
    transport->status = input.starts_with("HTTP/1.1 200") ? 200 : 500;

    int records = 0;
    TDAPI::activateTindalWithCompletion(
        [&](const std::shared_ptr<TDConfig>& config) {
            records++;
            expectRecord(*config, transport->last);
        },
        [](const NSError&) { expect(false, "an answer is no failure"); });
    phone.clock().drain();
    expect(records == 1, "an answer gives one record");

    int delivered = 0;
    TDAPI::sendReport(
        {}, [&](bool success, const NSDictionary&) { delivered += success ? 1 : 0; },
        [](const NSDictionary&) { expect(false, "an answer is no failure"); });
    phone.clock().drain();
    expect(delivered == 1, "a report is delivered once");
    expect(phone.console().lines().empty(), "and nothing had to be caught");
    return 0;
}
