#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/foundation/HTTPTransport.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/Value.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace lumora {

struct NSMutableURLRequest {
    enum class CachePolicy { UseProtocolCachePolicy = 0, ReloadIgnoringLocalCacheData = 1 };

    std::string url;
    std::string httpMethod { "GET" };
    HTTPHeaders headers;
    std::string httpBody;
    /// Seconds for the whole exchange, and some more for a large body; see HTTPExchangeRequest.
    double timeoutInterval { 60 };
    /// Bytes of the answer's body that are of use; a longer one is left out.
    size_t longestBody { size_t { 1 } << 20 };
    /// No answer is ever cached here, so both policies do the same.
    CachePolicy cachePolicy { CachePolicy::UseProtocolCachePolicy };

    /// A field that is there gets the value appended after a comma.
    void addValue(std::string value, std::string_view forHTTPHeaderField)
    {
        headers.add(forHTTPHeaderField, std::move(value));
    }
    /// A field that is there is replaced.
    void setValue(std::string value, std::string_view forHTTPHeaderField)
    {
        headers.set(forHTTPHeaderField, std::move(value));
    }
};

struct NSHTTPURLResponse {
    /// That of the request, or where redirects led to.
    std::string url;
    int statusCode { 0 };
    HTTPHeaders headerFields;
    /// The body was longer than the request could use, and is empty.
    bool bodyIsLeftOut { false };
};

/// A response as an object, for what takes or keeps objects. Any thread.
class NSHTTPURLResponseObject final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<NSHTTPURLResponseObject> of(NSHTTPURLResponse response);

    const NSHTTPURLResponse& response() const { return m_response; }

private:
    NSHTTPURLResponse m_response;
};

class NSURLSessionDataTask;

/// The HTTP client of a process, over the transport of its configuration. Any thread.
class NSURLSession {
public:
    /// Called exactly once unless the process stops first, on the session's own serial queue, never inside
    /// the call that started or cancelled the exchange. Either a response with its body, whatever its status,
    /// or an error in NSURLErrorDomain.
    using Completion = std::function<void(const NSData& body,
        const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error)>;

    static NSURLSession& sharedSession();

    NSURLSession();
    /// Starts an exchange and answers its task, never null; nobody has to keep it. A text that is no URL, or
    /// none of HTTP, is an error and touches no network; a transport that raises is an error too. No
    /// completion: sent and forgotten, nothing of the answer is kept.
    std::shared_ptr<NSURLSessionDataTask> dataTaskWithRequest(
        NSMutableURLRequest request, Completion completion);

private:
    std::shared_ptr<DispatchQueue> m_queue;
    std::atomic<size_t> m_tasks { 0 };
};

/// One exchange of a session. The exchange goes on without it, and ends without it. Any thread; none may be
/// cancelling while its process is destroyed.
class NSURLSessionDataTask {
public:
    /// A task is running from the start.
    enum class State { Running = 0, Canceling = 2, Completed = 3 };

    /// Counts the tasks of the session, from 1.
    size_t taskIdentifier() const { return m_identifier; }
    /// Without its body, which may be large and is held only until it is sent.
    const NSMutableURLRequest& originalRequest() const { return m_request; }
    /// Completed from just before the completion is called, or when the process stops.
    State state() const;
    /// Completes with NSURLErrorCancelled, whatever arrives after this call; nothing when it is too late, or
    /// done already. The transport is told to break off, but the request may reach the server all the same.
    void cancel();

private:
    friend class NSURLSession;
    class Exchange;
    NSURLSessionDataTask(size_t identifier, NSMutableURLRequest request)
        : m_identifier(identifier)
        , m_request(std::move(request))
    {
    }

    size_t m_identifier;
    NSMutableURLRequest m_request;
    // Whoever carries it owns it, so what its completion holds goes with the process, however long a task is
    // kept.
    std::weak_ptr<Exchange> m_exchange;
    std::weak_ptr<DispatchQueue> m_queue;
};

} // namespace lumora
