#pragma once

#include "platform/uikit/UIImage.h"

namespace lumora {

class UIView;

// UIImage (Hashing): pictures of views, for hashing and upload. Main thread only. A null picture for no view
// and an empty one. A report's screenshot is `takeScreenshot` of support/UIViewExtensions.h, at the screen's
// scale.

/// The view's layer as it is, without layout and animations, at the size of its bounds and the screen's
/// scale; black shows through an opaque view.
UIImage captureScreenWithView(UIView* view);
/// The view's hierarchy as it will look after pending updates, at the size of its bounds and one pixel a
/// point.
UIImage captureRightScreenFrom(UIView* view);

} // namespace lumora
