#pragma once

#include "platform/uikit/UIImage.h"

namespace lumora {

// Pictures made smaller, for hashing and upload. Main thread only. A picture that is drawn anew has scale
// 1, as the platform's image context of a size has: one pixel a point, whatever the scale of the one it
// shows.

// UIImage (Hashing)

/// The picture stretched over 32 x 32 points; transparent for a null one. The hashes scale by themselves
/// (`RGBABitmap.h`).
UIImage imageWithImage(const UIImage& image);
// UIImage (QualityDowngrade)

/// The picture drawn anew at its size in points, with its own pixels: its JPEG form only decides whether
/// that is done, kept so. A null picture when it cannot be a JPEG; one without size is answered itself.
UIImage getDowngradedImage(const UIImage& image);

// UIImage (Resizing)

/// The picture at half its size in points; the picture itself when it has no size or cannot be drawn.
UIImage resizeWithRate(const UIImage& image);

} // namespace lumora
