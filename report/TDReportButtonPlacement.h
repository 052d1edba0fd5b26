#pragma once

#include "platform/foundation/Value.h"
#include "platform/process/Lock.h"

#include <cstdint>
#include <map>
#include <string>

namespace lumora {

/// The networks that have a number here. AppLovin has none.
enum class TDAdNetworkType : uint64_t {
    AdMob = 0,
    DFP,
    Facebook,
    InMobi,
    MoPub,
    Unity,
    AOL,
    Amazon,
    Smaato,
    Vungle,
    Tapjoy,
    Verizon,
    OpenX,
    Ironsource,
    AppNexus,
    Verve,
    Teads,
    Taboola,
    SpotX,
};

/// Not the processors pipeline's format numbers.
enum class TDAdFormatType : uint64_t { Banner = 0, Interstitial, Native, All };

/// Where a network wants its button, by network and format. Nobody positions by it: a rule can be asked, no
/// more. One per process; any thread.
class TDReportButtonPlacement {
public:
    /// What a pair without a rule answers.
    static constexpr int64_t defaultPlacement = 6;

    static TDReportButtonPlacement& sharedInstance();

    /// The names that metadata classes give; empty for a number without one.
    static std::string adTypeStringValue(TDAdNetworkType network);
    static std::string adFormatStringValue(TDAdFormatType format);

    /// Stores a rule, replacing an earlier one of the same pair.
    void setNewButtonPlacement(uint64_t placement, TDAdNetworkType forAdType, TDAdFormatType adFormat);
    /// The placement of a pair of names as they are, case included.
    int64_t checkForUserCustomPlacementForAdWithName(const Value& name, const Value& adFormat) const;

private:
    mutable Lock m_lock;
    std::map<std::string, uint64_t> m_customRules LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
