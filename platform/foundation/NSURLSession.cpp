#include "platform/foundation/NSURLSession.h"

#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "platform/process/ProcessLocal.h"

namespace lumora {

namespace {

NSError urlError(int code, std::string description)
{
    return { NSURLErrorDomain, code == 0 ? NSURLErrorUnknown : code, std::move(description) };
}

/// Why a URL cannot be fetched; nothing when it can.
std::optional<NSError> refusal(const std::string& url)
{
    const std::optional<URLParts> parts = parseURL(url);
    if (!parts)
        return urlError(NSURLErrorBadURL, "unsupported URL");
    const bool isHTTP = equalIgnoringCase(parts->scheme, "http") || equalIgnoringCase(parts->scheme, "https");
    if (!isHTTP || parts->host.empty())
        return urlError(NSURLErrorUnsupportedURL, "unsupported URL");
    return std::nullopt;
}

struct DataTask {
    std::shared_ptr<DispatchQueue> queue;
    NSURLSession::Completion completion;
    std::string url;
    size_t longestBody;
};

void finish(DataTask& task, HTTPExchangeAnswer answer)
{
    // Whatever the transport was.
    if (answer.body.size() > task.longestBody) {
        answer.body = {};
        answer.bodyIsLeftOut = true;
    }
    if (answer.error.empty())
        task.completion(NSData::fromText(answer.body),
            NSHTTPURLResponse { task.url, answer.status, std::move(answer.headers), answer.bodyIsLeftOut },
            std::nullopt);
    else
        task.completion({}, std::nullopt, urlError(answer.errorCode, std::move(answer.error)));
}

} // namespace

NSURLSession& NSURLSession::sharedSession()
{
    static const ProcessLocal<NSURLSession> s_session;
    return s_session.get();
}

NSURLSession::NSURLSession()
    : m_queue(dispatch_queue_create("com.apple.NSURLSession-work"))
{
}

void NSURLSession::dataTaskWithRequest(NSMutableURLRequest request, Completion completion)
{
    if (!completion) {
        completion
            = [](const NSData&, const std::optional<NSHTTPURLResponse>&, const std::optional<NSError>&) {};
        request.longestBody = 0;
    }
    if (std::optional<NSError> error = refusal(request.url)) {
        m_queue->async([completion = std::move(completion), error = std::move(error)] {
            completion({}, std::nullopt, error);
        });
        return;
    }

    HTTPExchangeRequest exchange;
    exchange.url = request.url;
    exchange.method = std::move(request.httpMethod);
    exchange.headers = std::move(request.headers);
    exchange.body = std::move(request.httpBody);
    exchange.timeout = request.timeoutInterval;
    exchange.longestBody = request.longestBody;
    // Handed on as a whole, so that what the completion holds is let go on the queue, not on the transport's
    // thread.
    auto task = std::make_shared<DataTask>(
        DataTask { m_queue, std::move(completion), std::move(request.url), request.longestBody });
    auto answered = [task = std::move(task)](HTTPExchangeAnswer answer) mutable {
        const std::shared_ptr<DispatchQueue> queue = std::move(task->queue);
        queue->async([task = std::move(task), answer = std::move(answer)]() mutable {
            finish(*task, std::move(answer));
        });
    };
    Process::current().configuration().transport->start(std::move(exchange), std::move(answered));
}

} // namespace lumora
