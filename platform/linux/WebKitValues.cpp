#include "platform/linux/WebKitValues.h"

#include "platform/foundation/NSJSONSerialization.h"

#include <cmath>

namespace lumora {

namespace {

HTTPHeaders headersOf(SoupMessageHeaders* fields)
{
    HTTPHeaders headers;
    if (fields) {
        soup_message_headers_foreach(
            fields,
            [](const char* name, const char* value, void* to) {
                static_cast<HTTPHeaders*>(to)->add(name, value);
            },
            &headers);
    }
    return headers;
}

int connectionErrorOf(int code)
{
    switch (code) {
    case G_IO_ERROR_TIMED_OUT:
        return NSURLErrorTimedOut;
    case G_IO_ERROR_CONNECTION_REFUSED:
    case G_IO_ERROR_HOST_UNREACHABLE:
    case G_IO_ERROR_NETWORK_UNREACHABLE:
        return NSURLErrorCannotConnectToHost;
    case G_IO_ERROR_CONNECTION_CLOSED:
    case G_IO_ERROR_PARTIAL_INPUT:
        return NSURLErrorNetworkConnectionLost;
    default:
        return NSURLErrorUnknown;
    }
}

WKNavigationType typeOf(WebKitNavigationType type)
{
    switch (type) {
    case WEBKIT_NAVIGATION_TYPE_LINK_CLICKED:
        return WKNavigationType::LinkActivated;
    case WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED:
        return WKNavigationType::FormSubmitted;
    case WEBKIT_NAVIGATION_TYPE_BACK_FORWARD:
        return WKNavigationType::BackForward;
    case WEBKIT_NAVIGATION_TYPE_RELOAD:
        return WKNavigationType::Reload;
    case WEBKIT_NAVIGATION_TYPE_FORM_RESUBMITTED:
        return WKNavigationType::FormResubmitted;
    default:
        return WKNavigationType::Other;
    }
}

Value numberOf(double number)
{
    // What a double counts exactly is an integer to readers.
    constexpr double mostExact = 9007199254740992;
    const bool isWhole = std::trunc(number) == number && std::abs(number) <= mostExact;
    return isWhole ? Value { static_cast<int64_t>(number) } : Value { number };
}

} // namespace

std::optional<Value> valueOf(JSCValue* value)
{
    if (jsc_value_is_undefined(value))
        return Value {};
    if (jsc_value_is_null(value))
        return Value { NSNull {} };
    if (jsc_value_is_boolean(value))
        return Value { jsc_value_to_boolean(value) != FALSE };
    if (jsc_value_is_number(value))
        return numberOf(jsc_value_to_double(value));
    if (jsc_value_is_string(value)) {
        // As bytes: a text of a page may hold any character.
        GBytes* bytes = jsc_value_to_string_as_bytes(value);
        size_t length = 0;
        const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &length));
        std::string copy(text ? text : "", length);
        g_bytes_unref(bytes);
        return Value { std::move(copy) };
    }
    char* json = jsc_value_to_json(value, 0);
    std::optional<Value> result = json ? JSONObjectWithData(json) : std::nullopt;
    g_free(json);
    return result;
}

NSError loadErrorOf(const GError& error)
{
    auto urlError = [&](int code) { return NSError { NSURLErrorDomain, code, textOf(error.message) }; };
    if (error.domain == G_RESOLVER_ERROR)
        return urlError(NSURLErrorCannotFindHost);
    if (error.domain == G_IO_ERROR)
        return urlError(connectionErrorOf(error.code));
    if (error.domain == G_TLS_ERROR)
        return urlError(error.code == G_TLS_ERROR_BAD_CERTIFICATE ? NSURLErrorServerCertificateUntrusted
                                                                  : NSURLErrorSecureConnectionFailed);
    if (error.domain == WEBKIT_POLICY_ERROR && error.code == WEBKIT_POLICY_ERROR_CANNOT_SHOW_URI)
        return urlError(NSURLErrorUnsupportedURL);
    // Its numbers are the platform's own.
    if (error.domain == WEBKIT_POLICY_ERROR)
        return { WebKitErrorDomain, error.code, textOf(error.message) };
    if (error.domain == WEBKIT_NETWORK_ERROR && error.code == WEBKIT_NETWORK_ERROR_CANCELLED)
        return urlError(NSURLErrorCancelled);
    return urlError(NSURLErrorUnknown);
}

NSError scriptErrorOf(const GError& error)
{
    const bool isUnsupported
        = error.domain == WEBKIT_JAVASCRIPT_ERROR && error.code == WEBKIT_JAVASCRIPT_ERROR_INVALID_RESULT;
    return { WKErrorDomain,
        isUnsupported ? WKErrorJavaScriptResultTypeIsUnsupported : WKErrorJavaScriptExceptionOccurred,
        textOf(error.message) };
}

WebAction actionOf(WebKitNavigationAction* action, WKNavigationTarget target)
{
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    WebAction result { {}, typeOf(webkit_navigation_action_get_navigation_type(action)), target };
    result.request.url = textOf(webkit_uri_request_get_uri(request));
    result.request.httpMethod = textOf(webkit_uri_request_get_http_method(request));
    result.request.headers = headersOf(webkit_uri_request_get_http_headers(request));
    return result;
}

NSHTTPURLResponse responseOf(WebKitURIResponse* response)
{
    return { textOf(webkit_uri_response_get_uri(response)),
        static_cast<int>(webkit_uri_response_get_status_code(response)),
        headersOf(webkit_uri_response_get_http_headers(response)) };
}

} // namespace lumora
