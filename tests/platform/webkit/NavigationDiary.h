#pragma once

#include "platform/webkit/WKNavigation.h"

#include <functional>
#include <string>
#include <utility>

namespace lumora::test {

/// Writes the messages down that a navigation delegate gets.
class NavigationDiary : public NSObject {
public:
    static const ClassDescription& classDescription()
    {
        static const ClassDescription description
            = ClassDescription::of<NavigationDiary, NSObject>("NavigationDiary")
                  .method<&NavigationDiary::decide>(sel::webViewDecidePolicyForNavigationAction)
                  .method<&NavigationDiary::decideResponse>(sel::webViewDecidePolicyForNavigationResponse)
                  .method<&NavigationDiary::didStart>(sel::webViewDidStartProvisionalNavigation)
                  .method<&NavigationDiary::didRedirect>(sel::webViewDidReceiveServerRedirect)
                  .method<&NavigationDiary::didCommit>(sel::webViewDidCommitNavigation)
                  .method<&NavigationDiary::didFinish>(sel::webViewDidFinishNavigation)
                  .method<&NavigationDiary::didFail>(sel::webViewDidFailNavigation)
                  .method<&NavigationDiary::didFailEarly>(sel::webViewDidFailProvisionalNavigation);
        return description;
    }
    void decide(Object*, Object* action, const WKDecisionHandler& handler)
    {
        const auto* asked = as<WKNavigationAction>(action);
        note("asked " + std::to_string(static_cast<int>(asked->navigationType())) + " " + asked->request().url
            + (asked->targetFrame() ? "" : " in a window"));
        handler(policy);
        handler(WKNavigationPolicyAllow);
    }
    void decideResponse(Object*, Object* response, const WKDecisionHandler& handler)
    {
        note("answered " + std::to_string(as<WKNavigationResponse>(response)->response().statusCode));
        handler(WKNavigationPolicyAllow);
    }
    void didStart(Object*, Object* navigation)
    {
        note("started");
        last = retain(navigation);
    }
    void didRedirect(Object*, Object* navigation)
    {
        note(refersTo(last, navigation) ? "redirected" : "redirected another");
    }
    void didCommit(Object*, Object*) { note("committed"); }
    void didFinish(Object*, Object* navigation)
    {
        note(refersTo(last, navigation) ? "finished" : "finished another");
        if (onFinish)
            std::exchange(onFinish, nullptr)();
    }
    void didFail(Object*, Object*, const NSError& error) { note("failed " + std::to_string(error.code)); }
    void didFailEarly(Object*, Object*, const NSError& error)
    {
        note("failed early " + std::to_string(error.code));
    }

    std::string lines;
    int64_t policy { WKNavigationPolicyAllow };
    std::weak_ptr<Object> last;
    std::function<void()> onFinish;
    std::function<void(const std::string& line)> onLine;

private:
    void note(const std::string& line)
    {
        lines += (lines.empty() ? "" : ", ") + line;
        if (const auto tell = onLine)
            tell(line);
    }
};

} // namespace lumora::test
