#pragma once

#include "platform/dispatch/DispatchGroup.h"
#include "platform/foundation/NSError.h"
#include "platform/objc/Object.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumora {

class LMAdViewProcessor;
class WKWebView;

/// Looks into the pages of an ad's frames; with today's engines it never gets to it, as each answers too
/// late. Every page is loaded into a hidden web view whose navigation delegate this is. These pages are no
/// ads, so it reads them itself, whatever the configuration says of ads' markup. Owned by
/// `LMAVPlayersManager`; main thread.
class FramePages final : public NSObject {
public:
    static const ClassDescription& classDescription();

    /// The ad's web view, if its last markup has frames; null otherwise.
    static std::shared_ptr<WKWebView> pageWithFrames(const LMAdViewProcessor& processor);
    /// Whether a page in one of the ad's frames names the address. Kept: no with every engine that answers
    /// later, as all do, because the number of frames is read before the ad's page has told it. The
    /// completion hears once; before this returns if there are no frames.
    void processorIframesContainsURL(const std::shared_ptr<LMAdViewProcessor>& processor,
        const std::string& url, const std::function<void(bool)>& completionHandler);
    /// Loads a frame's page into a hidden web view of its own; an empty address is ignored. Each load ends
    /// with one answer to the check that began last: the page's markup, an error, or neither when the page
    /// does not answer or has not come after 60 seconds.
    void getHTMLsFromLink(const std::string& url);

private:
    void didFinishNavigation(Object* webView, Object* navigation);
    void didFailNavigation(Object* webView, Object* navigation, const NSError& error);
    void giveUp(Object* webView);
    /// Lets a hidden web view go and answers it; null when it was not one any more.
    std::shared_ptr<WKWebView> takeHiddenWebView(Object* webView);
    void finishLoad(const std::optional<std::string>& html, const std::optional<NSError>& error);

    std::vector<std::shared_ptr<WKWebView>> m_webViewArray;
    // The loads that are under way.
    DispatchGroup m_tasks;
    // One for all checks: a newer one's takes the place of an older one's.
    std::function<void(const std::optional<std::string>& html, const std::optional<NSError>& error)>
        m_webViewCompletionBlock;
};

} // namespace lumora
