#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace lumora {

/// The sixteen numbers of an IPv6 address, or those of an IPv4 one behind ::ffff:.
using HostAddress = std::array<uint8_t, 16>;

/// Reads "192.0.2.7", "2001:db8::7" or "fe80::7%wlan0", whose link is not looked at. Nothing when it is none.
std::optional<HostAddress> hostAddressFromText(std::string_view text);

} // namespace lumora
