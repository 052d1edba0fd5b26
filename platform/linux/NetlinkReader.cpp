#include "platform/linux/NetlinkReader.h"

#include "platform/systemconfiguration/NetworkPath.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <map>
#include <net/if.h>
#include <string_view>
#include <sys/time.h>
#include <tuple>

namespace lumora {

namespace {

// IFF_LOWER_UP, which <net/if.h> does not have: the carrier is there. Sooner known than IFF_RUNNING when it
// goes.
constexpr unsigned lowerUp = 1U << 16;

bool isCellular(std::string_view link)
{
    return link.starts_with("ww") || link.starts_with("rmnet") || link.starts_with("ppp");
}

/// The attributes of a message by their type; null where it has none of that type.
template <size_t count> std::array<const nlattr*, count> attributesOf(const nlmsghdr& message, size_t header)
{
    std::array<const nlattr*, count> found {};
    auto note = [](const nlattr* attribute, void* data) {
        auto& table = *static_cast<std::array<const nlattr*, count>*>(data);
        if (const uint16_t type = mnl_attr_get_type(attribute); type < count)
            table.at(type) = attribute;
        return MNL_CB_OK;
    };
    mnl_attr_parse(&message, static_cast<unsigned>(header), note, &found);
    return found;
}

} // namespace

/// What has been read so far; links come before routes.
class NetlinkReader::Picture {
public:
    void add(const nlmsghdr& message)
    {
        if (message.nlmsg_type == RTM_NEWLINK && mnl_nlmsg_get_payload_len(&message) >= sizeof(ifinfomsg))
            addLink(message);
        if (message.nlmsg_type == RTM_NEWROUTE && mnl_nlmsg_get_payload_len(&message) >= sizeof(rtmsg))
            addRoute(message);
    }

    NetworkFlags flags() const
    {
        NetworkFlags flags;
        if (m_best)
            flags.internet = kSCNetworkReachabilityFlagsReachable
                | (m_best->isCellular ? kSCNetworkReachabilityFlagsIsWWAN : 0u);
        if (std::any_of(m_cellular.begin(), m_cellular.end(), [](const auto& link) { return !link.second; }))
            flags.linkLocal = kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsDirect;
        return flags;
    }

private:
    /// A way out; the least is the best.
    struct Way {
        bool isOutsideMainTable;
        uint32_t metric;
        bool isCellular;

        bool operator<(const Way& other) const
        {
            return std::tie(isOutsideMainTable, metric, isCellular)
                < std::tie(other.isOutsideMainTable, other.metric, other.isCellular);
        }
    };

    void addLink(const nlmsghdr& message)
    {
        const auto* link = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message));
        constexpr unsigned usable = IFF_UP | IFF_RUNNING | lowerUp;
        const nlattr* name = attributesOf<IFLA_IFNAME + 1>(message, sizeof *link)[IFLA_IFNAME];
        if ((link->ifi_flags & (usable | IFF_LOOPBACK)) == usable && name)
            m_cellular[link->ifi_index] = isCellular(mnl_attr_get_str(name));
    }

    void addRoute(const nlmsghdr& message)
    {
        const auto* route = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(&message));
        if (route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST || (route->rtm_flags & RTM_F_CLONED))
            return;
        const auto attributes = attributesOf<RTA_TABLE + 1>(message, sizeof *route);
        auto number = [&](int type, uint32_t otherwise) {
            const nlattr* attribute = attributes.at(static_cast<size_t>(type));
            return attribute ? mnl_attr_get_u32(attribute) : otherwise;
        };
        const bool isOutside = number(RTA_TABLE, route->rtm_table) != RT_TABLE_MAIN;
        const uint32_t metric = number(RTA_PRIORITY, 0);
        addHop(isOutside, metric, number(RTA_OIF, 0), route->rtm_flags);
        const nlattr* hops = attributes[RTA_MULTIPATH];
        const auto* at = hops ? static_cast<const char*>(mnl_attr_get_payload(hops)) : nullptr;
        for (size_t left = hops ? mnl_attr_get_payload_len(hops) : 0; left >= sizeof(rtnexthop);) {
            const auto* hop = reinterpret_cast<const rtnexthop*>(at);
            addHop(isOutside, metric, static_cast<uint32_t>(hop->rtnh_ifindex), hop->rtnh_flags);
            const size_t length = std::max<size_t>(RTNH_ALIGN(hop->rtnh_len), sizeof *hop);
            left -= std::min(length, left);
            at += length;
        }
    }

    void addHop(bool isOutside, uint32_t metric, uint32_t link, unsigned flags)
    {
        const auto found = m_cellular.find(static_cast<int>(link));
        if (found == m_cellular.end() || (flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)))
            return;
        const Way way { isOutside, metric, found->second };
        m_best = m_best ? std::min(*m_best, way) : way;
    }

    // The links that count, by their index, and whether they are cellular.
    std::map<int, bool> m_cellular;
    std::optional<Way> m_best;
};

NetlinkReader::NetlinkReader()
    : m_socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC), &mnl_socket_close)
{
    // The kernel answers at once. Should it ever not, nobody waits for ever.
    constexpr timeval longest { 1, 0 };
    if (m_socket
        && (mnl_socket_bind(m_socket.get(), 0, MNL_SOCKET_AUTOPID) < 0
            || setsockopt(
                   mnl_socket_get_fd(m_socket.get()), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest)
                != 0))
        m_socket.reset();
}

NetlinkReader::~NetlinkReader() = default;

std::optional<NetworkFlags> NetlinkReader::read()
{
    constexpr int attempts = 5;
    for (int i = 0; m_socket && i < attempts; i++) {
        Picture picture;
        const Outcome links = dump(RTM_GETLINK, AF_UNSPEC, picture);
        const Outcome routes = dump(RTM_GETROUTE, AF_INET, picture);
        // A kernel without it refuses.
        const Outcome routes6 = dump(RTM_GETROUTE, AF_INET6, picture);
        if (links == Outcome::Refused || routes == Outcome::Refused)
            break;
        if (links == Outcome::Whole && routes == Outcome::Whole && routes6 != Outcome::Torn)
            return picture.flags();
    }
    return std::nullopt;
}

NetlinkReader::Outcome NetlinkReader::dump(uint16_t type, uint8_t family, Picture& picture)
{
    std::array<char, 256> buffer {};
    nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request->nlmsg_seq = ++m_sequence;
    // Both kinds of request begin with the family.
    static_assert(offsetof(ifinfomsg, ifi_family) == 0 && offsetof(rtmsg, rtm_family) == 0);
    const size_t header = type == RTM_GETLINK ? sizeof(ifinfomsg) : sizeof(rtmsg);
    *static_cast<uint8_t*>(mnl_nlmsg_put_extra_header(request, header)) = family;
    if (mnl_socket_sendto(m_socket.get(), request, request->nlmsg_len) < 0)
        return Outcome::Refused;
    return receive(picture);
}

NetlinkReader::Outcome NetlinkReader::receive(Picture& picture)
{
    // As much as the kernel puts into one answer.
    std::array<char, 32768> buffer {};
    bool isTorn = false;
    for (;;) {
        const ssize_t received = mnl_socket_recvfrom(m_socket.get(), buffer.data(), buffer.size());
        if (received < 0 && errno == EINTR)
            continue;
        if (received <= 0)
            return Outcome::Torn;
        int left = static_cast<int>(received);
        const auto* message = reinterpret_cast<const nlmsghdr*>(buffer.data());
        for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
            // What is left of an earlier answer.
            if (message->nlmsg_seq != m_sequence)
                continue;
            isTorn |= (message->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
            if (message->nlmsg_type == NLMSG_ERROR)
                return Outcome::Refused;
            if (message->nlmsg_type == NLMSG_DONE)
                return isTorn ? Outcome::Torn : Outcome::Whole;
            picture.add(*message);
        }
    }
}

} // namespace lumora
