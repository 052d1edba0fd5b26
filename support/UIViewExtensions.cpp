#include "support/UIViewExtensions.h"

#include "platform/avfoundation/AVPlayerLayer.h"
#include "platform/uikit/UIImageView.h"
#include "platform/uikit/UIScreen.h"
#include "platform/uikit/UIView.h"
#include "platform/uikit/UIViewDrawing.h"
#include "platform/webkit/WKWebView.h"
#include "support/UIImageExtensions.h"

#include <algorithm>

namespace lumora {

UIImage takeScreenshot(UIView& view)
{
    return takeImageOfView(view, view.bounds().size, UIScreen::mainScreen().scale());
}

static UIImage frameOfPlayingVideo(CALayer& layer)
{
    // An ended video under an end card is no longer what the ad shows.
    if (layer.isHidden() || layer.opacity() <= 0)
        return {};
    const auto* const video = as<AVPlayerLayer>(&layer);
    if (video && video->player() && video->player()->currentItem())
        return imageWithAVPlayerItem(video->player()->currentItem());
    for (const std::shared_ptr<CALayer>& sublayer : layer.sublayers()) {
        UIImage frame = frameOfPlayingVideo(*sublayer);
        if (!frame.isNull())
            return frame;
    }
    return {};
}

/// The picture at the screen's scale: a screenshot of it then has its pixels, not several times as many.
static UIImage sharpOnScreen(const UIImage& image)
{
    const double scale = std::max(image.scale(), UIScreen::mainScreen().scale());
    if (scale == image.scale())
        return image;
    const auto count = static_cast<size_t>(image.pixelWidth()) * static_cast<size_t>(image.pixelHeight()) * 4;
    return { image.pixelWidth(), image.pixelHeight(), { image.pixels(), image.pixels() + count }, scale };
}

std::shared_ptr<UIView> getVideoScreenshotView(UIView& view)
{
    UIImage frame = frameOfPlayingVideo(view.layer());
    // A video that has shown nothing yet leaves the view itself, which is more than no picture.
    if (frame.isNull())
        return retain(&view);
    frame = sharpOnScreen(frame);
    auto imageView = make<UIImageView>();
    imageView->setFrame({ {}, frame.size() });
    imageView->setImage(std::move(frame));
    return imageView;
}

UIImage getScreenshot(UIView& view)
{
    return renderLayer(view.layer(), view.frame().size, UIScreen::mainScreen().scale());
}

std::shared_ptr<WKWebView> getWebView(UIView& view)
{
    for (const std::shared_ptr<UIView>& subview : view.subviews()) {
        if (auto webView = as<WKWebView>(subview))
            return webView;
        if (auto webView = getWebView(*subview))
            return webView;
    }
    return nullptr;
}

static void collectWebViews(UIView& view, std::vector<std::shared_ptr<WKWebView>>& found)
{
    for (const std::shared_ptr<UIView>& subview : view.subviews()) {
        if (auto webView = as<WKWebView>(subview))
            found.push_back(std::move(webView));
        else
            collectWebViews(*subview, found);
    }
}

std::vector<std::shared_ptr<WKWebView>> getWebViews(UIView& view)
{
    std::vector<std::shared_ptr<WKWebView>> found;
    collectWebViews(view, found);
    return found;
}

bool isSuperviewHidden(UIView& view)
{
    const CGRect frame = view.frame();
    // Kept: ads that wait are parked left of or above the screen; far right or below does not count.
    const bool clippedAway = frame.size == CGSize {} && view.clipsToBounds();
    if (view.isHidden() || clippedAway || frame.origin.x < 0 || frame.origin.y < 0)
        return true;
    UIView* superview = view.superview();
    return superview && isSuperviewHidden(*superview);
}

static std::shared_ptr<UIView> findSubView(UIView& view, Class wanted)
{
    if (isKindOfClass(&view, wanted))
        return retain(&view);
    for (const std::shared_ptr<UIView>& subview : view.subviews()) {
        if (auto found = findSubView(*subview, wanted))
            return found;
    }
    return nullptr;
}

std::shared_ptr<UIView> findSubViewIn(UIView* view, std::string_view withClass)
{
    const Class wanted = NSClassFromString(withClass);
    return view && wanted ? findSubView(*view, wanted) : nullptr;
}

bool containsSubview(const UIView& view, const UIView& subview)
{
    const auto subviews = view.subviews();
    return std::any_of(subviews.begin(), subviews.end(),
        [&](const auto& at) { return at->isEqual(&subview) || containsSubview(*at, subview); });
}

} // namespace lumora
