#pragma once

#include "platform/uikit/UIView.h"

namespace lumora {

/// Draws a view and all under it as they show at this moment of their animations. The view's own place and
/// superview do not matter: its top left corner is the context's origin. Main thread only.
void drawViewHierarchy(UIView& root, CGContext& context);

/// A picture of a view, laid out first, at that many pixels per point. A null picture for an empty size.
UIImage takeImageOfView(UIView& view, CGSize size, double scale);

/// A picture of a layer and all under it with its model values: without animations and without layout. An
/// opaque one has black where nothing is drawn.
UIImage renderLayer(CALayer& layer, CGSize size, double scale, bool opaque = false);

} // namespace lumora
