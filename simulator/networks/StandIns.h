#pragma once

#include "simulator/networks/StandIn.h"

namespace lumora {

/// The stand-ins of all networks, in the order in which the library looks at them.
const std::vector<const StandInNetwork*>& allStandIns();

// One file a network.
const StandInNetwork& googleStandIn();
const StandInNetwork& inMobiStandIn();
const StandInNetwork& facebookStandIn();
const StandInNetwork& moPubStandIn();
const StandInNetwork& adColonyStandIn();
const StandInNetwork& unityStandIn();
const StandInNetwork& aolStandIn();
const StandInNetwork& smaatoStandIn();
const StandInNetwork& vungleStandIn();
const StandInNetwork& tapjoyStandIn();
const StandInNetwork& verizonStandIn();
const StandInNetwork& openXStandIn();
const StandInNetwork& ironsourceStandIn();
const StandInNetwork& appNexusStandIn();
const StandInNetwork& verveStandIn();
const StandInNetwork& teadsStandIn();
const StandInNetwork& taboolaStandIn();
const StandInNetwork& spotXStandIn();
const StandInNetwork& appLovinStandIn();
/// Has no hooks of its own: known by the delegates of its web views.
const StandInNetwork& amazonStandIn();

} // namespace lumora
