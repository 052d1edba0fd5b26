#pragma once

#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

/// One load of a page: what its delegate messages have in common.
class WKNavigation final : public NSObject {
public:
    static const ClassDescription& classDescription();
};

/// Somewhere a page wants to go. Immutable; any thread.
class WKNavigationAction final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WKNavigationAction> with(NSMutableURLRequest request, WKNavigationType type);

    WKNavigationType navigationType() const { return m_type; }
    const NSMutableURLRequest& request() const { return m_request; }

private:
    NSMutableURLRequest m_request;
    WKNavigationType m_type { WKNavigationType::Other };
};

/// What a page's address answered. Immutable; any thread.
class WKNavigationResponse final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WKNavigationResponse> with(NSHTTPURLResponse response);

    /// The status is 0 for what did not come over HTTP.
    const NSHTTPURLResponse& response() const { return m_response; }

private:
    NSHTTPURLResponse m_response;
};

} // namespace lumora
