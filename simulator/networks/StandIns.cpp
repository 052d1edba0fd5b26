#include "simulator/networks/StandIns.h"

namespace lumora {

const std::vector<const StandInNetwork*>& allStandIns()
{
    static const std::vector<const StandInNetwork*> all { &googleStandIn(), &inMobiStandIn(),
        &facebookStandIn(), &moPubStandIn(), &adColonyStandIn(), &unityStandIn(), &aolStandIn(),
        &smaatoStandIn(), &vungleStandIn(), &tapjoyStandIn(), &verizonStandIn(), &openXStandIn(),
        &ironsourceStandIn(), &appNexusStandIn(), &verveStandIn(), &teadsStandIn(), &taboolaStandIn(),
        &spotXStandIn(), &appLovinStandIn(), &amazonStandIn(), &rubiconStandIn(), &sharethroughStandIn() };
    return all;
}

} // namespace lumora
