#include "platform/foundation/NSURLSession.h"

#include "platform/foundation/NSString.h"
#include "platform/foundation/NSURL.h"
#include "platform/process/ProcessLocal.h"

#include <exception>

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

} // namespace

const ClassDescription& NSHTTPURLResponseObject::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<NSHTTPURLResponseObject, NSObject>("NSHTTPURLResponse"));
    return description;
}
static const RegisteredClass registered { &NSHTTPURLResponseObject::classDescription };

std::shared_ptr<NSHTTPURLResponseObject> NSHTTPURLResponseObject::of(NSHTTPURLResponse response)
{
    auto object = make<NSHTTPURLResponseObject>();
    object->m_response = std::move(response);
    return object;
}

NSURLSession& NSURLSession::sharedSession()
{
    static const ProcessLocal<NSURLSession> s_session;
    return s_session.get();
}

NSURLSession::NSURLSession()
    : m_queue(dispatch_queue_create("com.apple.NSURLSession-work"))
{
}

/// What the transport and the session's queue hand to each other. Its completion is called, and what that
/// holds let go, on the queue; when the process stops, on the thread that drops it.
class NSURLSessionDataTask::Exchange {
public:
    Exchange(NSURLSession::Completion completion, std::string url, size_t longestBody)
        : m_url(std::move(url))
        , m_longestBody(longestBody)
        , m_completion(std::move(completion))
    {
    }

    State state() const
    {
        Locker hold(m_lock);
        return m_state;
    }
    /// False when it is too late.
    bool beginCancelling()
    {
        {
            Locker hold(m_lock);
            if (m_state != State::Running)
                return false;
            m_state = State::Canceling;
        }
        m_cancellation.request_stop();
        return true;
    }
    /// For the transport.
    std::stop_token cancellation() const { return m_cancellation.get_token(); }
    void finish(HTTPExchangeAnswer answer);
    void fail(const NSError& error) { complete(State::Running, {}, std::nullopt, error); }
    void finishCancelling()
    {
        complete(State::Canceling, {}, std::nullopt, urlError(NSURLErrorCancelled, "cancelled"));
    }

private:
    /// Does nothing when the exchange is in another state: what was cancelled takes no late answer.
    void complete(State from, const NSData& body, const std::optional<NSHTTPURLResponse>& response,
        const std::optional<NSError>& error)
    {
        NSURLSession::Completion completion;
        {
            Locker hold(m_lock);
            if (m_state != from)
                return;
            m_state = State::Completed;
            completion.swap(m_completion);
        }
        completion(body, response, error);
    }

    const std::string m_url;
    const size_t m_longestBody;
    std::stop_source m_cancellation;
    mutable Lock m_lock;
    State m_state LUMORA_GUARDED_BY(m_lock) { State::Running };
    NSURLSession::Completion m_completion LUMORA_GUARDED_BY(m_lock);
};

void NSURLSessionDataTask::Exchange::finish(HTTPExchangeAnswer answer)
{
    if (!answer.error.empty())
        return fail(urlError(answer.errorCode, std::move(answer.error)));
    // Whatever the transport was.
    if (answer.body.size() > m_longestBody) {
        answer.body = {};
        answer.bodyIsLeftOut = true;
    }
    complete(State::Running, NSData::fromText(answer.body),
        NSHTTPURLResponse { answer.url.empty() ? m_url : answer.url, answer.status, std::move(answer.headers),
            answer.bodyIsLeftOut },
        std::nullopt);
}

NSURLSessionDataTask::State NSURLSessionDataTask::state() const
{
    const std::shared_ptr<Exchange> exchange = m_exchange.lock();
    return exchange ? exchange->state() : State::Completed;
}

void NSURLSessionDataTask::cancel()
{
    std::shared_ptr<Exchange> exchange = m_exchange.lock();
    const std::shared_ptr<DispatchQueue> queue = m_queue.lock();
    if (exchange && queue && exchange->beginCancelling())
        queue->async([exchange = std::move(exchange)] { exchange->finishCancelling(); });
}

std::shared_ptr<NSURLSessionDataTask> NSURLSession::dataTaskWithRequest(
    NSMutableURLRequest request, Completion completion)
{
    using Exchange = NSURLSessionDataTask::Exchange;
    HTTPExchangeRequest exchange;
    exchange.body = std::exchange(request.httpBody, {});
    std::shared_ptr<NSURLSessionDataTask> task(new NSURLSessionDataTask(++m_tasks, request));
    if (!completion) {
        completion
            = [](const NSData&, const std::optional<NSHTTPURLResponse>&, const std::optional<NSError>&) {};
        request.longestBody = 0;
    }
    auto running = std::make_shared<Exchange>(std::move(completion), request.url, request.longestBody);
    task->m_exchange = running;
    task->m_queue = m_queue;
    if (std::optional<NSError> error = refusal(request.url)) {
        m_queue->async([running = std::move(running), error = *std::move(error)] { running->fail(error); });
        return task;
    }

    exchange.url = std::move(request.url);
    exchange.method = std::move(request.httpMethod);
    exchange.headers = std::move(request.headers);
    exchange.timeout = request.timeoutInterval;
    exchange.longestBody = request.longestBody;
    exchange.cancellation = running->cancellation();
    // Handed on as a whole, so that what the completion holds is let go on the queue, not on the transport's
    // thread.
    auto answered = [queue = m_queue, running](HTTPExchangeAnswer answer) mutable {
        const std::shared_ptr<DispatchQueue> target = std::move(queue);
        target->async([running = std::move(running), answer = std::move(answer)]() mutable {
            running->finish(std::move(answer));
        });
    };
    try {
        Process::current().configuration().transport->start(std::move(exchange), std::move(answered));
    } catch (const std::exception& raised) {
        NSError error = urlError(NSURLErrorUnknown, raised.what());
        m_queue->async([running = std::move(running), error = std::move(error)] { running->fail(error); });
    }
    return task;
}

} // namespace lumora
