#pragma once

#include "lumora/ReportButtonDelegate.h"
#include "platform/uikit/UIView.h"

#include <memory>
#include <string>
#include <vector>

namespace lumora {

/// The application that hosts the ads: a page of news with a place for an ad in its text. Main thread.
class HostApp {
public:
    /// Lays the page out in the root view.
    explicit HostApp(UIView& content);

    /// Puts a banner into the page, instead of the one that is there.
    void show(const std::shared_ptr<UIView>& banner);

private:
    UIView& m_content;
    std::shared_ptr<UIView> m_banner;
    std::shared_ptr<UIView> m_textBelow;
};

/// The host's listener: remembers the reasons it was told.
class Listener final : public ReportButtonDelegate {
public:
    void reportButtonWasClickedInView(UIView&, const NSDictionary& info) override
    {
        reasons.push_back(info["type"].stringOrEmpty());
    }
    std::vector<std::string> reasons;
};

} // namespace lumora
