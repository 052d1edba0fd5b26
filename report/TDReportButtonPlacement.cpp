#include "report/TDReportButtonPlacement.h"

#include "platform/foundation/NSString.h"
#include "platform/process/ProcessLocal.h"

#include <array>

namespace lumora {

namespace {

ProcessLocal<TDReportButtonPlacement> s_sharedInstance;

constexpr std::array networkNames { "AdMob", "DFP", "Facebook", "InMobi", "MoPub", "Unity", "AOL", "Amazon",
    "Smaato", "Vungle", "Tapjoy", "Verizon", "OpenX", "Ironsource", "AppNexus", "Verve", "Teads", "Taboola",
    "SpotX" };
constexpr std::array formatNames { "banner", "interstitial", "native", "all" };

template <typename Names, typename Number> std::string nameAt(const Names& names, Number number)
{
    const auto index = static_cast<uint64_t>(number);
    return index < names.size() ? names[index] : "";
}

std::string ruleKey(const Value& network, const Value& format)
{
    return stringWithFormat("%@.%@", { network, format });
}

} // namespace

TDReportButtonPlacement& TDReportButtonPlacement::sharedInstance() { return s_sharedInstance.get(); }

std::string TDReportButtonPlacement::adTypeStringValue(TDAdNetworkType network)
{
    return nameAt(networkNames, network);
}
std::string TDReportButtonPlacement::adFormatStringValue(TDAdFormatType format)
{
    return nameAt(formatNames, format);
}

void TDReportButtonPlacement::setNewButtonPlacement(
    uint64_t placement, TDAdNetworkType forAdType, TDAdFormatType adFormat)
{
    Locker hold(m_lock);
    m_customRules[ruleKey(adTypeStringValue(forAdType), adFormatStringValue(adFormat))] = placement;
}

int64_t TDReportButtonPlacement::checkForUserCustomPlacementForAdWithName(
    const Value& name, const Value& adFormat) const
{
    Locker hold(m_lock);
    const auto rule = m_customRules.find(ruleKey(name, adFormat));
    return rule == m_customRules.end() ? defaultPlacement : static_cast<int64_t>(rule->second);
}

} // namespace lumora
