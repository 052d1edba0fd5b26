#include "simulator/networks/StandIns.h"

namespace lumora {

const std::vector<const StandInNetwork*>& allStandIns()
{
    static const std::vector<const StandInNetwork*> all {
        &googleStandIn(),
        &inMobiStandIn(),
        &facebookStandIn(),
        &moPubStandIn(),
        &adColonyStandIn(),
        &unityStandIn(),
        &aolStandIn(),
        &amazonStandIn(),
    };
    return all;
}

} // namespace lumora
