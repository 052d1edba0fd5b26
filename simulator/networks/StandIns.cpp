#include "simulator/networks/StandIns.h"

namespace lumora {

const std::vector<const StandInNetwork*>& allStandIns()
{
    static const std::vector<const StandInNetwork*> all {
        &googleStandIn(),
        &moPubStandIn(),
    };
    return all;
}

} // namespace lumora
