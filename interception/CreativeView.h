#pragma once

#include "platform/uikit/UIView.h"

#include <functional>
#include <memory>

namespace lumora {

// From what a network's method is called on to the view that carries the report button. Called by hooks, on
// any thread; what looks at views does so on the main thread.

/// The first web view below a view, or the view itself; the same for the view of a controller, or of any
/// object that answers `view`. Null for anything else. Main thread.
std::shared_ptr<UIView> creativeViewIn(const std::shared_ptr<Object>& viewOrOwner);

/// The first view that is good, from a view downwards, itself included, depth first. Null when none is. Main
/// thread.
std::shared_ptr<UIView> findView(
    const std::shared_ptr<UIView>& root, const std::function<bool(UIView&)>& isGood);
/// The view of a controller, once it is loaded. Main thread.
std::shared_ptr<UIView> viewOfController(id controller);

/// Puts the report button on a view, with the metadata class of that name and, where there is one, the
/// network's ad object. Nothing happens for what is no view.
void attachReportButton(const std::shared_ptr<Object>& adView, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject = nullptr);
inline void attachReportButton(
    id adView, const char* metadataClass, const std::shared_ptr<Object>& supportObject = nullptr)
{
    attachReportButton(retain(adView), metadataClass, supportObject);
}

/// Whether an ad that has no view of its own yet may be looked for among what is presented over the host.
enum class AdMoment { Loaded, Shown };

/// The same for an ad whose view is not handed over: looked for one turn of the main queue later, when the
/// replaced method has put it where it belongs. First the web view in the ad's own view; else one among the
/// ad's private objects; else, for an ad that is being shown, what is in the controller presented on top;
/// else the ad's own view.
void attachReportButtonToAd(id ad, AdMoment moment, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject = nullptr);

/// The view to photograph for a full-screen or video ad: a picture of the given view's size with the current
/// frame of the ad's player, if a video plays; else the container above the view that fills the window; else
/// null. Main thread.
std::shared_ptr<Object> screenshotViewOf(id adView);

} // namespace lumora
