#pragma once

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/UIImage.h"

#include <memory>
#include <string_view>
#include <vector>

namespace lumora {

class Object;
class UIView;
class UIViewController;
class WKWebView;
struct UIColor;

// What the library adds to the platform's views, controllers and colours. Main thread only.

/// The view's hierarchy as it will look after pending updates, at the size of its bounds.
UIImage takeScreenshot(UIView& view);
/// The view to photograph for a report: for a view that plays a video, anywhere in its tree of layers, a new
/// image view of the picture the video is at; else the view itself.
std::shared_ptr<UIView> getVideoScreenshotView(UIView& view);

/// The first web view below, depth first; null when there is none.
std::shared_ptr<WKWebView> getWebView(UIView& view);
/// All web views below, depth first; the insides of a web view are not searched.
std::vector<std::shared_ptr<WKWebView>> getWebViews(UIView& view);
/// Whether a view lies anywhere in another one's tree, itself not counted.
bool containsSubview(const UIView& view, const UIView& subview);
/// True when the view or one above it is hidden, has no size and clips, or lies at a negative x or y.
bool isSuperviewHidden(UIView& view);

/// The controller a user sees: follows presented controllers, then containers. Borrowed.
UIViewController* findBestViewController(UIViewController* controller);
/// The same from the key window's root; null without one.
UIViewController* currentViewController();

/// A colour from components on a scale to 255, alpha to 1.
UIColor colorWithR(double r, double g, double b, double a);

}
