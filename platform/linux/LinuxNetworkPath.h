#pragma once

#include "platform/systemconfiguration/NetworkPath.h"

namespace lumora {

/// The network of this machine: reachable when an interface other than the loopback is up and has an address;
/// cellular when all such interfaces are modems. Watches the kernel's notices on a thread of its own once
/// somebody listens.
std::unique_ptr<NetworkPath> makeLinuxNetworkPath();

} // namespace lumora
