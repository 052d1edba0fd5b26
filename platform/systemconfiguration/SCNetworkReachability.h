#pragma once

#include "platform/dispatch/Executor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace lumora {

/// A target whose reachability is asked or watched; belongs to the process it was made in. Any thread.
class SCNetworkReachability;
using SCNetworkReachabilityRef = std::shared_ptr<SCNetworkReachability>;
using SCNetworkReachabilityCallBack
    = std::function<void(const SCNetworkReachabilityRef& target, uint32_t flags)>;

/// Null when the name cannot be a host's: empty, longer than 253, or with characters no name has. The name is
/// not looked up: it is as reachable as the internet, except for this machine's own.
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(std::string_view nodename);
/// From an IPv4 or IPv6 address in numbers: "0.0.0.0" is any route to the internet, "169.254.0.0" and
/// "fe80::" the link-local network, which is there when a link that is not cellular is up. Null when it is no
/// address.
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(std::string_view address);

/// The flags at this moment; nothing for a null target.
std::optional<uint32_t> SCNetworkReachabilityGetFlags(const SCNetworkReachabilityRef& target);

/// Sets, or with null removes, what is called when the flags change, with the flags of that change. False for
/// a null target.
bool SCNetworkReachabilitySetCallback(
    const SCNetworkReachabilityRef& target, SCNetworkReachabilityCallBack callout);
/// Calls arrive on this queue from now on; null ends them. While a queue is set the process holds the target,
/// and with it what its callback holds, until it ends. A queue costs no thread and no descriptor, and setting
/// one takes the same time however many are set. False for a null target, when the process is going, and when
/// there is no memory for it.
bool SCNetworkReachabilitySetDispatchQueue(
    const SCNetworkReachabilityRef& target, std::shared_ptr<DispatchQueue> queue);

} // namespace lumora
