#pragma once

#include "platform/systemconfiguration/NetworkPath.h"

namespace lumora {

/// The network of this machine, by its routes and links (NetlinkReader states the rule).
///
/// The first question or listener reads them once, on its own thread, and starts one watcher thread; from
/// then on the thread keeps the flags current from the kernel's notices, and a question is one load. It holds
/// three descriptors in all, however many ask.
///
/// Where the kernel sends no notices, or no thread can be had, every question reads afresh and nobody is told
/// of changes. Where it refuses netlink altogether, as some sandboxes do, a question asks instead whether a
/// datagram socket finds a route; such a path never counts as cellular.
std::unique_ptr<NetworkPath> makeLinuxNetworkPath();

} // namespace lumora
