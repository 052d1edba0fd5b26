#include "simulator/SimulatedNetwork.h"

#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSError.h"
#include "platform/process/Process.h"

namespace lumora {

void Radio::connect(Link link)
{
    uint32_t flags = 0;
    if (link != Link::None)
        flags |= kSCNetworkReachabilityFlagsReachable;
    if (link == Link::Cellular)
        flags |= kSCNetworkReachabilityFlagsIsWWAN;
    m_flags.store(flags, std::memory_order_relaxed);
    changed();
}

namespace {

HTTPExchangeAnswer failure(int code, std::string text)
{
    HTTPExchangeAnswer answer;
    answer.errorCode = code;
    answer.error = std::move(text);
    return answer;
}

HTTPExchangeAnswer received(const ServiceAnswer& answer)
{
    if (answer.ending != Ending::Normal)
        return failure(NSURLErrorNetworkConnectionLost, "the connection was lost");
    HTTPExchangeAnswer delivered;
    delivered.status = answer.status;
    delivered.body = answer.body;
    for (const auto& [name, value] : answer.headers)
        delivered.headers.add(name, value);
    return delivered;
}

} // namespace

/// Path and query as the service sees them; empty for a foreign address.
std::string DirectTransport::targetOf(const std::string& url) const
{
    if (url.starts_with(m_configurationURL))
        return std::string { ConfigurationService::apiPath } + url.substr(m_configurationURL.size());
    return url.starts_with(m_collectorURL + "/") ? url.substr(m_collectorURL.size()) : "";
}

void DirectTransport::start(HTTPExchangeRequest request, Completion completion)
{
    if (m_stopped)
        return;
    DispatchQueue& queue = dispatch_get_global_queue();
    auto finish = [&queue, completion](double delay, HTTPExchangeAnswer answer) {
        queue.asyncAfter(delay, [completion, answer = std::move(answer)] { completion(answer); });
    };
    std::string target = targetOf(request.url);
    if (target.empty())
        return finish(
            latency, failure(NSURLErrorCannotFindHost, "a server with that name could not be found"));

    // The request reaches the service half-way; what happens to the answer is decided there and then.
    queue.asyncAfter(latency, [this, request = std::move(request), target = std::move(target), finish] {
        if (m_away)
            return finish(0, failure(NSURLErrorCannotConnectToHost, "could not connect to the server"));
        ServiceRequest incoming { request.method, target };
        for (const auto& [name, value] : request.headers)
            incoming.headers.emplace(name, value);
        incoming.body = request.body;
        incoming.receivedAt = Process::current().now();
        const ServiceAnswer answer = m_services.handle(incoming);
        if (answer.delaySeconds + 2 * latency >= request.timeout)
            return finish(request.timeout - latency, failure(NSURLErrorTimedOut, "the request timed out"));
        finish(answer.delaySeconds + latency, received(answer));
    });
}

void RoutedTransport::start(HTTPExchangeRequest request, Completion completion)
{
    if (request.url.starts_with(m_from))
        request.url = m_to + request.url.substr(m_from.size());
    m_carrier->start(std::move(request), std::move(completion));
}

} // namespace lumora
