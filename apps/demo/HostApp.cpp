#include "apps/demo/HostApp.h"

#include "platform/uikit/UILabel.h"

namespace lumora {

namespace {

constexpr double margin = 20;
constexpr double bannerTop = 318;
constexpr UIColor ink { 0.09, 0.13, 0.2, 1 };
constexpr UIColor soft { 0.4, 0.45, 0.54, 1 };

std::shared_ptr<UIView> addText(
    UIView& page, const std::string& text, const UIFont& font, const UIColor& color, const CGRect& frame)
{
    auto label = make<UILabel>();
    label->setFrame(frame);
    label->setText(text);
    label->setFont(font);
    label->setTextColor(color);
    label->setNumberOfLines(0);
    page.addSubview(label);
    return label;
}

} // namespace

HostApp::HostApp(UIView& content)
    : m_content(content)
{
    const double width = content.bounds().size.width - 2 * margin;
    addText(content, "THE DAILY TIDE", { "Roboto-Bold", 13 }, { 0.02, 0.35, 0.69, 1 },
        CGRectMake(margin, 62, width, 20));
    addText(content, "Harbour wakes to a sea of lanterns", { "Roboto-Bold", 27 }, ink,
        CGRectMake(margin, 88, width, 70));
    addText(content, "By Mara Lind \xC2\xB7 4 min read", { "Roboto-Regular", 13 }, soft,
        CGRectMake(margin, 164, width, 18));
    addText(content,
        "They came before dawn, hundreds of them, each with a paper light on a stick. By six the whole quay "
        "glowed, and nobody "
        "could say who had started it.",
        { "Roboto-Regular", 16 }, ink, CGRectMake(margin, 194, width, 100));
    m_textBelow = addText(content,
        "\xE2\x80\x9CMy grandmother used to tell me about a night like this,\xE2\x80\x9D said the ferryman, "
        "who had moored an hour "
        "early to watch. \xE2\x80\x9CI never believed her.\xE2\x80\x9D",
        { "Roboto-Regular", 16 }, ink, CGRectMake(margin, bannerTop, width, 80));
}

void HostApp::show(const std::shared_ptr<UIView>& banner)
{
    if (m_banner)
        m_banner->removeFromSuperview();
    m_banner = banner;
    const CGSize size = banner->bounds().size;
    banner->setFrame(
        CGRectMake((m_content.bounds().size.width - size.width) / 2, bannerTop, size.width, size.height));
    m_content.addSubview(banner);
    m_textBelow->setFrame({ { margin, banner->frame().maxY() + margin }, m_textBelow->frame().size });
}

} // namespace lumora
