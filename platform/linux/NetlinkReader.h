#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

struct nlmsghdr;

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
/// loopback. It is cellular when its name, a leading "v4-" left out, begins with "ww" (wwan0, wwp0s20),
/// "rmnet", "ccmni", "seth_" or "ppp"; a telephone line that dials in with "ppp" counts as cellular too.
///
/// The internet is reachable by a default route, or by one over half of all addresses or all public IPv6
/// ones, as VPNs set, through a link that counts. Of the routes of one table the narrower wins, then the one
/// with the least metric, of equals one that is not cellular. A winner that throws packets away means that
/// its table leads nowhere. The main table comes first; others, which systems with a table for each network
/// have, only when it leads nowhere. Rules and VRFs are not read. IPv4 and IPv6 are told apart until the end,
/// as their metrics do not compare: the way out is cellular when the ways of both are. A route that hides its
/// link behind a nexthop object counts when the kernel finds a way by it, and as not cellular.
///
/// An address alone leads nowhere: a machine with a link that is up and no default route does not reach the
/// internet, but does reach the network of its link, if that is an Ethernet or a Wi-Fi, not cellular, and
/// neither a bridge nor a virtual port of one, as containers have.
///
/// One thread at a time; keeps one socket.
class NetlinkReader {
public:
    NetlinkReader();
    /// Over a socket that is open already, and is closed here.
    explicit NetlinkReader(int socket);
    ~NetlinkReader();
    NetlinkReader(const NetlinkReader&) = delete;
    NetlinkReader& operator=(const NetlinkReader&) = delete;

    /// Nothing when the kernel refuses, is silent, or when routes change too fast for a whole picture. Waits
    /// for at most a tenth of a second or two, except while the kernel itself holds its lock on the network.
    std::optional<NetworkFlags> read();
    /// Whether it would fail another time too.
    bool isRefused() const { return m_isRefused; }

    /// Whether a notice of the kernel is about what the flags are made of.
    static bool concerns(const nlmsghdr& notice);

private:
    class Picture;
    using Clock = std::chrono::steady_clock;

    /// Both answer 0 when the picture has all of it, else an error: EINTR when it changed meanwhile,
    /// ETIMEDOUT when the kernel is silent.
    int dump(uint16_t type, uint8_t family, Picture& picture);
    int receive(Picture& picture);

    int m_socket;
    bool m_isRefused { false };
    uint32_t m_sequence { 0 };
    Clock::time_point m_end;
};

} // namespace lumora
