#pragma once

#include "platform/webkit/WKNavigationDelegate.h"

namespace lumora {

/// One load of a page: what its delegate messages have in common.
class WKNavigation final : public NSObject {
public:
    static const ClassDescription& classDescription();
};

/// A place where a page is shown. Immutable; any thread.
class WKFrameInfo final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WKFrameInfo> with(bool isMainFrame);

    bool isMainFrame() const { return m_isMainFrame; }

private:
    bool m_isMainFrame { true };
};

/// Somewhere a page wants to go. Immutable; any thread.
class WKNavigationAction final : public NSObject {
public:
    static const ClassDescription& classDescription();
    static std::shared_ptr<WKNavigationAction> with(NSMutableURLRequest request, WKNavigationType type,
        WKNavigationTarget target = WKNavigationTarget::MainFrame);

    WKNavigationType navigationType() const { return m_type; }
    const NSMutableURLRequest& request() const { return m_request; }
    /// Null when it would be a new window.
    const std::shared_ptr<WKFrameInfo>& targetFrame() const { return m_targetFrame; }

private:
    NSMutableURLRequest m_request;
    WKNavigationType m_type { WKNavigationType::Other };
    std::shared_ptr<WKFrameInfo> m_targetFrame;
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
