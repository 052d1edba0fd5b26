#pragma once

#include "interception/AdViewSearch.h"

#include <memory>

namespace lumora {

class Process;

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
    const std::shared_ptr<Object>& supportObject = nullptr, ViewTest isGood = nullptr);

/// The same for an ad whose view is not handed over: made before the replaced method is called, it looks for
/// the view (`AdViewSearch`) one turn of the main queue after that returned; not at all when that raised.
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
    AdViewSearch m_search;
    const char* m_metadataClass;
    std::shared_ptr<Object> m_supportObject;
    int m_exceptions;
};

} // namespace lumora
