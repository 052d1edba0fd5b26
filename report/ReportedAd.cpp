#include "report/ReportedAd.h"

#include "interception/TDMetadataClassProtocol.h"
#include "platform/foundation/NSString.h"
#include "platform/uikit/UIImage.h"
#include "processing/AdProcessingManager.h"
#include "support/Guarded.h"
#include "support/UIViewExtensions.h"

#include <utility>

namespace lumora {

// A network that renamed or broke a private property costs the report that one field.
template <typename... A, typename... P>
static std::string textFrom(
    Object* metadataClass, const TypedSelector<std::string(A...)>& question, P&&... about)
{
    std::string text;
    guarded([&] { text = send(metadataClass, question, std::forward<P>(about)...); });
    return text;
}

bool ReportedAd::metadataClassResponds(SEL selector) const
{
    return respondsToSelector(m_metadataClass.get(), selector);
}

std::string ReportedAd::metadataText(const TypedSelector<std::string()>& question) const
{
    return textFrom(m_metadataClass.get(), question);
}

bool ReportedAd::isInterstitial() const { return metadataText(sel::adType) == "interstitial"; }

std::string ReportedAd::identifier(const TypedSelector<std::string(id, id)>& withSupportObject,
    const TypedSelector<std::string(id)>& alone) const
{
    const auto adView = view();
    if (metadataClassResponds(withSupportObject))
        return textFrom(m_metadataClass.get(), withSupportObject, adView.get(), supportObject().get());
    if (metadataClassResponds(alone))
        return textFrom(m_metadataClass.get(), alone, adView.get());
    return "";
}

std::string ReportedAd::creativeId() const
{
    return identifier(sel::getCreativeIDWithObject_withSupportObject, sel::getCreativeIDWithObject);
}

std::string ReportedAd::placementId() const
{
    return identifier(sel::getPlacementIDWithObject_withSupportObject, sel::getPlacementIDWithObject);
}

std::string ReportedAd::screenshot() const
{
    const auto adView = view();
    if (!adView)
        return "";
    std::shared_ptr<UIView> photographed;
    if (metadataClassResponds(sel::getOtherViewForScreenshotWithView)) {
        guarded([&] {
            photographed = as<UIView>(send(m_metadataClass, sel::getOtherViewForScreenshotWithView, adView));
        });
    }
    std::string picture;
    guarded([&] {
        if (!photographed)
            photographed = getVideoScreenshotView(*adView);
        picture = base64Encoded(UIImagePNGRepresentation(takeScreenshot(*photographed)));
    });
    return picture;
}

void ReportedAd::resumePlayer() const
{
    guarded([&] {
        if (conformsToProtocol(m_metadataClass.get(), TDMetadataClassPlayerManipulateSupportProtocol)
            && send(m_metadataClass, sel::havePlayer))
            send(m_metadataClass, sel::playPlayer);
    });
}

void ReportedAd::addFactsTo(TDEventModel& event) const
{
    if (std::string picture = screenshot(); !picture.empty())
        event.setScreenshot(std::move(picture));
    if (!m_metadataClass)
        return;
    event.setSdk(metadataText(sel::getSDKName));
    event.setSdkVersion(metadataText(sel::getVersion));
    event.setCreativeId(creativeId());
    event.setPlacementId(placementId());
    event.setAdFormat(metadataText(sel::adType));
    Value further;
    guarded([&] {
        if (metadataClassResponds(sel::getOtherInfoForView))
            further = send(m_metadataClass, sel::getOtherInfoForView, view());
        else if (metadataClassResponds(sel::getOtherInfoForView_andForSupportObject))
            further = send(
                m_metadataClass, sel::getOtherInfoForView_andForSupportObject, view(), supportObject());
    });
    if (const NSDictionary* entries = further.dictionary()) {
        // Describes the network's objects: one that raises is left out alone.
        for (const NSDictionary::Entry& entry : *entries)
            guarded([&] { event.addAdditionalInfo({ entry }); });
    }
}

std::shared_ptr<LMAdViewProcessor> ReportedAd::processor() const
{
    return AdProcessingManager::sharedInstance().getProcessorReversedBy(view().get());
}

void ReportedAd::addMarkupTo(const std::shared_ptr<TDEventModel>& event, std::function<void()> then) const
{
    const auto adProcessor = processor();
    if (!adProcessor)
        return then();
    guarded([&] { event->setAdType(adProcessor->getAdTypeInString()); });
    auto once
        = [event, then = std::move(then), done = std::make_shared<bool>(false)](const std::string* html) {
              if (std::exchange(*done, true))
                  return;
              if (html)
                  event->setHtml(*html);
              then();
          };
    const bool asked = guarded([&] {
        adProcessor->getNewHTMLWithPurpose(
            HTMLPurpose::Report, [once](bool, const std::string& html) { once(&html); });
    });
    if (!asked)
        once(nullptr);
}

void ReportedAd::gatherInfo(const std::string& adId) const
{
    NSDictionary info { { "adId", adId } };
    if (std::string picture = screenshot(); !picture.empty())
        info.set("screenshot", std::move(picture));
    const auto adProcessor = processor();
    if (!adProcessor) {
        info.set("html", "");
        return;
    }
    guarded([&] {
        adProcessor->getNewHTMLWithPurpose(
            HTMLPurpose::AdRecord, [info](bool, const std::string& html) mutable { info.set("html", html); });
    });
}

} // namespace lumora
