#pragma once

#include "platform/dispatch/Executor.h"
#include "platform/foundation/HTTPTransport.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/Value.h"

#include <functional>
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
    std::string url;
    int statusCode { 0 };
    HTTPHeaders headerFields;
    /// The body was longer than the request could use, and is empty.
    bool bodyIsLeftOut { false };
};

/// The HTTP client of a process, over the transport of its configuration. Any thread.
class NSURLSession {
public:
    /// Called exactly once unless the process stops first, on the session's own serial queue, never inside
    /// the call that started the exchange. Either a response with its body, whatever its status, or an error
    /// in NSURLErrorDomain.
    using Completion = std::function<void(const NSData& body,
        const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error)>;

    static NSURLSession& sharedSession();

    NSURLSession();
    /// Starts an exchange. A text that is no URL, or none of HTTP, is an error and touches no network. No
    /// completion: sent and forgotten, nothing of the answer is kept.
    void dataTaskWithRequest(NSMutableURLRequest request, Completion completion);

private:
    std::shared_ptr<DispatchQueue> m_queue;
};

}
