#include "processing/FramePages.h"

#include "interception/Swizzling.h"
#include "platform/webkit/PageEngine.h"
#include "platform/webkit/WKNavigationDelegate.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMAdViewProcessor.h"
#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

constexpr const char* video = "https://cdn.example.com/v.mp4";

/// Pages by the end of their address; the others are not found, or never answered.
struct FrameHost final : HTTPTransport {
    void start(HTTPExchangeRequest request, Completion completion) override
    {
        HTTPExchangeAnswer answer { .status = 200 };
        if (request.url.ends_with("video"))
            answer.body = std::string { "<video src='" } + video + "'>";
        else if (request.url.ends_with("gone"))
            answer.error = "not found";
        if (!request.url.ends_with("waiting"))
            dispatch_get_global_queue().async([completion, answer] { completion(answer); });
    }
    void stop() override { }
};

// What a web view says of its frames, at once, as no engine does; a frame's page answers, or is silent.
std::vector<std::string> s_frames;
bool s_isSilent;
std::vector<WKScriptCompletion> s_unanswered;
Slot<void(id, SEL, const std::string&, const WKScriptCompletion&)> evaluateIMP;
void evaluate(id self, SEL _cmd, const std::string& script, const WKScriptCompletion& completion)
{
    const auto index = script.find('[');
    if (index != std::string::npos)
        completion(s_frames.at(static_cast<size_t>(script[index + 1] - '0')), std::nullopt);
    else if (script.ends_with("length"))
        completion(static_cast<int64_t>(s_frames.size()), std::nullopt);
    else if (s_isSilent)
        s_unanswered.push_back(completion);
    else
        evaluateIMP(self, _cmd, script, completion);
}

std::vector<std::weak_ptr<Object>> s_hidden;
Slot<id(id, SEL, CGRect, id)> initIMP;
id init(id self, SEL _cmd, CGRect frame, id configuration)
{
    s_hidden.push_back(weakly(self));
    return initIMP(self, _cmd, frame, configuration);
}

/// An ad with frames, and a question about them.
struct FramedAd {
    explicit FramedAd(bool answersAtOnce = true)
    {
        setWebEngineFactory([] { return std::make_shared<PageEngine>(); });
        send(processor, sel::initWithAdObject, ad);
        processor->setHtml("<iframe>");
        if (answersAtOnce)
            installHooks({ { "WKWebView", "evaluateJavaScript:completionHandler:", &evaluate, &evaluateIMP },
                { "WKWebView", "initWithFrame:configuration:", &init, &initIMP } });
        s_isSilent = false;
        s_hidden.clear();
    }
    ~FramedAd() { s_unanswered.clear(); }
    void look(const std::vector<std::string>& frames)
    {
        s_frames = frames;
        for (std::string& frame : s_frames)
            frame.insert(0, frame.empty() ? "" : "https://f.example.com/");
        pages->processorIframesContainsURL(processor, video, [this](bool found) { isFound = found; });
        phone.wait(2);
    }

    Phone phone { { .makeTransport = [] { return std::make_shared<FrameHost>(); } } };
    std::shared_ptr<WKWebView> ad { make<WKWebView>() };
    std::shared_ptr<LMAdViewProcessor> processor { alloc<LMAdViewProcessor>() };
    std::shared_ptr<FramePages> pages { make<FramePages>() };
    std::optional<bool> isFound;
};

TEST(FramePagesTest, FramesAreLookedIntoOnlyIfTheirPageAnswersAtOnce)
{
    struct Row {
        std::vector<std::string> frames;
        bool atOnce;
        bool isFound;
    };
    for (const Row& row :
        { Row { { "text", "", "gone", "video" }, true, true }, Row { { "text", "gone" }, true, false },
            Row { { "" }, true, false }, Row { { "video" }, false, false } }) {
        FramedAd framed(row.atOnce);
        framed.look(row.frames);
        EXPECT_EQ(framed.isFound, row.isFound) << row.frames.size();
        for (const auto& page : s_hidden)
            EXPECT_TRUE(page.expired()) << row.frames.size();
    }
}

TEST(FramePagesTest, APageThatNeverAnswersEndsAsWell)
{
    FramedAd framed;
    s_isSilent = true;
    framed.look({ "video", "waiting" });
    EXPECT_EQ(framed.isFound, std::nullopt);
    const auto waiting = as<WKWebView>(s_hidden.at(1).lock());
    send(waiting->navigationDelegate(), sel::webViewWebContentProcessDidTerminate, waiting);
    EXPECT_TRUE(framed.phone.waitUntil([&] { return framed.isFound == false; }, 11))
        << "its script is given up";
    EXPECT_TRUE(s_hidden.at(0).expired());
}

} // namespace
} // namespace lumora
