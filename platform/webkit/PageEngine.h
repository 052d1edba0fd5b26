#pragma once

#include "platform/webkit/WebEngine.h"

namespace lumora {

/// An engine that keeps a page as the text it came as, under the process's clock. It fetches pages over HTTP,
/// finds links and draws markup and styles; scripts in a page never run. Of scripts it is asked to evaluate
/// it answers the questions that readers of a page ask (its markup, title, address, state and frames) and
/// literals; anything else is an error. Nothing ends it. Main thread only.
class PageEngine final : public WebEngine, public std::enable_shared_from_this<PageEngine> {
public:
    /// Seconds from a page's commit to its finish.
    static constexpr double loadingTime = 0.05;

    void setClient(WebEngineClient* client) override;
    void setSize(CGSize) override { }
    WebLoad loadHTML(std::string html, std::string baseURL) override;
    WebLoad loadRequest(NSMutableURLRequest request) override;
    WebLoad reload() override;
    void stopLoading() override;
    bool isLoading() const override { return m_load.has_value(); }
    const std::string& url() const override { return m_page.url; }
    std::string title() override { return facts().title; }
    void evaluate(std::string script, ScriptCompletion completion) override;
    void tapAt(CGPoint point, CGSize size) override;
    UIImage snapshot(CGSize size, double scale) override;

private:
    struct Load {
        WebLoad number { 0 };
        NSMutableURLRequest request;
        WKNavigationType type { WKNavigationType::Other };
        /// The page itself, when it need not be fetched.
        std::optional<std::string> html;
        bool committed { false };
    };
    /// What is found by reading a page's text.
    struct Facts {
        std::string title;
        std::string baseURL;
        std::vector<std::string> frameSources;
    };
    struct Page {
        std::string url;
        std::string html;
        /// It was given, not fetched, so that loading it again gives it again.
        bool given { true };
        std::optional<Facts> facts;
        UIImage picture;
        CGSize pictureSize;
        double pictureScale { 0 };
    };
    using Step = void (PageEngine::*)(WebLoad);

    WebLoad begin(Load load);
    /// Runs a step of a load later on the main queue, if the load is still under way then.
    void then(WebLoad number, double seconds, Step step);
    bool isCurrent(WebLoad number) const { return m_load && m_load->number == number; }
    WebEngineClient::Decision decision(WebLoad number, std::function<void(PageEngine&, bool)> continuation);
    void askForAction(WebLoad number);
    void start(WebLoad number);
    /// Goes on to where the answer came from.
    void redirect(WebLoad number, const NSHTTPURLResponse& response, std::string html);
    void arrive(WebLoad number, const NSHTTPURLResponse& response, std::string html, bool given);
    void finish(WebLoad number);
    void fail(WebLoad number, const NSError& error);
    void cancelCurrent();

    void askForWindow(NSMutableURLRequest request);

    const Facts& facts();
    std::optional<Value> answer(std::string_view script);
    std::optional<Value> answerAboutFrames(std::string_view question);
    std::string outerHTML() const;
    std::string bodyHTML() const;

    WebEngineClient* m_client { nullptr };
    Page m_page;
    std::optional<Load> m_load;
    WebLoad m_lastNumber { 0 };
};

} // namespace lumora
