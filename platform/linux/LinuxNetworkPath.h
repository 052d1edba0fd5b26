#pragma once

#include "platform/systemconfiguration/NetworkPath.h"

namespace lumora {

/// The network of this machine, by its routes and links (NetlinkReader states the rule).
///
/// The first question or listener reads them once, on its own thread, and starts one watcher thread; from
/// then on the thread keeps the flags current from the kernel's notices, and a question costs one cheap
/// system call. It holds three descriptors in all, however many ask, and one more while it reads.
///
/// Where the kernel sends no notices, no thread or descriptor can be had, or the host has closed ours, every
/// question reads afresh and nobody is told of changes; at most once a second a question tries to start
/// another watcher, which then tells what was missed. A reading that fails in passing answers what was last
/// known, and before anything is known that the internet is there. A fork's child reads afresh for good.
///
/// Where the kernel refuses netlink altogether, as some sandboxes do, or does not answer it within a tenth of
/// a second, a question asks from then on whether a datagram socket finds a route; such a path never counts
/// as cellular.
std::unique_ptr<NetworkPath> makeLinuxNetworkPath();

} // namespace lumora
