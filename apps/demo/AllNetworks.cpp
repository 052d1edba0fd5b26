#include "apps/demo/AllNetworks.h"

#include "lumora/LMReportButtonHelper.h"
#include "processing/AdProcessingManager.h"
#include "simulator/Finding.h"
#include "simulator/SoleObject.h"
#include "simulator/networks/StandIns.h"

namespace lumora {

namespace {

// Seconds: the button comes one after the ad, a report goes at once.
constexpr double patience = 5;

/// What the report says under a field's name, wherever in it the field stands.
Value said(const NSDictionary& report, const std::string& field)
{
    const Value& top = report[field];
    const NSDictionary* further = report["metadata"].dictionary();
    return top.isNothing() && further ? (*further)[field] : top;
}

std::string furtherIn(const NSDictionary& report)
{
    std::string text;
    const NSDictionary* further = report["metadata"].dictionary();
    for (const auto& [name, value] : further ? *further : NSDictionary {}) {
        if (name != "config" && name != "placementId")
            text += (text.empty() ? "" : ", ") + name + ": " + value.description();
    }
    return text;
}

} // namespace

void reportEveryNetwork(Phone& phone, const ConfigurationService& service, Story& story)
{
    size_t ads = 0;
    size_t asExpected = 0;
    size_t watched = 0;
    size_t withMarkup = 0;
    std::vector<std::vector<std::string>> rows;
    UIViewController& screen = *phone.window().rootViewController();
    for (const StandInNetwork* network : allStandIns()) {
        for (const StandInFormat& format : network->formats) {
            // The one before may still be going away.
            phone.waitUntil([&] { return !screen.presentedViewController(); }, patience);
            StandInAd ad(screen);
            format.show(ad);
            // Some have no place for a button.
            if (!ad.adView)
                continue;
            ads++;
            std::shared_ptr<TDReportButtonView> button;
            phone.waitUntil([&] { return (button = buttonOn(*ad.adView)) != nullptr; }, patience);
            const size_t before = service.reports().size();
            send(button, sel::sendReportWithInfo, Value { "repetitive" });
            const bool arrived
                = button && phone.waitUntil([&] { return service.reports().size() > before; }, patience);
            const NSDictionary report
                = arrived ? soleObjectIn(service.reports().back().body) : NSDictionary {};
            bool isComplete = arrived;
            for (const auto& [field, value] : ad.expected())
                isComplete &= field == "button" || said(report, field) == value;
            asExpected += isComplete;
            const size_t markup = report["html"].stringOrEmpty().size();
            const bool hasPage
                = AdProcessingManager::sharedInstance().getProcessorReversedBy(ad.adView.get()) != nullptr;
            watched += hasPage;
            withMarkup += hasPage && markup > 0;
            rows.push_back({ network->name, format.name, button ? "yes" : "no",
                said(report, "sdkVersion").stringOrEmpty(), said(report, "adFormat").stringOrEmpty(),
                said(report, "creativeId").stringOrEmpty(), said(report, "placementId").stringOrEmpty(),
                markup ? std::to_string(markup) : "", furtherIn(report) });
        }
    }
    story.table(
        { "network", "ad", "button", "version", "reported as", "creative", "placement", "markup", "and" },
        rows);
    story.expect(asExpected == ads,
        std::to_string(asExpected) + " of " + std::to_string(ads)
            + " ads got their button and a report of all that their SDK knows");
    story.expect(withMarkup == watched && watched > 0,
        std::to_string(withMarkup) + " of " + std::to_string(watched)
            + " that have a processor were reported with their markup");
}

} // namespace lumora
