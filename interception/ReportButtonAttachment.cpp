#include "interception/ReportButtonAttachment.h"

#include "lumora/LMReportButtonHelper.h"
#include "platform/dispatch/Executor.h"
#include "platform/process/Process.h"
#include "support/Guarded.h"

#include <exception>

namespace lumora {

void attachReportButton(const std::shared_ptr<Object>& adView, const char* metadataClass,
    const std::shared_ptr<Object>& supportObject)
{
    if (!as<UIView>(adView))
        return;
    NSDictionary metadata { { LMReportButtonHelper::metaclassKey,
        retain(NSClassFromString(metadataClass)) } };
    if (supportObject)
        metadata.set(LMReportButtonHelper::supportviewKey, supportObject);
    LMReportButtonHelper::addReportButtonToView(adView.get(), nullptr, metadata);
}

void attachReportButtonInside(
    id viewOrOwner, const char* metadataClass, const std::shared_ptr<Object>& supportObject, ViewTest isGood)
{
    auto look = [owner = weakly(viewOrOwner), metadataClass, supportObject, isGood] {
        const std::shared_ptr<UIView> whole = AdViewSearch::viewOf(owner.lock());
        if (!whole)
            return false;
        auto found = isGood ? AdViewSearch::firstViewIn(whole, isGood) : nullptr;
        if (!found)
            found = AdViewSearch::webViewIn(whole);
        attachReportButton(found ? found : whole, metadataClass, supportObject);
        return true;
    };
    if (!Process::current().isMainThread() || !look())
        dispatch_get_main_queue().async([look] { look(); });
}

ReportButtonForAd::ReportButtonForAd(
    id ad, AdMoment moment, const char* metadataClass, const std::shared_ptr<Object>& supportObject) noexcept
    : m_metadataClass(metadataClass)
    , m_supportObject(supportObject)
    , m_exceptions(std::uncaught_exceptions())
{
    guardedHook(ad, [&] {
        m_process = &Process::current();
        m_ad = weakly(ad);
        m_search = AdViewSearch(moment);
    });
}

ReportButtonForAd::~ReportButtonForAd()
{
    if (!m_process || std::uncaught_exceptions() > m_exceptions)
        return;
    Process::Scope scope(*m_process);
    dispatch_get_main_queue().async(
        [ad = m_ad, search = m_search, metadataClass = m_metadataClass, support = m_supportObject] {
            if (const auto alive = ad.lock())
                attachReportButton(search.find(alive), metadataClass, support);
        });
}

} // namespace lumora
