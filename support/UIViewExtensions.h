#pragma once

#include "platform/uikit/UIImage.h"

#include <memory>
#include <string_view>
#include <vector>

namespace lumora {

class UIView;
class WKWebView;

// What the library adds to the platform's views. Main thread only. Searches go depth first, in the order of
// the subviews.

// UIView (Screenshoting)

/// The view's hierarchy as it will look after pending updates, at the size of its bounds.
UIImage takeScreenshot(UIView& view);
/// The view to photograph for a report: for a view that plays a video, anywhere in its tree of layers, a new
/// image view of the picture the video is at, in the screen's pixels no larger than in its own; else the view
/// itself.
std::shared_ptr<UIView> getVideoScreenshotView(UIView& view);

// UIView (LMViewHelper)

/// The view's layer as it is, without layout and animations, at the size of its frame.
UIImage getScreenshot(UIView& view);
/// The first web view below; null when there is none.
std::shared_ptr<WKWebView> getWebView(UIView& view);
/// All web views below; the insides of a web view are not searched.
std::vector<std::shared_ptr<WKWebView>> getWebViews(UIView& view);
/// True when the view or one above it is hidden, has no size and clips, or lies at a negative x or y.
bool isSuperviewHidden(UIView& view);

// UIView (FindSubviewWithClassName)

/// The view or the first one below that is of the named class; null when there is none, and for a name that
/// no class has.
std::shared_ptr<UIView> findSubViewIn(UIView* view, std::string_view withClass);
/// Whether an object equal to a view lies anywhere in another one's tree, itself not counted.
bool containsSubview(const UIView& view, const UIView& subview);

}
