#pragma once

#include "platform/uikit/UIView.h"

#include <functional>
#include <memory>

namespace lumora {

class Process;
class UIViewController;

// From what a network's method is called on to the view that carries the report button. Called by hooks, on
// any thread; views are looked at on the main thread only.

/// Puts the report button on a view that the network hands over, with the metadata class of that name and,
/// where there is one, the network's ad object. Nothing happens for what is no view.
void attachReportButton(const std::shared_ptr<Object>& adView, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject = nullptr);
inline void attachReportButton(
    id adView, const char* metadataClass, const std::shared_ptr<Object>& supportObject = nullptr)
{
    attachReportButton(retain(adView), metadataClass, supportObject);
}

/// The same for a view inside of another, or of the view of a controller or of any object that answers
/// `view`: the first one that `isGood`, itself included, depth first. When no test is given, or no view
/// passes it, the first web view gets the button; when there is none, the whole does. Looked for at once on
/// the main thread; one turn of the main queue later elsewhere, and when there is no view yet.
void attachReportButtonInside(id viewOrOwner, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject = nullptr, std::function<bool(UIView&)> isGood = nullptr);

/// Where an ad without a view of its own may be looked for: in itself, in what it is about to present over
/// the host, or in what it has presented.
enum class AdMoment { Loaded, WillShow, DidShow };

/// The same for an ad whose view is not handed over: made before the replaced method is called, it looks for
/// the view one turn of the main queue after that returned, when the network has put the ad where it belongs;
/// not at all when that raised. First the web view in the ad's own view; then one among the objects the ad
/// owns; then what is in the controller it presents; then its own view. Off the main thread an ad that will
/// show counts as presenting nothing, because what was on top before is not known.
class ReportButtonForAd {
public:
    ReportButtonForAd(id ad, AdMoment moment, const char* metadataClass,
        const std::shared_ptr<Object>& supportObject = nullptr) noexcept;
    ~ReportButtonForAd();
    ReportButtonForAd(const ReportButtonForAd&) = delete;
    ReportButtonForAd& operator=(const ReportButtonForAd&) = delete;

private:
    std::weak_ptr<Object> m_ad;
    Process* m_process { nullptr };
    AdMoment m_moment;
    const char* m_metadataClass;
    std::shared_ptr<Object> m_supportObject;
    std::shared_ptr<UIViewController> m_before;
    int m_exceptions;
};

} // namespace lumora
