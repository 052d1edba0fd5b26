#pragma once

#include "platform/uikit/UIView.h"

#include <memory>

namespace lumora {

/// The view to photograph for a full-screen or video ad: a picture of the given view's size with the current
/// frame of the ad's player, if a video plays; else the container above the view that fills the window; else
/// null. Main thread.
std::shared_ptr<Object> screenshotViewOf(id adView);

} // namespace lumora
