#pragma once

#include "platform/uikit/UIImage.h"

namespace lumora {

class UIView;

// What the hashes and the uploads need of pictures. Main thread only. A picture that is drawn anew has scale
// 1, as the platform's image context of a size has: one pixel a point, whatever the scale of the one it
// shows.

// UIImage (Hashing)

/// The picture stretched over 32 x 32 points, which is how it is made small for hashing; transparent for a
/// null one.
UIImage imageWithImage(const UIImage& image);
/// The view's layer as it is, without layout and animations, at the size of its bounds and the screen's
/// scale; black shows through an opaque view. A null picture for no view and an empty one.
UIImage captureScreenWithView(UIView* view);
/// The view's hierarchy as it will look after pending updates, at the size of its bounds and scale 1. A null
/// picture for no view and an empty one.
UIImage captureRightScreenFrom(UIView* view);

// UIImage (QualityDowngrade)

/// The picture drawn anew at its size in points, with its own pixels: its JPEG form only decides whether
/// that is done, kept so. A null picture when it cannot be a JPEG; one without size is answered itself.
UIImage getDowngradedImage(const UIImage& image);

// UIImage (Resizing)

/// The picture at half its size in points; the picture itself when it has no size or cannot be drawn.
UIImage resizeWithRate(const UIImage& image);

} // namespace lumora
