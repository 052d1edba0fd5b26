#include "processing/FramePages.h"

#include "interception/Swizzling.h"
#include "platform/avkit/AVPlayerViewController.h"
#include "platform/webkit/PageEngine.h"
#include "platform/webkit/WKNavigationDelegate.h"
#include "platform/webkit/WKWebView.h"
#include "processing/LMAVPlayersManager.h"
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

std::vector<std::weak_ptr<WKWebView>> s_hidden;
Slot<id(id, SEL, CGRect, id)> initIMP;
id init(id self, SEL _cmd, CGRect frame, id configuration)
{
    const auto* made = as<WKWebViewConfiguration>(configuration);
    EXPECT_EQ(frame, (CGRect { { -10, -10 }, { 5, 5 } }));
    EXPECT_FALSE(made->allowsInlineMediaPlayback());
    EXPECT_EQ(made->mediaTypesRequiringUserActionForPlayback(), 1);
    s_hidden.push_back(weakly(as<WKWebView>(self)));
    return initIMP(self, _cmd, frame, configuration);
}

/// An ad with frames on a phone, and questions about them.
struct FramedAd {
    explicit FramedAd(bool answersAtOnce = true)
    {
        setWebEngineFactory([] { return std::make_shared<PageEngine>(); });
        send(processor, sel::initWithAdObject, ad);
        processor->setHtml("<iframe>");
        s_isSilent = false;
        s_hidden.clear();
        if (answersAtOnce)
            installHooks({ { "WKWebView", "evaluateJavaScript:completionHandler:", &evaluate, &evaluateIMP },
                { "WKWebView", "initWithFrame:configuration:", &init, &initIMP } });
    }
    ~FramedAd() { s_unanswered.clear(); }
    void ask(const std::vector<std::string>& frames, std::optional<bool>& answer)
    {
        s_frames = frames;
        for (std::string& frame : s_frames)
            frame.insert(0, frame.empty() ? "" : "https://f.example.com/");
        pages->processorIframesContainsURL(processor, video, [&](bool found) { answer = found; });
    }
    void look(const std::vector<std::string>& frames)
    {
        ask(frames, isFound);
        phone.wait(2);
    }

    Phone phone { { .makeTransport = [] { return std::make_shared<FrameHost>(); } } };
    std::shared_ptr<WKWebView> ad { make<WKWebView>() };
    std::shared_ptr<LMAdViewProcessor> processor { alloc<LMAdViewProcessor>() };
    std::shared_ptr<FramePages> pages { make<FramePages>() };
    std::optional<bool> isFound;
};

TEST(FramePagesTest, APageInAFrameMayNameTheVideo)
{
    struct Row {
        std::vector<std::string> frames;
        bool isFound;
    };
    for (const Row& row : { Row { { "text", "", "gone", "video" }, true }, Row { { "text", "gone" }, false },
             Row { { "" }, false } }) {
        FramedAd framed;
        framed.look(row.frames);
        EXPECT_EQ(framed.isFound, row.isFound) << row.frames.size();
        for (const auto& page : s_hidden)
            EXPECT_TRUE(page.expired()) << row.frames.size();
    }
}

TEST(FramePagesTest, AnAdThatAnswersLaterIsNotLookedInto)
{
    FramedAd framed(false);
    framed.ad->loadHTMLString("<iframe src='https://f.example.com/video'></iframe>", "");
    framed.phone.wait(1);
    framed.look({});
    EXPECT_EQ(framed.isFound, false) << "its frame is there, and told too late";
}

TEST(FramePagesTest, WithoutFramesTheAnswerIsNoAtOnce)
{
    FramedAd framed;
    for (const char* html : { "", "<p>" }) {
        framed.processor->setHtml(html);
        framed.ask({ "video" }, framed.isFound);
        EXPECT_EQ(std::exchange(framed.isFound, std::nullopt), false) << html;
    }
    send(framed.processor, sel::initWithAdObject, framed.pages);
    framed.processor->setHtml("<iframe>");
    framed.ask({ "video" }, framed.isFound);
    EXPECT_EQ(framed.isFound, false) << "no web view";
}

TEST(FramePagesTest, APageThatNeverAnswersEndsAsWell)
{
    FramedAd framed;
    s_isSilent = true;
    framed.look({ "video", "waiting", "waiting" });
    EXPECT_EQ(framed.isFound, std::nullopt);
    const auto killed = s_hidden.at(1).lock();
    EXPECT_TRUE(killed->isHidden());
    send(killed->navigationDelegate(), sel::webViewWebContentProcessDidTerminate, killed);
    framed.phone.wait(9);
    EXPECT_TRUE(s_hidden.at(0).expired()) << "its script is given up";
    EXPECT_FALSE(framed.phone.waitUntil([&] { return framed.isFound.has_value(); }, 48));
    EXPECT_TRUE(framed.phone.waitUntil([&] { return framed.isFound == false; }, 2))
        << "and the one on its way";
    EXPECT_TRUE(s_hidden.at(2).expired());
}

TEST(FramePagesTest, AVideoThatOnlyAFrameNamesIsStopped)
{
    FramedAd framed;
    s_frames = { "https://f.example.com/video" };
    const auto player = AVPlayer::playerWithPlayerItem(AVPlayerItem::playerItemWithURL({ video }));
    const auto controller = alloc<AVPlayerViewController>();
    send(controller, sel::init);
    controller->setPlayer(player);
    controller->view();
    const auto observed = LMObservedPlayer::with(player.get(), player->currentItem(), NSURLValue { video });
    observed->setWeakVC(controller.get());
    LMAVPlayersManager& manager = LMAVPlayersManager::sharedInstance();
    manager.addObservedPlayer(observed);
    manager.checkProcessorForPlayingVideo(framed.processor);
    framed.phone.wait(2);
    EXPECT_EQ(player->currentItem(), nullptr);
    EXPECT_EQ(manager.findObservedAVPlayerWithAVPlayer(player.get()), nullptr);
}

TEST(FramePagesTest, ANewerCheckHearsThePagesOfAnOlderOne)
{
    FramedAd framed;
    std::optional<bool> older, newer;
    framed.ask({ "video" }, older);
    framed.phone.wait(0);
    framed.ask({ "text" }, newer);
    framed.phone.wait(2);
    EXPECT_EQ(older, false) << "kept: one block for all";
    EXPECT_EQ(newer, true);
}

} // namespace
} // namespace lumora
