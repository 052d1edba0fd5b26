#pragma once

#include "simulator/networks/StandInAd.h"

namespace lumora {

/// A format of a network: how an ad of it comes on screen, and in how many places its SDKs keep identifiers.
struct StandInFormat {
    const char* name;
    int places;
    /// Builds and shows it up to the moment after which the report button is due.
    void (*show)(StandInAd& ad);
};

/// A network's SDK, as far as it can be seen from outside.
struct StandInNetwork {
    const char* name;
    /// Defines the SDK's classes in the current process, as loading the SDK does.
    void (*install)();
    std::vector<StandInFormat> formats;
};

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
/// Has no hooks for the report button: known by the delegates of its web views.
const StandInNetwork& amazonStandIn();
/// These have processors alone.
const StandInNetwork& rubiconStandIn();
const StandInNetwork& sharethroughStandIn();

/// A mediator, none of the above: a host that has it is hooked otherwise.
const StandInNetwork& aatKitStandIn();

} // namespace lumora
