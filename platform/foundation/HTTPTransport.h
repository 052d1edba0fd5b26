#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumora {

/// Header fields in the order they were added; names compare without regard to case.
class HTTPHeaders {
public:
    using Field = std::pair<std::string, std::string>;

    /// The first field of that name, or null.
    const std::string* find(std::string_view name) const;
    /// Replaces every field of that name by one.
    void set(std::string_view name, std::string value);
    /// Adds; a field that is there gets the value appended after a comma.
    void add(std::string_view name, std::string value);
    auto begin() const { return m_fields.begin(); }
    auto end() const { return m_fields.end(); }

private:
    std::vector<Field> m_fields;
};

/// One exchange as it goes over the wire.
struct HTTPExchangeRequest {
    std::string url;
    std::string method;
    HTTPHeaders headers;
    std::string body;
    /// Seconds for the whole exchange, and one more for each 32 KiB of body to send: a large report is not to
    /// be cut off because the radio is slow.
    double timeout { 60 };
    /// Bytes of the answer's body that are of use. A longer one is left out whole.
    size_t longestBody { size_t { 1 } << 20 };
    /// Is stopped when nobody waits for the answer any more: the transport may then break off and complete
    /// with any error.
    std::stop_token cancellation;
};

struct HTTPExchangeAnswer {
    /// Empty when an answer arrived; else what went wrong, and the rest is meaningless.
    std::string error;
    int errorCode { 0 };
    /// Where redirects led to; empty when there were none.
    std::string url;
    int status { 0 };
    HTTPHeaders headers;
    std::string body;
    /// There was more of a body than was of use, or of a header than is read.
    bool bodyIsLeftOut { false };
};

/// Puts an answer together as it arrives, in bounded memory. One that grows beyond the caps still counts as
/// the answer it began as, but without a body: half a body is worse than none. One thread at a time.
class HTTPAnswerCollector {
public:
    /// Bytes and lines of header in one exchange, those of redirects and interim answers included.
    static constexpr size_t longestHeader = size_t { 256 } << 10;
    static constexpr size_t mostHeaderLines = 1000;
    /// A body that is of no use is read this far, so that the connection can serve again.
    static constexpr size_t longestUselessBody = size_t { 64 } << 10;

    explicit HTTPAnswerCollector(size_t longestBody)
        : m_longestBody(longestBody)
    {
    }
    /// One line of a header, a status line among them, or the next piece of the body. False when nothing
    /// more is of use: the exchange had better end here.
    bool addHeaderLine(std::string_view line);
    bool addBody(std::string_view piece);
    /// Whether one of them has said so.
    bool isFull() const { return m_isFull; }
    /// What has arrived; status and error are the caller's to set.
    HTTPExchangeAnswer take();

private:
    size_t m_longestBody;
    HTTPExchangeAnswer m_answer;
    size_t m_headerSize { 0 };
    size_t m_headerLines { 0 };
    size_t m_bodySize { 0 };
    bool m_isFull { false };
};

/// Carries HTTP exchanges. `start` returns at once, from any thread; the completion is called exactly once,
/// on a thread of the transport's own, never inside `start`, unless the transport is stopped before. A
/// `start` that raises, for want of a thread or of memory, has started nothing. Certificates are always
/// checked.
class HTTPTransport {
public:
    using Completion = std::function<void(HTTPExchangeAnswer)>;

    virtual ~HTTPTransport() = default;
    virtual void start(HTTPExchangeRequest request, Completion completion) = 0;
    /// Drops what is in flight without calling its completions; afterwards `start` does nothing. May be
    /// called twice.
    virtual void stop() = 0;
};

} // namespace lumora
