#pragma once

#include "processing/LMNetworkProcessor.h"

namespace lumora {

struct GoogleProcessorClass;

/// The processors of Google's networks, ten classes that differ in data alone. The creative stands in the
/// headers of the answer that brought the ad, or in a text for debugging. `lumoraCrId` goes before all of it.
class LMGoogleProcessor : public LMNetworkProcessor {
public:
    static const ClassDescription& classDescription();

    /// Empty when nothing is found. Every step is logged. A header that has the label but not what ends the
    /// creative also ends the search: kept, the services know such ads without one.
    std::string getCreativeID() override;
    /// What a header bidder left in the ad's request; nothing if none did.
    Value customTargeting();

    /// The view whose delegate knows the ad: inside a banner, above any other view; an interstitial itself.
    std::shared_ptr<Object> supportView();
    /// Whether the ad's answer can be read from there.
    bool shouldUseThisSupportVersion();
    /// The ad from there; else what the last answer for native ads brought, which need not be this ad's. No
    /// row of the factory makes a processor that asks.
    Value getAd();

private:
    Value headers(const GoogleProcessorClass& row);
    std::string debugText();
};

} // namespace lumora
