#pragma once

#include <cstdint>
#include <memory>
#include <optional>

struct mnl_socket;

namespace lumora {

/// The flag bits of the way to the internet and of the network of the links, as `NetworkPath` tells them;
/// aligned for one load.
struct alignas(8) NetworkFlags {
    uint32_t internet { 0 };
    uint32_t linkLocal { 0 };

    bool operator==(const NetworkFlags&) const = default;
};

/// Reads what the kernel knows of routes and links.
///
/// A link counts when it is up and running (not with its cable out or its access point gone) and is not the
/// loopback. It is cellular when its name begins with "ww" (wwan0, wwp0s20), "rmnet" or "ppp".
///
/// The internet is reachable by a default route, IPv4 or IPv6, through a link that counts. Of several the one
/// with the least metric is the way out, and says whether that is cellular; of equal ones one that is not.
/// Routes of the main table come first, those of others, which systems with a table for each network have,
/// only when it has none. An address alone leads nowhere: a machine with a link that is up and no default
/// route does not reach the internet, but does reach the network of its link, unless that is cellular.
///
/// One thread at a time; keeps one socket.
class NetlinkReader {
public:
    NetlinkReader();
    ~NetlinkReader();

    /// Some system calls, waiting for nothing but the kernel. Nothing when the kernel refuses, or when routes
    /// change too fast for a whole picture.
    std::optional<NetworkFlags> read();

private:
    class Picture;
    enum class Outcome { Whole, Torn, Refused };

    Outcome dump(uint16_t type, uint8_t family, Picture& picture);
    Outcome receive(Picture& picture);

    std::unique_ptr<mnl_socket, int (*)(mnl_socket*)> m_socket;
    uint32_t m_sequence { 0 };
};

} // namespace lumora
