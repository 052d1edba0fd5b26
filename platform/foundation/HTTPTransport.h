#pragma once

#include <functional>
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
    /// Seconds for the whole exchange.
    double timeout { 60 };
};

struct HTTPExchangeAnswer {
    /// Empty when an answer arrived; else what went wrong, and the rest is meaningless.
    std::string error;
    int errorCode { 0 };
    int status { 0 };
    HTTPHeaders headers;
    std::string body;
};

/// Carries HTTP exchanges. `start` returns at once, from any thread; the completion is called exactly once,
/// on a thread of the transport's own, never inside `start`, unless the transport is stopped before.
/// Certificates are always checked.
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
